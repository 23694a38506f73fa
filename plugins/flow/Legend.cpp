// What explains a picture.
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "Drawing.h"
#include "Field.h"
#include "Palette.h"
#include "Values.h"

#include <algorithm>
#include <array>

namespace flow {

using orv::KSLObject;

namespace {

constexpr const char* ink = "#1b222b";
constexpr const char* panel = "#ffffff";

// As people write it: "m/s" for "m s^-1".
std::string unitsText(const std::string& units)
{
  if (units == "m s^-1")
    return "m/s";
  return units == "m^2 s^-1" ? "m\xc2\xb2/s" : units;
}

// A width that no usual typeface exceeds much.
double textWidth(std::string_view text, double size)
{
  const auto isStart = [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; };
  return 0.56 * size * static_cast<double>(std::count_if(text.begin(), text.end(), isStart));
}

// A minus sign, not a hyphen.
std::string typeset(const std::string& number)
{
  return number.starts_with('-') ? "\xe2\x88\x92" + number.substr(1) : number;
}

// Name and units, a word on each of three lines at most. Returns where what they explain begins.
Pixel drawHeading(const Variable& variable, Pixel at, Svg& svg)
{
  const std::string name = variable.name;
  const std::size_t blank = std::min(name.find(' '), name.size());
  svg.text(at, name.substr(0, blank), 13, ink, Align::start, "none", true);
  if (blank < name.size())
    svg.text({at.x, at.y += 16}, name.substr(blank + 1), 13, ink, Align::start, "none", true);
  if (*variable.units)
    svg.text({at.x, at.y += 16}, "in " + unitsText(variable.units), 12, "#55606d");
  return {at.x, at.y + 16};
}

}  // namespace

void drawLabel(const KSLObject& probe, const Canvas& canvas)
{
  const std::vector<double> position = result(probe, "Positions");
  const std::vector<double> values = result(probe, "Results");
  if (position.size() != 3 || values.empty())
    return;
  constexpr double size = 13;
  const Variable& variable = findVariable(
      std::string(orv::StringUtilities::unquoted(probe.lookUpParam("Variable List")->splitValue().front())));
  const std::string name = labelOf(probe);
  std::string value = typeset(readableNumber(values.front(), 4));
  if (*variable.units)
    value += ' ' + unitsText(variable.units);
  const Pixel at = canvas.camera.at({position[0], position[1], position[2]});
  const double width = std::max(textWidth(name, size), textWidth(value, size)) + 16;
  const double height = 2 * size + 14;
  // Away from the middle of the picture, and inside it.
  const double side = at.x < canvas.camera.width() / 2.0 ? -1 : 1;
  const double up = at.y > canvas.camera.height() / 2.0 + 1 ? 1 : -1;
  const double left = std::clamp(at.x + side * 36 - (side < 0 ? width : 0), 6.0,
                                 std::max(6.0, canvas.camera.width() - width - 6));
  const double top = std::clamp(at.y + up * 34 - (up < 0 ? height : 0), 6.0,
                                std::max(6.0, canvas.camera.height() - height - 6));
  const Pixel knee{side < 0 ? left + width : left, top + height / 2};
  canvas.svg.lines({{at, knee}}, {"none", ink, 1.2});
  canvas.svg.circle(at, 4, {panel, ink, 1.6});
  canvas.svg.rectangle({left, top}, width, height, {panel, ink, 0.8, 0.92}, 5);
  canvas.svg.text({left + 8, top + size + 4}, name, size, ink);
  canvas.svg.text({left + 8, top + 2 * size + 7}, value, size, ink, Align::start, "none", true);
}

void drawColourBar(const KSLObject& band, const Canvas& canvas, int place)
{
  const std::vector<double> levels = result(band, "Levels");
  const std::vector<std::string> colours = band.lookUpParam("Band Colours")->splitValue();
  if (colours.empty() || levels.size() != colours.size() + 1)
    return;
  const Variable& variable = findVariable(band.getValue("Variable"));
  constexpr double width = 118;
  constexpr double barWidth = 20;
  const double barHeight = 0.6 * canvas.camera.height();
  const Pixel corner{canvas.camera.width() - (place + 1) * (width + 12),
                     (canvas.camera.height() - barHeight) / 2 - 42};
  canvas.svg.rectangle(corner, width, barHeight + 84, {panel, "#aab2bd", 0.8, 0.92}, 6);
  const Pixel top = drawHeading(variable, {corner.x + 12, corner.y + 20}, canvas.svg);
  const double step = barHeight / static_cast<double>(colours.size());
  for (std::size_t i = 0; i < colours.size(); ++i) {
    const double y = top.y + barHeight - static_cast<double>(i + 1) * step;
    canvas.svg.rectangle({top.x, y}, barWidth, step, {colours[i], colours[i], 0.4});
  }
  canvas.svg.rectangle(top, barWidth, barHeight, {"none", ink, 0.8});
  // Every level where there is room for it, always the lowest and evenly on.
  const auto stride = static_cast<std::size_t>(std::ceil(17 / step));
  for (std::size_t i = 0; i < levels.size(); i += std::max<std::size_t>(stride, 1)) {
    const double y = top.y + barHeight - static_cast<double>(i) * step;
    const bool isNothing = std::abs(levels[i]) < 1e-9 * (levels.back() - levels.front());  // a rounding
    canvas.svg.lines({{{top.x + barWidth, y}, {top.x + barWidth + 4, y}}}, {"none", ink, 0.8});
    canvas.svg.text({top.x + barWidth + 9, y + 4}, typeset(readableNumber(isNothing ? 0 : levels[i])), 12,
                    ink);
  }
}

void drawCaption(const KSLObject& caption, const Canvas& canvas)
{
  const std::vector<float> place = caption.getFloatArray("Position");
  const std::string_view text = orv::StringUtilities::unquoted(caption.getValue("Text"));
  if (place.size() != 2 || text.empty())
    return;
  const Pixel at{place[0] * canvas.camera.width(), (1 - place[1]) * canvas.camera.height()};
  canvas.svg.text(at, text, number(caption, "Text Height", ""), toHex(colourOf(caption, "Colour")),
                  Align::middle, "#ffffff", true);
}

void drawScaleBar(const Canvas& canvas)
{
  if (!canvas.camera.isParallel())
    return;
  constexpr std::array<double, 8> lengths{0.01, 0.02, 0.05, 0.1, 0.2, 0.5, 1, 2};
  double metres = lengths.front();
  for (const double longer : lengths) {
    if (longer * canvas.camera.scale() < 0.2 * canvas.camera.width())
      metres = longer;
  }
  const double width = metres * canvas.camera.scale();
  const Pixel left{18, canvas.camera.height() - 18.0};
  const Path bar{{left.x, left.y - 5}, left, {left.x + width, left.y}, {left.x + width, left.y - 5}};
  canvas.svg.lines({bar}, {"none", panel, 4.5, 0.85});
  canvas.svg.lines({bar}, {"none", ink, 1.5});
  canvas.svg.text({left.x + width / 2, left.y - 7}, readableNumber(metres) + " m", 12, ink, Align::middle,
                  "#ffffff");
}

}  // namespace flow
