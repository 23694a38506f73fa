// The colours that all calculate libraries know.
#pragma once

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

namespace colours {

struct Named {
  std::string_view name;
  std::string_view hex;
};

inline constexpr Named colourNames[] = {
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
  std::vector<std::string_view> steps;  // from the lowest value to the highest
};

// Viridis, Cividis and Magma grow lighter evenly, for every eye; Cool Warm has its middle at a neutral grey.
inline const std::vector<Scheme>& schemes()
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

inline const Scheme* findScheme(std::string_view name)
{
  const auto found = std::find_if(schemes().begin(), schemes().end(),
                                  [name](const Scheme& scheme) { return scheme.name == name; });
  return found == schemes().end() ? nullptr : &*found;
}

// Red, green and blue, one byte each, of "#1a2b3c" or a name in small letters.
inline std::optional<unsigned> find(std::string_view text)
{
  const auto* const found = std::find_if(std::begin(colourNames), std::end(colourNames),
                                         [text](const Named& known) { return known.name == text; });
  const std::string_view hex = found != std::end(colourNames) ? found->hex : text;
  unsigned value = 0;
  const char* const end = hex.data() + hex.size();
  if (hex.size() != 7 || hex.front() != '#' || std::from_chars(hex.data() + 1, end, value, 16).ptr != end)
    return std::nullopt;
  return value;
}

}  // namespace colours
