// The catalogue queries against an independent transcription of the published
// catalogue, and their failure codes and check order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

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
  for (const std::string& word : expandList(text == "-" ? "" : text)) {
    const auto star = word.find('*');
    const int times = star == std::string::npos ? 1 : std::stoi(word.substr(star + 1));
    codes.insert(codes.end(), times, std::stoi(word.substr(0, star)));
  }
  return codes;
}

// The texts a position query writes for k = 0 .. count - 1.
std::vector<std::string> listed(int index, int (*count)(int, int*), int (*text)(int, int, char*)) {
  int n = 0;
  EXPECT_EQ(count(index, &n), 0);
  std::vector<std::string> texts;
  for (int k = 0; k < n; ++k) {
    char buffer[64] = "";
    EXPECT_EQ(text(index, k, buffer), 0);
    texts.emplace_back(buffer);
  }
  return texts;
}

constexpr int kUntouched = -31415;

TEST(Catalogue, EveryAnswerMatchesThePublishedCatalogue) {
  int count = 0;
  ASSERT_EQ(gfx_tarnGetCorrelationCount(&count), 0);
  ASSERT_EQ(count, 57);
  ASSERT_EQ(std::size(kPublished), 57u);
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
    EXPECT_EQ(listed(index, gfx_tarnGetCorrelationInpPropCount, gfx_tarnGetCorrelationInpPropId),
              expandList(expected.inputs));
    const auto outputs = expandList(expected.outputs);
    EXPECT_EQ(listed(index, gfx_tarnGetCorrelationOutPropCount, gfx_tarnGetCorrelationOutPropId), outputs);
    std::vector<int> kinds;
    for (std::size_t k = 0; k < outputs.size(); ++k) {
      int kind = kUntouched;
      ASSERT_EQ(gfx_tarnGetCorrelationOutPropType(index, static_cast<int>(k), &kind), 0);
      if (kind != kUntouched) kinds.push_back(kind);
    }
    EXPECT_EQ(kinds, kindCodes(expected.kinds));
    int pair = kUntouched;
    EXPECT_EQ(gfx_tarnGetIndexPair(index, &pair), expected.pair < 0 ? 12 : 0);
    EXPECT_EQ(pair, expected.pair < 0 ? kUntouched : expected.pair);
    // Only CARBOB2 has slack inputs (its last seven); the others leave the
    // caller's preset alone.
    int slack = kUntouched;
    EXPECT_EQ(gfx_tarnGetCorrelationSlackCount(index, &slack), 0);
    EXPECT_EQ(slack, index == 50 ? 7 : kUntouched);
  }

  // The library's own properties.
  const char* properties[2][2] = {{"RVPD", "Derived Property"}, {"RVPC", "Complex Property"}};
  EXPECT_EQ(gfx_tarnGetPropCount(&count), 0);
  EXPECT_EQ(count, 2);
  for (int k = 0; k < 2; ++k) {
    char text[64];
    EXPECT_EQ(gfx_tarnGetPropId(k, text), 0);
    EXPECT_STREQ(text, properties[k][0]);
    EXPECT_EQ(gfx_tarnGetPropDesc(k, text), 0);
    EXPECT_STREQ(text, properties[k][1]);
  }
}

using CatalogueFailures = tarn::testing::LibraryTest;

TEST_F(CatalogueFailures, QueriesAndCoefficientAccessFailInTheirOrderAndWriteNothing) {
  char text[64] = "unchanged";
  int value = kUntouched;
  double number = 42.0;
  const struct {
    int status, expected;
  } cases[] = {
      {gfx_tarnGetCorrelationId(57, text), -4},           {gfx_tarnGetCorrelationDesc(-1, text), -4},
      {gfx_tarnGetCorrelationInpPropCount(57, &value), -4}, {gfx_tarnGetCorrelationOutPropCount(-1, &value), -4},
      {gfx_tarnGetCorrelationSlackCount(57, &value), 0},  {gfx_tarnGetIndexPair(-2147483647 - 1, &value), 12},
      {gfx_tarnGetCoefCount(57, &value), -4},             {gfx_tarnGetPropId(-1, text), -2},
      {gfx_tarnGetPropDesc(2, text), -3},
      // TVL has 3 inputs, 1 output and 5 coefficients; RVPINDEX writes no
      // kind, yet k is checked; VISCOSITYINDEX1 has no coefficients.
      {gfx_tarnGetCorrelationInpPropId(0, 3, text), -6},  {gfx_tarnGetCorrelationOutPropId(0, 1, text), -7},
      {gfx_tarnGetCorrelationOutPropType(0, -1, &value), -7}, {gfx_tarnGetCorrelationOutPropType(9, 1, &value), -7},
      {gfx_tarnGetCoef(18, 0, text, &number), -8},        {gfx_tarnSetCoefValue(0, 5, 1.0), -8},
      // The index is checked before the position.
      {gfx_tarnGetCorrelationInpPropId(57, 99, text), -4}, {gfx_tarnGetCorrelationOutPropId(-1, -1, text), -4},
      {gfx_tarnGetCorrelationOutPropType(57, 5, &value), -4}, {gfx_tarnGetCoef(57, -1, text, &number), -4},
      {gfx_tarnSetCoefValue(-5, 100, 1.0), -4},
      // Null result pointers are tolerated and do not change the status.
      {gfx_tarnGetCorrelationId(3, nullptr), 0},          {gfx_tarnGetCorrelationDesc(57, nullptr), -4},
      {gfx_tarnGetCorrelationType(57, nullptr), -5},      {gfx_tarnGetCorrelationOutPropType(50, 8, nullptr), 0},
      {gfx_tarnGetIndexPair(13, nullptr), 0},             {gfx_tarnGetCorrelationCount(nullptr), 0},
      {gfx_tarnGetCoef(0, 0, nullptr, nullptr), 0},       {gfx_tarnGetCoefCount(0, nullptr), 0},
  };
  for (std::size_t i = 0; i < std::size(cases); ++i) EXPECT_EQ(cases[i].status, cases[i].expected) << "case " << i;
  EXPECT_STREQ(text, "unchanged");
  EXPECT_EQ(value, kUntouched);
  EXPECT_EQ(number, 42.0);
  EXPECT_EQ(gfx_tarnGetCoef(0, 4, nullptr, &number), 0);
  EXPECT_EQ(number, 0.17);  // TVL P4 untouched by the refused position after it
  // The type query alone has its own code, and writes the unknown type.
  EXPECT_EQ(gfx_tarnGetCorrelationType(57, &value), -5);
  EXPECT_EQ(value, -9999);
}

}  // namespace
