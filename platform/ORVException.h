// The exception library: what the product family throws, and the reporting of broken assumptions.
//
//   Error ─┬─ Interrupt
//          ├─ data::error ──── data::invalid, data::notFound, data::duplicate
//          ├─ internal::error ─ internal::nullPointer, internal::badParam
//          ├─ ksl::error ───── ksl::invalid, ksl::duplicate, ksl::cyclicRef
//          └─ file::error
//   Unwind    (no Error: carries control outward, never a report of its own)
//
// An error is data: class, function, message and type are kept apart, the text for people is made once, by
// whoever shows it. Messages arrive formatted and are never formatted again.
#pragma once

#include "platform/ORVExport.h"

#include <cstddef>
#include <exception>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace orv {

// Severity of an error as it is reported.
namespace errorType {
inline constexpr int system = 1;     // a failure of the machine or its runtime
inline constexpr int ordinary = 4;   // the user's or caller's to mend
inline constexpr int warning = 8;    // reported and skipped
inline constexpr int internal = 32;  // a fault of the program
}  // namespace errorType

// What helps people and editors beside the fields of an error: where it is, what it is about, and what would be right.
// Anything of it may be missing.
struct Diagnostic {
  // Where: a file, say; lines and columns count from 1 (0: not known), columns and length in bytes.
  std::string source = {};
  std::size_t line = 0;
  std::size_t column = 0;
  std::size_t length = 0;
  std::string lineText = {};  // as the source has it

  std::string object = {};     // its path
  std::string parameter = {};  // of this object
  std::string subject = {};    // the words that are wrong, as they were written

  std::vector<std::string> valid = {};  // what could stand in the place of the subject
  std::string suggestion = {};          // the one of it that was meant, probably

  // What else explains it, in the same source; a line of 0 for none.
  struct Note {
    std::size_t line = 0;
    std::size_t column = 0;
    std::string message;
  };
  std::vector<Note> notes = {};
};

class ORV_API Error : public std::exception {
 public:
  Error(std::string className, std::string function, std::string message, int type = errorType::ordinary);
  Error(const Error&) = default;
  Error& operator=(const Error&) = default;
  ~Error() override;

  const std::string& getClassName() const noexcept { return m_class; }
  const std::string& getFunction() const noexcept { return m_function; }
  const std::string& getMessage() const noexcept { return m_message; }
  int getType() const noexcept { return m_type; }

  // What helps people beside the message, a line each: objects that are meant, say. No part of what the error is.
  const std::vector<std::string>& getNotes() const noexcept { return m_notes; }
  void setNotes(std::vector<std::string> notes) noexcept { m_notes = std::move(notes); }

  // Null when nothing more is known. No part of what the error is, either.
  const std::shared_ptr<const Diagnostic>& getDiagnostic() const noexcept { return m_diagnostic; }
  void setDiagnostic(std::shared_ptr<const Diagnostic> diagnostic) noexcept
  {
    m_diagnostic = std::move(diagnostic);
  }
  // For those whom an error passes: it arose from this object, and this parameter of it. What the error knows itself
  // stands, and a parameter belongs to the object that was named first.
  void concern(std::string_view object, std::string_view parameter = {}) noexcept;
  // Adds a note to the diagnostic, unless it has some.
  void explain(std::string note) noexcept;

  // The system's text for an error number; without one, for the last failed call (errno).
  static std::string getSystemError();
  static std::string getSystemError(int number);

  // The message alone. Lives as long as the exception.
  const char* what() const noexcept override { return m_message.c_str(); }

 private:
  std::string m_class;
  std::string m_function;
  std::string m_message;
  int m_type;
  std::vector<std::string> m_notes;
  std::shared_ptr<const Diagnostic> m_diagnostic;
};

// Of words in whose place one of these could stand; suggests the one that was meant, when one is close.
ORV_API Diagnostic oneOf(std::string subject, std::vector<std::string> valid);

// The error with its diagnostic, to be thrown: throw diagnosed(data::invalid(…), {.parameter = name}).
template <class E>
[[nodiscard]] E diagnosed(E error, Diagnostic diagnostic)
{
  error.setDiagnostic(std::make_shared<const Diagnostic>(std::move(diagnostic)));
  return error;
}

// The user asked to stop. Passes through code that swallows the errors of calculations.
class ORV_API Interrupt : public Error {
 public:
  using Error::Error;
  ~Interrupt() override;
};

// Marker of exceptions that only carry control outward. Code that swallows errors lets these pass.
class ORV_API Unwind {
 public:
  virtual ~Unwind();
};

// Declares an exception class with its base's constructors and an out-of-line destructor, so that its type
// information stands in the library once and a plug-in's throw is caught here.
#define ORV_EXCEPTION(name, base)    \
  class ORV_API name : public base { \
   public:                           \
    using base::base;                \
    ~name() override;                \
  }

namespace data {  // bad user data
ORV_EXCEPTION(error, Error);
ORV_EXCEPTION(invalid, error);
ORV_EXCEPTION(notFound, error);
ORV_EXCEPTION(duplicate, error);
}  // namespace data

namespace internal {  // programming errors and bad arguments
ORV_EXCEPTION(error, Error);
ORV_EXCEPTION(nullPointer, error);
ORV_EXCEPTION(badParam, error);
}  // namespace internal

namespace file {
ORV_EXCEPTION(error, Error);
}

namespace ksl {  // from the text store and from those who read KSL
class ORV_API error : public Error {
 public:
  using Error::Error;
  // A wide message is kept as UTF-8.
  error(std::string className, std::string function, const std::wstring& message,
        int type = errorType::ordinary);
  ~error() override;
};
ORV_EXCEPTION(invalid, error);
ORV_EXCEPTION(duplicate, error);
ORV_EXCEPTION(cyclicRef, error);
}  // namespace ksl

#undef ORV_EXCEPTION

// A broken assumption is told, it never ends the process: hosts keep their users' work.
// The default handler writes "Assertion failed: <text> (<source>)" to standard error.
using AssertionHandler = void (*)(std::string_view text, std::string_view source);

// Sets the handler and returns the one before; null restores the default.
ORV_API AssertionHandler setAssertionHandler(AssertionHandler handler) noexcept;

// Tells the handler; `source` is a fixed word such as "KSLCore/src/Executive". Swallows the handler's
// failures.
ORV_API void reportAssertion(std::string_view text, std::string_view source) noexcept;

// True when the condition holds; otherwise reports the text and returns false, so that the caller can go on
// safely.
inline bool assertThat(bool condition, std::string_view text, std::string_view source) noexcept
{
  if (!condition)
    reportAssertion(text, source);
  return condition;
}

}  // namespace orv
