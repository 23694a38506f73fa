#include "Surface.h"

namespace flow {

int Surface::triangles() const
{
  std::size_t pieces = 0;
  for (const Polygon& line : lines)
    pieces += line.size() - 1;
  return static_cast<int>(2 * pieces);
}

double Surface::area() const
{
  double around = 0;
  for (const Polygon& line : lines) {
    for (std::size_t i = 0; i + 1 < line.size(); ++i)
      around += distance(line[i], line[i + 1]);
  }
  return around * (upper - lower);
}

std::vector<Polygon> piecesWhere(const std::vector<Polygon>& lines, const std::function<bool(Uv)>& test)
{
  std::vector<Polygon> pieces;
  for (const Polygon& line : lines) {
    Polygon piece;
    for (std::size_t i = 0; i + 1 < line.size(); ++i) {
      if (test(between(line[i], line[i + 1], 0.5))) {
        if (piece.empty())
          piece.push_back(line[i]);
        piece.push_back(line[i + 1]);
      } else if (!piece.empty()) {
        pieces.push_back(std::move(piece));
        piece.clear();
      }
    }
    if (!piece.empty())
      pieces.push_back(std::move(piece));
  }
  return pieces;
}

Surface makeSurface(const Field& field, const Variable& variable, double level)
{
  const Cut across{{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}},
                   {{field.lower.x, field.lower.y},
                    {field.upper.x, field.lower.y},
                    {field.upper.x, field.upper.y},
                    {field.lower.x, field.upper.y}},
                   field};
  const std::vector<Polygon> lines = linesAt(sample(across, variable), level);
  return {piecesWhere(lines, [&across](Uv at) { return across.clearance(at) >= 0; }), field.lower.z,
          field.upper.z};
}

}  // namespace flow
