// The dynamic loader: objects made by name from shared libraries.
#pragma once

#include "platform/ORVException.h"
#include "platform/ORVInterfaceStamp.h"

#include <cstddef>
#include <functional>
#include <map>
#include <memory>
#include <string>

namespace orv {

class KSLObject;

// The ending of a shared library's file name on this platform (".so").
ORV_API extern const char* const SHLIBEXT;

// What a calculate library makes. The destructor comes first in the table of virtual operations, then
// calculate.
class ORV_API CalculateFunction {
 public:
  virtual ~CalculateFunction();
  virtual void calculate(KSLObject* object, const std::string& schedulerType) = 0;
};

// Stands once in each calculate library, outside all functions. A library is made of the classes that it was compiled
// with: one that was built against others would call the wrong functions of them. The stamp says which it was, and is
// read before anything of the library runs.
#define ORV_CALCULATE_LIBRARY                               \
  extern "C" ORV_API const char orvCalculateLibraryStamp[]; \
  const char orvCalculateLibraryStamp[] =                   \
      "orv calculate library built for " ORV_INTERFACE_VERSION "/" ORV_INTERFACE_LAYOUT

// Loads calculate libraries and makes their functions. A function is a factory that the library exports with
// C linkage under the function's name, without arguments:
//
//   ORV_CALCULATE_LIBRARY;
//   extern "C" ORV_API orv::CalculateFunction* slice() { return new Slice; }
//
// A library may also export "extern "C" ORV_API void orvCalculateLibraryBegin()" and "...End()". Each context that uses the
// library calls Begin once, before it makes the first function, or when RULES name the library under CalculateLibraries,
// before they are read on: object classes are registered there (KSLObject::registerBaseTypeWithFactory). A library whose
// Begin throws is not loaded. End is called before a context lets go of the library; what it throws has no one to go to.
//
// A library named without a directory is looked for in the directories of ORV_KSL_PLUGIN_PATH (separated by
// ":"), in that order, then in the directory that this library (or the program that holds it) is in and in the
// folder "orvksl" there, then where the system looks.
class ORV_API SharedLibrary {
 public:
  static SharedLibrary* instance();
  // Unloads the libraries that no other context uses: the objects made by them must be gone.
  static void destroyInstance();

  // A new object of the library's function of that name, owned by the caller; null when the library or the
  // function is not found, or made nothing, or the library has another stamp than this one, or none. A library is loaded once and stays. What the function throws
  // passes on.
  CalculateFunction* getInstance(const std::string& library, const std::string& function);
  // Functions of the program's own, under a library's name ("libpython.so"), which is not looked for then: the source
  // makes what getInstance gives, null for a name that it does not know. An empty source takes them away.
  using Source = std::function<CalculateFunction*(const std::string& function)>;
  void provide(const std::string& library, Source source);
  // How often these were given, or taken away: what they compute may be another thing each time.
  std::size_t getTimesProvided(const std::string& library) const;
  // Why the last getInstance gave null, in words for the user; empty after a success.
  const std::string& getLastError() const { return m_lastError; }
  // Loads a library before its first function is asked for; false as getInstance gives null. True for one that the program
  // provides.
  bool load(const std::string& library);

 private:
  SharedLibrary();
  ~SharedLibrary();
  using Factory = CalculateFunction* (*)();
  Factory find(const std::string& library, const std::string& function);  // as open
  void* open(const std::string& library);  // null, with m_lastError set, when it cannot be loaded
  struct Provided {
    Source source;  // empty once it is taken away
    std::size_t times = 0;
  };
  std::map<std::string, Provided> m_provided;
  std::map<std::string, void*> m_handles;  // by the name asked for
  std::string m_lastError;
};

}  // namespace orv
