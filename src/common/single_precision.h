// Constants that the regulatory models publish in single precision: written
// as float literals and held as doubles, so that they carry the rounding of
// the published values (7.2f is 7.19999980926513671875, not 7.2).
#pragma once

namespace tarn {

constexpr double single(float value) { return static_cast<double>(value); }

}  // namespace tarn
