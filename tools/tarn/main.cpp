// tarn: the command-line face of the TARN library. It links libtarn like any
// host and reaches it only through the public C interface.
#include <CLI/CLI.hpp>
#include <iostream>

#include "catalogue.h"
#include "commands.h"
#include "errors.h"
#include "numbers.h"
#include "optimize.h"
#include "recipe.h"
#include "tarn/blend.h"
#include "tarn/tarn.h"

namespace {

using namespace tarncli;

struct FormatFlags {
  bool json = false;
  bool csv = false;
  Format format() const { return json ? Format::Json : csv ? Format::Csv : Format::Table; }
};

void addFormatFlags(CLI::App* command, FormatFlags& flags) {
  auto* json = command->add_flag("--json", flags.json, "Write JSON");
  auto* csv = command->add_flag("--csv", flags.csv, "Write CSV");
  json->excludes(csv);
}

int fail(int code, const std::string& message) {
  std::cerr << "tarn: error: " << message << "\n";
  return code;
}

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{
      "tarn: fuel-blending property correlations for refinery planning.\n"
      "Blend reports, the correlation catalogue and one-off evaluations over libtarn."};
  app.footer(
      "Exit status: 0 success, 1 the library could not compute a requested evaluation,\n"
      "2 bad command line or bad input, 3 the blend fails a limit of the grade asked for\n"
      "(optimize: no recipe meets every limit).\n"
      "Errors are one line on standard error.");
  // libtarn and the tool are built together, so they share the project's version.
  app.set_version_flag("--version", std::string("tarn ") + TARN_VERSION_TEXT + " (libtarn " + TARN_VERSION_TEXT +
                                        ", libtarnblend " + tarnblend_version() + ")");
  app.require_subcommand(1);
  app.fallthrough();
  std::vector<std::string> settings, coefficients;
  app.add_option("--set", settings, "Change a parameter for this run (see 'tarn params')")
      ->type_name("CORRELATION.PARAMETER=VALUE")
      ->allow_extra_args(false);
  app.add_option("--coef", coefficients, "Change a correlation coefficient for this run (see 'tarn describe')")
      ->type_name("ID.NAME=VALUE")
      ->allow_extra_args(false);

  // blend
  BlendCommandOptions blend;
  FormatFlags blendFormat;
  std::string units;
  auto* blendCommandApp =
      app.add_subcommand("blend", "Blend report of a recipe (without one, the built-in sample of the --product)");
  blendCommandApp->add_option(
      "recipe", blend.recipe,
      "Recipe CSV: NAME, VOLUME[unit] or MASS[unit], properties with units ('-': standard input)");
  blendCommandApp->add_option("--units", units, "Unit of temperature columns whose header has none")
      ->check(CLI::IsMember({"F", "C"}, CLI::ignore_case));
  blendCommandApp
      ->add_option("--method", blend.method,
                   "Distillation conversion of the curve blend: HC94, THREEA11, SIXORDER, ETHYLS, NONE, ETHYLS-EXACT")
      ->capture_default_str();
  blendCommandApp->add_option("--plot", blend.plot, "Write the distillation curves as an SVG picture")
      ->type_name("FILE.svg");
  blendCommandApp->add_option("--product", blend.product,
                              "Product kind: gasoline, diesel or jet (default: the recipe's own, '# product: diesel', "
                              "else gasoline)");
  blendCommandApp
      ->add_option("--grade", blend.grade, "Check the blend against a grade (see 'tarn grades') or a grade file")
      ->type_name("NAME|FILE");
  blendCommandApp->add_option("--class", blend.gradeClass, "Class of the grade (volatility, climate ...)");
  addFormatFlags(blendCommandApp, blendFormat);

  FormatFlags gradesFormat;
  auto* grades = app.add_subcommand("grades", "Built-in product grades, their classes and limits with sources");
  addFormatFlags(grades, gradesFormat);

  auto* sample = app.add_subcommand("sample", "Print a built-in sample recipe (a starting point for your own)");
  std::string sampleProduct = "gasoline";
  sample->add_option("--product", sampleProduct, "Product kind: gasoline, diesel or jet")->capture_default_str();

  // list, describe, params, codes
  FormatFlags listFormat, describeFormat, paramsFormat, codesFormat;
  auto* list = app.add_subcommand("list", "The catalogue: index, id, type, inputs and outputs");
  addFormatFlags(list, listFormat);
  std::string described;
  auto* describe = app.add_subcommand("describe", "Properties, kind codes, inverse and coefficients of a correlation");
  describe->add_option("correlation", described, "Identifier (any case) or index")->required();
  addFormatFlags(describe, describeFormat);
  std::string keyword;
  auto* params = app.add_subcommand("params", "Parameter keywords: current values, defaults, units, descriptions");
  params->add_option("keyword", keyword, "Show only this correlation keyword");
  bool parameterPage = false;
  params->add_flag("--markdown", parameterPage, "Write the parameter page");
  addFormatFlags(params, paramsFormat);
  bool markdown = false;
  auto* codes = app.add_subcommand("codes", "Status codes with their messages");
  codes->add_flag("--markdown", markdown, "Write the status-code page");
  addFormatFlags(codes, codesFormat);

  // eval
  EvalOptions eval;
  FormatFlags evalFormat;
  auto* evalApp = app.add_subcommand("eval", "Evaluate a correlation by id or index, once or per CSV row");
  evalApp->add_option("correlation", eval.correlation, "Identifier (any case) or index")->required();
  evalApp->add_option("values", eval.values, "Input values in catalogue order ('NA' for missing)");
  evalApp->add_flag("--derivs", eval.derivatives, "Also compute the derivatives");
  auto* csvIn = evalApp->add_option("--csv", eval.csvInput, "Evaluate every row of this CSV (headers: input ids)")
                    ->type_name("IN.csv");
  evalApp->add_option("-o,--output", eval.output, "Where the per-row results go (default standard output)")
      ->type_name("OUT.csv")
      ->needs(csvIn);
  evalApp->add_flag("--json", evalFormat.json, "Write JSON (single evaluation)")->excludes(csvIn);

  OptimizeOptions optimize;
  auto* optimizeApp = addOptimizeCommand(app, optimize);

  try {
    app.parse(argc, argv);
  } catch (const CLI::CallForHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForAllHelp& e) {
    return app.exit(e);
  } catch (const CLI::CallForVersion& e) {
    return app.exit(e);
  } catch (const CLI::ParseError& e) {
    std::string message = e.what();
    if (app.get_subcommands().empty() && argc > 1 && argv[1][0] != '-') {
      message = "unknown command '" + std::string(argv[1]) +
                "' (commands: blend, optimize, sample, grades, list, describe, eval, params, codes)";
    }
    return fail(kExitBadInput, message + " (see 'tarn --help')");
  }
  if (!units.empty()) blend.units = static_cast<char>(std::toupper(static_cast<unsigned char>(units[0])));
  // A pure-component threshold set for the run replaces the blend library's own.
  for (const std::string& s : settings) {
    std::string owner = s.substr(0, s.find('.'));
    for (char& c : owner) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    if (owner == "GENERICD86" && s.find(".DPure=") != std::string::npos) blend.libraryPureThreshold = true;
  }

  if (gfx_tarnInitializeAllocate(nullptr) != TARN_STATUS_OK) {
    return fail(kExitCalculationFailed, "the library did not start");
  }
  int code = 0;
  try {
    for (const std::string& s : settings) applySetting(s);
    for (const std::string& c : coefficients) {
      const std::string note = applyCoefficient(c);
      if (!note.empty()) std::cerr << "tarn: note: " << note << "\n";
    }
    if (blendCommandApp->parsed()) code = blendCommand(blend, blendFormat.format(), std::cout);
    if (grades->parsed()) gradesCommand(gradesFormat.format(), std::cout);
    if (sample->parsed()) {
      int product = 0;
      if (tarnblend_product_parse(sampleProduct.c_str(), &product) != TARNBLEND_OK) {
        throw InputError(tarnblend_last_error());
      }
      std::cout << sampleRecipe(product);
    }
    if (list->parsed()) listCommand(listFormat.format(), std::cout);
    if (describe->parsed()) describeCommand(described, describeFormat.format(), std::cout);
    if (params->parsed()) {
      const auto only = keyword.empty() ? std::nullopt : std::optional<std::string>(keyword);
      paramsCommand(only, parameterPage, paramsFormat.format(), std::cout);
    }
    if (codes->parsed()) codesCommand(markdown, codesFormat.format(), std::cout);
    if (evalApp->parsed()) code = evalCommand(eval, evalFormat.format(), std::cout);
    if (optimizeApp->parsed()) code = optimizeCommand(optimize, std::cout);
  } catch (const InputError& e) {
    code = fail(kExitBadInput, e.what());
  } catch (const CalculationError& e) {
    code = fail(kExitCalculationFailed, e.what());
  } catch (const std::exception& e) {
    code = fail(kExitCalculationFailed, e.what());
  }
  std::cout.flush();
  gfx_tarnFree();
  return code;
}
