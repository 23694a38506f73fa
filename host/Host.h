// The session of this program.
#pragma once

#include "FileWatcher.h"
#include "StateWatch.h"
#include "session/Session.h"

#include <string>
#include <vector>

class SaveExecutor;

// One exists at a time. While it lives, texts can be entered through KSLCoreAPI.
class Host {
 public:
  // Reads definition libraries (files or directories, whose names hold no comma) and makes types of their
  // RULES. Without any given: those of the environment variable ORV_KSL_LIBRARY_PATH when it is set, else the
  // demo library. Throws what orv::Session does; everything is down again then.
  explicit Host(const std::vector<std::string>& libraries);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host();

  // The files and folders that are read without any given.
  static std::vector<std::string> usualLibraries();

  // The one that lives; null when none does.
  static Host* current() { return s_current; }

  const orv::ActionFactory& actions() const { return m_session.actions(); }
  // State files that were read or written.
  FileWatcher& files() { return m_files; }
  // Objects have changed since everything was last saved to a state file.
  bool hasUnsavedWork() const { return m_stateWatch.hasUnsavedWork(); }
  // A file holds all there is: a state that was loaded into nothing.
  void setSaved() { m_stateWatch.setSaved(); }
  // Whether "> savestate" is told of and not done.
  void passOverSaves(bool on);

 private:
  orv::SessionOptions options(const std::vector<std::string>& libraries);

  static Host* s_current;

  const bool m_verbose;
  FileWatcher m_files;
  StateWatch m_stateWatch;
  SaveExecutor* m_saving = nullptr;  // the session's
  orv::Session m_session;
  orv::Session::Scope m_scope{m_session};
};
