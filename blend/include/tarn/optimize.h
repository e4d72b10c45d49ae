/* TARN blend optimiser: the least-cost (or greatest-margin) recipes of one or
 * more products blended from shared components, each product meeting its
 * grade and extra limits with the blended properties of tarn/blend.h; the
 * same machinery back-solves a recipe (how much butane takes this blend to
 * 9.0 psi); and for a problem no recipe can meet, the least relaxation of
 * each limit that would make it feasible.
 *
 * The solver is IPOPT (an interior-point method for smooth non-linear
 * problems) with the blend model's exact first derivatives and a
 * limited-memory Hessian. Its answer is a local optimum: blending problems
 * with non-linear properties are usually convex enough for it to be the
 * best recipe, but that is not proven.
 *
 * The problem
 * - Components come from a recipe (a tarnblend_model): their names,
 *   properties and volumes. Each has a cost per unit volume and an
 *   availability (minimum and maximum total volume over all products, equal
 *   for a fixed volume).
 * - Products each have a product kind, limits (those of a grade plus extra
 *   ones), targets (a property held at a value), a demand (a fixed volume or
 *   a range), a price per unit volume, and optionally the share of a
 *   component (vol% of the product) and the ratio of two components' volumes.
 * - The variables are the volume of each component in each product.
 * - The objective is the least cost of the components used, the greatest
 *   margin (product revenue less component cost), or, for back-solving
 *   without costs, the least change of the components' total volumes from
 *   the recipe's.
 *
 * Sensitivities: every "shadow price" and "marginal value" is the change of
 * the optimal objective (cost, or margin) when the limit, availability or
 * demand it belongs to moves up by one unit, in the objective's currency per
 * unit of the property (in the property's recipe unit) or per unit volume.
 * It is zero for a limit that does not bind.
 *
 * Conventions are those of tarn/blend.h: status codes, tarnblend_last_error,
 * TARN_MISSING for an open bound or a figure not computed, caller-owned
 * arrays, one thread. Handles and texts handed out by a problem stay valid
 * until it is changed or freed.
 */
#ifndef TARN_OPTIMIZE_H
#define TARN_OPTIMIZE_H

#include "tarn/blend.h"

/* ---- Objectives --------------------------------------------------------- */
#define TARNBLEND_OBJECTIVE_AUTO                                     \
  0 /* margin when a product has a price, else cost when a component \
       has one, else least change */
#define TARNBLEND_MIN_COST 1
#define TARNBLEND_MAX_MARGIN 2
#define TARNBLEND_LEAST_CHANGE 3 /* nearest the recipe's volumes (back-solving) */

/* ---- Outcomes of a solve ------------------------------------------------ */
#define TARNBLEND_UNSOLVED (-1) /* not solved yet, or changed since */
#define TARNBLEND_OPTIMAL 0     /* a recipe meeting every limit; the solver's optimum */
#define TARNBLEND_INFEASIBLE 1  /* no recipe meets every limit: see the relaxations */
#define TARNBLEND_NOT_SOLVED 2  /* the solver stopped without an answer (its status says why) */
#define TARNBLEND_FEASIBLE                                                   \
  3 /* the solver stopped without proving an optimum; the recipe is the best \
       it met that meets every limit (no shadow prices) */

/* ---- Which side of a limit binds (or is relaxed) ------------------------ */
#define TARNBLEND_FREE 0
#define TARNBLEND_AT_MIN 1
#define TARNBLEND_AT_MAX 2
#define TARNBLEND_AT_TARGET 3

TARN_EXTERN_C_BEGIN

typedef struct tarnblend_problem tarnblend_problem;

/* ---- Building a problem ------------------------------------------------- */

/* Creates a problem over the components of recipe: their names, properties,
 * units, volumes and options are copied (the recipe may be changed or freed
 * afterwards). Components start without cost and with unlimited
 * availability; there is no product yet. */
TARNBLEND_API int TARN_CALL tarnblend_problem_create(const tarnblend_model* recipe, tarnblend_problem** problem);

/* Reads a problem file (JSON, described in the README and examples/) into
 * *problem. recipe gives the components' properties; when it is null they
 * come from the recipe file the problem names ("recipe": "components.csv",
 * read as tarnblend_recipe_read does) and from the components the problem
 * lists with their "properties". Recipe and grade files are found relative
 * to the problem file. TARNBLEND_ERROR_FILE with file:line:column for
 * malformed JSON, with the place in the file (products[1].limits[0].property)
 * for an unknown property, component, grade or key. */
TARNBLEND_API int TARN_CALL tarnblend_problem_read(const char* path, const tarnblend_model* recipe,
                                                   tarnblend_problem** problem);

/* As tarnblend_problem_read, from JSON text; origin names it in messages
 * (may be null) and files are found relative to the working folder. */
TARNBLEND_API int TARN_CALL tarnblend_problem_parse(const char* json, const char* origin, const tarnblend_model* recipe,
                                                    tarnblend_problem** problem);

/* Frees a problem and everything it handed out. A null problem is ignored. */
TARNBLEND_API void TARN_CALL tarnblend_problem_free(tarnblend_problem* problem);

/* Number of components, and their names (in recipe order). */
TARNBLEND_API int TARN_CALL tarnblend_problem_component_count(const tarnblend_problem* problem, int* count);
TARNBLEND_API int TARN_CALL tarnblend_problem_component_name(const tarnblend_problem* problem, int component,
                                                             const char** name);

/* Index of the component with this name (exact). TARNBLEND_ERROR_NOT_FOUND
 * (the message lists the names) when there is none. */
TARNBLEND_API int TARN_CALL tarnblend_problem_component_find(const tarnblend_problem* problem, const char* name,
                                                             int* component);

/* Cost per unit volume of a component (any finite number; TARN_MISSING: no
 * cost). TARNBLEND_ERROR_VALUE for NaN or infinity. */
TARNBLEND_API int TARN_CALL tarnblend_problem_set_cost(tarnblend_problem* problem, int component, double cost);

/* Availability of a component: minimum and maximum of its total volume over
 * all products (TARN_MISSING: 0 and unlimited); minimum = maximum fixes it.
 * TARNBLEND_ERROR_VALUE for a negative or non-finite bound or min > max. */
TARNBLEND_API int TARN_CALL tarnblend_problem_set_availability(tarnblend_problem* problem, int component,
                                                               double minimum, double maximum);

/* Adds a product named name (unique, not empty) of product kind
 * TARNBLEND_GASOLINE, _DIESEL or _JET, or TARNBLEND_ANY_PRODUCT for the
 * recipe's kind; its index goes to *product (may be null). */
TARNBLEND_API int TARN_CALL tarnblend_problem_add_product(tarnblend_problem* problem, const char* name, int kind,
                                                          int* product);

/* Gives product p the limits of grade (copied; the grade may be freed). A
 * grade for another product kind is TARNBLEND_ERROR_PRODUCT. A second call
 * replaces the first grade's limits, not the extra ones. */
TARNBLEND_API int TARN_CALL tarnblend_problem_set_grade(tarnblend_problem* problem, int product,
                                                        const tarnblend_grade* grade);

/* Adds a limit on blended property key of product p: minimum and/or maximum
 * (TARN_MISSING or NaN when open, not both), in unit (null or "" for the
 * property's recipe unit). Errors as tarnblend_grade_add_limit, and
 * TARNBLEND_ERROR_PROPERTY when the product kind has no such property. */
TARNBLEND_API int TARN_CALL tarnblend_problem_add_limit(tarnblend_problem* problem, int product, const char* key,
                                                        double minimum, double maximum, const char* unit);

/* Adds a target: blended property key of product p held at value (unit as
 * for limits). Targets are what back-solving solves for. */
TARNBLEND_API int TARN_CALL tarnblend_problem_add_target(tarnblend_problem* problem, int product, const char* key,
                                                         double value, const char* unit);

/* Demand of product p: minimum and maximum volume (TARN_MISSING: 0 and
 * unlimited); equal for a fixed volume. */
TARNBLEND_API int TARN_CALL tarnblend_problem_set_demand(tarnblend_problem* problem, int product, double minimum,
                                                         double maximum);

/* Price per unit volume of product p (TARN_MISSING: none). */
TARNBLEND_API int TARN_CALL tarnblend_problem_set_price(tarnblend_problem* problem, int product, double price);

/* Share of component in product p, in vol% of the product: minimum and
 * maximum (TARN_MISSING when open); maximum 0 keeps the component out. */
TARNBLEND_API int TARN_CALL tarnblend_problem_set_share(tarnblend_problem* problem, int product, int component,
                                                        double minimum, double maximum);

/* Ratio of two components' volumes in product p: minimum and maximum of
 * volume(numerator) / volume(denominator) (TARN_MISSING when open). */
TARNBLEND_API int TARN_CALL tarnblend_problem_add_ratio(tarnblend_problem* problem, int product, int numerator,
                                                        int denominator, double minimum, double maximum);

/* Labels of the problem's volume unit and currency ("bbl", "USD"; "" when
 * none), shown by reports; nothing is converted. A problem file gives them
 * as "volume_unit" (else its recipe's volume unit) and "currency". */
TARNBLEND_API int TARN_CALL tarnblend_problem_set_units(tarnblend_problem* problem, const char* volumeUnit,
                                                        const char* currency);
TARNBLEND_API int TARN_CALL tarnblend_problem_units(const tarnblend_problem* problem, const char** volumeUnit,
                                                    const char** currency);

/* The objective: TARNBLEND_OBJECTIVE_AUTO (the default), _MIN_COST,
 * _MAX_MARGIN or _LEAST_CHANGE. */
TARNBLEND_API int TARN_CALL tarnblend_problem_set_objective(tarnblend_problem* problem, int objective);

/* Starts of the solver: 2 (the default) solves from the proportional start
 * and, unless only limits linear in the volumes bind there
 * (TARNBLEND_FLAG_LINEAR_LIMITS: that optimum is then the best of all),
 * again from an even split of each product, keeping the better optimum
 * (other limits can leave more than one); 1 solves from the proportional
 * start only, in about half the time. A problem file gives it as "starts". */
TARNBLEND_API int TARN_CALL tarnblend_problem_set_starts(tarnblend_problem* problem, int starts);

/* Number of products, and product p's name, kind and grade ("" when none;
 * class "" when the grade has none). Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_problem_product_count(const tarnblend_problem* problem, int* count);
TARNBLEND_API int TARN_CALL tarnblend_problem_product_info(const tarnblend_problem* problem, int product,
                                                           const char** name, int* kind, const char** grade,
                                                           const char** gradeClass);

/* ---- Solving ------------------------------------------------------------ */

/* Solves the problem; *outcome (may be null) receives TARNBLEND_OPTIMAL,
 * _FEASIBLE, _INFEASIBLE or _NOT_SOLVED. A problem that cannot be posed returns an
 * error with the reason: no product (TARNBLEND_ERROR_STATE), a cost or
 * margin objective with a component or product lacking its cost or price
 * (TARNBLEND_ERROR_VALUE), a limited property that the recipe cannot give
 * (TARNBLEND_ERROR_STATE, with the blend model's reason). A component that
 * lacks an input of a limited property is kept out of that product (a note
 * says so). */
TARNBLEND_API int TARN_CALL tarnblend_problem_solve(tarnblend_problem* problem, int* outcome);

/* The last solve: outcome, the solver's status in words ("optimal solution
 * found", "converged to a point of local infeasibility", ...), a one-line
 * summary (the optimum, or for an infeasible problem what to relax:
 * "relax RVP max by 0.35 psi or T50 min by 4 °F"), the solver's iterations
 * over all the solves it took, and the objective (cost, margin, or for
 * least change the sum of squared changes relative to the total volume;
 * TARN_MISSING unless optimal or feasible). Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_problem_solution(const tarnblend_problem* problem, int* outcome,
                                                       const char** solverStatus, const char** summary, int* iterations,
                                                       double* objective);

/* The objective actually used (AUTO resolved). */
TARNBLEND_API int TARN_CALL tarnblend_problem_objective(const tarnblend_problem* problem, int* objective);

/* Volumes of every component in product p (n = component count), at the
 * optimum, or at the least-relaxed recipe of an infeasible problem. */
TARNBLEND_API int TARN_CALL tarnblend_problem_volumes(const tarnblend_problem* problem, int product, double* volumes,
                                                      int n);

/* The blend model of product p, evaluated (with derivatives) at its volumes
 * of the last solve: its properties, statuses, reasons, units and notes are
 * read with the functions of tarn/blend.h. The model belongs to the problem;
 * do not free it. */
TARNBLEND_API int TARN_CALL tarnblend_problem_model(tarnblend_problem* problem, int product, tarnblend_model** model);

/* Product p after the last solve: volume, revenue (price x volume; 0 without
 * a price), cost of its components, and the marginal cost of its demand
 * (change of the objective per unit volume more demand; 0 when the demand
 * does not bind). Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_problem_product_result(const tarnblend_problem* problem, int product,
                                                             double* volume, double* revenue, double* cost,
                                                             double* demandValue, int* binding);

/* Component i after the last solve: total volume used, its cost, the
 * marginal value of its availability (change of the objective per unit
 * volume more of the bound that binds) and which bound binds
 * (TARNBLEND_FREE, _AT_MIN, _AT_MAX). Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_problem_component_result(const tarnblend_problem* problem, int component,
                                                               double* volume, double* cost, double* availabilityValue,
                                                               int* binding);

/* Number of limits (grade limits, then extra limits, then targets) of
 * product p. */
TARNBLEND_API int TARN_CALL tarnblend_problem_limit_count(const tarnblend_problem* problem, int product, int* count);

/* Limit k of product p after the last solve: property key, the blended
 * property's index in the product's model, minimum and maximum in the
 * property's recipe unit (TARN_MISSING when open; equal for a target), the
 * value, the margin (distance inside the nearest bound, negative outside),
 * which side binds (TARNBLEND_FREE, _AT_MIN, _AT_MAX, _AT_TARGET), the
 * shadow price (change of the objective per unit the binding bound moves
 * up; 0 when free, TARN_MISSING for least change), the unit and the
 * source of the limit ("" for an extra limit). Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_problem_limit(const tarnblend_problem* problem, int product, int k,
                                                    const char** key, int* property, double* minimum, double* maximum,
                                                    double* value, double* margin, int* binding, double* shadowPrice,
                                                    const char** unit, const char** source);

/* Number of relaxations of an infeasible problem (0 otherwise). */
TARNBLEND_API int TARN_CALL tarnblend_problem_relaxation_count(const tarnblend_problem* problem, int* count);

/* Relaxation k: product, limit (index as for tarnblend_problem_limit), side
 * (TARNBLEND_AT_MIN: lower the minimum, _AT_MAX: raise the maximum,
 * _AT_TARGET: move the target), the relaxation in the least-relaxed recipe
 * where every limit may give (weighted by each property's spread
 * among the components; signed for a target), and the least relaxation of
 * this limit alone that makes the problem feasible (TARN_MISSING when it
 * alone cannot), in the property's unit. Outputs may be null. */
TARNBLEND_API int TARN_CALL tarnblend_problem_relaxation(const tarnblend_problem* problem, int k, int* product,
                                                         int* limit, int* side, double* together, double* alone);

/* Notes of the last solve, one line each (components kept out of a product,
 * a product with no demand ...). */
TARNBLEND_API int TARN_CALL tarnblend_problem_note_count(const tarnblend_problem* problem, int* count);
TARNBLEND_API int TARN_CALL tarnblend_problem_note(const tarnblend_problem* problem, int k, const char** note);

TARN_EXTERN_C_END

#endif /* TARN_OPTIMIZE_H */
