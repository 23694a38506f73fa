// One operation of a session:
//
//   perform ─ Context::Scope           the session's instances are current
//      ├─ outermost: notes are cleared  ─ work ─ closeOutcome ─ tell
//      ├─ a piece of an open Command    ─ work ─ what was noted since; a failure ends the Command
//      └─ within a command              ─ work ─ what was noted since; a failure passes outward
#include "session/Session.h"

#include "platform/ORVContext.h"
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVOutputFiles.h"
#include "platform/ORVSystem.h"
#include "database/ObjectDB.h"
#include "command/FileText.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "command/caughtError.h"
#include "SessionModel.h"
#include "blockText.h"
#include "session/FileActions.h"
#include "session/Planner.h"

#include <algorithm>
#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <utility>

namespace orv {

namespace {

constexpr const char* sessionClass = "Session";

// An address of this library, or of the program that holds it.
const char inThisLibrary = 0;

bool isBlankLine(const std::string& line)
{
  return StringUtilities::trimmed(line).empty();
}

bool isBlank(const std::vector<std::string>& lines)
{
  return std::all_of(lines.begin(), lines.end(), isBlankLine);
}

// What is left open by these lines; less than 0 when there are too many ENDs.
int openBlocks(const std::vector<std::string>& lines)
{
  int depth = 0;
  bool continues = false;
  for (const std::string& line : lines) {
    const std::string_view rest = continues ? StringUtilities::trimmed(line) : std::string_view(line);
    if (!continues) {
      const MiniKSLParser::LineType type = MiniKSLParser::scan(line).type;
      depth += type == MiniKSLParser::objectLine;
      depth -= type == MiniKSLParser::endLine;
    }
    continues = !rest.empty() && rest.back() == '\\';
  }
  return depth;
}

// The command processor takes it for a slip that does no harm, where definitions take effect at the end.
void requireEnds(const std::vector<std::string>& lines, const TextSource& source)
{
  if (openBlocks(lines) <= 0)
    return;
  const auto last = std::find_if_not(lines.rbegin(), lines.rend(), isBlankLine);
  const auto count = static_cast<std::size_t>(lines.rend() - last);
  throw diagnosed(data::error("KSLInterface", "preParseKSL", _("Not enough END statements in KSL.")),
                  {.source = source.name, .line = source.firstLine + count - 1});
}

void enter(KSLCoreAPI& api, const std::vector<std::string>& lines, const TextSource& source)
{
  if (isBlank(lines))
    return;  // an empty text counts as a slip of the caller's there
  requireEnds(lines, source);
  api.externalProcessKSL(lines, source);
}

data::notFound noSuchObject(const char* function, const std::string& object)
{
  return {sessionClass, function, _("Object '%s' does not exist.", object)};
}

const KSLObject* findObjectOf(const std::string& pathOrName)
{
  if (pathOrName.empty())
    return nullptr;
  const ObjectDB* database = ObjectDB::instance();
  return pathOrName.front() == '/' ? database->getObjectByPath(pathOrName)
                                   : database->getObjectByName(pathOrName);
}

const KSLObject& getObject(const char* function, const std::string& pathOrName)
{
  const KSLObject* object = findObjectOf(pathOrName);
  if (!object)
    throw noSuchObject(function, pathOrName);
  return *object;
}

// From the top, in the order of the tree.
template <class Visit>
void walk(const KSLObject& top, Visit visit)
{
  std::vector<const KSLObject*> waiting{&top};
  while (!waiting.empty()) {
    const KSLObject* object = waiting.back();
    waiting.pop_back();
    if (object != &top)
      visit(*object);
    const std::size_t first = waiting.size();
    object->forEachChild([&](const KSLObject* child) { waiting.push_back(child); });
    std::reverse(waiting.begin() + static_cast<std::ptrdiff_t>(first), waiting.end());
  }
}

}  // namespace

struct Session::Impl {
  explicit Impl(Options options)
  {
    const Context::Scope scope(context);
    model = std::make_unique<SessionModel>(std::move(options));
  }
  ~Impl()
  {
    const Context::Scope scope(context);
    model.reset();
  }
  Context context;
  std::unique_ptr<SessionModel> model;
};

struct Session::Scope::Entered {
  explicit Entered(const Session& session) : scope(session.m_impl->context) {}
  Context::Scope scope;
};

Session::Scope::Scope(const Session& session) : m_entered(std::make_unique<Entered>(session)) {}
Session::Scope::~Scope() = default;

Session::Session(Options options) : m_impl(std::make_unique<Impl>(std::move(options))) {}
Session::~Session() = default;

std::string Session::installedLibrary()
{
  namespace fs = std::filesystem;
  Dl_info own{};
  if (dladdr(&inThisLibrary, &own) == 0 || !own.dli_fname)
    return {};
  std::error_code unknown;
  const fs::path file = fs::absolute(own.dli_fname, unknown);
  std::string first;
  for (const char* way : {KSL_DEMO_FROM_LIBRARY, KSL_DEMO_FROM_PROGRAM}) {
    std::string place = (file.parent_path() / way).lexically_normal().string();
    if (fs::exists(place, unknown))
      return place;
    if (first.empty())
      first = std::move(place);
  }
  return first;
}

ActionFactory& Session::actions() const
{
  return m_impl->model->actions();
}

// ------------------------------------------------------------------------------------------------------- commands

// Once the work has begun nothing is made here that could fail.
template <class Work>
Outcome Session::perform(Text text, Work work)
{
  const Context::Scope scope(m_impl->context);
  SessionModel& model = *m_impl->model;
  const SessionModel::Places places(model, text == Text::given);
  KSLCoreAPI& api = *KSLCoreAPI::instance();
  const bool isInside = model.isInside();
  const bool isPiece = !isInside && (api.isCommandOpen() || model.hasCommandFailed());
  const bool isPart = isInside || isPiece;
  if (!isPart || !model.hasNotes())
    model.beginNotes();
  const OutcomeNotes::Mark before = model.mark();
  std::shared_ptr<OutcomeNotes> ofPart = isPart ? model.takeNotes() : nullptr;
  try {
    const SessionModel::Inside inside(model);
    if (model.hasCommandFailed() && isPiece)
      ErrorProgressReporter::instance()->reportError(ErrorMsg(
          sessionClass, "run", _("The command has failed; nothing is added to it."), errorType::ordinary));
    else
      work(api);
  } catch (const Unwind&) {
    if (!isPiece)
      throw;
    model.failCommand(false);
  } catch (const Error& error) {
    if (isInside)
      throw;
    model.report(error);
    if (isPiece)
      model.failCommand(true);
  } catch (const std::exception&) {
    if (isInside)
      throw;
    model.reportCaught();
    if (isPiece)
      model.failCommand(true);
  }
  return isPart ? model.outcomeSince(before, std::move(ofPart)) : model.endNotes();
}

Outcome Session::run(const std::string& text, const TextSource& source)
{
  return perform(Text::given,
                 [&](KSLCoreAPI& api) { enter(api, StringUtilities::stringToVector(text, '\n'), source); });
}

Outcome Session::runFile(const std::string& fileName)
{
  return perform(Text::given, [&](KSLCoreAPI& api) {
    std::vector<std::string> lines = ORVFile::readLines(fileName);
    FileText::undo(lines);
    enter(api, lines, {.name = fileName});
  });
}

Outcome Session::set(const std::string& object, const std::string& parameter, const std::string& value)
{
  return set(object, {{parameter, value}});
}

Outcome Session::set(const std::string& object, const std::map<std::string, std::string>& values)
{
  return perform(Text::made, [&](KSLCoreAPI& api) {
    api.externalProcessKSL({blockText(getObject("set", object).getPath(), values)});
  });
}

// Within a command in pieces, they would move along the steps before it.
Outcome Session::moveBy(const char* action)
{
  return perform(Text::made, [&](KSLCoreAPI& api) {
    if (api.isCommandOpen())
      throw data::invalid(sessionClass, "run", _("'%s' is not for pieces of a command.", action));
    api.externalProcessKSL({action});
  });
}

Outcome Session::undo()
{
  return moveBy("> undo");
}

Outcome Session::redo()
{
  return moveBy("> redo");
}

Outcome Session::performOnFile(const std::string& fileName, bool written,
                               std::string (*text)(const std::string&))
{
  return perform(Text::made, [&](KSLCoreAPI& api) {
    const std::string problem = fileNameProblem(fileName, written);
    if (!problem.empty())
      throw data::invalid(sessionClass, written ? "save" : "load",
                          _("The file name '%s' %s.", fileName, problem));
    api.externalProcessKSL({text(fileName)});
  });
}

Outcome Session::save(const std::string& fileName)
{
  return performOnFile(fileName, true, saveStateText);
}

Outcome Session::load(const std::string& fileName)
{
  return performOnFile(fileName, false, loadStateText);
}

// -------------------------------------------------------------------------------------------- a command in pieces

Session::Command::Command(Session& session, std::string title) : m_session(session), m_title(std::move(title))
{
  const Context::Scope scope(session.m_impl->context);
  SessionModel& model = *session.m_impl->model;
  KSLCoreAPI* api = KSLCoreAPI::instance();
  if (!model.isInside() && !api->isCommandOpen() && !model.hasCommandFailed())
    model.beginNotes();
  const SessionModel::Inside inside(model);
  if (!api->beginCommand())
    model.noteFailedCommand();
}

Session::Command::~Command()
{
  try {
    finish(false);
  } catch (...) {
    passUnwinding();
  }
}

Outcome Session::Command::finish(bool keep)
{
  if (m_ended)
    return m_outcome;
  m_ended = true;
  const Context::Scope scope(m_session.m_impl->context);
  SessionModel& model = *m_session.m_impl->model;
  {
    const SessionModel::Inside inside(model);
    if (!model.hasCommandFailed())
      KSLCoreAPI::instance()->endCommand(keep);
    model.forgetCommand();
  }
  return m_outcome = model.endNotes(std::move(m_title));
}

// -------------------------------------------------------------------------------------------------------- queries

template <class Ask>
auto Session::ask(Ask ask) const
{
  const Context::Scope scope(m_impl->context);
  return ask();
}

std::string Session::state() const
{
  return state("/");
}

std::string Session::state(const std::string& object) const
{
  return state(std::vector<std::string>{object});
}

std::string Session::state(const std::vector<std::string>& objects) const
{
  return ask([&] {
    std::string text;
    for (const std::string& object : objects)
      getObject("state", object).appendState(text, externalParams);
    return text;
  });
}

bool Session::has(const std::string& object) const
{
  return ask([&] { return findObjectOf(object) != nullptr; });
}

const KSLObject& Session::object(const std::string& object) const
{
  const Context::Scope scope(m_impl->context);
  return getObject("object", object);
}

std::string Session::type(const std::string& object) const
{
  return ask([&] { return getObject("type", object).getType(); });
}

std::string Session::value(const std::string& object, const std::string& parameter) const
{
  return ask([&]() -> std::string { return getObject("value", object).getValue(parameter); });
}

Quantity Session::quantity(const std::string& object, const std::string& parameter) const
{
  return ask([&] { return getObject("quantity", object).getQuantityValue(parameter); });
}

double Session::quantity(const std::string& object, const std::string& parameter,
                         const std::string& units) const
{
  return ask([&] { return getObject("quantity", object).getQuantityValue(parameter).convertTo(units); });
}

std::map<std::string, std::string> Session::values(const std::string& object, bool internal) const
{
  return ask([&] {
    std::map<std::string, std::string> values;
    getObject("values", object).forEachParam([&](const ParamDefinition& param) {
      if (internal || !param.isInternal())
        values.emplace_hint(values.end(), param.getName(), param.getValue());
    });
    return values;
  });
}

std::vector<std::string> Session::children(const std::string& object) const
{
  return ask([&] {
    std::vector<std::string> paths;
    getObject("children", object).forEachChild([&paths](const KSLObject* child) {
      paths.push_back(child->getPath());
    });
    return paths;
  });
}

std::vector<std::string> Session::objects(const std::string& typeOrCategory) const
{
  return ask([&] {
    std::vector<std::string> paths;
    walk(*ObjectDB::instance()->getRoot(), [&](const KSLObject& object) {
      if (typeOrCategory.empty() || object.isA(typeOrCategory))
        paths.push_back(object.getPath());
    });
    return paths;
  });
}

Plan Session::plan(const std::string& text, const TextSource& source) const
{
  return ask([&]() -> Plan {
    const std::vector<std::string> lines = StringUtilities::stringToVector(text, '\n');
    if (isBlank(lines))
      return {};
    try {
      requireEnds(lines, source);
    } catch (const Error& error) {
      Plan plan;
      plan.steps.push_back({{}, {ErrorMsg(error)}, true});
      return plan;
    }
    return Planner({"load", "preferences", "setViewportView"}).plan({{lines, source}});
  });
}

const std::vector<Change>& Session::changes() const
{
  return m_impl->model->last().changes();
}

// ------------------------------------------------------------------------------------------------------ observers

int Session::observe(Observer observer)
{
  return m_impl->model->observe(std::move(observer));
}

void Session::unobserve(int number)
{
  m_impl->model->unobserve(number);
}

}  // namespace orv
