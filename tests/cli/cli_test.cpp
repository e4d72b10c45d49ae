// The tarn tool end to end: exit status, one-line errors, report figures against the library.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <functional>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "support/fixture.h"
#include "tarn/blending.h"
#include "tarn/corparms.h"
#include "tarn/distill.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

extern char** environ;

namespace {

using Json = nlohmann::json;

std::string slurp(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

// A file in a fresh temporary folder, removed by the test's end.
class TempFile {
 public:
  explicit TempFile(const std::string& content, const std::string& suffix = ".csv") {
    char pattern[] = "/tmp/tarn-cli-XXXXXX";
    path_ = std::string(mkdtemp(pattern)) + "/file" + suffix;
    std::ofstream(path_) << content;
  }
  ~TempFile() {
    std::remove(path_.c_str());
    rmdir(path_.substr(0, path_.rfind('/')).c_str());
  }
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

struct Outcome {
  int code = -1;
  std::string out, err;
};

// Runs the tool with args and collects its exit status and what it writes.
Outcome run(const std::vector<std::string>& args) {
  TempFile out("", ".out"), err("", ".err");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&actions, 1, out.path().c_str(), O_WRONLY | O_TRUNC, 0);
  posix_spawn_file_actions_addopen(&actions, 2, err.path().c_str(), O_WRONLY | O_TRUNC, 0);
  std::vector<std::string> all = {TARN_CLI_PATH};
  all.insert(all.end(), args.begin(), args.end());
  std::vector<char*> argv;
  for (std::string& a : all) argv.push_back(a.data());
  argv.push_back(nullptr);
  pid_t pid = 0;
  Outcome result;
  if (posix_spawn(&pid, TARN_CLI_PATH, &actions, nullptr, argv.data(), environ) == 0) {
    int status = 0;
    waitpid(pid, &status, 0);
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
  }
  posix_spawn_file_actions_destroy(&actions);
  result.out = slurp(out.path());
  result.err = slurp(err.path());
  return result;
}

std::vector<std::string> split(const std::string& line) {
  std::vector<std::string> cells;
  std::stringstream in(line);
  for (std::string cell; std::getline(in, cell, ',');) cells.push_back(cell);
  return cells;
}

// A column of the sample recipe as the tool prints it (it has no quoted cells).
std::vector<double> sampleColumn(const std::string& header) {
  std::vector<double> out;
  std::size_t at = std::string::npos;
  std::stringstream text(run({"sample"}).out);
  for (std::string line; std::getline(text, line);) {
    if (line.empty() || line[0] == '#') continue;
    const auto cells = split(line);
    if (at == std::string::npos) {
      at = static_cast<std::size_t>(std::find(cells.begin(), cells.end(), header) - cells.begin());
    } else {
      out.push_back(std::stod(cells.at(at)));
    }
  }
  return out;
}

double figure(const Json& report, const std::string& key) {
  const Json& value = report.at("blend").at(key).at("value");
  return value.is_null() ? NAN : value.get<double>();
}

using CliTest = tarn::testing::LibraryTest;

TEST_F(CliTest, SampleReportAgreesWithTheLibraryCalledDirectly) {
  const Outcome r = run({"blend", "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  const Json report = Json::parse(r.out);
  const std::vector<double> volume = sampleColumn("VOLUME[bbl]");
  const int n = static_cast<int>(volume.size());
  double total = 0;
  for (double v : volume) total += v;
  std::vector<double> fractions, index, curves;
  for (double v : volume) fractions.push_back(v / total);
  for (double rvp : sampleColumn("RVP[psi]")) index.push_back(gfx_RVPIndex(rvp, 0, nullptr));
  const double rvp = gfx_RVP(gfx_LinearByVolume(volume.data(), n, index.data()), 0, nullptr);
  EXPECT_NEAR(figure(report, "RVP"), rvp, 1e-9);

  const char* points[] = {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"};
  std::vector<std::vector<double>> columns;
  for (const char* p : points) columns.push_back(sampleColumn(std::string(p) + "[F]"));
  for (int i = 0; i < n; ++i) {
    for (const auto& column : columns) curves.push_back(column[static_cast<std::size_t>(i)]);
  }
  // Butane and ethanol (boiling within 10 F) keep their curves; the blended curve is searched to 1e-12.
  double curve[7];
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "DPure", 10.0), 0);
  ASSERT_EQ(gfx_setCorParms("GENERICD86", "BTol", 1e-12), 0);
  ASSERT_EQ(gfx_D86(n, fractions.data(), curves.data(), curve, nullptr, 0, 0, 'F'), 0);
  for (int k = 0; k < 7; ++k) EXPECT_NEAR(figure(report, points[k]), curve[k], 1e-9) << points[k];

  std::vector<double> ron = sampleColumn("RON"), mon = sampleColumn("MON"), olefins = sampleColumn("OLF[vol%]"),
                      aromatics = sampleColumn("ARO[vol%]");
  double octane[2];
  ASSERT_EQ(
      gfx_Healy(0, fractions.data(), n, ron.data(), mon.data(), olefins.data(), aromatics.data(), octane, nullptr), 0);
  EXPECT_NEAR(figure(report, "RON"), octane[0], 1e-9);
  EXPECT_NEAR(figure(report, "MON"), octane[1], 1e-9);
  const std::vector<double> gravity = sampleColumn("SPG"), sulfur = sampleColumn("SUL[ppm]"),
                            ethanol = sampleColumn("ETOH[vol%]");
  EXPECT_NEAR(figure(report, "SUL"), gfx_LinearByMass(volume.data(), n, gravity.data(), sulfur.data()), 1e-9);
  const double etoh = gfx_LinearByVolume(volume.data(), n, ethanol.data());
  EXPECT_NEAR(figure(report, "DI"), gfx_DriveabilityIndexE(0, 'F', curve[1], curve[3], curve[5], nullptr, etoh), 1e-9);
  const double e70 = gfx_DistillCurve(curve, 1, 158.0);
  EXPECT_NEAR(figure(report, "E70"), e70, 1e-9);
  EXPECT_NEAR(figure(report, "VLI"), gfx_VaporLockIndex(0, 'P', rvp, e70, nullptr), 1e-9);
  EXPECT_NEAR(figure(report, "TVL20"), gfx_TVL(0, 'F', rvp, curve[1], curve[3], nullptr), 1e-9);
  // The sample is a plausible summer E10 regular: keep it that way.
  EXPECT_TRUE(rvp > 7.0 && rvp < 10.0) << rvp;
  EXPECT_NEAR(etoh, 10.0, 0.5);

  // The text report states its basis and units.
  const Outcome text = run({"blend"});
  ASSERT_EQ(text.code, 0) << text.err;
  EXPECT_NE(text.out.find("Basis: volume"), std::string::npos);
  const auto row = [&](const std::string& id) {
    const auto at = text.out.find("\n  " + id + " ");
    return at == std::string::npos ? "" : text.out.substr(at, text.out.find('\n', at + 1) - at);
  };
  for (const auto& [id, unit] :
       {std::pair{"RVP", " psi "}, {"T50", " F "}, {"SUL", " ppm "}, {"ARO", " vol% "}, {"EPA.NOX", " % change "}}) {
    EXPECT_NE(row(id).find(unit), std::string::npos) << id << "\n" << text.out;
  }
}

std::size_t count(const std::string& text, const std::string& part) {
  std::size_t n = 0;
  for (auto at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

// The sample recipe with each line's cells changed by `edit` (header lines included; comment lines kept as they are).
std::string editedSample(const std::function<void(std::vector<std::string>&)>& edit) {
  std::string text;
  std::stringstream lines(run({"sample"}).out);
  for (std::string line; std::getline(lines, line);) {
    std::vector<std::string> cells = split(line);
    if (line[0] != '#') edit(cells);
    for (std::size_t i = 0; i < cells.size(); ++i) text += (i ? "," : "") + cells[i];
    text += "\n";
  }
  return text;
}

// Off grade exits 3 naming the limit, passes without butane; the plot shows limits, windows and estimated points.
TEST_F(CliTest, GradeChecksAndPlot) {
  const Outcome offSpec = run({"blend", "--json", "--grade", "US-CONVENTIONAL", "--class", "9.0"});
  EXPECT_EQ(offSpec.code, 3) << offSpec.err;
  const Json report = Json::parse(offSpec.out);
  EXPECT_EQ(report["grade"]["failures"], 1);
  EXPECT_EQ(report["grade"]["limits"][0]["property"], "RVP");
  EXPECT_EQ(report["grade"]["limits"][0]["verdict"], "FAIL");
  EXPECT_NEAR(report["grade"]["limits"][0]["margin"].get<double>(), 9.0 - figure(report, "RVP"), 1e-9);
  TempFile lighter(editedSample([](std::vector<std::string>& cells) {
    if (cells[0] == "Butane") cells[1] = "0";
  }));
  const Outcome passing = run({"blend", lighter.path(), "--json", "--grade", "astm-d4814", "--class", "A"});
  EXPECT_EQ(passing.code, 0) << passing.err;
  EXPECT_EQ(Json::parse(passing.out)["grade"]["limits"][0]["verdict"], "PASS");
  EXPECT_EQ(Json::parse(run({"grades", "--json"}).out).size(), 7u);

  // Without T30/T70: hollow estimated points, dashed segments; EN 228 windows and its 210 C = 410 F end point.
  TempFile estimated(editedSample([](std::vector<std::string>& cells) {
    cells.erase(cells.begin() + 7), cells.erase(cells.begin() + 5);  // T70, T30
  }));
  TempFile plot("", ".svg");
  ASSERT_EQ(run({"blend", estimated.path(), "--grade", "EN228", "--class", "A", "--plot", plot.path()}).code, 3);
  const std::string svg = slurp(plot.path());
  EXPECT_EQ(count(svg, "<circle"), 7u * 7u);
  EXPECT_EQ(count(svg, "r=\"3.0\" fill=\"white\""), 6u * 2u);
  EXPECT_EQ(count(svg, "stroke-dasharray"), 6u * 4u + 6u);  // four segments and a legend line each
  for (const char* label : {">Reformate 27.0 % (T30/T70 estimated)<", ">Blend<",
                            ">E70 22\xE2\x80\x93"
                            "50 %<",
                            ">E150 \xE2\x89\xA5 75 %<", ">FBP \xE2\x89\xA4 410<", ">EN228 A limits<",
                            "Temperature (\xC2\xB0"
                            "F)",
                            "</svg>"}) {
    EXPECT_NE(svg.find(label), std::string::npos) << label;
  }
}

// Not computed is null with its reason: THREEA11 on ethanol, and volumes 4e304 times the sample's (same shares).
TEST_F(CliTest, WhatCannotBeComputedIsNullWithItsReason) {
  const Json reference = Json::parse(run({"blend", "--json"}).out);
  const Outcome r = run({"blend", "--method", "THREEA11", "--json", "--set", "GENERICD86.DPure=0"});
  ASSERT_EQ(r.code, 0) << r.err;
  const Json report = Json::parse(r.out);
  for (const char* key : {"T50", "T90", "E200", "E300", "DI", "TVL20", "EPA.VOC", "CARB.CNX"}) {
    EXPECT_TRUE(report["blend"][key]["value"].is_null()) << key;
  }
  const std::string reason = report["blend"]["T90"]["reason"];
  EXPECT_NE(reason.find("THREEA11 gives a falling curve for narrow-boiling components such as"), std::string::npos)
      << reason;
  EXPECT_EQ(r.out.find("e+29"), std::string::npos);
  EXPECT_EQ(report["blend"]["RVP"]["value"], figure(reference, "RVP"));

  TempFile huge(editedSample([](std::vector<std::string>& cells) {
    if (cells[0] == "NAME") return;
    char volume[40];
    std::snprintf(volume, sizeof volume, "%.17g", std::stod(cells[1]) * 4e304);
    cells[1] = volume;
  }));
  const Outcome h = run({"blend", huge.path(), "--json"});
  ASSERT_EQ(h.code, 0) << h.err;
  const Json scaled = Json::parse(h.out);
  EXPECT_TRUE(scaled["total_quantity"].is_null());
  for (const char* key : {"RVP", "T50", "RON", "SUL", "EPA.NOX"}) {
    EXPECT_NEAR(figure(scaled, key), figure(reference, key), 1e-9 * std::fabs(figure(reference, key))) << key;
  }
}

// JSON answers at a pointer; TVL figures from the library, derivatives input-major (T50 moves only E200).
TEST_F(CliTest, CatalogueCoefficientsAndEvaluationAnswers) {
  double in[3] = {9.0, 120.0, 210.0}, out[1], d[3];
  ASSERT_EQ(gfx_tarnGenCalc(0, 1, 0, in, out, d), 0);
  using Args = std::vector<std::string>;
  const Args list = {"list", "--json"}, tvl = {"describe", "tvl", "--json", "--coef", "TVL.P1=120"},
             pair = {"describe", "13", "--json"}, report = {"blend", "--json", "--set", "REIDVAPORPRESSURE.X=1.3"},
             once = {"eval", "tvl", "9", "120", "210", "--derivs", "--json"},
             epa = {"eval", "54", "200", "330", "--derivs", "--json"},
             evaporative = {"eval",
                            "EVAPORATIVE",
                            "100",
                            "140",
                            "180",
                            "220",
                            "260",
                            "300",
                            "340",
                            "--derivs",
                            "--json",
                            "--set",
                            "EVAPORATIVE.NPTS=2",
                            "--set",
                            "EVAPORATIVE.P00=200",
                            "--set",
                            "EVAPORATIVE.P01=340"};
  const std::vector<std::tuple<Args, std::string, Json>> cases = {
      {list, "/9/id", "RVPINDEX"},
      {list, "/9/inputs", Json::array({"RVP"})},
      {list, "/56/index", 56},
      {tvl, "/index", 0},
      {tvl, "/coefficients/1/name", "P1"},
      {tvl, "/coefficients/1/value", 120.0},
      {pair, "/pair", 14},
      {pair, "/outputs/0/kind", nullptr},
      {report, "/blend/RVP/method", "vapour-pressure index RVP^1.3, blended by volume"},
      {once, "/temperature_unit", "F"},
      {once, "/outputs/TVL", out[0]},
      {once, "/derivatives/RVP/TVL", d[0]},
      {once, "/derivatives/T50/TVL", d[2]},
      {epa, "/derivatives/T50/E200", -0.49},
      {epa, "/derivatives/T50/E300", 0.0},
      {epa, "/derivatives/T90/E300", -0.22},
      {evaporative, "/outputs", Json::parse(R"({"EVP0": 40.0, "EVP1": 100.0})")},
      {evaporative, "/derivatives/T50/EVP0", -0.25},
      {evaporative, "/derivatives/FBP/EVP1", -0.25},
  };
  std::map<Args, Json> answers;
  for (const auto& [args, pointer, expected] : cases) {
    if (!answers.count(args)) answers[args] = Json::parse(run(args).out);
    const Json::json_pointer at(pointer);
    EXPECT_TRUE(answers[args].contains(at) && answers[args][at] == expected) << args[1] << " " << pointer;
  }
  EXPECT_EQ(answers[list].size(), 57u);
  EXPECT_EQ(answers[evaporative]["derivatives"]["IBP"].size(), 2u);
  EXPECT_NE(run({"list"}).out.find("POFF1\xE2\x80\xA6POFF10"), std::string::npos);
  // Kind codes and switch values in words, a switch set for the run included.
  const std::string epaText = run({"describe", "EPA", "--coef", "EPA.SEASON=2"}).out;
  const auto line = [&](const std::string& start) {
    const auto at = epaText.find(start);
    return at == std::string::npos ? std::string() : epaText.substr(at, epaText.find('\n', at) - at);
  };
  EXPECT_NE(line("0  VOC").find("20 emission result or index"), std::string::npos) << epaText;
  EXPECT_NE(line("SEASON").find("2  winter"), std::string::npos) << epaText;
  EXPECT_NE(line("AREA").find("1  VOC control region 1 (south)"), std::string::npos) << epaText;
  const Outcome params = run({"params", "reidvaporpressure", "--csv", "--set", "REIDVAPORPRESSURE.any=1.3"});
  ASSERT_EQ(params.code, 0) << params.err;
  EXPECT_EQ(params.out.substr(0, params.out.find("RVP^e")),
            "correlation,alias,parameter,value,default,unit,description\n"
            "REIDVAPORPRESSURE,,*,1.3,1.25,,exponent e of the vapour-pressure blending index ");
  // The status-code list carries the library's own message where a code has one, and the meaning where it has none.
  std::map<int, Json> codes;
  for (const Json& c : Json::parse(run({"codes", "--json"}).out)) codes[c["code"].get<int>()] = c;
  EXPECT_EQ(codes[-4]["message"], "Invalid Correlation index passed.");
  EXPECT_EQ(codes[-1105]["family"], "router");
  EXPECT_TRUE(codes.count(-999) && codes[-999]["message"].is_null());
}

TEST_F(CliTest, EvaluationByIndexOnceAndPerRow) {
  double in[3] = {9.0, 120.0, 210.0}, out[1], d[3];
  ASSERT_EQ(gfx_tarnGenCalc(0, 1, 0, in, out, d), 0);
  // The unit flag set for the run is the unit the values are read in.
  const Json celsius =
      Json::parse(run({"eval", "TVL", "9", "48.8889", "98.8889", "--json", "--coef", "TVL.CORF=0"}).out);
  EXPECT_EQ(celsius["temperature_unit"], "C");
  EXPECT_NEAR(celsius["outputs"]["TVL"].get<double>(), (out[0] - 32.0) / 1.8, 1e-3);
  // Missing input or undefined result: not computed with the reason, exit 1 (TVL of a missing T10 is 2e29, status 0).
  for (const auto& [args, reason] :
       {std::pair{std::vector<std::string>{"TVL", "9", "NA", "210"}, "input T10 is missing"},
        {{"RVP", "NA"}, "input RVPNDX is missing"},
        {{"POURPOINT1", "-5"}, "status 1: the correlation's result is undefined"}}) {
    std::vector<std::string> command = {"eval"};
    command.insert(command.end(), args.begin(), args.end());
    command.push_back("--json");
    const Outcome undefined = run(command);
    EXPECT_EQ(undefined.code, 1) << args[0];
    const Json j = Json::parse(undefined.out);
    EXPECT_EQ(j["status"], 1);
    EXPECT_NE(j["reason"].get<std::string>().find(reason), std::string::npos) << j["reason"];
    EXPECT_TRUE(j["outputs"].begin()->is_null()) << undefined.out;
    EXPECT_NE(undefined.err.find(args[0] + " not computed: " + reason), std::string::npos) << undefined.err;
  }

  // Per row: columns found by name in any order, others copied through, derivative columns labelled.
  TempFile rows("case,T50,t10,RVP\nA,210,120,9\nB,200,110,8\n"), result("", ".out.csv");
  const Outcome batch = run({"eval", "TVL", "--csv", rows.path(), "-o", result.path(), "--derivs"});
  ASSERT_EQ(batch.code, 0) << batch.err;
  EXPECT_EQ(batch.out + batch.err, "");
  std::stringstream lines(slurp(result.path()));
  std::string header, first;
  std::getline(lines, header);
  std::getline(lines, first);
  EXPECT_EQ(header, "case,T50,t10,RVP,TVL,status,reason,d(TVL)/d(RVP),d(TVL)/d(T10),d(TVL)/d(T50)");
  const auto cells = split(first);
  ASSERT_EQ(cells.size(), 10u);
  EXPECT_EQ(std::stod(cells[4]), out[0]);
  EXPECT_EQ(cells[5], "0");
  EXPECT_EQ(std::stod(cells[8]), d[1]);
  // The same rows as a spreadsheet in a decimal-comma locale writes them.
  TempFile semicolons(
      "\xEF\xBB\xBF"
      "case;T50;t10;RVP\nA;210;120;9\nB;200,0;110;8,0\n");
  const Outcome local = run({"eval", "TVL", "--csv", semicolons.path()});
  EXPECT_EQ(local.code, 0) << local.err;
  EXPECT_EQ(split(local.out.substr(local.out.find("\nA,") + 1))[4], cells[4]);
  // Empty cell: empty outputs, status 1 and reason; an output named like an input column is renamed.
  TempFile undefinedRows("RVP,T10,T50\n9,120,210\n9,,210\n"), clash("RVPNDX,RVP\n9,old\n");
  const Outcome partly = run({"eval", "TVL", "--csv", undefinedRows.path(), "--derivs"});
  EXPECT_EQ(partly.code, 0);
  EXPECT_EQ(partly.out.substr(partly.out.rfind("\n9,,")), "\n9,,210,,1,input T10 is missing,,,\n");
  EXPECT_NE(partly.err.find("1 of 2 rows were not computed"), std::string::npos) << partly.err;
  EXPECT_EQ(run({"eval", "RVP", "--csv", clash.path()}).out.substr(0, 41),
            "RVPNDX,RVP,RVP.out,status,reason\n9,old,5.");
}

TEST_F(CliTest, BadInputGetsOneLineErrorAndExitTwo) {
  const std::string kComponents = TARN_SOURCE_DIR "/examples/gasoline-components.csv";
  const std::string header = "NAME,VOLUME[bbl],RVP[psi],T10[F],T50[F],T90[F]\n";
  std::string unlabelled = run({"sample"}).out;  // in degrees F, with the units taken out of the headers
  for (std::size_t at; (at = unlabelled.find("[F]")) != std::string::npos;) unlabelled.erase(at, 3);
  // Arguments ("{}" is a file holding the text), file text, message; one line, exit 2.
  const std::vector<std::tuple<std::vector<std::string>, std::string, std::string>> cases = {
      {{"describe", "57"}, "", "unknown correlation '57'"},
      {{"frobnicate"}, "", "unknown command 'frobnicate'"},
      {{"blend", "/nonexistent/recipe.csv"}, "", "/nonexistent/recipe.csv:1:1: cannot open the file"},
      {{"blend", "--method", "FAST"}, "", "unknown distillation method 'FAST'"},
      {{"blend", "--units", "K"}, "", "--units"},
      {{"blend", "--product", "lemonade"}, "", "lemonade"},
      {{"blend", "--grade", "NOPE"}, "", "NOPE"},
      {{"blend", "--set", "NOSUCH.P1=1"}, "", "unknown parameter 'NOSUCH.P1'"},
      {{"blend", "--set", "TARN.changedata=1"}, "", "unknown parameter 'TARN.changedata'"},
      {{"blend", "--set", "TARN.ChangeData=on"}, "", "is not a number: 'on'"},
      {{"blend", "--set", "ChangeData=1"}, "", "not of the form CORRELATION.PARAMETER=VALUE"},
      {{"blend", "--coef", "TVL.XX=1"}, "", "TVL has no coefficient 'XX'"},
      {{"blend", "--coef", "NOPE.P1=1"}, "", "unknown correlation 'NOPE'"},
      // Switches take only the values they have a meaning for.
      {{"blend", "--coef", "TVL.CORF=7"}, "", "TVL.CORF takes 0 (degrees C) or 1 (degrees F), not 7"},
      {{"blend", "--coef", "EPA.SEASON=9"}, "", "EPA.SEASON takes 1 (summer) or 2 (winter), not 9"},
      {{"eval", "ND86TOPERCENTOFF", "--coef", "ND86TOPERCENTOFF.NPOFF=2.5"}, "", "NPOFF is a whole-number setting"},
      // Recipe faults, named by file, line and column.
      {{"blend", "{}"},
       "\x7F"
       "ELF\x02\x01\x01\x1B[2J\x9B",
       ":1:1: binary data or a control character (byte 7F)"},
      {{"blend", "{}"},
       header + "Naphtha \xE9t\xE9,1,9,130,210,330\n",
       ":2:9: the file is not UTF-8 text (byte E9 here)"},
      // Degrees F read as C: above the end point of a gasoline, or above what a D86 distillation reads.
      {{"blend", "{}", "--units", "C"}, unlabelled, ":6:32: T50 of 'Reformate' would be 246 C, above the 225 C"},
      {{"blend", "{}", "--units", "C", "--product", "diesel"},
       unlabelled,
       "FBP of 'FCC naphtha' is 408 C, above the 400 C"},
      {{"blend", "{}", "--units", "C"},
       "NAME,VOLUME,T50[F]\nA,1,200\n",
       "T50 is in F but the unit of unlabelled temperatures is C"},
      {{"blend", "--grade", "EN228", "--class", "Q"}, "", "EN228 has no class 'Q' (classes: A,D,D1)"},
      // The optimiser's own forms.
      {{"optimize", kComponents}, "", "say what the blend must meet: --grade, --limit or --target"},
      {{"optimize", kComponents, "--limit", "RVP=9"}, "", "write KEY<=VALUE or KEY>=VALUE"},
      {{"optimize", kComponents, "--limit", "RVP<=9", "--cost", "Naphtha=3"}, "", "no component named 'Naphtha'"},
      {{"optimize", kComponents, "--limit", "RVP<=9 furlong"}, "", "furlong"},
      {{"optimize", kComponents, "--target", "RVP=9", "--free", "Butane", "--demand", "9:8"},
       "",
       "minimum above maximum"},
      {{"optimize", kComponents, "--limit", "RVP<=9", "--cost", "Butane=38"}, "", "has no cost"},
      {{"optimize", TARN_SOURCE_DIR "/examples/diesel.json", "--cost", "Kerosene=600"}, "", "apply to a recipe"},
      {{"eval", "TVL", "1", "2"}, "", "TVL takes 3 inputs (RVP, T10, T50), got 2"},
      {{"eval", "TVL", "9", "x", "1"}, "", "input 2 (T10) is not a number: 'x'"},
      {{"eval", "TVL", "--csv", "/nonexistent/in.csv"}, "", "/nonexistent/in.csv:1:1: cannot open the file"},
      {{"eval", "TVL", "--csv", "{}"}, "RVP,T10\n9,120\n", "no column T50 (TVL takes RVP, T10, T50)"},
      {{"eval", "TVL", "--csv", "{}"}, "RVP,T10,T50\n9,120,210\n9,1x0,210\n", ":3:3: T10 is not a number: '1x0'"},
  };
  for (const auto& [given, recipe, message] : cases) {
    TempFile file(recipe);
    std::vector<std::string> args = given;
    std::replace(args.begin(), args.end(), std::string("{}"), file.path());
    const Outcome r = run(args);
    SCOPED_TRACE(given[0] + " " + given.back() + ": " + r.err);
    EXPECT_EQ(r.code, 2);
    EXPECT_NE(r.err.find(message), std::string::npos);
    EXPECT_EQ(r.err.rfind("tarn: error: ", 0), 0u);
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1);
    EXPECT_EQ(r.out, "");
    // No byte of the file reaches the terminal raw: the message is UTF-8 text without control characters.
    for (std::size_t i = 0; i < r.err.size(); ++i) {
      const auto c = static_cast<unsigned char>(r.err[i]);
      EXPECT_TRUE((c >= 0x20 && c != 0x7F && c != 0xC2) || c == '\n' ||
                  (c == 0xC2 && i + 1 < r.err.size() && static_cast<unsigned char>(r.err[i + 1]) >= 0xA0))
          << i;
      EXPECT_FALSE(c >= 0x80 && c < 0xC0 && (i == 0 || static_cast<unsigned char>(r.err[i - 1]) < 0x80)) << i;
    }
  }
}

}  // namespace
