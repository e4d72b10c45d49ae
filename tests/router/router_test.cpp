// The router without a user library (with a plug-in: tests/plugin).
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "support/fixture.h"
#include "tarn/bml.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"
#include "tarn/ubml.h"

namespace {

class RouterTest : public tarn::testing::LibraryTest {};

// Built-in answers as their gfx_tarn* namesakes: the router fuzz target's.
TEST_F(RouterTest, WithoutUserLibraryTheRouterKeepsItsOwnAnswers) {
  // A negative index is the built-in side's to refuse; the buffer is upper-cased anyway.
  std::string buffer = "kept";
  EXPECT_EQ(gfx_bmlGetCorrelationId(-1, buffer.data()), TARN_STATUS_BAD_CORRELATION);
  EXPECT_EQ(buffer, "KEPT");
  int slack = 5;
  EXPECT_EQ(gfx_bmlGetCorrelationSlackCount(50, &slack), 0);
  EXPECT_EQ(slack, 7);
  EXPECT_EQ(gfx_bmlGetCorrelationSlackCount(10, &slack), 0);
  EXPECT_EQ(slack, 0);  // cleared first, unlike the built-in query
  // Calculations offered by user libraries only do nothing for built-in ones.
  double x[2] = {9, 0}, y[2] = {42, 0};
  EXPECT_EQ(gfx_bmlCalcPropValue(9, 1, 1, x, y) + gfx_bmlCalcIndexFromProp(9, 9.0, y), 0);
  EXPECT_EQ(y[0], 42);
}

TEST_F(RouterTest, MessagesOfTheRouterAndTheArithmeticForOtherCodes) {
  const int any = -2147483647 - 1;  // not meaningful, only non-zero
  const struct {
    int code;
    const char* message;  // null: nothing written
    int status;
  } cases[] = {
      {-4, "Invalid Correlation index passed.", 0},
      {-1, "Unable to initialize TARN.", 0},
      {-1101, "Property Index exceeds total number of BML Correlations defined.", 0},
      {-1102, "Invalid BML Type specified.", any},
      {-1103, "TARN Initialization failed.", any},
      {-1104, "UBML Initialization failed.", any},
      {-1105, "QUBML DLL does not exist.", any},
      {-1106, "Invalid Error code.", any},
      {-1107, "Invalid BML Property Index.", any},
      {-1108, "Invalid BML Correlation Index.", 0},
      {0, nullptr, 499},
      {-500, nullptr, -1},
      {-999, nullptr, -500},
      {-1100, nullptr, -601},
      {-1109, nullptr, -610},
      {12, nullptr, 511},
  };
  for (const auto& c : cases) {
    char message[TARN_MESSAGE_SIZE] = "untouched";
    const int status = gfx_bmlGetErrorMsg(c.code, message);
    EXPECT_STREQ(message, c.message != nullptr ? c.message : "untouched") << c.code;
    EXPECT_TRUE(c.status == any ? status != 0 : status == c.status) << c.code << ": " << status;
  }
  // The error handler: built-in codes to the built-in handler, others have no owner.
  EXPECT_EQ(gfx_bmlErrorHandler(9, -4, 0, nullptr), 0);
  EXPECT_EQ(gfx_bmlErrorHandler(9, -1101, 0, nullptr), TARN_BML_STATUS_BAD_ERROR_CODE);
  EXPECT_EQ(gfx_bmlErrorHandler(9, 3, 0, nullptr), TARN_BML_STATUS_BAD_ERROR_CODE);
}

TEST_F(RouterTest, UnusableUserLibraryPathsFailAfterTheBuiltInStart) {
  const std::string directory = ::testing::TempDir();
  for (const auto& [path, status] : std::vector<std::pair<std::string, int>>{
           {directory + "/no-such-library.so", TARN_BML_STATUS_NO_USER_LIBRARY},
           {"", TARN_BML_STATUS_NO_USER_LIBRARY},
           {directory, TARN_BML_STATUS_NO_USER_LIBRARY},
           {__FILE__, TARN_BML_STATUS_UBML_INIT_FAILED}}) {  // a file, but not a library
    ASSERT_EQ(gfx_setCorParms("REIDVAPORPRESSURE", "any", 2.0), 0);
    EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, path.c_str()), status) << path;
    EXPECT_EQ(gfx_getCorParms("REIDVAPORPRESSURE", "any"), 1.25) << "started first: " << path;
    int count = 0;
    EXPECT_EQ(gfx_bmlGetCorrelationCount(&count) + count, 57);
  }
  EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, nullptr), 0);

  // Nothing bound: every bridge call answers the same and writes nothing.
  int type = 42;
  double x[3] = {1, 2, 3}, y = 42;
  EXPECT_EQ(gfx_ubmlGetCorrelationType(0, &type), UBML_STATUS_NOT_BOUND);
  EXPECT_EQ(type, 42);
  EXPECT_EQ(gfx_ubmlGenCalc(0, 0, 0, 1.0, x, &y, nullptr), UBML_STATUS_NOT_BOUND);
  EXPECT_EQ(gfx_ubmlGenCalcComplex(0, 0, 0, 1, x, &y, nullptr), UBML_STATUS_NOT_BOUND);
  EXPECT_EQ(gfx_ubmlCalcPropValue(0, 1, 3, x, &y), UBML_STATUS_NOT_BOUND);
  EXPECT_EQ(gfx_ubmlInitializeAllocate(), UBML_STATUS_NOT_BOUND);
  EXPECT_EQ(y, 42);
}

}  // namespace
