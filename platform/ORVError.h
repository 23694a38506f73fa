// The error library: errors as records, their formatter, and the one place where they are reported.
#pragma once

#include "platform/ORVException.h"

#include <cstddef>
#include <iosfwd>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <variant>
#include <vector>

namespace orv {

// One argument of a message. Text is held by view: arguments live for the whole call of the formatter.
class FormatArg {
 public:
  FormatArg(std::string_view text) : m_value(text) {}
  FormatArg(const std::string& text) : m_value(std::string_view(text)) {}
  FormatArg(const char* text) : m_value(std::string_view(text ? text : "(null)")) {}
  FormatArg(char c) : m_value(c) {}
  FormatArg(double number) : m_value(number) {}
  template <class Int, std::enable_if_t<std::is_integral_v<Int>, int> = 0>
  FormatArg(Int number) : m_value(static_cast<Widest<Int>>(number))
  {}

  using Value = std::variant<std::string_view, char, long long, unsigned long long, double>;
  const Value& value() const { return m_value; }

 private:
  template <class Int>
  using Widest = std::conditional_t<std::is_unsigned_v<Int>, unsigned long long, long long>;
  Value m_value;
};

ORV_API std::string formatMessage(std::string_view format, const FormatArg* args, std::size_t count);

// Formats a message, printf-style: "%s", "%d" (also "%i", "%u", "%ld", …), "%g" ("%f", "%e"), "%c", "%%",
// with width and precision. Each argument is put in as what it is, so a letter that does not fit its type is
// harmless; a "%" inside an argument is data. Arguments too many are ignored, a directive without an argument
// stays as it stands, and so does "$1". Independent of the process locale. No limit on length.
template <class... Args>
std::string _(std::string_view format, const Args&... args)
{
  if constexpr (sizeof...(Args) == 0) {
    return formatMessage(format, nullptr, 0);
  } else {
    const FormatArg list[] = {FormatArg(args)...};
    return formatMessage(format, list, sizeof...(Args));
  }
}

// An error as it is reported.
class ORV_API ErrorMsg {
 public:
  ErrorMsg() = default;
  ErrorMsg(std::string className, std::string function, std::string message, int type);
  explicit ErrorMsg(const Error& error);
  ErrorMsg(const Error& error, int type);  // the error's texts with another type

  const std::string& getClassName() const { return m_class; }
  const std::string& getFunction() const { return m_function; }
  const std::string& getMessage() const { return m_message; }
  int getType() const { return m_type; }

  // Lines beside the message, as those of Error.
  const std::vector<std::string>& getNotes() const { return m_notes; }
  void setNotes(std::vector<std::string> notes) noexcept { m_notes = std::move(notes); }

  // As that of Error.
  const std::shared_ptr<const Diagnostic>& getDiagnostic() const { return m_diagnostic; }
  void setDiagnostic(std::shared_ptr<const Diagnostic> diagnostic) noexcept
  {
    m_diagnostic = std::move(diagnostic);
  }

  // Notes and diagnostics do not count.
  bool operator==(const ErrorMsg& other) const;

 private:
  std::string m_class;
  std::string m_function;
  std::string m_message;
  int m_type = 0;
  std::vector<std::string> m_notes;
  std::shared_ptr<const Diagnostic> m_diagnostic;
};

// "error[4] Class::function: message", "warning[8] …" for type 8; further lines of the message, and the notes
// behind them, are indented by two blanks. Without a line end, also when the message has one.
ORV_API std::string toText(const ErrorMsg& error);

// Receives what is reported. Failures of a sink are swallowed by the reporter.
class ORV_API ErrorSink {
 public:
  virtual ~ErrorSink();
  virtual void report(const ErrorMsg& error) = 0;
  // Something that is only worth showing in verbose mode.
  virtual void inform(std::string_view text);
};

// A sink that keeps what it is given, in order.
class ORV_API ErrorCollector : public ErrorSink {
 public:
  ~ErrorCollector() override;
  void report(const ErrorMsg& error) override { m_errors.push_back(error); }
  const std::vector<ErrorMsg>& errors() const { return m_errors; }
  void clear() { m_errors.clear(); }

 private:
  std::vector<ErrorMsg> m_errors;
};

// Knows where things stand in the text that is being run, and tells it of an error.
class ORV_API ErrorLocator {
 public:
  virtual ~ErrorLocator();
  // Sets the place in the error's diagnostic. Called for errors that have none, and may throw.
  virtual void locate(ErrorMsg& error) = 0;
};

// Where errors end up. Process-wide; not for several threads.
class ORV_API ErrorProgressReporter {
 public:
  static ErrorProgressReporter* instance();  // made on first use
  static void destroyInstance();

  // Tells the sink, else standard error. Never throws.
  void reportError(const ErrorMsg& error) noexcept;
  void reportError(const Error& error) noexcept;

  // Asks the locator where the error is, unless it knows that itself. Reporting does so too; errors that are kept to be
  // reported later, when the text has gone, need it before. Never throws.
  void locate(ErrorMsg& error) const noexcept;
  // Not owned, and there until it is set again; null for none. Returns the one before, which a new one may ask.
  ErrorLocator* setLocator(ErrorLocator* locator) noexcept;

  // In a handler: what the exception arose from, which is no Error and cannot say so itself. Who turns it into an error
  // takes that, for this one exception; null for any other. Never throw.
  void noteConcern(const std::exception& failure, Diagnostic concern) noexcept;
  std::shared_ptr<const Diagnostic> takeConcern(const std::exception* failure) noexcept;

  // Told in verbose mode only.
  void inform(std::string_view text) noexcept;

  // The sink is not owned and must outlive its registration; null writes to standard error. Returns the one
  // before.
  ErrorSink* setSink(ErrorSink* sink);

  // Returns the previous setting. Off at start.
  bool setVerbose(bool verbose);
  bool isVerbose() const { return m_verbose; }

 private:
  std::optional<ErrorMsg> located(const ErrorMsg& error) const noexcept;

  ErrorSink* m_sink = nullptr;        // not owned
  ErrorLocator* m_locator = nullptr;  // not owned
  const void* m_failure = nullptr;    // the exception that m_concern is about
  std::shared_ptr<const Diagnostic> m_concern;
  bool m_verbose = false;
};

}  // namespace orv
