// What calculations read from objects and leave on them.
#pragma once

#include "database/KSLObject.h"
#include "vec.h"

#include <span>
#include <string>
#include <vector>

namespace flow {

// A parameter's number in the units given; a number without units counts as one in these. Throws as the reads
// of KSLObject.
double number(const orv::KSLObject& object, const std::string& name, const std::string& units);
// From 1 to the limit, whatever is set.
int count(const orv::KSLObject& object, const std::string& name, int limit);
Vec point(const orv::KSLObject& object, const std::string& name);      // in metres
Vec direction(const orv::KSLObject& object, const std::string& name);  // as written
bool isOn(const orv::KSLObject& object, const std::string& name);      // also true without the parameter
// What a person calls the object: its label, or its name.
std::string labelOf(const orv::KSLObject& object);

// Results: internal parameters, written so that they read back to the same numbers.
void setResult(orv::KSLObject& object, const std::string& name, const std::string& text);
void setResult(orv::KSLObject& object, const std::string& name, double value, const char* units = "");
void setResult(orv::KSLObject& object, const std::string& name, std::span<const double> values);
// Numbers without units, as the form above writes them. Empty when there is no such result, or when someone
// else has written there.
std::vector<double> result(const orv::KSLObject& object, const std::string& name);

// The first of the objects that this one depends on which is of the type or category, in path order; null
// without one.
orv::KSLObject* source(const orv::KSLObject& object, const std::string& typeOrCategory);

}  // namespace flow
