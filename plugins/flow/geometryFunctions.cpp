#include "platform/ORVError.h"
#include "platform/ORVOutputFiles.h"
#include "platform/ORVUtilities.h"
#include "Cut.h"
#include "Domain.h"
#include "Levels.h"
#include "Surface.h"
#include "Values.h"
#include "functions.h"

#include <algorithm>

namespace flow {

using orv::KSLObject;

namespace {

std::optional<Field> fieldOf(const KSLObject& object)
{
  const KSLObject* domain = source(object, "DOMAIN");
  return domain ? readField(*domain) : std::nullopt;
}

std::vector<const Variable*> variablesOf(const KSLObject& probe)
{
  std::vector<const Variable*> variables;
  for (const std::string& item : probe.lookUpParam("Variable List")->splitValue())
    variables.push_back(&findVariable(std::string(orv::StringUtilities::unquoted(item))));
  return variables;
}

// Where a probe asks: the points of it that are in the flow.
std::vector<Vec> pointsOf(const KSLObject& probe, const Field& field)
{
  std::vector<Vec> points;
  if (probe.getValue("Option") == "Line") {
    const int samples = count(probe, "Samples", 100'000);
    const Vec first = point(probe, "Point 1");
    const Vec way = point(probe, "Point 2") - first;
    for (int i = 0; i < samples; ++i)
      points.push_back(first + (samples > 1 ? static_cast<double>(i) / (samples - 1) : 0) * way);
  } else {
    points.push_back(point(probe, "Point"));
  }
  // The surface counts as flow, though points on it, written with six digits, are never quite there.
  const auto isOutside = [&field](Vec at) { return !field.isInBox(at) || field.isInBody((1 + 1e-5) * at); };
  points.erase(std::remove_if(points.begin(), points.end(), isOutside), points.end());
  return points;
}

// A line for each point: where it is, and what is there.
void writeTable(const std::string& fileName, const std::vector<const Variable*>& variables,
                const std::vector<double>& positions, const std::vector<double>& values)
{
  using orv::StringUtilities::toString;
  std::string text = "X [m],Y [m],Z [m]";
  for (const Variable* variable : variables)
    text.append(",").append(variable->name).append(*variable->units ? orv::_(" [%s]", variable->units) : "");
  text += '\n';
  for (std::size_t i = 0; 3 * i < positions.size(); ++i) {
    text += toString(positions[3 * i]) + ',' + toString(positions[3 * i + 1]) + ','
            + toString(positions[3 * i + 2]);
    for (std::size_t k = 0; k < variables.size(); ++k)
      text += ',' + toString(values[i * variables.size() + k]);
    text += '\n';
  }
  orv::OutputFiles::instance()->write(fileName, text);
}

}  // namespace

void cutFlow(KSLObject& object)
{
  std::optional<Cut> cut;
  CutSize size;
  if (const std::optional<Field> field = fieldOf(object)) {
    cut = makeCut(object, *field);
    size = sizeOf(*cut);
  }
  writeCut(object, cut, source(object, "DOMAIN"));
  if (!cut) {
    setResult(object, "Triangle Count", "");
    return setResult(object, "Area", "");
  }
  setResult(object, "Triangle Count", size.triangles);
  setResult(object, "Area", size.area, "m^2");
}

void findLevel(KSLObject& object)
{
  const std::optional<Field> field = fieldOf(object);
  if (!field) {
    for (const char* name : {"Level", "Source"})
      setResult(object, name, "");
    setResult(object, "Triangle Count", "");
    return setResult(object, "Area", "");
  }
  const Variable& variable = findVariable(object.getValue("Variable"));
  const auto [low, high] = field->range(variable);
  const double level = object.getValue("Option") == "Fraction"
                           ? low + number(object, "Fraction", "") * (high - low)
                           : number(object, "Value", variable.units);
  const Surface surface = makeSurface(*field, variable, level);
  setResult(object, "Level", level);
  setResult(object, "Triangle Count", surface.triangles());
  setResult(object, "Area", surface.area(), "m^2");
  setResult(object, "Source", source(object, "DOMAIN")->getPath());
}

void probeFlow(KSLObject& object)
{
  const std::optional<Field> field = fieldOf(object);
  const std::vector<const Variable*> variables = variablesOf(object);
  std::vector<double> positions;
  std::vector<double> values;
  int samples = 0;
  if (field) {
    for (const Vec at : pointsOf(object, *field)) {
      positions.insert(positions.end(), {at.x, at.y, at.z});
      for (const Variable* variable : variables)
        values.push_back(field->value(*variable, at));
      ++samples;
    }
  }
  setResult(object, "Sample Count", samples);
  setResult(object, "Positions", positions);
  setResult(object, "Results", values);
  const std::string& fileName = object.getValue("Output File");
  if (field && !fileName.empty())
    writeTable(std::string(orv::StringUtilities::unquoted(fileName)), variables, positions, values);
}

}  // namespace flow
