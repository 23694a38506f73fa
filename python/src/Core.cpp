#include "Core.h"

#include "platform/ORVDynamicLoader.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "database/KSLObject.h"

#include <chrono>
#include <limits>
#include <pybind11/stl.h>
#include <tuple>
#include <utility>

namespace ksl {

// The calculate library that Python functions are in, as RULES name it: "python".
static constexpr const char* library = "libpython.so";

namespace {

constexpr const char* className = "python";

bool stops(const py::error_already_set& error)
{
  return !error.matches(PyExc_Exception);  // KeyboardInterrupt, SystemExit
}

}  // namespace

// ------------------------------------------------------------------------------------------------- life, commands

// Looks for signals now and then. Python handles them on its main thread alone, so it costs nothing elsewhere.
class Core::Watch : public orv::ProgressWatcher {
 public:
  explicit Watch(Core& core) : m_core(core), m_former(set(this)) {}
  ~Watch() override { set(m_former); }
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;

  void stepped(const orv::Progress*) override
  {
    if (++m_steps % 16 != 0 || Clock::now() < m_next)
      return;
    m_next = Clock::now() + std::chrono::milliseconds(50);
    const py::gil_scoped_acquire lock;
    if (PyErr_CheckSignals() == 0)
      return;
    m_core.m_stop.emplace();
    throw orv::Interrupt(className, "interrupt", orv::_("Interrupted. The command is taken back."));
  }

 private:
  using Clock = std::chrono::steady_clock;
  Core& m_core;
  orv::ProgressWatcher* m_former;
  std::size_t m_steps = 0;
  Clock::time_point m_next = Clock::now() + std::chrono::milliseconds(50);
};

class Core::Function : public orv::CalculateFunction {
 public:
  Function(Core& core, std::string name) : m_core(core), m_name(std::move(name)) {}
  void calculate(orv::KSLObject* object, const std::string&) override { m_core.calculate(m_name, object); }

 private:
  Core& m_core;
  std::string m_name;
};

Core::Core(std::string definitions, std::string rules, bool validate, bool changes)
{
  const py::gil_scoped_release unlocked;
  orv::SessionOptions options;
  options.library = std::move(definitions);
  options.rules = std::move(rules);
  options.validate = validate;
  options.changes = changes;
  options.prepare = [this](orv::ActionFactory&) {
    orv::SharedLibrary::instance()->provide(
        library, [this](const std::string& name) -> orv::CalculateFunction* {
          return m_calculations.count(name) > 0 ? new Function(*this, name) : nullptr;
        });
  };
  m_session = std::make_unique<orv::Session>(std::move(options));
}

Core::~Core()
{
  const py::gil_scoped_release unlocked;
  m_command.reset();
  m_session.reset();
}

void Core::close()
{
  if (m_inside > 0)
    throw orv::internal::error(className, "close", orv::_("A command is under way."));
  {
    const py::gil_scoped_release unlocked;
    m_command.reset();
    m_session.reset();
  }
  dropFunctions();
}

int Core::visitFunctions(visitproc visit, void* arg) const
{
  for (const auto& [name, function] : m_calculations)
    Py_VISIT(function.ptr());
  for (const auto& [number, function] : m_observers)
    Py_VISIT(function.ptr());
  return 0;
}

// What ends with a function may come back here.
void Core::dropFunctions()
{
  const auto calculations = std::exchange(m_calculations, {});
  const auto observers = std::exchange(m_observers, {});
}

orv::Session& Core::session() const
{
  if (!m_session)
    throw orv::internal::error(className, "session", orv::_("The session is closed."));
  return *m_session;
}

// What carries a failure outward passes through Python as an exception like any other; the calculation that it comes to
// goes on with it.
template <class Work>
orv::Outcome Core::command(Work work)
{
  orv::Session& model = session();
  const bool isOutermost = m_inside == 0;
  if (isOutermost) {
    m_cause.reset();
    m_stop.reset();
    m_outward = nullptr;
  }
  orv::Outcome outcome;
  {
    const orv::ScopeGuard leave([this] { --m_inside; });
    ++m_inside;
    const py::gil_scoped_release unlocked;
    const orv::Session::Scope scope(model);
    const Watch watch(*this);
    try {
      outcome = work(model);
    } catch (const orv::Unwind&) {
      m_outward = std::current_exception();
    }
  }
  if (m_outward && !isOutermost)
    throw orv::data::error(className, "run", orv::_("The command that this is part of has failed."));
  if (isOutermost)
    raiseStopped();
  return outcome;
}

void Core::raiseStopped()
{
  if (!m_stop)
    return;
  py::error_already_set stop = std::move(*m_stop);
  m_stop.reset();
  throw py::error_already_set(std::move(stop));
}

py::object Core::takeCause()
{
  if (!m_cause)
    return py::none();
  py::object cause = m_cause->value();
  m_cause.reset();
  return cause;
}

orv::Outcome Core::run(const std::string& text, const std::string& source, std::size_t firstLine)
{
  return command(
      [&](orv::Session& model) { return model.run(text, {.name = source, .firstLine = firstLine}); });
}

orv::Outcome Core::runFile(const std::string& fileName)
{
  return command([&](orv::Session& model) { return model.runFile(fileName); });
}

orv::Outcome Core::set(const std::string& object, const std::map<std::string, std::string>& values)
{
  return command([&](orv::Session& model) { return model.set(object, values); });
}

orv::Outcome Core::undo()
{
  return command([](orv::Session& model) { return model.undo(); });
}

orv::Outcome Core::redo()
{
  return command([](orv::Session& model) { return model.redo(); });
}

orv::Outcome Core::save(const std::string& fileName)
{
  return command([&](orv::Session& model) { return model.save(fileName); });
}

orv::Outcome Core::load(const std::string& fileName)
{
  return command([&](orv::Session& model) { return model.load(fileName); });
}

void Core::begin(const std::string& title)
{
  if (m_inside > 0 || m_command)
    throw orv::internal::error(className, "command", orv::_("A command is under way."));
  m_command = std::make_unique<orv::Session::Command>(session(), title);
}

orv::Outcome Core::end(bool keep)
{
  session();
  if (!m_command)
    throw orv::internal::error(className, "command", orv::_("No command is under way."));
  const std::unique_ptr<orv::Session::Command> ending = std::move(m_command);
  return command([&](orv::Session&) { return keep ? ending->end() : ending->rollBack(); });
}

// -------------------------------------------------------------------------------------------------------- questions

orv::Plan Core::plan(const std::string& text, const std::string& source, std::size_t firstLine)
{
  const orv::Session& model = session();
  orv::Plan plan;
  try {
    const py::gil_scoped_release unlocked;
    const orv::Session::Scope scope(model);
    const Watch watch(*this);
    plan = model.plan(text, {.name = source, .firstLine = firstLine});
  } catch (const orv::Interrupt&) {
    raiseStopped();
  }
  return plan;
}

std::string Core::state(const std::vector<std::string>& objects) const
{
  const orv::Session& model = session();
  const py::gil_scoped_release unlocked;
  return objects.empty() ? model.state() : model.state(objects);
}

bool Core::has(const std::string& object) const
{
  return session().has(object);
}

std::string Core::path(const std::string& object) const
{
  return session().object(object).getPath();
}

std::string Core::type(const std::string& object) const
{
  return session().type(object);
}

std::string Core::value(const std::string& object, const std::string& parameter) const
{
  return session().value(object, parameter);
}

std::pair<double, std::string> Core::quantity(const std::string& object, const std::string& parameter) const
{
  const orv::Quantity quantity = session().quantity(object, parameter);
  return {quantity.getValue(), quantity.getUnits()};
}

std::map<std::string, std::string> Core::values(const std::string& object, bool internal) const
{
  return session().values(object, internal);
}

std::vector<std::string> Core::children(const std::string& object) const
{
  return session().children(object);
}

std::vector<std::string> Core::objects(const std::string& typeOrCategory) const
{
  const orv::Session& model = session();
  const py::gil_scoped_release unlocked;
  return model.objects(typeOrCategory);
}

std::map<std::string, std::string> Core::results(const std::string& object) const
{
  const orv::Session& model = session();
  const orv::Session::Scope scope(model);
  std::map<std::string, std::string> results;
  model.object(object).forEachParam([&results](const orv::ParamDefinition& param) {
    if (param.isInternal() || param.categoryIs("Result"))
      results.emplace(param.getName(), param.getValue());
  });
  return results;
}

py::array_t<double> Core::column(const std::vector<std::string>& objects, const std::string& parameter,
                                 const std::string& units) const
{
  const orv::Session& model = session();
  std::vector<double> numbers;
  numbers.reserve(objects.size());
  {
    const py::gil_scoped_release unlocked;
    const orv::Session::Scope scope(model);
    for (const std::string& path : objects) {
      const orv::KSLObject& object = model.object(path);
      numbers.push_back(object.hasParam(parameter) ? object.getQuantityValue(parameter).convertTo(units)
                                                   : std::numeric_limits<double>::quiet_NaN());
    }
  }
  return py::array_t<double>(static_cast<py::ssize_t>(numbers.size()), numbers.data());
}

py::array_t<double> Core::columnOf(const std::string& typeOrCategory, const std::string& parameter,
                                   const std::string& units) const
{
  return column(objects(typeOrCategory), parameter, units);
}

// ----------------------------------------------------------------------------------------------- those who take part

int Core::observe(py::function observer)
{
  auto told = std::make_shared<int>(0);
  *told = session().observe([this, told](const orv::Outcome& outcome) {
    const py::gil_scoped_acquire lock;
    const auto at = m_observers.find(*told);
    if (at == m_observers.end())
      return;
    const py::function function = at->second;
    // Its own commands have causes of their own.
    const orv::ScopeGuard restore(
        [this, cause = std::exchange(m_cause, std::nullopt)]() mutable { m_cause = std::move(cause); });
    try {
      function(outcome);
    } catch (py::error_already_set& error) {
      if (stops(error))
        m_stop.emplace(std::move(error));
      else
        error.discard_as_unraisable(function);
    }
  });
  m_observers.emplace(*told, std::move(observer));
  return *told;
}

void Core::unobserve(int number)
{
  if (m_session)
    m_session->unobserve(number);
  m_observers.erase(number);
}

void Core::provide(const std::string& name, py::function calculation)
{
  m_calculations[name] = std::move(calculation);
}

// What a command of the calculation's own threw goes on its way, also when Python code has caught it.
void Core::calculate(const std::string& name, orv::KSLObject* object)
{
  const std::string path = object->getPath();
  const py::gil_scoped_acquire lock;
  const py::function function = m_calculations.at(name);
  const auto view = std::make_shared<Calculated>(object);
  const orv::ScopeGuard end([&view] { view->end(); });
  try {
    const py::object result = function(view);
  } catch (py::error_already_set& error) {
    if (!m_outward)
      failCalculation(name, path, error);
  }
  if (m_outward)
    std::rethrow_exception(std::exchange(m_outward, nullptr));
}

void Core::failCalculation(const std::string& name, const std::string& path, py::error_already_set& error)
{
  if (stops(error)) {
    m_stop.emplace(std::move(error));
    throw orv::Interrupt(className, "interrupt", orv::_("Interrupted. The command is taken back."));
  }
  const auto [file, line, text] = py::module_::import("ksl._errors")
                                      .attr("raised")(error.value())
                                      .cast<std::tuple<std::string, int, std::string>>();
  m_cause.emplace(std::move(error));
  throw orv::data::error(
      className, name, orv::_("Calculation of object '%s' failed (%s, line %d): %s", path, file, line, text));
}

orv::KSLObject& Calculated::object() const
{
  if (!m_object)
    throw orv::internal::error(className, "calculation", orv::_("The calculation of this object is over."));
  return *m_object;
}

std::string Calculated::path() const
{
  return object().getPath();
}

std::string Calculated::type() const
{
  return object().getType();
}

std::vector<std::string> Calculated::names() const
{
  return object().getParamNames(orv::allParams);
}

bool Calculated::has(const std::string& name) const
{
  return object().hasParam(name);
}

std::string Calculated::get(const std::string& name) const
{
  return object().getValue(name);
}

std::pair<double, std::string> Calculated::quantity(const std::string& name) const
{
  const orv::Quantity quantity = object().getQuantityValue(name);
  return {quantity.getValue(), quantity.getUnits()};
}

void Calculated::set(const std::string& name, const std::string& value)
{
  object().setValue(name, value);
}

}  // namespace ksl
