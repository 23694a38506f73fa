// Colours, and palettes that turn values into them.
#pragma once

#include "Data.h"

#include <string>
#include <vector>
#include <vtkLookupTable.h>

namespace results {

using Rgb = Vec;  // red, green and blue, each from 0 to 1

// "#1a2b3c", or a name such as "royal blue". Throws data::invalid, "Colour '%s' is not known.".
Rgb readColour(const std::string& text);
Rgb colourOf(const orv::KSLObject& object, const std::string& name);  // of a parameter with three numbers

struct Palette {
  std::vector<Rgb> steps;  // from the lowest value to the highest, one at least
  bool isStepped = false;  // no blending between the steps
  Rgb at(double fraction) const;
};

// Of the PALETTE object's own parameters.
Palette makePalette(const orv::KSLObject& object);
// The one that a parameter names: a PALETTE, or a scheme by its name.
Palette paletteOf(const orv::KSLObject& object, const std::string& param);
// With so many colours.
Ptr<vtkLookupTable> tableOf(const Palette& palette, int count, double low, double high);

}  // namespace results
