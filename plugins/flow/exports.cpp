// The functions under the names that RULES call them by.
#include "platform/ORVDynamicLoader.h"
#include "functions.h"

namespace {

template <void (*calculation)(orv::KSLObject&)>
class Function : public orv::CalculateFunction {
 public:
  void calculate(orv::KSLObject* object, const std::string&) override { calculation(*object); }
};

}  // namespace

ORV_CALCULATE_LIBRARY;

#define FLOW_FUNCTION(name)                         \
  extern "C" ORV_API orv::CalculateFunction* name() \
  {                                                 \
    return new Function<flow::name>;                \
  }

FLOW_FUNCTION(readResults)
FLOW_FUNCTION(readBoundary)
FLOW_FUNCTION(readDomain)
FLOW_FUNCTION(cutFlow)
FLOW_FUNCTION(findLevel)
FLOW_FUNCTION(probeFlow)
FLOW_FUNCTION(mixPalette)
FLOW_FUNCTION(paintBands)
FLOW_FUNCTION(placeArrows)
FLOW_FUNCTION(followStreams)
FLOW_FUNCTION(takePicture)
