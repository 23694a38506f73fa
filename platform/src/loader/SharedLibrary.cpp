#include "platform/ORVDynamicLoader.h"
#include "platform/ORVError.h"
#include "platform/ORVResultMemory.h"
#include "platform/ORVUtilities.h"
#include "platform/internal/ContextLocal.h"
#include "platform/internal/SharedLocks.h"
#include "OwnDirectory.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <elf.h>
#include <filesystem>
#include <fstream>
#include <link.h>
#include <mutex>
#include <utility>
#include <vector>

namespace orv {

const char* const SHLIBEXT = ".so";

CalculateFunction::~CalculateFunction() = default;

namespace {

constinit ContextLocal<SharedLibrary*> theLoader(ContextEnd::libraries, &SharedLibrary::destroyInstance);

// What the loader said, and nothing of an earlier failure.
std::string loaderError()
{
  const char* const text = dlerror();
  return text ? text : "it is defined in another library";
}

// Plug-ins are installed beside this library, so that hosts need not know where.
std::vector<std::string> searchedDirectories()
{
  const char* const named = std::getenv("ORV_KSL_PLUGIN_PATH");
  std::vector<std::string> directories = StringUtilities::stringToVector(named ? named : "", ':');
  std::erase(directories, std::string());
  if (const std::string own = ownDirectory(); !own.empty())
    directories.insert(directories.end(), {own, own + "/orvksl"});
  return directories;
}

// Where the loader itself looks, in its order: what LD_LIBRARY_PATH and the like name, and the usual places.
std::vector<std::string> systemDirectories()
{
  std::vector<std::string> directories;
  const ScopeGuard forget([] { dlerror(); });
  void* const program = dlopen(nullptr, RTLD_LAZY);
  if (!program)
    return directories;
  const ScopeGuard close([program] { dlclose(program); });
  Dl_serinfo size{};
  if (dlinfo(program, RTLD_DI_SERINFOSIZE, &size) != 0)
    return directories;
  std::vector<Dl_serinfo> memory(size.dls_size / sizeof(Dl_serinfo) + 1, size);
  Dl_serinfo* const search = memory.data();
  if (dlinfo(program, RTLD_DI_SERINFO, search) == 0)
    for (unsigned i = 0; i < search->dls_cnt; ++i)
      directories.emplace_back((&search->dls_serpath[0])[i].dls_name);
  return directories;
}

// The file of this name in the first of the directories that has one; empty for none.
std::string firstFile(const std::vector<std::string>& directories, const std::string& library)
{
  for (const auto& directory : directories) {
    std::error_code failure;
    const std::filesystem::path file = std::filesystem::path(directory) / library;
    if (std::filesystem::exists(file, failure))
      return file.string();
  }
  return {};
}

// True for a library of this program's word size; others stand in the same list.
bool isOfThisKind(const std::string& file)
{
  std::ifstream stream(file, std::ios::binary);
  std::array<char, 5> begin{};
  return stream.read(begin.data(), begin.size()) && std::memcmp(begin.data(), ELFMAG, SELFMAG) == 0
         && begin[EI_CLASS] == (sizeof(void*) == 8 ? ELFCLASS64 : ELFCLASS32);
}

// The file that the loader's own list has for a name: the list holds the files as texts, each ended by a zero.
std::string listedFile(const std::string& library)
{
  std::ifstream stream("/etc/ld.so.cache", std::ios::binary);
  const std::string list{std::istreambuf_iterator<char>(stream), {}};
  const std::string ending = '/' + library + '\0';
  for (std::size_t at = list.find(ending); at != std::string::npos; at = list.find(ending, at + 1)) {
    const std::size_t begin = list.rfind('\0', at) + 1;
    std::string file = list.substr(begin, at + ending.size() - 1 - begin);
    if (file.front() == '/' && isOfThisKind(file))
      return file;
  }
  return {};
}

// The file to load: it can be looked into before it is opened. The name itself is left for the loader to tell that there
// is none.
std::string findLibrary(const std::string& library)
{
  if (library.find('/') != std::string::npos)
    return library;
  if (std::string file = firstFile(searchedDirectories(), library); !file.empty())
    return file;
  if (std::string file = firstFile(systemDirectories(), library); !file.empty())
    return file;
  const std::string file = listedFile(library);
  return file.empty() ? library : file;
}

constexpr std::string_view stampMark = "orv calculate library built for ";
constexpr const char* ownStamp = ORV_INTERFACE_VERSION "/" ORV_INTERFACE_LAYOUT;

// The stamps that stand in a library's file, which is not loaded for it: loading runs what a library has to begin with.
// One empty text when there is none; nothing when the file cannot be read or is no library, which the loader will tell.
std::vector<std::string> stampsIn(const std::string& file)
{
  std::error_code failure;
  if (!std::filesystem::is_regular_file(file, failure))
    return {};
  std::ifstream stream(file, std::ios::binary);
  const std::string content{std::istreambuf_iterator<char>(stream), {}};
  if (!content.starts_with("\x7f"
                           "ELF"))
    return {};
  std::vector<std::string> stamps;
  for (std::size_t at = content.find(stampMark); at != std::string::npos;
       at = content.find(stampMark, at + 1))
    stamps.emplace_back(content.c_str() + at);
  return stamps.empty() ? std::vector<std::string>(1) : stamps;
}

// Why a library with these stamps must not be used; empty when it may.
std::string stampDifference(const std::string& library, const std::vector<std::string>& stamps)
{
  const std::string own = ownStamp;
  const auto versionOf = [](const std::string& stamp) { return stamp.substr(0, stamp.find('/')); };
  for (const std::string& marked : stamps) {
    if (marked.empty())
      return _("%s was built without a stamp (ORV_CALCULATE_LIBRARY), this is %s: build it again", library,
               versionOf(own));
    const std::string stamp = marked.substr(stampMark.size());
    if (stamp == own)
      continue;
    const bool sameVersion = versionOf(stamp) == versionOf(own);
    return _("%s was built for %s, this is %s: build it again", library,
             sameVersion ? stamp : versionOf(stamp), sameVersion ? own : versionOf(own));
  }
  return {};
}

bool isPath(const std::string& file)
{
  return file.find('/') != std::string::npos;
}

// By another context, which looked into it then; null when it is not.
void* loadedAlready(const std::string& file)
{
  return isPath(file) ? dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL | RTLD_NOLOAD) : nullptr;
}

// Null, with the reason, when the file cannot be loaded or must not be.
void* openFile(const std::string& library, const std::string& file, std::string& why)
{
  if (isPath(file))
    why = stampDifference(library, stampsIn(file));
  if (!why.empty())
    return nullptr;
  offerToLibraries();
  void* const handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
  if (handle)
    return handle;
  why = _("Calculate library '%s' not loaded: %s.", library, loaderError());
  if (!isPath(library))
    why += _(" Looked for in '%s' and the system's places.",
             StringUtilities::vectorToString(searchedDirectories(), "', '"));
  return nullptr;
}

// The library's own function of that name. The loader also finds those of the libraries it is linked with,
// and a slip in a name must not call "exit".
void* findFunction(void* handle, const std::string& function)
{
  void* const symbol = dlsym(handle, function.c_str());
  link_map* library = nullptr;
  Dl_info found{};
  if (!symbol || dlinfo(handle, RTLD_DI_LINKMAP, &library) != 0 || dladdr(symbol, &found) == 0)
    return nullptr;
  return std::strcmp(library->l_name, found.dli_fname) == 0 ? symbol : nullptr;
}

// Of a library that has it.
void callHook(void* handle, const char* name)
{
  if (void* const hook = findFunction(handle, name))
    reinterpret_cast<void (*)()>(hook)();
}

// Why the library cannot begin; empty when it has.
std::string begin(void* handle, const std::string& library)
{
  try {
    callHook(handle, "orvCalculateLibraryBegin");
    return {};
  } catch (const std::exception& failure) {
    return _("Calculate library '%s' not loaded: %s", library, failure.what());
  } catch (...) {
    return _("Calculate library '%s' not loaded: %s", library, "unrecognized exception.");
  }
}

}  // namespace

SharedLibrary::SharedLibrary() = default;

SharedLibrary::~SharedLibrary()
{
  ResultMemory::destroyInstance();  // the code that ends its results may go
  const std::lock_guard lock(SharedLocks::loader());
  for (const auto& [library, handle] : m_handles) {
    try {
      callHook(handle, "orvCalculateLibraryEnd");
    } catch (...) {}
    dlclose(handle);
  }
}

SharedLibrary* SharedLibrary::instance()
{
  SharedLibrary*& loader = *theLoader;
  if (!loader)
    loader = new SharedLibrary;
  return loader;
}

void SharedLibrary::destroyInstance()
{
  delete std::exchange(*theLoader, nullptr);
}

void* SharedLibrary::open(const std::string& library)
{
  const auto known = m_handles.find(library);
  if (known != m_handles.end())
    return known->second;
  if (library.empty()) {  // to the loader this would be the program itself
    m_lastError = "Calculate library has no name.";
    return nullptr;
  }
  const std::string file = findLibrary(library);
  void* handle = loadedAlready(file);
  if (!handle)
    handle = openFile(library, file, m_lastError);
  if (!handle)
    return nullptr;
  ScopeGuard unload([handle] { dlclose(handle); });
  const char* const stamp = static_cast<const char*>(dlsym(handle, "orvCalculateLibraryStamp"));
  // Of what was no file that could be looked into, and was opened all the same.
  m_lastError = stampDifference(library, std::vector<std::string>{stamp ? stamp : ""});
  if (m_lastError.empty())
    m_lastError = begin(handle, library);
  if (!m_lastError.empty())
    return nullptr;
  m_handles.emplace(library, handle);
  unload.dismiss();
  return handle;
}

void SharedLibrary::provide(const std::string& library, Source source)
{
  Provided& provided = m_provided[library];
  provided.source = std::move(source);
  ++provided.times;
}

std::size_t SharedLibrary::getTimesProvided(const std::string& library) const
{
  const auto known = m_provided.find(library);
  return known == m_provided.end() ? 0 : known->second.times;
}

bool SharedLibrary::load(const std::string& library)
{
  m_lastError.clear();
  const std::lock_guard lock(SharedLocks::loader());
  const auto own = m_provided.find(library);
  return (own != m_provided.end() && own->second.source) || open(library);
}

SharedLibrary::Factory SharedLibrary::find(const std::string& library, const std::string& function)
{
  const std::lock_guard lock(
      SharedLocks::loader());  // what the loader gives is read after its own locks are gone
  void* const handle = open(library);
  if (!handle)
    return nullptr;
  dlerror();
  void* const symbol = findFunction(handle, function);
  if (!symbol)
    m_lastError =
        _("Function '%s' not found in calculate library '%s': %s.", function, library, loaderError());
  return reinterpret_cast<Factory>(symbol);
}

CalculateFunction* SharedLibrary::getInstance(const std::string& library, const std::string& function)
{
  m_lastError.clear();
  if (const auto own = m_provided.find(library); own != m_provided.end() && own->second.source) {
    CalculateFunction* const made = own->second.source(function);
    if (!made)
      m_lastError = _("The program provides no function '%s' of library '%s'.", function, library);
    return made;
  }
  const Factory factory = find(library, function);
  if (!factory)
    return nullptr;
  CalculateFunction* const made = factory();
  if (!made)
    m_lastError = _("Function '%s' of calculate library '%s' made nothing.", function, library);
  return made;
}

}  // namespace orv
