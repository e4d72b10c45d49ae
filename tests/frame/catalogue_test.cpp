// The catalogue of built-in correlations: every answer of the queries against
// an independent transcription of the published catalogue, the failure codes
// and their order, and a walk over the table's own consistency.
#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <cstring>
#include <set>
#include <string>
#include <vector>

#include "frame/catalogue.h"
#include "frame/transcription.h"
#include "support/fixture.h"
#include "tarn/tarn.h"

namespace {

using tarn::testing::expandList;

struct PublishedRow {
  const char* id;
  int type;
  const char* inputs;
  const char* outputs;
  const char* kinds;  // "-": none written; "20*5": five times 20
  int pair;           // -1: none
};

// Transcribed from the published catalogue, row by row, index 0..56.
const PublishedRow kPublished[] = {
    {"TVL", -7, "RVP T10 T50", "TVL", "9", -1},
    {"TVL2", -7, "RVP T10 T20 T50", "TVL", "9", -1},
    {"CARB", -7, "RVP T50 T90 ARO OLF OXY SUL BNZ", "CNX THC POT", "20*3", -1},
    {"CARB3", -7, "RVP T50 T90 ARO OLF OXY EHO SUL BNZ", "CNX THC POT", "20*3", -1},
    {"CARB3M", -7, "RVP T50 T90 ARO OLF OXY SUL BNZ", "CNX THC POT", "20*3", -1},
    {"D86FROMPERCENTOFF", -5, "POFF{1..10}", "IBP T10 T30 T50 T70 T90 FBP", "1 1 2 2 2 2 2", -1},
    {"D86TOPERCENTOFF", -4, "IBP T10 T30 T50 T70 T90 FBP", "POFF{1..10}", "-", 5},
    {"EPA", -7, "MTO ETO EHO TMO SUL RVP E20 E30 ARO OLF BNZ", "VOC TOX NOX EXB EXT", "20*5", -1},
    {"RVP", -5, "RVPNDX", "RVP", "3", -1},
    {"RVPINDEX", -4, "RVP", "RVPNDX", "-", 8},
    {"DRIVEABILITYINDEX", -7, "T10 T50 T90", "DRIVENDX", "18", -1},
    {"DRIVEABILITYINDEXE", -7, "T10 T50 T90", "DRIVENDX", "18", -1},
    {"D86ONE10INDEX", -4, "T10", "T10NDX", "-", 14},
    {"D86ONE90INDEX", -4, "T90", "T90NDX", "-", 14},
    {"D86ONE10BLEND", -5, "T10NDX", "T10", "1", -1},
    {"D86ONE90BLEND", -5, "T90NDX", "T90", "2", -1},
    {"POURPOINTINDEX1", -4, "POURPNT", "PRPNTNDX", "-", 17},
    {"POURPOINT1", -5, "PRPNTNDX", "POURPNT", "4", -1},
    {"VISCOSITYINDEX1", -4, "VISC", "VISCNDX", "-", 19},
    {"VISCOSITY1", -5, "VISCNDX", "VISC", "5", -1},
    {"VISCOSITYINDEX2", -4, "VISC", "VISCNDX", "-", 21},
    {"VISCOSITY2", -5, "VISCNDX", "VISC", "5", -1},
    {"VISCOSITYINDEX3", -4, "VISC", "VISCNDX", "-", 23},
    {"VISCOSITY3", -5, "VISCNDX", "VISC", "5", -1},
    {"CETANEINDEX2", -7, "SPG T50", "CETANE", "7", -1},
    {"CETANEINDEX4", -7, "SPG T10 T50 T90", "CETANE", "7", -1},
    {"CETANEINDEX5", -7, "SPG T10 T50 T90", "CETANE", "7", -1},
    {"CETANEIMPROVER", -7, "SPG T50 IMPVOL", "CETIMP", "8", -1},
    {"CFPPIMPROVER", -7, "CLDPNT IMPDRATE", "CFPPIMP", "10", -1},
    {"CLOUDPOINTINDEX1", -4, "CLDPNT", "CPNTNDX", "-", 30},
    {"CLOUDPOINT1", -5, "CPNTNDX", "CLDPNT", "10", -1},
    {"CLOUDPOINTINDEX3", -4, "CLDPNT", "CPNTNDX", "-", 32},
    {"CLOUDPOINT3", -5, "CPNTNDX", "CLDPNT", "10", -1},
    {"FLASHPOINTINDEX1", -4, "FLSHPNT", "FPNTNDX", "-", 34},
    {"FLASHPOINT1", -5, "FPNTNDX", "FLSHPNT", "12", -1},
    {"T10INDEX", -6, "T10 T50 T90", "T10BV", "-", -1},
    {"T50INDEX", -6, "T10 T50 T90", "T50BV", "-", -1},
    {"T90INDEX", -6, "T10 T50 T90", "T90BV", "-", -1},
    {"DON", -7, "RON MON", "DON", "11", -1},
    {"MTMF", -4, "RON MON OLE ARO", "TRON TMON", "-", 40},
    {"MTMR", -5, "TRON TMON OLE ARO", "RON MON", "11 11", -1},
    {"ND86TOPERCENTOFF", -4, "T{1..13}", "P{1..25}", "-", 42},
    {"ND86FROMPERCENTOFF", -5, "P{1..25}", "T{1..13}", "2*13", -1},
    {"CARBOB", -7, "OBSRVP OBST50 OBST90 VOLETOH", "RVP T50 T90", "3 2 2", -1},
    {"CT10BLEND", -6, "T10 VOLETOH T10_No_Ethanol", "OBST10", "1", -1},
    {"CT50BLEND", -6, "T50 VOLETOH T50_No_Ethanol", "OBST50", "2", -1},
    {"CT90BLEND", -6, "T90 VOLETOH T90_No_Ethanol", "OBST90", "2", -1},
    {"CD86ONE90BLEND", -5, "T90NDX VOLETOH T90NDX_No_Ethanol", "OBST90", "2", -1},
    {"CRVP", -5, "RVPNDX VOLETOH RVPNDX_No_Ethanol", "OBSRVP", "3", -1},
    {"CD86FROMPERCENTOFF", -5, "POFF{1..10} VOLETOH POFF{1..10}_No_Ethanol",
     "OBSIBP OBST10 OBST30 OBST50 OBST70 OBST90 OBSFBP", "1 1 2 2 2 2 2", -1},
    {"CARBOB2", -7, "RVP T50 T90 ARO BNZ OLF SUL SRVP ST50 ST90 SARO SBNZ SOLF SSUL",
     "RVP T50 T90 ARO BNZ EHO OLF OXY SUL", "3 2 2 17 17 15 17 15 16", -1},
    {"CARBOB3", -7, "RVP T50 T90 ARO BNZ OLF SUL", "RVP T50 T90 ARO BNZ EHO OLF OXY SUL",
     "3 2 2 17 17 15 17 15 16", -1},
    {"VAPORLOCKINDEX", -7, "RVP E70", "VLI", "20", -1},
    {"EVAPORATIVE", -7, "IBP T10 T30 T50 T70 T90 FBP", "EVP{0..11}", "19*12", -1},
    {"E200E300EPA", -7, "T50 T90", "E200 E300", "20 20", -1},
    {"RBOB", -7, "RVP T50 T90 ARO BNZ OLF SUL", "RVP T50 T90 ARO BNZ EHO OLF SUL E200 E300",
     "3 2 2 17 17 15 17 16 17 17", -1},
    {"T20GAUSS", -7, "T10 T30", "T20", "1", -1},
};

std::vector<int> kindCodes(const std::string& text) {
  std::vector<int> codes;
  for (const std::string& word : expandList(text)) {
    const auto star = word.find('*');
    const int code = std::stoi(word.substr(0, star));
    const int times = star == std::string::npos ? 1 : std::stoi(word.substr(star + 1));
    codes.insert(codes.end(), times, code);
  }
  return codes;
}

constexpr int kUntouched = -31415;

TEST(Catalogue, EveryAnswerMatchesThePublishedCatalogue) {
  int count = 0;
  ASSERT_EQ(gfx_tarnGetCorrelationCount(&count), 0);
  ASSERT_EQ(count, 57);
  ASSERT_EQ(sizeof kPublished / sizeof kPublished[0], 57u);

  for (int index = 0; index < 57; ++index) {
    const PublishedRow& expected = kPublished[index];
    SCOPED_TRACE(std::to_string(index) + " " + expected.id);
    char text[64];
    ASSERT_EQ(gfx_tarnGetCorrelationId(index, text), 0);
    EXPECT_STREQ(text, expected.id);
    ASSERT_EQ(gfx_tarnGetCorrelationDesc(index, text), 0);
    EXPECT_EQ(std::string(text), std::string("TARN_") + expected.id);
    int type = 0;
    ASSERT_EQ(gfx_tarnGetCorrelationType(index, &type), 0);
    EXPECT_EQ(type, expected.type);

    const auto inputs = expandList(expected.inputs);
    ASSERT_EQ(gfx_tarnGetCorrelationInpPropCount(index, &count), 0);
    ASSERT_EQ(count, static_cast<int>(inputs.size()));
    for (int k = 0; k < count; ++k) {
      ASSERT_EQ(gfx_tarnGetCorrelationInpPropId(index, k, text), 0);
      EXPECT_EQ(text, inputs[k]) << "input " << k;
    }

    const auto outputs = expandList(expected.outputs);
    const bool noKinds = std::strcmp(expected.kinds, "-") == 0;
    const auto kinds = noKinds ? std::vector<int>() : kindCodes(expected.kinds);
    ASSERT_EQ(gfx_tarnGetCorrelationOutPropCount(index, &count), 0);
    ASSERT_EQ(count, static_cast<int>(outputs.size()));
    if (!noKinds) {
      ASSERT_EQ(kinds.size(), outputs.size()) << "transcription";
    }
    for (int k = 0; k < count; ++k) {
      ASSERT_EQ(gfx_tarnGetCorrelationOutPropId(index, k, text), 0);
      EXPECT_EQ(text, outputs[k]) << "output " << k;
      int kind = kUntouched;
      ASSERT_EQ(gfx_tarnGetCorrelationOutPropType(index, k, &kind), 0);
      EXPECT_EQ(kind, noKinds ? kUntouched : kinds[k]) << "kind of output " << k;
    }

    int pair = kUntouched;
    const int pairStatus = gfx_tarnGetIndexPair(index, &pair);
    EXPECT_EQ(pairStatus, expected.pair < 0 ? 12 : 0);
    EXPECT_EQ(pair, expected.pair < 0 ? kUntouched : expected.pair);

    // Only CARBOB2 has slack inputs (its last seven); the others leave the
    // caller's preset alone.
    int slack = kUntouched;
    EXPECT_EQ(gfx_tarnGetCorrelationSlackCount(index, &slack), 0);
    EXPECT_EQ(slack, index == 50 ? 7 : kUntouched);
  }
}

TEST(Catalogue, LibraryPropertiesAndBufferSizes) {
  int count = 0;
  char text[64];
  EXPECT_EQ(gfx_tarnGetPropCount(&count), 0);
  EXPECT_EQ(count, 2);
  const char* published[2][2] = {{"RVPD", "Derived Property"}, {"RVPC", "Complex Property"}};
  for (int k = 0; k < 2; ++k) {
    EXPECT_EQ(gfx_tarnGetPropId(k, text), 0);
    EXPECT_STREQ(text, published[k][0]);
    EXPECT_EQ(gfx_tarnGetPropDesc(k, text), 0);
    EXPECT_STREQ(text, published[k][1]);
  }
  // The buffer sizes promised to hosts are those of the longest texts.
  std::size_t id = 0, property = 0;
  for (const PublishedRow& row : kPublished) {
    id = std::max(id, std::strlen(row.id));
    for (const char* list : {row.inputs, row.outputs}) {
      for (const auto& name : expandList(list)) property = std::max(property, name.size());
    }
  }
  EXPECT_EQ(id + 1, std::size_t{TARN_ID_SIZE});
  EXPECT_EQ(id + 6, std::size_t{TARN_DESC_SIZE});
  EXPECT_EQ(property + 1, std::size_t{TARN_PROPERTY_ID_SIZE});
}

TEST(Catalogue, FailuresReturnTheirCodeAndWriteNothing) {
  char text[64] = "unchanged";
  int value = kUntouched;
  for (int bad : {57, -1, 1000, -2147483647 - 1}) {
    SCOPED_TRACE(bad);
    EXPECT_EQ(gfx_tarnGetCorrelationId(bad, text), -4);
    EXPECT_EQ(gfx_tarnGetCorrelationDesc(bad, text), -4);
    EXPECT_STREQ(text, "unchanged");
    EXPECT_EQ(gfx_tarnGetCorrelationInpPropCount(bad, &value), -4);
    EXPECT_EQ(gfx_tarnGetCorrelationOutPropCount(bad, &value), -4);
    EXPECT_EQ(gfx_tarnGetCorrelationSlackCount(bad, &value), 0);
    EXPECT_EQ(gfx_tarnGetIndexPair(bad, &value), 12);
    EXPECT_EQ(value, kUntouched);
    // The type query alone has its own code, and writes the unknown type.
    EXPECT_EQ(gfx_tarnGetCorrelationType(bad, &value), -5);
    EXPECT_EQ(value, -9999);
    value = kUntouched;
  }

  // Positions: TVL has 3 inputs and 1 output.
  EXPECT_EQ(gfx_tarnGetCorrelationInpPropId(0, 3, text), -6);
  EXPECT_EQ(gfx_tarnGetCorrelationInpPropId(0, -1, text), -6);
  EXPECT_EQ(gfx_tarnGetCorrelationOutPropId(0, 1, text), -7);
  EXPECT_EQ(gfx_tarnGetCorrelationOutPropType(0, -1, &value), -7);
  // A property-to-index correlation has no kind codes, yet k is still checked.
  EXPECT_EQ(gfx_tarnGetCorrelationOutPropType(9, 1, &value), -7);
  EXPECT_STREQ(text, "unchanged");
  EXPECT_EQ(value, kUntouched);

  // The index is checked before the position: a bad k on a bad index is -4.
  EXPECT_EQ(gfx_tarnGetCorrelationInpPropId(57, 99, text), -4);
  EXPECT_EQ(gfx_tarnGetCorrelationOutPropId(-1, -1, text), -4);
  EXPECT_EQ(gfx_tarnGetCorrelationOutPropType(57, 5, &value), -4);

  EXPECT_EQ(gfx_tarnGetPropId(2, text), -2);
  EXPECT_EQ(gfx_tarnGetPropId(-1, text), -2);
  EXPECT_EQ(gfx_tarnGetPropDesc(2, text), -3);
  EXPECT_STREQ(text, "unchanged");

  // Null result pointers are tolerated and do not change the status.
  EXPECT_EQ(gfx_tarnGetCorrelationId(3, nullptr), 0);
  EXPECT_EQ(gfx_tarnGetCorrelationDesc(57, nullptr), -4);
  EXPECT_EQ(gfx_tarnGetCorrelationType(57, nullptr), -5);
  EXPECT_EQ(gfx_tarnGetCorrelationOutPropType(50, 8, nullptr), 0);
  EXPECT_EQ(gfx_tarnGetIndexPair(13, nullptr), 0);
  EXPECT_EQ(gfx_tarnGetCorrelationCount(nullptr), 0);
}

// ---- The table's own consistency --------------------------------------------

bool isUpperWord(const std::string& text) {
  if (text.empty()) return false;
  for (char c : text) {
    if (!(std::isupper(static_cast<unsigned char>(c)) || std::isdigit(static_cast<unsigned char>(c)) ||
          c == '_')) {
      return false;
    }
  }
  return true;
}

TEST(CatalogueTable, RowsAreConsistent) {
  using namespace tarn::frame;
  const auto* block = reinterpret_cast<const char*>(&tarn::params());
  const auto* blockEnd = block + sizeof(tarn::ParameterBlock);
  std::set<std::string> ids;

  for (int i = 0; i < kCatalogueSize; ++i) {
    const CorrelationRow& row = catalogue()[i];
    SCOPED_TRACE(std::to_string(i) + " " + (row.id ? row.id : "?"));
    EXPECT_EQ(row.index, i);
    ASSERT_NE(row.id, nullptr);
    EXPECT_TRUE(isUpperWord(row.id));
    EXPECT_LE(std::strlen(row.id), 18u);
    EXPECT_TRUE(ids.insert(row.id).second) << "duplicate id";
    EXPECT_TRUE(row.type >= -7 && row.type <= -4);

    ASSERT_TRUE(row.inputs.count > 0 && row.outputs.count > 0);
    EXPECT_TRUE(row.kinds.codes == nullptr ? row.kinds.count == 0
                                           : row.kinds.count == row.outputs.count);
    for (int k = 0; k < row.kinds.count; ++k) EXPECT_GT(row.kinds.codes[k], 0);
    EXPECT_TRUE(row.slackCount >= 0 && row.slackCount < row.inputs.count);

    // Every property-to-index correlation names its inverse, and only they do.
    if (row.type == -4) {
      ASSERT_TRUE(row.pair >= 0 && row.pair < kCatalogueSize);
      EXPECT_EQ(catalogue()[row.pair].type, -5);
    } else {
      EXPECT_EQ(row.pair, kNoPair);
    }
    EXPECT_TRUE(row.unitSource >= 0 && row.unitSource < kCatalogueSize);

    // Every coefficient views a field of the parameter block of its own kind,
    // with room for its whole run, and no two coefficients of a row share one.
    std::set<std::string> names;
    std::set<const void*> fields;
    const int count = coefficientCount(row);
    EXPECT_EQ(count > 0, row.coefficients.count > 0);
    for (int k = 0; k < count; ++k) {
      Coefficient c{};
      ASSERT_TRUE(coefficientAt(row, k, c));
      char name[16];
      coefficientName(c, name, sizeof name);
      EXPECT_LE(std::strlen(name), 8u);
      EXPECT_TRUE(isUpperWord(name) || std::strcmp(name, "Perturb") == 0) << name;
      EXPECT_TRUE(names.insert(name).second) << "duplicate name " << name;

      const FieldView field = coefficientField(c);
      ASSERT_NE(field.real == nullptr, field.integer == nullptr) << name;
      const auto* at = field.real ? reinterpret_cast<const char*>(field.real)
                                  : reinterpret_cast<const char*>(field.integer);
      const std::size_t size = field.real ? sizeof(double) : sizeof(int);
      EXPECT_TRUE(at >= block && at + size <= blockEnd) << name << " outside the block";
      EXPECT_GE(field.room, 1) << name << " runs past its array";
      EXPECT_TRUE(fields.insert(at).second) << name << " shares a field within the row";

      const CoefficientRule rule = c.run->rule;
      if (rule == CoefficientRule::CountWithLimit) {
        EXPECT_NE(field.integer, nullptr);
        EXPECT_GT(c.run->limit, 0);
      }
      if (rule == CoefficientRule::WholeReal || rule == CoefficientRule::GaussianQuantile) {
        EXPECT_NE(field.real, nullptr);
      }
      // The unit flag and method setting of a row are its own.
      if (std::strcmp(name, "CORF") == 0) {
        EXPECT_EQ(field.integer, &tarn::params().settings.corf[i]);
      }
      if (std::strcmp(name, "TYPCOR") == 0) {
        EXPECT_EQ(field.integer, &tarn::params().settings.typcor[i]);
      }
    }
    Coefficient past{};
    EXPECT_FALSE(coefficientAt(row, count, past));
    EXPECT_FALSE(coefficientAt(row, -1, past));
  }
  EXPECT_EQ(findCorrelation(57), nullptr);
  EXPECT_EQ(findCorrelation(-1), nullptr);
}

class CatalogueUnits : public tarn::testing::LibraryTest {};

TEST_F(CatalogueUnits, BorrowedUnitFlagsFollowTheirSource) {
  using tarn::frame::catalogue;
  using tarn::frame::unitFlag;
  EXPECT_EQ(unitFlag(catalogue()[0]), 'F');
  ASSERT_EQ(gfx_tarnSetCoefValue(0, 0, 0.0), 0);  // TVL CORF
  EXPECT_EQ(unitFlag(catalogue()[0]), 'C');

  // POURPOINT1 computes in the unit of POURPOINTINDEX1, CD86ONE90BLEND in that
  // of D86ONE90BLEND; POURPOINT1's own flag changes nothing.
  ASSERT_EQ(gfx_tarnSetCoefValue(17, 0, 0.0), 0);
  EXPECT_EQ(unitFlag(catalogue()[17]), 'F');
  ASSERT_EQ(gfx_tarnSetCoefValue(16, 0, 0.0), 0);
  EXPECT_EQ(unitFlag(catalogue()[17]), 'C');
  ASSERT_EQ(gfx_tarnSetCoefValue(15, 0, 0.0), 0);
  EXPECT_EQ(unitFlag(catalogue()[47]), 'C');
  EXPECT_EQ(unitFlag(catalogue()[14]), 'F');
}

}  // namespace
