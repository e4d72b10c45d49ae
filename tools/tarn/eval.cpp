// tarn eval: one evaluation by index from the command line, or one per row
// of a CSV file.
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <optional>

#include "catalogue.h"
#include "commands.h"
#include "errors.h"
#include "numbers.h"
#include "status.h"
#include "table.h"
#include "tarn/tarn.h"
#include "text/csv.h"
#include "text/labfile.h"

namespace tarncli {
namespace {

using Json = nlohmann::ordered_json;

// One evaluation through gfx_tarnGenCalc.
struct Evaluation {
  int status = 0;
  int produced = 0;                 // outputs really produced
  std::vector<double> outputs;      // catalogue count; missing where not computed
  std::vector<double> derivatives;  // derivative (input j, output k) at j * produced + k
  std::string reason;               // why the outputs were not computed ("" when they were)
};

// Inputs a correlation reads missing by itself, as the Python package has
// them: the emission models take a missing property as 0, a missing ethanol
// volume is a blend without ethanol, a missing 30 % or 70 % point of a full
// curve is estimated; the slack values at the end of a list, and the inputs
// past the count a count coefficient sets, are not read at all.
bool mayBeMissing(const Correlation& c, std::size_t input) {
  static const std::vector<std::pair<std::string, std::string>> kReadMissing = {{"CARB", "*"},
                                                                                {"CARB3", "*"},
                                                                                {"CARB3M", "*"},
                                                                                {"EPA", "*"},
                                                                                {"CARBOB", "VOLETOH"},
                                                                                {"CT10BLEND", "VOLETOH"},
                                                                                {"CT50BLEND", "VOLETOH"},
                                                                                {"CT90BLEND", "VOLETOH"},
                                                                                {"CD86ONE90BLEND", "VOLETOH"},
                                                                                {"CRVP", "VOLETOH"},
                                                                                {"CD86FROMPERCENTOFF", "VOLETOH"},
                                                                                {"D86TOPERCENTOFF", "T30"},
                                                                                {"D86TOPERCENTOFF", "T70"}};
  for (const auto& [id, name] : kReadMissing) {
    if (id == c.id && (name == "*" || name == c.inputs[input])) return true;
  }
  std::size_t read = c.inputs.size() - static_cast<std::size_t>(c.slackCount);
  const char* count = c.id == "ND86TOPERCENTOFF" ? "NTEMP" : c.id == "ND86FROMPERCENTOFF" ? "NPOFF" : nullptr;
  for (const Coefficient& co : c.coefficients) {
    if (count != nullptr && co.name == count) read = std::min(read, static_cast<std::size_t>(std::max(0.0, co.value)));
  }
  return input >= read;
}

// A result is a figure only when the library computed it from the inputs it
// needs: a missing input, a non-zero status, or an output that is the
// missing value (or derived from it: 2e29 from 1e30 arithmetic) or not
// finite leaves every output and derivative of the evaluation not computed,
// with the reason, and the status 1 when the library itself returned 0.
void judge(const Correlation& c, const std::vector<double>& inputs, Evaluation& e) {
  std::string missing;
  std::size_t count = 0;
  for (std::size_t j = 0; j < inputs.size(); ++j) {
    if (isMissing(inputs[j]) && !mayBeMissing(c, j)) {
      missing += (missing.empty() ? "" : ", ") + c.inputs[j];
      ++count;
    }
  }
  const auto produced = static_cast<std::size_t>(e.produced);
  bool undefined = false;
  for (std::size_t o = 0; o < produced; ++o) {
    undefined = undefined || !std::isfinite(e.outputs[o]) || std::fabs(e.outputs[o]) >= kUndefinedMagnitude;
  }
  if (!missing.empty()) {
    e.reason = (count == 1 ? "input " + missing + " is missing" : "inputs " + missing + " are missing");
  } else if (e.status != 0) {
    e.reason = "status " + std::to_string(e.status) + ": " + describeStatus(e.status);
  } else if (undefined) {
    e.reason = "the result is undefined for these inputs (the library returned its missing value)";
  } else {
    return;
  }
  if (e.status == 0) e.status = 1;
  std::fill(e.outputs.begin(), e.outputs.end(), kMissing);
  std::fill(e.derivatives.begin(), e.derivatives.end(), kMissing);
}

class Evaluator {
 public:
  Evaluator(const Correlation& c, bool derivatives)
      : correlation_(c),
        derivatives_(derivatives),
        inputs_(c.inputs.size()),
        // Some correlations write a few derivative entries whatever the
        // flag: every call gets room for at least eight.
        scratch_(std::max<std::size_t>(c.inputs.size() * c.outputs.size(), 8)) {
    const int actual = tarn_GetActualNumberOutput(c.index);
    produced_ =
        actual > 0 && actual <= static_cast<int>(c.outputs.size()) ? actual : static_cast<int>(c.outputs.size());
  }

  int produced() const { return produced_; }

  Evaluation operator()(const std::vector<double>& values) {
    Evaluation e;
    inputs_ = values;  // the library may write into its input array
    e.outputs.assign(correlation_.outputs.size(), kMissing);
    std::fill(scratch_.begin(), scratch_.end(), 0.0);
    e.status =
        gfx_tarnGenCalc(correlation_.index, derivatives_ ? 1 : 0, 0, inputs_.data(), e.outputs.data(), scratch_.data());
    e.produced = produced_;
    if (derivatives_) {
      e.derivatives.assign(scratch_.begin(),
                           scratch_.begin() + static_cast<long>(correlation_.inputs.size()) * produced_);
    }
    return e;
  }

 private:
  const Correlation& correlation_;
  bool derivatives_;
  std::vector<double> inputs_;
  std::vector<double> scratch_;
  int produced_ = 0;
};

std::string inputList(const Correlation& c) {
  std::string list;
  for (const std::string& name : c.inputs) list += (list.empty() ? "" : ", ") + name;
  return list;
}

double parseValue(const std::string& text, const std::string& what) {
  if (isMissingText(text)) return kMissing;
  const auto value = parseNumber(text);
  if (!value) throw InputError(what + " is not a number: '" + lab::printable(lab::trim(text)) + "'");
  return *value;
}

std::string unitLine(const Correlation& c) {
  const auto flag = c.unitFlag();
  if (!flag) return "";
  return std::string("temperatures in ") + (*flag != 0.0 ? "F" : "C") + " (coefficient CORF = " + exact(*flag) + ")";
}

// ---- One evaluation ------------------------------------------------------------

int evaluateOnce(const Correlation& c, const EvalOptions& options, Format format, std::ostream& out) {
  if (options.values.size() != c.inputs.size()) {
    throw InputError(c.id + " takes " + std::to_string(c.inputs.size()) + " inputs (" + inputList(c) + "), got " +
                     std::to_string(options.values.size()));
  }
  std::vector<double> values;
  for (std::size_t j = 0; j < c.inputs.size(); ++j) {
    values.push_back(parseValue(options.values[j], "input " + std::to_string(j + 1) + " (" + c.inputs[j] + ")"));
  }
  Evaluator evaluate(c, options.derivatives);
  Evaluation e = evaluate(values);
  judge(c, values, e);
  const auto k = static_cast<std::size_t>(e.produced);

  if (format == Format::Json) {
    Json j = {{"correlation", c.id}, {"index", c.index}, {"status", e.status}};
    if (e.status != 0) j["reason"] = e.reason;
    if (c.unitFlag()) j["temperature_unit"] = *c.unitFlag() != 0.0 ? "F" : "C";
    Json inputs = Json::object(), outputs = Json::object();
    for (std::size_t i = 0; i < c.inputs.size(); ++i) {
      inputs[c.inputs[i]] = isMissing(values[i]) ? Json(nullptr) : Json(values[i]);
    }
    for (std::size_t o = 0; o < k; ++o) {
      outputs[c.outputs[o]] = isMissing(e.outputs[o]) ? Json(nullptr) : Json(e.outputs[o]);
    }
    j["inputs"] = inputs;
    j["outputs"] = outputs;
    if (options.derivatives) {
      Json derivatives = Json::object();
      for (std::size_t i = 0; i < c.inputs.size(); ++i) {
        Json row = Json::object();
        for (std::size_t o = 0; o < k; ++o) {
          const double d = e.derivatives[i * k + o];
          row[c.outputs[o]] = isMissing(d) ? Json(nullptr) : Json(d);
        }
        derivatives[c.inputs[i]] = row;
      }
      j["derivatives"] = derivatives;
    }
    out << j.dump(2) << "\n";
  } else {
    out << c.id << " (index " << c.index << ")";
    if (!unitLine(c).empty()) out << ", " << unitLine(c);
    out << "\n\n";
    Table inputs({"Input", ">Value"});
    for (std::size_t i = 0; i < c.inputs.size(); ++i) inputs.add({c.inputs[i], significant(values[i])});
    out << inputs.render(2) << "\n";
    Table outputs({"Output", ">Value"});
    for (std::size_t o = 0; o < k; ++o) {
      outputs.add({c.outputs[o], isMissing(e.outputs[o]) ? "not computed" : significant(e.outputs[o])});
    }
    out << outputs.render(2);
    if (e.status != 0) out << "\n  Not computed: " << e.reason << "\n";
    if (options.derivatives && e.status == 0) {
      out << "\nDerivatives d(output)/d(input)\n";
      std::vector<std::string> headers = {"Input"};
      for (std::size_t o = 0; o < k; ++o) headers.push_back(">" + c.outputs[o]);
      Table table(headers);
      for (std::size_t i = 0; i < c.inputs.size(); ++i) {
        std::vector<std::string> row = {c.inputs[i]};
        for (std::size_t o = 0; o < k; ++o) row.push_back(significant(e.derivatives[i * k + o]));
        table.add(row);
      }
      out << table.render(2);
    }
  }
  if (e.status == 0) return 0;
  out.flush();
  std::cerr << "tarn: error: " << c.id << " not computed: " << e.reason << "\n";
  return kExitCalculationFailed;
}

// ---- One evaluation per CSV row -------------------------------------------------

class Progress {
 public:
  explicit Progress(std::size_t total) : total_(total), start_(std::chrono::steady_clock::now()) {
    enabled_ = isatty(STDERR_FILENO) != 0;
  }
  void update(std::size_t done) {
    if (!enabled_ || (done % 256 != 0 && done != total_)) return;
    const double elapsed = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
    if (!shown_ && elapsed < 0.5) return;  // only runs long enough to wait for
    shown_ = true;
    const int width = 30;
    const int filled = static_cast<int>(width * static_cast<double>(done) / static_cast<double>(total_));
    std::fprintf(stderr, "\r[%s%s] %zu/%zu rows", std::string(static_cast<std::size_t>(filled), '#').c_str(),
                 std::string(static_cast<std::size_t>(width - filled), ' ').c_str(), done, total_);
    std::fflush(stderr);
  }
  ~Progress() {
    if (shown_) std::fputc('\n', stderr);
  }

 private:
  std::size_t total_;
  std::chrono::steady_clock::time_point start_;
  bool enabled_ = false;
  bool shown_ = false;
};

void evaluateRows(const Correlation& c, const EvalOptions& options) {
  // Read as the blend library reads recipe files: UTF-8 checked, comma,
  // semicolon (decimal commas) or tab, every fault at its line and column.
  const std::string source = options.csvInput == "-" ? "standard input" : options.csvInput;
  std::optional<lab::Text> text;
  try {
    text.emplace(options.csvInput == "-" ? std::string(std::istreambuf_iterator<char>(std::cin), {})
                                         : lab::readFile(options.csvInput),
                 source);
  } catch (const lab::FileError& e) {
    throw InputError(e.what());
  }
  lab::CsvReader reader(*text);
  lab::Record header;
  auto next = [&](lab::Record& record) {
    try {
      return reader.next(record);
    } catch (const lab::FileError& e) {
      throw InputError(e.what());
    }
  };
  if (!next(header)) throw InputError(text->where(text->body().size()) + ": the file is empty");
  std::vector<std::string> names;
  for (const std::string& h : header.fields) names.emplace_back(lab::trim(h));

  // Each input by its property id, in any column and any case.
  std::vector<std::size_t> columns;
  for (const std::string& input : c.inputs) {
    std::size_t found = names.size();
    for (std::size_t i = 0; i < names.size(); ++i) {
      std::string a = names[i], b = input;
      for (char& ch : a) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
      for (char& ch : b) ch = static_cast<char>(std::toupper(static_cast<unsigned char>(ch)));
      if (a == b) found = i;
    }
    if (found == names.size()) {
      throw InputError(text->where(header.offset) + ": no column " + input + " (" + c.id + " takes " + inputList(c) +
                       ")");
    }
    columns.push_back(found);
  }

  // Read and check every row before computing any.
  std::vector<std::vector<std::string>> records;
  std::vector<std::vector<double>> rows;
  for (lab::Record record; next(record);) {
    if (record.fields.size() != names.size()) {
      throw InputError(text->where(record.offset) + ": expected " + std::to_string(names.size()) + " cells, found " +
                       std::to_string(record.fields.size()));
    }
    std::vector<double> values;
    for (std::size_t j = 0; j < columns.size(); ++j) {
      double value = kMissing;
      const std::string& cell = record.fields[columns[j]];
      switch (lab::readNumber(cell, reader.decimalComma(), value)) {
        case lab::NumberText::Value:
          break;
        case lab::NumberText::Missing:
          value = kMissing;
          break;
        default:
          throw InputError(text->where(record.offsets[columns[j]]) + ": " + c.inputs[j] + " is not a number: '" +
                           lab::printable(lab::trim(cell)) + "'");
      }
      values.push_back(value);
    }
    rows.push_back(values);
    records.push_back(record.fields);
  }

  std::ofstream outFile;
  std::ostream* out = &std::cout;
  if (!options.output.empty() && options.output != "-") {
    outFile.open(options.output);
    if (!outFile) throw InputError("cannot write '" + options.output + "'");
    out = &outFile;
  }
  Evaluator evaluate(c, options.derivatives);
  const auto k = static_cast<std::size_t>(evaluate.produced());
  std::vector<std::string> outputHeader = names;
  auto taken = [&](const std::string& name) { return std::find(names.begin(), names.end(), name) != names.end(); };
  // An output named like a column of the file gets ".out" appended.
  for (std::size_t o = 0; o < k; ++o)
    outputHeader.push_back(taken(c.outputs[o]) ? c.outputs[o] + ".out" : c.outputs[o]);
  outputHeader.push_back("status");
  outputHeader.push_back("reason");
  if (options.derivatives) {
    for (const std::string& input : c.inputs) {
      for (std::size_t o = 0; o < k; ++o) outputHeader.push_back("d(" + c.outputs[o] + ")/d(" + input + ")");
    }
  }
  *out << csv::line(outputHeader);

  std::size_t failed = 0;
  Progress progress(rows.size());
  for (std::size_t r = 0; r < rows.size(); ++r) {
    Evaluation e = evaluate(rows[r]);
    judge(c, rows[r], e);
    std::vector<std::string> cells = records[r];
    for (std::size_t o = 0; o < k; ++o) cells.push_back(exact(e.outputs[o]));
    cells.push_back(std::to_string(e.status));
    cells.push_back(e.reason);
    for (double d : e.derivatives) cells.push_back(exact(d));
    *out << csv::line(cells);
    failed += e.status != 0;
    progress.update(r + 1);
  }
  out->flush();
  if (!*out) throw InputError("cannot write '" + options.output + "'");
  if (failed > 0) {
    std::cerr << "tarn: note: " << failed << " of " << rows.size()
              << " rows were not computed (see the status and reason columns)\n";
  }
}

}  // namespace

int evalCommand(const EvalOptions& options, Format format, std::ostream& out) {
  const Correlation c = correlation(findCorrelation(options.correlation));
  if (!options.csvInput.empty()) {
    if (!options.values.empty()) throw InputError("give input values or --csv, not both");
    evaluateRows(c, options);
    return 0;
  }
  return evaluateOnce(c, options, format, out);
}

}  // namespace tarncli
