// The distillation curves of a blend report drawn as an SVG picture.
#pragma once

#include <string>

#include "report.h"

namespace tarncli {

// Temperature against percent evaporated for every component taking part
// (through its estimated T30/T70, dashed, where the recipe leaves them out)
// and for the blend, with point markers, the checked grade's distillation
// limits and recovery windows, axes and a legend giving each share.
std::string distillationPlot(const Report& report);

}  // namespace tarncli
