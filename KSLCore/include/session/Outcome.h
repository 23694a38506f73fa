// What came of a command.
#pragma once

#include "platform/ORVError.h"

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace orv {

// One change of an object.
struct Change {
  enum class Kind {
    created,  // the object is new, with the defaults of its type; what was set follows
    value,    // the parameter has this value now, as stored
    removed,  // the parameter is gone
    deleted   // the object is gone, with all below it, of which nothing else is said
  };
  Kind kind = Kind::value;
  std::string path;       // of the object
  std::string parameter;  // of values and removals
  std::string value;
  bool internal = false;  // a parameter of the program's, not of the user's

  bool operator==(const Change& other) const
  {
    return kind == other.kind && path == other.path && parameter == other.parameter && value == other.value
           && internal == other.internal;
  }
};

// "created PATH", "value PATH NAME = TEXT", "removed PATH NAME", "deleted PATH".
ORV_API std::string toText(const Change& change);

// What would be right, for people: "did you mean 'Offset'? allowed: Axis, Offset"; empty when the error does not know.
ORV_API std::string hintOf(const ErrorMsg& error);

struct OutcomeNotes;

// A value: it is copied without memory, and what it tells stays as it was.
class ORV_API Outcome {
 public:
  Outcome() noexcept = default;
  // Whether the command was done: no error was reported. Warnings (type 8) are none.
  explicit operator bool() const noexcept { return errors().empty(); }
  // In the order in which they were reported. The first error is why the command was taken back; others, which are
  // rare, tell what could not be. Where there is no memory to keep an error, one that says so stands in its place.
  const std::vector<ErrorMsg>& errors() const& noexcept;
  const std::vector<ErrorMsg>& warnings() const& noexcept;
  // How many changes a failed command had made, which were taken back.
  std::size_t rolledBack() const noexcept;
  // In the order in which they were made. None of a command that was taken back, nor where the session records none.
  const std::vector<Change>& changes() const& noexcept;
  // Files that calculations wrote, in the order in which they were written first.
  const std::vector<std::string>& files() const& noexcept;
  // What a command in pieces was called when it began; empty for others.
  const std::string& title() const& noexcept;
  // Of an outcome that nobody keeps: "for (const ErrorMsg& error : session.run(text).errors())".
  std::vector<ErrorMsg> errors() && { return std::as_const(*this).errors(); }
  std::vector<ErrorMsg> warnings() && { return std::as_const(*this).warnings(); }
  std::vector<Change> changes() && { return std::as_const(*this).changes(); }
  std::vector<std::string> files() && { return std::as_const(*this).files(); }
  std::string title() && { return std::as_const(*this).title(); }

 private:
  friend class SessionModel;
  explicit Outcome(std::shared_ptr<const OutcomeNotes> notes) noexcept : m_notes(std::move(notes)) {}
  std::shared_ptr<const OutcomeNotes> m_notes;  // null: nothing to tell
};

}  // namespace orv
