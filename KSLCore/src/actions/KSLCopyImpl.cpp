#include "actions/KSLCopyImpl.h"

#include "platform/ORVAbstractDataModels.h"
#include "platform/ORVError.h"
#include "platform/ORVKSLParseUtilities.h"
#include "database/NamesBeside.h"
#include "actions/CopiedKSLModifer.h"
#include "actions/ReadableText.h"

namespace orv {

namespace {

constexpr const char* kslCopyImplClass = "KSLCopyImpl";

bool isPath(std::string_view text)
{
  return !text.empty() && text.front() == '/';
}

// Writes a subtree as a block, under another name. Who is told of a warning may submit texts, which take objects away:
// that waits until all are visited.
class BlockWriter final : public TreeVisitor {
 public:
  explicit BlockWriter(const std::string& newName) : m_topName(&newName) {}

  void beginObject(const std::string&, const std::string& type, const std::string& name) override
  {
    const std::string* topName = std::exchange(m_topName, nullptr);
    m_builder.beginObject(type, topName ? *topName : name);
  }
  void parameter(const std::string& path, const std::string& name, const std::string& value) override
  {
    if (value.empty())
      return;
    if (!isReadable(value))
      m_reports.emplace_back(unreadable(kslCopyImplClass, "performCopy", path, name));
    m_builder.addParam(name, value);
  }
  void endObject() override { m_builder.endObject(); }

  const std::string& text() const { return m_builder.text(); }
  void tell() const
  {
    for (const ErrorMsg& report : m_reports)
      ErrorProgressReporter::instance()->reportError(report);
  }

 private:
  const std::string* m_topName;  // null once it is written
  KSLBuilder m_builder;
  std::vector<ErrorMsg> m_reports;
};

data::invalid pathError(const char* format, const std::string& first, const std::string& second)
{
  return {kslCopyImplClass, "normalisePaths", _(format, first, second)};
}

// The target's path, when it was given as the new name of the last component.
KSLPath renamed(KSLPath source, const KSLCopyImpl::Paths& given)
{
  if (given.to.find('/') != std::string::npos)
    throw pathError("Copy action has a '%s' parameter that is not a path: '%s'.", KSLCopyImpl::toParam,
                    given.to);
  if (source.isSingleton())
    throw pathError("Attempt to copy from singleton to named object (copy from '%s' to '%s').", given.from,
                    given.to);
  source.replaceLastName(given.to);
  return source;
}

void checkSameKind(const KSLPath& source, const KSLPath& target, const KSLCopyImpl::Paths& given)
{
  if (source.isSingleton() != target.isSingleton())
    throw pathError("Attempt to copy from singleton to named object or vice versa (copy from '%s' to '%s').",
                    given.from, given.to);
  if (source.getLastType() != target.getLastType())
    throw pathError("Attempt to copy an object to an object of different type (copy from '%s' to '%s').",
                    given.from, given.to);
}

}  // namespace

CopiedKSLModifer::~CopiedKSLModifer() = default;
KSLCopyImpl::~KSLCopyImpl() = default;

std::string KSLCopyImpl::obtainCopyKSL(const TreeAndLeafReadModel& model,
                                       const std::vector<std::string>& words) const
{
  return performCopy(model, obtainPaths(words));
}

std::string KSLCopyImpl::obtainRenameKSL(const TreeAndLeafReadModel& model,
                                         const std::vector<std::string>& words) const
{
  const Paths paths = obtainPaths(words);
  std::string text = performCopy(model, paths);
  if (text.empty())
    return text;
  text.append(">delete, ").append(StringUtilities::writtenName(paths.from));
  return text.append(text.back() == '\\' ? " \n" : "\n");  // with a blank behind it, it is no continuation
}

KSLCopyImpl::Paths KSLCopyImpl::obtainPaths(const std::vector<std::string>& words) const
{
  const Paths given = parseParams(words);
  return normalisePaths(given, words.front() == renameAction);
}

KSLCopyImpl::Paths KSLCopyImpl::parseParams(const std::vector<std::string>& words)
{
  constexpr const char* function = "parseParams";
  const std::string action = words.empty() ? std::string() : words.front();
  if (action != copyAction && action != renameAction)
    throw ksl::invalid(kslCopyImplClass, function, _("Action '%s' is not supported.", action));
  Paths paths;
  for (std::size_t i = 1; i < words.size(); ++i) {
    const auto [name, value] = StringUtilities::splitNameValue(words[i]);
    const std::string key = StringUtilities::simplifyWhitespace(name);
    if (key != fromParam && key != toParam)
      throw diagnosed(ksl::invalid(kslCopyImplClass, function,
                                   _("Action '%s' is provided with a bad parameter '%s'.", action, words[i])),
                      oneOf(key, {fromParam, toParam}));
    (key == fromParam ? paths.from : paths.to) =
        StringUtilities::trimmed(StringUtilities::unquoted(StringUtilities::simplifyWhitespace(value)));
  }
  if (paths.from.empty() || paths.to.empty())
    throw ksl::invalid(kslCopyImplClass, function,
                       _("Action '%s' needs a 'from' parameter and a 'to' parameter.", action));
  return paths;
}

KSLCopyImpl::Paths KSLCopyImpl::normalisePaths(const Paths& given, bool renaming)
{
  if (!isPath(given.from))
    throw pathError("Copy action has a '%s' parameter that is not a path: '%s'.", fromParam, given.from);
  const KSLPath source(given.from);
  const KSLPath target = isPath(given.to) ? KSLPath(given.to) : renamed(source, given);
  checkSameKind(source, target, given);
  Paths paths{source.getFullPath(), target.getFullPath()};
  if (renaming && paths.from != paths.to && PathUtils::isSameOrBelow(paths.to, paths.from))
    throw pathError("Attempt to rename object '%s' into itself (rename to '%s').", paths.from, paths.to);
  return paths;
}

std::string KSLCopyImpl::performCopy(const TreeAndLeafReadModel& model, const Paths& paths) const
{
  if (paths.from == paths.to)
    return {};
  const KSLPath source(paths.from);
  const KSLPath target(paths.to);
  const auto check = [](bool good, const char* format, const std::string& path) {
    if (!good)
      throw diagnosed(data::invalid(kslCopyImplClass, "performCopy", _(format, path)), unknownObject(path));
  };
  check(model.hasObject(source), "Attempt to copy nonexistent object '%s' failed.", paths.from);
  check(!model.hasObject(target), "Attempt to copy to existing object '%s' failed.", paths.to);
  BlockWriter writer(target.getLastName());
  model.visitSettings(source, writer);
  writer.tell();
  auto [text, end] = target.getParentPath().makeKSLPathAndEnd();
  text += m_modifier ? modified(writer.text(), source, target) : writer.text();
  return text += end;
}

std::string KSLCopyImpl::modified(const std::string& block, const KSLPath& source,
                                  const KSLPath& target) const
{
  std::vector<std::string> lines = StringUtilities::stringToVector(block, '\n');
  lines.pop_back();  // what stands behind the last line end
  lines = m_modifier->modifyLines(std::move(lines), target.getLastName(), source.getLastName(),
                                  source.getLastType());
  return StringUtilities::vectorToString(lines, '\n') + '\n';
}

}  // namespace orv
