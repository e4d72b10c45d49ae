#include "plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "numbers.h"
#include "tarn/blend.h"

namespace tarncli {
namespace {

constexpr double kWidth = 900, kLeft = 70, kRight = 330, kTop = 40, kBottom = 60, kRow = 20;
constexpr double kPlotHeight = 380;
const char* const kColours[] = {"#1f77b4", "#ff7f0e", "#2ca02c", "#9467bd", "#8c564b",
                                "#e377c2", "#7f7f7f", "#bcbd22", "#17becf", "#aec7e8"};
const char* const kLimitColour = "#d62728";
const char* const kCurveKeys[] = {"IBP", "T10", "T30", "T50", "T70", "T90", "FBP"};

std::string fixed(double v) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.1f", v);
  return buffer;
}

std::string shortText(double v) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%g", v);
  return buffer;
}

std::string escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

// A tick step of 1, 2 or 5 times a power of ten giving about six ticks.
double tickStep(double span) {
  const double raw = span / 6.0;
  const double power = std::pow(10.0, std::floor(std::log10(raw)));
  for (double m : {1.0, 2.0, 5.0}) {
    if (m * power >= raw) return m * power;
  }
  return 10.0 * power;
}

// A grade limit as the plot draws it: a temperature limit at a percent
// evaporated (T10 max at 10 %), or a window of percent evaporated at a
// temperature (E70 between 22 and 50 % at 70 C).
struct Mark {
  bool window = false;
  double percent = 0.0;                    // temperature limits: where
  double temperature = 0.0;                // temperature limits: the limit; windows: where
  double low = kMissing, high = kMissing;  // windows: the percentages (missing when open)
  std::string label;
};

// The percent evaporated a temperature key stands for (T95 at 95, FBP at the
// grid's last point), or a negative number for a key that is no D86 point.
double percentOf(const std::string& key, const std::array<double, 7>& grid) {
  for (std::size_t k = 0; k < 7; ++k) {
    if (key == kCurveKeys[k]) return grid[k];
  }
  return key == "T95" ? 95.0 : -1.0;
}

// The temperature a recovery key is read at, in the report's unit: E70 at
// 70 C, E200 and E300 (the EPA's) at 200 and 300 F; kMissing for other keys.
double temperatureOf(const std::string& key, const std::string& unit) {
  if (key.size() < 2 || key[0] != 'E' || key.find_first_not_of("0123456789", 1) != std::string::npos) return kMissing;
  const double degrees = std::stod(key.substr(1));
  const char* from = key == "E200" || key == "E300" ? "F" : "C";
  double converted = kMissing;
  if (tarnblend_unit_convert(degrees, from, unit.c_str(), &converted) != TARNBLEND_OK) return kMissing;
  return converted;
}

std::vector<Mark> gradeMarks(const Report& report) {
  std::vector<Mark> marks;
  if (!report.checked) return marks;
  const std::string le = " \xE2\x89\xA4 ", ge = " \xE2\x89\xA5 ";  // less / greater than or equal
  for (const LimitCheck& limit : report.check.limits) {
    const double percent = percentOf(limit.key, report.percentGrid);
    if (percent >= 0.0) {
      for (const auto& [value, sign] : {std::pair{limit.maximum, le}, {limit.minimum, ge}}) {
        if (isMissing(value)) continue;
        Mark m;
        m.percent = percent;
        m.temperature = value;
        m.label = limit.key + sign + shortText(value);
        marks.push_back(m);
      }
      continue;
    }
    const double temperature = temperatureOf(limit.key, report.temperatureUnit);
    if (isMissing(temperature)) continue;
    Mark m;
    m.window = true;
    m.temperature = temperature;
    m.low = limit.minimum;
    m.high = limit.maximum;
    m.label = limit.key +
              (isMissing(m.low)    ? le + shortText(m.high)
               : isMissing(m.high) ? ge + shortText(m.low)
                                   : " " + shortText(m.low) + "\xE2\x80\x93" + shortText(m.high)) +
              " %";
    marks.push_back(m);
  }
  return marks;
}

}  // namespace

std::string distillationPlot(const Report& report) {
  const std::vector<Mark> marks = gradeMarks(report);
  const std::size_t legendRows = report.curves.size() + (marks.empty() ? 0 : 1);
  const double plotWidth = kWidth - kLeft - kRight, plotHeight = kPlotHeight;
  const double height = std::max(kTop + plotHeight + kBottom, kTop + 10 + kRow * static_cast<double>(legendRows) + 20);

  double low = 1e300, high = -1e300;
  for (const Curve& c : report.curves) {
    for (double t : c.points) {
      if (isMissing(t)) continue;
      low = std::min(low, t);
      high = std::max(high, t);
    }
  }
  for (const Mark& m : marks) {
    low = std::min(low, m.temperature);
    high = std::max(high, m.temperature);
  }
  if (low > high) low = 0, high = 100;
  if (high - low < 1.0) high = low + 1.0;
  const double step = tickStep(high - low);
  const double yMin = std::floor(low / step) * step, yMax = std::ceil(high / step) * step;
  const double xMin = report.percentGrid.front(), xMax = report.percentGrid.back();
  auto x = [&](double percent) { return kLeft + (percent - xMin) / (xMax - xMin) * plotWidth; };
  auto y = [&](double t) { return kTop + (yMax - t) / (yMax - yMin) * plotHeight; };
  auto line = [](double x1, double y1, double x2, double y2, const std::string& style) {
    return "<line x1=\"" + fixed(x1) + "\" y1=\"" + fixed(y1) + "\" x2=\"" + fixed(x2) + "\" y2=\"" + fixed(y2) +
           "\" " + style + "/>\n";
  };
  auto text = [](double x1, double y1, const std::string& content, const std::string& style = "") {
    return "<text x=\"" + fixed(x1) + "\" y=\"" + fixed(y1) + "\"" + (style.empty() ? "" : " " + style) + ">" +
           escape(content) + "</text>\n";
  };

  std::string title = "D86 distillation: " + report.source;
  if (report.checked) {
    title +=
        ", grade " + report.check.grade + (report.check.gradeClass.empty() ? "" : " class " + report.check.gradeClass);
  }
  std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  svg += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + fixed(kWidth) + "\" height=\"" + fixed(height) +
         "\" viewBox=\"0 0 " + fixed(kWidth) + " " + fixed(height) +
         "\" font-family=\"sans-serif\" font-size=\"12\">\n";
  svg += "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
  svg += text(kLeft + plotWidth / 2, 22, title, "text-anchor=\"middle\" font-size=\"15\"");

  // Grid, ticks and tick labels.
  svg += "<g stroke=\"#dddddd\">\n";
  for (double t = yMin; t <= yMax + step / 2; t += step) svg += line(kLeft, y(t), kLeft + plotWidth, y(t), "");
  for (double p = 0; p <= 100; p += 10) {
    if (p >= xMin && p <= xMax) svg += line(x(p), kTop, x(p), kTop + plotHeight, "");
  }
  svg += "</g>\n<g text-anchor=\"end\">\n";
  for (double t = yMin; t <= yMax + step / 2; t += step) svg += text(kLeft - 6, y(t) + 4, shortText(t));
  svg += "</g>\n<g text-anchor=\"middle\">\n";
  for (double p = 0; p <= 100; p += 10) {
    if (p >= xMin && p <= xMax) svg += text(x(p), kTop + plotHeight + 18, shortText(p));
  }
  svg += "</g>\n";
  svg += "<rect x=\"" + fixed(kLeft) + "\" y=\"" + fixed(kTop) + "\" width=\"" + fixed(plotWidth) + "\" height=\"" +
         fixed(plotHeight) + "\" fill=\"none\" stroke=\"black\"/>\n";
  svg += text(kLeft + plotWidth / 2, kTop + plotHeight + 42, "Volume percent evaporated", "text-anchor=\"middle\"");
  svg += "<text transform=\"translate(18 " + fixed(kTop + plotHeight / 2) +
         ") rotate(-90)\" text-anchor=\"middle\">Temperature (\xC2\xB0" + escape(report.temperatureUnit) + ")</text>\n";

  // The grade: a temperature limit is a bar across its percent evaporated, a
  // recovery window a bar across its percentages at its temperature.
  if (!marks.empty()) {
    const std::string style = "stroke=\"" + std::string(kLimitColour) + "\" stroke-width=\"2.5\"";
    svg += "<g class=\"grade\" fill=\"" + std::string(kLimitColour) + "\" font-size=\"10\">\n";
    for (const Mark& m : marks) {
      if (m.window) {
        const double from = x(isMissing(m.low) ? xMin : m.low), to = x(isMissing(m.high) ? xMax : m.high);
        const double at = y(m.temperature);
        svg += line(from, at, to, at, style);
        if (!isMissing(m.low)) svg += line(from, at - 5, from, at + 5, style);
        if (!isMissing(m.high)) svg += line(to, at - 5, to, at + 5, style);
        svg += text(from + 4, at - 5, m.label);
      } else {
        const double at = x(m.percent), level = y(m.temperature);
        svg += line(std::max(kLeft, at - 12), level, std::min(kLeft + plotWidth, at + 12), level, style);
        svg += text(at + 4, level - 5, m.label, m.percent > 90 ? "text-anchor=\"end\"" : "");
      }
    }
    svg += "</g>\n";
  }

  // Curves, point markers and legend; a segment to or from an estimated
  // point is dashed and the estimated point hollow; the blend is black and thick.
  const double legendX = kLeft + plotWidth + 16;
  for (std::size_t i = 0; i < report.curves.size(); ++i) {
    const Curve& c = report.curves[i];
    const std::string colour = c.isBlend ? "black" : kColours[i % (sizeof kColours / sizeof kColours[0])];
    const std::string width = c.isBlend ? "3" : "1.5";
    const double radius = c.isBlend ? 4 : 3;
    bool anyEstimated = false;
    svg += "<g stroke=\"" + colour + "\" stroke-width=\"" + width + "\">\n";
    for (std::size_t k = 0; k + 1 < c.points.size(); ++k) {
      std::size_t next = k + 1;
      while (next < c.points.size() && isMissing(c.points[next])) ++next;
      if (isMissing(c.points[k]) || next == c.points.size()) continue;
      const bool dashed = c.estimated[k] || c.estimated[next];
      svg += line(x(report.percentGrid[k]), y(c.points[k]), x(report.percentGrid[next]), y(c.points[next]),
                  dashed ? "stroke-dasharray=\"5 4\"" : "");
    }
    for (std::size_t k = 0; k < c.points.size(); ++k) {
      if (isMissing(c.points[k])) continue;
      anyEstimated = anyEstimated || c.estimated[k];
      svg += "<circle cx=\"" + fixed(x(report.percentGrid[k])) + "\" cy=\"" + fixed(y(c.points[k])) + "\" r=\"" +
             fixed(radius) + "\" fill=\"" + (c.estimated[k] ? "white" : colour) + "\"/>\n";
    }
    svg += "</g>\n";
    const double legendY = kTop + 10 + kRow * static_cast<double>(i);
    svg += line(
        legendX, legendY, legendX + 24, legendY,
        "stroke=\"" + colour + "\" stroke-width=\"" + width + "\"" + (anyEstimated ? " stroke-dasharray=\"5 4\"" : ""));
    char share[32];
    std::snprintf(share, sizeof share, " %.1f %%", c.volumePercent);
    const std::string label = c.isBlend ? c.name : c.name + share + (anyEstimated ? " (T30/T70 estimated)" : "");
    svg += text(legendX + 30, legendY + 4, label, c.isBlend ? "font-weight=\"bold\"" : "");
  }
  if (!marks.empty()) {
    const double legendY = kTop + 10 + kRow * static_cast<double>(report.curves.size());
    svg += line(legendX, legendY, legendX + 24, legendY,
                "stroke=\"" + std::string(kLimitColour) + "\" stroke-width=\"2.5\"");
    svg +=
        text(legendX + 30, legendY + 4,
             report.check.grade + (report.check.gradeClass.empty() ? "" : " " + report.check.gradeClass) + " limits");
  }
  svg += "</svg>\n";
  return svg;
}

}  // namespace tarncli
