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

void bindOutcome(py::module_& module)
{
  py::class_<orv::ErrorMsg>(module, "Report")
      .def_property_readonly("message", &orv::ErrorMsg::getMessage)
      .def_property_readonly("class_name", &orv::ErrorMsg::getClassName)
      .def_property_readonly("function", &orv::ErrorMsg::getFunction)
      .def_property_readonly("type", &orv::ErrorMsg::getType)
      .def_property_readonly("notes", &orv::ErrorMsg::getNotes)
      .def("__str__", [](const orv::ErrorMsg& error) { return toText(error); })
      .def("__repr__", [](const orv::ErrorMsg& error) { return "<" + toText(error) + ">"; });
  py::class_<orv::Change>(module, "Change")
      .def_property_readonly("kind",
                             [](const orv::Change& change) {
                               static const char* const kinds[] = {"created", "value", "removed", "deleted"};
                               return kinds[static_cast<int>(change.kind)];
                             })
      .def_readonly("path", &orv::Change::path)
      .def_readonly("parameter", &orv::Change::parameter)
      .def_readonly("value", &orv::Change::value)
      .def_readonly("internal", &orv::Change::internal)
      .def("__str__", [](const orv::Change& change) { return toText(change); })
      .def("__repr__", [](const orv::Change& change) { return "<" + toText(change) + ">"; });
  py::class_<orv::Outcome>(module, "Outcome")
      .def("__bool__", [](const orv::Outcome& outcome) { return bool(outcome); })
      .def_property_readonly("errors", [](const orv::Outcome& outcome) { return outcome.errors(); })
      .def_property_readonly("warnings", [](const orv::Outcome& outcome) { return outcome.warnings(); })
      .def_property_readonly("rolled_back", &orv::Outcome::rolledBack)
      .def_property_readonly("changes", [](const orv::Outcome& outcome) { return outcome.changes(); })
      .def_property_readonly("files", [](const orv::Outcome& outcome) { return outcome.files(); })
      .def("__repr__", [](const orv::Outcome& outcome) {
        if (!outcome)
          return "<Outcome failed: " + toText(outcome.errors().front()) + ">";
        return orv::_("<Outcome done: %d changes>", outcome.changes().size());
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
