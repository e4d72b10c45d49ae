/* TARN: every status code of the library, declared once.
 *
 * Each code is one line of the tables below: its constant, its number, what
 * it tells the caller, and the message that gfx_tarnGetErrorMsg (catalogue
 * codes) or gfx_bmlGetErrorMsg (router codes) writes for it, 0 where the code
 * has none. The constants are the enumerators of tarn_status_code; the
 * library's message lookups and the generated status-code page expand the
 * same tables. Correlation functions reached through evaluation by index may
 * return small codes of their own, which pass through unchanged and are not
 * listed here.
 */
#ifndef TARN_STATUS_H
#define TARN_STATUS_H

/* X(constant, code, meaning, message): the catalogue and evaluation-by-index
 * layer (tarn/tarn.h). */
#define TARN_CATALOGUE_STATUS_CODES(X)                                                                               \
  X(TARN_STATUS_OK, 0, "success", 0)                                                                                 \
  X(TARN_STATUS_UNDEFINED, 1, "the correlation's result is undefined: the output holds the missing value 1e30", 0)   \
  X(TARN_STATUS_NO_PAIR, 12, "gfx_tarnGetIndexPair: the correlation has no inverse", 0)                              \
  X(TARN_STATUS_INIT_FAILED, -1, "start-up failed", "Unable to initialize TARN.")                                    \
  X(TARN_STATUS_BAD_PROPERTY_ID, -2, "gfx_tarnGetPropId: property number not 0 or 1",                                \
    "Invalid Property index passed in call gfx_tarnGetPropId.")                                                      \
  X(TARN_STATUS_BAD_PROPERTY_DESC, -3, "gfx_tarnGetPropDesc: property number not 0 or 1",                            \
    "Invalid Property index passed in call gfx_tarnGetPropDesc.")                                                    \
  X(TARN_STATUS_BAD_CORRELATION, -4, "correlation index outside the catalogue", "Invalid Correlation index passed.") \
  X(TARN_STATUS_BAD_TYPE_QUERY, -5,                                                                                  \
    "gfx_tarnGetCorrelationType: correlation index outside the catalogue (-9999 written as "                         \
    "the type)",                                                                                                     \
    "Invalid Correlation index passed in call gfx_tarnGetCorrelationType.")                                          \
  X(TARN_STATUS_BAD_INPUT, -6, "input position outside the correlation's inputs",                                    \
    "Invalid Correlation Input Property index.")                                                                     \
  X(TARN_STATUS_BAD_OUTPUT, -7, "output position outside the correlation's outputs",                                 \
    "Invalid Correlation Output Property index.")                                                                    \
  X(TARN_STATUS_BAD_COEFFICIENT, -8, "coefficient position outside the correlation's coefficients",                  \
    "Invalid Correlation Coefficient index.")                                                                        \
  X(TARN_STATUS_NO_MESSAGE, -444, "gfx_tarnGetErrorMsg: the code has no message", 0)                                 \
  X(TARN_STATUS_NOT_CALCULABLE, -999,                                                                                \
    "evaluation by index: the correlation's type cannot be evaluated (also an unknown index)", 0)                    \
  X(TARN_STATUS_NO_DERIVATIVE_ARRAY, -8888, "derivatives requested without a derivative array", 0)                   \
  X(TARN_TYPE_UNKNOWN, -9999, "not returned: written as the type of an unknown correlation index", 0)

/* X(constant, code, meaning, message): the router's own codes (tarn/bml.h). */
#define TARN_ROUTER_STATUS_CODES(X)                                                                                   \
  X(TARN_BML_STATUS_INDEX_PAST_END, -1101, "index beyond the combined count",                                         \
    "Property Index exceeds total number of BML Correlations defined.")                                               \
  X(TARN_BML_STATUS_BAD_TYPE, -1102, "not returned; has a message", "Invalid BML Type specified.")                    \
  X(TARN_BML_STATUS_TARN_INIT_FAILED, -1103, "the built-in side did not start", "TARN Initialization failed.")        \
  X(TARN_BML_STATUS_UBML_INIT_FAILED, -1104,                                                                          \
    "the plug-in could not be loaded, bound or started, or gave an unusable answer", "UBML Initialization failed.")   \
  X(TARN_BML_STATUS_NO_USER_LIBRARY, -1105, "the plug-in path names no file", "QUBML DLL does not exist.")            \
  X(TARN_BML_STATUS_BAD_ERROR_CODE, -1106, "gfx_bmlErrorHandler: no side owns the code", "Invalid Error code.")       \
  X(TARN_BML_STATUS_BAD_PROPERTY, -1107, "a plug-in property asked without a plug-in", "Invalid BML Property Index.") \
  X(TARN_BML_STATUS_BAD_CORRELATION, -1108, "a plug-in correlation asked without a plug-in",                          \
    "Invalid BML Correlation Index.")

#define TARN_STATUS_ENUMERATOR_(constant, code, meaning, message) constant = code,

enum tarn_status_code {
  TARN_CATALOGUE_STATUS_CODES(TARN_STATUS_ENUMERATOR_) TARN_ROUTER_STATUS_CODES(TARN_STATUS_ENUMERATOR_)
  /* The codes of the built-in side lie in -499..-1; the router hands every
   * other negative code to the plug-in (gfx_bmlErrorHandler). */
  TARN_STATUS_BUILT_IN_LOWEST = -499,
  TARN_STATUS_BUILT_IN_HIGHEST = -1,
  /* Returned by every gfx_ubml* bridge function while no plug-in is bound. */
  UBML_STATUS_NOT_BOUND = TARN_BML_STATUS_UBML_INIT_FAILED
};

#undef TARN_STATUS_ENUMERATOR_

#endif /* TARN_STATUS_H */
