// The distillation curves of a blend report drawn as an SVG picture.
#pragma once

#include <string>

#include "report.h"

namespace tarncli {

// Temperature against percent evaporated for every component with a full
// curve and for the blend, with axes, labels and a legend.
std::string distillationPlot(const Report& report);

}  // namespace tarncli
