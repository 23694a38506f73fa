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
    system.registerAction("fail", [](const auto&) { throw data::invalid("Test", "fail", "failed"); });
    api->recordKSLChanges(true);
    system.run("A: k\nx = 0\nB: m\ny = 1\nC: n\nEND\nEND\nEND\nA: l\nEND");
  }
  std::string told(const char* text)
  {
    system.run(text);
    return render(api->getUpdateInfo());
  }
  TestSystem system;
  KSLCoreAPI* api = KSLCoreAPI::instance();
};

TEST_F(UpdateRecorder, ItemsOfEachCommand)
{
  const std::pair<const char*, const char*> cases[] = {
      {"A: a\nx = 1\nEND", "1 /A:a x=1* y= z=\n"},
      {"A: a\nx = 2\nEND\nA: a\nx = 3\ny = 1\nEND\nA: l\nz = 1\nEND", "1 /A:a x=3* y=1* /A:l z=1*\n"},
      {"A: k\nx = 1\nEND\n> delete a\nA: k\nx = 2\nEND", "1 /A:k x=1*\n2 /A:a\n1 /A:k x=2*\n"},
      {"> undo", "1 /A:a x=3* y=1* z= /A:k x=0*\n"},
      {"> redo", "1 /A:a y=* /A:k x=1*\n3 /A:a y=!\n1 /A:a x=*\n3 /A:a x=!\n2 /A:a\n1 /A:k x=2*\n"},
      {"> undo", "1 /A:a x=3* y=1* z= /A:k x=0*\n"},
      {"> delete k, a", "2 /A:a /A:k\n"},
      {"> undo", "1 /A:a x=3* y=1* z= /A:k x=0* y= z= /A:k/B:m x= y=1* z= /A:k/B:m/C:n x= y= z=\n"},
      {"A: l\nx = 1\nEND", "1 /A:l x=1*\n"},
      {"> undo", "1 /A:l x=*\n3 /A:l x=!\n"},
      {"A: l\nx = 5\nEND\nA: b\nEND\n> fail", "1 /A:b x= y= z= /A:l x=5*\n2 /A:b\n1 /A:l x=*\n3 /A:l x=!\n"},
      {"CUT: c\nCache = 7\nEND",
       "1 /CUT:c Cache=7*! Colour=green Cuts= Layers=front Normal=0, 0, 1 Offset=0 [mm] Option=Plane "
       "Radius=1 [m] Visible=True\n"},
  };
  for (const auto& [text, items] : cases)
    EXPECT_EQ(told(text), items) << text;
  system.errorList();
}

TEST_F(UpdateRecorder, NumbersTellWhatAReaderMissed)
{
  const KSLUpdateInfo* info = api->getUpdateInfo();
  const int read = info->getCurrentID();
  const auto synchronised = [&](const char* text) {
    system.run(text);
    return info->isSynchronised(read);
  };
  EXPECT_TRUE(synchronised("# nothing"));
  EXPECT_TRUE(synchronised("A: k\nx = 1\nEND")) << "not yet past";
  EXPECT_FALSE(synchronised("# nothing")) << "the change has gone by";
  EXPECT_EQ(info->getCurrentID(), read + 3);
  EXPECT_FALSE(info->isSynchronised(read + 1));
  EXPECT_TRUE(info->isSynchronised(read + 2));
  EXPECT_THROW(system.run(""), internal::badParam);
  EXPECT_EQ(info->getCurrentID(), read + 4) << "an empty text begins a recording too";
}

TEST_F(UpdateRecorder, OnceOffItStaysOff)
{
  KSLUpdateInfo* info = api->getUpdateInfo();
  const int last = info->getCurrentID();
  api->recordKSLChanges(false);
  api->recordKSLChanges(true);
  EXPECT_EQ(api->getUpdateInfo(), nullptr);
  KSLUpdateRecorder own;
  ObjectDB::instance()->registerChangeNotify(&own);
  api->recordKSLChanges(false);
  system.run("A: c\nEND");
  EXPECT_EQ(render(&own), "1 /A:c x= y= z=\n") << "switching off again leaves others alone";
  EXPECT_EQ(render(info), "");
  EXPECT_EQ(info->getCurrentID(), last + 1) << "still reset by each outermost command";
  ObjectDB::instance()->registerChangeNotify(nullptr);
}

TEST(UpdateRecorderOfAHost, KeepsTheLibrarysOut)
{
  TestSystem system;
  KSLUpdateRecorder own;
  ObjectDB::instance()->registerChangeNotify(&own);
  KSLCoreAPI* api = KSLCoreAPI::instance();
  EXPECT_EQ(thrown<internal::error>([&] { api->recordKSLChanges(true); }),
            ErrorMsg("ObjectDB", "registerChangeNotify",
                     "Attempt to register DBChangeNotify when one is already registered.", 4));
  EXPECT_EQ(api->getUpdateInfo(), nullptr);
  system.run("A: a\nEND");
  EXPECT_EQ(render(&own), "1 /A:a x= y= z=\n") << "the host's stays";
  ObjectDB::instance()->registerChangeNotify(nullptr);
  api->recordKSLChanges(true);
  system.run("A: a\nx = 1\nEND\nA: b\nEND\n> delete a");
  EXPECT_EQ(render(api->getUpdateInfo()), "1 /A:b x= y= z=\n2 /A:a\n")
      << "of objects that were there only the deletion";
  KSLCoreAPI::destroyInstance();
  EXPECT_EQ(ObjectDB::instance()->getChangeNotify(), nullptr);
}

// A host's copy of the database, kept up by the items alone.
class Mirror {
 public:
  void follow(const KSLUpdateInfo* info)
  {
    const auto [first, end] = info->getUpdates();
    for (auto item = first; item != end; ++item) {
      for (const auto& [path, values] : item->objects)
        apply(item->type, path, values);
    }
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

RC_GTEST_PROP(UpdateRecorderOfAHost, CanFollowWithoutAsking, ())
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
  recorder.objectDeleteEnd("/A:l", nullptr);
  recorder.objectDeleteEnd("/A:k", object("/A:k"));
  change("/A:k");
  EXPECT_EQ(render(&recorder),
            "2 /A:k\n1 /A:ka y=\n3 /A:ka z=!\n2 /A:l\n1 /A:k/B:m y=1*\n3 /A:k/B:m z=!\n"
            "1 /A:k x=0* y= z=\n3 /A:k z=!\n");
}

}  // namespace
}  // namespace orv
