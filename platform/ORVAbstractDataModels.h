// Abstract data models: reading any tree of objects with parameters by path.
#pragma once

#include "platform/ORVUtilities.h"

#include <string>
#include <vector>

namespace orv {

class ORV_API TreeAndLeafReadModel : public rcount_base {
 public:
  virtual ~TreeAndLeafReadModel();
  virtual bool hasObject(const KSLPath& path) const = 0;
  virtual std::vector<KSLPath> getChildren(const KSLPath& path) const = 0;
  virtual std::vector<std::string> getParameterNames(const KSLPath& path) const = 0;
  // "" for an unknown object or parameter.
  virtual std::string getParameterValue(const KSLPath& path, const std::string& name) const = 0;
  virtual bool isSingleton(const KSLPath& path) const = 0;
};

}  // namespace orv
