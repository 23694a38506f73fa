#include "Arrows.h"

#include <algorithm>

namespace flow {

std::vector<Arrow> arrowsOn(const Cut& cut, double spacing)
{
  constexpr double most = 100;  // along a side
  std::vector<Arrow> arrows;
  const Net net = netOver(cut.outline);
  const double wide = net.width * (net.columns - 1);
  const double tall = net.height * (net.rows - 1);
  const double step = std::max(spacing, std::max(wide, tall) / most);
  if (!(step > 0))
    return arrows;
  // Half a step aside, so that no row ends in a stagnation point.
  const auto first = [step](double low) { return (std::ceil(low / step - 0.5) + 0.5) * step; };
  for (double v = first(net.corner.v); v < net.corner.v + tall; v += step) {
    for (double u = first(net.corner.u); u < net.corner.u + wide; u += step) {
      const Vec at = cut.plane.at({u, v});
      if (cut.contains({u, v}))
        arrows.push_back({at, cut.field.velocity(at)});
    }
  }
  return arrows;
}

}  // namespace flow
