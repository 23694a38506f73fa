#include "StreamRounds.h"

#include "platform/ORVProgress.h"
#include "Communicator.h"
#include "Pieces.h"
#include "Seams.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <vtkCell.h>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkCellLocatorStrategy.h>
#include <vtkExtractCells.h>
#include <vtkIdList.h>
#include <vtkIdTypeArray.h>
#include <vtkPointData.h>
#include <vtkPointSet.h>
#include <vtkPoints.h>
#include <vtkStaticCellLocator.h>
#include <vtkStreamTracer.h>
#include <vtkUnstructuredGrid.h>
#include <vtkVersionMacros.h>

#if VTK_VERSION_NUMBER < VTK_VERSION_CHECK(9, 2, 0)
#include <vtkInterpolatedVelocityField.h>
#endif

namespace results {

namespace {

constexpr double usualStep = 0.5;  // of a cell

// A line on its way: which it is, where it has come, how much further it may go.
struct Head {
  std::int64_t line = 0;
  Vec at{};
  double reach = 0;
  bool isBackward = false;
};

// A part of a line, of what a tracer gave.
struct Part {
  Ptr<vtkPolyData> lines;
  vtkIdType line;
};

// How far a head has come here in a round.
struct Way {
  std::int64_t head = 0;
  double length = 0;
  Vec next{};
  std::int64_t leaves = 0;  // the piece, not the reach
};

Vec pointOf(vtkDataSet& data, vtkIdType id)
{
  Vec at;
  data.GetPoint(id, at.data());
  return at;
}

constexpr const char* lineNumber = "line";
constexpr const char* partNumber = "part of line";

// Points alone would lose their way where neighbours have points of their own. A tracer's own field by cells of VTK 9.1 makes
// a locator at each call; this one takes that of the cells.
void findByCells(vtkStreamTracer& tracer)
{
#if VTK_VERSION_NUMBER < VTK_VERSION_CHECK(9, 2, 0)
  const auto field = make<vtkInterpolatedVelocityField>();
  field->SetFindCellStrategy(make<vtkCellLocatorStrategy>());
  tracer.SetInterpolatorPrototype(field);
#else
  tracer.SetInterpolatorTypeToCellLocator();
#endif
}

class Rounds {
 public:
  Rounds(vtkDataSet& cells, const StreamSearch& search)
      : m_cells(copyOf(*withNeighbours(cells))),
        m_search(search)
  {
    prepare();
    const std::array<double, 6> box = boundsOfAll(cells);
    m_size = length(Vec{box[1] - box[0], box[3] - box[2], box[5] - box[4]});
    m_lines->SetLines(make<vtkCellArray>());
    for (const char* name : {lineNumber, partNumber}) {
      const auto numbers = make<vtkIdTypeArray>();
      numbers->SetName(name);
      m_lines->GetCellData()->AddArray(numbers);
    }
  }

  void begin(const std::vector<Vec>& seeds)
  {
    for (const bool isBackward : {false, true}) {
      if (!(isBackward ? m_search.isBackward : m_search.isForward))
        continue;
      for (const Vec& seed : seeds)
        m_heads.push_back({static_cast<std::int64_t>(m_heads.size()), seed, m_search.reach, isBackward});
    }
  }

  // False when all lines are at their end.
  bool go()
  {
    m_parts.assign(m_heads.size(), {});
    m_ways.clear();
    for (const bool isBackward : {false, true})
      followHere(isBackward);
    ++m_round;
    return handOver();
  }

  Ptr<vtkPolyData> lines() const { return m_lines; }

 private:
  // Once for all rounds and both directions.
  void prepare()
  {
    if (m_cells->GetNumberOfCells() == 0)
      return;
    m_locator->SetDataSet(m_cells);
    if (auto* const set = vtkPointSet::SafeDownCast(m_cells))
      set->SetCellLocator(m_locator);
    m_locator->BuildLocator();
  }

  void followHere(bool isBackward)
  {
    std::vector<std::size_t> heads;
    for (std::size_t i = 0; i < m_heads.size(); ++i)
      if (m_heads[i].isBackward == isBackward)
        heads.push_back(i);
    std::vector<Way> ways(m_heads.size());
    follow(*m_cells, heads, isBackward, usualStep, ways);
    // A tracer stops up to a step before it would leave the cells: it comes ever closer in ever smaller steps.
    std::erase_if(heads, [&ways](std::size_t head) { return !ways[head].leaves; });
    const Ptr<vtkDataSet> atEnds = cellsRoundEnds(heads, ways);
    for (const double step : {usualStep / 10, usualStep / 100, usualStep / 1000}) {
      follow(*atEnds, heads, isBackward, step, ways);
      std::erase_if(heads, [&ways](std::size_t head) { return !ways[head].leaves; });
    }
    for (std::size_t i = 0; i < ways.size(); ++i) {
      if (ways[i].length <= 0)
        continue;
      ways[i].head = static_cast<std::int64_t>(i);
      m_ways.push_back(ways[i]);
    }
  }

  // Those beside the places that lines have come to: who leaves these alone goes on in the next round.
  Ptr<vtkDataSet> cellsRoundEnds(const std::vector<std::size_t>& heads, const std::vector<Way>& ways) const
  {
    std::vector<bool> isWanted(static_cast<std::size_t>(m_cells->GetNumberOfCells()));
    for (const std::size_t head : heads) {
      orv::Progress::step();
      double size = 0;
      for (const vtkIdType cell : cellsAt(ways[head].next, 1e-9 * m_size))
        size = std::max(size, std::sqrt(m_cells->GetCell(cell)->GetLength2()));
      for (const vtkIdType cell : cellsAt(ways[head].next, size))
        isWanted[static_cast<std::size_t>(cell)] = true;
    }
    const auto wanted = make<vtkIdList>();
    for (std::size_t cell = 0; cell < isWanted.size(); ++cell)
      if (isWanted[cell])
        wanted->InsertNextId(static_cast<vtkIdType>(cell));
    const auto extract = make<vtkExtractCells>();
    extract->SetInputData(m_cells);
    extract->SetCellList(wanted);
    if (wanted->GetNumberOfIds() > 0)
      run(*extract, "followStreams");
    return extract->GetOutput();
  }

  // Those whose boxes come as near to the place, in each direction.
  std::vector<vtkIdType> cellsAt(const Vec& at, double distance) const
  {
    std::array<double, 6> round{};
    for (std::size_t i = 0; i < 3; ++i) {
      round.at(2 * i) = at.at(i) - distance;
      round.at(2 * i + 1) = at.at(i) + distance;
    }
    const auto found = make<vtkIdList>();
    m_locator->FindCellsWithinBounds(round.data(), found);
    std::vector<vtkIdType> cells;
    for (const vtkIdType cell : *found) {  // they are those of whole bins
      std::array<double, 6> box{};
      m_cells->GetCellBounds(cell, box.data());
      bool isNear = true;
      for (std::size_t i = 0; i < 6; i += 2)
        isNear = isNear && box.at(i) <= round.at(i + 1) && box.at(i + 1) >= round.at(i);
      if (isNear)
        cells.push_back(cell);
    }
    return cells;
  }

  void follow(vtkDataSet& cells, const std::vector<std::size_t>& heads, bool isBackward, double step,
              std::vector<Way>& ways)
  {
    std::vector<Vec> seeds;
    seeds.reserve(heads.size());
    for (const std::size_t head : heads)
      seeds.push_back(ways[head].length > 0 ? ways[head].next : m_heads[head].at);
    const Ptr<vtkPolyData> lines = traced(cells, seeds, isBackward, step);
    vtkDataArray* const from = lines->GetCellData()->GetArray("SeedIds");
    vtkDataArray* const reasons = lines->GetCellData()->GetArray("ReasonForTermination");
    const auto ids = make<vtkIdList>();
    for (vtkIdType line = 0; from && reasons && line < lines->GetNumberOfCells(); ++line) {
      orv::Progress::step();
      lines->GetCellPoints(line, ids);
      if (ids->GetNumberOfIds() < 2)
        continue;
      const std::size_t head = heads.at(static_cast<std::size_t>(from->GetTuple1(line)));
      Way& way = ways[head];
      for (vtkIdType i = 1; i < ids->GetNumberOfIds(); ++i)
        way.length += length(pointOf(*lines, ids->GetId(i)) - pointOf(*lines, ids->GetId(i - 1)));
      const auto reason = static_cast<int>(reasons->GetTuple1(line));
      way.leaves = reason != vtkStreamTracer::OUT_OF_LENGTH && reason != vtkStreamTracer::OUT_OF_STEPS
                   && reason != vtkStreamTracer::STAGNATION;
      way.next = pointOf(*lines, ids->GetId(ids->GetNumberOfIds() - 1));
      m_parts[head].push_back({lines, line});
    }
  }

  Ptr<vtkPolyData> traced(vtkDataSet& cells, const std::vector<Vec>& seeds, bool isBackward,
                          double step) const
  {
    const auto tracer = make<vtkStreamTracer>();
    tracer->SetInputData(&cells);
    tracer->SetSourceData(pointsAt(seeds));
    tracer->SetInputArrayToProcess(0, 0, 0, vtkDataObject::FIELD_ASSOCIATION_POINTS, m_search.field.c_str());
    tracer->SetIntegratorTypeToRungeKutta45();
    findByCells(*tracer);
    tracer->SetMaximumPropagation(m_search.reach);
    tracer->SetMaximumNumberOfSteps(20000);
    tracer->SetComputeVorticity(false);
    tracer->SetIntegrationDirection(isBackward ? vtkStreamTracer::BACKWARD : vtkStreamTracer::FORWARD);
    if (step < usualStep) {
      tracer->SetInitialIntegrationStep(step);
      tracer->SetMinimumIntegrationStep(step);
      tracer->SetMaximumIntegrationStep(step);
    }
    if (!seeds.empty() && cells.GetNumberOfCells() > 0)
      run(*tracer, "followStreams");
    return tracer->GetOutput();
  }

  // Of those who could follow a line, the one who came furthest has done it. Where he stopped lies among the cells of
  // another, not at their edge: cells at a seam are known on both sides.
  bool handOver()
  {
    std::vector<std::vector<Way>> all;
    for (const std::string& each : exchanged("streams", bytesOf(m_ways)))
      all.push_back(valuesOf<Way>(each));
    std::vector<Way> best(m_heads.size());
    std::vector<std::size_t> by(m_heads.size());
    for (std::size_t process = 0; process < all.size(); ++process) {
      for (const Way& way : all[process]) {
        const auto head = static_cast<std::size_t>(way.head);
        if (way.length <= best.at(head).length)
          continue;
        best[head] = way;
        by[head] = process;
      }
    }
    std::vector<Head> next;
    for (std::size_t i = 0; i < m_heads.size(); ++i) {
      orv::Progress::step();
      const Head& head = m_heads[i];
      if (best[i].length <= 0)
        continue;
      if (by[i] == static_cast<std::size_t>(Communicator::instance().rank()))
        keep(m_parts[i], head);
      const double left = head.reach - best[i].length;
      if (best[i].leaves && left > 0 && best[i].length > 1e-6 * m_size)
        next.push_back({head.line, best[i].next, left, head.isBackward});
    }
    m_heads = std::move(next);
    return !m_heads.empty();
  }

  // As one line: each part begins where the one before ends.
  void keep(const std::vector<Part>& parts, const Head& head)
  {
    double reach = head.reach;
    const auto own = make<vtkIdList>();
    const auto ids = make<vtkIdList>();
    for (const Part& part : parts) {
      if (!m_lines->GetPoints()) {
        const auto points = make<vtkPoints>();
        points->SetDataTypeToDouble();
        m_lines->SetPoints(points);
        m_lines->GetPointData()->CopyAllocate(part.lines->GetPointData());
      }
      part.lines->GetCellPoints(part.line, ids);
      for (vtkIdType i = own->GetNumberOfIds() > 0 ? 1 : 0; i < ids->GetNumberOfIds() && reach > 0; ++i) {
        const Vec at = pointOf(*part.lines, ids->GetId(i));
        if (i > 0)
          reach -= length(at - pointOf(*part.lines, ids->GetId(i - 1)));
        own->InsertNextId(m_lines->GetPoints()->InsertNextPoint(at.data()));
        m_lines->GetPointData()->CopyData(part.lines->GetPointData(), ids->GetId(i),
                                          own->GetId(own->GetNumberOfIds() - 1));
      }
    }
    m_lines->GetLines()->InsertNextCell(own);
    numbersIn(*m_lines, lineNumber)->InsertNextValue(head.line);
    numbersIn(*m_lines, partNumber)->InsertNextValue(m_round);
  }

  static vtkIdTypeArray* numbersIn(vtkPolyData& lines, const char* name)
  {
    return vtkIdTypeArray::SafeDownCast(lines.GetCellData()->GetArray(name));
  }

  Ptr<vtkDataSet> m_cells;
  Ptr<vtkStaticCellLocator> m_locator = make<vtkStaticCellLocator>();
  const StreamSearch& m_search;
  double m_size = 0;
  vtkIdType m_round = 0;
  std::vector<Head> m_heads;
  std::vector<std::vector<Part>> m_parts;  // of each head, in this round
  std::vector<Way> m_ways;
  Ptr<vtkPolyData> m_lines = make<vtkPolyData>();
};

// The parts of each line, which several processes may have followed, as one: in the order of the lines.
Ptr<vtkPolyData> wholeLines(vtkPolyData& parts)
{
  const auto number = [&parts](const char* name, vtkIdType cell) {
    return parts.GetCellData()->GetArray(name)->GetTuple1(cell);
  };
  std::vector<vtkIdType> order(static_cast<std::size_t>(parts.GetNumberOfCells()));
  std::iota(order.begin(), order.end(), 0);
  std::sort(order.begin(), order.end(), [&number](vtkIdType a, vtkIdType b) {
    return std::pair(number(lineNumber, a), number(partNumber, a))
           < std::pair(number(lineNumber, b), number(partNumber, b));
  });
  const auto lines = make<vtkCellArray>();
  const auto whole = make<vtkIdList>();
  const auto ids = make<vtkIdList>();
  for (std::size_t i = 0; i < order.size(); ++i) {
    orv::Progress::step();
    const bool isNew = i == 0 || number(lineNumber, order[i]) != number(lineNumber, order[i - 1]);
    if (isNew && i > 0)
      lines->InsertNextCell(whole);
    if (isNew)
      whole->Reset();
    parts.GetCellPoints(order[i], ids);
    for (vtkIdType k = isNew ? 0 : 1; k < ids->GetNumberOfIds(); ++k)
      whole->InsertNextId(ids->GetId(k));
  }
  if (!order.empty())
    lines->InsertNextCell(whole);
  const auto result = make<vtkPolyData>();
  result->SetPoints(parts.GetPoints());
  result->SetLines(lines);
  result->GetPointData()->ShallowCopy(parts.GetPointData());
  return result;
}

}  // namespace

Ptr<vtkPolyData> traced(vtkDataSet& cells, const std::vector<Vec>& seeds, const StreamSearch& search)
{
  constexpr int most = 2000;  // for a line that runs along a seam for ever
  Rounds rounds(cells, search);
  rounds.begin(seeds);
  for (int round = 0; round < most && rounds.go(); ++round)
    orv::Progress::step();
  const Ptr<vtkPolyData> lines = rounds.lines();
  if (!lines->GetPoints())
    lines->SetPoints(make<vtkPoints>());
  takeFields(*lines, cells);
  return wholeLines(*gathered(lines, false));
}

}  // namespace results
