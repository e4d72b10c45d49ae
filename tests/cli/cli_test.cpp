// The tarn tool end to end: exit status, one-line errors, and the blend
// report's figures against the library called directly.
#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tarn/blending.h"
#include "tarn/distill.h"
#include "tarn/props.h"
#include "tarn/tarn.h"

extern char** environ;

namespace {

using Json = nlohmann::json;

struct Outcome {
  int code = -1;
  std::string out, err;
};

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
    path_ = mkdtemp(pattern);
    path_ += "/file" + suffix;
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

// Runs the tool with args (standard input from stdinText) and collects what
// it writes.
Outcome run(const std::vector<std::string>& args, const std::string& stdinText = "") {
  TempFile in(stdinText, ".in"), out("", ".out"), err("", ".err");
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, 0, in.path().c_str(), O_RDONLY, 0);
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

std::vector<std::string> split(const std::string& line, char separator = ',') {
  std::vector<std::string> cells;
  std::stringstream in(line);
  std::string cell;
  while (std::getline(in, cell, separator)) cells.push_back(cell);
  return cells;
}

// The sample recipe as the tool prints it, column by column (it has no
// quoted cells).
struct Sample {
  std::vector<std::string> headers;
  std::vector<std::vector<double>> rows;  // without the name
  std::vector<std::string> names;
  std::vector<double> column(const std::string& header) const {
    std::vector<double> out;
    const auto at = std::find(headers.begin(), headers.end(), header) - headers.begin();
    for (const auto& r : rows) out.push_back(r[static_cast<std::size_t>(at - 1)]);
    return out;
  }
};

Sample sample() {
  Sample s;
  std::stringstream text(run({"sample"}).out);
  std::string line;
  while (std::getline(text, line)) {
    if (line.empty() || line[0] == '#') continue;
    if (s.headers.empty()) {
      s.headers = split(line);
      continue;
    }
    const auto cells = split(line);
    s.names.push_back(cells[0]);
    std::vector<double> values;
    for (std::size_t i = 1; i < cells.size(); ++i) values.push_back(std::stod(cells[i]));
    s.rows.push_back(values);
  }
  return s;
}

// True when some line of text holds the words in this order.
bool hasLine(const std::string& text, const std::vector<std::string>& words) {
  std::stringstream lines(text);
  std::string line;
  while (std::getline(lines, line)) {
    std::size_t at = 0;
    bool all = true;
    for (const std::string& w : words) {
      at = line.find(w, at);
      if (at == std::string::npos) {
        all = false;
        break;
      }
      at += w.size();
    }
    if (all) return true;
  }
  return false;
}

double figure(const Json& report, const std::string& key) {
  const Json& value = report.at("blend").at(key).at("value");
  return value.is_null() ? NAN : value.get<double>();
}

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override { ASSERT_EQ(gfx_tarnInitializeAllocate(nullptr), 0); }
  void TearDown() override {
    TARNReset();
    gfx_tarnInitializeCoefs();
  }
};

TEST_F(CliTest, SampleReportAgreesWithTheLibraryCalledDirectly) {
  const Sample s = sample();
  ASSERT_EQ(s.headers[1], "VOLUME[bbl]");
  const Outcome r = run({"blend", "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  const Json report = Json::parse(r.out);
  const std::vector<double> volume = s.column("VOLUME[bbl]");
  const int n = static_cast<int>(volume.size());
  double total = 0;
  for (double v : volume) total += v;
  std::vector<double> fractions;
  for (double v : volume) fractions.push_back(v / total);

  std::vector<double> index;
  for (double rvp : s.column("RVP[psi]")) index.push_back(gfx_RVPIndex(rvp, 0, nullptr));
  const double rvp = gfx_RVP(gfx_LinearByVolume(volume.data(), n, index.data()), 0, nullptr);
  EXPECT_NEAR(figure(report, "RVP"), rvp, 1e-9);

  std::vector<double> curves;
  for (std::size_t i = 0; i < volume.size(); ++i) {
    for (const char* p : {"IBP[F]", "T10[F]", "T30[F]", "T50[F]", "T70[F]", "T90[F]", "FBP[F]"}) {
      curves.push_back(s.column(p)[i]);
    }
  }
  double curve[7];
  ASSERT_EQ(gfx_D86(n, fractions.data(), curves.data(), curve, nullptr, 0, 0, 'F'), 0);
  const char* points[] = {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"};
  for (int k = 0; k < 7; ++k) EXPECT_NEAR(figure(report, points[k]), curve[k], 1e-9) << points[k];

  std::vector<double> x = fractions, ron = s.column("RON"), mon = s.column("MON"),
                      olefins = s.column("OLF[vol%]"), aromatics = s.column("ARO[vol%]");
  double octane[2];
  ASSERT_EQ(gfx_Healy(0, x.data(), n, ron.data(), mon.data(), olefins.data(), aromatics.data(), octane,
                      nullptr),
            0);
  EXPECT_NEAR(figure(report, "RON"), octane[0], 1e-9);
  EXPECT_NEAR(figure(report, "MON"), octane[1], 1e-9);

  const std::vector<double> gravity = s.column("SPG"), sulfur = s.column("SUL[ppm]"), ethanol = s.column("ETOH[vol%]");
  EXPECT_NEAR(figure(report, "SUL"), gfx_LinearByMass(volume.data(), n, gravity.data(), sulfur.data()), 1e-9);
  const double etoh = gfx_LinearByVolume(volume.data(), n, ethanol.data());
  EXPECT_NEAR(figure(report, "DI"), gfx_DriveabilityIndexE(0, 'F', curve[1], curve[3], curve[5], nullptr, etoh), 1e-9);
  const double e70 = gfx_DistillCurve(curve, 1, 158.0);
  EXPECT_NEAR(figure(report, "E70"), e70, 1e-9);
  EXPECT_NEAR(figure(report, "VLI"), gfx_VaporLockIndex(0, 'P', rvp, e70, nullptr), 1e-9);
  EXPECT_NEAR(figure(report, "TVL20"), gfx_TVL(0, 'F', rvp, curve[1], curve[3], nullptr), 1e-9);
  // The sample is a plausible summer E10 regular: keep it that way.
  EXPECT_GT(rvp, 7.0);
  EXPECT_LT(rvp, 10.0);
  EXPECT_NEAR(etoh, 10.0, 0.5);
}

TEST_F(CliTest, ReportStatesUnitsAndBasisAndDrawsTheCurves) {
  TempFile plot("", ".svg");
  const Outcome r = run({"blend", "--plot", plot.path()});
  ASSERT_EQ(r.code, 0) << r.err;
  EXPECT_NE(r.out.find("Basis: volume"), std::string::npos);
  const std::vector<std::vector<std::string>> rows = {{"RVP", "Reid vapour pressure", ".", "psi"},
                                                       {"T50", "D86 50 % evaporated", ".", " F "},
                                                       {"SUL", "sulfur", ".", "ppm"},
                                                       {"ARO", "aromatics", ".", "vol%"},
                                                       {"EPA.NOX", "EPA NOx", ".", "% change"}};
  for (const auto& row : rows) EXPECT_TRUE(hasLine(r.out, row)) << row[0] << "\n" << r.out;
  const std::string svg = slurp(plot.path());
  EXPECT_EQ(svg.rfind("<?xml", 0), 0u);
  EXPECT_NE(svg.find("</svg>"), std::string::npos);
  // Six components and the blend: one polyline each, each named in the legend.
  std::size_t lines = 0;
  for (auto at = svg.find("<polyline"); at != std::string::npos; at = svg.find("<polyline", at + 1)) ++lines;
  EXPECT_EQ(lines, 7u);
  for (const char* label : {">Blend<", ">Reformate<", "Volume percent evaporated", "Temperature ("}) {
    EXPECT_NE(svg.find(label), std::string::npos) << label;
  }
}

// The same blend written in degrees C and kPa, or by mass, reports the same
// figures converted: the commonest unit faults in a recipe reader.
TEST_F(CliTest, RecipeUnitsAndBasisDoNotChangeTheBlend) {
  const Json reference = Json::parse(run({"blend", "--json"}).out);
  const Sample s = sample();
  std::string celsius = "NAME,VOLUME[bbl],RVP[kPa],IBP[C],T10[C],T30[C],T50[C],T70[C],T90[C],FBP[C],RON,MON,"
                        "ARO[vol%],OLF[vol%],BNZ[vol%],SUL[ppm],EHO[wt%],ETOH[vol%],SPG\n";
  std::string mass = "NAME,MASS[t],RVP[psi],IBP,T10,T30,T50,T70,T90,FBP,RON,MON,ARO[vol%],OLF[vol%],BNZ[vol%],"
                     "SUL[ppm],EHO[wt%],ETOH[vol%],SPG\n";
  for (std::size_t i = 0; i < s.rows.size(); ++i) {
    const auto& v = s.rows[i];
    char buffer[64];
    celsius += s.names[i];
    mass += s.names[i];
    for (std::size_t k = 0; k < v.size(); ++k) {
      double c = v[k];
      if (k == 1) c *= 6.894757;
      if (k >= 2 && k <= 8) c = (c - 32.0) / 1.8;
      std::snprintf(buffer, sizeof buffer, ",%.15g", c);
      celsius += buffer;
      std::snprintf(buffer, sizeof buffer, ",%.15g", k == 0 ? v[0] * v.back() : v[k]);
      mass += buffer;
    }
    celsius += "\n";
    mass += "\n";
  }
  TempFile celsiusFile(celsius), massFile(mass);
  const Outcome c = run({"blend", celsiusFile.path(), "--json"});
  ASSERT_EQ(c.code, 0) << c.err;
  const Json metric = Json::parse(c.out);
  EXPECT_EQ(metric["temperature_unit"], "C");
  EXPECT_NEAR(figure(metric, "RVP"), figure(reference, "RVP") * 6.894757, 1e-6);
  for (const char* t : {"IBP", "T50", "FBP", "TVL20"}) {
    EXPECT_NEAR(figure(metric, t), (figure(reference, t) - 32.0) / 1.8, 1e-6) << t;
  }
  // The drivability index in C is its own formula: (DI[F] - 176) / 1.8.
  EXPECT_NEAR(figure(metric, "DI"), (figure(reference, "DI") - 176.0) / 1.8, 1e-6);
  for (const char* same : {"RON", "E70", "E200", "VLI", "SUL", "BNZ"}) {
    EXPECT_NEAR(figure(metric, same), figure(reference, same), 1e-6) << same;
  }

  const Outcome m = run({"blend", massFile.path(), "--json", "--units", "F"});
  ASSERT_EQ(m.code, 0) << m.err;
  const Json byMass = Json::parse(m.out);
  EXPECT_EQ(byMass["basis"], "mass");
  for (const char* key : {"RVP", "T50", "RON", "SUL", "ETOH"}) {
    EXPECT_NEAR(figure(byMass, key), figure(reference, key), 1e-9) << key;
  }
}

TEST_F(CliTest, CatalogueParametersAndCodes) {
  const Outcome list = run({"list", "--json"});
  ASSERT_EQ(list.code, 0);
  const Json correlations = Json::parse(list.out);
  ASSERT_EQ(correlations.size(), 57u);
  EXPECT_EQ(correlations[9]["id"], "RVPINDEX");
  EXPECT_EQ(correlations[9]["inputs"], Json::array({"RVP"}));
  EXPECT_NE(run({"list"}).out.find("POFF1\xE2\x80\xA6POFF10"), std::string::npos);

  // Coefficients show their current values, including one changed for the run.
  const Json tvl = Json::parse(run({"describe", "tvl", "--json", "--coef", "TVL.P1=120"}).out);
  EXPECT_EQ(tvl["index"], 0);
  EXPECT_EQ(tvl["coefficients"][1]["name"], "P1");
  EXPECT_EQ(tvl["coefficients"][1]["value"], 120.0);
  const Json pair = Json::parse(run({"describe", "13", "--json"}).out);
  EXPECT_EQ(pair["pair"], 14);
  EXPECT_EQ(pair["outputs"][0]["kind"], nullptr);

  const Outcome params = run({"params", "reidvaporpressure", "--csv", "--set", "REIDVAPORPRESSURE.any=1.3"});
  ASSERT_EQ(params.code, 0) << params.err;
  EXPECT_EQ(params.out, "correlation,alias,parameter,value\nREIDVAPORPRESSURE,,*,1.3\n");
  // A setting changes the report computed in the same run.
  const Json report = Json::parse(run({"blend", "--json", "--set", "REIDVAPORPRESSURE.X=1.3"}).out);
  EXPECT_EQ(report["blend"]["RVP"]["method"], "vapour-pressure index RVP^1.3, blended by volume");

  // Every status constant of the public header is on the status-code list.
  const Json codes = Json::parse(run({"codes", "--json"}).out);
  const std::string header = slurp(std::string(TARN_SOURCE_DIR) + "/include/tarn/tarn.h");
  std::stringstream lines(header);
  std::string line;
  int constants = 0;
  while (std::getline(lines, line)) {
    std::istringstream words(line);
    std::string define, name, value;
    words >> define >> name >> value;
    if (define != "#define" || name.rfind("TARN_STATUS_", 0) != 0) continue;
    ++constants;
    const int code = std::stoi(value[0] == '(' ? value.substr(1) : value);
    const bool listed = std::any_of(codes.begin(), codes.end(),
                                    [&](const Json& c) { return c["code"] == code && c["constant"] == name; });
    EXPECT_TRUE(listed) << name;
  }
  EXPECT_GT(constants, 10);
}

TEST_F(CliTest, EvaluationByIndexOnceAndPerRow) {
  double in[3] = {9.0, 120.0, 210.0}, out[1], d[3];
  ASSERT_EQ(gfx_tarnGenCalc(0, 1, 0, in, out, d), 0);
  const Outcome once = run({"eval", "tvl", "9", "120", "210", "--derivs", "--json"});
  ASSERT_EQ(once.code, 0) << once.err;
  const Json tvl = Json::parse(once.out);
  EXPECT_EQ(tvl["temperature_unit"], "F");
  EXPECT_EQ(tvl["outputs"]["TVL"].get<double>(), out[0]);
  EXPECT_EQ(tvl["derivatives"]["RVP"]["TVL"].get<double>(), d[0]);
  EXPECT_EQ(tvl["derivatives"]["T50"]["TVL"].get<double>(), d[2]);
  // Several outputs: rows are inputs, columns outputs (T50 moves only E200).
  const Json epa = Json::parse(run({"eval", "54", "200", "330", "--derivs", "--json"}).out);
  EXPECT_EQ(epa["derivatives"]["T50"]["E200"].get<double>(), -0.49);
  EXPECT_EQ(epa["derivatives"]["T50"]["E300"].get<double>(), 0.0);
  EXPECT_EQ(epa["derivatives"]["T90"]["E300"].get<double>(), -0.22);
  // A correlation with a configured number of outputs: only those are shown,
  // and the derivatives are read with that many per input.
  const Json evaporated = Json::parse(run({"eval", "EVAPORATIVE", "100", "140", "180", "220", "260", "300", "340",
                                           "--derivs", "--json", "--set", "EVAPORATIVE.NPTS=2", "--set",
                                           "EVAPORATIVE.P00=200", "--set", "EVAPORATIVE.P01=340"})
                                          .out);
  EXPECT_EQ(evaporated["outputs"], Json::parse(R"({"EVP0": 40.0, "EVP1": 100.0})"));
  EXPECT_EQ(evaporated["derivatives"]["T30"]["EVP0"].get<double>(), -0.25);
  EXPECT_EQ(evaporated["derivatives"]["T50"]["EVP0"].get<double>(), -0.25);
  EXPECT_EQ(evaporated["derivatives"]["FBP"]["EVP1"].get<double>(), -0.25);
  EXPECT_EQ(evaporated["derivatives"]["IBP"].size(), 2u);
  // The unit flag set for the run is the unit the values are read in.
  const Json celsius = Json::parse(run({"eval", "TVL", "9", "48.8889", "98.8889", "--json", "--coef", "TVL.CORF=0"}).out);
  EXPECT_EQ(celsius["temperature_unit"], "C");
  EXPECT_NEAR(celsius["outputs"]["TVL"].get<double>(), (out[0] - 32.0) / 1.8, 1e-3);
  // An undefined result: the outputs are shown missing, the status named, exit 1.
  const Outcome undefined = run({"eval", "RVP", "NA"});
  EXPECT_EQ(undefined.code, 1);
  EXPECT_NE(undefined.out.find("missing"), std::string::npos);
  EXPECT_NE(undefined.err.find("RVP returned status 1"), std::string::npos) << undefined.err;

  // Per row: columns found by name in any order, others copied through,
  // derivative columns labelled.
  TempFile rows("case,T50,t10,RVP\nA,210,120,9\nB,200,110,8\n");
  TempFile result("", ".out.csv");
  const Outcome batch = run({"eval", "TVL", "--csv", rows.path(), "-o", result.path(), "--derivs"});
  ASSERT_EQ(batch.code, 0) << batch.err;
  EXPECT_EQ(batch.out + batch.err, "");
  std::stringstream lines(slurp(result.path()));
  std::string header, first;
  std::getline(lines, header);
  std::getline(lines, first);
  EXPECT_EQ(header, "case,T50,t10,RVP,TVL,status,d(TVL)/d(RVP),d(TVL)/d(T10),d(TVL)/d(T50)");
  const auto cells = split(first);
  ASSERT_EQ(cells.size(), 9u);
  EXPECT_EQ(std::stod(cells[4]), out[0]);
  EXPECT_EQ(cells[5], "0");
  EXPECT_EQ(std::stod(cells[7]), d[1]);
  // A row the library cannot evaluate keeps its status, and the run says so.
  TempFile undefinedRows("RVPNDX\n2\nNA\n");
  const Outcome partly = run({"eval", "RVP", "--csv", undefinedRows.path()});
  EXPECT_EQ(partly.code, 0);
  EXPECT_EQ(partly.out.substr(partly.out.rfind(",,") + 2), "1\n");
  EXPECT_NE(partly.err.find("1 of 2 rows did not evaluate"), std::string::npos) << partly.err;
  TempFile same("RVP\n9\n");
  EXPECT_EQ(run({"eval", "RVPINDEX", "--csv", same.path()}).out.substr(0, 18), "RVP,RVPNDX,status\n");
  TempFile clash("RVPNDX,RVP\n9,old\n");
  EXPECT_EQ(run({"eval", "RVP", "--csv", clash.path()}).out.substr(0, 34), "RVPNDX,RVP,RVP.out,status\n9,old,5.");
}

struct BadInput {
  std::vector<std::string> args;
  std::string recipe;  // written to a file named by "{}" in args, when not empty
  int code;
  std::string message;
};

TEST_F(CliTest, BadInputGetsOneLineErrorAndNonZeroExit) {
  const std::string header = "NAME,VOLUME[bbl],RVP[psi],T10[F],T50[F],T90[F]\n";
  const std::vector<BadInput> cases = {
      {{"describe", "FOO"}, "", 2, "unknown correlation 'FOO'"},
      {{"describe", "57"}, "", 2, "unknown correlation '57'"},
      {{"frobnicate"}, "", 2, "unknown command 'frobnicate'"},
      {{"blend", "/nonexistent/recipe.csv"}, "", 2, "cannot open recipe '/nonexistent/recipe.csv'"},
      {{"blend", "--method", "FAST"}, "", 2, "unknown distillation method 'FAST'"},
      {{"blend", "--units", "K"}, "", 2, "--units"},
      {{"blend", "--set", "NOSUCH.P1=1"}, "", 2, "unknown parameter 'NOSUCH.P1'"},
      {{"blend", "--set", "TARN.changedata=1"}, "", 2, "unknown parameter 'TARN.changedata'"},
      {{"blend", "--set", "TARN.ChangeData=on"}, "", 2, "is not a number: 'on'"},
      {{"blend", "--set", "ChangeData=1"}, "", 2, "not of the form CORRELATION.PARAMETER=VALUE"},
      {{"blend", "--coef", "TVL.XX=1"}, "", 2, "TVL has no coefficient 'XX'"},
      {{"blend", "--coef", "NOPE.P1=1"}, "", 2, "unknown correlation 'NOPE'"},
      {{"blend", "{}"}, header + "A,1,9,130,210,x330\n", 2, ":2: T90 of 'A' is not a number: 'x330'"},
      {{"blend", "{}"}, header + "A,1,9,130,210\n", 2, ":2: expected 6 cells, found 5"},
      {{"blend", "{}"}, header + "A,,9,130,210,330\n", 2, "VOLUME of 'A' is missing"},
      {{"blend", "{}"}, header + "A,-1,9,130,210,330\n", 2, "VOLUME of 'A' is negative"},
      {{"blend", "{}"}, header + "A,1,9,130,210,330\nA,1,9,130,210,330\n", 2, "component 'A' appears twice"},
      {{"blend", "{}"}, header + "A,1,9,230,210,330\n", 2, "T50 of 'A' lies below T10"},
      {{"blend", "{}"}, header + "A,0,9,130,210,330\n", 2, "add up to nothing"},
      {{"blend", "{}"}, "NAME,VOLUME,RVP,T50[F]\nA,1,9,200\n", 2, "column RVP has no unit: write RVP[psi] or RVP[kPa]"},
      {{"blend", "{}"}, "NAME,VOLUME,T50\nA,1,200\n", 2, "column T50 has no unit: write T50[F] or T50[C], or give --units"},
      {{"blend", "{}", "--units", "C"}, "NAME,VOLUME,T50[F]\nA,1,200\n", 2, "T50 is in F but --units says C"},
      {{"blend", "{}"}, "NAME,VOLUME,T10[F],T50[C]\nA,1,100,90\n", 2, "mixed temperature units: T10 in F, T50 in C"},
      {{"blend", "{}"}, "NAME,VOLUME,MASS[t]\nA,1,1\n", 2, "both VOLUME and MASS"},
      {{"blend", "{}"}, "NAME,MASS[t],RVP[psi]\nA,1,9\n", 2, "a recipe by MASS needs an SPG column"},
      {{"blend", "{}"}, "NAME,VOLUME,ARO[wt%]\nA,1,30\n", 2, "column ARO is in 'wt%', which is not vol%"},
      {{"blend", "{}"}, "NAME,VOLUME,ARO[vol%]\nA,1,130\n", 2, "ARO of 'A' (130) must be between 0 and 100"},
      {{"blend", "{}"}, "NAME,VOLUME,OCTANE\nA,1,90\n", 2, "unknown column 'OCTANE'"},
      {{"blend", "{}"}, "NAME,VOLUME,EHO[wt%]\nE,1,34.7\n", 2, "has no ETOH[vol%] column"},
      {{"blend", "{}"}, "NAME,VOLUME,OXY[wt%],EHO[wt%],ETOH[vol%]\nE,1,3,3,10\n", 2, "gives OXY and oxygen by oxygenate"},
      {{"blend", "{}"}, "VOLUME,RVP[psi]\n1,9\n", 2, "no NAME column"},
      {{"eval", "NOPE", "1"}, "", 2, "unknown correlation 'NOPE'"},
      {{"eval", "TVL", "1", "2"}, "", 2, "TVL takes 3 inputs (RVP, T10, T50), got 2"},
      {{"eval", "TVL", "9", "x", "1"}, "", 2, "input 2 (T10) is not a number: 'x'"},
      {{"eval", "TVL", "--csv", "/nonexistent/in.csv"}, "", 2, "cannot open '/nonexistent/in.csv'"},
      {{"eval", "TVL", "--csv", "{}"}, "RVP,T10\n9,120\n", 2, "no column T50 (TVL takes RVP, T10, T50)"},
      {{"eval", "TVL", "--csv", "{}"}, "RVP,T10,T50\n9,120,210\n9,1x0,210\n", 2, ":3: T10 is not a number: '1x0'"},
      {{"blend", "{}"}, "NAME,VOLUME\n\"A,1\n", 2, "quoted field is not closed"},
  };
  for (const BadInput& c : cases) {
    std::vector<std::string> args = c.args;
    TempFile recipe(c.recipe);
    for (std::string& a : args) {
      if (a == "{}") a = recipe.path();
    }
    const Outcome r = run(args);
    std::string shown;
    for (const std::string& a : c.args) shown += a + " ";
    EXPECT_EQ(r.code, c.code) << shown << r.err;
    EXPECT_NE(r.err.find(c.message), std::string::npos) << shown << "\n" << r.err;
    EXPECT_EQ(r.err.rfind("tarn: error: ", 0), 0u) << r.err;
    EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
    EXPECT_EQ(r.out, "") << shown;
  }
}

// A missing cell is missing: the figures that need it say why, the others
// are computed.
TEST_F(CliTest, MissingCellsLeaveOnlyTheirFiguresOut) {
  TempFile recipe(
      "NAME,VOLUME[m3],RVP[psi],T10[F],T50[F],T90[F],RON,MON,ARO[vol%],OLF[vol%]\n"
      "A,60,9,120,200,320,92,82,30,10\n"
      "B,40,NA,130,210,330,,84,20,5\n");
  const Outcome r = run({"blend", recipe.path(), "--json"});
  ASSERT_EQ(r.code, 0) << r.err;
  const Json report = Json::parse(r.out);
  EXPECT_TRUE(report["blend"]["RVP"]["value"].is_null());
  EXPECT_EQ(report["blend"]["RVP"]["note"], "RVP is missing for 'B'");
  EXPECT_TRUE(report["blend"]["RON"]["value"].is_null());
  EXPECT_EQ(report["blend"]["IBP"]["note"], "missing IBP of 'A', FBP of 'A', IBP of 'B', FBP of 'B'");
  EXPECT_NEAR(report["blend"]["ARO"]["value"].get<double>(), 26.0, 1e-12);
  EXPECT_EQ(report["blend"]["SUL"]["note"], "the recipe has no SUL column");
  // A component with no volume takes no part, whatever it lacks.
  TempFile withEmpty(
      "NAME,VOLUME[m3],RVP[psi]\n"
      "A,60,9\n"
      "B,0,\n");
  const Json second = Json::parse(run({"blend", withEmpty.path(), "--json"}).out);
  EXPECT_NEAR(second["blend"]["RVP"]["value"].get<double>(), 9.0, 1e-9);
}

}  // namespace
