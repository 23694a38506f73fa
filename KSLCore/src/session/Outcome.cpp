#include "session/Outcome.h"

#include "OutcomeNotes.h"

#include <utility>

namespace orv {

std::string toText(const Change& change)
{
  switch (change.kind) {
    case Change::Kind::created:
      return "created " + change.path;
    case Change::Kind::value:
      return "value " + change.path + " " + change.parameter + " = " + change.value;
    case Change::Kind::removed:
      return "removed " + change.path + " " + change.parameter;
    case Change::Kind::deleted:
      break;
  }
  return "deleted " + change.path;
}

std::string hintOf(const ErrorMsg& error)
{
  const Diagnostic* known = error.getDiagnostic().get();
  if (!known)
    return {};
  constexpr std::size_t most = 8;      // of a list that is of help beside a suggestion
  constexpr std::size_t widest = 100;  // of a list, in characters
  std::string text = known->suggestion.empty() ? "" : "did you mean '" + known->suggestion + "'?";
  if (known->valid.empty() || (!text.empty() && known->valid.size() > most))
    return text;
  std::string list;
  for (const std::string& item : known->valid) {
    if (!list.empty() && list.size() + item.size() > widest) {
      list += _(", ... (%d)", known->valid.size());
      break;
    }
    list.append(list.empty() ? "" : ", ").append(item.empty() ? "\"\"" : item);
  }
  return text.append(text.empty() ? "" : " ").append("allowed: ").append(list);
}

// --------------------------------------------------------------------------------------------------------- the notes

OutcomeNotes::OutcomeNotes()
    : m_lack("KSLInterface", "parseKSL", _("Operation failed. Insufficient memory."), errorType::system)
{
  errors.reserve(1);
}

void OutcomeNotes::add(const ErrorMsg& error) noexcept
{
  const bool isWarning = error.getType() == errorType::warning;
  try {
    (isWarning ? warnings : errors).push_back(error);
  } catch (...) {
    if (!isWarning && errors.empty())
      errors.push_back(std::move(m_lack));
  }
}

void OutcomeNotes::addFrom(const OutcomeNotes& other, Mark mark) noexcept
{
  for (std::size_t i = mark.errors; i < other.errors.size(); ++i)
    add(other.errors[i]);
  for (std::size_t i = mark.warnings; i < other.warnings.size(); ++i)
    add(other.warnings[i]);
}

// ------------------------------------------------------------------------------------------------------- the outcome

namespace {

template <class T>
const T& toldOf(const OutcomeNotes* notes, T OutcomeNotes::*what) noexcept
{
  static const T none;
  return notes ? notes->*what : none;
}

}  // namespace

const std::vector<ErrorMsg>& Outcome::errors() const& noexcept
{
  return toldOf(m_notes.get(), &OutcomeNotes::errors);
}

const std::vector<ErrorMsg>& Outcome::warnings() const& noexcept
{
  return toldOf(m_notes.get(), &OutcomeNotes::warnings);
}

std::size_t Outcome::rolledBack() const noexcept
{
  return m_notes ? m_notes->rolledBack : 0;
}

const std::vector<Change>& Outcome::changes() const& noexcept
{
  return toldOf(m_notes.get(), &OutcomeNotes::changes);
}

const std::vector<std::string>& Outcome::files() const& noexcept
{
  static const std::vector<std::string> none;
  return m_notes && m_notes->files ? *m_notes->files : none;
}

const std::string& Outcome::title() const& noexcept
{
  return toldOf(m_notes.get(), &OutcomeNotes::title);
}

}  // namespace orv
