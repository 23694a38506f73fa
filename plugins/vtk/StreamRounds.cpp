#include "StreamRounds.h"

#include "platform/ORVProgress.h"
#include "Communicator.h"
#include "Pieces.h"
#include "Seams.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <vtkCellArray.h>
#include <vtkCellData.h>
#include <vtkIdList.h>
#include <vtkPointData.h>
#include <vtkPoints.h>
#include <vtkStreamTracer.h>

namespace results {

namespace {

constexpr double usualStep = 0.5;  // of a cell

Ptr<vtkStreamTracer> tracerIn(vtkDataSet& cells, const std::vector<Vec>& seeds, const StreamSearch& search)
{
  const auto points = make<vtkPoints>();
  points->SetDataTypeToDouble();
  for (const Vec& seed : seeds)
    points->InsertNextPoint(seed.data());
  const auto start = make<vtkPolyData>();
  start->SetPoints(points);
  auto tracer = make<vtkStreamTracer>();
  tracer->SetInputData(&cells);
  tracer->SetSourceData(start);
  tracer->SetInputArrayToProcess(0, 0, 0, vtkDataObject::FIELD_ASSOCIATION_POINTS, search.field.c_str());
  tracer->SetIntegratorTypeToRungeKutta45();
  tracer->SetMaximumPropagation(search.reach);
  tracer->SetMaximumNumberOfSteps(20000);
  tracer->SetComputeVorticity(false);
  tracer->SetIntegrationDirection(!search.isBackward  ? vtkStreamTracer::FORWARD
                                  : !search.isForward ? vtkStreamTracer::BACKWARD
                                                      : vtkStreamTracer::BOTH);
  if (!seeds.empty() && cells.GetNumberOfCells() > 0)
    run(*tracer, "followStreams");
  return tracer;
}

}  // namespace

Ptr<vtkPolyData> tracedHere(vtkDataSet& cells, const std::vector<Vec>& seeds, const StreamSearch& search)
{
  return tracerIn(cells, seeds, search)->GetOutput();
}

// ----------------------------------------------------------------------------------------------------------- in rounds

namespace {

// A line on its way: where it has come, and how much further it may go.
struct Head {
  Vec at{};
  double reach = 0;
  bool isBackward = false;
  Vec push{};     // over a seam, when nobody has it where it is
  int tries = 0;  // of that
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
  Vec push{};
  std::int64_t leaves = 0;  // the piece, not the reach
};

Vec pointOf(vtkDataSet& data, vtkIdType id)
{
  Vec at;
  data.GetPoint(id, at.data());
  return at;
}

class Rounds {
 public:
  Rounds(vtkDataSet& cells, const StreamSearch& search) : m_cells(cells), m_search(search)
  {
    const std::array<double, 6> box = boundsOfAll(cells);
    m_size = length(Vec{box[1] - box[0], box[3] - box[2], box[5] - box[4]});
  }

  void begin(const std::vector<Vec>& seeds)
  {
    for (const bool isBackward : {false, true}) {
      if (!(isBackward ? m_search.isBackward : m_search.isForward))
        continue;
      for (const Vec& seed : seeds)
        m_heads.push_back({seed, m_search.reach, isBackward});
    }
  }

  // False when all lines are at their end.
  bool go()
  {
    m_parts.assign(m_heads.size(), {});
    m_ways.clear();
    for (const bool isBackward : {false, true})
      followHere(isBackward);
    return handOver();
  }

  Ptr<vtkPolyData> lines() const { return m_lines; }

 private:
  void followHere(bool isBackward)
  {
    std::vector<std::size_t> heads;
    for (std::size_t i = 0; i < m_heads.size(); ++i)
      if (m_heads[i].isBackward == isBackward)
        heads.push_back(i);
    std::vector<Way> ways(m_heads.size());
    // A tracer stops up to a step before it would leave the piece: it comes ever closer in ever smaller steps.
    for (const double step : {usualStep, usualStep / 10, usualStep / 100, usualStep / 1000}) {
      follow(heads, isBackward, step, ways);
      std::erase_if(heads, [&ways](std::size_t head) { return !ways[head].leaves; });
    }
    for (std::size_t i = 0; i < ways.size(); ++i) {
      if (ways[i].length <= 0)
        continue;
      ways[i].head = static_cast<std::int64_t>(i);
      if (ways[i].leaves)
        ways[i].push = beyond(m_parts[i].back(), isBackward);
      m_ways.push_back(ways[i]);
    }
  }

  void follow(const std::vector<std::size_t>& heads, bool isBackward, double step, std::vector<Way>& ways)
  {
    StreamSearch search = m_search;
    search.isForward = !isBackward;
    search.isBackward = isBackward;
    std::vector<Vec> seeds;
    seeds.reserve(heads.size());
    for (const std::size_t head : heads)
      seeds.push_back(ways[head].length > 0 ? ways[head].next : m_heads[head].at);
    const auto tracer = tracerWithStep(seeds, search, step);
    const Ptr<vtkPolyData> lines = tracer->GetOutput();
    vtkDataArray* const from = lines->GetCellData()->GetArray("SeedIds");
    vtkDataArray* const reasons = lines->GetCellData()->GetArray("ReasonForTermination");
    const auto ids = make<vtkIdList>();
    for (vtkIdType line = 0; from && reasons && line < lines->GetNumberOfCells(); ++line) {
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

  Ptr<vtkStreamTracer> tracerWithStep(const std::vector<Vec>& seeds, const StreamSearch& search,
                                      double step) const
  {
    auto tracer = tracerIn(m_cells, {}, search);
    const auto points = make<vtkPoints>();
    points->SetDataTypeToDouble();
    for (const Vec& seed : seeds)
      points->InsertNextPoint(seed.data());
    const auto start = make<vtkPolyData>();
    start->SetPoints(points);
    tracer->SetSourceData(start);
    if (step < usualStep) {
      tracer->SetInitialIntegrationStep(step);
      tracer->SetMinimumIntegrationStep(step);
      tracer->SetMaximumIntegrationStep(step);
    }
    if (!seeds.empty() && m_cells.GetNumberOfCells() > 0)
      run(*tracer, "followStreams");
    return tracer;
  }

  // A little further than the last step went: over the seam.
  Vec beyond(const Part& part, bool isBackward) const
  {
    vtkPolyData& lines = *part.lines;
    const auto ids = make<vtkIdList>();
    lines.GetCellPoints(part.line, ids);
    const vtkIdType end = ids->GetId(ids->GetNumberOfIds() - 1);
    vtkDataArray* const vectors = lines.GetPointData()->GetArray(m_search.field.c_str());
    Vec along{};
    if (vectors)
      vectors->GetTuple(end, along.data());
    const double speed = length(along);
    double weights[64];
    Vec local{};
    int inside = 0;
    const Vec at = pointOf(lines, end);
    const vtkIdType cell = m_cells.FindCell(const_cast<double*>(at.data()), nullptr, -1,
                                            1e-12 * m_size * m_size, inside, local.data(), weights);
    const double size = cell >= 0 ? std::sqrt(m_cells.GetCell(cell)->GetLength2()) : 1e-3 * m_size;
    return speed > 0 ? ((isBackward ? -1 : 1) * usualStep / 500 * size / speed) * along : Vec{};
  }

  // The last step may have ended further before the seam than it was to: up to a tenth of a cell.
  static void pushOn(const Head& head, std::vector<Head>& next)
  {
    constexpr int most = 4;
    if (head.tries < most && length(head.push) > 0)
      next.push_back({head.at + head.push, head.reach, head.isBackward, 3 * head.push, head.tries + 1});
  }

  // Of those who could follow a line, the one who came furthest has done it.
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
      if (best[i].length
          <= 1e-6 * m_size) {  // a point at the very seam is in two pieces, and leaves both at once
        pushOn(m_heads[i], next);
        continue;
      }
      if (by[i] == static_cast<std::size_t>(Communicator::instance().rank()))
        keep(m_parts[i], m_heads[i].reach);
      const double left = m_heads[i].reach - best[i].length;
      if (best[i].leaves && left > 0)
        next.push_back({best[i].next + best[i].push, left, m_heads[i].isBackward, 3 * best[i].push, 0});
    }
    m_heads = std::move(next);
    return !m_heads.empty();
  }

  void keep(const std::vector<Part>& parts, double reach)
  {
    for (const Part& part : parts) {
      if (!m_lines->GetPoints()) {
        const auto points = make<vtkPoints>();
        points->SetDataTypeToDouble();
        m_lines->SetPoints(points);
        m_lines->SetLines(make<vtkCellArray>());
        m_lines->GetPointData()->CopyAllocate(part.lines->GetPointData());
      }
      const auto ids = make<vtkIdList>();
      part.lines->GetCellPoints(part.line, ids);
      const auto own = make<vtkIdList>();
      for (vtkIdType i = 0; i < ids->GetNumberOfIds() && reach > 0; ++i) {
        const Vec at = pointOf(*part.lines, ids->GetId(i));
        if (i > 0)
          reach -= length(at - pointOf(*part.lines, ids->GetId(i - 1)));
        own->InsertNextId(m_lines->GetPoints()->InsertNextPoint(at.data()));
        m_lines->GetPointData()->CopyData(part.lines->GetPointData(), ids->GetId(i), own->GetId(i));
      }
      m_lines->GetLines()->InsertNextCell(own);
    }
  }

  vtkDataSet& m_cells;
  const StreamSearch& m_search;
  double m_size = 0;
  std::vector<Head> m_heads;
  std::vector<std::vector<Part>> m_parts;  // of each head, in this round
  std::vector<Way> m_ways;
  Ptr<vtkPolyData> m_lines = make<vtkPolyData>();
};

}  // namespace

Ptr<vtkPolyData> tracedTogether(vtkDataSet& cells, const std::vector<Vec>& seeds, const StreamSearch& search)
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
  Ptr<vtkPolyData> all = gathered(lines, false);
  all->GetCellData()->Initialize();
  return all;
}

}  // namespace results
