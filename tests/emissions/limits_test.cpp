// Valid input ranges reported to the caller: which table, which questions in which order, and how answers are compared.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "tarn/emissions.h"

namespace {

using Values = std::vector<double>;

// The caller's side: scripted answers, and the order in which questions came.
std::map<int, std::string> answers;
std::vector<int> asked;
Values lower, upper;

void scriptedAnswer(char* buffer, int length, const int* question) {
  asked.push_back(*question);
  const std::string& a = answers[*question];
  std::memcpy(buffer, a.data(), std::min<size_t>(a.size(), size_t(length)));
}

int limits(const char* model, std::map<int, std::string> script, int n = 11) {
  answers = std::move(script);
  asked.clear();
  lower.assign(11, -7.0);
  upper.assign(11, -7.0);
  return gfx_getCorLimits(model, scriptedAnswer, lower.data(), upper.data(), n);
}

TEST(Limits, CarbAndCarb3Tables) {
  ASSERT_EQ(limits("Carb", {}, 8), 0);
  EXPECT_EQ(Values(upper.begin(), upper.begin() + 8),
            (Values{20, 220, 330, 30, 10, 2.700000047683716, 80, 1.2000000476837158}));
  EXPECT_EQ(Values(lower.begin(), lower.begin() + 8), Values(8, 0.0));
  EXPECT_TRUE(asked.empty());
  EXPECT_EQ(limits("CARB", {}, 7), -1);
  EXPECT_EQ(upper[0], -7.0);
  for (const char* wrong : {"CAR", "CARB ", "CARB33", ""}) EXPECT_EQ(limits(wrong, {}), -1) << wrong;
  // Intended: the CARB3 RVP ceiling is 7.2 psi whatever the answer, but the question is asked.
  ASSERT_EQ(limits("carb3", {{1, "N"}}, 9), 0);
  EXPECT_EQ(asked, std::vector<int>{1});
  EXPECT_EQ((Values{lower[0], upper[0], upper[7]}), (Values{6.400000095367432, 7.199999809265137, 60.0}));
}

TEST(Limits, EpaTableChoiceQuestionOrderAndAnswerComparison) {
  // 5 "S": the wide table, question 4 not asked; 3 "W" still lifts the RVP ceiling.
  ASSERT_EQ(limits("EPA", {{5, "S"}, {4, "R"}, {3, "W"}}), 0);
  EXPECT_EQ(asked, (std::vector<int>{5, 3}));
  EXPECT_EQ((Values{lower[5], upper[5], upper[4]}), (Values{6.599999904632568, 100.0, 10000.0}));
  // 5 "N", 4 "R", 3 "S": reformulated gasoline unchanged.
  ASSERT_EQ(limits("epa", {{5, "N"}, {4, "R"}, {3, "S"}}), 0);
  EXPECT_EQ(asked, (std::vector<int>{5, 4, 3}));
  EXPECT_EQ(lower, (Values{0, 0, 0, 0, 0, 6.400000095367432, 30, 70, 0, 0, 0}));
  EXPECT_EQ(upper, (Values{4, 4, 4, 4, 500, 10, 70, 100, 50, 25, 2}));
  // Anything but "R" is conventional gasoline.
  ASSERT_EQ(limits("EPA", {{4, "C"}}), 0);
  EXPECT_EQ((Values{upper[4], upper[10]}), (Values{1000.0, 4.900000095367432}));
  // An answer matches when the rest is blank or ended by NUL, exactly otherwise.
  for (std::string s : {std::string("S    "), std::string("S\0x", 3)}) {
    ASSERT_EQ(limits("EPA", {{5, s}}), 0);
    EXPECT_EQ(upper[4], 10000.0);
  }
  for (const char* notS : {"SX", "s", " S"}) {
    ASSERT_EQ(limits("EPA", {{5, notS}, {4, "R"}}), 0);
    EXPECT_EQ(upper[4], 500.0) << notS;
  }
  // Too small a capacity or no answer function: nothing asked, nothing written.
  EXPECT_EQ(limits("EPA", {}, 10), -1);
  EXPECT_TRUE(asked.empty());
  EXPECT_EQ(upper[0], -7.0);
  EXPECT_EQ(gfx_getCorLimits("EPA", nullptr, lower.data(), upper.data(), 11), -1);
}

}  // namespace
