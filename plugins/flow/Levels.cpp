#include "Levels.h"

#include <algorithm>
#include <limits>

namespace flow {

namespace {

// Walks the squares of a net that has a ring of nodes more than the samples, all of them below every level
// and in the places of their neighbours: every border is closed then. A border crosses an edge of a square
// from one node to the next; edges have numbers, and a border is a ring of them.
class Tracer {
 public:
  Tracer(const Samples& samples, double level)
      : m_samples(samples),
        m_level(level),
        m_columns(samples.net.columns + 2),
        m_rows(samples.net.rows + 2),
        m_next(2 * static_cast<std::size_t>(m_columns) * static_cast<std::size_t>(m_rows), none)
  {
    for (int row = 0; row + 1 < m_rows; ++row) {
      for (int column = 0; column + 1 < m_columns; ++column)
        joinEdges(column, row);
    }
  }

  // Takes the next ring of edges; empty when there are no more.
  std::vector<std::size_t> takeRing()
  {
    while (m_at < m_next.size() && m_next[m_at] == none)
      ++m_at;
    std::vector<std::size_t> ring;
    for (std::size_t edge = m_at; edge < m_next.size() && m_next[edge] != none;) {
      ring.push_back(edge);
      edge = std::exchange(m_next[edge], none);
    }
    return ring;
  }

  // True for an edge to the ring of nodes that are not there.
  bool isRim(std::size_t edge) const
  {
    const auto [a, b] = nodesOf(edge);
    return !isSampled(a) || !isSampled(b);
  }

  Uv crossing(std::size_t edge) const
  {
    const auto [a, b] = nodesOf(edge);
    if (!isSampled(a) || !isSampled(b))
      return place(isSampled(a) ? a : b);
    const double va = value(a);
    const double vb = value(b);
    return between(place(a), place(b), va != vb ? (m_level - va) / (vb - va) : 0.5);
  }

 private:
  struct Node {
    int column;
    int row;
  };
  static constexpr std::size_t none = static_cast<std::size_t>(-1);

  bool isSampled(Node node) const
  {
    return node.column > 0 && node.row > 0 && node.column + 1 < m_columns && node.row + 1 < m_rows;
  }
  double value(Node node) const
  {
    return isSampled(node) ? m_samples.at(node.column - 1, node.row - 1)
                           : -std::numeric_limits<double>::infinity();
  }
  Uv place(Node node) const
  {
    return m_samples.net.node(std::clamp(node.column - 1, 0, m_samples.net.columns - 1),
                              std::clamp(node.row - 1, 0, m_samples.net.rows - 1));
  }
  // Even numbers go along a row, odd ones along a column, from the node onward.
  std::size_t number(Node from, bool upward) const
  {
    return 2
               * (static_cast<std::size_t>(from.row) * static_cast<std::size_t>(m_columns)
                  + static_cast<std::size_t>(from.column))
           + (upward ? 1 : 0);
  }
  std::pair<Node, Node> nodesOf(std::size_t edge) const
  {
    const auto columns = static_cast<std::size_t>(m_columns);
    const Node from{static_cast<int>(edge / 2 % columns), static_cast<int>(edge / 2 / columns)};
    return edge % 2 ? std::pair(from, Node{from.column, from.row + 1})
                    : std::pair(from, Node{from.column + 1, from.row});
  }

  // Going round the square, each edge that leaves the region begins a piece of border, which ends on an edge
  // that comes back in. When two corners that face each other are in, the middle decides which.
  void joinEdges(int column, int row)
  {
    const Node corners[4] = {{column, row}, {column + 1, row}, {column + 1, row + 1}, {column, row + 1}};
    const std::size_t edges[4] = {number(corners[0], false), number(corners[1], true),
                                  number(corners[3], false), number(corners[0], true)};
    bool in[4];
    double sum = 0;
    for (int i = 0; i < 4; ++i) {
      const double here = value(corners[i]);
      in[i] = here >= m_level;
      sum += here;
    }
    const int step = sum / 4 >= m_level ? 1 : 3;  // 3 is one back
    for (int i = 0; i < 4; ++i) {
      if (!in[i] || in[(i + 1) % 4])
        continue;
      int back = (i + step) % 4;
      while (in[back] || !in[(back + 1) % 4])
        back = (back + step) % 4;
      m_next[edges[i]] = edges[back];
    }
  }

  const Samples& m_samples;
  double m_level;
  int m_columns;
  int m_rows;
  std::vector<std::size_t> m_next;  // of a piece of border that begins at the edge
  std::size_t m_at = 0;
};

}  // namespace

Samples sample(const Cut& cut, const std::function<double(Uv)>& value)
{
  Samples samples{netOver(cut.outline), {}};
  const Net& net = samples.net;
  samples.values.reserve(static_cast<std::size_t>(net.columns) * static_cast<std::size_t>(net.rows));
  for (int row = 0; row < net.rows; ++row) {
    for (int column = 0; column < net.columns; ++column)
      samples.values.push_back(value(net.node(column, row)));
  }
  return samples;
}

Samples sample(const Cut& cut, const Variable& variable)
{
  return sample(cut, [&](Uv at) { return cut.field.value(variable, cut.plane.at(at)); });
}

std::vector<Polygon> regionAbove(const Samples& samples, double level)
{
  std::vector<Polygon> region;
  Tracer tracer(samples, level);
  for (auto ring = tracer.takeRing(); !ring.empty(); ring = tracer.takeRing()) {
    Polygon border;
    border.reserve(ring.size());
    for (const std::size_t edge : ring)
      border.push_back(tracer.crossing(edge));
    region.push_back(std::move(border));
  }
  return region;
}

std::vector<Polygon> linesAt(const Samples& samples, double level)
{
  std::vector<Polygon> lines;
  Tracer tracer(samples, level);
  for (auto ring = tracer.takeRing(); !ring.empty(); ring = tracer.takeRing()) {
    const auto isRim = [&tracer](std::size_t edge) { return tracer.isRim(edge); };
    const auto rim = std::find_if(ring.begin(), ring.end(), isRim);
    if (rim == ring.end())
      ring.push_back(ring.front());
    else
      std::rotate(ring.begin(), rim, ring.end());
    Polygon line;
    const auto finish = [&] {
      if (line.size() > 1)
        lines.push_back(line);
      line.clear();
    };
    for (const std::size_t edge : ring) {
      if (isRim(edge))
        finish();
      else
        line.push_back(tracer.crossing(edge));
    }
    finish();
  }
  return lines;
}

std::optional<std::pair<double, double>> rangeOn(const Cut& cut, const Variable& variable)
{
  const Net net = netOver(cut.outline);
  std::optional<std::pair<double, double>> range;
  const auto take = [&](Uv at) {
    const double here = cut.field.value(variable, cut.plane.at(at));
    range = range ? std::pair(std::min(range->first, here), std::max(range->second, here))
                  : std::pair(here, here);
  };
  for (int row = 0; row < net.rows; ++row) {
    for (int column = 0; column < net.columns; ++column) {
      if (cut.contains(net.node(column, row)))
        take(net.node(column, row));
    }
  }
  // The extremes are on the body's surface, between the nodes.
  const Samples clearance = sample(cut, [&cut](Uv at) { return cut.clearance(at); });
  for (const Polygon& line : linesAt(clearance, 0)) {
    for (const Uv at : line)
      take(at);
  }
  return range;
}

}  // namespace flow
