// Valid input ranges reported to the caller: which table, which questions in
// which order, and how answers are compared.
#include <gtest/gtest.h>

#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "support/fixture.h"
#include "tarn/emissions.h"

namespace {

// The caller's side of the option questions: scripted answers and the order
// in which questions came.
std::map<int, std::string> answers;
std::vector<int> asked;

void scriptedAnswer(char* buffer, int length, const int* question) {
  asked.push_back(*question);
  const std::string& a = answers[*question];
  std::memcpy(buffer, a.data(), std::min<size_t>(a.size(), size_t(length)));
}

class LimitsTest : public tarn::testing::LibraryTest {
 protected:
  int limits(const char* model, std::map<int, std::string> script, int n = 11) {
    answers = std::move(script);
    asked.clear();
    lower.assign(11, -7.0);
    upper.assign(11, -7.0);
    return gfx_getCorLimits(model, scriptedAnswer, lower.data(), upper.data(), n);
  }
  std::vector<double> lower, upper;
};

TEST_F(LimitsTest, CarbAndCarb3Tables) {
  ASSERT_EQ(limits("Carb", {}, 8), 0);
  const double carbUpper[8] = {20, 220, 330, 30, 10, 2.700000047683716, 80, 1.2000000476837158};
  for (int i = 0; i < 8; ++i) {
    EXPECT_EQ(lower[i], 0.0);
    EXPECT_EQ(upper[i], carbUpper[i]);
  }
  EXPECT_TRUE(asked.empty());

  EXPECT_EQ(limits("CARB", {}, 7), -1);
  EXPECT_EQ(upper[0], -7.0);
  for (const char* wrong : {"CAR", "CARB ", "CARB33", "EPA3", ""}) EXPECT_EQ(limits(wrong, {}), -1) << wrong;

  // The CARB3 RVP ceiling is 7.2 psi whatever the answer, but the question is asked.
  for (const char* yn : {"Y", "N"}) {
    ASSERT_EQ(limits("carb3", {{1, yn}}, 9), 0);
    EXPECT_EQ(asked, std::vector<int>{1});
    EXPECT_EQ(lower[0], 6.400000095367432);
    EXPECT_EQ(upper[0], 7.199999809265137);
    EXPECT_EQ(upper[7], 60.0);
  }
  EXPECT_EQ(limits("CARB3", {}, 8), -1);
  EXPECT_TRUE(asked.empty());
}

TEST_F(LimitsTest, EpaTableChoiceQuestionOrderAndAnswerComparison) {
  // Question 5 "S": the wide table, and question 4 is not asked; 3 "W" still
  // lifts the RVP ceiling.
  ASSERT_EQ(limits("EPA", {{5, "S"}, {4, "R"}, {3, "W"}}), 0);
  EXPECT_EQ(asked, (std::vector<int>{5, 3}));
  EXPECT_EQ(lower[5], 6.599999904632568);
  EXPECT_EQ(upper[5], 100.0);
  EXPECT_EQ(upper[4], 10000.0);
  EXPECT_EQ(upper[0], 3.5);

  // 5 "N", 4 "R", 3 "S": reformulated gasoline unchanged.
  ASSERT_EQ(limits("epa", {{5, "N"}, {4, "R"}, {3, "S"}}), 0);
  EXPECT_EQ(asked, (std::vector<int>{5, 4, 3}));
  const double rfgLower[11] = {0, 0, 0, 0, 0, 6.400000095367432, 30, 70, 0, 0, 0};
  const double rfgUpper[11] = {4, 4, 4, 4, 500, 10, 70, 100, 50, 25, 2};
  for (int i = 0; i < 11; ++i) {
    EXPECT_EQ(lower[i], rfgLower[i]) << i;
    EXPECT_EQ(upper[i], rfgUpper[i]) << i;
  }

  // Anything but "R" is conventional gasoline.
  ASSERT_EQ(limits("EPA", {{5, "N"}, {4, "C"}, {3, "S"}}), 0);
  EXPECT_EQ(upper[4], 1000.0);
  EXPECT_EQ(upper[10], 4.900000095367432);

  // Answers match a letter when the rest is blank or ended by NUL; the
  // comparison is exact otherwise.
  ASSERT_EQ(limits("EPA", {{5, std::string("S\0", 2)}}), 0);
  EXPECT_EQ(upper[4], 10000.0);
  for (const char* notS : {"SX", "s", " S"}) {
    ASSERT_EQ(limits("EPA", {{5, notS}, {4, "R"}}), 0);
    EXPECT_EQ(upper[4], 500.0) << notS;
  }
  ASSERT_EQ(limits("EPA", {{5, "S    "}, {3, "W    "}}), 0);
  EXPECT_EQ(upper[5], 100.0);

  // Too small a capacity or no answer function: nothing asked, nothing written.
  EXPECT_EQ(limits("EPA", {}, 10), -1);
  EXPECT_TRUE(asked.empty());
  EXPECT_EQ(upper[0], -7.0);
  EXPECT_EQ(gfx_getCorLimits("EPA", nullptr, lower.data(), upper.data(), 11), -1);
}

}  // namespace
