#include "plot.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

namespace tarncli {
namespace {

constexpr double kWidth = 760, kHeight = 480;
constexpr double kLeft = 70, kRight = 200, kTop = 40, kBottom = 60;  // margins; legend on the right
const char* const kColours[] = {"#1f77b4", "#ff7f0e", "#2ca02c", "#d62728", "#9467bd",
                                "#8c564b", "#e377c2", "#7f7f7f", "#bcbd22", "#17becf"};

std::string fixed(double v) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%.1f", v);
  return buffer;
}

std::string escape(const std::string& text) {
  std::string out;
  for (char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
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

}  // namespace

std::string distillationPlot(const Report& report) {
  const double plotWidth = kWidth - kLeft - kRight, plotHeight = kHeight - kTop - kBottom;
  double low = 1e300, high = -1e300;
  for (const Curve& c : report.curves) {
    for (double t : c.points) {
      low = std::min(low, t);
      high = std::max(high, t);
    }
  }
  if (report.curves.empty()) low = 0, high = 100;
  if (high - low < 1.0) high = low + 1.0;
  const double step = tickStep(high - low);
  const double yMin = std::floor(low / step) * step, yMax = std::ceil(high / step) * step;
  const double xMin = report.percentGrid.front(), xMax = report.percentGrid.back();
  auto x = [&](double percent) { return kLeft + (percent - xMin) / (xMax - xMin) * plotWidth; };
  auto y = [&](double t) { return kTop + (yMax - t) / (yMax - yMin) * plotHeight; };

  std::string svg = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
  svg += "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + fixed(kWidth) + "\" height=\"" + fixed(kHeight) +
         "\" viewBox=\"0 0 " + fixed(kWidth) + " " + fixed(kHeight) +
         "\" font-family=\"sans-serif\" font-size=\"12\">\n";
  svg += "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
  svg += "<text x=\"" + fixed(kLeft + plotWidth / 2) + "\" y=\"22\" text-anchor=\"middle\" font-size=\"15\">" +
         escape("D86 distillation: " + report.source) + "</text>\n";

  // Grid, ticks and tick labels.
  svg += "<g stroke=\"#dddddd\">\n";
  for (double t = yMin; t <= yMax + step / 2; t += step) {
    svg += "<line x1=\"" + fixed(kLeft) + "\" y1=\"" + fixed(y(t)) + "\" x2=\"" + fixed(kLeft + plotWidth) +
           "\" y2=\"" + fixed(y(t)) + "\"/>\n";
  }
  for (double p = 0; p <= 100; p += 10) {
    if (p < xMin || p > xMax) continue;
    svg += "<line x1=\"" + fixed(x(p)) + "\" y1=\"" + fixed(kTop) + "\" x2=\"" + fixed(x(p)) + "\" y2=\"" +
           fixed(kTop + plotHeight) + "\"/>\n";
  }
  svg += "</g>\n<g text-anchor=\"end\">\n";
  for (double t = yMin; t <= yMax + step / 2; t += step) {
    char label[32];
    std::snprintf(label, sizeof label, "%g", t);
    svg += "<text x=\"" + fixed(kLeft - 6) + "\" y=\"" + fixed(y(t) + 4) + "\">" + label + "</text>\n";
  }
  svg += "</g>\n<g text-anchor=\"middle\">\n";
  for (double p = 0; p <= 100; p += 10) {
    if (p < xMin || p > xMax) continue;
    char label[32];
    std::snprintf(label, sizeof label, "%g", p);
    svg += "<text x=\"" + fixed(x(p)) + "\" y=\"" + fixed(kTop + plotHeight + 18) + "\">" + label + "</text>\n";
  }
  svg += "</g>\n";
  svg += "<rect x=\"" + fixed(kLeft) + "\" y=\"" + fixed(kTop) + "\" width=\"" + fixed(plotWidth) + "\" height=\"" +
         fixed(plotHeight) + "\" fill=\"none\" stroke=\"black\"/>\n";
  svg += "<text x=\"" + fixed(kLeft + plotWidth / 2) + "\" y=\"" + fixed(kHeight - 18) +
         "\" text-anchor=\"middle\">Volume percent evaporated</text>\n";
  svg += "<text transform=\"translate(18 " + fixed(kTop + plotHeight / 2) +
         ") rotate(-90)\" text-anchor=\"middle\">Temperature (\xC2\xB0" + report.temperatureUnit + ")</text>\n";

  // Curves and legend; the blend (last when present) is drawn black and thick.
  for (std::size_t i = 0; i < report.curves.size(); ++i) {
    const Curve& c = report.curves[i];
    const bool blend = c.isBlend;
    const std::string colour = blend ? "black" : kColours[i % (sizeof kColours / sizeof kColours[0])];
    const std::string width = blend ? "3" : "1.5";
    std::string points;
    for (std::size_t k = 0; k < c.points.size(); ++k) {
      points += (k ? " " : "") + fixed(x(report.percentGrid[k])) + "," + fixed(y(c.points[k]));
    }
    svg += "<polyline fill=\"none\" stroke=\"" + colour + "\" stroke-width=\"" + width + "\" points=\"" + points +
           "\"/>\n";
    const double legendY = kTop + 10 + 20.0 * static_cast<double>(i);
    const double legendX = kLeft + plotWidth + 16;
    svg += "<line x1=\"" + fixed(legendX) + "\" y1=\"" + fixed(legendY) + "\" x2=\"" + fixed(legendX + 24) +
           "\" y2=\"" + fixed(legendY) + "\" stroke=\"" + colour + "\" stroke-width=\"" + width + "\"/>\n";
    svg += "<text x=\"" + fixed(legendX + 30) + "\" y=\"" + fixed(legendY + 4) + "\"" +
           (blend ? " font-weight=\"bold\"" : "") + ">" + escape(c.name) + "</text>\n";
  }
  svg += "</svg>\n";
  return svg;
}

}  // namespace tarncli
