// Status messages and the error handler's print-out.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <string>

#include "tarn/tarn.h"

namespace {

TEST(StatusMessages, EveryCodeHasItsTextOrTheNotFoundLine) {
  const struct {
    int code;
    const char* text;
  } published[] = {
      {-1, "Unable to initialize TARN."},
      {-2, "Invalid Property index passed in call gfx_tarnGetPropId."},
      {-3, "Invalid Property index passed in call gfx_tarnGetPropDesc."},
      {-4, "Invalid Correlation index passed."},
      {-5, "Invalid Correlation index passed in call gfx_tarnGetCorrelationType."},
      {-6, "Invalid Correlation Input Property index."},
      {-7, "Invalid Correlation Output Property index."},
      {-8, "Invalid Correlation Coefficient index."},
  };
  char buffer[TARN_MESSAGE_SIZE + 16];
  std::size_t longest = 0;
  for (const auto& entry : published) {
    std::memset(buffer, 'x', sizeof buffer);
    EXPECT_EQ(gfx_tarnGetErrorMsg(entry.code, buffer), 0) << entry.code;
    EXPECT_STREQ(buffer, entry.text);
    longest = std::max(longest, std::strlen(entry.text));
  }
  EXPECT_EQ(longest + 1, static_cast<std::size_t>(TARN_MESSAGE_SIZE));
  // Success, the undefined result, the pair answer and the evaluation codes have no text.
  for (int code : {0, 1, 12, -9, -444, -999, -8888, -9999, INT_MIN, INT_MAX}) {
    EXPECT_EQ(gfx_tarnGetErrorMsg(code, buffer), -444);
    EXPECT_EQ(std::string(buffer), "Error Message Code = " + std::to_string(code) + " not found");
  }
  EXPECT_EQ(gfx_tarnGetErrorMsg(-4, nullptr), 0);
  EXPECT_EQ(gfx_tarnGetErrorMsg(7, nullptr), -444);
}

// Runs the handler with a temporary file as the diagnostic stream and returns what it printed.
std::string handlerOutput(int index, int code, int inputCount, const double* inputs) {
  std::FILE* file = std::tmpfile();
  if (file == nullptr) return "<no temporary file>";
  std::FILE* previous = gfx_tarnSetDiagnosticStream(file);
  EXPECT_EQ(gfx_tarnErrorHandler(index, code, inputCount, inputs), 0);
  gfx_tarnSetDiagnosticStream(previous);
  std::rewind(file);
  std::string text;
  for (int c = std::fgetc(file); c != EOF; c = std::fgetc(file)) text += static_cast<char>(c);
  std::fclose(file);
  return text;
}

TEST(ErrorHandler, PrintsTheDiagnosticExactlyAndNothingForAnUnknownIndexOrStream) {
  // Start-up failure is spelled out; inputs beyond a correlation's own repeat its last property id.
  const double tvl[] = {9.0, 130.0, 210.0, -0.5};
  EXPECT_EQ(handlerOutput(8, -4, 1, tvl),
            "8: RVP\n-4: Error Message Code not found. \nNumber of Inputs expected 1"
            "9.000000e+00  RVPNDX \n");
  EXPECT_EQ(handlerOutput(0, -1, 4, tvl),
            "0: TVL\n-1: Unable to initialize TARN.\nNumber of Inputs expected 3"
            "9.000000e+00  RVP \n1.300000e+02  T10 \n2.100000e+02  T50 \n-5.000000e-01  T50 \n");
  EXPECT_EQ(handlerOutput(56, -6, 0, tvl),
            "56: T20GAUSS\n-6: Error Message Code not found. \nNumber of Inputs expected 2");
  EXPECT_EQ(handlerOutput(8, -4, 1, nullptr),
            "8: RVP\n-4: Error Message Code not found. \nNumber of Inputs expected 1");
  EXPECT_EQ(handlerOutput(57, -4, 1, tvl), "");
  EXPECT_EQ(handlerOutput(-1, -4, 1, tvl), "");
  std::FILE* previous = gfx_tarnSetDiagnosticStream(nullptr);
  EXPECT_EQ(gfx_tarnErrorHandler(8, -4, 1, tvl), 0);
  EXPECT_EQ(gfx_tarnSetDiagnosticStream(previous), nullptr);
}

}  // namespace
