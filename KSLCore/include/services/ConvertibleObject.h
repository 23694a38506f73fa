// Objects that tell how their numbers are converted.
#pragma once

#include "platform/ORVExport.h"
#include "platform/ORVUnits.h"
#include "services/DataConversionInfo.h"

#include <vector>

namespace orv {

class KSLObject;

// An object class that has more to say derives from it beside its KSLObject; for any other object it serves as
// it is. What units a number is in and what is preferred for it, KSLObject::getParams decides.
class ORV_API ConvertibleObject {
 public:
  // Not owned, and outlives this.
  explicit ConvertibleObject(const KSLObject* object) : m_object(object) {}
  virtual ~ConvertibleObject();

  // The external parameters, in name order, whose value is a number with units or a list of such in the same
  // units. Into preferred: the
  // units that getParams gives the numbers in, where there are any; base: SI base units; asStored: the units
  // they have. What cannot be converted so is left out. Linear in the parameters.
  virtual std::vector<DataConversionInfo> getConversionInfo(UnitSystemTypes::UnitsType units) const;

 private:
  const KSLObject* m_object;
};

}  // namespace orv
