// Level lines and bands: what a variable looks like on a cut.
#pragma once

#include "Cut.h"

#include <functional>
#include <optional>
#include <utility>
#include <vector>

namespace flow {

// Values at the nodes of a net, row by row.
struct Samples {
  Net net;
  std::vector<double> values;
  double at(int column, int row) const
  {
    return values[static_cast<std::size_t>(row) * static_cast<std::size_t>(net.columns)
                  + static_cast<std::size_t>(column)];
  }
};

// Inside the body too, where Field goes on smoothly: what is painted there is covered by the body.
Samples sample(const Cut& cut, const std::function<double(Uv)>& value);
Samples sample(const Cut& cut, const Variable& variable);

// The borders of where the samples reach the level, each with the higher side on its left; closed along the
// edge of the net. One even-odd fill of them all paints the region.
std::vector<Polygon> regionAbove(const Samples& samples, double level);
// The same without what runs along the edge of the net; a line that ends where it began is closed.
std::vector<Polygon> linesAt(const Samples& samples, double level);

// Lowest and highest on the cut, without the body; none when the cut is empty.
std::optional<std::pair<double, double>> rangeOn(const Cut& cut, const Variable& variable);

}  // namespace flow
