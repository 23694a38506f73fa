// The library, driven as a host drives it.
#pragma once

#include "platform/ORVError.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "rules/AdditionalRules.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"
#include "command/KSLCoreAPI.h"
#include "command/KSLInterface.h"
#include "bench/Model.h"
#include "session/Registration.h"

#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

class LibraryPeer {
 public:
  explicit LibraryPeer(int params = paramCount) : LibraryPeer(modelRules(params)) {}
  explicit LibraryPeer(const std::vector<std::string>& rulesText)
  {
    orv::ErrorProgressReporter::instance()->setSink(&m_errors);
    orv::registerObjectClasses();
    orv::KSLInterface* owner = orv::KSLInterface::instance();
    owner->getKSLAPI()->loadKSLData(rulesText);
    orv::AdditionalRules rules;
    rules.applyObjectRules = true;
    owner->processRules(rules);
    orv::registerActions(m_factory, m_executive);
    m_executive.setActionFactory(&m_factory);
    owner->setExecutive(&m_executive);
  }
  ~LibraryPeer()
  {
    orv::KSLInterface::destroyInstance();
    orv::KSLCoreAPI::destroyInstance();
    orv::ObjectDB::destroyInstance();
    orv::ObjectFactory::destroyInstance();
    orv::ErrorProgressReporter::destroyInstance();
  }
  LibraryPeer(const LibraryPeer&) = delete;
  LibraryPeer& operator=(const LibraryPeer&) = delete;

  void run(const std::string& text, orv::kslUpdateMode mode = orv::kslUpdateDefault)
  {
    orv::KSLCoreAPI::instance()->processKSL(text, mode);
    if (!m_errors.errors().empty())
      throw std::runtime_error(orv::toText(m_errors.errors().front()));
  }
  void load(const std::string& text) { run(text); }
  void edit(const std::string& text) { run(text); }
  // All blocks are read before anything is done, so that what comes first may name what comes last.
  void define(const std::string& text) { run(text, orv::kslUpdateAtEnd); }
  void undo() { run("> undo"); }
  void redo() { run("> redo"); }
  // To a name, in the same place.
  void copy(const std::string& from, const std::string& to) { run("> copy from=" + from + ", to=" + to); }
  void rename(const std::string& from, const std::string& to) { run("> rename from=" + from + ", to=" + to); }
  void erase(const std::string& path) { run("> delete " + path); }
  std::string get(const std::string& path, const std::string& name) const
  {
    return orv::ObjectDB::instance()->getObjectByPath(path)->getValue(name);
  }
  std::size_t size() const { return orv::ObjectDB::instance()->size(); }

 private:
  orv::ErrorCollector m_errors;
  orv::ActionFactory m_factory;
  orv::Executive m_executive;
};

}  // namespace bench
