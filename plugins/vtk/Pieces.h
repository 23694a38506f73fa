// What several processes make of their pieces of the data. In one process each of these gives what it is given, and
// costs nothing; in several all call it, for the same thing, as every talk of theirs (Communicator.h).
//
// A mesh or place is the sum of the pieces of all. One that this process has nothing of is there all the same, with the
// same kind and fields. What is found of all (a sum, a count, a range) is the same everywhere, to the last bit. What is
// shown is gathered: the first process has all of it, the others have nothing.
#pragma once

#include "Data.h"

#include <cstring>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace results {

// ---- Numbers

std::vector<double> totals(const std::vector<double>& mine);
double total(double mine);
Vec total(const Vec& mine);
vtkIdType countCells(vtkDataSet& data);
vtkIdType countPoints(vtkDataSet& data);  // those at seams counted by each that has them
// That of the first process, for all.
std::string ofFirst(const std::string& mine);

template <class T>
std::vector<T> ofAll(const char* what, const T& mine);

// ---- Meshes

// Which of `count` things are this process's, in their order: those from `first` to before `end`.
struct Share {
  vtkIdType first = 0;
  vtkIdType end = 0;
  static Share of(vtkIdType count);
};

// Makes one mesh of what each process has read: null for nothing, a piece of its own, or all of it, when all read the
// same; then each keeps its share of the cells. Throws data::invalid when a piece lacks a field that others have. Null
// when there is nothing anywhere.
std::shared_ptr<Mesh> shared(std::shared_ptr<Mesh> mesh, bool isPiece);
// At points that pieces have in common: fields that were made of the values of the cells round a point, of all of them.
void mendSeams(vtkDataSet& data, const std::vector<vtkDataArray*>& onPoints);
// Gives data that is empty here the fields of others: they stand in `like`.
void takeFields(vtkDataSet& data, vtkDataSet& like);

// ---- Places

// The outer surface of a volume, without the seams of its pieces; surfaces as they are.
Ptr<vtkPolyData> outerSurface(vtkDataSet& data);
// All of it at the first process; merged, what was in several pieces is one point.
Ptr<vtkPolyData> gathered(const Ptr<vtkPolyData>& surface, bool isMerged = true);
// The place as something to be shown: its outer surface, gathered.
Place gatheredPlace(const Place& place);
// All its points, gathered.
Ptr<vtkPolyData> gatheredPoints(vtkDataSet& data);

// ---- Inside

template <class T>
std::string bytesOf(const std::vector<T>& values)
{
  static_assert(std::is_trivially_copyable_v<T>);
  return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

template <class T>
std::vector<T> valuesOf(const std::string& bytes)
{
  static_assert(std::is_trivially_copyable_v<T>);
  std::vector<T> values(bytes.size() / sizeof(T));
  if (!values.empty())
    std::memcpy(values.data(), bytes.data(), values.size() * sizeof(T));
  return values;
}

std::vector<std::string> exchanged(const char* what, const std::string& mine);

std::string marshalled(vtkDataObject& data);
void unmarshal(const std::string& bytes, vtkDataObject& data);

template <class T>
std::vector<T> ofAll(const char* what, const T& mine)
{
  std::vector<T> all;
  for (const std::string& each : exchanged(what, bytesOf(std::vector<T>{mine})))
    all.push_back(valuesOf<T>(each).at(0));
  return all;
}

}  // namespace results
