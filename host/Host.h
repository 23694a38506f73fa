// The library, brought up and taken down.
#pragma once

#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "actions/KSLCopyImpl.h"
#include "CopiedOutputFiles.h"
#include "FileWatcher.h"
#include "ProtectedObjects.h"
#include "SaveExecutor.h"
#include "StateWatch.h"

#include <string>
#include <vector>

// One exists at a time. While it lives, texts can be entered through KSLCoreAPI.
class Host {
 public:
  // Reads definition libraries (files or directories, whose names hold no comma) and makes types of their
  // RULES. Without any given: those of the environment variable ORV_KSL_LIBRARY_PATH when it is set, else the
  // demo library. Throws what KSLInterface::initialize and processRules do; everything is down again then.
  Host(const std::vector<std::string>& libraries, bool validate);
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;
  ~Host() { s_current = nullptr; }

  // The one that lives; null when none does.
  static Host* current() { return s_current; }

  const orv::ActionFactory& actions() const { return m_actions; }
  // State files that were read or written.
  FileWatcher& files() { return m_files; }
  // Objects have changed since everything was last saved to a state file.
  bool hasUnsavedWork() const { return m_stateWatch.hasUnsavedWork(); }
  // A file holds all there is: a state that was loaded into nothing.
  void setSaved() { m_stateWatch.setSaved(); }
  // Whether "> savestate" is told of and not done.
  void passOverSaves(bool on) { m_saving->passOver(on); }

 private:
  // Members end in reverse order: first the command processor, which uses executors, then these, then what
  // they ask, then what they work on.
  struct Data {
    ~Data();
  };
  struct Commands {
    ~Commands();
  };

  void initialize(const std::vector<std::string>& libraries);
  void registerActions();

  static Host* s_current;

  Data m_data;
  ProtectedObjects m_protection;
  CopiedOutputFiles m_outputFiles;
  orv::KSLCopyImpl m_copying{&m_outputFiles};
  FileWatcher m_files;
  orv::Executive m_executive;
  orv::ActionFactory m_actions;
  SaveExecutor* m_saving = nullptr;  // the factory's
  Commands m_commands;
  StateWatch m_stateWatch;
};
