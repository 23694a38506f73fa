// Colours, and palettes that turn values into them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace orv {
class KSLObject;
}

namespace flow {

struct Rgb {
  double red = 0;  // each from 0 to 1
  double green = 0;
  double blue = 0;
};

std::string toHex(Rgb colour);  // "#1a2b3c"
// "#1a2b3c", or a name such as "royal blue". Throws data::invalid, class "FlowLibrary", function
// "readColour", "Colour '%s' is not known.".
Rgb readColour(std::string_view text);
// Of a parameter with three numbers.
Rgb colourOf(const orv::KSLObject& object, const std::string& name);

struct Palette {
  std::vector<Rgb> steps;  // from the lowest value to the highest, one at least
  bool stepped = false;    // no blending between the steps
  Rgb at(double fraction) const;
};

// Of the PALETTE object's own parameters. Throws as readColour.
Palette makePalette(const orv::KSLObject& object);
void writePalette(orv::KSLObject& object, const Palette& palette);
// What a calculation left on the object; without one, or for null, the palette that everyone knows.
Palette readPalette(const orv::KSLObject* object);

}  // namespace flow
