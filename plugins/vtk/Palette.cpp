#include "Palette.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "functions.h"
#include "running.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>

namespace results {

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

// Viridis, Cividis and Magma grow lighter evenly, for every eye; Cool Warm has its middle at a neutral grey.
const std::vector<Scheme>& schemes()
{
  static const std::vector<Scheme> all{
      {"Spectrum",
       {"#34308f", "#2f6db5", "#45a7c4", "#86cfa5", "#d0ec9c", "#fbf5ae", "#fdcf7a", "#f79050", "#df4b45",
        "#9c1442"}},
      {"Heat", {"#1b0c2e", "#571a55", "#9c2a55", "#d94b40", "#f58735", "#fbc257", "#fcf2c0"}},
      {"Ocean", {"#081d43", "#0e4480", "#1f75ae", "#4ba8c4", "#97d3d3", "#e2f4ea"}},
      {"Grey", {"#202225", "#f2f3f4"}},
      {"Viridis",
       {"#440154", "#482878", "#3e4989", "#31688e", "#26828e", "#1f9e89", "#35b779", "#6ece58", "#b5de2b",
        "#fde725"}},
      {"Cividis",
       {"#00224e", "#123570", "#3b496c", "#575d6d", "#707173", "#8a8678", "#a59c74", "#c3b369", "#e1cc55",
        "#fee838"}},
      {"Magma",
       {"#000004", "#180f3d", "#440f76", "#721f81", "#9e2f7f", "#cd4071", "#f1605d", "#fd9668", "#feca8d",
        "#fcfdbf"}},
      {"Cool Warm",
       {"#3b4cc0", "#6788ee", "#9abbff", "#c9d7f0", "#dddcdc", "#f7c4ae", "#f59c7d", "#de604d", "#b40426"}},
  };
  return all;
}

const Scheme* findScheme(std::string_view name)
{
  const auto found = std::find_if(schemes().begin(), schemes().end(),
                                  [name](const Scheme& scheme) { return scheme.name == name; });
  return found == schemes().end() ? nullptr : &*found;
}

void addSteps(Palette& palette, const Scheme& scheme)
{
  for (const std::string_view step : scheme.steps)
    palette.steps.push_back(readColour(std::string(step)));
}

}  // namespace

Rgb readColour(const std::string& text)
{
  const std::string name = orv::StringUtilities::toLower(orv::StringUtilities::simplifyWhitespace(text));
  const auto found = std::find_if(std::begin(colourNames), std::end(colourNames),
                                  [&name](const Named& known) { return known.name == name; });
  const std::string hex(found != std::end(colourNames) ? found->hex : std::string_view(name));
  unsigned value = 0;
  const char* const end = hex.data() + hex.size();
  if (hex.size() != 7 || hex.front() != '#' || std::from_chars(hex.data() + 1, end, value, 16).ptr != end)
    fail("readColour", orv::_("Colour '%s' is not known.", text));
  return {(value >> 16) / 255.0, (value >> 8 & 255) / 255.0, (value & 255) / 255.0};
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
    addSteps(palette, *findScheme(text(object, "Scheme")));
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
  const Scheme* const scheme = findScheme(name);
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
