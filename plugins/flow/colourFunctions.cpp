#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVUtilities.h"
#include "Arrows.h"
#include "Levels.h"
#include "Palette.h"
#include "Values.h"
#include "functions.h"

#include <algorithm>

namespace flow {

using orv::KSLObject;

namespace {

// What an object is painted on; none without a location or without results there.
std::optional<Cut> locationOf(const KSLObject& object)
{
  const KSLObject* location = source(object, "geometry");
  if (location && !location->typeIs("CUT"))
    throw orv::data::invalid(
        "FlowLibrary", "locationOf",
        orv::_("'%s' can only be painted on cuts, and '%s' is none.", object.getPath(), location->getPath()));
  return location ? readCut(*location) : std::nullopt;
}

std::pair<double, double> colourRange(const KSLObject& band, const Cut& cut, const Variable& variable)
{
  const std::string& mode = band.getValue("Range Mode");
  if (mode == "Fixed")
    return {number(band, "Min", variable.units), number(band, "Max", variable.units)};
  return mode == "Local" ? rangeOn(cut, variable).value_or(std::pair(0.0, 0.0)) : cut.field.range(variable);
}

void setRange(KSLObject& object, const std::optional<std::pair<double, double>>& range, const char* units)
{
  if (range) {
    setResult(object, "Minimum", range->first, units);
    setResult(object, "Maximum", range->second, units);
  } else {
    setResult(object, "Minimum", "");
    setResult(object, "Maximum", "");
  }
}

}  // namespace

void mixPalette(KSLObject& palette)
{
  writePalette(palette, makePalette(palette));
}

void paintBands(KSLObject& band)
{
  const std::optional<Cut> cut = locationOf(band);
  std::vector<double> levels;
  std::vector<std::string> colours;
  if (cut) {
    const Variable& variable = findVariable(band.getValue("Variable"));
    setRange(band, rangeOn(*cut, variable), variable.units);
    const auto [low, high] = colourRange(band, *cut, variable);
    const Palette palette = readPalette(source(band, "PALETTE"));
    const int bands = high > low ? count(band, "Band Count", 200) : 1;
    for (int i = 0; i <= bands; ++i)
      levels.push_back(low + (high - low) * i / bands);
    for (int i = 0; i < bands; ++i)
      colours.push_back(toHex(palette.at(bands > 1 ? i / (bands - 1.0) : 0.5)));
  } else {
    setRange(band, std::nullopt, "");
  }
  setResult(band, "Levels", levels);
  setResult(band, "Band Colours", orv::StringUtilities::vectorToString(colours, ", "));
}

void placeArrows(KSLObject& arrow)
{
  const std::optional<Cut> cut = locationOf(arrow);
  if (!cut) {
    setResult(arrow, "Arrow Scale", "");
    return setResult(arrow, "Arrow Count", "");
  }
  // Where the flow is undisturbed, arrows nearly reach each other.
  constexpr double reach = 0.8;
  const double spacing = number(arrow, "Spacing", "m");
  const double speed = std::abs(cut->field.speed);
  const double scale = speed > 0 ? reach * spacing * number(arrow, "Length Factor", "") / speed : 0;
  setResult(arrow, "Arrow Scale", scale, "s");
  setResult(arrow, "Arrow Count", static_cast<double>(arrowsOn(*cut, spacing).size()));
}

void followStreams(KSLObject& streamlines)
{
  const std::optional<Cut> cut = locationOf(streamlines);
  const auto range = cut ? rangeOn(*cut, findVariable("Stream Function")) : std::nullopt;
  std::vector<double> levels;
  if (range) {
    const int lines = count(streamlines, "Line Count", 200);
    for (int i = 0; i < lines; ++i)
      levels.push_back(range->first + (range->second - range->first) * (i + 0.5) / lines);
  }
  setResult(streamlines, "Levels", levels);
}

}  // namespace flow
