// The functions under the names that RULES call them by.
#include "platform/ORVDynamicLoader.h"
#include "Communicator.h"
#include "Display.h"
#include "Memory.h"
#include "Scene.h"
#include "functions.h"
#include "running.h"

#include <mutex>

namespace {

// VTK's object factories, its garbage collector and the display are the process's: models on several threads take turns.
std::recursive_mutex& turn()
{
  static std::recursive_mutex mutex;
  return mutex;
}

// Models that have the library, in this process: each begins and ends it.
std::mutex modelsGuard;
int models = 0;

template <void (*calculation)(orv::KSLObject&)>
class Function : public orv::CalculateFunction {
 public:
  void calculate(orv::KSLObject* object, const std::string&) override
  {
    const std::lock_guard lock(turn());
    results::Communicator::instance().run([object] { calculation(*object); });
  }
};

}  // namespace

ORV_CALCULATE_LIBRARY;

extern "C" ORV_API void orvCalculateLibraryBegin()
{
  {
    const std::lock_guard lock(modelsGuard);
    ++models;
  }
  results::silenceVtk();
  results::limitMemory();
}

extern "C" ORV_API void orvCalculateLibraryEnd()
{
  const std::lock_guard lock(modelsGuard);
  if (--models > 0)  // others may be painting
    return;
  results::closeWindow();
  results::endDisplay();
}

#define RESULTS_FUNCTION(name)                      \
  extern "C" ORV_API orv::CalculateFunction* name() \
  {                                                 \
    return new Function<results::name>;             \
  }

RESULTS_FUNCTIONS(RESULTS_FUNCTION)
