#include "database/ObjectDB.h"

#include "database/KSLCoreTreeAndLeafModel.h"
#include "database/ObjectHolderImpl.h"
#include "TestObjects.h"

#include <algorithm>
#include <rapidcheck.h>

namespace orv::test {
namespace {

class ObjectDBTest : public DatabaseTest {
 protected:
  static std::string names(const std::vector<KSLObject*>& objects)
  {
    std::string text;
    for (const KSLObject* object : objects)
      text += object->getTypeNameString() + " ";
    return text;
  }
};

TEST_F(ObjectDBTest, RefusedAdditionsChangeNothing)
{
  add("", "A", "x");
  const auto refused = [](std::unique_ptr<KSLObject> object) {
    const ErrorMsg error = errorOf([&] { db().addObject(std::move(object)); });
    EXPECT_TRUE(object == nullptr || object->getParentObject() == db().getRoot());
    EXPECT_EQ(db().getAllObjectPaths(), std::vector<std::string>{"/A:x"});
    return error;
  };
  const auto expected = [](const char* message, int type = 4) {
    return ErrorMsg("ObjectDB", "addObject", message, type);
  };
  EXPECT_EQ(refused(nullptr), expected("Null pointer to KSLObject."));
  EXPECT_EQ(refused(makeObject("", "A", "x")), expected("KSLObject 'x' (path '/A:x') already exists."));
  EXPECT_EQ(refused(makeObject("/A:none", "B", "y")),
            expected("Parent of new object ('/A:none/B:y')does not exist in the database."));
  EXPECT_EQ(refused(makeObject("/A:x/", "B", "y")), expected("Path '/A:x//B:y' is not normal."));

  Listener listener;
  db().registerChangeNotify(&listener);
  listener.failAt = 0;
  std::unique_ptr<KSLObject> unwanted = makeObject("/A:x", "B", "y", {{"p"}});
  EXPECT_EQ(errorOf([&] { db().addObject(std::move(unwanted)); }).getMessage(), "added /A:x/B:y");
  EXPECT_EQ(unwanted->getParentObject(), db().getRoot()) << "it has no place, and no observer either";
  unwanted->setValue("p", "1");
  db().addObject(std::move(unwanted));
  db().registerChangeNotify(nullptr);
  db().getObjectByPath("/A:x/B:y")->setValue("p", "2");
  EXPECT_EQ(listener.take(), "added /A:x/B:y\n");
}

TEST_F(ObjectDBTest, FindsByPathNameTypeAndCategory)
{
  Category::addCategory("blue");
  for (const char* name : {"z", "y"})
    PrototypeEditor(*static_cast<DataKSLObject*>(add("", "B", name))).setCategory("blue");
  KSLObject* const x = add("", "A", "x", {{"p", "", "7"}});
  KSLObject* const inner = add("/A:x", "B", "inner", {{"p", "", "7, 8"}});
  add("", "A", "z");
  EXPECT_EQ(db().getObjectByPath("//A:x/./B:inner/"), inner);
  EXPECT_EQ(db().getObjectByPath("A:x"), nullptr);
  EXPECT_EQ(db().getObjectByPath("."), db().getRoot());
  EXPECT_EQ(db().getObjectByName("x"), x);
  EXPECT_EQ(db().getObjectByName("inner"), nullptr);
  EXPECT_EQ(errorOf([] { db().hasObject("z"); }),
            ErrorMsg("ObjectDB", "getObjectByName", "Object name z is ambiguous.", 4));
  EXPECT_EQ(names(db().getRoot()->getChildObjects()), "A:x A:z B:z B:y ");
  EXPECT_EQ(db().getNamesByCategory("blue"), (std::vector<std::string>{"z", "y"}));
  EXPECT_EQ(names(db().getObjectsByType("/A:x", "B")), "B:inner ");
  EXPECT_EQ(db().getState({}), "/A:x\n/A:x/B:inner\n/A:z\n/B:y\n/B:z\n");
  EXPECT_EQ(db().getState({"none", "x"}),
            "\n" + std::string(51, '-') + "\nA:x\n  B:inner\n  END\nEND\n\nScheduler list for A:x\n");
  EXPECT_EQ(reported.errors(),
            std::vector{ErrorMsg("ObjectDB", "getState", "Object 'none' does not exist.", 8)});
  std::vector<std::pair<std::string, std::string>> single;
  db().getObjectsWithParameter("p", single);
  EXPECT_EQ(single, (decltype(single){{"/A:x", "7"}})) << "lists are left out";
  inner->setPendingDelete(true);
  EXPECT_EQ(db().getPathsPendingDeletion("/A:x", "ALL OBJECTS"), std::vector<std::string>{"/A:x/B:inner"});
  inner->setPendingDelete(false);
  EXPECT_EQ(db().getState({"/"}).find("Scheduler"), std::string::npos) << "the root is only a place";
  ObjectDB::supportOldStylePaths();
  EXPECT_EQ(db().getObjectByPath("A:x/B:inner"), inner);
}

TEST_F(ObjectDBTest, TellsOfDeletionParentFirstAndDoneChildrenFirst)
{
  const auto errorOfDeleting = [](const char* path) { return errorOf([=] { db().deleteObject(path); }); };
  EXPECT_EQ(errorOfDeleting("/A:x"),
            ErrorMsg("ObjectDB", "deleteObject", "KSLObject '/A:x' does not exist.", 4));
  EXPECT_EQ(errorOfDeleting("/").getMessage(), "Attempt to delete object that has no parent object ('/')");
  Listener listener;
  db().registerChangeNotify(&listener);
  add("", "P", "p");
  add("/P:p", "B", "b");
  add("/P:p", "A", "late");
  add("/P:p", "A", "later");
  add("/P:p/A:late", "C", "C");
  listener.take();

  db().deleteObject("/P:p");
  EXPECT_EQ(listener.take(),
            "begin /P:p pending\n"
            "begin /P:p/A:late pending\nbegin /P:p/A:late/C pending\nend /P:p/A:late/C\nend /P:p/A:late\n"
            "begin /P:p/A:later pending\nend /P:p/A:later\n"
            "begin /P:p/B:b pending\nend /P:p/B:b\n"
            "end /P:p\n");
  EXPECT_EQ(db().size(), 0u);
  db().registerChangeNotify(nullptr);
}

TEST_F(ObjectDBTest, FailingObserverStopsDeletionAtABeginOnly)
{
  Listener listener;
  db().registerChangeNotify(&listener);
  const auto build = [&] {
    add("", "P", "p");
    add("/P:p", "A", "a");
    add("/P:p", "B", "b");
    add("/P:p/B:b", "C", "c");
    listener.take();
  };
  build();
  listener.failAt = 4;  // the begin of C:c
  EXPECT_EQ(errorOf([] { db().deleteObject("/P:p"); }).getMessage(), "begin /P:p/B:b/C:c pending");
  EXPECT_EQ(listener.take(),
            "begin /P:p pending\nbegin /P:p/A:a pending\nend /P:p/A:a\nbegin /P:p/B:b pending\n"
            "end /P:p/B:b kept\nend /P:p kept\n");
  EXPECT_EQ(db().getAllObjectPaths(), (std::vector<std::string>{"/P:p", "/P:p/B:b", "/P:p/B:b/C:c"}));
  EXPECT_TRUE(db().getNamesPendingDeletion("ALL OBJECTS").empty());

  db().deleteObject("/P:p");
  build();
  listener.failAt = 2;  // the end of A:a
  db().deleteObject("/P:p");
  EXPECT_EQ(db().size(), 0u);
  db().registerChangeNotify(nullptr);
}

TEST_F(ObjectDBTest, ManyChildrenAndDeepChainsAreNoTrouble)
{
  constexpr int count = 100000;
  for (int i = 0; i < count; ++i)
    add("", i % 2 ? "B" : "A", std::to_string(i));
  for (int i = 1; i < count; i += 2)  // every second one, from the front
    db().deleteObject("/B:" + std::to_string(i));
  for (int i = count - 2; i >= 10; i -= 2)
    db().deleteObject("/A:" + std::to_string(i));
  EXPECT_EQ(names(db().getRoot()->getChildObjects()), "A:0 A:2 A:4 A:6 A:8 ");

  std::string path;
  for (int level = 0; level < 3000; ++level)
    path = add(path, "N", "n")->getPath();
  const std::string state = db().getObjectByPath("/N:n")->getState(allParams);
  EXPECT_EQ(std::count(state.begin(), state.end(), '\n'), 6000);
  EXPECT_EQ(KSLCoreTreeAndLeafModel().getChildren(KSLPath()).size(), 6u);
  db().deleteObject("/N:n");
  EXPECT_EQ(db().size(), 5u);
}

// Few and many children, shared names, gaps that are closed: compared with a list that is searched.
TEST(ObjectHolderImpl, AnswersAsAPlainListWould)
{
  EXPECT_TRUE(rc::check([] {
    std::vector<std::unique_ptr<DataKSLObject>> objects;
    for (int i = 0; i < 60; ++i)
      objects.push_back(
          makeObject("", std::string(1, static_cast<char>('A' + i % 3)), "n" + std::to_string(i / 3 % 8)));
    auto place = makeObject("", "P", "p");
    ObjectHolderImpl holder(nullptr, place.get());
    std::vector<KSLObject*> model;

    const auto steps =
        *rc::gen::container<std::vector<int>>(*rc::gen::inRange(0, 300), rc::gen::inRange(0, 60));
    for (const int step : steps) {
      KSLObject* child = objects[static_cast<std::size_t>(step)].get();
      const bool isNew = std::erase(model, child) == 0;
      const std::string wrong = errorOf([&] {
                                  isNew ? holder.removeChildObject(child) : holder.addChildObject(child);
                                }).getMessage();
      if (isNew) {
        RC_ASSERT(wrong == "Error removing of object '" + child->getPath() + "'.");
        holder.addChildObject(child);
        model.push_back(child);
      } else {
        RC_ASSERT(wrong == "Attempt to add child to object '/P:p' more than once.");
        holder.removeChildObject(child);
      }
      std::vector<KSLObject*> byType = model;
      std::stable_sort(byType.begin(), byType.end(),
                       [](auto* a, auto* b) { return a->getType() < b->getType(); });
      RC_ASSERT(holder.getChildObjects() == byType);
      RC_ASSERT(holder.getFirstChild() == (byType.empty() ? nullptr : byType.front()));
      std::vector<KSLObject*> others = model;
      std::erase_if(others, [&](auto* other) { return !other->typeIs(child->getType()); });
      RC_ASSERT(holder.getChildObjectsByType(child->getType()) == others);
      others = model;
      std::erase_if(others, [&](auto* other) { return !other->nameIs(child->getName()); });
      RC_ASSERT(holder.getChildObjectsByName(child->getName()) == others);
    }
  }));
}

}  // namespace
}  // namespace orv::test
