#include "Palette.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "Values.h"
#include "plugins/common/Colours.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace flow {

using orv::KSLObject;

namespace {

const std::vector<std::string_view>& schemeSteps(std::string_view name)
{
  const colours::Scheme* const scheme = colours::findScheme(name);
  return (scheme ? *scheme : colours::schemes().front()).steps;
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
  const std::optional<unsigned> value = colours::find(name);
  if (!value)
    throw orv::data::invalid("FlowLibrary", "readColour", orv::_("Colour '%s' is not known.", name));
  return {(*value >> 16) / 255.0, (*value >> 8 & 255) / 255.0, (*value & 255) / 255.0};
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
