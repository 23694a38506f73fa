// Several models in one process.
#pragma once

#include "platform/ORVExport.h"

#include <memory>

namespace orv {

struct ContextValues;

// One model with all that belongs to it: whatever `X::instance()` gives (commands, database, types, reporter, unit
// system, ...), and everything that is set or asked with a static function (sinks, watchers, traces, validation, ...).
// The process has one from the start; who wants more makes contexts. Each thread works in one of them at a time:
//
//   orv::Context model;
//   {
//     const orv::Context::Scope scope(model);
//     orv::registerObjectClasses();
//     orv::KSLInterface::instance()->initialize(library, "");
//     ...
//   }
//
// Contexts share nothing that changes, so each may have a thread to itself. One context is for one thread at a time,
// and may go from thread to thread between scopes. What comes out of a context as a number or a std::string may go
// anywhere; objects, parameters, change lists and shared texts are used, and destroyed, in their own.
class ORV_API Context {
 public:
  // Empty: its parts are made when they are first asked for.
  Context();
  // Ends its parts in the order in which a program would (commands, database, types, ..., the reporter last), on any
  // thread; it is current meanwhile. REQUIRES: isInUse() is false. Else, that is inside a Scope or a command of it,
  // nothing could go on, and the process is aborted after the assertion is reported.
  ~Context();
  Context(const Context&) = delete;
  Context& operator=(const Context&) = delete;

  // The calling thread's; null: that of the process.
  static Context* current() noexcept;
  // Whether a scope of it lives, on whichever thread.
  bool isInUse() const noexcept;

  // Makes a context current for this thread, for as long as it lives. Scopes nest, also of one context in itself or in
  // another, and end in the reverse order, on the thread that made them.
  class ORV_API Scope {
   public:
    // internal::error, "The context is in use on another thread.", when it is.
    explicit Scope(Context& context);
    // Null: that of the process, of which nobody checks on which threads it is in use.
    explicit Scope(Context* context);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;

   private:
    Context* m_context;
    Context* m_outer;
  };

 private:
  void enter();
  void leave() noexcept;
  void endStage(int stage) noexcept;

  std::unique_ptr<ContextValues> m_values;
};

}  // namespace orv
