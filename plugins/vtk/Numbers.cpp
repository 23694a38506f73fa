#include "Numbers.h"

#include "platform/ORVError.h"
#include "running.h"

#include <algorithm>

namespace results {

using orv::KSLObject;

const Column* Numbers::find(const std::string& name) const
{
  const auto found = std::find_if(columns.begin(), columns.end(),
                                  [&name](const Column& column) { return column.name == name; });
  return found == columns.end() ? nullptr : &*found;
}

std::string unitsToShow(const std::string& units)
{
  return units == "1" ? std::string() : units;
}

namespace {

std::vector<double> timesWanted(const KSLObject& object, const std::vector<double>& all)
{
  if (!isGiven(object, "Time List"))
    return {};
  return text(object, "Time List") == "All" ? all : object.getRealArray("Time List", "s");
}

void append(Numbers& all, const Numbers& more, double time)
{
  if (all.columns.empty()) {
    all.columns.push_back({"Time", "s", {}});
    for (const Column& column : more.columns)
      all.columns.push_back({column.name, column.units, {}});
  }
  all.columns.front().values.insert(all.columns.front().values.end(), more.rows(), time);
  for (std::size_t i = 0; i < more.columns.size(); ++i)
    all.columns[i + 1].values.insert(all.columns[i + 1].values.end(), more.columns[i].values.begin(),
                                     more.columns[i].values.end());
}

}  // namespace

void keepNumbers(KSLObject& object, const std::vector<double>& times,
                 const std::function<Numbers(const Request&)>& make)
{
  auto numbers = std::make_shared<Numbers>();
  const std::vector<double> wanted = timesWanted(object, times);
  if (!wanted.empty() && times.empty())
    fail("keepNumbers", orv::_("%s has a Time List, and its results tell no times.", object.getPath()));
  if (wanted.empty())
    *numbers = make({});
  for (const double time : wanted)
    append(*numbers, make({time, {}}), time);
  numbers->title = labelOf(object);
  numbers->objectPath = object.getPath();
  keep<Numbers>(object, "Value", [numbers](const Request&) { return numbers; });
}

std::shared_ptr<const Numbers> numbersOf(const KSLObject* object)
{
  const auto* kept = keptBy<Numbers>(object, "Value");
  return kept ? kept->now : nullptr;
}

}  // namespace results
