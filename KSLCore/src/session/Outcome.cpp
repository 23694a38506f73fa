#include "session/Outcome.h"

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

const std::vector<Change>& Outcome::changes() const& noexcept
{
  static const std::vector<Change> none;
  return m_changes ? *m_changes : none;
}

}  // namespace orv
