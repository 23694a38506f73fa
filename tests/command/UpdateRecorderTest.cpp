// What the host is told of a command's changes.
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "command/KSLUpdateRecorder.h"
#include "tests/support/TestSystem.h"
#include "tests/support/thrown.h"

#include <gtest/gtest.h>
#include <map>
#include <rapidcheck/gtest.h>
#include <string>
#include <vector>

namespace orv {
namespace {

class UpdateRecorder : public testing::Test {
 protected:
  UpdateRecorder()
  {
    api->recordKSLChanges(true);
    system.run("A: k\nx = 0\nB: m\ny = 1\nC: n\nEND\nEND\nEND\nA: l\nEND");
  }
  TestSystem system;
  KSLCoreAPI* api = KSLCoreAPI::instance();
};

TEST_F(UpdateRecorder, NumbersTellWhatAReaderMissed)
{
  const KSLUpdateInfo* info = api->getUpdateInfo();
  const int read = info->getCurrentID();
  const auto synchronised = [&](const char* text) {
    system.run(text);
    return info->isSynchronised(read);
  };
  EXPECT_TRUE(synchronised("A: k\nx = 1\nEND")) << "not yet past";
  EXPECT_FALSE(synchronised("# nothing")) << "the change has gone by";
  EXPECT_EQ(info->getCurrentID(), read + 2);
  EXPECT_TRUE(info->isSynchronised(read + 1));
  EXPECT_THROW(system.run(""), internal::badParam);
  EXPECT_EQ(info->getCurrentID(), read + 3) << "an empty text begins a recording too";
  KSLCoreAPI::destroyInstance();
  EXPECT_EQ(ObjectDB::instance()->getChangeNotify(), nullptr);
}

TEST_F(UpdateRecorder, TheDatabaseHasOneAtMost)
{
  KSLUpdateRecorder own;
  EXPECT_EQ(thrown<internal::error>([&] { ObjectDB::instance()->registerChangeNotify(&own); }),
            ErrorMsg("ObjectDB", "registerChangeNotify",
                     "Attempt to register DBChangeNotify when one is already registered.", 4));
  ObjectDB::instance()->registerChangeNotify(nullptr);
  ObjectDB::instance()->registerChangeNotify(&own);
  api->recordKSLChanges(false);
  EXPECT_EQ(ObjectDB::instance()->getChangeNotify(), &own) << "not the library's to take away";
  ObjectDB::instance()->registerChangeNotify(nullptr);
}

// By hand, what no command does: deletions that end in another order, or do not happen.
TEST_F(UpdateRecorder, DeletionsCoverWhatLiesInThem)
{
  system.run("A: ka\nEND");
  const auto object = [this](const char* path) { return api->getObjectByPath(path); };
  KSLUpdateRecorder recorder;
  const auto change = [&](const char* path) {
    recorder.paramChanged(object(path), object(path)->getParam("y"));
  };
  recorder.objectDeleteBegin(object("/A:k"));
  change("/A:k/B:m");
  change("/A:ka");
  recorder.objectDeleteBegin(object("/A:l"));
  recorder.objectDeleteEnd("/A:k", object("/A:k"));
  change("/A:l");
  const ParamDefinition gone("gone", "", "", "", "", "");
  recorder.paramChanged(object("/A:k"), &gone);
  recorder.objectAdded(object("/A:k"));
  std::string told;
  const auto [first, last] = recorder.getUpdates();
  for (auto item = first; item != last; ++item)
    for (const auto& [path, values] : item->objects)
      told += std::to_string(item->type) + path + " " + std::to_string(values.size()) + "; ";
  EXPECT_EQ(told, "2/A:k 0; 1/A:ka 1; 2/A:l 0; 1/A:k 4; ");
}

// A host's copy of the database, kept up by the items alone.
class Mirror {
 public:
  void follow(const KSLUpdateInfo* info)
  {
    const auto [first, end] = info->getUpdates();
    for (auto item = first; item != end; ++item)
      for (const auto& [path, values] : item->objects)
        apply(item->type, path, values);
  }
  using Objects = std::map<std::string, KSLUpdateInfo::ParamValues>;
  Objects objects;

  static Objects database()
  {
    Objects all;
    for (const KSLObject* object : ObjectDB::instance()->getAllObjects()) {
      object->forEachParam([&](const ParamDefinition& param) {
        all[object->getPath()][param.getName()] = {param.getValue(), param.hasBeenSet(), param.isInternal()};
      });
    }
    return all;
  }

 private:
  void apply(KSLUpdateInfo::UpdateType type, const std::string& path,
             const KSLUpdateInfo::ParamValues& values)
  {
    if (type == KSLUpdateInfo::objectDeleteUpdate)
      std::erase_if(objects, [&](const auto& entry) { return PathUtils::isSameOrBelow(entry.first, path); });
    for (const auto& [name, status] : values) {
      KSLUpdateInfo::ParamValStatus& mirrored = objects[path][name];
      const bool internal = type == KSLUpdateInfo::paramDeleteUpdate ? mirrored.internal : status.internal;
      mirrored = {status.value, status.set, internal};
    }
  }
};

RC_GTEST_PROP(UpdateRecorderProperty, HostsCanFollowWithoutAsking, ())
{
  TestSystem system;
  system.registerAction("fail", [](const auto&) { throw data::invalid("Test", "fail", "failed"); });
  KSLCoreAPI::instance()->recordKSLChanges(true);
  Mirror mirror;
  const std::vector<std::string> parts = {"A: a\nx = 1\nEND\n",
                                          "A: a\ny = 2\nB: m\ny = 1\nC: n\nEND\nEND\nEND\n",
                                          "A: ab\nx =\nEND\n",
                                          "&replace A: a\nz = 3\nB: m\nEND\nEND\n",
                                          "> delete /A:a\n",
                                          "CUT: c\nCache = 1\nOffset = 2 [m]\nMARK: k\nEND\nEND\n",
                                          "> delete /A:a/B:m\n",
                                          "CUT: c\nCuts = /CUT:c\nEND\n> delete /A:a, /CUT:c\n",
                                          "> undo\n",
                                          "> redo\n",
                                          "A: a\ny = 9\nEND\n",
                                          "> fail\n"};
  const auto command = rc::gen::container<std::vector<std::string>>(rc::gen::elementOf(parts));
  for (const auto& texts : *rc::gen::container<std::vector<std::vector<std::string>>>(command)) {
    system.run(StringUtilities::vectorToString(texts, "") + "# end\n");
    mirror.follow(KSLCoreAPI::instance()->getUpdateInfo());
    RC_ASSERT(mirror.objects == Mirror::database());
  }
}

}  // namespace
}  // namespace orv
