// The statuses each correlation may return, shared by the bad-input test and the evaluation fuzz target.
#pragma once

#include <set>

namespace tarn::testing {

// 0, and 1 for a result not computed (missing or not a number), for every correlation; models' own codes too.
inline std::set<int> documentedStatuses(int index) {
  switch (index) {
    case 6:
    case 53:
      return {0, 1, 2};  // D86TOPERCENTOFF, EVAPORATIVE
    case 41:
      return {-999, 0, 1, 2};  // ND86TOPERCENTOFF: a point count of 0
    case 42:
      return {-999, 0, 1};  // ND86FROMPERCENTOFF
    case 50:
    case 51:
    case 55:
      return {-1, 0, 1};  // ethanol content outside 4..10 vol %
    default:
      return {0, 1};
  }
}

// T10INDEX, T50INDEX and T90INDEX report a NaN index with status 0.
inline bool reportsNaNAsComputed(int index) { return index >= 35 && index <= 37; }

}  // namespace tarn::testing
