/* TARN blend models: a recipe of components becomes the blended properties of
 * a gasoline, diesel or jet fuel, each with a value, a status with the reason
 * when it could not be computed, and its derivatives with respect to every
 * component's volume; and product grades (published limits) to check a blend
 * against.
 *
 * The library (libtarnblend) stands on libtarn and uses only its public C
 * interface. The host starts libtarn once (gfx_tarnInitializeAllocate) before
 * evaluating a model; models read libtarn's parameters and coefficients at
 * every evaluation, so a changed setting shows in the next results.
 *
 * Conventions
 * - Every function returns a status: TARNBLEND_OK (0) or a negative
 *   TARNBLEND_ERROR_* code, and then tarnblend_last_error() holds a one-line
 *   message naming what is wrong. Nothing throws, aborts or prints.
 * - Handles are opaque. Arrays belong to the caller and have explicit
 *   lengths. Strings handed out (const char**) belong to the library: those
 *   of a model stay valid until the model is changed (set, add, evaluate,
 *   check) or freed, those of a grade until it is freed, the others for the
 *   life of the process.
 * - The missing value is TARN_MISSING (1e30): an input set to it (or to NaN)
 *   is missing, and a result that could not be computed holds it, with its
 *   status and reason. No result is ever NaN or infinite.
 * - Units are explicit. Each recipe property (a key such as "RVP", "T50",
 *   "DEN") has a recipe unit: the unit it was first given in, or the one set
 *   with tarnblend_model_set_unit. Values given in another unit of the same
 *   dimension are converted to it, and the blended property is reported in
 *   it. Blended temperatures that are not recipe properties (TVL20, T95, DI,
 *   ...) use the recipe unit of the D86 points (degrees F when none is set).
 * - Volumes are in any one unit the caller chooses (bbl, m3, ...); a
 *   derivative with respect to a volume is per that unit. Volume fractions
 *   come from volumes / total volume.
 * - Derivative matrices are row-major by blended property: entry (property k,
 *   component i) at k * componentCount + i.
 * - Like libtarn, the library is called from one thread; it is not
 *   re-entrant.
 */
#ifndef TARN_BLEND_H
#define TARN_BLEND_H

#include <stddef.h>

#include "tarn/export.h"

#if defined(_WIN32) || defined(__CYGWIN__)
#if defined(TARNBLEND_BUILDING_LIBRARY)
#define TARNBLEND_API __declspec(dllexport)
#else
#define TARNBLEND_API __declspec(dllimport)
#endif
#elif defined(__GNUC__) || defined(__clang__)
#define TARNBLEND_API __attribute__((visibility("default")))
#else
#define TARNBLEND_API
#endif

/* ---- Status codes ------------------------------------------------------- */
#define TARNBLEND_OK 0
#define TARNBLEND_ERROR_ARGUMENT (-1)  /* null pointer, index out of range, length mismatch */
#define TARNBLEND_ERROR_PROPERTY (-2)  /* unknown property key */
#define TARNBLEND_ERROR_UNIT (-3)      /* unknown unit, or a unit of another dimension */
#define TARNBLEND_ERROR_VALUE (-4)     /* a value the quantity cannot have (negative volume, 130 vol%, NaN volume) */
#define TARNBLEND_ERROR_DUPLICATE (-5) /* a component name given twice */
#define TARNBLEND_ERROR_NOT_FOUND (-6) /* unknown grade, grade class or option name */
#define TARNBLEND_ERROR_FILE (-7)      /* a file cannot be read or is malformed (message: file:line:column) */
#define TARNBLEND_ERROR_STATE (-8)     /* nothing to blend: no components, or volumes adding up to nothing */
#define TARNBLEND_ERROR_PRODUCT (-9)   /* a grade for another product kind */
#define TARNBLEND_ERROR_MEMORY (-10)   /* out of memory */
#define TARNBLEND_ERROR_INTERNAL (-99) /* a fault of this library (please report it) */

/* ---- Product kinds ------------------------------------------------------ */
#define TARNBLEND_ANY_PRODUCT 0 /* grades only: limits for any product */
#define TARNBLEND_GASOLINE 1
#define TARNBLEND_DIESEL 2
#define TARNBLEND_JET 3 /* jet fuel and kerosene */

/* ---- Status of a blended property --------------------------------------- */
#define TARNBLEND_COMPUTED 0
#define TARNBLEND_NOT_COMPUTED 1 /* value TARN_MISSING; the reason says why */
#define TARNBLEND_NOT_GIVEN                                   \
  2 /* an optional figure none of whose inputs the recipe has \
       (oxygen by MTBE without an MTO column ...): reports leave it out */

/* Flags of a blended property (bits). */
#define TARNBLEND_FLAG_ESTIMATE 1 /* an estimate, not a blending correlation (T95, CFPP) */
#define TARNBLEND_FLAG_LINEAR_LIMITS                                \
  2 /* rises or falls with one volume- or mass-weighted mean of the \
       components' values (linear or index blending: RVP, sulfur,   \
       cloud point ...), so a limit on it is a linear constraint on \
       the volumes */

/* ---- Verdicts of a grade check ------------------------------------------ */
#define TARNBLEND_PASS 0
#define TARNBLEND_FAIL 1
#define TARNBLEND_UNCHECKED 2 /* the property was not computed (or the model has none) */

/* ---- Dimensions of the unit vocabulary ---------------------------------- */
#define TARNBLEND_DIMENSIONLESS 0  /* octane and cetane numbers, indices: no unit ("") */
#define TARNBLEND_TEMPERATURE 1    /* F, C */
#define TARNBLEND_PRESSURE 2       /* psi, kPa, bar */
#define TARNBLEND_VOLUME_PERCENT 3 /* vol% */
#define TARNBLEND_MASS_FRACTION 4  /* wt%, ppm (mg/kg) */
#define TARNBLEND_DENSITY 5        /* kg/m3, g/mL, SPG (60/60 F), API */
#define TARNBLEND_VISCOSITY 6      /* cSt (mm2/s) */
#define TARNBLEND_PERCENT_CHANGE 7 /* % change against a reference fuel (emission models) */

TARN_EXTERN_C_BEGIN

typedef struct tarnblend_model tarnblend_model;
typedef struct tarnblend_grade tarnblend_grade;

/* ---- Messages ----------------------------------------------------------- */

/* The one-line message of the last failed call ("" before any failure). The
 * text stays valid until the next failing call. */
TARNBLEND_API const char* TARN_CALL tarnblend_last_error(void);

/* A short fixed text for a status code ("unknown unit", ...), or "unknown
 * status" for a code that is not listed above. */
TARNBLEND_API const char* TARN_CALL tarnblend_status_text(int status);

/* The library's version, "major.minor.patch". */
TARNBLEND_API const char* TARN_CALL tarnblend_version(void);

/* ---- Units and recipe properties ---------------------------------------- */

/* Reads a unit as labs write it ("°C", "degC", "C", "kPa", "mg/kg", "ppm",
 * "kg/m3", "g/mL", "SPG", "°API", "cSt", "mm2/s", "vol%", "% V/V", "wt%",
 * "% m/m", ..., case ignored) into its canonical name and its dimension
 * (TARNBLEND_TEMPERATURE ...). "" and "-" read as the dimensionless unit "".
 * Either output may be null. TARNBLEND_ERROR_UNIT for an unknown text (the
 * message lists the accepted units). */
TARNBLEND_API int TARN_CALL tarnblend_unit_parse(const char* text, const char** canonical, int* dimension);

/* The accepted units of a dimension, for messages: "F (°F, degF), C (°C, degC)".
 * "" for an unknown dimension. */
TARNBLEND_API const char* TARN_CALL tarnblend_unit_list(int dimension);

/* Converts value from one unit to another of the same dimension (either unit
 * as tarnblend_unit_parse reads it) into *result. TARN_MISSING stays missing.
 * TARNBLEND_ERROR_UNIT for an unknown unit or two dimensions. */
TARNBLEND_API int TARN_CALL tarnblend_unit_convert(double value, const char* from, const char* to, double* result);

/* Number of recipe property keys (the properties a component can carry). */
TARNBLEND_API int TARN_CALL tarnblend_input_count(int* count);

/* Recipe property k (0 <= k < count): its key ("RVP"), a description
 * ("Reid vapour pressure"), its dimension and its default unit (the unit
 * assumed when none is given: "" for dimensionless keys, else the first of
 * its dimension's list). Outputs may be null. TARNBLEND_ERROR_ARGUMENT for a
 * bad k. */
TARNBLEND_API int TARN_CALL tarnblend_input_info(int k, const char** key, const char** description, int* dimension,
                                                 const char** defaultUnit);

/* Finds a recipe property by name, case ignored, aliases included ("SPG" and
 * "API" are the density DEN given in those units, "DENSITY" is DEN,
 * "SULFUR" is SUL ...). *k receives its index; *impliedUnit (may be null)
 * the unit the alias implies, or "" when it implies none.
 * TARNBLEND_ERROR_PROPERTY for an unknown name (the message lists the keys). */
TARNBLEND_API int TARN_CALL tarnblend_input_find(const char* name, int* k, const char** impliedUnit);

/* ---- Products ----------------------------------------------------------- */

/* Reads a product kind: "gasoline" (or "petrol", "mogas"), "diesel"
 * (or "gasoil"), "jet" (or "kerosene"), case ignored.
 * TARNBLEND_ERROR_ARGUMENT for anything else. */
TARNBLEND_API int TARN_CALL tarnblend_product_parse(const char* text, int* product);

/* "gasoline", "diesel", "jet", or "any" (0); "" for an unknown number. */
TARNBLEND_API const char* TARN_CALL tarnblend_product_name(int product);

/* ---- Building a model --------------------------------------------------- */

/* Creates an empty model of product kind TARNBLEND_GASOLINE, _DIESEL or _JET
 * into *model. Free it with tarnblend_model_free. TARNBLEND_ERROR_ARGUMENT
 * for an unknown product or a null model pointer. */
TARNBLEND_API int TARN_CALL tarnblend_model_create(int product, tarnblend_model** model);

/* Frees a model and everything it handed out. A null model is ignored. */
TARNBLEND_API void TARN_CALL tarnblend_model_free(tarnblend_model* model);

/* Changes the product kind, and with it the list of blended properties. */
TARNBLEND_API int TARN_CALL tarnblend_model_set_product(tarnblend_model* model, int product);

/* The product kind. */
TARNBLEND_API int TARN_CALL tarnblend_model_product(const tarnblend_model* model, int* product);

/* Sets the recipe unit of property key (any unit of its dimension), before
 * or after values are given: values already given are kept (converted), and
 * the blended property is reported in this unit. TARNBLEND_ERROR_PROPERTY
 * for an unknown key, TARNBLEND_ERROR_UNIT for a unit of another dimension. */
TARNBLEND_API int TARN_CALL tarnblend_model_set_unit(tarnblend_model* model, const char* key, const char* unit);

/* The recipe unit of property key (its default unit until one is given). */
TARNBLEND_API int TARN_CALL tarnblend_model_unit(const tarnblend_model* model, const char* key, const char** unit);

/* Sets a model option:
 *   "D86METHOD"  conversion method of the D86 curve blend: 0 HC94 (default),
 *                1 THREEA11, 2 SIXORDER, 3 ETHYLS, 4 none, 5 ETHYLS with
 *                the exact inverse.
 *   "DPURE"      degrees F: a component whose D86 curve spans less than this
 *                from IBP to FBP is taken as a pure compound and keeps its
 *                curve through the TBP conversion (default 10, so butane and
 *                ethanol keep theirs); a negative value uses libtarn's own
 *                GENERICD86 DPure setting instead.
 * TARNBLEND_ERROR_NOT_FOUND for an unknown name (any case accepted),
 * TARNBLEND_ERROR_VALUE for a value the option cannot take. */
TARNBLEND_API int TARN_CALL tarnblend_model_set_option(tarnblend_model* model, const char* name, double value);

/* Reads a model option into *value. */
TARNBLEND_API int TARN_CALL tarnblend_model_option(const tarnblend_model* model, const char* name, double* value);

/* Adds a component (volume 0, every property missing) and writes its index
 * (from 0, in order of addition) to *index (may be null). Names are compared
 * exactly; TARNBLEND_ERROR_DUPLICATE for a name already in the model,
 * TARNBLEND_ERROR_VALUE for an empty name. */
TARNBLEND_API int TARN_CALL tarnblend_model_add_component(tarnblend_model* model, const char* name, int* index);

/* Number of components. */
TARNBLEND_API int TARN_CALL tarnblend_model_component_count(const tarnblend_model* model, int* count);

/* Name of component i. */
TARNBLEND_API int TARN_CALL tarnblend_model_component_name(const tarnblend_model* model, int component,
                                                           const char** name);

/* Gives component i the value of property key in unit (null or "" for the
 * key's recipe unit, or for the unit an alias such as "SPG" implies). The
 * first unit given for a key becomes its recipe unit unless one was set.
 * TARN_MISSING or NaN makes the value missing; the key then counts as given
 * by the recipe all the same. TARNBLEND_ERROR_VALUE for an infinite value or
 * one outside what the property can be (percentages outside 0..100,
 * temperatures below absolute zero, a negative pressure or viscosity, a
 * density outside 300..1500 kg/m3, octane outside 0..150 ...). */
TARNBLEND_API int TARN_CALL tarnblend_model_set_property(tarnblend_model* model, int component, const char* key,
                                                         double value, const char* unit);

/* Reads component i's value of property key in the key's recipe unit
 * (TARN_MISSING when missing). */
TARNBLEND_API int TARN_CALL tarnblend_model_get_property(const tarnblend_model* model, int component, const char* key,
                                                         double* value);

/* Whether the recipe gives property key at all (some component was given a
 * value for it, missing included): *given 1 or 0. */
TARNBLEND_API int TARN_CALL tarnblend_model_input_given(const tarnblend_model* model, const char* key, int* given);

/* Sets the volume of component i. TARNBLEND_ERROR_VALUE for a negative or
 * non-finite volume (the volume is not changed). */
TARNBLEND_API int TARN_CALL tarnblend_model_set_volume(tarnblend_model* model, int component, double volume);

/* Sets the volume of component i from a mass: volume = mass / specific
 * gravity (so tonnes give cubic metres and kg give litres, nearly), with the
 * specific gravity from the component's DEN, which must be given first.
 * TARNBLEND_ERROR_VALUE for a negative or non-finite mass or a missing DEN. */
TARNBLEND_API int TARN_CALL tarnblend_model_set_mass(tarnblend_model* model, int component, double mass);

/* Sets all volumes at once: n must equal the component count. Nothing is
 * changed when one volume is refused. This is the optimiser's entry: it
 * does not allocate. */
TARNBLEND_API int TARN_CALL tarnblend_model_set_volumes(tarnblend_model* model, const double* volumes, int n);

/* Volume of component i (in the caller's volume unit). */
TARNBLEND_API int TARN_CALL tarnblend_model_volume(const tarnblend_model* model, int component, double* volume);

/* The D86 curve of component i (IBP, T10, T30, T50, T70, T90, FBP) in the
 * recipe unit of the D86 points, with a missing T30 or T70 estimated the way
 * the curve blend estimates it: *estimated (may be null) receives 1 when a
 * point was estimated. Points the recipe lacks are TARN_MISSING. */
TARNBLEND_API int TARN_CALL tarnblend_model_component_curve(const tarnblend_model* model, int component,
                                                            double curve[7], int* estimated);

/* ---- Evaluating a model ------------------------------------------------- */

/* Computes every blended property at the current volumes, with derivatives
 * with respect to every component's volume when derivatives is non-zero.
 * Returns TARNBLEND_OK also when some properties could not be computed (their
 * status says so); TARNBLEND_ERROR_STATE when the model has no components or
 * the volumes add up to nothing (every property is then not computed). */
TARNBLEND_API int TARN_CALL tarnblend_model_evaluate(tarnblend_model* model, int derivatives);

/* The optimiser's call: sets the n volumes (as tarnblend_model_set_volumes),
 * evaluates (with derivatives when jacobian is not null), and writes the
 * values (property count entries, TARN_MISSING where not computed) and the
 * derivative matrix (property count x n) when those arrays are not null. */
TARNBLEND_API int TARN_CALL tarnblend_model_evaluate_at(tarnblend_model* model, const double* volumes, int n,
                                                        double* values, double* jacobian);

/* Limits evaluation to the count blended properties listed (indexes as
 * tarnblend_model_property_find gives them) and those they are computed
 * from, as an optimiser that limits a few properties needs: every other
 * property comes out not computed, with the reason "not evaluated: the model
 * was asked for other properties only", and its derivatives missing. A count
 * of 0 asks for every property again, the default; changing the product
 * kind does too. Asking for what is already asked keeps the last evaluation.
 * TARNBLEND_ERROR_ARGUMENT for an index out of range, a
 * negative count, or a null list with a positive count (nothing changes). */
TARNBLEND_API int TARN_CALL tarnblend_model_set_needed(tarnblend_model* model, const int* properties, int count);

/* Number of blended properties of the model's product kind (fixed for a
 * product kind, whatever the recipe gives). */
TARNBLEND_API int TARN_CALL tarnblend_model_property_count(const tarnblend_model* model, int* count);

/* Index of the blended property with this key ("RVP", "T50", "EPA.NOX"),
 * case ignored. TARNBLEND_ERROR_PROPERTY when the product kind has none. */
TARNBLEND_API int TARN_CALL tarnblend_model_property_find(const tarnblend_model* model, const char* key, int* k);

/* Blended property k: key, description, unit (the recipe's, "" for a pure
 * number), section of the report it belongs to ("Volatility", "Distillation
 * (D86)", "Octane", "Composition", "Cold flow", "Emission models"),
 * decimals worth showing, and flags (TARNBLEND_FLAG_*). Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_model_property_info(const tarnblend_model* model, int k, const char** key,
                                                          const char** description, const char** unit,
                                                          const char** section, int* decimals, int* flags);

/* Result of blended property k from the last evaluation: value (TARN_MISSING
 * unless computed), status (TARNBLEND_COMPUTED ...), reason (why it is not
 * computed, with the remedy where there is one; "" when computed), method
 * (how it is computed, with the formula constants as libtarn has them now)
 * and note (a remark on a computed value, such as points estimated; "" when
 * none). Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_model_result(const tarnblend_model* model, int k, double* value, int* status,
                                                   const char** reason, const char** method, const char** note);

/* Values and statuses of all blended properties from the last evaluation
 * into arrays of n (the property count); either may be null. */
TARNBLEND_API int TARN_CALL tarnblend_model_values(const tarnblend_model* model, double* values, int* statuses, int n);

/* The derivatives of the last evaluation with derivatives: rows x columns
 * (property count x component count), row-major. A row of a property not
 * computed, and an entry that cannot be computed (with respect to a
 * component of zero volume that lacks an input), hold TARN_MISSING.
 * TARNBLEND_ERROR_STATE when the last evaluation had no derivatives. */
TARNBLEND_API int TARN_CALL tarnblend_model_jacobian(const tarnblend_model* model, double* jacobian, int rows,
                                                     int columns);

/* Notes of the last evaluation, one line each (pure components kept through
 * the TBP conversion, no oxygenates, model inputs outside their valid range,
 * ...). */
TARNBLEND_API int TARN_CALL tarnblend_model_note_count(const tarnblend_model* model, int* count);
TARNBLEND_API int TARN_CALL tarnblend_model_note(const tarnblend_model* model, int k, const char** note);

/* ---- Grades ------------------------------------------------------------- */
/* A grade is a named set of limits: a blended property key, a minimum and/or
 * a maximum (TARN_MISSING when open), the unit the limits are written in,
 * and the source of each number. Built-in grades carry only published limits,
 * each citing its source; some have classes (volatility, climate), chosen
 * when the grade is opened. */

/* Number of built-in grades. */
TARNBLEND_API int TARN_CALL tarnblend_grade_count(int* count);

/* Built-in grade k: name ("EN228"), title, product kind, and its classes as
 * a comma-separated list ("A,D,D1"; "" when it has none), then the default
 * class ("" when it has none). Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_grade_builtin(int k, const char** name, const char** title, int* product,
                                                    const char** classes, const char** defaultClass);

/* Opens built-in grade name (case ignored) in class gradeClass (case
 * ignored; null or "" for the default class) into *grade.
 * TARNBLEND_ERROR_NOT_FOUND for an unknown name or class (the message lists
 * the known ones). */
TARNBLEND_API int TARN_CALL tarnblend_grade_open(const char* name, const char* gradeClass, tarnblend_grade** grade);

/* Reads a user grade file into *grade: JSON
 *   {"name": "...", "product": "gasoline", "limits": [
 *      {"property": "RVP", "max": 9.0, "unit": "psi", "source": "..."}, ...]}
 * or CSV with the columns property, min, max, unit and optionally source
 * (an empty min or max is open; the grade is named after the file).
 * TARNBLEND_ERROR_FILE with file:line:column for a malformed file, an unknown
 * property or unit, or a limit with neither min nor max. */
TARNBLEND_API int TARN_CALL tarnblend_grade_read(const char* path, tarnblend_grade** grade);

/* Creates an empty grade for a product kind (TARNBLEND_ANY_PRODUCT for any). */
TARNBLEND_API int TARN_CALL tarnblend_grade_create(const char* name, int product, tarnblend_grade** grade);

/* Adds a limit: property key, minimum and maximum (TARN_MISSING or NaN when
 * open, not both), unit of the two numbers (null or "" for the property's
 * default unit), source (may be null). TARNBLEND_ERROR_PROPERTY,
 * TARNBLEND_ERROR_UNIT, or TARNBLEND_ERROR_VALUE when both are open or
 * minimum > maximum. */
TARNBLEND_API int TARN_CALL tarnblend_grade_add_limit(tarnblend_grade* grade, const char* key, double minimum,
                                                      double maximum, const char* unit, const char* source);

/* Frees a grade. A null grade is ignored. */
TARNBLEND_API void TARN_CALL tarnblend_grade_free(tarnblend_grade* grade);

/* The grade's name, class ("" when none) and product kind; outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_grade_info(const tarnblend_grade* grade, const char** name,
                                                 const char** gradeClass, int* product);

/* Number of limits of the grade. */
TARNBLEND_API int TARN_CALL tarnblend_grade_limit_count(const tarnblend_grade* grade, int* count);

/* Limit k as written: key, minimum, maximum (TARN_MISSING when open), unit,
 * source ("" when none). Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_grade_limit(const tarnblend_grade* grade, int k, const char** key,
                                                  double* minimum, double* maximum, const char** unit,
                                                  const char** source);

/* ---- Checking a blend against a grade ----------------------------------- */

/* Checks the model's last evaluation (evaluating first when the model has
 * changed since) against every limit of the grade. *failures and *unchecked
 * (may be null) receive the number of limits failed and not checked.
 * TARNBLEND_ERROR_PRODUCT when the grade is for another product kind. */
TARNBLEND_API int TARN_CALL tarnblend_model_check(tarnblend_model* model, const tarnblend_grade* grade, int* failures,
                                                  int* unchecked);

/* Number of rows of the last check (one per limit of the grade, in order). */
TARNBLEND_API int TARN_CALL tarnblend_model_check_count(const tarnblend_model* model, int* count);

/* Row k of the last check: the blended property's index (-1 when the model
 * has none), the limits converted into the property's unit (TARN_MISSING
 * when open), the value, the margin (distance inside the nearest limit, the
 * giveaway; negative when outside; TARN_MISSING when unchecked), the verdict
 * (TARNBLEND_PASS ...), the unit of these numbers and the reason of an
 * unchecked row ("" otherwise). Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_model_check_row(const tarnblend_model* model, int k, int* property,
                                                      double* minimum, double* maximum, double* value, double* margin,
                                                      int* verdict, const char** unit, const char** reason);

/* ---- Recipe files -------------------------------------------------------- */
/* A recipe as a laboratory or a spreadsheet writes it, read into a model.
 *
 * CSV: one row per component; a NAME column, a VOLUME or MASS column (the
 * blending basis, with its unit: VOLUME[bbl], MASS[t], VOLUME[vol%] ...)
 * and one column per recipe property whose header carries its unit in
 * brackets or parentheses ("T50[°C]", "RVP (kPa)", "SUL[mg/kg]"; aliases
 * such as SPG and API imply theirs). Separated by commas, semicolons or tabs
 * (the one the header line uses most); semicolon and tab files may write
 * decimal commas. UTF-8, with or without a byte-order mark. Blank lines and
 * lines starting with '#' are skipped; a line "# product: diesel" before the
 * header names the product kind. An empty cell, NA or "-" is missing.
 *
 * JSON: {"product": "diesel", "units": {"T50": "C", ...},
 *        "components": [{"name": "Reformate", "VOLUME[bbl]": 3000,
 *                        "RVP[psi]": 4.2, "T50": 118.9, ...}, ...]}
 * where keys read as CSV headers do, "units" gives the unit of keys written
 * without one, and null is missing; "product" and "units" come before
 * "components".
 *
 * A fault is TARNBLEND_ERROR_FILE with a one-line message that starts with
 * "file:line:column: ": an unknown column or unit (the message lists the
 * accepted ones), a cell that is not a number, a value the property cannot
 * have, a D86 curve that falls or reads above 400 C (or, for a gasoline
 * whose temperature unit the caller assumed, above its 225 C end point), a
 * name given twice, text that is not UTF-8 (binary data, UTF-16, Latin-1;
 * never echoed: control characters in messages are written \xNN). */

typedef struct tarnblend_recipe tarnblend_recipe;

/* Basis of a recipe's quantities. */
#define TARNBLEND_BASIS_VOLUME 0
#define TARNBLEND_BASIS_MASS 1

/* How the product kind of a recipe was decided. */
#define TARNBLEND_PRODUCT_DEFAULT 0 /* nothing said: gasoline */
#define TARNBLEND_PRODUCT_CALLER 1  /* the caller's product argument */
#define TARNBLEND_PRODUCT_FILE 2    /* the file's product line or key */

/* Reads recipe file path (CSV or JSON, told apart by its first character)
 * into *recipe. product: TARNBLEND_GASOLINE ... to impose a product kind, 0
 * for the recipe's own (gasoline when it says none). temperatureUnit: the
 * unit of temperature columns written without one ("F" or "C"), or null to
 * refuse such columns. Free the recipe with tarnblend_recipe_free. */
TARNBLEND_API int TARN_CALL tarnblend_recipe_read(const char* path, int product, const char* temperatureUnit,
                                                  tarnblend_recipe** recipe);

/* The same from length bytes of text in memory (standard input, a string);
 * source names it in messages (null: "recipe"). */
TARNBLEND_API int TARN_CALL tarnblend_recipe_parse(const char* text, size_t length, const char* source, int product,
                                                   const char* temperatureUnit, tarnblend_recipe** recipe);

/* Frees a recipe and its model. A null recipe is ignored. */
TARNBLEND_API void TARN_CALL tarnblend_recipe_free(tarnblend_recipe* recipe);

/* The model the recipe built, owned by the recipe (valid until it is freed);
 * the caller may change and evaluate it. */
TARNBLEND_API int TARN_CALL tarnblend_recipe_model(tarnblend_recipe* recipe, tarnblend_model** model);

/* What the file says beyond the model: its name as given to the reader, its
 * basis (TARNBLEND_BASIS_*), the unit of its quantities as the reader
 * spells it ("bbl", "m3", "t", "vol%" ...; "" when the header gives none)
 * and how the product kind was decided (TARNBLEND_PRODUCT_*). Outputs may
 * be null. */
TARNBLEND_API int TARN_CALL tarnblend_recipe_info(const tarnblend_recipe* recipe, const char** source, int* basis,
                                                  const char** quantityUnit, int* productFrom);

/* The quantity of component i as the file writes it (a mass on a mass basis). */
TARNBLEND_API int TARN_CALL tarnblend_recipe_quantity(const tarnblend_recipe* recipe, int component, double* quantity);

/* Remarks of the reader (a product kind imposed against the file's ...),
 * one line each. */
TARNBLEND_API int TARN_CALL tarnblend_recipe_note_count(const tarnblend_recipe* recipe, int* count);
TARNBLEND_API int TARN_CALL tarnblend_recipe_note(const tarnblend_recipe* recipe, int k, const char** note);

TARN_EXTERN_C_END

#endif /* TARN_BLEND_H */
