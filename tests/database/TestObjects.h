// Objects, observers and a fresh database for the tests of this layer.
#pragma once

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "database/DBChangeNotify.h"
#include "database/DataKSLObject.h"
#include "database/ObjectDB.h"
#include "database/ObjectFactory.h"
#include "database/PrototypeEditor.h"

#include <gtest/gtest.h>
#include <initializer_list>
#include <memory>
#include <string>

namespace orv::test {

// The error that a call throws, as data; an empty record when it throws none.
template <class Call>
ErrorMsg errorOf(Call call)
{
  try {
    call();
  } catch (const Error& error) {
    return ErrorMsg(error);
  }
  return {};
}

// Name, type, default.
struct ParamSpec {
  const char* name;
  const char* type = "String";
  const char* value = "";
};

inline std::unique_ptr<ParamDefinition> makeParam(const ParamSpec& spec)
{
  return std::make_unique<ParamDefinition>(spec.name, "", "", spec.type, spec.value, "");
}

// An object of the plain class, not yet in the database.
inline std::unique_ptr<DataKSLObject> makeObject(const std::string& parentPath, const std::string& type,
                                                 const std::string& name,
                                                 std::initializer_list<ParamSpec> params = {})
{
  auto object = std::make_unique<DataKSLObject>();
  PrototypeEditor editor(*object);
  editor.setType(type, type == name);
  for (const ParamSpec& spec : params)
    editor.addParameter(makeParam(spec));
  object->initialize(parentPath, name);
  return object;
}

// Each parameter with its value and flags, one line each. What is shared stays shared.
inline std::string textOf(const KSLObject& object)
{
  std::string out;
  object.forEachParam([&out](const ParamDefinition& param) {
    out += param.getName() + "=" + param.getValue() + (param.hasBeenSet() ? " set" : "")
           + (param.isChanged() ? " changed" : "") + (param.isInternal() ? " internal\n" : "\n");
  });
  return out;
}

// Writes down what it is told, one line each. Throws at the call of number `failAt`.
class Listener : public DBChangeNotify {
 public:
  void objectAdded(const KSLObject* object) override { note("added " + object->getPath()); }
  void objectDeleteBegin(const KSLObject* object) override
  {
    note("begin " + object->getPath() + (object->isPendingDelete() ? " pending" : ""));
  }
  void objectDeleteEnd(const std::string& path, const KSLObject* object) override
  {
    note("end " + path + (object ? " kept" : "") + (object && object->isPendingDelete() ? " pending" : ""));
  }
  void paramChanged(const KSLObject*, const ParamDefinition* param) override
  {
    note("changed " + param->getName() + " = " + param->getValue() + (param->hasBeenSet() ? " (set)" : ""));
  }
  void paramDeleted(const KSLObject*, const std::string& name) override { note("deleted " + name); }

  std::string take() { return std::exchange(m_text, {}); }
  int failAt = -1;

 private:
  void note(const std::string& line)
  {
    if (failAt >= 0 && failAt-- == 0)
      throw data::error("Listener", "note", line);
    m_text += line + "\n";
  }
  std::string m_text;
};

// Every test starts and ends without database, factory and reported errors.
class DatabaseTest : public ::testing::Test {
 protected:
  DatabaseTest() { ErrorProgressReporter::instance()->setSink(&reported); }
  ~DatabaseTest() override
  {
    ObjectDB::destroyInstance();
    ObjectFactory::destroyInstance();
    ErrorProgressReporter::destroyInstance();
  }
  static ObjectDB& db() { return *ObjectDB::instance(); }
  static KSLObject* add(const std::string& parentPath, const std::string& type, const std::string& name,
                        std::initializer_list<ParamSpec> params = {})
  {
    return db().addObject(makeObject(parentPath, type, name, params));
  }
  ErrorCollector reported;
};

}  // namespace orv::test
