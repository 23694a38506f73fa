// What the calculations keep with their objects: meshes, places in them, and what is shown there.
#pragma once

#include "platform/ORVResultMemory.h"
#include "database/KSLObject.h"
#include "rules/GenericKSLObject.h"
#include "Ptr.h"
#include "Values.h"

#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>
#include <vtkDataSet.h>
#include <vtkLookupTable.h>
#include <vtkPolyData.h>

namespace results {

using Units = std::map<std::string, std::string>;  // of variables, by name

struct Region {
  std::string name;
  Ptr<vtkPolyData> faces;
};

inline constexpr const char* cellNumbers =
    "vtkCells";  // an array that is no variable: the number of each cell

// Results at one time: all cells in one piece, lengths in metres. Fields stand on the points in any case, and on the cells
// too when they were given there. Never changed once it is made.
struct Mesh {
  Ptr<vtkDataSet> cells;
  std::vector<Region> regions;  // of the boundary, where the file tells them
  Units units;
  std::vector<double> times;  // that the file has
  double time = 0;
  orv::ResultKey key;                // what it was computed from
  std::shared_ptr<const Mesh> base;  // that all but a field of it is; null for what was read
};

// A variable made from those that a mesh has.
struct FieldStep {
  std::string name;
  orv::ResultKey key;
  std::function<void(Mesh&)> addTo;
};

// A VARIABLE: its own step is the last, and before it stand those of all that it is made from, each once.
struct Field {
  std::vector<std::shared_ptr<const FieldStep>> steps;
  orv::ResultKey key;
};

// What a result is wanted for, when that is not what its object shows at the moment.
struct Request {
  std::optional<double> time;
  std::vector<std::shared_ptr<const Field>> fields;
  bool isPresent() const { return !time && fields.empty(); }
};

// A part of a mesh: a surface, lines, points or a volume.
struct Place {
  Ptr<vtkDataSet> data;
  Vec normal{};  // of a plane: its triangles face either way
  Units units;
  std::shared_ptr<const Mesh> mesh;
  bool isAtFirst = false;  // of several processes, the first has all of it
  double size = 0;         // area or volume
  double level = 0;        // of a level surface, with its units
  std::string levelUnits;
  orv::ResultKey key;  // what it was computed from
};

struct Legend {
  std::string title;
  std::string units;
  Ptr<vtkLookupTable> colours;
  bool isStepped = false;
  bool isSame(const Legend& other) const;
};

// Something to be seen.
struct Show {
  Ptr<vtkPolyData> body;
  bool isColoured = false;  // by the point array "colour" and the legend's table
  Legend legend;
  bool isLit = true;
  Ptr<vtkPolyData> lines;             // over the body, in one dark colour; null without
  double lineWidth = 1;               // in points of the picture
  std::shared_ptr<const void> basis;  // a result that it is made of; null without
};

// Unlike any other where nobody can find it again.
template <class T>
orv::ResultKey keyOf(const std::shared_ptr<const T>& result)
{
  if constexpr (requires { result->key; })
    return result ? result->key : orv::ResultKey();
  else
    return orv::ResultKey::unique();
}

// What an object keeps is a recipe, and what it gave for the present.
template <class T>
struct Kept : orv::ObjectData {
  using Recipe = std::function<std::shared_ptr<const T>(const Request&)>;
  explicit Kept(Recipe made) : Kept(made, made({})) {}
  Kept(Recipe made, std::shared_ptr<const T> present)
      : ObjectData(keyOf(present)),
        recipe(std::move(made)),
        now(std::move(present))
  {}
  std::shared_ptr<const T> at(const Request& request) const
  {
    return request.isPresent() ? now : recipe(request);
  }
  const Recipe recipe;
  const std::shared_ptr<const T> now;  // null without results
};

// An object's result, wherever it is wanted later: null without an object or results.
template <class T>
using Source = std::shared_ptr<const typename Kept<T>::Recipe>;

template <class T>
const Kept<T>* keptBy(const orv::KSLObject* object, const char* scheduler)
{
  const auto* computing = dynamic_cast<const orv::GenericKSLObject*>(object);
  return computing ? dynamic_cast<const Kept<T>*>(computing->getData(scheduler)) : nullptr;
}

// Gives what the present is now and what the recipe is, for closures: both outlive the object.
template <class T>
std::function<std::shared_ptr<const T>(const Request&)> sourceOf(const Kept<T>& kept)
{
  return [recipe = kept.recipe, now = kept.now](const Request& request) {
    return request.isPresent() ? now : recipe(request);
  };
}

template <class T>
void keep(orv::KSLObject& object, const char* scheduler, typename Kept<T>::Recipe recipe)
{
  dynamic_cast<orv::GenericKSLObject&>(object).keepData(scheduler,
                                                        std::make_unique<Kept<T>>(std::move(recipe)));
}

// The objects that a parameter names, in the order of its text; without those that name nothing.
std::vector<const orv::KSLObject*> named(const orv::KSLObject& object, const std::string& param);
const orv::KSLObject* namedOne(const orv::KSLObject& object, const std::string& param);  // null without

// ---- Variables

// A variable on a mesh or place: a field, or one component of it. "U" is a field, "U.x" a component, "U.mag" its length.
struct Variable {
  std::string name;    // as asked for
  std::string field;   // as it stands in the data
  int component = -1;  // -1: all
  bool isLength = false;
  std::string units;
  vtkDataArray* onPoints = nullptr;
  vtkDataArray* onCells = nullptr;                        // null where values were given on points
  int components() const;                                 // 1 for numbers
  double value(vtkDataArray& array, vtkIdType at) const;  // a vector counts by its length
  Vec vector(vtkDataArray& array, vtkIdType at) const;
};

// For the object at the path. Throws data::invalid, "Variable 'T' is not in the results of /BAND:a: there are U, p.".
Variable findVariable(const std::string& path, const std::string& name, vtkDataSet& data, const Units& units);
std::vector<std::string> variableNames(vtkDataSet& data);
// What the variables that a parameter asks for are called in the data: a VARIABLE by its own name, also where its path
// stands in the text.
std::vector<std::string> variablesOf(const orv::KSLObject& object, const std::string& param);
std::string variableOf(const orv::KSLObject& object, const std::string& param);  // "" without
// The VARIABLE objects that a parameter names, as fields for a request.
std::vector<std::shared_ptr<const Field>> fieldsOf(const orv::KSLObject& object, const std::string& param);

// A quantity that is given for a variable, as a number in the variable's units: without units it counts as one in these.
double inUnits(const orv::Quantity& value, const std::string& units);
// Null for an empty parameter.
std::optional<orv::Quantity> given(const orv::KSLObject& object, const std::string& param);
// How a value in `from` is shown in `to`; empty `to`: as it is.
double converted(double value, const std::string& from, const std::string& to);
// The product of both; "" when one is not known.
std::string product(const std::string& a, const std::string& b);

// Nothing but these, in full precision.
Ptr<vtkPolyData> pointsAt(const std::vector<Vec>& points);
// Some points of the data with their fields, each as a vertex.
Ptr<vtkPolyData> verticesAt(vtkDataSet& data, const std::vector<vtkIdType>& points);
// The outer surface of what is no surface yet.
Ptr<vtkPolyData> surfaceOf(vtkDataSet& data);
Ptr<vtkDataSet> copyOf(vtkDataSet& data);  // a shallow one
std::string extentText(vtkDataSet& data);  // of the pieces of all processes

}  // namespace results
