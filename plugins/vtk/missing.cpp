// The calculate library as it is built without VTK: it says what is missing.
#include "platform/ORVDynamicLoader.h"
#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/KSLObject.h"
#include "functions.h"

namespace {

class Missing : public orv::CalculateFunction {
 public:
  void calculate(orv::KSLObject* object, const std::string&) override
  {
    throw orv::data::notFound(
        "Results", "calculate",
        orv::_(
            "%s cannot be computed: the calculate library vtk was built without VTK. Install VTK's files for "
            "development (Debian's package libvtk9-dev) and build again with KSL_VTK=ON.",
            object->getPath()));
  }
};

}  // namespace

ORV_CALCULATE_LIBRARY;

#define RESULTS_FUNCTION(name)                      \
  extern "C" ORV_API orv::CalculateFunction* name() \
  {                                                 \
    return new Missing;                             \
  }

RESULTS_FUNCTIONS(RESULTS_FUNCTION)
