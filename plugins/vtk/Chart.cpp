#include "Chart.h"

#include "platform/ORVError.h"
#include "Scene.h"
#include "running.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <set>

namespace results {

namespace {

const std::array<Rgb, 8>& lineColours()
{
  static const std::array<Rgb, 8> all{readColour("#1f6fb4"), readColour("#d1495b"), readColour("#2e9e4f"),
                                      readColour("#ef8a17"), readColour("#6b4fa0"), readColour("#20a4b8"),
                                      readColour("#8b5a2b"), readColour("#555555")};
  return all;
}

std::string titled(const std::string& name, const std::string& units)
{
  const std::string shown = typesetUnits(unitsToShow(units));
  return shown.empty() ? name : name + " in " + shown;
}

// What a line goes over: time where there is one, else the way along it; in the table of a file, else its first column.
const Column& acrossOf(const orv::KSLObject& chart, const Numbers& numbers)
{
  const std::string wanted = text(chart, "Across");
  const Column* found = wanted.empty() ? nullptr : numbers.find(wanted);
  for (const char* usual : {"Time", "Distance"})
    found = found || !wanted.empty() ? found : numbers.find(usual);
  if (!found && wanted.empty() && numbers.isOfFile)
    found = &numbers.columns.front();
  if (!found)
    fail("drawChart", orv::_("%s has no column '%s' to draw a line over.", numbers.objectPath,
                             wanted.empty() ? "Distance" : wanted));
  return *found;
}

}  // namespace

// Round numbers that hold what is between.
void Chart::Axis::span(double from, double to)
{
  if (!(to > from)) {
    const double room = from == 0 ? 1 : std::abs(from) * 0.1;
    from -= room;
    to += room;
  }
  step = roundStep(to - from, 6);
  low = step * std::floor(from / step + 1e-9);
  high = step * std::ceil(to / step - 1e-9);
}

Chart::Chart(const orv::KSLObject& object, const std::vector<std::shared_ptr<const Numbers>>& all)
    : m_title(text(object, "Title"))
{
  const std::vector<int> size = object.getIntArray("Picture Size");
  if (size.size() != 2 || size[0] < 100 || size[1] < 100 || size[0] > 16384 || size[1] > 16384)
    fail("drawChart",
         orv::_("The picture size of %s is not two numbers from 100 to 16384.", object.getPath()));
  m_width = size[0];
  m_height = size[1];
  const std::vector<std::string> wanted = items(object, "Variable List");
  const std::set<std::string> places{"Distance", "Time", "X", "Y", "Z"};
  for (const auto& numbers : all) {
    const Column& across = acrossOf(object, *numbers);
    m_across.title = titled(across.name, across.units);
    for (const Column& column : numbers->columns) {
      const bool isWanted = wanted.empty()
                                ? !places.contains(column.name) && &column != &across
                                : std::find(wanted.begin(), wanted.end(), column.name) != wanted.end();
      if (isWanted)
        addLine(*numbers, across, column, all.size() == 1);
    }
  }
  if (m_lines.empty())
    fail("drawChart", orv::_("%s has no columns to draw.", object.getPath()));
  nameUp();
  Pixel low = m_lines.front().points.front();
  Pixel high = low;
  for (const Line& line : m_lines) {
    for (const Pixel& point : line.points) {
      low = {std::min(low.x, point.x), std::min(low.y, point.y)};
      high = {std::max(high.x, point.x), std::max(high.y, point.y)};
    }
  }
  m_across.span(low.x, high.x);
  m_up.span(low.y, high.y);
}

void Chart::addLine(const Numbers& numbers, const Column& across, const Column& up, bool isAlone)
{
  Line line{isAlone ? up.name : numbers.title + ": " + up.name, up.name, up.units, {}};
  for (std::size_t i = 0; i < numbers.rows(); ++i) {
    if (std::isfinite(across.values[i]) && std::isfinite(up.values[i]))
      line.points.push_back({across.values[i], up.values[i]});
  }
  if (!line.points.empty())
    m_lines.push_back(std::move(line));
}

// The axis has the units that all lines have; else each line tells its own.
void Chart::nameUp()
{
  const auto areAll = [this](std::string Line::*part) {
    return std::all_of(m_lines.begin(), m_lines.end(),
                       [&](const Line& line) { return line.*part == m_lines.front().*part; });
  };
  const Line& first = m_lines.front();
  if (areAll(&Line::units)) {
    m_up.title =
        areAll(&Line::name) ? titled(first.name, first.units) : typesetUnits(unitsToShow(first.units));
    return;
  }
  for (Line& line : m_lines)
    line.label = titled(line.label, line.units);
}

void Chart::drawAxes(Canvas& canvas, Pixel low, Pixel high) const
{
  const double s = canvas.scale();
  const auto steps = [](const Axis& axis) { return std::lround((axis.high - axis.low) / axis.step); };
  for (long i = 0; i <= steps(m_across); ++i) {
    const double x = low.x + (high.x - low.x) * static_cast<double>(i) / static_cast<double>(steps(m_across));
    canvas.lines({{x, low.y}, {x, high.y}}, {0.9, 0.91, 0.93}, 1);
    canvas.text({x, low.y - 16 * s},
                typesetNumber(m_across.low + static_cast<double>(i) * m_across.step, m_across.step), 13, ink,
                {.align = Align::middle});
  }
  for (long i = 0; i <= steps(m_up); ++i) {
    const double y = low.y + (high.y - low.y) * static_cast<double>(i) / static_cast<double>(steps(m_up));
    canvas.lines({{low.x, y}, {high.x, y}}, {0.9, 0.91, 0.93}, 1);
    canvas.text({low.x - 8 * s, y}, typesetNumber(m_up.low + static_cast<double>(i) * m_up.step, m_up.step),
                13, ink, {.align = Align::end});
  }
  canvas.frame(low, high, ink, 1);
  canvas.text({(low.x + high.x) / 2, low.y - 42 * s}, m_across.title, 14, ink, {.align = Align::middle});
  canvas.text({low.x - 68 * s, (low.y + high.y) / 2}, m_up.title, 14, ink,
              {.align = Align::middle, .isUpward = true});
  canvas.text({(low.x + high.x) / 2, high.y + 22 * s}, m_title, 17, ink,
              {.align = Align::middle, .isBold = true});
}

void Chart::draw(Canvas& canvas) const
{
  const double s = canvas.scale();
  const Pixel low{90 * s, 62 * s};
  const Pixel high{m_width - 24 * s, m_height - (m_title.empty() ? 20 : 46) * s};
  canvas.box({0, 0}, {static_cast<double>(m_width), static_cast<double>(m_height)}, paper);
  drawAxes(canvas, low, high);
  double widest = 0;
  for (std::size_t i = 0; i < m_lines.size(); ++i) {
    std::vector<Pixel> points;
    for (const Pixel& point : m_lines[i].points)
      points.push_back({low.x + (high.x - low.x) * (point.x - m_across.low) / (m_across.high - m_across.low),
                        low.y + (high.y - low.y) * (point.y - m_up.low) / (m_up.high - m_up.low)});
    canvas.lines(points, lineColours().at(i % lineColours().size()), 2);
    widest = std::max(widest, Canvas::widthOf(m_lines[i].label, 13) * s);
  }
  if (m_lines.size() < 2)
    return;
  const Pixel corner{high.x - widest - 62 * s,
                     high.y - (20.0 * static_cast<double>(m_lines.size()) + 18) * s};
  canvas.box(corner, {high.x - 10 * s, high.y - 10 * s}, paper, 0.9);
  canvas.frame(corner, {high.x - 10 * s, high.y - 10 * s}, edge, 1);
  for (std::size_t i = 0; i < m_lines.size(); ++i) {
    const double y = high.y - (24 + 20.0 * static_cast<double>(i)) * s;
    canvas.lines({{corner.x + 10 * s, y}, {corner.x + 34 * s, y}}, lineColours().at(i % lineColours().size()),
                 2.5);
    canvas.text({corner.x + 42 * s, y}, m_lines[i].label, 13, ink);
  }
}

std::string Chart::asSvg() const
{
  SvgSheet sheet(m_width, m_height);
  draw(sheet);
  return sheet.finish();
}

std::string Chart::asPng() const
{
  return paintFlat(m_width, m_height, [this](vtkRenderer& renderer) {
    Sheet sheet(renderer, 1);
    draw(sheet);
  });
}

}  // namespace results
