#include "LspNames.h"

#include "platform/ORVExpressions.h"
#include "platform/ORVUtilities.h"

#include <algorithm>
#include <map>
#include <optional>

using orv::NameInText;
using orv::SyntaxTree;
using orv::StringUtilities::trimmed;

namespace {

// What a name stands for: all of it, or an object on the way to it.
struct Target {
  std::string name;
  bool isExpression = false;
};

// A piece of bytes of a text.
struct Span {
  std::size_t offset = 0;
  std::size_t size = 0;
};

std::size_t depthOf(const std::string& path)
{
  return static_cast<std::size_t>(std::count(path.begin(), path.end(), '/'));
}

std::string_view lastComponent(std::string_view path)
{
  return path.substr(path.rfind('/') + 1);
}

// Behind the type; the type itself for an object that has no name of its own.
std::string_view ownName(std::string_view component)
{
  return component.substr(component.find(':') + 1);
}

// The path of the object so many levels above.
std::string above(std::string path, std::size_t levels)
{
  for (; levels > 0 && !path.empty(); --levels)
    path.erase(path.rfind('/'));
  return path;
}

// The components of a reference as it is written, its quotes left out, the last first.
std::vector<Span> componentsOf(std::string_view bytes, std::size_t offset)
{
  std::vector<Span> components;
  const std::string_view path = orv::StringUtilities::unquoted(bytes);
  const std::size_t begin = offset + static_cast<std::size_t>(path.data() - bytes.data());
  for (std::size_t end = path.size();;) {
    const std::size_t slash = end == 0 ? std::string_view::npos : path.rfind('/', end - 1);
    const std::size_t from = slash == std::string_view::npos ? 0 : slash + 1;
    components.push_back({begin + from, end - from});
    if (slash == std::string_view::npos)
      return components;
    end = slash;
  }
}

class Names {
 public:
  Names(LspWorkspace& workspace, const LspDocument& document, std::size_t offset)
      : m_all(workspace.names()),
        m_order(workspace.inOrder())
  {
    const auto text =
        static_cast<std::size_t>(std::find(m_order.begin(), m_order.end(), &document) - m_order.begin());
    for (const NameInText& name : m_all)
      if (name.text == text && name.offset <= offset && offset <= name.offset + name.size) {
        m_found = &name;
        m_target = targetAt(name, offset);
      }
  }

  const std::optional<Target>& target() const { return m_target; }
  const LspDocument& documentOf(const NameInText& name) const { return *m_order[name.text]; }
  const std::vector<const LspDocument*>& order() const { return m_order; }
  const std::vector<NameInText>& all() const { return m_all; }

  // Where the target's own name stands in this; none where it is not named.
  std::optional<Span> spanIn(const NameInText& name) const
  {
    if (name.isExpression != m_target->isExpression)
      return std::nullopt;
    if (name.isExpression || name.isDefinition)
      return name.name == m_target->name ? std::optional(Span{name.offset, name.size}) : std::nullopt;
    const bool isOnTheWay = name.name == m_target->name || name.name.starts_with(m_target->name + "/");
    if (!isOnTheWay)
      return std::nullopt;
    const std::size_t level = depthOf(name.name) - depthOf(m_target->name);
    const std::vector<Span> components = componentsOf(bytesOf(name), name.offset);
    return level < components.size() ? nameSpan(name, components[level]) : std::nullopt;
  }

  std::string_view bytesOf(const NameInText& name) const
  {
    return std::string_view(documentOf(name).text.text()).substr(name.offset, name.size);
  }

  // All of them, when they are wanted.
  template <class Take>
  void forEach(bool withDefinitions, bool withUses, Take take) const
  {
    if (!m_target)
      return;
    for (const NameInText& name : m_all)
      if (name.isDefinition ? withDefinitions : withUses)
        if (const std::optional<Span> span = spanIn(name))
          take(name, *span);
  }

  // The place that was pointed at.
  std::optional<Span> span() const { return m_target ? spanIn(*m_found) : std::nullopt; }

 private:
  // The part of "TYPE:name" that the object's name is.
  std::optional<Span> nameSpan(const NameInText& name, Span component) const
  {
    const std::string_view own = ownName(lastComponent(m_target->name));
    const std::string_view text =
        std::string_view(documentOf(name).text.text()).substr(component.offset, component.size);
    const std::string_view written = trimmed(ownName(text));
    if (written != own)
      return std::nullopt;
    return Span{component.offset + static_cast<std::size_t>(written.data() - text.data()), written.size()};
  }

  Target targetAt(const NameInText& name, std::size_t offset) const
  {
    if (name.isExpression || name.isDefinition)
      return {name.name, name.isExpression};
    std::size_t level = 0;
    const std::vector<Span> components = componentsOf(bytesOf(name), name.offset);
    while (level + 1 < components.size() && offset < components[level].offset)
      ++level;
    const std::string path = level < depthOf(name.name) ? above(name.name, level) : name.name;
    return {path, false};
  }

  const std::vector<NameInText>& m_all;
  const std::vector<const LspDocument*> m_order;
  const NameInText* m_found = nullptr;
  std::optional<Target> m_target;
};

LspJson locations(const Names& names, bool withDefinitions, bool withUses)
{
  LspJson found = LspJson::array();
  names.forEach(withDefinitions, withUses, [&](const NameInText& name, const Span& span) {
    found.push_back(locationOf(names.documentOf(name), span.offset, span.size));
  });
  return found.empty() ? LspJson() : found;
}

std::string inQuotes(std::string_view text)
{
  return "'" + std::string(text) + "'";
}

[[noreturn]] void refuse(const std::string& message)
{
  throw LspFailure{LspFailure::requestFailed, message};
}

// ----------------------------------------------------------------------------------------------------------- renaming

class Renaming {
 public:
  Renaming(const LspWorkspace& workspace, const Names& names, std::string newName)
      : m_workspace(workspace),
        m_names(names),
        m_target(*names.target()),
        m_newName(std::move(newName)),
        m_newPath(newPath())
  {}

  LspJson edits()
  {
    requireFree();
    std::map<std::size_t, LspJson> changes;
    m_names.forEach(true, true, [&](const NameInText& name, const Span& span) {
      m_spans[name.text].push_back(span);
      changes[name.text].push_back(editOf(m_names.documentOf(name).text, span.offset, span.size, m_newName));
    });
    requireSameMeaning();
    LspJson documents = LspJson::object();
    for (auto& [text, list] : changes)
      documents[m_names.order()[text]->uri] = std::move(list);
    return {{"changes", std::move(documents)}};
  }

 private:
  std::string newPath() const
  {
    if (m_target.isExpression)
      return m_newName;
    const std::string_view component = lastComponent(m_target.name);
    const std::size_t colon = component.find(':');
    if (colon == std::string_view::npos)
      refuse(inQuotes(component) + " is the name of a type: its objects have no other.");
    return m_target.name.substr(0, m_target.name.size() - component.size() + colon + 1) + m_newName;
  }

  void requireFree() const
  {
    if (m_newName.empty() || (m_target.isExpression && !orv::ExpressionDef::isName(m_newName)))
      refuse(inQuotes(m_newName) + " is no name.");
    for (const NameInText& name : m_names.all())
      if (name.isExpression == m_target.isExpression && name.name == m_newPath && m_newPath != m_target.name)
        refuse(inQuotes(m_newPath) + " is there already.");
  }

  std::string renamed(const NameInText& name) const
  {
    if (name.isExpression != m_target.isExpression)
      return name.name;
    const bool isBelow = !name.isExpression && name.name.starts_with(m_target.name + "/");
    return isBelow || name.name == m_target.name ? m_newPath + name.name.substr(m_target.name.size())
                                                 : name.name;
  }

  // The texts as they would be name what they do now, and nothing besides.
  void requireSameMeaning() const
  {
    std::vector<SyntaxTree> changed;
    changed.reserve(m_spans.size());
    std::vector<const SyntaxTree*> trees;
    for (std::size_t text = 0; text < m_names.order().size(); ++text) {
      const SyntaxTree& tree = m_names.order()[text]->text.tree();
      const auto spans = m_spans.find(text);
      trees.push_back(spans == m_spans.end() ? &tree : &changed.emplace_back(withName(tree, spans->second)));
    }
    const std::vector<NameInText> after = m_workspace.namesOf(trees);
    const bool isSame = std::equal(after.begin(), after.end(), m_names.all().begin(), m_names.all().end(),
                                   [&](const NameInText& is, const NameInText& was) {
                                     return is.text == was.text && is.isExpression == was.isExpression
                                            && is.isDefinition == was.isDefinition && is.name == renamed(was);
                                   });
    if (!isSame)
      refuse(inQuotes(m_target.name) + " cannot be renamed to " + inQuotes(m_newName)
             + ": some text would no longer mean what it does.");
  }

  SyntaxTree withName(const SyntaxTree& tree, const std::vector<Span>& spans) const
  {
    std::string text = tree.text();
    for (auto span = spans.rbegin(); span != spans.rend(); ++span)
      text.replace(span->offset, span->size, m_newName);
    return SyntaxTree(std::move(text), tree.reading());
  }

  const LspWorkspace& m_workspace;
  const Names& m_names;
  const Target m_target;
  const std::string m_newName;
  const std::string m_newPath;
  std::map<std::size_t, std::vector<Span>> m_spans;  // by text, in order
};

}  // namespace

LspJson definitionsAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset)
{
  return locations(Names(workspace, document, offset), true, false);
}

LspJson referencesAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset,
                     bool withDefinitions)
{
  return locations(Names(workspace, document, offset), withDefinitions, true);
}

LspJson highlightsAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset)
{
  const Names names(workspace, document, offset);
  constexpr int read = 2;
  constexpr int write = 3;
  LspJson found = LspJson::array();
  names.forEach(true, true, [&](const NameInText& name, const Span& span) {
    if (&names.documentOf(name) == &document)
      found.push_back({{"range", rangeOf(document.text, span.offset, span.size)},
                       {"kind", name.isDefinition ? write : read}});
  });
  return found.empty() ? LspJson() : found;
}

LspJson renamableAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset)
{
  const Names names(workspace, document, offset);
  const std::optional<Span> span = names.span();
  const bool isNamed = span
                       && (names.target()->isExpression
                           || lastComponent(names.target()->name).find(':') != std::string_view::npos);
  if (!isNamed)
    return {};
  return {{"range", rangeOf(document.text, span->offset, span->size)},
          {"placeholder", document.text.text().substr(span->offset, span->size)}};
}

LspJson renameAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset,
                 const std::string& newName)
{
  const Names names(workspace, document, offset);
  if (!names.target())
    refuse("Nothing that has a name stands here.");
  return Renaming(workspace, names, orv::StringUtilities::simplifyWhitespace(newName)).edits();
}

std::string nameAt(LspWorkspace& workspace, const LspDocument& document, std::size_t offset)
{
  const Names names(workspace, document, offset);
  return names.target() ? names.target()->name : std::string();
}
