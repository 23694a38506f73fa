// What an Outcome tells.
#pragma once

#include "session/Outcome.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace orv {

// Made before the command begins, so that nothing that is noted after it was done can fail.
struct OutcomeNotes {
  OutcomeNotes();

  // How much there was to tell.
  struct Mark {
    std::size_t errors = 0;
    std::size_t warnings = 0;
  };
  Mark mark() const noexcept { return {errors.size(), warnings.size()}; }

  // Without memory for the first error, the lack of it is noted; further errors, and warnings, are then left out.
  void add(const ErrorMsg& error) noexcept;
  // What the other one has to tell beyond the mark.
  void addFrom(const OutcomeNotes& other, Mark mark) noexcept;

  std::vector<ErrorMsg> errors;
  std::vector<ErrorMsg> warnings;
  std::size_t rolledBack = 0;
  std::vector<Change> changes;
  std::shared_ptr<const std::vector<std::string>> files;  // null for none
  std::string title;

 private:
  ErrorMsg m_lack;
};

}  // namespace orv
