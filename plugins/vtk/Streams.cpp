#include "Streams.h"

#include "platform/ORVError.h"
#include "running.h"

#include <cmath>
#include <vtkCellData.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkStreamTracer.h>

namespace results {

Streams::Streams(const orv::KSLObject& object)
    : m_path(object.getPath()),
      m_variable(text(object, "Variable")),
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
    const vtkIdType all = seeds->data->GetNumberOfPoints();
    for (vtkIdType i = 0; i < m_count && all > 0; ++i) {
      Vec at;
      seeds->data->GetPoint((2 * i + 1) * all / (2 * m_count), at.data());
      points.push_back(at);
    }
  }
  return points;
}

Ptr<vtkPolyData> Streams::follow(const Mesh& mesh, const Place* seeds) const
{
  const Variable variable = findVariable(m_path, m_variable, *mesh.cells, mesh.units);
  if (variable.components() != 3 || !variable.onPoints)
    fail("findVariable", orv::_("Variable '%s' of %s is no vector.", m_variable, m_path));
  const auto points = make<vtkPoints>();
  points->SetDataTypeToDouble();
  for (const Vec& seed : seedPoints(seeds))
    points->InsertNextPoint(seed.data());
  const auto start = make<vtkPolyData>();
  start->SetPoints(points);
  const auto tracer = make<vtkStreamTracer>();
  tracer->SetInputData(mesh.cells);
  tracer->SetSourceData(start);
  tracer->SetInputArrayToProcess(0, 0, 0, vtkDataObject::FIELD_ASSOCIATION_POINTS, variable.field.c_str());
  tracer->SetIntegratorTypeToRungeKutta45();
  tracer->SetMaximumPropagation(m_reach > 0 ? m_reach : 3 * mesh.cells->GetLength());
  tracer->SetMaximumNumberOfSteps(20000);
  tracer->SetComputeVorticity(false);
  tracer->SetIntegrationDirection(m_direction == "Forward"    ? vtkStreamTracer::FORWARD
                                  : m_direction == "Backward" ? vtkStreamTracer::BACKWARD
                                                              : vtkStreamTracer::BOTH);
  if (points->GetNumberOfPoints() > 0)
    run(*tracer, "followStreams");
  if (tracer->GetOutput()->GetNumberOfPoints() == 0)
    fail("followStreams",
         orv::_("%s has no seed in the results, which extend over %s.", m_path, extentText(*mesh.cells)));
  return tracer->GetOutput();
}

}  // namespace results
