#include "Gradient.h"

#include "platform/ORVProgress.h"
#include "Pieces.h"
#include "Seams.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vtkCellType.h>
#include <vtkGenericCell.h>
#include <vtkIdList.h>
#include <vtkMath.h>
#include <vtkPolyData.h>

namespace results {

namespace {

constexpr std::size_t sidesAt = 6;  // after the six entries of the symmetric matrix

// The sums of least squares: of the pairs (offset, difference of each component), near ones counting more.
class Fit {
 public:
  explicit Fit(int components) : m_sums(sidesAt + 3 * static_cast<std::size_t>(components)) {}
  explicit Fit(std::vector<double> sums) : m_sums(std::move(sums)) {}

  void clear() { std::fill(m_sums.begin(), m_sums.end(), 0); }

  template <class Difference>
  void add(const Vec& offset, const Difference& difference)
  {
    const double distance = length(offset);
    if (distance == 0)
      return;
    const Vec along = (1 / distance) * offset;
    std::size_t entry = 0;
    for (std::size_t i = 0; i < 3; ++i)
      for (std::size_t k = i; k < 3; ++k)
        m_sums[entry++] += along.at(i) * along.at(k);
    for (std::size_t c = 0; sidesAt + 3 * c < m_sums.size(); ++c)
      for (std::size_t i = 0; i < 3; ++i)
        m_sums[sidesAt + 3 * c + i] += along.at(i) * (difference(static_cast<int>(c)) / distance);
  }

  const std::vector<double>& sums() const { return m_sums; }

  // Directions in which there is less than `least` of what there is in the best count as none.
  void solve(double least, double* gradient) const
  {
    const double* const m = m_sums.data();
    double matrix[3][3] = {{m[0], m[1], m[2]}, {m[1], m[3], m[4]}, {m[2], m[4], m[5]}};
    double found[3];
    double axes[3][3];  // in columns
    vtkMath::Diagonalize3x3(matrix, found, axes);
    const double most = std::max({found[0], found[1], found[2]});
    std::fill(gradient, gradient + (m_sums.size() - sidesAt), 0);
    for (std::size_t axis = 0; axis < 3; ++axis) {
      if (found[axis] <= least * most)
        continue;
      const Vec way{axes[0][axis], axes[1][axis], axes[2][axis]};
      for (std::size_t at = sidesAt; at < m_sums.size(); at += 3) {
        const double size = dot(way, {m[at], m[at + 1], m[at + 2]}) / found[axis];
        for (std::size_t i = 0; i < 3; ++i)
          gradient[at - sidesAt + i] += size * way.at(i);
      }
    }
  }

 private:
  std::vector<double> m_sums;
};

// A bent surface is no volume.
double leastOf(vtkDataSet& data)
{
  return vtkPolyData::SafeDownCast(&data) ? 0.1 : 1e-4;
}

Vec pointAt(vtkDataSet& data, vtkIdType id)
{
  Vec at;
  data.GetPoint(id, at.data());
  return at;
}

Ptr<vtkDoubleArray> derivativesFor(vtkIdType count, int components)
{
  auto result = make<vtkDoubleArray>();
  result->SetNumberOfComponents(3 * components);
  result->SetNumberOfTuples(count);
  return result;
}

constexpr vtkIdType betweenSteps = 4096;

// -------------------------------------------------------------------------------------------------------------- points

// Each cell compares all its points with each other. The means over the cells round a point, so that the seams can be
// mended as those of fields.
Ptr<vtkDoubleArray> sumsAtPoints(vtkDataSet& data, vtkDoubleArray& values)
{
  const int count = values.GetNumberOfComponents();
  auto sums = make<vtkDoubleArray>();
  Fit fit(count);
  const auto width = static_cast<int>(fit.sums().size());
  sums->SetNumberOfComponents(width);
  sums->SetNumberOfTuples(data.GetNumberOfPoints());
  sums->Fill(0);
  std::vector<double> shares(static_cast<std::size_t>(data.GetNumberOfPoints()));
  const auto ids = make<vtkIdList>();
  std::vector<Vec> corners;
  for (vtkIdType cell = 0; cell < data.GetNumberOfCells(); ++cell) {
    if (cell % betweenSteps == 0)
      orv::Progress::step();
    data.GetCellPoints(cell, ids);
    corners.clear();
    for (const vtkIdType id : *ids)
      corners.push_back(pointAt(data, id));
    for (std::size_t i = 0; i < corners.size(); ++i) {
      const vtkIdType own = ids->GetId(static_cast<vtkIdType>(i));
      fit.clear();
      for (std::size_t k = 0; k < corners.size(); ++k) {
        const vtkIdType other = ids->GetId(static_cast<vtkIdType>(k));
        fit.add(corners[k] - corners[i],
                [&](int c) { return values.GetTypedComponent(other, c) - values.GetTypedComponent(own, c); });
      }
      for (int c = 0; c < width; ++c)
        sums->SetTypedComponent(own, c,
                                sums->GetTypedComponent(own, c) + fit.sums()[static_cast<std::size_t>(c)]);
      shares[static_cast<std::size_t>(own)] += 1;
    }
  }
  for (vtkIdType point = 0; point < data.GetNumberOfPoints(); ++point)
    for (int c = 0; c < width; ++c)
      sums->SetTypedComponent(
          point, c,
          sums->GetTypedComponent(point, c) / std::max(1.0, shares[static_cast<std::size_t>(point)]));
  return sums;
}

Ptr<vtkDoubleArray> gradientOnPoints(vtkDataSet& data, vtkDoubleArray& values)
{
  const Ptr<vtkDoubleArray> sums = sumsAtPoints(data, values);
  mendSeams(data, {sums});
  auto result = derivativesFor(data.GetNumberOfPoints(), values.GetNumberOfComponents());
  const auto width = static_cast<std::size_t>(sums->GetNumberOfComponents());
  std::vector<double> tuple(width);
  for (vtkIdType point = 0; point < data.GetNumberOfPoints(); ++point) {
    sums->GetTypedTuple(point, tuple.data());
    Fit(tuple).solve(leastOf(data), result->GetPointer(point * result->GetNumberOfComponents()));
  }
  return result;
}

// --------------------------------------------------------------------------------------------------------------- cells

Vec meanOf(vtkPoints& points)
{
  Vec sum{};
  for (vtkIdType i = 0; i < points.GetNumberOfPoints(); ++i) {
    Vec at;
    points.GetPoint(i, at.data());
    sum = sum + at;
  }
  return (1 / static_cast<double>(std::max<vtkIdType>(1, points.GetNumberOfPoints()))) * sum;
}

// Of its volume: of the tetrahedra between a point inside and the triangles of the faces.
Vec centreOfPolyhedron(vtkCell& cell)
{
  const Vec inside = meanOf(*cell.GetPoints());
  Vec sum{};
  double volume = 0;
  for (int face = 0; face < cell.GetNumberOfFaces(); ++face) {
    vtkPoints& corners = *cell.GetFace(face)->GetPoints();
    const Vec middle = meanOf(corners);
    Vec before;
    corners.GetPoint(corners.GetNumberOfPoints() - 1, before.data());
    for (vtkIdType i = 0; i < corners.GetNumberOfPoints(); ++i) {
      Vec at;
      corners.GetPoint(i, at.data());
      const double size = std::abs(dot(cross(before - middle, at - middle), inside - middle));
      volume += size;
      sum = sum + (size / 4) * (before + at + middle + inside);
      before = at;
    }
  }
  return volume > 0 ? (1 / volume) * sum : inside;
}

// Solvers keep the values of these points. Of bricks, prisms and tetrahedra it is the mean of the corners.
std::vector<Vec> centresOf(vtkDataSet& data)
{
  std::vector<Vec> centres;
  centres.reserve(static_cast<std::size_t>(data.GetNumberOfCells()));
  const auto cell = make<vtkGenericCell>();
  const auto ids = make<vtkIdList>();
  for (vtkIdType i = 0; i < data.GetNumberOfCells(); ++i) {
    if (i % betweenSteps == 0)
      orv::Progress::step();
    const int type = data.GetCellType(i);
    if (type == VTK_POLYHEDRON || type == VTK_PYRAMID) {
      data.GetCell(i, cell);
      centres.push_back(centreOfPolyhedron(*cell));
      continue;
    }
    data.GetCellPoints(i, ids);
    Vec sum{};
    for (const vtkIdType id : *ids)
      sum = sum + pointAt(data, id);
    centres.push_back((1 / static_cast<double>(std::max<vtkIdType>(1, ids->GetNumberOfIds()))) * sum);
  }
  return centres;
}

Ptr<vtkDoubleArray> gradientOnCells(vtkDataSet& data, vtkDoubleArray& values)
{
  const int count = values.GetNumberOfComponents();
  const std::vector<Vec> centres = centresOf(data);
  const CellsOfOthers others = cellsOfOthers(data, centres, values);
  auto result = derivativesFor(data.GetNumberOfCells(), count);
  const auto points = make<vtkIdList>();
  const auto touching = make<vtkIdList>();
  Fit fit(count);
  for (vtkIdType cell = 0; cell < data.GetNumberOfCells(); ++cell) {
    if (cell % betweenSteps == 0)
      orv::Progress::step();
    fit.clear();
    const Vec& centre = centres[static_cast<std::size_t>(cell)];
    data.GetCellPoints(cell, points);
    for (const vtkIdType point : *points) {  // those behind a face count for each of its points
      data.GetPointCells(point, touching);
      for (const vtkIdType other : *touching)
        fit.add(centres[static_cast<std::size_t>(other)] - centre, [&](int c) {
          return values.GetTypedComponent(other, c) - values.GetTypedComponent(cell, c);
        });
      const auto beyond = others.find(point);
      for (std::size_t i = 0; beyond != others.end() && i < beyond->second.size(); ++i)
        fit.add(beyond->second[i].centre - centre, [&](int c) {
          return beyond->second[i].values[static_cast<std::size_t>(c)] - values.GetTypedComponent(cell, c);
        });
    }
    fit.solve(leastOf(data), result->GetPointer(cell * result->GetNumberOfComponents()));
  }
  return result;
}

}  // namespace

Ptr<vtkDoubleArray> gradientOf(vtkDataSet& data, vtkDoubleArray& values, bool onCells)
{
  return onCells ? gradientOnCells(data, values) : gradientOnPoints(data, values);
}

}  // namespace results
