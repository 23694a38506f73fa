// What calculations read from objects and leave on them.
#pragma once

#include "database/KSLObject.h"

#include <array>
#include <span>
#include <string>
#include <vector>

namespace results {

using Vec = std::array<double, 3>;

inline Vec operator-(const Vec& a, const Vec& b)
{
  return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}
inline Vec operator+(const Vec& a, const Vec& b)
{
  return {a[0] + b[0], a[1] + b[1], a[2] + b[2]};
}
inline Vec operator*(double factor, const Vec& a)
{
  return {factor * a[0], factor * a[1], factor * a[2]};
}
inline double dot(const Vec& a, const Vec& b)
{
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}
inline Vec cross(const Vec& a, const Vec& b)
{
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double length(const Vec& a);
// data::invalid when it has no length: the parameter is named.
Vec unit(const orv::KSLObject& object, const std::string& name);

// A number without units counts as one in these. Throw as the reads of KSLObject.
double number(const orv::KSLObject& object, const std::string& name, const std::string& units);
Vec point(const orv::KSLObject& object, const std::string& name);  // in metres
// From 1 to the limit, whatever is set.
int count(const orv::KSLObject& object, const std::string& name, int limit);
bool isOn(const orv::KSLObject& object, const std::string& name);  // also true without the parameter
// Without quotes round it; "" without the parameter.
std::string text(const orv::KSLObject& object, const std::string& name);
std::vector<std::string> items(const orv::KSLObject& object, const std::string& name);
bool isGiven(const orv::KSLObject& object, const std::string& name);  // there, and not empty
std::string labelOf(const orv::KSLObject& object);                    // what a person calls it

// Results: internal parameters. An object without the parameter is passed over.
void setResult(orv::KSLObject& object, const std::string& name, const std::string& value);
void setResult(orv::KSLObject& object, const std::string& name, double value, const std::string& units = "");
void setResult(orv::KSLObject& object, const std::string& name, std::span<const double> values,
               const std::string& units = "");
std::string withUnits(double value, const std::string& units);  // "2 [m]"

// Of "p=Pa, U=m s^-1".
std::string join(const std::vector<std::string>& texts, const char* separator = ", ");
// Rounded to so many figures, as people read it.
std::string readable(double value, int figures = 4);
// ".vtu" of "Pump.VTU".
std::string endingOf(const std::string& file);

}  // namespace results
