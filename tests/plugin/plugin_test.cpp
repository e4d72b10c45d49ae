// The router and the user-library bridge with a real plug-in loaded through
// gfx_bmlInitializeAllocate: the combined numbering, forwarding of every
// kind of call, evaluation of each plug-in type and the ordering of inputs.
// (A misbehaving plug-in and failed loads: plugin_faults_test.cpp.)
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "plugin/plugin_support.h"
#include "support/derivatives.h"
#include "tarn/bml.h"
#include "tarn/tarn.h"
#include "tarn/ubml.h"

namespace {

using namespace tarn::testing;

TEST_F(PluginTest, CombinedNumberingSplitsAtTheBuiltInCountAndEndsAfterThePlugin) {
  int count = 0;
  EXPECT_EQ(gfx_bmlGetCorrelationCount(&count), 0);
  EXPECT_EQ(count, kCombinedCount);
  EXPECT_EQ(gfx_bmlGetPropCount(&count), 0);
  EXPECT_EQ(count, 4);
  // Ids come back upper-cased, descriptions as the plug-in wrote them.
  EXPECT_EQ(correlationId(kSquare), "USR_SQUARE");
  EXPECT_EQ(correlationId(kCurve), "USR_CURVE");
  EXPECT_EQ(correlationId(kCombinedCount, TARN_BML_STATUS_INDEX_PAST_END), "untouched");
  char text[64] = "";
  EXPECT_EQ(gfx_bmlGetCorrelationDesc(kExp, text), 0);
  EXPECT_STREQ(text, "User usr_exp");

  int type = 0;
  EXPECT_EQ(gfx_bmlGetCorrelationType(kPick, &type), 0);
  EXPECT_EQ(type, UBML_TYPE_COMPLEX);
  EXPECT_EQ(gfx_bmlGetCorrelationOutPropCount(kCurve, &count), 0);
  EXPECT_EQ(count, 4);
  EXPECT_EQ(gfx_bmlGetCorrelationInpPropId(kCurve, 3, text), 0);
  EXPECT_STREQ(text, "in3");
  // The plug-in takes the position after the buffer; the router keeps the
  // catalogue's order, and passes the plug-in's own code on.
  EXPECT_EQ(gfx_bmlGetCorrelationOutPropId(kCurve, 2, text), 0);
  EXPECT_STREQ(text, "out2");
  EXPECT_EQ(gfx_bmlGetCorrelationOutPropId(kCurve, 4, text), 5);

  int kind = -1, pair = -1;
  EXPECT_EQ(gfx_bmlGetCorrelationOutPropType(kExp, 0, &kind), TARN_BML_USER_KIND);
  EXPECT_EQ(kind, -1);
  EXPECT_EQ(gfx_bmlGetIndexPair(kExp, &pair), 0);
  EXPECT_EQ(pair, kSquare);  // made combined
  EXPECT_EQ(gfx_bmlGetIndexPair(kCurve, &pair), 12);
  EXPECT_EQ(pair, kSquare);

  EXPECT_EQ(gfx_bmlGetPropId(2, text), 0);
  EXPECT_STREQ(text, "usrvisc");
  EXPECT_EQ(gfx_bmlGetPropDesc(3, text), 0);
  EXPECT_STREQ(text, "User density");
}

TEST_F(PluginTest, CoefficientsStartAndStopReachThePlugin) {
  char name[16] = "";
  double value = 0.0, x[3] = {1.0, 2.0, 3.0}, y = 0.0;
  int count = 0;
  EXPECT_EQ(gfx_bmlGetCoef(kWeighted, 1, name, &value), 0);
  EXPECT_STREQ(name, "B");
  EXPECT_EQ(value, 3.0);
  EXPECT_EQ(gfx_bmlGetCoefCount(kWeighted, &count), 0);
  EXPECT_EQ(count, 2);
  EXPECT_EQ(gfx_bmlSetCoefValue(kWeighted, 0, 5.0), 0);
  EXPECT_EQ(gfx_bmlGenCalc(kWeighted, 0, 0, 0.0, x, &y, nullptr), 0);
  EXPECT_EQ(y, 1.0 + 5.0 * 2.0 + 3.0 * 3.0);

  const PluginCalls before = pluginCalls();
  EXPECT_EQ(gfx_bmlInitializeCoefs(), 0);
  EXPECT_EQ(gfx_bmlGetCoef(kWeighted, 0, name, &value), 0);
  EXPECT_EQ(value, 2.0);
  EXPECT_EQ(gfx_bmlFree(), 0);
  const PluginCalls after = pluginCalls();
  EXPECT_EQ(after.coefficientResets, before.coefficientResets + 1);
  EXPECT_EQ(after.stops, before.stops + 1);
  EXPECT_EQ(gfx_bmlGetCorrelationCount(&count), 0);
  EXPECT_EQ(count, kCombinedCount);  // freeing does not take the plug-in out
}

TEST_F(PluginTest, SingleValueConversionReportsNotCalculableAfterComputing) {
  const double x = 4.0, step = ((std::fabs(x) + 1.0) * 0.001 + x) - x;
  for (const bool complex : {false, true}) {
    SCOPED_TRACE(complex ? "complex" : "plain");
    const auto calc = [complex](int flag, int direction, double* in, double* out, double* d) {
      return complex ? gfx_bmlGenCalcComplex(kSquare, flag, direction, 0, in, out, d)
                     : gfx_bmlGenCalc(kSquare, flag, direction, 0.0, in, out, d);
    };
    double in[1] = {x}, out[1] = {0.0}, d[1] = {0.0};
    EXPECT_EQ(calc(1, 1, in, out, d), complex ? 0 : TARN_STATUS_NOT_CALCULABLE);
    EXPECT_DOUBLE_EQ(out[0], 1.6);
    EXPECT_NEAR(d[0], ((x + step) * (x + step) / 10.0 - x * x / 10.0) / step, 1e-9);
    EXPECT_TRUE(tarn::testing::derivativeNear(d[0], 2.0 * x / 10.0, 1e-3));
    // Direction 0 converts back; a plug-in failure passes through at once.
    in[0] = 1.6;
    EXPECT_EQ(calc(0, 0, in, out, nullptr), complex ? 0 : TARN_STATUS_NOT_CALCULABLE);
    EXPECT_DOUBLE_EQ(out[0], 4.0);
    in[0] = -1.0;
    out[0] = d[0] = 42.0;
    EXPECT_EQ(calc(1, 1, in, out, d), 7);
    EXPECT_EQ(out[0], 42.0);
    EXPECT_EQ(d[0], 42.0);
    in[0] = 4.0;
    EXPECT_EQ(calc(1, 1, in, out, nullptr), complex ? TARN_STATUS_NO_DERIVATIVE_ARRAY : TARN_STATUS_NOT_CALCULABLE);
  }
  double value = 0.0;
  EXPECT_EQ(gfx_bmlCalcIndexFromProp(kSquare, 5.0, &value), 0);
  EXPECT_EQ(value, 2.5);
  EXPECT_EQ(gfx_bmlCalcPropFromIndex(kSquare, 2.5, &value), 0);
  EXPECT_EQ(value, 5.0);
}

TEST_F(PluginTest, PropertyValuesUsePropertyOneOrTheCallersNumber) {
  double x[3] = {1.0, 2.0, 3.0}, y = 0.0, d[3] = {0.0, 0.0, 0.0};
  EXPECT_EQ(gfx_bmlGenCalc(kWeighted, 1, 0, 0.0, x, &y, d), 0);
  EXPECT_EQ(y, 14.0);
  EXPECT_EQ(d[1], 2.0);
  EXPECT_EQ(d[2], 3.0);
  EXPECT_EQ(gfx_bmlGenCalcComplex(kWeighted, 1, 0, 2, x, &y, d), 0);  // property ignored
  EXPECT_EQ(gfx_bmlGenCalc(kWeighted, 1, 0, 0.0, x, &y, nullptr), TARN_STATUS_NO_DERIVATIVE_ARRAY);

  // Type -3 only through the complex entry, with the property number given.
  EXPECT_EQ(gfx_bmlGenCalc(kPick, 0, 0, 0.0, x, &y, nullptr), TARN_STATUS_NOT_CALCULABLE);
  EXPECT_EQ(gfx_bmlGenCalcComplex(kPick, 1, 0, 2, x, &y, d), 0);
  EXPECT_EQ(y, 30.0);
  EXPECT_EQ(d[0], 0.0);
  EXPECT_EQ(d[2], 10.0);
  EXPECT_EQ(gfx_bmlGenCalcComplex(kPick, 0, 0, 5, x, &y, d), 9);
  EXPECT_EQ(gfx_bmlGenCalcComplex(kPick, 1, 0, 0, x, &y, nullptr), TARN_STATUS_NO_DERIVATIVE_ARRAY);

  // The direct calls reach the plug-in; for a built-in index they do nothing.
  EXPECT_EQ(gfx_bmlCalcPropValue(kPick, 1, 3, x, &y), 0);
  EXPECT_EQ(y, 20.0);
  EXPECT_EQ(gfx_bmlCalcPropDeriv(kPick, 0, 3, x, d), 0);
  EXPECT_EQ(d[0], 10.0);
  y = 42.0;
  EXPECT_EQ(gfx_bmlCalcPropValue(9, 1, 3, x, &y), 0);
  EXPECT_EQ(gfx_bmlCalcPropDeriv(9, 1, 3, x, d), 0);
  EXPECT_EQ(y, 42.0);
}

TEST_F(PluginTest, CatalogueShapedCorrelationsReportTheirSlopeAndTheirFailures) {
  double x[4] = {150.0, 1.0, 2.0, 3.0}, y[4] = {}, d[16] = {};
  ASSERT_EQ(gfx_bmlGenCalc(kExp, 1, 0, 0.0, x, y, d), 0);
  const auto exp = [](double v) {
    double in[1] = {v}, out[1] = {0.0};
    gfx_bmlGenCalcComplex(kExp, 0, 0, 0, in, out, nullptr);
    return out[0];
  };
  EXPECT_TRUE(tarn::testing::derivativeNear(d[0], tarn::testing::centralDifference(exp, 150.0)));
  EXPECT_EQ(gfx_bmlGenCalc(kExp, 1, 0, 0.0, x, y, nullptr), TARN_STATUS_NO_DERIVATIVE_ARRAY);
  x[2] = -1.0;
  EXPECT_EQ(gfx_bmlGenCalcComplex(kCurve, 0, 0, 0, x, y, nullptr), 7);
}

TEST_F(PluginTest, OrderingTakesTheDirectionThatChangesFewerInputs) {
  struct Case {
    int index;
    double spacing;
    std::vector<double> given, expected;
  };
  const Case cases[] = {
      {kWeighted, 0.5, {100, 90, 120}, {100, 100.5, 120}},         // one change either way: upward
      {kCurve, 1.0, {300, 100, 110, 120}, {99, 100, 110, 120}},    // three up against one down
      {kCurve, 1.0, {100, 100, 100, 130}, {100, 101, 102, 130}},
      {kWeighted, 0.0, {100, 90, 120}, {100, 90, 120}},
      {kWeighted, -1.0, {100, 90, 120}, {100, 90, 120}},
  };
  for (const Case& c : cases) {
    std::vector<double> x = c.given, y(4, 0.0);
    EXPECT_EQ(gfx_bmlGenCalc(c.index, 0, 0, c.spacing, x.data(), y.data(), nullptr), 0);
    EXPECT_EQ(x, c.expected) << "spacing " << c.spacing;
    EXPECT_EQ(y[0], c.index == kCurve ? x[0] : x[0] + 2 * x[1] + 3 * x[2]);
  }
  // The complex entry and built-in correlations leave the inputs alone.
  double x[4] = {300, 100, 110, 120}, y[4] = {};
  EXPECT_EQ(gfx_bmlGenCalcComplex(kCurve, 0, 0, 0, x, y, nullptr), 0);
  EXPECT_EQ(x[0], 300.0);
  double octanes[2] = {95.0, 85.0}, don[1] = {0.0};
  EXPECT_EQ(gfx_bmlGenCalc(38, 0, 0, 1.0, octanes, don, nullptr), 0);
  EXPECT_EQ(octanes[0], 95.0);
  EXPECT_EQ(don[0], 90.0);
}

TEST_F(PluginTest, MessagesAndErrorHandlingGoToTheOwnerOfTheCode) {
  char message[TARN_MESSAGE_SIZE] = "";
  EXPECT_EQ(gfx_ubmlGetErrorMsg(7, message), 0);
  EXPECT_STREQ(message, "usr: negative property");
  EXPECT_EQ(gfx_bmlErrorHandler(kCurve, 7, 0, nullptr), 0);
  EXPECT_EQ(pluginCalls().handledIndex, kCurve);  // the combined number, unchanged
  EXPECT_EQ(pluginCalls().handledCode, 7);
  EXPECT_EQ(gfx_bmlErrorHandler(kExp, -4, 0, nullptr), 0);  // the built-in handler's code
  EXPECT_EQ(pluginCalls().handledIndex, kCurve);
  // The router's own messages do not consult the plug-in.
  EXPECT_EQ(gfx_bmlGetErrorMsg(7, message), 7 + 499);
}

}  // namespace
