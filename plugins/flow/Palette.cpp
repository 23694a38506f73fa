#include "Palette.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "Values.h"

#include <algorithm>
#include <charconv>
#include <iterator>

namespace flow {

using orv::KSLObject;

namespace {

struct Named {
  std::string_view name;
  std::string_view hex;
};

constexpr Named colourNames[] = {
    {"black", "#000000"},       {"white", "#ffffff"},      {"grey", "#808080"},
    {"gray", "#808080"},        {"light grey", "#d3d3d3"}, {"dark grey", "#555555"},
    {"silver", "#c0c0c0"},      {"red", "#e6301f"},        {"dark red", "#8b0000"},
    {"orange", "#ff9f1c"},      {"gold", "#ffd700"},       {"yellow", "#ffee33"},
    {"pale yellow", "#fffbe0"}, {"green", "#2e9e4f"},      {"dark green", "#0b5d2a"},
    {"light green", "#a8e6a1"}, {"cyan", "#20c5d8"},       {"turquoise", "#40e0d0"},
    {"blue", "#1f4fe0"},        {"light blue", "#add8e6"}, {"sky blue", "#87ceeb"},
    {"royal blue", "#4169e1"},  {"dark blue", "#00008b"},  {"navy", "#0b1e5b"},
    {"purple", "#7b2d9b"},      {"violet", "#c77dff"},     {"magenta", "#e020c0"},
    {"pink", "#ffb6c1"},        {"brown", "#8b5a2b"},      {"beige", "#f5f0dc"},
};

struct Scheme {
  std::string_view name;
  std::vector<std::string_view> steps;
};

const std::vector<std::string_view>& schemeSteps(std::string_view name)
{
  static const Scheme schemes[] = {
      {"Spectrum",
       {"#34308f", "#2f6db5", "#45a7c4", "#86cfa5", "#d0ec9c", "#fbf5ae", "#fdcf7a", "#f79050", "#df4b45",
        "#9c1442"}},
      {"Heat", {"#1b0c2e", "#571a55", "#9c2a55", "#d94b40", "#f58735", "#fbc257", "#fcf2c0"}},
      {"Ocean", {"#081d43", "#0e4480", "#1f75ae", "#4ba8c4", "#97d3d3", "#e2f4ea"}},
      {"Grey", {"#202225", "#f2f3f4"}},
  };
  const auto found = std::find_if(std::begin(schemes), std::end(schemes),
                                  [name](const Scheme& scheme) { return scheme.name == name; });
  return (found != std::end(schemes) ? found : std::begin(schemes))->steps;
}

Rgb fromHex(std::string_view text)
{
  unsigned value = 0;
  const char* const end = text.data() + text.size();
  const bool hash = text.size() == 7 && text.front() == '#';
  if (!hash || std::from_chars(text.data() + 1, end, value, 16).ptr != end)
    throw orv::data::invalid("FlowLibrary", "readColour", orv::_("Colour '%s' is not known.", text));
  return {(value >> 16) / 255.0, (value >> 8 & 255) / 255.0, (value & 255) / 255.0};
}

Rgb mixed(Rgb a, Rgb b, double share)
{
  const auto mix = [share](double x, double y) { return x + share * (y - x); };
  return {mix(a.red, b.red), mix(a.green, b.green), mix(a.blue, b.blue)};
}

}  // namespace

std::string toHex(Rgb colour)
{
  constexpr const char* digits = "0123456789abcdef";
  std::string text = "#";
  for (const double part : {colour.red, colour.green, colour.blue}) {
    const auto value = static_cast<unsigned>(std::lround(std::clamp(part, 0.0, 1.0) * 255));
    text += digits[value / 16];
    text += digits[value % 16];
  }
  return text;
}

Rgb readColour(std::string_view text)
{
  const std::string name = orv::StringUtilities::toLower(orv::StringUtilities::simplifyWhitespace(text));
  const auto found = std::find_if(std::begin(colourNames), std::end(colourNames),
                                  [&name](const Named& known) { return known.name == name; });
  return fromHex(found != std::end(colourNames) ? found->hex : std::string_view(name));
}

Rgb colourOf(const KSLObject& object, const std::string& name)
{
  const Vec triplet = direction(object, name);
  return {triplet.x, triplet.y, triplet.z};
}

Rgb Palette::at(double fraction) const
{
  const double share = fraction > 0 ? std::min(fraction, 1.0) : 0;  // also for what is no number
  const std::size_t last = steps.size() - 1;
  if (stepped || last == 0)
    return steps[std::min(last, static_cast<std::size_t>(share * static_cast<double>(steps.size())))];
  const double place = share * static_cast<double>(last);
  const auto below = std::min(last - 1, static_cast<std::size_t>(place));
  return mixed(steps[below], steps[below + 1], place - static_cast<double>(below));
}

Palette makePalette(const KSLObject& object)
{
  Palette palette;
  palette.stepped = object.getValue("Blending") == "Stepped";
  if (object.getValue("Option") == "Steps") {
    for (const std::string& step : object.lookUpParam("Colour Steps")->splitValue())
      palette.steps.push_back(readColour(orv::StringUtilities::unquoted(step)));
  }
  if (palette.steps.empty()) {
    for (const std::string_view step : schemeSteps(object.getValue("Scheme")))
      palette.steps.push_back(readColour(step));
  }
  if (object.getBoolValue("Reversed"))
    std::reverse(palette.steps.begin(), palette.steps.end());
  return palette;
}

void writePalette(KSLObject& object, const Palette& palette)
{
  std::vector<std::string> texts{palette.stepped ? "stepped" : "smooth"};
  for (const Rgb step : palette.steps)
    texts.push_back(toHex(step));
  setResult(object, "Colour Table", orv::StringUtilities::vectorToString(texts, ", "));
}

Palette readPalette(const KSLObject* object)
{
  Palette palette;
  const orv::ParamDefinition* table = object ? object->lookUpParam("Colour Table") : nullptr;
  const std::vector<std::string> texts = table ? table->splitValue() : std::vector<std::string>();
  if (texts.size() < 2) {
    for (const std::string_view step : schemeSteps("Spectrum"))
      palette.steps.push_back(readColour(step));
    return palette;
  }
  palette.stepped = texts.front() == "stepped";
  for (std::size_t i = 1; i < texts.size(); ++i)
    palette.steps.push_back(readColour(texts[i]));
  return palette;
}

}  // namespace flow
