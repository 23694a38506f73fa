// A calculate library that has a beginning and an end.
#include "platform/ORVDynamicLoader.h"
#include "database/KSLObject.h"
#include "rules/GenericKSLObject.h"

#include <cstdlib>
#include <memory>

namespace {

class Hooked : public orv::GenericKSLObject {
 public:
  KSLObject* clone() const override
  {
    auto copy = std::make_unique<Hooked>();
    copyInternals(copy.get());
    return copy.release();
  }
};

void log(const char* what)
{
  const char* before = std::getenv("HOOKS_LOG");
  setenv("HOOKS_LOG", (std::string(before ? before : "") + what).c_str(), 1);
}

}  // namespace

ORV_CALCULATE_LIBRARY;

extern "C" ORV_API void orvCalculateLibraryBegin()
{
  if (std::getenv("HOOKS_FAIL"))
    throw orv::internal::error("Hooks", "begin", "Not today.");
  log("begin ");
  auto prototype = std::make_unique<Hooked>();
  orv::KSLObject::registerBaseTypeWithFactory("Hooked", prototype.get());
  (void)prototype.release();
}

extern "C" ORV_API void orvCalculateLibraryEnd()
{
  log("end ");
}
