// Catalogue queries against an independent transcription of the published catalogue; failure codes and order.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/transcription.h"
#include "support/data.h"
#include "support/fixture.h"
#include "tarn/tarn.h"

namespace {

using tarn::testing::expandList;

// The published catalogue, row by row (tests/data/published_catalogue.csv).
struct PublishedRow {
  std::string id;
  int type;
  std::string inputs, outputs;
  std::string kinds;  // "-": none written; "20*5": five times 20
  int pair;           // -1: none
};

std::vector<PublishedRow> published() {
  std::vector<PublishedRow> rows;
  for (const auto& c : tarn::testing::dataTable("published_catalogue.csv", 9)) {
    rows.push_back({c[1], std::stoi(c[2]), c[3], c[4], c[5], std::stoi(c[6])});
  }
  return rows;
}

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
  const std::vector<PublishedRow> rows = published();
  ASSERT_EQ(rows.size(), 57u);
  for (int index = 0; index < 57; ++index) {
    const PublishedRow& expected = rows[index];
    SCOPED_TRACE(std::to_string(index) + " " + expected.id);
    char text[64];
    ASSERT_EQ(gfx_tarnGetCorrelationId(index, text), 0);
    EXPECT_EQ(text, expected.id);
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
    // Only CARBOB2 has slack inputs (its last seven); the others leave the caller's preset alone.
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
      {gfx_tarnGetCorrelationId(57, text), -4},
      {gfx_tarnGetCorrelationDesc(-1, text), -4},
      {gfx_tarnGetCorrelationInpPropCount(57, &value), -4},
      {gfx_tarnGetCorrelationOutPropCount(-1, &value), -4},
      {gfx_tarnGetCorrelationSlackCount(57, &value), 0},
      {gfx_tarnGetIndexPair(-2147483647 - 1, &value), 12},
      {gfx_tarnGetCoefCount(57, &value), -4},
      {gfx_tarnGetPropId(-1, text), -2},
      {gfx_tarnGetPropDesc(2, text), -3},
      // TVL: 3 inputs, 1 output, 5 coefficients; RVPINDEX writes no kind, yet k is checked; VISCOSITYINDEX1: none.
      {gfx_tarnGetCorrelationInpPropId(0, 3, text), -6},
      {gfx_tarnGetCorrelationOutPropId(0, 1, text), -7},
      {gfx_tarnGetCorrelationOutPropType(0, -1, &value), -7},
      {gfx_tarnGetCorrelationOutPropType(9, 1, &value), -7},
      {gfx_tarnGetCoef(18, 0, text, &number), -8},
      {gfx_tarnSetCoefValue(0, 5, 1.0), -8},
      // The index is checked before the position.
      {gfx_tarnGetCorrelationInpPropId(57, 99, text), -4},
      {gfx_tarnGetCorrelationOutPropId(-1, -1, text), -4},
      {gfx_tarnGetCorrelationOutPropType(57, 5, &value), -4},
      {gfx_tarnGetCoef(57, -1, text, &number), -4},
      {gfx_tarnSetCoefValue(-5, 100, 1.0), -4},
      // Null result pointers are tolerated and do not change the status.
      {gfx_tarnGetCorrelationId(3, nullptr), 0},
      {gfx_tarnGetCorrelationDesc(57, nullptr), -4},
      {gfx_tarnGetCorrelationType(57, nullptr), -5},
      {gfx_tarnGetCorrelationOutPropType(50, 8, nullptr), 0},
      {gfx_tarnGetIndexPair(13, nullptr), 0},
      {gfx_tarnGetCorrelationCount(nullptr), 0},
      {gfx_tarnGetCoef(0, 0, nullptr, nullptr), 0},
      {gfx_tarnGetCoefCount(0, nullptr), 0},
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
