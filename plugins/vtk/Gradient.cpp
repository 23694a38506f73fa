#include "Gradient.h"

#include "platform/ORVProgress.h"
#include "Communicator.h"
#include "Pieces.h"
#include "Seams.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <functional>
#include <future>
#include <thread>
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

  void clear() { std::fill(m_sums.begin(), m_sums.end(), 0); }
  void take(const double* sums) { std::copy(sums, sums + m_sums.size(), m_sums.begin()); }

  // `differences` has one number for each component. A pair gives both its ends the same.
  void add(const Vec& offset, const double* differences)
  {
    const double square = dot(offset, offset);
    if (square == 0)
      return;
    double* const sums = m_sums.data();
    const Vec near = (1 / square) * offset;
    sums[0] += near[0] * offset[0];
    sums[1] += near[0] * offset[1];
    sums[2] += near[0] * offset[2];
    sums[3] += near[1] * offset[1];
    sums[4] += near[1] * offset[2];
    sums[5] += near[2] * offset[2];
    for (std::size_t at = sidesAt; at < m_sums.size(); at += 3, ++differences)
      for (std::size_t i = 0; i < 3; ++i)
        sums[at + i] += near[i] * *differences;
  }

  const std::vector<double>& sums() const { return m_sums; }

  // Directions in which there is less than `least` of what there is in the best count as none.
  void solve(double least, double* gradient) const
  {
    if (!solveInFull(least, gradient))
      solveByAxes(least, gradient);
  }

 private:
  // By the inverse, where all directions surely count: the least of the three shares of the trace, by the largest, is no
  // less than the determinant by the third power of the trace.
  bool solveInFull(double least, double* gradient) const
  {
    const double* const m = m_sums.data();
    const Vec first{m[3] * m[5] - m[4] * m[4], m[2] * m[4] - m[1] * m[5], m[1] * m[4] - m[2] * m[3]};
    const double determinant = m[0] * first[0] + m[1] * first[1] + m[2] * first[2];
    const double trace = m[0] + m[3] + m[5];
    if (!(determinant > least * trace * trace * trace))
      return false;
    const Vec second{first[1], m[0] * m[5] - m[2] * m[2], m[1] * m[2] - m[0] * m[4]};
    const Vec third{first[2], second[2], m[0] * m[3] - m[1] * m[1]};
    for (std::size_t at = sidesAt; at < m_sums.size(); at += 3, gradient += 3) {
      const Vec side{m[at] / determinant, m[at + 1] / determinant, m[at + 2] / determinant};
      gradient[0] = dot(first, side);
      gradient[1] = dot(second, side);
      gradient[2] = dot(third, side);
    }
    return true;
  }
  void solveByAxes(double least, double* gradient) const
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

Ptr<vtkDoubleArray> derivativesFor(vtkIdType count, int components)
{
  auto result = make<vtkDoubleArray>();
  result->SetNumberOfComponents(3 * components);
  result->SetNumberOfTuples(count);
  return result;
}

using Work = std::function<void(vtkIdType first, vtkIdType end)>;

// Of this process.
vtkIdType cores()
{
  const auto all = static_cast<vtkIdType>(std::thread::hardware_concurrency());
  return std::max<vtkIdType>(1, all / Communicator::instance().size());
}

// Calls `work` for parts of so many things, on all cores; what it makes of one must not hang on the others. It may be
// stopped between them.
void forParts(vtkIdType count, const Work& work)
{
  constexpr vtkIdType part = 1 << 15;
  for (vtkIdType from = 0; from < count;) {
    orv::Progress::step();
    std::vector<std::future<void>> others;
    for (vtkIdType i = 1; i < cores() && count - from > part; ++i, from += part)
      others.push_back(std::async(work, from, from + part));
    const vtkIdType end = std::min(count, from + part);
    work(from, end);
    from = end;
    for (std::future<void>& other : others)
      other.get();
  }
}

// What VTK makes at the first question is made before several threads ask.
void prepare(vtkDataSet& data)
{
  const auto ids = make<vtkIdList>();
  const auto cell = make<vtkGenericCell>();
  if (data.GetNumberOfCells() > 0) {
    data.GetCellPoints(0, ids);
    data.GetCell(0, cell);
  }
  if (data.GetNumberOfPoints() > 0)
    data.GetPointCells(0, ids);
}

std::vector<Vec> pointsOf(vtkDataSet& data)
{
  std::vector<Vec> points(static_cast<std::size_t>(data.GetNumberOfPoints()));
  forParts(data.GetNumberOfPoints(), [&](vtkIdType first, vtkIdType end) {
    for (vtkIdType i = first; i < end; ++i)
      data.GetPoint(i, points[static_cast<std::size_t>(i)].data());
  });
  return points;
}

// What a thread needs for its part.
struct Bench {
  explicit Bench(int components) : fit(components), differences(static_cast<std::size_t>(components)) {}

  // To the pair of two tuples.
  void add(const Vec& offset, const double* own, const double* other)
  {
    for (std::size_t c = 0; c < differences.size(); ++c)
      differences[c] = other[c] - own[c];
    fit.add(offset, differences.data());
  }

  Fit fit;
  std::vector<double> differences;
  Ptr<vtkIdList> touching = make<vtkIdList>();
  Ptr<vtkIdList> corners = make<vtkIdList>();
};

// -------------------------------------------------------------------------------------------------------------- points

// Each point is compared with all points of the cells round it. The means over these cells, so that the seams can be mended
// as those of fields.
Ptr<vtkDoubleArray> sumsAtPoints(vtkDataSet& data, vtkDoubleArray& values)
{
  const int count = values.GetNumberOfComponents();
  const auto width = static_cast<vtkIdType>(Fit(count).sums().size());
  auto sums = make<vtkDoubleArray>();
  sums->SetNumberOfComponents(static_cast<int>(width));
  sums->SetNumberOfTuples(data.GetNumberOfPoints());
  const std::vector<Vec> points = pointsOf(data);
  const double* const all = values.GetPointer(0);
  forParts(data.GetNumberOfPoints(), [&](vtkIdType first, vtkIdType end) {
    Bench bench(count);
    for (vtkIdType own = first; own < end; ++own) {
      bench.fit.clear();
      data.GetPointCells(own, bench.touching);
      for (const vtkIdType cell : *bench.touching) {
        data.GetCellPoints(cell, bench.corners);
        for (const vtkIdType other : *bench.corners)
          bench.add(points[static_cast<std::size_t>(other)] - points[static_cast<std::size_t>(own)],
                    all + own * count, all + other * count);
      }
      const auto shares = static_cast<double>(std::max<vtkIdType>(1, bench.touching->GetNumberOfIds()));
      double* const to = sums->GetPointer(own * width);
      std::transform(bench.fit.sums().begin(), bench.fit.sums().end(), to,
                     [shares](double sum) { return sum / shares; });
    }
  });
  return sums;
}

Ptr<vtkDoubleArray> gradientOnPoints(vtkDataSet& data, vtkDoubleArray& values)
{
  const Ptr<vtkDoubleArray> sums = sumsAtPoints(data, values);
  mendSeams(data, {sums});
  auto result = derivativesFor(data.GetNumberOfPoints(), values.GetNumberOfComponents());
  const auto width = static_cast<std::size_t>(sums->GetNumberOfComponents());
  const double least = leastOf(data);
  forParts(data.GetNumberOfPoints(), [&](vtkIdType first, vtkIdType end) {
    Fit fit(values.GetNumberOfComponents());
    for (vtkIdType point = first; point < end; ++point) {
      fit.take(sums->GetPointer(point * static_cast<vtkIdType>(width)));
      fit.solve(least, result->GetPointer(point * result->GetNumberOfComponents()));
    }
  });
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
  std::vector<Vec> centres(static_cast<std::size_t>(data.GetNumberOfCells()));
  forParts(data.GetNumberOfCells(), [&](vtkIdType first, vtkIdType end) {
    const auto cell = make<vtkGenericCell>();
    const auto ids = make<vtkIdList>();
    for (vtkIdType i = first; i < end; ++i) {
      const int type = data.GetCellType(i);
      if (type == VTK_POLYHEDRON || type == VTK_PYRAMID) {
        data.GetCell(i, cell);
        centres[static_cast<std::size_t>(i)] = centreOfPolyhedron(*cell);
        continue;
      }
      data.GetCellPoints(i, ids);
      Vec sum{};
      for (const vtkIdType id : *ids) {
        Vec at;
        data.GetPoint(id, at.data());
        sum = sum + at;
      }
      centres[static_cast<std::size_t>(i)] =
          (1 / static_cast<double>(std::max<vtkIdType>(1, ids->GetNumberOfIds()))) * sum;
    }
  });
  return centres;
}

Ptr<vtkDoubleArray> gradientOnCells(vtkDataSet& data, vtkDoubleArray& values)
{
  const int count = values.GetNumberOfComponents();
  const std::vector<Vec> centres = centresOf(data);
  const CellsOfOthers others = cellsOfOthers(data, centres, values);
  auto result = derivativesFor(data.GetNumberOfCells(), count);
  const double least = leastOf(data);
  const double* const all = values.GetPointer(0);
  forParts(data.GetNumberOfCells(), [&](vtkIdType first, vtkIdType end) {
    Bench bench(count);
    for (vtkIdType cell = first; cell < end; ++cell) {
      bench.fit.clear();
      const Vec& centre = centres[static_cast<std::size_t>(cell)];
      const double* const own = all + cell * count;
      data.GetCellPoints(cell, bench.corners);
      for (const vtkIdType point : *bench.corners) {  // those behind a face count for each of its points
        data.GetPointCells(point, bench.touching);
        for (const vtkIdType other : *bench.touching)
          bench.add(centres[static_cast<std::size_t>(other)] - centre, own, all + other * count);
        if (const auto beyond = others.find(point); beyond != others.end())
          for (const CellOfOther& other : beyond->second)
            bench.add(other.centre - centre, own, other.values.data());
      }
      bench.fit.solve(least, result->GetPointer(cell * result->GetNumberOfComponents()));
    }
  });
  return result;
}

}  // namespace

Ptr<vtkDoubleArray> gradientOf(vtkDataSet& data, vtkDoubleArray& values, bool onCells)
{
  prepare(data);
  return onCells ? gradientOnCells(data, values) : gradientOnPoints(data, values);
}

}  // namespace results
