/* The test plug-in's run-time behaviour, set through its export
 * testplugin_Behave (found with dlsym). All zero is a proper plug-in. */
#ifndef TARN_TEST_PLUGIN_H
#define TARN_TEST_PLUGIN_H

enum { TESTPLUGIN_TEXT_PROPER, TESTPLUGIN_TEXT_OVERLONG, TESTPLUGIN_TEXT_UNTERMINATED };

typedef struct {
  int startStatus;       /* what ubml_InitializeAllocate answers */
  int calculationStatus; /* non-zero: every calculation answers it and writes nothing */
  int garbageResults;    /* non-zero: calculations succeed with NaN, infinities, 1e300 */
  int countsGiven;       /* non-zero: the counts and pair below replace the real ones,
                            for any index, and calculations fail writing nothing */
  int correlations, properties, inputs, outputs, coefficients, pair;
  int texts; /* TESTPLUGIN_TEXT_*: over-long is 100 chars and a terminator,
                unterminated 256 chars without one */
} TestPluginBehaviour;

/* Null restores the proper behaviour. */
typedef void (*TestPluginBehave)(const TestPluginBehaviour* behaviour);

#endif /* TARN_TEST_PLUGIN_H */
