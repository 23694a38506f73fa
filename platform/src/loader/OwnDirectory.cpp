#include "OwnDirectory.h"

#include <dlfcn.h>
#include <filesystem>

namespace orv {

namespace {

// An address that nobody else sees: of what a library offers, a program may have a copy.
const char here = 0;

}  // namespace

std::string ownDirectory()
{
  Dl_info own{};
  if (dladdr(&here, &own) == 0 || !own.dli_fname)
    return {};
  return std::filesystem::path(own.dli_fname).parent_path().string();
}

void offerToLibraries() noexcept
{
  Dl_info own{};
  void* const self = dladdr(&here, &own) != 0 && own.dli_fname
                         ? dlopen(own.dli_fname, RTLD_NOW | RTLD_NOLOAD | RTLD_GLOBAL)
                         : nullptr;
  if (self)
    dlclose(self);
  dlerror();  // a program is not to be had so, and needs not
}

}  // namespace orv
