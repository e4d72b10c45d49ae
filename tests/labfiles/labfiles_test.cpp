// Recipe files: every lab/spreadsheet dialect reads as the plain file; bad files get file:line:column, no raw bytes.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <sstream>
#include <string>
#include <vector>

#include "tarn/blend.h"

namespace {

// The plain recipe: degrees F, psi, ppm, kg/m3, commas.
const char* const kPlain =
    "NAME,VOLUME[bbl],RVP[psi],IBP[F],T10[F],T50[F],T90[F],FBP[F],SUL[ppm],ARO[vol%],DEN[kg/m3]\n"
    "Reformate,3000,4.2,112,162,246,322,392,1,64,815\n"
    "FCC naphtha,3300,6.5,95,126,201,338,408,25,28,745\n"
    "Alkylate,1900,4.8,102,163,221,279,384,6,0.3,695\n";

std::vector<std::string> split(const std::string& line) {
  std::vector<std::string> out;
  std::stringstream in(line);
  for (std::string cell; std::getline(in, cell, ',');) out.push_back(cell);
  return out;
}

struct Read {
  int status = 0;
  std::string error;
  tarnblend_recipe* recipe = nullptr;
  tarnblend_model* model = nullptr;
  ~Read() { tarnblend_recipe_free(recipe); }
};

void parse(const std::string& text, Read& r, int product = 0, const char* units = nullptr) {
  r.status = tarnblend_recipe_parse(text.data(), text.size(), "recipe.csv", product, units, &r.recipe);
  if (r.status != TARNBLEND_OK) {
    r.error = tarnblend_last_error();
    return;
  }
  tarnblend_recipe_model(r.recipe, &r.model);
}

// The components of a read recipe against the plain rows, every value converted to the plain recipe's units.
void expectPlainRecipe(const Read& r, const std::string& dialect) {
  SCOPED_TRACE(dialect);
  ASSERT_EQ(r.status, TARNBLEND_OK) << r.error;
  std::stringstream lines(kPlain);
  std::string line;
  std::getline(lines, line);
  const std::vector<std::string> header = split(line);
  for (int i = 0; std::getline(lines, line); ++i) {
    const std::vector<std::string> row = split(line);
    const char* name = nullptr;
    double volume = 0.0;
    ASSERT_EQ(tarnblend_model_component_name(r.model, i, &name), TARNBLEND_OK);
    tarnblend_model_volume(r.model, i, &volume);
    EXPECT_EQ(name, row[0]);
    EXPECT_DOUBLE_EQ(volume, std::stod(row[1]));
    for (std::size_t k = 2; k < header.size(); ++k) {
      const std::string key = header[k].substr(0, header[k].find('[')),
                        unit = header[k].substr(key.size() + 1, header[k].size() - key.size() - 2);
      const char* given = nullptr;
      double value = 0.0, converted = 0.0;
      ASSERT_EQ(tarnblend_model_get_property(r.model, i, key.c_str(), &value), TARNBLEND_OK);
      tarnblend_model_unit(r.model, key.c_str(), &given);
      ASSERT_EQ(tarnblend_unit_convert(value, given, unit.c_str(), &converted), TARNBLEND_OK);
      EXPECT_NEAR(converted, std::stod(row[k]), 1e-9 * std::fabs(std::stod(row[k])) + 1e-12) << key << " of " << name;
    }
  }
}

// Dialects converted by hand: C = (F - 32) / 1.8, 1 psi = 6.894757 kPa, SG = density / 999.016, API = 141.5/SG - 131.5.
TEST(RecipeFiles, EveryDialectGivesThePlainRecipe) {
  const std::pair<const char*, std::string> dialects[] = {
      {"plain CSV", kPlain},
      // Excel's "CSV UTF-8": byte-order mark, CRLF, a comment, padded rows, a quoted name.
      {"Excel CSV UTF-8",
       "\xEF\xBB\xBF# lab export\r\n"
       "NAME,VOLUME[bbl],RVP[psi],IBP[F],T10[F],T50[F],T90[F],FBP[F],SUL[ppm],ARO[vol%],DEN[kg/m3],,\r\n"
       "Reformate,3000,4.2,112,162,246,322,392,1,64,815,,\r\n"
       "FCC naphtha,3300,6.5,95,126,201,338,408,25,28,745,,\r\n"
       "\"Alkylate\",1900,4.8,102,163,221,279,384,6,0.3,695,,\r\n"},
      // Semicolons, decimal commas, and each unit in one of its other spellings.
      {"semicolons",
       "Name;Volume [bbl];RVP (kPa);IBP[\xC2\xB0"
       "C];T10[degC];T50[C];T90 [\xC2\xB0"
       "C];FBP[\xC2\xB0"
       "C];"
       "Sulfur[mg/kg];ARO[% V/V];SPG\n"
       "Reformate;3000;28,9579794;44,4444444444;72,2222222222;118,888888889;161,111111111;200;1;64;0,815802749906\n"
       "FCC naphtha;3300;44,8159205;35;52,2222222222;93,8888888889;170;208,888888889;25;28;0,745733802061\n"
       "Alkylate;1900;33,0948336;38,8888888889;72,7777777778;105;137,222222222;195,555555556;6;0,3;0,695684553601\n"},
      // Tabs, degrees API, no-break spaces around numbers.
      {"tabs",
       "NAME\tVOLUME[bbl]\tRVP[psi]\tIBP[F]\tT10[F]\tT50[F]\tT90[F]\tFBP[F]\tSUL[ppm]\tARO[vol%]\tAPI\n"
       "Reformate\t3000\t\xC2\xA0"
       "4.2\t112\t162\t246\t322\t392\t1\xC2\xA0\t64\t41.948790184\n"
       "FCC naphtha\t3300\t\xC2\xA0"
       "6.5\t95\t126\t201\t338\t408\t25\xC2\xA0\t28\t58.2459919463\n"
       "Alkylate\t1900\t\xC2\xA0"
       "4.8\t102\t163\t221\t279\t384\t6\xC2\xA0\t0.3\t71.8967827338\n"},
      // Units in headers, in a units object or implied; a number as text.
      {"JSON",
       "{\"product\": \"gasoline\", \"units\": {\"T10\": \"F\", \"SUL\": \"ppm\"}, \"components\": [\n"
       " {\"name\": \"Reformate\", \"VOLUME[bbl]\": 3000, \"RVP[psi]\": 4.2, \"IBP[F]\": 112, \"T10\": 162, "
       "\"T50[F]\": 246,\n"
       "  \"T90[F]\": 322, \"FBP[F]\": \"392\", \"SUL\": 1, \"ARO[vol%]\": 64, \"Density (kg/m3 at 15 \xC2\xB0"
       "C)\": 815},\n"
       " {\"name\": \"FCC naphtha\", \"VOLUME[bbl]\": 3300, \"RVP[psi]\": 6.5, \"IBP[F]\": 95, \"T10\": 126, "
       "\"T50[F]\": 201,\n"
       "  \"T90[F]\": 338, \"FBP[F]\": \"408\", \"SUL\": 25, \"ARO[vol%]\": 28, \"Density (kg/m3 at 15 \xC2\xB0"
       "C)\": 745},\n"
       " {\"name\": \"Alkylate\", \"VOLUME[bbl]\": 1900, \"RVP[psi]\": 4.8, \"IBP[F]\": 102, \"T10\": 163, \"T50[F]\": "
       "221,\n"
       "  \"T90[F]\": 279, \"FBP[F]\": \"384\", \"SUL\": 6, \"ARO[vol%]\": 0.3, \"Density (kg/m3 at 15 \xC2\xB0"
       "C)\": 695}]}"},
  };
  for (const auto& [dialect, text] : dialects) {
    Read r;
    parse(text, r);
    expectPlainRecipe(r, dialect);
  }
}

// The file states its basis, quantities and product; the caller may impose another product, which is said.
TEST(RecipeFiles, BasisQuantitiesAndProduct) {
  Read mass;
  parse("# product: diesel\nNAME,MASS[tonne],DEN[g/mL],CN\nGas oil,840,0.84,52\nKerosene,0,,45\n", mass);
  ASSERT_EQ(mass.status, TARNBLEND_OK) << mass.error;
  int basis = -1, from = -1, product = 0;
  const char* unit = nullptr;
  double quantity = 0.0, volume = 0.0;
  tarnblend_recipe_info(mass.recipe, nullptr, &basis, &unit, &from);
  tarnblend_model_product(mass.model, &product);
  EXPECT_EQ(basis, TARNBLEND_BASIS_MASS);
  EXPECT_STREQ(unit, "t");
  EXPECT_EQ(from, TARNBLEND_PRODUCT_FILE);
  EXPECT_EQ(product, TARNBLEND_DIESEL);
  tarnblend_recipe_quantity(mass.recipe, 0, &quantity);
  tarnblend_model_volume(mass.model, 0, &volume);
  EXPECT_EQ(quantity, 840.0);
  EXPECT_NEAR(volume, 840.0 / (840.0 / 999.016), 1e-9);  // tonnes over specific gravity

  Read imposed;
  parse("# product: diesel\nNAME,VOLUME\nA,1\n", imposed, TARNBLEND_JET);
  ASSERT_EQ(imposed.status, TARNBLEND_OK) << imposed.error;
  int count = 0;
  const char* note = nullptr;
  tarnblend_recipe_note_count(imposed.recipe, &count);
  ASSERT_EQ(count, 1);
  tarnblend_recipe_note(imposed.recipe, 0, &note);
  EXPECT_STREQ(note, "the recipe says diesel; reported as jet, as asked");
}

// Each bad file: the position and the words of its one-line message.
TEST(RecipeFiles, BadFilesGetOnePositionedLine) {
  const std::string h = "NAME,VOLUME[bbl],T10[F],T50[F]\n";
  const std::vector<std::tuple<std::string, std::string, const char*>> cases = {
      {std::string("NAME,VOL\x00UME\n", 13), "1:9", "binary data or a control character (byte 00)"},
      {"NAME,T50[\xB0"
       "C]\n",
       "1:10", "not UTF-8 text (byte B0 here): save it as UTF-8"},
      {"\xFF\xFEN\0A\0", "1:1", "UTF-16 text"},
      {"NAME,VOLUME[furlong]\nA,1\n", "1:6", "unknown unit 'furlong' of column VOLUME (volume units: bbl, kbbl, m3"},
      {"NAME,VOLUME,RVP[mmHg]\nA,1,9\n", "1:13", "unknown unit 'mmHg' of column RVP (accepted: psi, kPa, bar)"},
      {"NAME,VOLUME,ARO[wt%]\nA,1,30\n", "1:13", "ARO is in 'wt%', a mass fraction, but ARO is a volume percentage"},
      {"NAME,VOLUME,OCTANE\nA,1,90\n", "1:13", "unknown column 'OCTANE' (known: NAME, VOLUME or MASS, RVP"},
      {"NAME,VOLUME,T50\nA,1,200\n", "1:13", "column T50 has no unit: write T50[F] or T50[C]"},
      {"NAME,VOLUME,RVP\nA,1,9\n", "1:13", "column RVP has no unit: write it as RVP[psi]"},
      {"NAME,VOLUME,T10[F],T50[C]\nA,1,100,90\n", "1:20",
       "mixed temperature units in the D86 curve: T10 in F, T50 in C"},
      {"NAME,VOLUME,SPG,DEN[kg/m3]\nA,1,0.7,700\n", "1:17", "gives DEN again (as 'SPG' at recipe.csv:1:13 does)"},
      {"NAME,VOLUME,MASS[t]\nA,1,1\n", "1:13", "both VOLUME and MASS"},
      {"NAME,MASS[t],RVP[psi]\nA,1,9\n", "2:3", "a recipe by MASS needs the density (DEN, SPG or API) of 'A'"},
      {"VOLUME,RVP[psi]\n1,9\n", "1:1", "the recipe has no NAME column"},
      {h + "A,1,130,x210\n", "2:9", "T50 of 'A' is not a number: 'x210'"},
      {h + "A,1,130,1e999\n", "2:9", "T50 of 'A' is too large: '1e999'"},
      {h + "A,1,130\n", "2:1", "expected 4 cells, found 3"},
      {h + "A,1,130,210,7\n", "2:13", "a cell beyond the last column (4 columns): '7'"},
      {h + "A,,130,210\n", "2:3", "VOLUME of 'A' is missing"},
      {h + "A,-1,130,210\n", "2:3", "VOLUME of 'A' is negative"},
      {h + "A,1,130,210\n\"A\",1,130,210\n", "3:1", "component 'A' appears twice (first at recipe.csv:2:1)"},
      {h + "A,1,230,210\n", "2:9", "T50 of 'A' lies below T10: a D86 curve cannot fall"},
      {h + "A,0,130,210\n", "3:1", "the components' quantities add up to nothing"},
      {h, "2:1", "the recipe has no components"},
      {"", "1:1", "the recipe is empty"},
      {"NAME,VOLUME\n\"A,1\n", "2:1", "a quoted field is not closed"},
      {"NAME,VOLUME,\"RVP\nX\ty\"\nA,1,9\n", "1:13", "unknown column 'RVP\\x0AX\\x09y'"},  // line end and tab shown
      {"NAME;VOLUME;RVP[kPa]\nA;1;1.234,5\n", "2:5", "RVP of 'A' is not a number: '1.234,5'"},
      {"NAME;VOLUME;ARO[vol%]\nA\tB;1;130\n", "2:7", "ARO of 'A\\x09B' (130 vol%) must lie"},  // tab in a name
      {"NAME,VOLUME,ARO[vol%]\nA,1,130\n", "2:5", "ARO of 'A' (130 vol%) must lie between 0 vol% and 100 vol%"},
      {"# product: lemonade\nNAME,VOLUME\nA,1\n", "2:1", "unknown product kind 'lemonade' (gasoline, diesel or jet)"},
      // A D86 point above what the method reads: degrees F read as C.
      {"NAME,VOLUME,T90[C],FBP[C]\nA,1,322,408\n", "2:9",
       "FBP of 'A' is 408 C, above the 400 C a D86 distillation "
       "reads (are these degrees F? write the unit in the header: FBP[F])"},
      {"{\"components\": [{\"name\": \"A\" \"VOLUME\": 1}]}", "1:30",
       "malformed JSON: syntax error while parsing object"},
      {"{\"components\": [{\"name\": \"\\u001b[2J\", \"VOLUME\": 1}]}", "1:26",
       "a string holds a control character (\\x1B[2J)"},
      {"{\"recipe\": []}", "1:2", "unknown key 'recipe'"},
      {"{\"components\": [1]}", "1:17", "a number is not expected here: each component is an object"},
      {"{\"components\": [{\"name\": \"A\", \"VOLUME\": {\"value\": 1}}]}", "1:41",
       "a property value is a number, text or null"},
      {"{\"components\": [{\"name\": \"A\", \"VOLUME\": 1, \"VOLUME\": 2}]}", "1:54",
       "the component gives VOLUME twice"},
      {"{\"components\": [{\"name\": \"A\", \"VOLUME\": 1}], \"units\": {\"T50\": \"C\"}}", "1:56",
       "the units must come before the components"},
      {"[1, 2]", "1:1", "a recipe in JSON is an object"},
      {"{\"components\": [{\"name\": \"A\", \"VOLUME[bbl]\": 1}, {\"name\": \"B\", \"volume\": 2}]}", "1:64",
       "'volume' gives VOLUME again (as 'VOLUME[bbl]' at recipe.csv:1:31 does): write it once, in one unit"},
  };
  for (const auto& [text, position, message] : cases) {
    Read r;
    parse(text, r);
    SCOPED_TRACE(text.substr(0, 60));
    EXPECT_EQ(r.status, TARNBLEND_ERROR_FILE);
    EXPECT_EQ(r.error.rfind("recipe.csv:" + position + ": ", 0), 0u) << r.error;
    EXPECT_NE(r.error.find(message), std::string::npos) << r.error;
    EXPECT_EQ(r.error.find('\n'), std::string::npos) << r.error;
    for (unsigned char c : r.error) EXPECT_TRUE(c >= 0x20 && c != 0x7F) << r.error;  // no raw bytes echoed
  }
  // The temperature unit of unlabelled columns comes from the caller.
  Read celsius;
  parse("NAME,VOLUME,T50\nA,1,90\n", celsius, 0, "C");
  ASSERT_EQ(celsius.status, TARNBLEND_OK) << celsius.error;
  const char* unit = nullptr;
  tarnblend_model_unit(celsius.model, "T50", &unit);
  EXPECT_STREQ(unit, "C");
}

}  // namespace
