// Writing comma-separated values, fields quoted where they must be (files
// are read by labfile.h).
#pragma once

#include <string>
#include <vector>

namespace tarnblend::csv {

// A field quoted when it needs to be.
std::string quote(const std::string& field);

// One record, fields quoted where needed, ending in a line break.
std::string line(const std::vector<std::string>& fields);

}  // namespace tarnblend::csv
