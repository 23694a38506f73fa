#include "session/KSLCore.h"

#include "platform/ORVError.h"
#include "command/caughtError.h"
#include "session/Session.h"

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

static_assert(std::string_view(KSL_VERSION) == ORV_VERSION, "the header's version is that of the project");

using orv::ErrorMsg;

namespace {

// Paths as C has them.
struct PathList {
  std::vector<std::string> texts;
  std::vector<const char*> pointers;

  const char* const* set(std::vector<std::string> paths)
  {
    std::vector<const char*> starts;
    starts.reserve(paths.size() + 1);
    texts = std::move(paths);
    for (const std::string& text : texts)
      starts.push_back(text.c_str());
    starts.push_back(nullptr);
    pointers = std::move(starts);
    return pointers.data();
  }
};

}  // namespace

struct ksl_session {
  std::optional<orv::Session> session;
  std::vector<ErrorMsg> reports;
  std::vector<std::string> texts;  // of the reports, as people see them
  std::vector<std::string> hints;
  std::vector<ksl_error> errors;
  orv::Outcome outcome;  // of the last command
  std::vector<ksl_change> changes;
  std::string state;
  std::string value;
  PathList children;
  PathList objects;
  int observer = 0;

  void setErrors(std::vector<ErrorMsg> list);
  void setOutcome(const orv::Outcome& of);
  // Of what is being handled.
  void noteCaught(const char* function) noexcept;
  orv::Session& get()
  {
    if (!session)
      throw orv::internal::error("KSLCore", "ksl_run", orv::_("The session has not begun."));
    return *session;
  }
};

void ksl_session::setErrors(std::vector<ErrorMsg> list)
{
  errors.clear();
  reports = std::move(list);
  texts.clear();
  hints.clear();
  for (const ErrorMsg& report : reports) {
    texts.push_back(toText(report));
    hints.push_back(hintOf(report));
  }
  for (std::size_t i = 0; i < reports.size(); ++i) {
    const ErrorMsg& report = reports[i];
    const orv::Diagnostic* known = report.getDiagnostic().get();
    const auto text = [known](std::string orv::Diagnostic::*member) {
      return known ? (known->*member).c_str() : "";
    };
    errors.push_back({report.getType(), report.getClassName().c_str(), report.getFunction().c_str(),
                      report.getMessage().c_str(), texts[i].c_str(), text(&orv::Diagnostic::source),
                      known ? known->line : 0, known ? known->column : 0, text(&orv::Diagnostic::object),
                      text(&orv::Diagnostic::parameter), hints[i].c_str()});
  }
}

void ksl_session::setOutcome(const orv::Outcome& of)
{
  std::vector<ErrorMsg> list = of.errors();
  list.insert(list.end(), of.warnings().begin(), of.warnings().end());
  setErrors(std::move(list));
  changes.clear();
  outcome = of;
  for (const orv::Change& change : outcome.changes())
    changes.push_back({static_cast<int>(change.kind), change.path.c_str(), change.parameter.c_str(),
                       change.value.c_str(), change.internal});
}

void ksl_session::noteCaught(const char* function) noexcept
{
  try {
    setErrors({orv::caughtError(function)});
  } catch (...) {  // no memory to say so
    errors.clear();
  }
}

namespace {

// Nothing but the runtime's own unwinding passes into C.
template <class Work>
auto guarded(ksl_session* session, const char* function, Work work) -> decltype(work(*session))
{
  if (!session)
    return {};
  try {
    return work(*session);
  } catch (...) {
    session->noteCaught(function);
    orv::passUnwinding();
  }
  return {};
}

std::string given(const char* function, const char* argument, const char* name)
{
  if (!argument)
    throw orv::internal::nullPointer("KSLCore", function,
                                     orv::_("Input parameter %s is a null pointer.", name));
  return argument;
}

template <class Command>
int command(ksl_session* session, const char* function, Command perform)
{
  return guarded(session, function, [&](ksl_session& handle) {
    const orv::Outcome outcome = perform(handle.get());
    handle.setOutcome(outcome);
    return outcome ? 1 : 0;
  });
}

}  // namespace

const char* ksl_version(void)
{
  return ORV_VERSION;
}

int ksl_open(const char* library, ksl_session** session)
{
  if (!session)
    return 0;
  *session = nullptr;
  try {
    *session = new ksl_session;
  } catch (...) {
    orv::passUnwinding();
    return 0;
  }
  return guarded(*session, "ksl_open", [&](ksl_session& handle) {
    orv::SessionOptions options;
    options.library = library ? library : "";
    handle.session.emplace(std::move(options));
    return 1;
  });
}

void ksl_close(ksl_session* session)
{
  delete session;
}

int ksl_run(ksl_session* session, const char* text)
{
  return command(session, "ksl_run",
                 [&](orv::Session& model) { return model.run(given("ksl_run", text, "text")); });
}

int ksl_set(ksl_session* session, const char* object, const char* parameter, const char* value)
{
  return command(session, "ksl_set", [&](orv::Session& model) {
    return model.set(given("ksl_set", object, "object"), given("ksl_set", parameter, "parameter"),
                     given("ksl_set", value, "value"));
  });
}

int ksl_undo(ksl_session* session)
{
  return command(session, "ksl_undo", [](orv::Session& model) { return model.undo(); });
}

int ksl_redo(ksl_session* session)
{
  return command(session, "ksl_redo", [](orv::Session& model) { return model.redo(); });
}

const ksl_error* ksl_errors(const ksl_session* session, size_t index)
{
  return session && index < session->errors.size() ? &session->errors[index] : nullptr;
}

const ksl_change* ksl_changes(const ksl_session* session, size_t index)
{
  return session && index < session->changes.size() ? &session->changes[index] : nullptr;
}

int ksl_observe(ksl_session* session, ksl_observer observer, void* data)
{
  return guarded(session, "ksl_observe", [&](ksl_session& handle) {
    orv::Session& model = handle.get();
    model.unobserve(std::exchange(handle.observer, 0));
    if (observer)
      handle.observer = model.observe([&handle, observer, data](const orv::Outcome& outcome) {
        handle.setOutcome(outcome);
        observer(&handle, outcome ? 1 : 0, data);
      });
    return 1;
  });
}

const char* ksl_state(ksl_session* session, const char* object)
{
  return guarded(session, "ksl_state", [&](ksl_session& handle) {
    handle.state = handle.get().state(std::string(object ? object : "/"));
    return handle.state.c_str();
  });
}

const char* ksl_get(ksl_session* session, const char* object, const char* parameter)
{
  return guarded(session, "ksl_get", [&](ksl_session& handle) {
    handle.value =
        handle.get().value(given("ksl_get", object, "object"), given("ksl_get", parameter, "parameter"));
    return handle.value.c_str();
  });
}

int ksl_quantity(ksl_session* session, const char* object, const char* parameter, const char* units,
                 double* value)
{
  return guarded(session, "ksl_quantity", [&](ksl_session& handle) {
    if (!value)
      given("ksl_quantity", nullptr, "value");
    *value = handle.get().quantity(given("ksl_quantity", object, "object"),
                                   given("ksl_quantity", parameter, "parameter"), units ? units : "");
    return 1;
  });
}

const char* const* ksl_children(ksl_session* session, const char* object)
{
  return guarded(session, "ksl_children", [&](ksl_session& handle) {
    return handle.children.set(handle.get().children(given("ksl_children", object, "object")));
  });
}

const char* const* ksl_objects(ksl_session* session, const char* type_or_category)
{
  return guarded(session, "ksl_objects", [&](ksl_session& handle) {
    return handle.objects.set(
        handle.get().objects(given("ksl_objects", type_or_category, "type_or_category")));
  });
}
