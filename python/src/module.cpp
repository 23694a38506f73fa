// The compiled part of the package ksl: what python/ksl is written on.
#include "platform/ORVExpressions.h"
#include "platform/ORVUnits.h"
#include "platform/ORVUtilities.h"
#include "Core.h"
#include "session/Sweep.h"

#include <pybind11/stl.h>
#include <tuple>

namespace py = pybind11;

namespace {

// Raises ksl.Error.
void raise(const orv::ErrorMsg& error)
{
  const py::object made = py::module_::import("ksl._errors").attr("from_report")(py::cast(error));
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(made.ptr())), made.ptr());
}

// The numbers of a list, without their units; none when it holds anything else.
std::optional<std::vector<double>> numbersIn(const std::string& text)
{
  std::vector<double> numbers;
  for (const std::string& item : orv::StringUtilities::splitValue(text)) {
    const std::size_t begin = item.find_first_not_of("+-.");
    if (begin == std::string::npos || item[begin] < '0' || item[begin] > '9')
      return {};
    try {
      numbers.push_back(orv::ExpressionEvaluator::evalSingleValue(item, {}).getValue());
    } catch (const orv::Error&) {
      return {};
    }
  }
  return numbers;
}

// By target, whether the one text that follows is still to be read, and the values.
using Settings = std::vector<std::tuple<std::string, bool, std::vector<std::string>>>;

// The table as JSON.
std::string sweepTable(const std::string& library, const std::string& modelFile, const std::string& text,
                       const Settings& settings, const std::vector<std::string>& shown,
                       const std::string& pictures, std::size_t jobs)
{
  orv::SweepOptions options;
  options.library = library;
  options.modelFile = modelFile;
  options.model = text;
  options.shown = shown;
  options.pictures = pictures;
  options.jobs = jobs;
  for (const auto& [target, isText, values] : settings) {
    orv::SweepSetting setting = orv::SweepSetting::parse(target + "=" + (isText ? values.at(0) : "0"));
    if (!isText)
      setting.values = values;
    options.settings.push_back(std::move(setting));
  }
  options.stop = [] {
    const py::gil_scoped_acquire lock;
    return PyErr_CheckSignals() != 0;
  };
  try {
    const py::gil_scoped_release unlocked;
    return toJson(orv::sweep(options));
  } catch (const orv::Interrupt&) {
    throw py::error_already_set();
  }
}

py::object given(const std::string& text)
{
  return text.empty() ? py::object(py::none()) : py::cast(text);
}

py::object given(std::size_t number)
{
  return number == 0 ? py::object(py::none()) : py::object(py::int_(number));
}

// Reads one of the things that an error may know; None when it does not.
template <class T>
auto known(T orv::Diagnostic::*member)
{
  return [member](const orv::ErrorMsg& error) -> py::object {
    const orv::Diagnostic* diagnostic = error.getDiagnostic().get();
    return diagnostic ? given(diagnostic->*member) : py::object(py::none());
  };
}

void bindOutcome(py::module_& module)
{
  py::class_<orv::ErrorMsg>(module, "Report", "What was reported, as data. What is not known is None.")
      .def_property_readonly("message", &orv::ErrorMsg::getMessage, "What is wrong.")
      .def_property_readonly("class_name", &orv::ErrorMsg::getClassName, "Who reported it.")
      .def_property_readonly("function", &orv::ErrorMsg::getFunction, "In the course of what.")
      .def_property_readonly("type", &orv::ErrorMsg::getType,
                             "4 an error, 8 a warning, 1 a failure of the machine, 32 a fault of a program.")
      .def_property_readonly("notes", &orv::ErrorMsg::getNotes, "What else is worth knowing.")
      .def_property_readonly("file", known(&orv::Diagnostic::source), "Of the text.")
      .def_property_readonly("line", known(&orv::Diagnostic::line), "From 1.")
      .def_property_readonly("column", known(&orv::Diagnostic::column), "From 1, in bytes.")
      .def_property_readonly("object", known(&orv::Diagnostic::object), "Its path.")
      .def_property_readonly("parameter", known(&orv::Diagnostic::parameter), "Of that object.")
      .def_property_readonly(
          "hint", [](const orv::ErrorMsg& error) { return given(hintOf(error)); }, "What would be right.")
      .def("__str__", [](const orv::ErrorMsg& error) { return toText(error); })
      .def("__repr__", [](const orv::ErrorMsg& error) { return "<" + toText(error) + ">"; });
  py::class_<orv::Change>(module, "Change", "One change of an object.")
      .def_property_readonly(
          "kind",
          [](const orv::Change& change) {
            static const char* const kinds[] = {"created", "value", "removed", "deleted"};
            return kinds[static_cast<int>(change.kind)];
          },
          "created, value, removed or deleted.")
      .def_readonly("path", &orv::Change::path, "Of the object.")
      .def_readonly("parameter", &orv::Change::parameter, "Of values and removals.")
      .def_readonly("value", &orv::Change::value, "As stored.")
      .def_readonly("internal", &orv::Change::internal, "Whether it is a parameter of the program's.")
      .def("__str__", [](const orv::Change& change) { return toText(change); })
      .def("__repr__", [](const orv::Change& change) { return "<" + toText(change) + ">"; });
  py::class_<orv::Outcome>(module, "Outcome", "What came of a command; true when no error was reported.")
      .def("__bool__", [](const orv::Outcome& outcome) { return bool(outcome); })
      .def_property_readonly(
          "errors", [](const orv::Outcome& outcome) { return outcome.errors(); }, "Why it was taken back.")
      .def_property_readonly(
          "warnings", [](const orv::Outcome& outcome) { return outcome.warnings(); },
          "What does not stop it.")
      .def_property_readonly("rolled_back", &orv::Outcome::rolledBack, "How many changes were taken back.")
      .def_property_readonly(
          "changes", [](const orv::Outcome& outcome) { return outcome.changes(); },
          "In the order in which they were made.")
      .def_property_readonly(
          "files", [](const orv::Outcome& outcome) { return outcome.files(); }, "What calculations wrote.")
      .def_property_readonly(
          "title", [](const orv::Outcome& outcome) { return outcome.title(); },
          "What Session.command was given.")
      .def("__repr__", [](const orv::Outcome& outcome) {
        if (!outcome)
          return "<Outcome failed: " + toText(outcome.errors().front()) + ">";
        return orv::_("<Outcome done: %d changes>", outcome.changes().size());
      });
}

// Of all steps, errors or warnings.
std::vector<orv::ErrorMsg> reportsOf(const orv::Plan& plan, bool warnings)
{
  std::vector<orv::ErrorMsg> reports;
  for (const orv::Plan::Step& step : plan.steps)
    for (const orv::ErrorMsg& report : step.reports)
      if ((report.getType() == orv::errorType::warning) == warnings)
        reports.push_back(report);
  return reports;
}

using Values = std::map<std::string, std::pair<std::string, std::string>>;

// Before and after.
Values valuesOf(const orv::Plan::Object& object)
{
  Values values;
  for (const orv::Plan::Param& param : object.params)
    if (!param.internal)
      values.emplace(param.name, std::pair(param.before, param.after));
  return values;
}

void bindPlan(py::module_& module)
{
  using orv::Plan;
  py::class_<Plan::Object>(module, "PlannedChange", "What would become of one object.")
      .def_property_readonly(
          "kind",
          [](const Plan::Object& object) {
            static const char* const kinds[] = {"added", "changed", "deleted"};
            return kinds[object.kind];
          },
          "added, changed or deleted.")
      .def_readonly("path", &Plan::Object::path, "Of the object.")
      .def_property_readonly("values", &valuesOf, "By parameter: before and after.")
      .def("__repr__",
           [](py::handle self) { return py::str("<{} {}>").format(self.attr("kind"), self.attr("path")); });
  py::class_<orv::CalculationLog::Entry>(module, "PlannedCalculation", "What would be computed.")
      .def_readonly("path", &orv::CalculationLog::Entry::path, "Of the object.")
      .def_readonly("computes", &orv::CalculationLog::Entry::scheduler, "The scheduler.")
      .def_property_readonly(
          "reasons",
          [](const orv::CalculationLog::Entry& entry) {
            std::vector<std::string> texts;
            for (const orv::CalculationReason& reason : entry.reasons)
              texts.push_back(reason.text());
            return texts;
          },
          "What it is due to.")
      .def("__repr__", [](const orv::CalculationLog::Entry& entry) {
        return "<" + entry.path + " (" + entry.scheduler + ")>";
      });
  py::class_<Plan>(module, "Plan", "What a text would do; true when it would not fail.")
      .def("__bool__", [](const Plan& plan) { return reportsOf(plan, false).empty(); })
      .def_property_readonly(
          "errors", [](const Plan& plan) { return reportsOf(plan, false); }, "Why it would fail.")
      .def_property_readonly(
          "warnings", [](const Plan& plan) { return reportsOf(plan, true); }, "What would not stop it.")
      .def_readonly("objects", &Plan::objects, "The difference between before and after, in path order.")
      .def_readonly("calculations", &Plan::calculations, "What would be computed.")
      .def_readonly("written_files", &Plan::writtenFiles, "Those that actions would write.")
      .def_property_readonly(
          "named_files",
          [](const Plan& plan) {
            std::vector<std::string> files;
            for (const Plan::NamedFile& named : plan.namedFiles)
              files.push_back(named.file);
            return files;
          },
          "Of objects that would be computed again: these may be read or written.")
      .def_readonly("not_foreseen", &Plan::passedOver, "Action lines whose effect is not known.")
      .def("__repr__", [](const Plan& plan) {
        const std::vector<orv::ErrorMsg> errors = reportsOf(plan, false);
        return errors.empty() ? orv::_("<Plan: %d objects change, %d calculations>", plan.objects.size(),
                                       plan.calculations.size())
                              : "<Plan would fail: " + toText(errors.front()) + ">";
      });
}

// Null while the object is being made.
ksl::Core* coreIn(PyObject* self)
{
  const py::detail::value_and_holder holder =
      reinterpret_cast<py::detail::instance*>(self)->get_value_and_holder();
  return holder.holder_constructed() ? holder.value_ptr<ksl::Core>() : nullptr;
}

int traverse(PyObject* self, visitproc visit, void* arg)
{
  Py_VISIT(Py_TYPE(self));
  const ksl::Core* core = coreIn(self);
  return core ? core->visitFunctions(visit, arg) : 0;
}

int clear(PyObject* self)
{
  if (ksl::Core* core = coreIn(self))
    core->dropFunctions();
  return 0;
}

void collect(PyHeapTypeObject* heapType)
{
  heapType->ht_type.tp_flags |= Py_TPFLAGS_HAVE_GC;
  heapType->ht_type.tp_traverse = traverse;
  heapType->ht_type.tp_clear = clear;
}

void bindCore(py::module_& module)
{
  using ksl::Core;
  py::class_<Core>(module, "Core", py::custom_type_setup(collect))
      .def(py::init<std::string, std::string, bool, bool>())
      .def("close", &Core::close)
      .def("is_open", &Core::isOpen)
      .def("run", &Core::run)
      .def("run_file", &Core::runFile)
      .def("set", &Core::set)
      .def("undo", &Core::undo)
      .def("redo", &Core::redo)
      .def("save", &Core::save)
      .def("load", &Core::load)
      .def("begin", &Core::begin)
      .def("end", &Core::end)
      .def("take_cause", &Core::takeCause)
      .def("plan", &Core::plan)
      .def("state", &Core::state)
      .def("has", &Core::has)
      .def("path", &Core::path)
      .def("type", &Core::type)
      .def("value", &Core::value)
      .def("quantity", &Core::quantity)
      .def("values", &Core::values)
      .def("children", &Core::children)
      .def("objects", &Core::objects)
      .def("results", &Core::results)
      .def("column", &Core::column)
      .def("column_of", &Core::columnOf)
      .def("observe", &Core::observe)
      .def("unobserve", &Core::unobserve)
      .def("provide", &Core::provide);
  using ksl::Calculated;
  py::class_<Calculated, std::shared_ptr<Calculated>>(module, "Calculated")
      .def("path", &Calculated::path)
      .def("type", &Calculated::type)
      .def("names", &Calculated::names)
      .def("has", &Calculated::has)
      .def("get", &Calculated::get)
      .def("quantity", &Calculated::quantity)
      .def("set", &Calculated::set);
}

}  // namespace

PYBIND11_MODULE(_ksl, module)
{
  module.attr("version") = KSL_VERSION;
  py::register_exception_translator([](std::exception_ptr thrown) {
    try {
      if (thrown)
        std::rethrow_exception(thrown);
    } catch (const orv::Error& error) {
      raise(orv::ErrorMsg(error));
    }
  });
  bindOutcome(module);
  bindPlan(module);
  bindCore(module);
  module.def("installed_library", &orv::Session::installedLibrary);
  module.def("split", [](const std::string& text) { return orv::StringUtilities::splitValue(text); });
  module.def("numbers", &numbersIn);
  module.def("number_text", [](double number) { return orv::StringUtilities::toString(number); });
  module.def("sweep", &sweepTable);
  module.def("convert", [](double value, const std::string& from, const std::string& to) {
    return orv::Quantity(value, from).convertTo(to);
  });
}
