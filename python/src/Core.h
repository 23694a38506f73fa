// A session as Python has it.
#pragma once

#include "platform/ORVException.h"
#include "session/Planner.h"
#include "session/Session.h"

#include <cstddef>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

// Before what uses it.
#include "textCaster.h"

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

namespace ksl {

namespace py = pybind11;

// An object that a Python calculation works on: good until the calculation returns.
class Calculated {
 public:
  explicit Calculated(orv::KSLObject* object) : m_object(object) {}
  void end() { m_object = nullptr; }

  std::string path() const;
  std::string type() const;
  std::vector<std::string> names() const;
  bool has(const std::string& name) const;
  std::string get(const std::string& name) const;
  std::pair<double, std::string> quantity(const std::string& name) const;
  void set(const std::string& name, const std::string& value);

 private:
  orv::KSLObject& object() const;
  orv::KSLObject* m_object;
};

// One session. All is called with the interpreter's lock held, by one thread at a time; the lock is given up while
// commands run and long questions are answered. What Python code throws in calculations and observers, and Ctrl-C, fails
// the command; the exception is kept to be raised, or to be the cause of what is.
class Core {
 public:
  Core(std::string library, std::string rules, bool validate, bool changes);
  ~Core();
  Core(const Core&) = delete;
  Core& operator=(const Core&) = delete;

  // Not from within a command. Nothing but isOpen may be asked afterwards.
  void close();
  bool isOpen() const { return m_session != nullptr; }

  // ---- Commands

  orv::Outcome run(const std::string& text, const std::string& source, std::size_t firstLine);
  orv::Outcome runFile(const std::string& fileName);
  orv::Outcome set(const std::string& object, const std::map<std::string, std::string>& values);
  orv::Outcome undo();
  orv::Outcome redo();
  orv::Outcome save(const std::string& fileName);
  orv::Outcome load(const std::string& fileName);
  void begin(const std::string& title);
  orv::Outcome end(bool keep);
  // The exception of the Python code that made the last command fail, else None; gone afterwards.
  py::object takeCause();

  // ---- Questions

  // Nothing of the interpreter is used in the copy of the process that makes it.
  orv::Plan plan(const std::string& text, const std::string& source, std::size_t firstLine);
  std::string state(const std::vector<std::string>& objects) const;
  bool has(const std::string& object) const;
  std::string path(const std::string& object) const;
  std::string type(const std::string& object) const;
  std::string value(const std::string& object, const std::string& parameter) const;
  std::pair<double, std::string> quantity(const std::string& object, const std::string& parameter) const;
  std::map<std::string, std::string> values(const std::string& object, bool internal) const;
  std::vector<std::string> children(const std::string& object) const;
  std::vector<std::string> objects(const std::string& typeOrCategory) const;
  // What was computed: parameters of the category "Result", and those of the program.
  std::map<std::string, std::string> results(const std::string& object) const;
  // One parameter of each of the objects, in these units; not a number for an object that lacks it.
  py::array_t<double> column(const std::vector<std::string>& objects, const std::string& parameter,
                             const std::string& units) const;
  // The same of all objects of a type or category.
  py::array_t<double> columnOf(const std::string& typeOrCategory, const std::string& parameter,
                               const std::string& units) const;

  // ---- Those who take part

  int observe(py::function observer);
  void unobserve(int number);
  void provide(const std::string& name, py::function calculation);

  // For the collector of garbage: functions may hold the session that holds them.
  int visitFunctions(visitproc visit, void* argument) const;
  void dropFunctions();

 private:
  class Watch;
  class Function;

  orv::Session& session() const;
  template <class Work>
  orv::Outcome command(Work work);
  void calculate(const std::string& name, orv::KSLObject* object);
  [[noreturn]] void failCalculation(const std::string& name, const std::string& path,
                                    py::error_already_set& error);
  void raiseStopped();

  std::map<std::string, py::function> m_calculations;
  std::map<int, py::function> m_observers;
  std::optional<py::error_already_set> m_cause;  // why a calculation failed
  std::optional<py::error_already_set> m_stop;   // Ctrl-C
  std::exception_ptr m_outward;                  // carries a failure through a calculation
  std::size_t m_inside = 0;                      // commands under way, one within the other
  std::unique_ptr<orv::Session> m_session;
  std::unique_ptr<orv::Session::Command> m_command;
};

}  // namespace ksl
