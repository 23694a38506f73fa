// Sums over places.
#include "platform/ORVError.h"
#include "platform/ORVUnits.h"
#include "Memory.h"
#include "Numbers.h"
#include "Pieces.h"
#include "Surface.h"
#include "functions.h"
#include "running.h"

#include <cmath>
#include <limits>

namespace results {

using orv::KSLObject;

namespace {

struct Integral {
  std::string path;
  std::string option;
  std::string variable;
  Vec direction{};  // of a force; none: all of it
  Vec about{};      // of a moment
  std::string density;
  std::optional<orv::Quantity> densityValue;
  std::string userUnits;
  bool isReversed = false;
};

struct Sum {
  double value = 0;
  std::string units;  // "" when they are not known
  Vec vector{};       // of a force or moment
  Vec position{};     // of a minimum or maximum
  bool isVector = false;
  bool hasPosition = false;
  double size = 0;
  std::string sizeUnits;
};

// The values of a variable on a piece of a place: that of the cell where values were given on cells, which is exact for
// what solvers keep there; else the mean of the corners, which is exact for what is linear.
class Values {
 public:
  Values(const Variable& variable, std::size_t corners) : m_variable(variable), m_corners(corners) {}
  Vec vector(const Piece& piece) const
  {
    if (m_variable.onCells)
      return m_variable.vector(*m_variable.onCells, piece.cell);
    Vec sum{};
    for (std::size_t i = 0; i < m_corners; ++i)
      sum = sum + m_variable.vector(*m_variable.onPoints, piece.points[i]);
    return (1.0 / static_cast<double>(m_corners)) * sum;
  }
  double number(const Piece& piece) const
  {
    if (m_variable.onCells)
      return m_variable.value(*m_variable.onCells, piece.cell);
    double sum = 0;
    for (std::size_t i = 0; i < m_corners; ++i)
      sum += m_variable.value(*m_variable.onPoints, piece.points[i]);
    return sum / static_cast<double>(m_corners);
  }

 private:
  const Variable& m_variable;
  std::size_t m_corners;
};

// The integral of a number times the place, over a triangle: exact for what is linear, and for values of cells.
Vec firstMoment(const Variable& variable, const Place& place, const Piece& piece, const Vec& about)
{
  std::array<double, 3> values{};
  for (std::size_t i = 0; i < 3; ++i)
    values.at(i) = variable.onCells ? variable.value(*variable.onCells, piece.cell)
                                    : variable.value(*variable.onPoints, piece.points[i]);
  Vec sum{};
  for (std::size_t i = 0; i < 3; ++i) {
    Vec at;
    place.data->GetPoint(piece.points[i], at.data());
    sum = sum + (values.at(i) + values[0] + values[1] + values[2]) * (at - about);
  }
  return (piece.size / 12) * sum;
}

void requireSurface(const Integral& integral, const Place& place)
{
  if (!vtkPolyData::SafeDownCast(place.data))
    fail("integrate", orv::_("%s takes a surface: its location is a volume.", integral.path));
}

void findExtremeHere(const Integral& integral, const Variable& variable, const Place& place, Sum& sum)
{
  const bool isLowest = integral.option == "Minimum";
  vtkDataArray* const array = variable.onCells ? variable.onCells : variable.onPoints;
  vtkIdType best = -1;
  for (vtkIdType i = 0; i < array->GetNumberOfTuples(); ++i) {
    const double value = variable.value(*array, i);
    if (std::isnan(value))
      continue;
    if (best < 0 || (isLowest ? value < sum.value : value > sum.value)) {
      best = i;
      sum.value = value;
    }
  }
  sum.units = variable.units;
  sum.hasPosition = best >= 0;
  if (best < 0)
    return;
  if (!variable.onCells) {
    place.data->GetPoint(best, sum.position.data());
    return;
  }
  std::array<double, 6> box{};
  place.data->GetCellBounds(best, box.data());
  sum.position = {(box[0] + box[1]) / 2, (box[2] + box[3]) / 2, (box[4] + box[5]) / 2};
}

// Of all pieces; of equals, that of the first process.
void findExtreme(const Integral& integral, const Variable& variable, const Place& place, Sum& sum)
{
  struct Found {
    double value;
    Vec position;
    bool isThere;
  };
  findExtremeHere(integral, variable, place, sum);
  const bool isLowest = integral.option == "Minimum";
  const std::vector<Found> all = ofAll("extreme", Found{sum.value, sum.position, sum.hasPosition});
  sum.hasPosition = false;
  for (const Found& each : all) {
    const bool isBetter = !sum.hasPosition || (isLowest ? each.value < sum.value : each.value > sum.value);
    if (!each.isThere || !isBetter)
      continue;
    sum.value = each.value;
    sum.position = each.position;
    sum.hasPosition = true;
  }
}

// The density that turns what the solver calls pressure, or a flux, into what it weighs: a variable or a number.
class Density {
 public:
  Density(const Integral& integral, const Place& place)
  {
    if (integral.densityValue) {
      m_value = integral.densityValue->getValue();
      units = integral.densityValue->getUnits();
      isGiven = true;
    } else if (!integral.density.empty()) {
      m_variable = findVariable(integral.path, integral.density, *place.data, place.units);
      m_values.emplace(*m_variable, 3);
      units = m_variable->units;
      isGiven = true;
    }
  }
  Density(const Density&) = delete;
  Density& operator=(const Density&) = delete;
  double at(const Piece& piece) const { return m_values ? m_values->number(piece) : m_value; }
  bool isGiven = false;
  std::string units = "1";

 private:
  double m_value = 1;
  std::optional<Variable> m_variable;
  std::optional<Values> m_values;
};

void addFlux(const Integral& integral, const Variable& variable, const Place& place, Sum& sum)
{
  requireSurface(integral, place);
  if (variable.components() != 3)
    fail("integrate", orv::_("Variable '%s' of %s is no vector.", variable.name, integral.path));
  const Density density(integral, place);
  const bool isMass = integral.option == "Mass Flow";
  if (isMass && !density.isGiven)
    fail("integrate", orv::_("%s needs a density: a variable or a value.", integral.path));
  const Values values(variable, 3);
  forEachPiece(place, [&](const Piece& piece) {
    sum.value += (isMass ? density.at(piece) : 1) * piece.size * dot(values.vector(piece), piece.normal);
  });
  sum.value = total(sum.value);
  sum.units = product(isMass ? density.units : "1", product(variable.units, "m^2"));
}

void addForce(const Integral& integral, const Variable& variable, const Place& place, Sum& sum)
{
  requireSurface(integral, place);
  if (variable.components() != 1)
    fail("integrate", orv::_("Variable '%s' of %s is no pressure.", variable.name, integral.path));
  const Density density(integral, place);
  const bool isMoment = integral.option == "Moment";
  const Values values(variable, 3);
  forEachPiece(place, [&](const Piece& piece) {
    if (isMoment)
      sum.vector =
          sum.vector
          + density.at(piece) * cross(firstMoment(variable, place, piece, integral.about), piece.normal);
    else
      sum.vector = sum.vector + density.at(piece) * piece.size * values.number(piece) * piece.normal;
  });
  sum.vector = total(sum.vector);
  sum.units = product(density.units, product(variable.units, isMoment ? "m^3" : "m^2"));
  sum.isVector = true;
  sum.value = length(integral.direction) > 0 ? dot(sum.vector, integral.direction) : length(sum.vector);
}

void addPlain(const Integral& integral, const Variable& variable, const Place& place, Sum& sum)
{
  const bool isVolume = !vtkPolyData::SafeDownCast(place.data);
  const Values values(variable, isVolume ? 4 : 3);
  const bool isVector = variable.components() == 3;
  forEachPiece(place, [&](const Piece& piece) {
    if (isVector)
      sum.vector = sum.vector + piece.size * values.vector(piece);
    else
      sum.value += piece.size * values.number(piece);
  });
  sum.value = total(sum.value);
  sum.vector = total(sum.vector);
  if (integral.option == "Average") {
    sum.value = sum.size > 0 ? sum.value / sum.size : 0;
    sum.vector = sum.size > 0 ? (1 / sum.size) * sum.vector : Vec{};
  }
  sum.isVector = isVector;
  if (isVector)
    sum.value = length(sum.vector);
  sum.units = integral.option == "Average" ? variable.units : product(variable.units, sum.sizeUnits);
}

// Products of units as people write them; what they want to see.
void showUnits(const Integral& integral, Sum& sum)
{
  std::string units = unitsToShow(sum.units);
  if (!units.empty()) {
    const orv::UnitDimensions dimensions(units);
    const std::string wanted = integral.userUnits.empty() ? dimensions.toUnits() : integral.userUnits;
    const bool isPlain =
        integral.option == "Average" || integral.option == "Minimum" || integral.option == "Maximum";
    if (!(isPlain && integral.userUnits.empty())) {
      const double shift = converted(0, units, wanted);
      const double factor = converted(1, units, wanted) - shift;
      sum.value = factor * sum.value + shift;
      sum.vector = factor * sum.vector;
      units = wanted;
    }
  }
  sum.units = units;
}

Sum sumOver(const Integral& integral, const Place& place)
{
  Sum sum;
  const bool isVolume = !vtkPolyData::SafeDownCast(place.data);
  sum.sizeUnits = isVolume ? "m^3" : "m^2";
  forEachPiece(place, [&sum](const Piece& piece) { sum.size += piece.size; });
  sum.size = total(sum.size);
  if (integral.option == "Area" || integral.option == "Volume") {
    if (isVolume != (integral.option == "Volume"))
      fail("integrate", orv::_("%s has no '%s': its location is a %s.", integral.path, integral.option,
                               isVolume ? "volume" : "surface"));
    sum.value = sum.size;
    sum.units = sum.sizeUnits;
    return sum;
  }
  const bool isExtreme = integral.option == "Minimum" || integral.option == "Maximum";
  if (!isExtreme && sum.size == 0 && countCells(*place.data) > 0)
    fail("integrate",
         orv::_("%s has nothing to sum over: its location has neither area nor volume.", integral.path));
  const Variable variable = findVariable(integral.path, integral.variable, *place.data, place.units);
  if (integral.option == "Flux" || integral.option == "Mass Flow")
    addFlux(integral, variable, place, sum);
  else if (integral.option == "Force" || integral.option == "Moment")
    addForce(integral, variable, place, sum);
  else if (isExtreme)
    findExtreme(integral, variable, place, sum);
  else
    addPlain(integral, variable, place, sum);
  if (integral.isReversed) {
    sum.value = -sum.value;
    sum.vector = -1 * sum.vector;
  }
  showUnits(integral, sum);
  return sum;
}

std::shared_ptr<const Sum> sumAt(const Integral& integral, const Place& place)
{
  orv::ResultKey key("integrate");
  key.addAll(integral.option, integral.variable, integral.density, integral.userUnits, integral.isReversed);
  if (integral.densityValue)
    key.addAll(integral.densityValue->getValue(), integral.densityValue->getUnits());
  for (const Vec& vector : {integral.direction, integral.about})
    key.addAll(vector[0], vector[1], vector[2]);
  return remembered<Sum>(key.add(place.key), "integrate", integral.path,
                         [&](Making&) { return std::make_shared<Sum>(sumOver(integral, place)); });
}

Numbers asNumbers(const Integral& integral, const Sum& sum)
{
  Numbers numbers;
  const std::string name = integral.option == "Area" || integral.option == "Volume"
                               ? integral.option
                               : integral.option + " of " + integral.variable;
  numbers.columns.push_back({name, sum.units, {sum.value}});
  if (sum.isVector) {
    for (std::size_t i = 0; i < 3; ++i)
      numbers.columns.push_back({name + " " + static_cast<char>('X' + i), sum.units, {sum.vector.at(i)}});
  }
  if (sum.hasPosition) {
    for (std::size_t i = 0; i < 3; ++i)
      numbers.columns.push_back({std::string(1, static_cast<char>('X' + i)), "m", {sum.position.at(i)}});
  }
  return numbers;
}

Integral integralOf(const KSLObject& object)
{
  Integral integral;
  integral.path = object.getPath();
  integral.option = text(object, "Option");
  integral.variable = variableOf(object, "Variable");
  integral.userUnits = text(object, "User Units");
  integral.isReversed = isOn(object, "Reversed");
  if (isGiven(object, "Direction"))
    integral.direction = unit(object, "Direction");
  if (integral.option == "Moment")
    integral.about = point(object, "Point");
  integral.density = variableOf(object, "Density");
  const std::string& density = integral.density;
  if (!density.empty()
      && (std::isdigit(static_cast<unsigned char>(density.front())) || density.front() == '.'))
    integral.densityValue = object.getQuantityValue("Density");
  return integral;
}

void tell(KSLObject& object, const Sum& sum)
{
  for (const char* name : {"Result", "Value"})
    setResult(object, name, sum.value, sum.units);
  setResult(object, "Size", sum.size, sum.sizeUnits);
  if (sum.isVector)
    setResult(object, "Components", std::span<const double>(sum.vector), sum.units);
  if (sum.hasPosition)
    setResult(object, "Position", std::span<const double>(sum.position), "m");
}

}  // namespace

void integrate(KSLObject& object)
{
  const auto* kept = keptBy<Place>(namedOne(object, "Location"), "Geometry");
  for (const char* name : {"Result", "Value", "Size", "Components", "Position"})
    setResult(object, name, "");
  const std::string option = text(object, "Option");
  const bool isSize = option == "Area" || option == "Volume";
  if (!kept || !kept->now || !(isSize || isGiven(object, "Variable")))
    return;
  std::vector<std::shared_ptr<const Field>> fields = fieldsOf(object, "Variable");
  for (const auto& field : fieldsOf(object, "Density"))
    fields.push_back(field);
  const Integral integral = integralOf(object);
  const auto sumFor = [&, place = sourceOf(*kept)](const Request& request) {
    Request all = request;
    all.fields.insert(all.fields.end(), fields.begin(), fields.end());
    return sumAt(integral, *place(all));
  };
  const std::shared_ptr<const Sum> present = sumFor({});
  keepNumbers(object, kept->now->mesh ? kept->now->mesh->times : std::vector<double>(),
              [&](const Request& request) {
                return asNumbers(integral, request.isPresent() ? *present : *sumFor(request));
              });
  tell(object, *present);
}

}  // namespace results
