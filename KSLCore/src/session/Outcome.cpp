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

const std::vector<Change>& Outcome::changes() const& noexcept
{
  static const std::vector<Change> none;
  return m_changes ? *m_changes : none;
}

}  // namespace orv
