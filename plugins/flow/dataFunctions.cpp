#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "Domain.h"
#include "Values.h"
#include "functions.h"

#include <algorithm>
#include <numbers>

namespace flow {

using orv::KSLObject;

namespace {

// The box that the results fill, before it is scaled.
constexpr Vec lower{-3, -2.5, -0.5};
constexpr Vec upper{5, 2.5, 0.5};

double densityOf(const std::string& fluid)
{
  if (fluid == "Air")
    return 1.2;
  if (fluid == "Water")
    return 998;
  throw orv::data::invalid("FlowLibrary", "readDomain", orv::_("Density of fluid '%s' is not known.", fluid));
}

bool isWall(const KSLObject& boundary)
{
  return boundary.getValue("Boundary Type") == "Wall";
}

double radiusOf(const KSLObject& wall)
{
  return std::max(0.0, number(wall, "Radius", "m"));
}

// The reader that the results come from; null when there are none.
const KSLObject* usedReader(const KSLObject& object)
{
  const KSLObject* reader = source(object, "DATA READER");
  return reader && !reader->getValue("Current Results File").empty() ? reader : nullptr;
}

// What one boundary says about the flow.
void applyBoundary(const KSLObject& boundary, Field& field)
{
  const std::string& type = boundary.getValue("Boundary Type");
  if (type == "Inlet")
    field.speed = number(boundary, "Inlet Speed", "m s^-1");
  if (type == "Outlet")
    field.pressure = number(boundary, "Outlet Pressure", "Pa");
  if (type != "Wall")
    return;
  const std::vector<double> extent = result(boundary, "Extent");
  field.radius = extent.empty() ? 0 : extent.front();
  field.circulation = 2 * std::numbers::pi * field.radius * number(boundary, "Wall Speed", "m s^-1");
}

}  // namespace

// The results are a formula, so the file's name is all that is looked at.
void readResults(KSLObject& reader)
{
  const bool isUsed = !reader.getValue("Current Results File").empty();
  setResult(reader, "Domain Count", isUsed ? "1" : "");
}

void readBoundary(KSLObject& boundary)
{
  const KSLObject* reader = usedReader(boundary);
  if (!reader) {
    for (const char* name : {"Face Count", "Area", "Extent"})
      setResult(boundary, name, "");
    return;
  }
  const double scale = number(*reader, "Scale Factor", "");
  constexpr int sectors = 120;
  constexpr int squares = 50;  // along the inlet
  const Vec size = scale * (upper - lower);
  const bool wall = isWall(boundary);
  const double radius = wall ? scale * radiusOf(boundary) : 0;
  const double around = 2 * std::numbers::pi * radius;
  const bool across = boundary.getValue("Boundary Type") != "Symmetry";
  setResult(boundary, "Face Count", wall ? sectors : squares);
  setResult(boundary, "Area", (wall ? around : across ? size.y : size.x) * size.z, "m^2");
  const std::vector<double> extent{radius, scale * lower.z, scale * upper.z};
  setResult(boundary, "Extent", radius > 0 ? extent : std::vector<double>());
}

void readDomain(KSLObject& domain)
{
  const KSLObject* reader = usedReader(domain);
  if (!reader)
    return writeField(domain, std::nullopt);
  const double scale = number(*reader, "Scale Factor", "");
  Field field;
  field.density = densityOf(domain.getValue("Fluid"));
  field.lower = scale * lower;
  field.upper = scale * upper;
  for (const KSLObject* boundary : domain.getSchedulerParentObjects()) {
    if (boundary->typeIs("BOUNDARY"))
      applyBoundary(*boundary, field);
  }
  writeField(domain, field);
}

}  // namespace flow
