// Times of linking schedulers, and of marking and updating them once, with an empty calculation, beside a
// hand-written graph of adjacency vectors that is updated by in-degree with one virtual call a node.
//   bench_graph [Google Benchmark's options]
// Names are work/shape/peer/schedulers. Items are links or schedulers. "library" has one owner for all
// schedulers, so that the graph alone is measured, "objects" an object each.
//
// "define" is one command that defines objects with ten parameters each and makes these shapes by references
// (peer "references") or leaves the references out ("plain"). "edit" is a command that sets one parameter in a
// model of 100,000 objects; the number is that of the schedulers which it reaches.
#include "database/DataKSLObject.h"
#include "rules/SchedulerObject.h"
#include "bench/LibraryPeer.h"
#include "bench/Model.h"
#include "bench/Stopwatch.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace {

using bench::Stopwatch;
using Edges = std::vector<std::pair<std::uint32_t, std::uint32_t>>;  // in order of creation

struct Shape {
  std::uint32_t size;
  std::uint32_t roots;  // the first ones
  Edges edges;
};

long calculations = 0;

// ------------------------------------------------------------------------------------------------------- shapes

Shape chain(std::uint32_t size)
{
  Shape shape{size, 1, {}};
  for (std::uint32_t i = 1; i < size; ++i)
    shape.edges.emplace_back(i - 1, i);
  return shape;
}

Shape fanOut(std::uint32_t size)
{
  Shape shape{size, 1, {}};
  for (std::uint32_t i = 1; i < size; ++i)
    shape.edges.emplace_back(0, i);
  return shape;
}

Shape fanIn(std::uint32_t size)
{
  Shape shape{size, size - 1, {}};
  for (std::uint32_t i = 0; i + 1 < size; ++i)
    shape.edges.emplace_back(i, size - 1);
  return shape;
}

// Layers of a thousand; each scheduler has three parents in the layer before its own.
Shape layered(std::uint32_t size)
{
  constexpr std::uint32_t width = 1000;
  Shape shape{size, width, {}};
  std::mt19937 random(7);
  for (std::uint32_t i = width; i < size; ++i) {
    const std::uint32_t before = (i / width - 1) * width;
    const std::uint32_t first = static_cast<std::uint32_t>(random()) % width;
    for (std::uint32_t k = 0; k < 3; ++k)
      shape.edges.emplace_back(
          before + (first + k * (1 + static_cast<std::uint32_t>(random()) % 300)) % width, i);
  }
  return shape;
}

Shape ladder(std::uint32_t size)
{
  Shape shape{size / 3 * 3 + 1, 1, {}};
  for (std::uint32_t i = 0; i + 3 < shape.size; i += 3) {
    for (std::uint32_t side : {1u, 2u}) {
      shape.edges.emplace_back(i, i + side);
      shape.edges.emplace_back(i + side, i + 3);
    }
  }
  return shape;
}

// -------------------------------------------------------------------------------------------------------- peers

class InDegree {
 public:
  explicit InDegree(const Shape& shape) : m_nodes(shape.size) {}

  void link(std::uint32_t from, std::uint32_t to)
  {
    m_nodes[from].children.push_back(&m_nodes[to]);
    m_nodes[to].parents.push_back(&m_nodes[from]);
  }

  void update(std::uint32_t roots)
  {
    std::vector<Node*> reached;
    for (std::uint32_t i = 0; i < roots; ++i)
      reached.push_back(&m_nodes[i]);
    for (std::size_t i = 0; i < reached.size(); ++i) {
      for (Node* child : reached[i]->children) {
        if (child->waiting++ == 0)
          reached.push_back(child);
      }
    }
    reached.resize(roots);
    for (std::size_t i = 0; i < reached.size(); ++i) {
      reached[i]->calculate();
      for (Node* child : reached[i]->children) {
        if (--child->waiting == 0)
          reached.push_back(child);
      }
    }
  }

 private:
  struct Node {
    virtual ~Node() = default;
    virtual void calculate() { ++calculations; }
    std::vector<Node*> children;
    std::vector<Node*> parents;
    std::uint32_t waiting = 0;
  };
  std::vector<Node> m_nodes;
};

template <bool objectEach>
class Library {
 public:
  explicit Library(const Shape& shape)
  {
    for (std::uint32_t i = 0; i < shape.size; ++i) {
      if (objectEach || i == 0)
        m_owners.push_back(std::make_unique<Owner>());
      m_nodes.push_back(std::make_unique<orv::SchedulerObject>("Name", m_owners.back().get(), m_type));
    }
  }

  void link(std::uint32_t from, std::uint32_t to) { m_nodes[from]->addChild(m_nodes[to].get(), true); }

  void update(std::uint32_t roots)
  {
    for (std::uint32_t i = 0; i < roots; ++i)
      m_nodes[i]->setPending();
    for (std::uint32_t i = 0; i < roots; ++i)
      m_nodes[i]->update();
  }

 private:
  class Owner : public orv::DataKSLObject, public orv::SchedulerOwner {
   public:
    void calculate(const std::string&) override { ++calculations; }
    void createDelayedParamLinks() override {}
  };
  orv::SharedText m_type{"Geometry"};
  std::vector<std::unique_ptr<Owner>> m_owners;
  std::vector<std::unique_ptr<orv::SchedulerObject>> m_nodes;
};

// -------------------------------------------------------------------------------------------------------- works

using MakeShape = Shape (*)(std::uint32_t size);

template <class Peer>
void linkAll(Peer& peer, const Shape& shape)
{
  for (const auto& [from, to] : shape.edges)
    peer.link(from, to);
}

template <class Peer>
void link(benchmark::State& state, MakeShape make)
{
  const Shape shape = make(static_cast<std::uint32_t>(state.range(0)));
  for (auto _ : state) {
    Peer peer(shape);
    const Stopwatch watch;
    linkAll(peer, shape);
    state.SetIterationTime(watch.seconds());
  }
  state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(shape.edges.size()));
}

template <class Peer>
void update(benchmark::State& state, MakeShape make)
{
  const Shape shape = make(static_cast<std::uint32_t>(state.range(0)));
  Peer peer(shape);
  linkAll(peer, shape);
  for (auto _ : state) {
    calculations = 0;
    const Stopwatch watch;
    peer.update(shape.roots);
    state.SetIterationTime(watch.seconds());
    if (calculations != shape.size)
      throw std::runtime_error("wrong result: calculations");
  }
  state.SetItemsProcessed(state.iterations() * shape.size);
}

template <class Peer>
void registerPeer(const std::string& shape, const std::string& peer, MakeShape make)
{
  const auto add = [&](const char* work, void (*run)(benchmark::State&, MakeShape)) {
    benchmark::RegisterBenchmark((work + shape + peer).c_str(),
                                 [=](benchmark::State& state) { run(state, make); })
        ->Arg(10000)
        ->Arg(100000)
        ->Arg(1000000)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
  };
  add("link", link<Peer>);
  add("update", update<Peer>);
}

// ------------------------------------------------------------------------------------------------- through text

const std::vector<std::string>& nodeRules()
{
  static const std::vector<std::string> lines = [] {
    std::vector<std::string> text = bench::modelRules();
    text.pop_back();
    std::string names;
    for (int i = 0; i < bench::paramCount; ++i)
      names += bench::paramName(i) + ", ";
    for (const char* line :
         {"SchedulerTypes = Data", "PARAMETER: Value", "Local Type = Data", "END", "PARAMETER: Source",
          "Parameter Type = String List", "Local Type = Data", "Remote Type = Data", "END", "OBJECT: NODE",
          "KSLObject Class = GenericKSLObject", "Scheduler = Data"})
      text.emplace_back(line);
    text[2] += ", GenericKSLObject";
    text.push_back("Optional Parameter List = " + names + "Value, Source");
    text.insert(text.end(), {"END", "END"});
    return text;
  }();
  return lines;
}

std::string nodesText(const Shape& shape, bool references)
{
  std::vector<std::string> sources(shape.size);
  for (const auto& [from, to] : shape.edges)
    sources[to].append(sources[to].empty() ? "" : ", ").append("n" + std::to_string(from));
  std::string text;
  for (std::uint32_t i = 0; i < shape.size; ++i) {
    text.append("NODE: n" + std::to_string(i) + "\n");
    bench::appendParams(text, i, "  ");
    if (references && !sources[i].empty())
      text.append("  Source = ").append(sources[i]).append("\n");
    text.append("END\n");
  }
  return text;
}

void define(benchmark::State& state, MakeShape make, bool references)
{
  const Shape shape = make(static_cast<std::uint32_t>(state.range(0)));
  const std::string text = nodesText(shape, references);
  for (auto _ : state) {
    bench::LibraryPeer peer(nodeRules());
    const Stopwatch watch;
    peer.define(text);
    state.SetIterationTime(watch.seconds());
    if (peer.size() != shape.size)
      throw std::runtime_error("wrong result: objects");
  }
  state.SetItemsProcessed(state.iterations() * shape.size);
}

// A hub of k objects in a model of 100,000; the first object is what all depend on.
void edit(benchmark::State& state)
{
  constexpr std::uint32_t modelSize = 100000;
  Shape shape = fanOut(static_cast<std::uint32_t>(state.range(0)));
  shape.size = modelSize;
  bench::LibraryPeer peer(nodeRules());
  peer.define(nodesText(shape, true));
  long value = 0;
  for (auto _ : state)
    peer.run("NODE: n0\nValue = " + std::to_string(++value) + "\nEND\n");
  state.SetItemsProcessed(state.iterations());
}

void registerText(const std::string& shape, MakeShape make)
{
  for (const bool references : {false, true})
    benchmark::RegisterBenchmark(("define" + shape + (references ? "references" : "plain")).c_str(),
                                 [=](benchmark::State& state) { define(state, make, references); })
        ->Arg(100000)
        ->UseManualTime()
        ->Unit(benchmark::kMillisecond);
}

}  // namespace

int main(int argc, char** argv)
{
  const std::pair<const char*, MakeShape> shapes[] = {
      {"chain", chain}, {"fan out", fanOut}, {"fan in", fanIn}, {"layered", layered}, {"ladder", ladder}};
  for (const auto& [name, make] : shapes) {
    const std::string shape = "/" + std::string(name) + "/";
    registerPeer<InDegree>(shape, "in-degree", make);
    registerPeer<Library<false>>(shape, "library", make);
    registerPeer<Library<true>>(shape, "objects", make);
    registerText(shape, make);
  }
  benchmark::RegisterBenchmark("edit/fan out/library", edit)->RangeMultiplier(10)->Range(1, 10000);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv))
    return 2;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
