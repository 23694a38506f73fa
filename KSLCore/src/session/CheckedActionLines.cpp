#include "CheckedActionLines.h"

#include "platform/ORVError.h"
#include "platform/ORVUtilities.h"
#include "command/ActionExecutor.h"
#include "command/actionChecks.h"
#include "actions/KSLCopyImpl.h"
#include "CheckedActions.h"

#include <algorithm>
#include <initializer_list>
#include <optional>
#include <string_view>

namespace orv {

using LeafKind = SyntaxTree::LeafKind;
using ObjectIndex = CheckedObjects::Index;

namespace {

bool isOneOf(std::string_view word, std::initializer_list<std::string_view> words)
{
  return std::find(words.begin(), words.end(), word) != words.end();
}

}  // namespace

void CheckedActionLines::check(Index node)
{
  const SyntaxTree::Statement statement = m_state.tree->read(node, m_state.room);
  const std::vector<std::string> words =
      ActionExecutor::splitActionLine(std::string(statement.first) + " " + std::string(statement.rest));
  if (words.empty() || words.front().empty()) {
    m_state.add(CheckState::error("Executive", "doAction", _("Empty action line.")), node, LeafKind::mark,
                ">");
    return;
  }
  if (m_actions.count(words.front()) == 0) {
    m_state
        .add(ErrorMsg("ActionFactory", "getExecutor", _("Action %s is not recognized.", words.front()),
                      errorType::internal),
             node, LeafKind::word, words.front())
        .valid.assign(m_actions.begin(), m_actions.end());
    return;
  }
  if (const std::optional<ActionFault> fault = faultOf(words)) {
    m_state
        .add(ErrorMsg(fault->className, fault->function, fault->message, errorType::ordinary), node,
             LeafKind::arguments, fault->subject)
        .valid = fault->valid;
    return;
  }
  follow(node, words);
}

ObjectIndex CheckedActionLines::findNamed(Index node, const std::string& name)
{
  bool isAmbiguous = false;
  const ObjectIndex object = m_state.objects.findNamed(name, isAmbiguous);
  if (isAmbiguous)
    m_state.add(CheckState::error("ObjectDB", "getObjectByName", _("Object name %s is ambiguous.", name)),
                node, LeafKind::arguments, name);
  else if (m_state.collects && object != CheckedObjects::none)
    m_state.names.addArgument(node, name, m_state.objects[object].path);
  return object;
}

// What the action does to the objects.
void CheckedActionLines::follow(Index node, const std::vector<std::string>& words)
{
  if (words.front() == "delete") {
    followDelete(node, words);
  } else if (words.front() == "copy" || words.front() == "rename") {
    followCopy(node, words);
  } else if (isOneOf(words.front(), {"forceupdate", "fu", "getstate", "s"})) {
    for (std::size_t i = 1; i < words.size(); ++i)
      findNamed(node, words[i]);
  } else if (words.front() == "getrulesinfo") {
    followRulesInfo(node, words);
  } else if (isUnforeseen(words.front())) {
    m_state.unforeseen = true;
  } else if (m_state.collects) {
    noteMentions(node, words);
  }
}

// Objects that an action looks at, by their paths.
void CheckedActionLines::noteMentions(Index node, const std::vector<std::string>& words)
{
  for (std::size_t i = 1; i < words.size(); ++i) {
    const std::string word = words[i].substr(words[i].find('=') + 1);
    if (word.empty() || word.front() != '/')
      continue;
    bool isAmbiguous = false;
    const ObjectIndex object = m_state.objects.findNamed(word, isAmbiguous);
    if (object != CheckedObjects::none && !isAmbiguous)
      m_state.names.addArgument(node, word, m_state.objects[object].path);
  }
}

void CheckedActionLines::followRulesInfo(Index node, const std::vector<std::string>& words)
{
  const RulesInfoRequest request = rulesInfoRequest(words);
  if (request.type != "object")
    return;
  const ObjectIndex object =
      m_state.objects.findPath(PathUtils::normalisePathBwdComp(namedPath(request.name)));
  if (object == CheckedObjects::none && !m_state.unforeseen)
    m_state.add(CheckState::error("GetRulesInfoExecutor", "invoke",
                                  _("getrulesinfo: object %s does not exist.", request.name)),
                node, LeafKind::arguments, request.name);
  else if (m_state.collects && object != CheckedObjects::none)
    m_state.names.addArgument(node, request.name, m_state.objects[object].path);
}

// Objects that are protected stay, unless they go with one that is not.
void CheckedActionLines::followDelete(Index node, const std::vector<std::string>& words)
{
  for (std::size_t i = 1; i < words.size(); ++i) {
    const ObjectIndex object = findNamed(node, words[i]);
    if (object == CheckedObjects::none)
      continue;
    if (m_state.objects[object].isProtected)
      m_state.add(CheckState::warning("ProtectedObjects", "filter",
                                      _("Object '%s' is protected.", m_state.objects[object].path)),
                  node, LeafKind::arguments, words[i], object, nullptr);
    else
      m_state.objects.remove(object);
    m_state.removal = node;
  }
}

// As KSLCopyImpl and RenameExecutor do it.
void CheckedActionLines::followCopy(Index node, const std::vector<std::string>& words)
{
  const bool renames = words.front() == KSLCopyImpl::renameAction;
  if (renames && words.size() != 3) {
    m_state.add(
        CheckState::error("RenameExecutor", "invoke", _("Did not specify correct number of parameters")),
        node, LeafKind::arguments, {});
    return;
  }
  try {
    const KSLCopyImpl::Paths paths = KSLCopyImpl().obtainPaths(words);
    if (paths.from == paths.to || !mayCopy(node, paths, renames))
      return;
    const ObjectIndex source = m_state.objects.findPath(paths.from);
    const KSLPath target(paths.to);
    if (const ObjectIndex parent = defineAbove(target); parent != CheckedObjects::none)
      m_state.objects.copy(source, parent, target.getLastName());
    if (renames)
      m_state.objects.remove(source);
  } catch (const Error& error) {
    m_state.add(ErrorMsg(error), node, LeafKind::arguments, {});
  }
}

bool CheckedActionLines::mayCopy(Index node, const KSLCopyImpl::Paths& paths, bool renames)
{
  const ObjectIndex source = m_state.objects.findPath(paths.from);
  const auto refuse = [&](const char* className, const char* function, const char* format,
                          const std::string& path) {
    m_state.add(CheckState::error(className, function, _(format, path)), node, LeafKind::arguments, path);
    return false;
  };
  if (source == CheckedObjects::none && m_state.unforeseen)
    return false;
  if (source == CheckedObjects::none)
    return refuse("KSLCopyImpl", "performCopy", "Attempt to copy nonexistent object '%s' failed.",
                  paths.from);
  if (m_state.objects.findPath(paths.to) != CheckedObjects::none)
    return refuse("KSLCopyImpl", "performCopy", "Attempt to copy to existing object '%s' failed.", paths.to);
  if (renames && m_state.objects[source].isProtected)
    return refuse("RenameExecutor", "invoke", "Object '%s' cannot be renamed because it must not be deleted.",
                  paths.from);
  return true;
}

// What a copy is to be in comes into being with it; none when there is no such type.
ObjectIndex CheckedActionLines::defineAbove(const KSLPath& path)
{
  if (path.size() == 1)
    return CheckedObjects::root;
  const KSLPath above = path.getParentPath();
  if (const ObjectIndex there = m_state.objects.findPath(above.getFullPath()); there != CheckedObjects::none)
    return there;
  const CheckedType* type = m_state.types.find(above.getLastType());
  const ObjectIndex parent = type ? defineAbove(above) : CheckedObjects::none;
  return parent == CheckedObjects::none ? parent : m_state.objects.define(parent, *type, above.getLastName());
}

}  // namespace orv
