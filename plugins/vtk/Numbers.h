// Tables of numbers: what probes and integrals find, and what tables and charts show.
#pragma once

#include "Data.h"

#include <functional>
#include <string>
#include <vector>

namespace results {

struct Column {
  std::string name;
  std::string units;
  std::vector<double> values;
};

struct Numbers {
  std::string title;
  std::string objectPath;
  std::vector<Column> columns;  // all of one length
  bool isOfFile = false;        // nobody's; the path is the file's
  std::size_t rows() const { return columns.empty() ? 0 : columns.front().values.size(); }
  const Column* find(const std::string& name) const;  // null without
};

// "" for numbers that have none, as they are shown.
std::string unitsToShow(const std::string& units);

// Keeps numbers as the object's value. With a "Time List" they are found at each of these times, `All` those of the
// results, and stand below each other, with the time before them.
void keepNumbers(orv::KSLObject& object, const std::vector<double>& times,
                 const std::function<Numbers(const Request&)>& make);
// Null for an object without any.
std::shared_ptr<const Numbers> numbersOf(const orv::KSLObject* object);

}  // namespace results
