// Keyword access to the parameter block: one table of (group keyword,
// parameter keyword, field, store rule), read by the setter, the getter and
// anything that lists the parameters.
#pragma once

#include <cstddef>

#include "params/params.h"

namespace tarn::keywords {

enum class FieldType { Double, Int, Bool, Char };

// How a value given by keyword is stored (and read back).
enum class StoreRule {
  Plain,                 // assign
  SwitchOnPositive,      // on when value > 0; reads 1.0 on, -1.0 off
  UnitLetter,            // 'F' when value > 0, else 'C'; reads -1.0 for 'C', else 1.0
  RefuseUnlessPositive,  // refused unless the stored value is > 0 (the new one is not checked)
  RoundWithLimit,        // refused above the limit, else trunc(value + 0.5)
  Round,                 // trunc(value + 0.5)
  Truncate,              // trunc(value)
  GaussianQuantile,      // store, then recompute the T20 ratio or restore the group
};

// One row of the table: a single parameter keyword, or a numbered run of them
// (prefix + number, numbers first .. first + count - 1, zero-padded to
// `digits` characters when digits > 0).
struct Entry {
  const char* group;   // upper case
  const char* alias;   // a second group keyword for the same group, or nullptr
  const char* name;    // the keyword, the prefix of a run, or nullptr for "any text"
  int first;
  int count;           // 0: a single keyword
  int digits;
  FieldType type;
  void* (*locate)(ParameterBlock&);  // address of the field (the first of a run)
  StoreRule rule;
  int limit;           // RoundWithLimit only
};

// The table, in the order in which correlation keywords are tried.
const Entry* table();
std::size_t tableSize();

// The parameter keyword of position k of an entry (k = 0 for a single one)
// written into buffer (at least 8 bytes).
void parameterName(const Entry& entry, int k, char* buffer, std::size_t size);

}  // namespace tarn::keywords
