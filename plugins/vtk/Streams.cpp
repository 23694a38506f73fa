#include "Streams.h"

#include "platform/ORVError.h"
#include "Communicator.h"
#include "Pieces.h"
#include "Seams.h"
#include "StreamRounds.h"
#include "running.h"

#include <cmath>

namespace results {

Streams::Streams(const orv::KSLObject& object)
    : m_path(object.getPath()),
      m_variable(variableOf(object, "Variable")),
      m_option(text(object, "Option")),
      m_direction(text(object, "Way")),
      m_reach(number(object, "Reach", "m")),
      m_count(count(object, "Line Count", 100000))
{
  if (m_option == "Line") {
    m_from = point(object, "Point 1");
    m_to = point(object, "Point 2");
  } else if (m_option == "Sphere") {
    m_from = point(object, "Point");
    m_radius = number(object, "Radius", "m");
  }
}

orv::ResultKey Streams::keyFor(const Mesh& mesh, const Place* seeds) const
{
  orv::ResultKey key("followStreams");
  key.addAll(m_variable, m_option, m_direction, m_radius, m_reach, m_count);
  for (const Vec& end : {m_from, m_to})
    key.addAll(end[0], end[1], end[2]);
  return key.addAll(mesh.key, seeds ? seeds->key : orv::ResultKey());
}

namespace {

// Some of all points, evenly over their list, which is that of the pieces one behind the other.
std::vector<Vec> pointsSpreadOver(vtkDataSet& data, int count)
{
  const std::vector<vtkIdType> counts = ofAll("seeds", data.GetNumberOfPoints());
  vtkIdType before = 0;
  for (int i = 0; i < Communicator::instance().rank(); ++i)
    before += counts[static_cast<std::size_t>(i)];
  vtkIdType all = 0;
  for (const vtkIdType each : counts)
    all += each;
  std::vector<Vec> mine;
  for (vtkIdType i = 0; i < count && all > 0; ++i) {
    const vtkIdType id = (2 * i + 1) * all / (2 * count) - before;
    if (id < 0 || id >= data.GetNumberOfPoints())
      continue;
    Vec at;
    data.GetPoint(id, at.data());
    mine.push_back(at);
  }
  std::vector<Vec> points;
  for (const std::string& each : exchanged("seeds", bytesOf(mine))) {
    const std::vector<Vec> theirs = valuesOf<Vec>(each);
    points.insert(points.end(), theirs.begin(), theirs.end());
  }
  return points;
}

}  // namespace

std::vector<Vec> Streams::seedPoints(const Place* seeds) const
{
  std::vector<Vec> points;
  if (m_option == "Line") {
    for (int i = 0; i < m_count; ++i)
      points.push_back(m_from
                       + (m_count == 1 ? 0.5 : static_cast<double>(i) / (m_count - 1)) * (m_to - m_from));
  } else if (m_option == "Sphere") {
    constexpr double goldenAngle = 2.399963229728653;
    for (int i = 0; i < m_count; ++i) {  // evenly over the ball, layer by layer
      const double z = 1 - (2 * i + 1) / static_cast<double>(m_count);
      const double away = std::cbrt((i + 0.5) / m_count);
      const double r = std::sqrt(std::max(0.0, 1 - z * z));
      points.push_back(
          m_from + m_radius * away * Vec{r * std::cos(goldenAngle * i), r * std::sin(goldenAngle * i), z});
    }
  } else if (seeds) {
    points = pointsSpreadOver(*seeds->data, m_count);
  }
  return points;
}

Ptr<vtkPolyData> Streams::follow(const Mesh& mesh, const Place* seeds) const
{
  const Variable variable = findVariable(m_path, m_variable, *mesh.cells, mesh.units);
  if (variable.components() != 3 || !variable.onPoints)
    fail("findVariable", orv::_("Variable '%s' of %s is no vector.", m_variable, m_path));
  StreamSearch search;
  search.field = variable.field;
  const std::array<double, 6> box = boundsOfAll(*mesh.cells);
  search.reach = m_reach > 0 ? m_reach : 3 * length(Vec{box[1] - box[0], box[3] - box[2], box[5] - box[4]});
  search.isForward = m_direction != "Backward";
  search.isBackward = m_direction != "Forward";
  const Ptr<vtkPolyData> lines = traced(*mesh.cells, seedPoints(seeds), search);
  if (countPoints(*lines) == 0)
    fail("followStreams",
         orv::_("%s has no seed in the results, which extend over %s.", m_path, extentText(*mesh.cells)));
  return lines;
}

}  // namespace results
