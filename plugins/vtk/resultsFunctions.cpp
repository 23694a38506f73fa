// Results files, and variables that are made from what they hold.
#include "platform/ORVError.h"
#include "platform/ORVUnits.h"
#include "Communicator.h"
#include "Data.h"
#include "Expression.h"
#include "Memory.h"
#include "Pieces.h"
#include "Reader.h"
#include "Seams.h"
#include "functions.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <span>
#include <vtkCellData.h>
#include <vtkPointData.h>

namespace results {

using orv::KSLObject;

namespace {

// "p=Pa, U=m s^-1".
Units unitsOf(const KSLObject& object)
{
  Units units;
  for (const std::string& item : items(object, "Variable Units")) {
    const auto [name, text] = orv::ParamDefinition::splitNameValue(item);
    const std::string plain(orv::StringUtilities::unquoted(text));
    if (const std::string wrong = orv::UnitsConverter::whyInvalid(plain); !wrong.empty())
      fail("readResults", wrong);
    units[name] = plain.empty() ? "1" : plain;
  }
  return units;
}

ReadOptions optionsOf(const KSLObject& object)
{
  const double scale = object.getQuantityValue("Scale Factor").convertTo("");
  if (!(scale > 0))
    fail("readResults", orv::_("The scale factor of %s is not above 0.", object.getPath()));
  const std::vector<std::string> regions = items(object, "Regions");
  return {text(object, "Results File"),
          text(object, "Case Type") == "Decomposed",
          scale,
          unitsOf(object),
          {regions.begin(), regions.end()}};
}

std::string timesText(const std::vector<double>& times)
{
  std::vector<std::string> texts;
  for (const double time : times)
    texts.push_back(readable(time, 10) + " [s]");
  return join(texts);
}

// The one of the file's times that is meant.
double timeNear(const std::vector<double>& times, double wanted, const std::string& file)
{
  if (times.empty())
    return 0;
  const double span = times.back() - times.front();
  for (const double time : times) {
    if (std::abs(time - wanted) <= 1e-6 * std::max(span, std::abs(wanted)))
      return time;
  }
  fail("readResults", orv::_("Results file '%s' has nothing at time %s: its times are %s.", file,
                             withUnits(wanted, "s"), timesText(times)));
}

double timeOf(const KSLObject& object, const std::vector<double>& times, const std::string& file)
{
  const std::string wanted = text(object, "Time");
  const bool isNamed = wanted.empty() || wanted == "First" || wanted == "Last";
  if (times.empty() && !isNamed)
    fail("readResults", orv::_("Results file '%s' has nothing at time %s: it tells no times.", file,
                               withUnits(number(object, "Time", "s"), "s")));
  if (times.empty() || wanted.empty() || wanted == "Last")
    return times.empty() ? 0 : times.back();
  return wanted == "First" ? times.front() : timeNear(times, number(object, "Time", "s"), file);
}

std::size_t bytesOfField(const Mesh& mesh, const std::string& name)
{
  std::size_t kilobytes = 0;
  for (vtkFieldData* fields : {static_cast<vtkFieldData*>(mesh.cells->GetPointData()),
                               static_cast<vtkFieldData*>(mesh.cells->GetCellData())})
    if (vtkDataArray* const array = fields->GetArray(name.c_str()))
      kilobytes += array->GetActualMemorySize();
  return 1024 * kilobytes;
}

using Steps = std::span<const std::shared_ptr<const FieldStep>>;

// The mesh with some more; all else is shared.
std::shared_ptr<const Mesh> withSteps(const std::shared_ptr<const Mesh>& mesh, Steps steps,
                                      const orv::ResultKey& key)
{
  return remembered<Mesh>(key, "defineVariable", steps.back()->name, [&](Making& making) {
    auto more = std::make_shared<Mesh>(*mesh);
    more->cells = copyOf(*mesh->cells);
    for (Region& region : more->regions)
      region.faces = vtkPolyData::SafeDownCast(copyOf(*region.faces));
    std::size_t bytes = 0;
    for (const auto& step : steps) {
      step->addTo(*more);
      bytes += bytesOfField(*more, step->name);
    }
    more->key = key;
    more->base = making.hold(mesh);
    making.takes(bytes);
    return more;
  });
}

// One by one, or, because each mesh lists all its variables, those at once that nobody has: several processes, which would
// have to agree on what these are, go one by one.
std::shared_ptr<const Mesh> withAll(std::shared_ptr<const Mesh> mesh, Steps steps)
{
  std::vector<orv::ResultKey> keys{mesh->key};
  for (const auto& step : steps)
    keys.push_back(orv::ResultKey("withField").addAll(keys.back(), step->key));
  std::size_t done = 0;
  const bool isAlone = Communicator::instance().isAlone();
  for (std::size_t next = 1; next <= steps.size(); ++next) {
    const bool isWanted =
        !isAlone || next == steps.size() || orv::ResultMemory::instance().has<Mesh>(keys[next]);
    if (!isWanted)
      continue;
    mesh = withSteps(mesh, steps.subspan(done, next - done), keys[next]);
    done = next;
  }
  return mesh;
}

// Of all that are named, each once, and none before what it is made from.
std::vector<std::shared_ptr<const FieldStep>> stepsOf(const std::vector<std::shared_ptr<const Field>>& fields)
{
  std::vector<std::shared_ptr<const FieldStep>> steps;
  std::set<orv::ResultKey> known;
  for (const auto& field : fields)
    for (const auto& step : field->steps)
      if (known.insert(step->key).second)
        steps.push_back(step);
  return steps;
}

// In one order, whoever wants them.
std::shared_ptr<const Mesh> withFields(std::shared_ptr<const Mesh> mesh,
                                       std::vector<std::shared_ptr<const Field>> fields)
{
  std::sort(fields.begin(), fields.end(), [](const auto& a, const auto& b) { return a->key < b->key; });
  const std::vector<std::shared_ptr<const FieldStep>> steps = stepsOf(fields);
  return withAll(std::move(mesh), steps);
}

void tell(KSLObject& object, const Mesh& mesh, const std::vector<double>& times)
{
  std::vector<std::string> regions{"Boundary"};
  for (const Region& region : mesh.regions)
    regions.push_back(region.name);
  std::vector<std::string> variables;
  for (const std::string& name : variableNames(*mesh.cells)) {
    const auto known = mesh.units.find(name);
    variables.push_back(known == mesh.units.end() ? name : name + " [" + known->second + "]");
  }
  setResult(object, "Cell Count", static_cast<double>(countCells(*mesh.cells)));
  setResult(object, "Point Count", static_cast<double>(countDistinctPoints(*mesh.cells)));
  setResult(object, "Variables", join(variables));
  setResult(object, "Region List", join(regions));
  setResult(object, "Times", timesText(times));
  setResult(object, "Current Time", times.empty() ? "" : withUnits(mesh.time, "s"));
  setResult(object, "Extent", extentText(*mesh.cells));
}

}  // namespace

void readResults(KSLObject& object)
{
  const ReadOptions options = optionsOf(object);
  if (options.file.empty()) {
    for (const char* name :
         {"Cell Count", "Point Count", "Variables", "Region List", "Times", "Current Time", "Extent"})
      setResult(object, name, "");
    return;
  }
  const std::vector<double> times = timesIn(options);
  const double present = timeOf(object, times, options.file);
  const std::shared_ptr<const Mesh> mesh = readMesh(options, present);
  keep<Mesh>(object, "Data", [=](const Request& request) {
    const bool isOther = request.time && *request.time != present;
    return withFields(isOther ? readMesh(options, timeNear(times, *request.time, options.file)) : mesh,
                      request.fields);
  });
  tell(object, *mesh, times);
}

// The whole of the results is a place, too.
void showResults(KSLObject& object)
{
  const auto* kept = keptBy<Mesh>(&object, "Data");
  if (!kept || !kept->now)
    return;
  keep<Place>(object, "Geometry", [source = sourceOf(*kept)](const Request& request) {
    auto place = std::make_shared<Place>();
    place->mesh = source(request);
    place->data = place->mesh->cells;
    place->units = place->mesh->units;
    place->key = orv::ResultKey("showResults").add(place->mesh->key);
    return place;
  });
}

void defineVariable(KSLObject& object)
{
  if (!isGiven(object, "Expression"))
    return setResult(object, "Variable Units", "");
  const auto expression = std::make_shared<const Expression>(text(object, "Expression"));
  auto step = std::make_shared<FieldStep>();
  step->name = object.getName();
  step->key = orv::ResultKey("defineVariable").addAll(object.getName(), text(object, "Expression"));
  step->addTo = [name = step->name, expression](Mesh& mesh) { expression->addTo(mesh, name); };
  auto field = std::make_shared<Field>();
  field->steps = stepsOf(fieldsOf(object, "Expression"));
  for (const auto& used : field->steps)
    step->key.add(used->key);
  field->steps.push_back(step);
  field->key = step->key;
  const auto* kept = keptBy<Mesh>(namedOne(object, "Reader"), "Data");
  setResult(object, "Variable Units", "");
  if (kept && kept->now) {  // so that what is wrong is told here
    const std::shared_ptr<const Mesh> mesh = kept->at({std::nullopt, {field}});
    const auto units = mesh->units.find(step->name);
    setResult(object, "Variable Units", units == mesh->units.end() ? "" : units->second);
  }
  dynamic_cast<orv::GenericKSLObject&>(object).keepData(
      "Field", std::make_unique<Kept<Field>>([field](const Request&) { return field; }));
}

}  // namespace results
