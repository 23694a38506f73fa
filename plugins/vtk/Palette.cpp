#include "Palette.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "functions.h"
#include "plugins/common/Colours.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <optional>

namespace results {

using orv::KSLObject;

namespace {

void addSteps(Palette& palette, const colours::Scheme& scheme)
{
  for (const std::string_view step : scheme.steps)
    palette.steps.push_back(readColour(std::string(step)));
}

}  // namespace

Rgb readColour(const std::string& text)
{
  const std::string name = orv::StringUtilities::toLower(orv::StringUtilities::simplifyWhitespace(text));
  const std::optional<unsigned> value = colours::find(name);
  if (!value)
    fail("readColour", orv::_("Colour '%s' is not known.", text));
  return {(*value >> 16) / 255.0, (*value >> 8 & 255) / 255.0, (*value & 255) / 255.0};
}

Rgb colourOf(const KSLObject& object, const std::string& name)
{
  const auto read = object.getPointValue(name, "");
  return {read.x, read.y, read.z};
}

Rgb Palette::at(double fraction) const
{
  const double share = fraction > 0 ? std::min(fraction, 1.0) : 0;  // also for what is no number
  const std::size_t last = steps.size() - 1;
  if (isStepped || last == 0)
    return steps[std::min(last, static_cast<std::size_t>(share * static_cast<double>(steps.size())))];
  const double place = share * static_cast<double>(last);
  const auto below = std::min(last - 1, static_cast<std::size_t>(place));
  const double part = place - static_cast<double>(below);
  return (1 - part) * steps[below] + part * steps[below + 1];
}

Palette makePalette(const KSLObject& object)
{
  Palette palette;
  palette.isStepped = text(object, "Blending") == "Stepped";
  if (text(object, "Option") == "Steps") {
    for (const std::string& step : items(object, "Colour Steps"))
      palette.steps.push_back(readColour(step));
  }
  if (palette.steps.empty())
    addSteps(palette, *colours::findScheme(text(object, "Scheme")));
  if (isOn(object, "Reversed"))
    std::reverse(palette.steps.begin(), palette.steps.end());
  return palette;
}

void mixPalette(KSLObject& object)
{
  const auto palette = std::make_shared<const Palette>(makePalette(object));
  keep<Palette>(object, "Colour", [palette](const Request&) { return palette; });
}

Palette paletteOf(const KSLObject& object, const std::string& param)
{
  if (const auto* kept = keptBy<Palette>(namedOne(object, param), "Colour"))
    return *kept->now;
  const std::string name = text(object, param);
  const colours::Scheme* const scheme = colours::findScheme(name);
  if (!scheme)
    fail("paletteOf",
         orv::_(
             "'%s' of %s is no palette: there are the schemes Spectrum, Heat, Ocean, Grey, Viridis, Cividis, "
             "Magma and Cool Warm, and objects of the type PALETTE.",
             name, object.getPath()));
  Palette palette;
  addSteps(palette, *scheme);
  return palette;
}

Ptr<vtkLookupTable> tableOf(const Palette& palette, int count, double low, double high)
{
  const auto table = make<vtkLookupTable>();
  table->SetNumberOfTableValues(count);
  table->SetTableRange(low, high > low ? high : low + std::max(1e-12, 1e-6 * std::abs(low)));
  for (int i = 0; i < count; ++i) {
    const Rgb colour = palette.at(count == 1 ? 0.5 : static_cast<double>(i) / (count - 1));
    table->SetTableValue(i, colour[0], colour[1], colour[2]);
  }
  return table;
}

}  // namespace results
