// Abstract data models: reading any tree of objects with parameters by path.
#pragma once

#include "platform/ORVUtilities.h"

#include <string>
#include <vector>

namespace orv {

// Receives the objects of a subtree: begin, the object's parameters, its children (begin … end each), end.
class ORV_API TreeVisitor {
 public:
  virtual ~TreeVisitor();
  // A singleton's name is its type.
  virtual void beginObject(const std::string& path, const std::string& type, const std::string& name) = 0;
  virtual void parameter(const std::string& path, const std::string& name, const std::string& value) = 0;
  virtual void endObject() = 0;
};

class ORV_API TreeAndLeafReadModel : public rcount_base {
 public:
  virtual ~TreeAndLeafReadModel();
  virtual bool hasObject(const KSLPath& path) const = 0;
  virtual std::vector<KSLPath> getChildren(const KSLPath& path) const = 0;
  virtual std::vector<std::string> getParameterNames(const KSLPath& path) const = 0;
  // "" for an unknown object or parameter.
  virtual std::string getParameterValue(const KSLPath& path, const std::string& name) const = 0;
  virtual bool isSingleton(const KSLPath& path) const = 0;
  // Walks an object and all below it, telling what was set for each by its users: what an object of the type has
  // anyhow, and what is the program's own, is left out. Nothing for an unknown object. Linear in what is told.
  virtual void visitSettings(const KSLPath& path, TreeVisitor& visitor) const = 0;
};

}  // namespace orv
