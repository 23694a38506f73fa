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

// One item a line: its type, then each object with its parameters; "*" is set, "!" internal.
std::string render(const KSLUpdateInfo* info)
{
  std::string text;
  const auto [first, end] = info->getUpdates();
  for (auto item = first; item != end; ++item) {
    text += std::to_string(item->type);
    for (const auto& [path, values] : item->objects) {
      text += " " + path;
      for (const auto& [name, status] : values)
        text += " " + name + "=" + status.value + (status.set ? "*" : "") + (status.internal ? "!" : "");
    }
    text += "\n";
  }
  return text;
}

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
}

TEST_F(UpdateRecorder, AHostsOwnKeepsTheLibrarysOut)
{
  KSLUpdateInfo* info = api->getUpdateInfo();
  const int last = info->getCurrentID();
  api->recordKSLChanges(false);
  api->recordKSLChanges(true);
  EXPECT_EQ(api->getUpdateInfo(), nullptr) << "once off it stays off";
  KSLUpdateRecorder own;
  ObjectDB::instance()->registerChangeNotify(&own);
  api->recordKSLChanges(false);
  system.run("A: c\nEND");
  EXPECT_EQ(render(&own), "1 /A:c x= y= z=\n") << "switching off again leaves others alone";
  EXPECT_EQ(render(info), "");
  EXPECT_EQ(info->getCurrentID(), last + 1) << "still reset by each outermost command";
  KSLCoreAPI::destroyInstance();
  EXPECT_EQ(thrown<internal::error>([&] { KSLCoreAPI::instance()->recordKSLChanges(true); }),
            ErrorMsg("ObjectDB", "registerChangeNotify",
                     "Attempt to register DBChangeNotify when one is already registered.", 4));
  ObjectDB::instance()->registerChangeNotify(nullptr);
  KSLCoreAPI::instance()->recordKSLChanges(true);
  KSLCoreAPI::destroyInstance();
  EXPECT_EQ(ObjectDB::instance()->getChangeNotify(), nullptr);
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

// By hand, what no command does: deletions that end in another order, or do not happen.
TEST_F(UpdateRecorder, DeletionsCoverWhatLiesInThem)
{
  system.run("A: ka\nEND");
  const auto object = [this](const char* path) { return api->getObjectByPath(path); };
  KSLUpdateRecorder recorder;
  const auto change = [&](const char* path) {
    recorder.paramChanged(object(path), object(path)->getParam("y"));
    recorder.paramDeleted(object(path), "z");
  };
  recorder.objectDeleteBegin(object("/A:k"));
  change("/A:k/B:m");
  change("/A:ka");
  recorder.objectDeleteBegin(object("/A:l"));
  change("/A:k/B:m");  // only the innermost deletion counts
  const ParamDefinition gone("gone", "", "", "String", "", "");
  recorder.paramChanged(object("/A:k"), &gone);
  recorder.objectDeleteEnd("/A:l", nullptr);
  recorder.objectDeleteEnd("/A:k", object("/A:k"));
  change("/A:k");
  EXPECT_EQ(render(&recorder),
            "2 /A:k\n1 /A:ka y=\n3 /A:ka z=!\n2 /A:l\n1 /A:k/B:m y=1*\n3 /A:k/B:m z=!\n"
            "1 /A:k gone= x=0* y= z=\n3 /A:k z=!\n");
}

}  // namespace
}  // namespace orv
