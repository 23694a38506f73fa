#include "Query.h"

#include "platform/ORVError.h"
#include "platform/ORVOutputFiles.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "command/KSLInterface.h"
#include "FileActions.h"
#include "session/QuietActions.h"

namespace {

const orv::KSLObject* objectNamed(const std::string& pathOrName)
{
  const std::string text =
      orv::PathUtils::normalisePathBwdComp(std::string(orv::StringUtilities::trimmed(pathOrName)));
  if (text.empty())
    return nullptr;
  const orv::ObjectDB* database = orv::ObjectDB::instance();
  return text.front() == '/' ? database->getObjectByPath(text) : database->getObjectByName(text);
}

}  // namespace

const std::vector<std::string>& harmlessActions()
{
  static const std::vector<std::string> words{"load", "preferences", "setViewportView"};
  return words;
}

int runQuery(const QueryOptions& options, const std::function<void()>& work,
             const std::function<void(const std::string&)>& watch)
{
  return runWithHost(options.input, [&](Host&) {
    const Texts texts = readTexts(options.input);
    const orv::QuietActions quiet(*orv::KSLInterface::instance()->getExecutive(), harmlessActions());
    orv::OutputFiles::instance()->setNames(&orv::OutputFiles::nowhere);
    const orv::ScopeGuard writeAgain([] { orv::OutputFiles::instance()->setNames(nullptr); });
    const auto enter = [&](const EnteredText& text, const std::string& name) {
      if (watch)
        watch(name);
      return isBlank(text.text) || enterText(text);
    };
    if (!options.load.empty() && !enter(loadStateText(options.load), options.load))
      return;
    for (const EnteredText& text : texts)
      enter(text, text.source.name);
    if (watch)
      watch({});
    work();
  });
}

NamedParam findNamed(const std::string& text)
{
  for (std::size_t end = text.size(); end != std::string::npos && end > 0; end = text.rfind('.', end - 1)) {
    const orv::KSLObject* object = objectNamed(text.substr(0, end));
    if (object)
      return {object, end < text.size() ? text.substr(end + 1) : std::string()};
  }
  return {};
}

NamedParam requireNamed(const std::string& text)
{
  NamedParam named = findNamed(text);
  if (!named.object)
    throw orv::data::notFound("ksl", "find", orv::_("Object '%s' does not exist.", text));
  if (!named.param.empty() && !named.object->hasParam(named.param))
    throw orv::data::notFound(
        "ksl", "find",
        orv::_("Parameter '%s' does not exist on object %s.", named.param, named.object->getPath()));
  return named;
}
