// The smallest calculate library: the area of a ring from its radii.
#include "platform/ORVDynamicLoader.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"

namespace {

class RingArea : public orv::CalculateFunction {
 public:
  void calculate(orv::KSLObject* ring, const std::string&) override
  {
    const double outer = ring->getQuantityValue("Outer Radius").convertTo("m");
    const double inner = ring->getQuantityValue("Inner Radius").convertTo("m");
    const double area = 3.141592653589793 * (outer * outer - inner * inner);
    ring->setValue("Area", orv::StringUtilities::toString(area) + " [m^2]");
  }
};

}  // namespace

ORV_CALCULATE_LIBRARY;

extern "C" ORV_API orv::CalculateFunction* ringArea()
{
  return new RingArea;
}
