// Several models on several threads: what eight threads with a model each load, beside what one does.
//   bench_contexts [Google Benchmark's options]
//
// "load" makes a model of its own in each thread, round after round: definitions, objects, the end. "units" is the same
// with quantities that are converted, "instance" asks a context for its database. Items are objects or questions; compare
// items_per_second with that of one thread (real_time): on n cores n times as many are as good as it gets. "context" is
// what making and ending one takes; bytes is what one needs with the database and the processor of commands, before its
// rules are read.
#include "platform/ORVContext.h"
#include "platform/ORVKSLAPI.h"
#include "platform/ORVUnits.h"
#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "rules/AdditionalRules.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "bench/Model.h"
#include "bench/Stopwatch.h"
#include "session/Registration.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <string>

namespace {

constexpr long objects = 5000;

class Model {
 public:
  Model()
  {
    const orv::Context::Scope scope(m_context);
    orv::registerObjectClasses();
    orv::registerActions(m_actions, m_executive);
    m_executive.setActionFactory(&m_actions);
    orv::KSLInterface::instance()->setExecutive(&m_executive);
    orv::KSLCoreAPI::instance();
    orv::ObjectDB::instance();
  }

  void readRules()
  {
    const orv::Context::Scope scope(m_context);
    orv::KSLInterface* commands = orv::KSLInterface::instance();
    commands->getKSLAPI()->loadKSLData(bench::modelRules());
    orv::AdditionalRules rules;
    rules.applyObjectRules = true;
    commands->processRules(rules);
  }

  void run(const std::string& text)
  {
    const orv::Context::Scope scope(m_context);
    orv::KSLCoreAPI::instance()->processKSL(text, orv::kslUpdateAtEnd);
    bench::require(orv::ObjectDB::instance()->size() == objects, "objects of a model");
  }

  orv::Context& context() { return m_context; }

 private:
  orv::Executive m_executive;
  orv::ActionFactory m_actions;
  orv::Context m_context;
};

void load(benchmark::State& state)
{
  const std::string text = bench::modelText({objects});
  for (auto _ : state) {
    Model model;
    model.readRules();
    model.run(text);
  }
  state.SetItemsProcessed(state.iterations() * objects);
}

void units(benchmark::State& state)
{
  orv::Context context;
  const orv::Context::Scope scope(context);
  const std::string from[] = {"mm", "inch", "km h^-1", "C", "kg m^-3"};
  const std::string to[] = {"m", "cm", "m s^-1", "F", "g cm^-3"};
  double value = 1;
  for (auto _ : state) {
    for (int i = 0; i < 5; ++i)
      orv::UnitsConverter::convertUnits(from[i], to[i], 1, value);
    benchmark::DoNotOptimize(value);
  }
  state.SetItemsProcessed(state.iterations() * 5);
}

void instance(benchmark::State& state)
{
  orv::Context context;
  const orv::Context::Scope scope(context);
  for (auto _ : state)
    benchmark::DoNotOptimize(orv::ObjectDB::instance());
  state.SetItemsProcessed(state.iterations());
}

void context(benchmark::State& state)
{
  Model first;  // what is made once for all
  const std::size_t before = mallinfo2().uordblks;
  const Model second;
  const std::size_t bytes = mallinfo2().uordblks - before;
  for (auto _ : state)
    const Model model;
  state.counters["bytes"] = static_cast<double>(bytes);
  bench::require(bytes < 100'000, "size of a context");
}

BENCHMARK(load)->ThreadRange(1, 8)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(units)->ThreadRange(1, 8)->UseRealTime();
BENCHMARK(instance)->ThreadRange(1, 8)->UseRealTime();
BENCHMARK(context)->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
