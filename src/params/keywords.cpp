// gfx_setCorParms / gfx_getCorParms over the keyword table.
#include "params/keywords.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "common/integers.h"
#include "common/missing.h"
#include "tarn/corparms.h"

namespace tarn::keywords {
namespace {

using FT = FieldType;
using SR = StoreRule;

// Address of a field of the block, as a captureless function.
#define TARN_FIELD(expr) [](ParameterBlock& b) -> void* { return &(b.expr); }

constexpr Entry kTable[] = {
    {"TARN", nullptr, "ChangeData", 0, 0, 0, FT::Bool, TARN_FIELD(changeData), SR::SwitchOnPositive, 0},
    {"TARN", nullptr, "CARB_CORF", 0, 0, 0, FT::Char, TARN_FIELD(carbUnit), SR::UnitLetter, 0},
    {"REIDVAPORPRESSURE", nullptr, nullptr, 0, 0, 0, FT::Double, TARN_FIELD(rvpExponent), SR::Plain, 0},

    {"CETANEIMPROVER", nullptr, "P1", 0, 0, 0, FT::Double, TARN_FIELD(cetaneImprover.p[0]), SR::Plain, 0},
    {"CETANEIMPROVER", nullptr, "P2", 0, 0, 0, FT::Double, TARN_FIELD(cetaneImprover.p[1]), SR::RefuseUnlessPositive, 0},
    {"CETANEIMPROVER", nullptr, "P3", 0, 0, 0, FT::Double, TARN_FIELD(cetaneImprover.p[2]), SR::Plain, 0},
    {"CETANEIMPROVER", nullptr, "P4", 0, 0, 0, FT::Double, TARN_FIELD(cetaneImprover.p[3]), SR::RefuseUnlessPositive, 0},
    {"CETANEIMPROVER", nullptr, "P", 5, 3, 0, FT::Double, TARN_FIELD(cetaneImprover.p[4]), SR::Plain, 0},

    {"CETANEIMPROVER2", nullptr, "P1", 0, 0, 0, FT::Double, TARN_FIELD(cetaneImprover2.p[0]), SR::Plain, 0},
    {"CETANEIMPROVER2", nullptr, "P2", 0, 0, 0, FT::Double, TARN_FIELD(cetaneImprover2.p[1]), SR::RefuseUnlessPositive, 0},
    {"CETANEIMPROVER2", nullptr, "P3", 0, 0, 0, FT::Double, TARN_FIELD(cetaneImprover2.p[2]), SR::Plain, 0},
    {"CETANEIMPROVER2", nullptr, "P4", 0, 0, 0, FT::Double, TARN_FIELD(cetaneImprover2.p[3]), SR::RefuseUnlessPositive, 0},
    {"CETANEIMPROVER2", nullptr, "P", 5, 3, 0, FT::Double, TARN_FIELD(cetaneImprover2.p[4]), SR::Plain, 0},

    {"TVL20", nullptr, "P", 1, 4, 0, FT::Double, TARN_FIELD(tvl20[0]), SR::Plain, 0},

    {"DRIVEABILITYINDEX", nullptr, "P1", 0, 0, 0, FT::Double, TARN_FIELD(driveability.p1), SR::Plain, 0},
    {"DRIVEABILITYINDEX", nullptr, "P2", 0, 0, 0, FT::Double, TARN_FIELD(driveability.p2), SR::Plain, 0},
    {"DRIVEABILITYINDEX", nullptr, "EF", 0, 0, 0, FT::Double, TARN_FIELD(driveability.ef), SR::Plain, 0},

    {"CFPPIMPROVER", nullptr, "P", 1, 3, 0, FT::Double, TARN_FIELD(cfppImprover[0]), SR::Plain, 0},

    {"T10INDEX", nullptr, "N1", 0, 0, 0, FT::Double, TARN_FIELD(t10Index.n1), SR::Plain, 0},
    {"T10INDEX", nullptr, "P1", 0, 0, 0, FT::Double, TARN_FIELD(t10Index.p[0]), SR::Plain, 0},
    {"T10INDEX", nullptr, "P2", 0, 0, 0, FT::Double, TARN_FIELD(t10Index.p[1]), SR::RefuseUnlessPositive, 0},
    {"T10INDEX", nullptr, "P", 3, 11, 0, FT::Double, TARN_FIELD(t10Index.p[2]), SR::Plain, 0},
    {"T50INDEX", nullptr, "N1", 0, 0, 0, FT::Double, TARN_FIELD(t50Index.n1), SR::Plain, 0},
    {"T50INDEX", nullptr, "P", 1, 13, 0, FT::Double, TARN_FIELD(t50Index.p[0]), SR::Plain, 0},
    {"T90INDEX", nullptr, "N1", 0, 0, 0, FT::Double, TARN_FIELD(t90Index.n1), SR::Plain, 0},
    {"T90INDEX", nullptr, "P", 1, 13, 0, FT::Double, TARN_FIELD(t90Index.p[0]), SR::Plain, 0},

    {"MTM", nullptr, "P", 1, 12, 0, FT::Double, TARN_FIELD(mtm[0]), SR::Plain, 0},
    {"MTM", nullptr, "Perturb", 0, 0, 0, FT::Double, TARN_FIELD(mtmPerturb), SR::Plain, 0},

    {"VAPORLOCKINDEX", nullptr, "P", 1, 2, 0, FT::Double, TARN_FIELD(vaporLockIndex[0]), SR::Plain, 0},

    {"D86FROMPERCENTOFF", "D86TOPERCENTOFF", "P", 1, 10, 0, FT::Double, TARN_FIELD(d86TempPoints[0]), SR::Plain, 0},

    {"GENERICD86", nullptr, "MinVol", 0, 0, 0, FT::Double, TARN_FIELD(genericD86.minVol), SR::Plain, 0},
    {"GENERICD86", nullptr, "MnVolIBP", 0, 0, 0, FT::Double, TARN_FIELD(d86PercentGrid[0]), SR::Plain, 0},
    {"GENERICD86", nullptr, "MxVolFBP", 0, 0, 0, FT::Double, TARN_FIELD(d86PercentGrid[6]), SR::Plain, 0},
    {"GENERICD86", nullptr, "DDelta", 0, 0, 0, FT::Double, TARN_FIELD(genericD86.dDelta), SR::Plain, 0},
    {"GENERICD86", nullptr, "BTol", 0, 0, 0, FT::Double, TARN_FIELD(genericD86.bTol), SR::Plain, 0},
    {"GENERICD86", nullptr, "DPure", 0, 0, 0, FT::Double, TARN_FIELD(genericD86.dPure), SR::Plain, 0},

    {"EVAPORATIVE", nullptr, "P", 0, 12, 2, FT::Double, TARN_FIELD(evaporative.p[0]), SR::Plain, 0},
    {"EVAPORATIVE", nullptr, "NPTS", 0, 0, 0, FT::Int, TARN_FIELD(evaporative.npts), SR::Round, 0},

    {"CARBOB2", nullptr, "ARO", 0, 0, 0, FT::Double, TARN_FIELD(carbob2.aro), SR::Plain, 0},
    {"CARBOB2", nullptr, "BNZ", 0, 0, 0, FT::Double, TARN_FIELD(carbob2.bnz), SR::Plain, 0},
    {"CARBOB2", nullptr, "OLF", 0, 0, 0, FT::Double, TARN_FIELD(carbob2.olf), SR::Plain, 0},
    {"CARBOB2", nullptr, "EHO", 0, 0, 0, FT::Double, TARN_FIELD(carbob2.eho), SR::Plain, 0},
    {"CARBOB2", nullptr, "SUL", 0, 0, 0, FT::Double, TARN_FIELD(carbob2.sul), SR::Plain, 0},
    {"CARBOB2", nullptr, "GASSPG", 0, 0, 0, FT::Double, TARN_FIELD(carbob2.gasspg), SR::Plain, 0},
    {"CARBOB2", nullptr, "ETOHSPG", 0, 0, 0, FT::Double, TARN_FIELD(carbob2.etohspg), SR::Plain, 0},
    {"CARBOB2", nullptr, "ALTOXY", 0, 0, 0, FT::Int, TARN_FIELD(carbob2Altoxy), SR::Truncate, 0},

    {"ND86FROMPERCENTOFF", "ND86TOPERCENTOFF", "P", 1, 25, 0, FT::Double, TARN_FIELD(nd86.p[0]), SR::Plain, 0},
    {"ND86FROMPERCENTOFF", "ND86TOPERCENTOFF", "T", 1, 13, 0, FT::Double, TARN_FIELD(nd86.t[0]), SR::Plain, 0},
    {"ND86FROMPERCENTOFF", "ND86TOPERCENTOFF", "NTEMP", 0, 0, 0, FT::Int, TARN_FIELD(nd86.ntemp), SR::RoundWithLimit, 13},
    {"ND86FROMPERCENTOFF", "ND86TOPERCENTOFF", "NPOFF", 0, 0, 0, FT::Int, TARN_FIELD(nd86.npoff), SR::RoundWithLimit, 25},

    {"E200E300EPA", nullptr, "P", 1, 4, 0, FT::Double, TARN_FIELD(e200e300[0]), SR::Plain, 0},

    {"RBOB", nullptr, "ARO", 0, 0, 0, FT::Double, TARN_FIELD(rbob.aro), SR::Plain, 0},
    {"RBOB", nullptr, "BNZ", 0, 0, 0, FT::Double, TARN_FIELD(rbob.bnz), SR::Plain, 0},
    {"RBOB", nullptr, "OLF", 0, 0, 0, FT::Double, TARN_FIELD(rbob.olf), SR::Plain, 0},
    {"RBOB", nullptr, "EHO", 0, 0, 0, FT::Double, TARN_FIELD(rbob.eho), SR::Plain, 0},
    {"RBOB", nullptr, "SUL", 0, 0, 0, FT::Double, TARN_FIELD(rbob.sul), SR::Plain, 0},
    {"RBOB", nullptr, "GASSPG", 0, 0, 0, FT::Double, TARN_FIELD(rbob.gasspg), SR::Plain, 0},
    {"RBOB", nullptr, "ETOHSPG", 0, 0, 0, FT::Double, TARN_FIELD(rbob.etohspg), SR::Plain, 0},
    {"RBOB", nullptr, "P", 1, 6, 0, FT::Double, TARN_FIELD(rbobP[0]), SR::Plain, 0},

    {"T20GAUSSIAN", nullptr, "P1", 0, 0, 0, FT::Double, TARN_FIELD(t20Gaussian.p1), SR::GaussianQuantile, 0},
    {"T20GAUSSIAN", nullptr, "P2", 0, 0, 0, FT::Double, TARN_FIELD(t20Gaussian.p2), SR::GaussianQuantile, 0},
    {"T20GAUSSIAN", nullptr, "P3", 0, 0, 0, FT::Double, TARN_FIELD(t20Gaussian.p3), SR::GaussianQuantile, 0},

    // The HC94 group holds its whole coefficient set, but only the cap of the
    // 90 -> FBP segment is reachable by keyword.
    {"HC94", nullptr, "X1", 0, 0, 0, FT::Double, TARN_FIELD(hc94.x[0]), SR::Plain, 0},
};

#undef TARN_FIELD

constexpr std::size_t kMaxCorrelationKeyword = 79;

std::size_t elementSize(FieldType type) {
  switch (type) {
    case FT::Double: return sizeof(double);
    case FT::Int: return sizeof(int);
    case FT::Bool: return sizeof(bool);
    case FT::Char: return sizeof(char);
  }
  return sizeof(double);
}

bool groupMatches(const Entry& entry, const char* upperGroup) {
  return std::strcmp(entry.group, upperGroup) == 0 ||
         (entry.alias != nullptr && std::strcmp(entry.alias, upperGroup) == 0);
}

// The position of `parameter` within the entry, or -1.
int positionIn(const Entry& entry, const char* parameter) {
  if (entry.name == nullptr) return 0;  // any text
  if (entry.count == 0) return std::strcmp(entry.name, parameter) == 0 ? 0 : -1;
  char candidate[16];
  for (int k = 0; k < entry.count; ++k) {
    parameterName(entry, k, candidate, sizeof candidate);
    if (std::strcmp(candidate, parameter) == 0) return k;
  }
  return -1;
}

struct Located {
  const Entry* entry = nullptr;
  void* field = nullptr;
};

// Finds the field named by the two keywords; entry is null when the pair is
// unknown (null or overlong keywords included).
Located locate(const char* correlation, const char* parameter) {
  Located found;
  if (correlation == nullptr || parameter == nullptr) return found;
  char upper[kMaxCorrelationKeyword + 1];
  std::size_t length = 0;
  for (; correlation[length] != '\0'; ++length) {
    if (length == kMaxCorrelationKeyword) return found;  // longer than supported: unknown
    upper[length] = static_cast<char>(std::toupper(static_cast<unsigned char>(correlation[length])));
  }
  upper[length] = '\0';

  // A known group with an unknown parameter keyword is simply unknown.
  for (const Entry& entry : kTable) {
    if (!groupMatches(entry, upper)) continue;
    const int k = positionIn(entry, parameter);
    if (k < 0) continue;
    found.entry = &entry;
    found.field = static_cast<char*>(entry.locate(params())) + k * elementSize(entry.type);
    return found;
  }
  return found;
}

int store(const Entry& entry, void* field, double value) {
  switch (entry.rule) {
    case SR::Plain:
      if (entry.type == FT::Int) {
        int n = 0;
        if (!truncateToInt(value, n)) return 1;
        *static_cast<int*>(field) = n;
      } else {
        *static_cast<double*>(field) = value;
      }
      return 0;
    case SR::SwitchOnPositive:
      *static_cast<bool*>(field) = value > 0.0;
      return 0;
    case SR::UnitLetter:
      *static_cast<char*>(field) = value > 0.0 ? 'F' : 'C';
      return 0;
    case SR::RefuseUnlessPositive: {
      double& current = *static_cast<double*>(field);
      if (!(current > 0.0)) return 1;  // once non-positive, the field stays until reset
      current = value;
      return 0;
    }
    case SR::RoundWithLimit: {
      // The limit is tested on the value as given, before rounding.
      if (value > entry.limit) return 1;
      int n = 0;
      if (!truncateToInt(value + 0.5, n)) return 1;
      *static_cast<int*>(field) = n;
      return 0;
    }
    case SR::Round: {
      int n = 0;
      if (!truncateToInt(value + 0.5, n)) return 1;
      *static_cast<int*>(field) = n;
      return 0;
    }
    case SR::Truncate: {
      int n = 0;
      if (!truncateToInt(value, n)) return 1;
      *static_cast<int*>(field) = n;
      return 0;
    }
    case SR::GaussianQuantile:
      return storeT20GaussianQuantile(*static_cast<double*>(field), value);
  }
  return 1;
}

double read(const Entry& entry, const void* field) {
  switch (entry.type) {
    case FT::Double: return *static_cast<const double*>(field);
    case FT::Int: return static_cast<double>(*static_cast<const int*>(field));
    case FT::Bool: return *static_cast<const bool*>(field) ? 1.0 : -1.0;
    case FT::Char: return *static_cast<const char*>(field) == 'C' ? -1.0 : 1.0;
  }
  return kMissing;
}

}  // namespace

const Entry* table() { return kTable; }
std::size_t tableSize() { return sizeof kTable / sizeof kTable[0]; }

void parameterName(const Entry& entry, int k, char* buffer, std::size_t size) {
  if (entry.name == nullptr) {
    std::snprintf(buffer, size, "%s", "*");
  } else if (entry.count == 0) {
    std::snprintf(buffer, size, "%s", entry.name);
  } else {
    std::snprintf(buffer, size, "%s%0*d", entry.name, entry.digits, entry.first + k);
  }
}

}  // namespace tarn::keywords

using namespace tarn::keywords;

extern "C" TARN_API int TARN_CALL gfx_setCorParms(const char* correlation, const char* parameter,
                                                  double value) {
  const Located found = locate(correlation, parameter);
  if (found.entry == nullptr) return 1;
  return store(*found.entry, found.field, value);
}

extern "C" TARN_API double TARN_CALL gfx_getCorParms(const char* correlation, const char* parameter) {
  const Located found = locate(correlation, parameter);
  if (found.entry == nullptr) return tarn::kMissing;
  return read(*found.entry, found.field);
}

extern "C" TARN_API int TARN_CALL gfx_getCorParmsCount(int* count) {
  int total = 0;
  for (std::size_t i = 0; i < tableSize(); ++i) total += kTable[i].count == 0 ? 1 : kTable[i].count;
  if (count != nullptr) *count = total;
  return 0;
}

extern "C" TARN_API int TARN_CALL gfx_getCorParmsKeywords(int k, char* correlation, char* alias,
                                                          char* parameter) {
  if (k < 0) return 1;
  for (std::size_t i = 0; i < tableSize(); ++i) {
    const Entry& entry = kTable[i];
    const int size = entry.count == 0 ? 1 : entry.count;
    if (k >= size) {
      k -= size;
      continue;
    }
    if (correlation != nullptr) std::snprintf(correlation, TARN_KEYWORD_SIZE, "%s", entry.group);
    if (alias != nullptr) {
      std::snprintf(alias, TARN_KEYWORD_SIZE, "%s", entry.alias != nullptr ? entry.alias : "");
    }
    if (parameter != nullptr) parameterName(entry, k, parameter, TARN_KEYWORD_SIZE);
    return 0;
  }
  return 1;
}
