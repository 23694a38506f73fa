// Values as colours.
#pragma once

#include "Data.h"
#include "Palette.h"
#include "Pieces.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace results {

inline constexpr const char* colourArray = "colour";

using ShowMaker = std::function<std::shared_ptr<Show>(const Place&)>;

// Keeps what is shown on the object's location; nothing without a place. The maker is given what `prepare` makes of that:
// of pieces, all of it at the first process.
void keepShow(orv::KSLObject& object, ShowMaker maker, std::vector<std::shared_ptr<const Field>> fields = {},
              std::function<Place(const Place&)> prepare = &gatheredPlace);
const Show* presentShow(const orv::KSLObject& object);  // null without

struct Colouring {
  std::string path;
  std::string variable;
  std::string label;
  std::string units;  // to show; empty: the variable's
  std::string mode;   // Global, Local, Fixed
  std::optional<orv::Quantity> low, high;
  Palette palette;
  int count = 256;
  bool isStepped = false;
};

// What an object's parameters say of its colours; `variable` is the parameter that names it.
Colouring colouringOf(const orv::KSLObject& object, const std::string& variable);
// A body with the variable's values, in the units to be shown, and the legend that explains them.
std::shared_ptr<Show> coloured(const Colouring& colouring, const Place& place, Ptr<vtkPolyData> body,
                               bool isLit);

}  // namespace results
