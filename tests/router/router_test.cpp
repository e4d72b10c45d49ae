// The router without a user library: the combined numbering is the built-in
// catalogue, the split at 57, the router's messages and the arithmetic for
// codes nobody owns, start-up with a user library path that cannot be used,
// and the bridge answering while nothing is bound. (With a plug-in loaded:
// tests/plugin.)
#include <gtest/gtest.h>

#include <string>

#include "support/fixture.h"
#include "tarn/bml.h"
#include "tarn/corparms.h"
#include "tarn/tarn.h"
#include "tarn/ubml.h"

namespace {

class RouterTest : public tarn::testing::LibraryTest {};

// Every built-in index answering as its gfx_tarn* namesake is the router fuzz
// target's invariant; here the boundary and the router's own answers.
TEST_F(RouterTest, WithoutUserLibraryTheNumberingIsTheBuiltInCatalogue) {
  int count = 0;
  EXPECT_EQ(gfx_bmlGetCorrelationCount(&count), 0);
  EXPECT_EQ(count, 57);
  EXPECT_EQ(gfx_bmlGetPropCount(&count), 0);
  EXPECT_EQ(count, 2);
  char id[64] = "";
  EXPECT_EQ(gfx_bmlGetCorrelationId(56, id), 0);
  EXPECT_STREQ(id, "T20GAUSS");
  std::string buffer = "kept";
  EXPECT_EQ(gfx_bmlGetCorrelationId(57, buffer.data()), TARN_BML_STATUS_INDEX_PAST_END);
  EXPECT_EQ(buffer, "kept");
  // A negative index is the built-in side's to refuse; the buffer is upper-cased anyway.
  EXPECT_EQ(gfx_bmlGetCorrelationId(-1, buffer.data()), TARN_STATUS_BAD_CORRELATION);
  EXPECT_EQ(buffer, "KEPT");

  double x[2] = {9, 0}, y[2] = {0, 0};
  EXPECT_EQ(gfx_bmlGenCalc(57, 0, 0, 0.0, x, y, nullptr), TARN_BML_STATUS_INDEX_PAST_END);
  EXPECT_EQ(gfx_bmlGenCalcComplex(57, 0, 0, 0, x, y, nullptr), TARN_BML_STATUS_INDEX_PAST_END);
  int slack = 5;
  EXPECT_EQ(gfx_bmlGetCorrelationSlackCount(50, &slack), 0);
  EXPECT_EQ(slack, 7);
  EXPECT_EQ(gfx_bmlGetCorrelationSlackCount(10, &slack), 0);
  EXPECT_EQ(slack, 0);  // cleared first, unlike the built-in query
  EXPECT_EQ(gfx_bmlGetCorrelationSlackCount(57, &slack), TARN_BML_STATUS_INDEX_PAST_END);
  EXPECT_EQ(gfx_bmlGetPropId(2, id), TARN_BML_STATUS_INDEX_PAST_END);
  // Calculations offered by user libraries only do nothing for built-in ones.
  y[0] = 42;
  EXPECT_EQ(gfx_bmlCalcPropValue(9, 1, 1, x, y), 0);
  EXPECT_EQ(gfx_bmlCalcIndexFromProp(9, 9.0, y), 0);
  EXPECT_EQ(y[0], 42);
  EXPECT_EQ(gfx_bmlCalcPropFromIndex(57, 9.0, y), TARN_BML_STATUS_INDEX_PAST_END);
}

TEST_F(RouterTest, MessagesOfTheRouterAndTheArithmeticForOtherCodes) {
  struct Case {
    int code;
    const char* message;  // null: nothing written
    int status;           // INT_MIN: not meaningful, only non-zero
  };
  const int any = -2147483647 - 1;
  const Case cases[] = {
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
  for (const Case& c : cases) {
    char message[TARN_MESSAGE_SIZE] = "untouched";
    const int status = gfx_bmlGetErrorMsg(c.code, message);
    EXPECT_STREQ(message, c.message != nullptr ? c.message : "untouched") << c.code;
    if (c.status == any) {
      EXPECT_NE(status, 0) << c.code;
    } else {
      EXPECT_EQ(status, c.status) << c.code;
    }
  }
  // The error handler: built-in codes to the built-in handler, others have no owner.
  EXPECT_EQ(gfx_bmlErrorHandler(9, -4, 0, nullptr), 0);
  EXPECT_EQ(gfx_bmlErrorHandler(9, -1101, 0, nullptr), TARN_BML_STATUS_BAD_ERROR_CODE);
  EXPECT_EQ(gfx_bmlErrorHandler(9, 3, 0, nullptr), TARN_BML_STATUS_BAD_ERROR_CODE);
}

TEST_F(RouterTest, UnusableUserLibraryPathsFailAfterTheBuiltInStart) {
  const std::string directory = ::testing::TempDir();
  struct Case {
    std::string path;
    int status;
  };
  const Case cases[] = {
      {directory + "/no-such-library.so", TARN_BML_STATUS_NO_USER_LIBRARY},
      {"", TARN_BML_STATUS_NO_USER_LIBRARY},
      {directory, TARN_BML_STATUS_NO_USER_LIBRARY},
      {__FILE__, TARN_BML_STATUS_UBML_INIT_FAILED},  // a file, but not a library
  };
  for (const Case& c : cases) {
    ASSERT_EQ(gfx_setCorParms("REIDVAPORPRESSURE", "any", 2.0), 0);
    EXPECT_EQ(gfx_bmlInitializeAllocate(nullptr, c.path.c_str()), c.status) << c.path;
    EXPECT_EQ(gfx_getCorParms("REIDVAPORPRESSURE", "any"), 1.25) << "started first: " << c.path;
    int count = 0;
    gfx_bmlGetCorrelationCount(&count);
    EXPECT_EQ(count, 57);
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
