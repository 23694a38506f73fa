#include "command/RenamingBackCompatibilityFunctor.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"

#include <algorithm>
#include <cstddef>
#include <optional>

namespace orv {

namespace {

constexpr const char* renamingBackCompatibilityFunctorClass = "RenamingBackCompatibilityFunctor";
constexpr std::string_view replaceWord = "&replace ";

void requireNamed(const std::string& text, const char* function, const char* name)
{
  if (text.empty())
    throw data::invalid(renamingBackCompatibilityFunctorClass, function,
                        _("Input parameter %s is empty.", name));
}

// Puts `text` in place of a part of the line, given by a view into it.
void replacePart(std::string& line, std::string_view part, std::string_view text)
{
  line.replace(static_cast<std::size_t>(part.data() - line.data()), part.size(), text);
}

}  // namespace

// ------------------------------------------------------------------------------------------------------ the table

RenamingBackCompatibilityFunctor::RenamingBackCompatibilityFunctor() = default;
RenamingBackCompatibilityFunctor::~RenamingBackCompatibilityFunctor() = default;

std::string RenamingBackCompatibilityFunctor::lastOf(const Names& table, std::string_view name)
{
  std::string last(name);
  for (auto next = table.find(last); next != table.end(); next = table.find(last))
    last = next->second;
  return last;
}

void RenamingBackCompatibilityFunctor::addTo(Names& table, const std::string& from, const std::string& to,
                                             const char* function)
{
  if (from == to)
    return;
  if (const auto known = table.find(from); known != table.end()) {
    if (known->second == to)
      return;
    throw data::invalid(renamingBackCompatibilityFunctorClass, function,
                        _("'%s' is already renamed to '%s'.", from, known->second));
  }
  if (lastOf(table, to) == from)
    throw data::invalid(renamingBackCompatibilityFunctorClass, function,
                        _("Renaming '%s' to '%s' leads back to '%s'.", from, to, from));
  table.emplace(from, to);
}

void RenamingBackCompatibilityFunctor::renameType(const std::string& oldType, const std::string& newType)
{
  requireNamed(oldType, "renameType", "p_oldType");
  requireNamed(newType, "renameType", "p_newType");
  addTo(m_types, oldType, newType, "renameType");
}

void RenamingBackCompatibilityFunctor::renameParameter(const std::string& oldType, const std::string& oldName,
                                                       const std::string& newType, const std::string& newName)
{
  requireNamed(oldType, "renameParameter", "p_oldType");
  requireNamed(oldName, "renameParameter", "p_oldName");
  requireNamed(newType, "renameParameter", "p_newType");
  requireNamed(newName, "renameParameter", "p_newName");
  Names types = m_types;
  addTo(types, oldType, newType, "renameParameter");
  addTo(m_parameters[oldType], oldName, newName, "renameParameter");
  m_types.swap(types);
}

void RenamingBackCompatibilityFunctor::dropParameter(const std::string& oldType, const std::string& oldName)
{
  requireNamed(oldType, "dropParameter", "p_oldType");
  requireNamed(oldName, "dropParameter", "p_oldName");
  addTo(m_parameters[oldType], oldName, {}, "dropParameter");
}

void RenamingBackCompatibilityFunctor::renameValue(const std::string& type, const std::string& name,
                                                   const std::string& oldValue, const std::string& newValue)
{
  requireNamed(type, "renameValue", "p_type");
  requireNamed(name, "renameValue", "p_name");
  addTo(m_values[{type, name}], oldValue, newValue, "renameValue");
}

// ------------------------------------------------------------------------------------------------------- rewriting

// Goes through the lines of a text once; knows the types, as written, of the blocks it is in.
class RenamingBackCompatibilityFunctor::Rewriter {
 public:
  explicit Rewriter(const RenamingBackCompatibilityFunctor& table) : m_table(table) {}

  // False when the line goes.
  bool rewrite(std::string& line)
  {
    const MiniKSLParser::Line parts = MiniKSLParser::scan(line);
    switch (parts.type) {
      case MiniKSLParser::emptyLine:
        return true;
      case MiniKSLParser::objectLine:
        rewriteHeader(line, parts);
        return true;
      case MiniKSLParser::endLine:
        if (!m_types.empty())
          m_types.pop_back();
        return true;
      case MiniKSLParser::parameterLine:
        return rewriteParameter(line, parts);
      case MiniKSLParser::actionLine:
      case MiniKSLParser::otherLineType:
        rewritePaths(line, parts.text);
        return true;
    }
    return true;
  }

 private:
  void rewriteHeader(std::string& line, const MiniKSLParser::Line& parts)
  {
    std::string_view type = parts.text.substr(0, parts.mark);
    if (type.starts_with(replaceWord))
      type.remove_prefix(replaceWord.size());
    type = StringUtilities::trimmed(type);
    m_types.emplace_back(type);
    if (m_table.m_types.contains(type))
      replacePart(line, type, lastOf(m_table.m_types, type));
  }

  bool rewriteParameter(std::string& line, const MiniKSLParser::Line& parts)
  {
    const std::string_view name = StringUtilities::trimmed(parts.text.substr(0, parts.mark));
    const std::string_view value = StringUtilities::trimmed(parts.text.substr(parts.mark + 1));
    if (m_types.empty()) {
      rewritePaths(line, value);
      return true;
    }
    std::optional<TypeAndName> today = resolve(m_types.back(), std::string(name), std::string(value));
    if (!today)
      return false;
    const auto nameAt = static_cast<std::size_t>(name.data() - line.data());
    const auto nameSize = name.size();
    if (today->second != value && value.empty())
      line.insert(static_cast<std::size_t>(parts.text.data() - line.data()) + parts.mark + 1,
                  " " + today->second);
    else if (today->second != value)
      replacePart(line, value, today->second);
    if (today->first != std::string_view(line).substr(nameAt, nameSize))
      line.replace(nameAt, nameSize, today->first);
    return true;
  }

  // Name and value of today; nothing for a parameter that is dropped. Goes through the names that the
  // parameter had in one type, then on to the type's next name.
  std::optional<TypeAndName> resolve(std::string type, std::string name, std::string value) const
  {
    while (true) {
      const auto values = m_table.m_values.find({type, name});
      if (values != m_table.m_values.end())
        value = lastOf(values->second, value);
      const std::string* next = nextName(type, name);
      if (next && next->empty())
        return std::nullopt;
      if (next) {
        name = *next;
        continue;
      }
      const auto nextType = m_table.m_types.find(type);
      if (nextType == m_table.m_types.end()) {
        settleValue(values == m_table.m_values.end() ? nullptr : &values->second, value);
        return TypeAndName(std::move(name), std::move(value));
      }
      type = nextType->second;
    }
  }

  const std::string* nextName(const std::string& type, const std::string& name) const
  {
    const auto names = m_table.m_parameters.find(type);
    if (names == m_table.m_parameters.end())
      return nullptr;
    const auto found = names->second.find(name);
    return found == names->second.end() ? nullptr : &found->second;
  }

  // Paths in a value, and its new names again: these may name objects of old types. The bound is for values
  // that come back to themselves that way.
  void settleValue(const Names* names, std::string& value) const
  {
    for (std::size_t left = names ? names->size() + 1 : 1; left > 0; --left) {
      if (names)
        value = lastOf(*names, value);
      rewritePaths(value, value);
    }
  }

  // In the part of the line that the view shows. In quotes only where they hold a path; a quote that is not
  // closed is none.
  void rewritePaths(std::string& line, std::string_view part) const
  {
    if (m_table.m_types.empty() || part.find('/') == std::string_view::npos)
      return;
    std::string text;
    std::size_t quoteEnd = 0;  // behind the quote that was looked into last
    for (std::size_t i = 0; i < part.size();) {
      if (part[i] == '"' && i >= quoteEnd) {
        const std::size_t close = std::min(part.find('"', i + 1), part.size() - 1);
        quoteEnd = close + 1;
        const std::size_t end = close > i && part[close] == '"' && part[i + 1] != '/' ? quoteEnd : i + 1;
        text.append(part, i, end - i);
        i = end;
      } else if (part[i] == '/') {
        i += takeComponent(part.substr(i), text);
      } else {
        text += part[i++];
      }
    }
    if (text != part)
      replacePart(line, part, text);
  }

  // Appends the "/" and, where a type and its ":" follow, the type of today. The number of characters used.
  std::size_t takeComponent(std::string_view text, std::string& out) const
  {
    out += '/';
    const std::size_t end = text.find_first_of("/:,\"=", 1);
    if (end == std::string_view::npos || text[end] != ':')
      return 1;
    const std::string_view type = text.substr(1, end - 1);
    if (!m_table.m_types.contains(type))
      return 1;
    out += lastOf(m_table.m_types, type);
    return end;
  }

  const RenamingBackCompatibilityFunctor& m_table;
  std::vector<std::string> m_types;  // of the open blocks, as the text has them
};

void RenamingBackCompatibilityFunctor::operator()(std::vector<std::string>& lines, bool) const
{
  if (m_types.empty() && m_parameters.empty() && m_values.empty())
    return;
  Rewriter rewriter(*this);
  std::erase_if(lines, [&rewriter](std::string& line) { return !rewriter.rewrite(line); });
}

}  // namespace orv
