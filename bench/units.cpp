// Times of reading quantities and of choosing a unit system.
//   bench_units [Google Benchmark's options]
// The baseline of a read is strtod on the same text.
#include "platform/ORVUnits.h"
#include "database/ParamDefinition.h"
#include "services/EngineUnitSystemHandler.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <stdexcept>
#include <string>

namespace {

constexpr const char* text = "2.5 [m]";

// A wrong result makes a figure worthless.
void require(bool good, const char* what)
{
  if (!good)
    throw std::runtime_error(std::string("wrong result: ") + what);
}

orv::ParamDefinition makeParam()
{
  return orv::ParamDefinition("Width", "", "", "Quantity", text, "");
}

void readByStrtod(benchmark::State& state)
{
  const std::string value = text;
  double sum = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(value.c_str());
    sum += std::strtod(value.c_str(), nullptr);
  }
  require(sum == 2.5 * static_cast<double>(state.iterations()), "strtod");
}

void readQuantity(benchmark::State& state)
{
  const orv::ParamDefinition param = makeParam();
  double sum = 0;
  for (auto _ : state)
    sum += param.getQuantityValue().getValue();
  require(sum == 2.5 * static_cast<double>(state.iterations()), "getQuantityValue");
}

void readConverted(benchmark::State& state)
{
  const orv::ParamDefinition param = makeParam();
  const std::string units = "mm";
  double sum = 0;
  for (auto _ : state)
    sum += param.getQuantityValue().convertTo(units);
  require(sum == 2500 * static_cast<double>(state.iterations()), "convertTo");
}

void showInPreferredUnits(benchmark::State& state)
{
  orv::EngineUnitSystemHandler::instance()->load({"CGS", {}, {}}, nullptr);
  const orv::ParamDefinition param = makeParam();
  for (auto _ : state)
    benchmark::DoNotOptimize(param.getValue(true, "", false));
  require(param.getValue(true, "", false) == "250", "getValue");
  orv::EngineUnitSystemHandler::destroyInstance();
}

void switchSystem(benchmark::State& state)
{
  orv::EngineUnitSystemHandler* handler = orv::EngineUnitSystemHandler::instance();
  bool english = false;
  for (auto _ : state)
    handler->load({(english = !english) ? "English" : "SI", {}, {}}, nullptr);
  orv::EngineUnitSystemHandler::destroyInstance();
}

BENCHMARK(readByStrtod)->Name("read/strtod");
BENCHMARK(readQuantity)->Name("read/quantity");
BENCHMARK(readConverted)->Name("read/converted");
BENCHMARK(showInPreferredUnits)->Name("show");
BENCHMARK(switchSystem)->Name("switch");

}  // namespace

BENCHMARK_MAIN();
