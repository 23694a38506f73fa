// The dynamic loader: objects made by name from shared libraries.
#pragma once

#include "platform/ORVException.h"

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

// Loads calculate libraries and makes their functions. A function is a factory that the library exports with
// C linkage under the function's name, without arguments:
//
//   extern "C" orv::CalculateFunction* slice() { return new Slice; }
//
// A library named without a directory is looked for in the directories of ORV_KSL_PLUGIN_PATH (separated by
// ":"), in that order, then in the directory that this library (or the program that holds it) is in and in the
// folder "orvksl" there, then where the system looks.
class ORV_API SharedLibrary {
 public:
  static SharedLibrary* instance();
  // Unloads the libraries: the objects made by them must be gone.
  static void destroyInstance();

  // A new object of the library's function of that name, owned by the caller; null when the library or the
  // function is not found, or made nothing. A library is loaded once and stays. What the function throws
  // passes on.
  CalculateFunction* getInstance(const std::string& library, const std::string& function);
  // Why the last getInstance gave null, in words for the user; empty after a success.
  const std::string& getLastError() const { return m_lastError; }

 private:
  SharedLibrary();
  ~SharedLibrary();
  void* open(const std::string& library);  // null, with m_lastError set, when it cannot be loaded
  std::map<std::string, void*> m_handles;  // by the name asked for
  std::string m_lastError;
};

}  // namespace orv
