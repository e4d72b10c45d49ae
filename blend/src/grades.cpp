#include "grades.h"

#include <cctype>
#include <cmath>
#include <sstream>

#include "firewall.h"

namespace tarnblend {
namespace {

constexpr double M = kMissing;  // an open bound

// One published limit: the classes it applies to ("" for every class of the
// grade), the blended property, minimum and maximum in unit, and the source
// key of the reference list of product-grade limits (grades.md) it was read
// from.
struct BuiltinLimit {
  const char* classes;
  const char* key;
  double minimum, maximum;
  const char* unit;
  const char* source;
};

// ASTM D4814 volatility classes: vapour pressure per class, the 50 %
// minimum of the four least volatile classes and the end point. The Gasoline
// FAQ lists the six vapour pressures without naming their classes: the order
// AA to E follows ascending volatility.
constexpr BuiltinLimit kD4814[] = {
    {"AA", "RVP", M, 54, "kPa", "GFAQ-VP (class order AA to E assumed from ascending volatility)"},
    {"A", "RVP", M, 62, "kPa", "GFAQ-VP (class order AA to E assumed from ascending volatility)"},
    {"B", "RVP", M, 69, "kPa", "GFAQ-VP (class order AA to E assumed from ascending volatility)"},
    {"C", "RVP", M, 79, "kPa", "GFAQ-VP (class order AA to E assumed from ascending volatility)"},
    {"D", "RVP", M, 93, "kPa", "GFAQ-VP (class order AA to E assumed from ascending volatility)"},
    {"E", "RVP", M, 103, "kPa", "GFAQ-VP (class order AA to E assumed from ascending volatility)"},
    {"AA,A,B,C", "T50", 77, M, "C", "GFAQ-VP"},
    {"", "FBP", M, 225, "C", "GFAQ-VP"},
};

// EN 228 petrol, E10 type, as carried into French law; volatility classes A
// (summer) and D, D1 (winter) are the ones the source prints.
constexpr BuiltinLimit kEN228[] = {
    {"", "RON", 95.0, M, "", "FR-E10"},
    {"", "MON", 85.0, M, "", "FR-E10"},
    {"", "DEN", 720, 775, "kg/m3", "FR-E10"},
    {"", "SUL", M, 10, "mg/kg", "FR-E10"},
    {"", "OLF", M, 18.0, "vol%", "FR-E10"},
    {"", "ARO", M, 35.0, "vol%", "FR-E10"},
    {"", "BNZ", M, 1.0, "vol%", "FR-E10"},
    {"", "OXY", M, 3.7, "wt%", "FR-E10; EN228-catalogue"},
    {"", "ETOH", M, 10.0, "vol%", "FR-E10; EN228-catalogue"},
    {"A", "RVP", 45.0, 60.0, "kPa", "FR-E10-vol (a DVPE limit, applied to the blend's RVP)"},
    {"A", "E70", 22.0, 50.0, "vol%", "FR-E10-vol (current version)"},
    {"D,D1", "RVP", 60.0, 90.0, "kPa", "FR-E10-vol (a DVPE limit, applied to the blend's RVP)"},
    {"D,D1", "E70", 24.0, 52.0, "vol%", "FR-E10-vol (current version)"},
    {"", "E100", 46.0, 72.0, "vol%", "FR-E10-vol"},
    {"", "E150", 75.0, M, "vol%", "FR-E10-vol"},
    {"", "FBP", M, 210, "C", "FR-E10-vol"},
    {"D1", "VLI", M, 1150, "", "FR-SP95-1999"},
};

// EN 590 diesel: general requirements (FR-GO), temperate CFPP grades A to D
// and the arctic classes 0 to 4, whose own density, viscosity, cetane and
// distillation limits replace the general ones.
constexpr BuiltinLimit kEN590[] = {
    {"A,B,C,D", "CN", 51.0, M, "", "FR-GO"},
    {"A,B,C,D", "CI4", 46.0, M, "", "FR-GO (EN ISO 4264, four-variable equation)"},
    {"A,B,C,D", "DEN", 820.0, 845.0, "kg/m3", "FR-GO"},
    {"", "SUL", M, 10.0, "mg/kg", "FR-GO"},
    {"", "FLASH", 55, M, "C", "FR-GO (EN 590: above 55 C)"},
    {"A,B,C,D", "VISC40", 2.00, 4.50, "mm2/s", "FR-GO"},
    {"A,B,C,D", "E250", M, 65, "vol%", "FR-GO (less than 65 % V/V recovered at 250 C)"},
    {"A,B,C,D", "E350", 85, M, "vol%", "FR-GO"},
    {"A,B,C,D", "T95", M, 360, "C", "FR-GO"},
    {"A", "CFPP", M, 5, "C", "EN590-forum"},
    {"B", "CFPP", M, 0, "C", "EN590-forum"},
    {"C", "CFPP", M, -5, "C", "EN590-forum"},
    {"D", "CFPP", M, -10, "C", "EN590-forum"},
    {"0", "CFPP", M, -20, "C", "EN590-forum"},
    {"1", "CFPP", M, -26, "C", "EN590-forum"},
    {"2", "CFPP", M, -32, "C", "EN590-forum"},
    {"3", "CFPP", M, -38, "C", "EN590-forum"},
    {"4", "CFPP", M, -44, "C", "EN590-forum"},
    {"1", "CLOUD", M, -16, "C", "EN590-arctic"},
    {"2", "CLOUD", M, -22, "C", "EN590-arctic"},
    {"3", "CLOUD", M, -28, "C", "EN590-arctic"},
    {"4", "CLOUD", M, -34, "C", "EN590-arctic"},
    {"0,1", "DEN", 800, 845, "kg/m3", "EN590-arctic"},
    {"2,3,4", "DEN", 800, 840, "kg/m3", "EN590-arctic"},
    {"0,1,2", "VISC40", 1.50, 4.00, "mm2/s", "EN590-arctic"},
    {"3", "VISC40", 1.40, 4.00, "mm2/s", "EN590-arctic"},
    {"4", "VISC40", 1.20, 4.00, "mm2/s", "EN590-arctic"},
    {"0,1", "CN", 49.0, M, "", "EN590-arctic"},
    {"2", "CN", 48.0, M, "", "EN590-arctic"},
    {"3,4", "CN", 47.0, M, "", "EN590-arctic"},
    {"0,1,2", "CI4", 46.0, M, "", "EN590-arctic"},
    {"3,4", "CI4", 43.0, M, "", "EN590-arctic"},
    {"0,1,2,3,4", "E180", M, 10, "vol%", "EN590-arctic"},
    {"0,1,2,3,4", "E340", 95, M, "vol%", "EN590-arctic"},
};

// ASTM D975 grade No. 2-D S15 as a state regulation adopts it. The cetane
// index is the D976 (two-variable) one.
constexpr BuiltinLimit kD975[] = {
    {"", "CN", 40, M, "", "COMAR-D975; OilChek-D975"},
    {"", "CI2", 40, M, "", "COMAR-D975 (D976 index); OilChek-D975"},
    {"", "FLASH", 52, M, "C", "COMAR-D975; OilChek-D975"},
    {"", "T90", 282, 338, "C", "COMAR-D975; OilChek-D975 (540 to 640 F)"},
    {"", "VISC40", 1.9, 4.1, "mm2/s", "COMAR-D975; OilChek-D975"},
    {"", "SUL", M, 15, "ppm", "COMAR-D975 (0.0015 % by mass)"},
};

// Federal reformulated gasoline: the complex model's per-gallon performance
// standards (reductions against the baseline, so the model's percent change
// may be at most minus the reduction) and the per-gallon benzene maximum.
// The model runs with libtarn's EPA settings (phase 2, summer, region).
constexpr BuiltinLimit kRFG[] = {
    {"REGION1", "EPA.VOC", M, -27.5, "% change", "CFR80.41-2003 (e): VOC reduction at least 27.5 %"},
    {"REGION2", "EPA.VOC", M, -25.9, "% change", "CFR80.41-2003 (e): VOC reduction at least 25.9 %"},
    {"REGION2-ADJUSTED", "EPA.VOC", M, -23.9, "% change",
     "CFR80.41-2003 (e): adjusted VOC gasoline, VOC reduction at least 23.9 %"},
    {"", "EPA.TOX", M, -20.0, "% change", "CFR80.41-2003 (e): toxics reduction at least 20.0 %"},
    {"", "EPA.NOX", M, -5.5, "% change", "CFR80.41-2003 (e): NOx reduction at least 5.5 % (VOC-controlled)"},
    {"", "BNZ", M, 1.30, "vol%", "CFR80.41-2003 (per-gallon maximum)"},
};

// Federal conventional gasoline: summer vapour pressure and the Tier 3
// per-gallon sulfur maximum at the refinery gate.
constexpr BuiltinLimit kUSConventional[] = {
    {"9.0", "RVP", M, 9.0, "psi", "CFR1090.215(a)(1)"},
    {"7.8", "RVP", M, 7.8, "psi", "CFR1090.215(a)(2)"},
    {"", "SUL", M, 80, "ppm", "CFR1090.205(b)"},
};

// California Phase 3 gasoline: the vapour pressure limits and the benzene
// cap, the numbers the sources confirm.
constexpr BuiltinLimit kCaRFG3[] = {
    {"FLAT", "RVP", M, 7.00, "psi", "CARB-RVP (oxygenated, evaporative element of the Predictive Model used)"},
    {"FLAT-NONOXY", "RVP", M, 6.90, "psi", "CARB-RVP (non-oxygenated)"},
    {"CAP", "RVP", M, 7.20, "psi", "CARB-RVP"},
    {"CAP", "BNZ", M, 1.10, "vol%", "CARB-AltSpec"},
};

struct BuiltinGrade {
  BuiltinGradeInfo info;
  const char* alias;
  const BuiltinLimit* limits;
  int count;
};

template <std::size_t N>
constexpr int countOf(const BuiltinLimit (&)[N]) {
  return static_cast<int>(N);
}

const BuiltinGrade kGrades[] = {
    {{"ASTM-D4814", "ASTM D4814 gasoline, vapour pressure/distillation classes", TARNBLEND_GASOLINE, "AA,A,B,C,D,E",
      ""},
     "D4814",
     kD4814,
     countOf(kD4814)},
    {{"EN228", "EN 228 unleaded petrol (E10), volatility classes", TARNBLEND_GASOLINE, "A,D,D1", ""},
     "EN 228",
     kEN228,
     countOf(kEN228)},
    {{"EN590", "EN 590 diesel, temperate grades and arctic classes", TARNBLEND_DIESEL, "A,B,C,D,0,1,2,3,4", ""},
     "EN 590",
     kEN590,
     countOf(kEN590)},
    {{"ASTM-D975-2D-S15", "ASTM D975 No. 2-D S15 diesel", TARNBLEND_DIESEL, "", ""}, "D975", kD975, countOf(kD975)},
    {{"US-RFG", "US federal reformulated gasoline, complex model per-gallon standards", TARNBLEND_GASOLINE,
      "REGION1,REGION2,REGION2-ADJUSTED", ""},
     "RFG",
     kRFG,
     countOf(kRFG)},
    {{"US-CONVENTIONAL", "US federal conventional gasoline, summer RVP and sulfur cap", TARNBLEND_GASOLINE, "9.0,7.8",
      "9.0"},
     "US",
     kUSConventional,
     countOf(kUSConventional)},
    {{"CARFG3", "California Phase 3 reformulated gasoline (RVP, benzene cap)", TARNBLEND_GASOLINE,
      "FLAT,FLAT-NONOXY,CAP", ""},
     "CaRFG3",
     kCaRFG3,
     countOf(kCaRFG3)},
};

std::string squeeze(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (std::isalnum(static_cast<unsigned char>(c)) || c == '.')
      out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  }
  return out;
}

std::string upper(const std::string& text) {
  std::string out;
  for (char c : text) out += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return out;
}

bool inList(const std::string& list, const std::string& item) {
  std::stringstream in(list);
  for (std::string entry; std::getline(in, entry, ',');) {
    if (entry == item) return true;
  }
  return false;
}

// The blended property a grade key names, or null.
const PropertyInfo* propertyByKey(const std::string& key) {
  const std::string wanted = upper(key);
  for (int p = 0; p < kPropertyCount; ++p) {
    if (wanted == propertyInfo(p).key) return &propertyInfo(p);
  }
  return nullptr;
}

// The unit a limit is written in when none is given.
const char* defaultLimitUnit(const PropertyInfo& info) {
  if (info.unitSource == UnitSource::CurveLabel || info.unitSource == UnitSource::Curve) return "F";
  if (info.unitSource == UnitSource::Input) return inputInfo(info.input).defaultUnit;
  return baseUnit(info.dimension).name;
}

Dimension limitDimension(const PropertyInfo& info) {
  return info.unitSource == UnitSource::CurveLabel ? Dimension::Temperature : info.dimension;
}

std::string propertyKeyList() {
  std::string out;
  for (int p = 0; p < kPropertyCount; ++p) out += std::string(out.empty() ? "" : ", ") + propertyInfo(p).key;
  return out;
}

}  // namespace

void Grade::addLimit(const std::string& key, double minimum, double maximum, const std::string& unitText,
                     const std::string& source) {
  const PropertyInfo* info = propertyByKey(key);
  if (info == nullptr) {
    throw Error(TARNBLEND_ERROR_PROPERTY, "unknown property '" + key + "' (known: " + propertyKeyList() + ")");
  }
  const Unit* unit = findUnit(unitText.empty() ? defaultLimitUnit(*info) : unitText);
  const Dimension dimension = limitDimension(*info);
  if (unit == nullptr || unit->dimension != dimension) {
    throw Error(TARNBLEND_ERROR_UNIT,
                std::string(info->key) + " takes " + unitList(dimension) + ", not '" + unitText + "'");
  }
  if (std::isnan(minimum)) minimum = kMissing;
  if (std::isnan(maximum)) maximum = kMissing;
  if (isMissing(minimum) && isMissing(maximum)) {
    throw Error(TARNBLEND_ERROR_VALUE, std::string(info->key) + ": a limit needs a minimum or a maximum");
  }
  if (!std::isfinite(minimum) && !isMissing(minimum)) throw Error(TARNBLEND_ERROR_VALUE, "a minimum must be finite");
  if (!isMissing(minimum) && !isMissing(maximum) && minimum > maximum) {
    throw Error(TARNBLEND_ERROR_VALUE, std::string(info->key) + ": the minimum " + shortNumber(minimum) +
                                           " lies above the maximum " + shortNumber(maximum));
  }
  limits.push_back({info->key, minimum, maximum, unit, source});
}

int builtinGradeCount() { return static_cast<int>(sizeof kGrades / sizeof kGrades[0]); }

const BuiltinGradeInfo& builtinGrade(int k) { return kGrades[k].info; }

Grade openBuiltinGrade(const std::string& name, const std::string& gradeClass) {
  const BuiltinGrade* found = nullptr;
  std::string known;
  for (const BuiltinGrade& g : kGrades) {
    if (squeeze(name) == squeeze(g.info.name) || squeeze(name) == squeeze(g.alias)) found = &g;
    known += std::string(known.empty() ? "" : ", ") + g.info.name;
  }
  if (found == nullptr) throw Error(TARNBLEND_ERROR_NOT_FOUND, "unknown grade '" + name + "' (grades: " + known + ")");
  const BuiltinGradeInfo& info = found->info;
  std::string chosen = upper(gradeClass.empty() ? info.defaultClass : gradeClass);
  if (info.classes[0] == '\0' && !chosen.empty()) {
    throw Error(TARNBLEND_ERROR_NOT_FOUND, std::string(info.name) + " has no classes");
  }
  if (info.classes[0] != '\0' && !inList(info.classes, chosen)) {
    throw Error(TARNBLEND_ERROR_NOT_FOUND,
                std::string(info.name) + (chosen.empty() ? " needs a class" : " has no class '" + gradeClass + "'") +
                    " (classes: " + info.classes + ")");
  }
  Grade grade;
  grade.name = info.name;
  grade.gradeClass = chosen;
  grade.product = info.product;
  for (int k = 0; k < found->count; ++k) {
    const BuiltinLimit& limit = found->limits[k];
    if (limit.classes[0] != '\0' && !inList(limit.classes, chosen)) continue;
    grade.addLimit(limit.key, limit.minimum, limit.maximum, limit.unit, limit.source);
  }
  return grade;
}

}  // namespace tarnblend
