// Results that are found again by what they were computed from.
#include "platform/ORVResultMemory.h"
#include "tests/support/TempFolder.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <map>
#include <optional>
#include <random>
#include <set>

namespace orv {
namespace {

TEST(ResultKey, SaysAllThatWasAdded)
{
  // By another implementation of SHA-256, over 32 zero bytes and "t3:abc", and over these with 200 letters.
  EXPECT_EQ(ResultKey("abc").toString(), "dfeb8bae22aa336aa02fc53b6101aed3a408afa62daca2f744b4c18604e65241");
  EXPECT_EQ(ResultKey(std::string(200, 'x')).toString(),
            "677f68548a33067034f912e9aeabaa9603fc8bd713f26cdbddc9c423449bf399");
  const std::vector<ResultKey> all{ResultKey(),
                                   ResultKey(""),
                                   ResultKey("ab").add("c"),
                                   ResultKey("a").add("bc"),
                                   ResultKey("abc"),
                                   ResultKey("ab").add(ResultKey("c")),
                                   ResultKey("ab").add(1),
                                   ResultKey("ab").add("1"),
                                   ResultKey("ab").add(1).add(2),
                                   ResultKey("ab").add(2).add(1),
                                   ResultKey::unique(),
                                   ResultKey::unique()};
  EXPECT_EQ(std::set<ResultKey>(all.begin(), all.end()).size(), all.size());
  EXPECT_EQ(ResultKey("ab").addAll(0.0, "c"), ResultKey("ab").add(-0.0).add("c"));
}

TEST(ResultKey, FilesAreTheirNameAndWhatItLeadsTo)
{
  const TempFolder folder;
  const std::filesystem::path file = folder / "a";
  const auto key = [&] { return ResultKey("read").addFile(file.string()); };
  std::vector<ResultKey> keys{key()};
  std::ofstream(file) << "12";
  const auto then = std::filesystem::last_write_time(file);
  keys.push_back(key());
  EXPECT_EQ(keys.back(), ResultKey("read").addFile((file.parent_path() / "." / "a").string()));
  std::ofstream(file) << "123";
  std::filesystem::last_write_time(file, then);
  keys.push_back(key());
  std::filesystem::last_write_time(file, then + std::chrono::seconds(1));
  keys.push_back(key());
  std::filesystem::last_write_time(folder.write("c", "321"), then + std::chrono::seconds(1));
  std::filesystem::rename(folder / "c", file);
  keys.push_back(key());
  std::filesystem::rename(file, folder / "b");
  keys.push_back(ResultKey("read").addFile(folder / "b"));
  EXPECT_EQ(std::set<ResultKey>(keys.begin(), keys.end()).size(), keys.size());
  EXPECT_EQ(key(), keys.front());
  std::filesystem::create_directories(folder / "far/end");
  std::filesystem::create_symlink("far/end", folder / "link");
  const auto behind = [&] { return ResultKey("read").addFile(folder / "link" + "/../a"); };
  const ResultKey before = behind();
  folder.write("far/a", "1");
  EXPECT_NE(behind(), before);
}

struct Result {
  explicit Result(int of) : number(of) { ++alive; }
  ~Result() { --alive; }
  Result(const Result&) = delete;
  Result& operator=(const Result&) = delete;
  static inline int alive = 0;
  int number;
  std::vector<std::shared_ptr<const Result>> holds;
};

using Held = std::shared_ptr<const Result>;

class ResultMemoryTest : public ::testing::Test {
 protected:
  ResultMemoryTest() { ResultMemory::destroyInstance(); }
  ~ResultMemoryTest() override
  {
    ResultMemory::destroyInstance();
    EXPECT_EQ(Result::alive, 0);
  }
  static ResultMemory& memory() { return ResultMemory::instance(); }
  static ResultKey keyOf(int number) { return ResultKey("test").add(number); }
  static bool isKnown(int number) { return memory().has<Result>(keyOf(number)); }
  static Held get(int number, std::size_t bytes = 1000, const std::vector<Held>& holds = {})
  {
    return memory().recall<Result>(keyOf(number), std::to_string(number), [&](ResultMemory::Making& making) {
      auto made = std::make_shared<Result>(number);
      for (const Held& held : holds)
        made->holds.push_back(making.hold(held));
      making.takes(bytes);
      return made;
    });
  }
  static std::string known(std::initializer_list<int> numbers)
  {
    std::string text;
    for (const int number : numbers)
      text += isKnown(number) ? std::to_string(number) : "-";
    return text;
  }
};

TEST_F(ResultMemoryTest, WhatNobodyUsesGoesWhenItIsTooMuchTheOldestFirst)
{
  struct Log : ResultTrace {
    void recalled(std::string_view what, bool found) noexcept override
    {
      text += (found ? "found " : "made ") + std::string(what) + "; ";
    }
    std::string text;
  } log;
  memory().setTrace(&log);
  memory().setLimit(3600);
  Held first = get(1);
  EXPECT_EQ(get(1), first);
  const auto again = [](ResultMemory::Making&) { return std::make_shared<Result>(1); };
  EXPECT_EQ(memory().makeAnew<Result>(keyOf(1), "1 anew", again), first);
  for (const int number : {2, 3, 4})
    get(number);
  EXPECT_EQ(known({1, 2, 3, 4}), "1234");
  get(2);
  get(5);
  EXPECT_EQ(known({1, 2, 3, 4, 5}), "12-45") << "2 was wanted after 3";
  first.reset();
  EXPECT_EQ(known({1, 2, 4, 5}), "12-5") << "it was used until now";
  memory().setLimit(0);
  EXPECT_EQ(Result::alive, 0);
  first = get(1);
  EXPECT_EQ(known({1}), "1");
  EXPECT_EQ(log.text, "made 1; found 1; made 1 anew; made 2; made 3; made 4; found 2; made 5; made 1; ");
  EXPECT_EQ(memory().getCounts().made, 7u);
  EXPECT_FALSE(memory().has<int>(keyOf(1))) << "of another type";
  memory().setTrace(nullptr);
}

TEST_F(ResultMemoryTest, FailuresLeaveNothing)
{
  const auto failing = [](ResultMemory::Making&) -> std::shared_ptr<Result> {
    const Held inner = get(2);
    throw std::runtime_error("No result.");
  };
  EXPECT_THROW(memory().recall<Result>(keyOf(1), "1", failing), std::runtime_error);
  EXPECT_EQ(memory().recall<Result>(keyOf(1), "1", [](auto&) { return Held(); }), nullptr);
  EXPECT_EQ(known({1, 2}), "-2");
  const Held own = std::make_shared<Result>(9);
  EXPECT_EQ(get(3, 1, {own})->holds.front(), own) << "what is not of the memory is held as it is";
}

// What was there before a command is there when it is taken back, and what it makes on the way does not pile up.
TEST_F(ResultMemoryTest, CommandsThatAreTakenBackFindAllThatWasInUse)
{
  const TempFolder folder;
  const std::string file = folder.write("a", "12");
  const auto fileKey = [&] { return ResultKey().addFile(file); };
  memory().setLimit(0);
  Held first = get(1);
  Held second = get(2, 1000, {first});
  first.reset();
  get(9);
  ResultMemory::beginCommand();
  const ResultKey before = fileKey();
  ResultMemory::endCommand();
  ResultMemory::beginCommand();
  second.reset();
  get(3);
  EXPECT_EQ(known({1, 2, 3, 9}), "12--");
  second = get(2);
  second.reset();
  get(4);
  folder.write("a", "123");
  EXPECT_NE(fileKey(), before);
  std::filesystem::remove(file);
  ResultMemory::takeBack();
  EXPECT_EQ(known({1, 2, 3, 4}), "12--");
  EXPECT_EQ(fileKey(), before);
  second = get(2);
  ResultMemory::endCommand();
  EXPECT_EQ(known({1, 2}), "12");
  EXPECT_NE(fileKey(), before);
  ResultMemory::beginCommand();
  second.reset();
  ResultMemory::endCommand();
  EXPECT_EQ(known({1, 2}), "--");
}

// Who has a result may have it longer than the memory lives.
TEST_F(ResultMemoryTest, ResultsAreWholeAsLongAsAnybodyHasThem)
{
  Held second;
  {
    const Held first = get(1);
    second = get(2, 1, {first});
    get(3);
  }
  ResultMemory::destroyInstance();
  EXPECT_EQ(Result::alive, 2);
  EXPECT_EQ(second->holds.front()->number, 1);
  EXPECT_FALSE(isKnown(2));
  EXPECT_NE(get(2), second);
  for (int number = 3; number < 20000; ++number)
    second = get(number, 1, {second});
  ResultMemory::destroyInstance();
  second.reset();
  EXPECT_EQ(Result::alive, 0);
}

// Whatever is wanted, held and let go: what is in use is found, the rest is within the limit, and nothing else lives.
TEST_F(ResultMemoryTest, KeepsItsPromisesWhateverComes)
{
  std::mt19937 random(7);
  std::map<int, std::vector<int>> holds;  // as each was made
  std::vector<Held> leases;
  constexpr int numbers = 30;
  bool inCommand = false;
  for (int step = 0; step < 1500; ++step) {
    const int number = static_cast<int>(random() % numbers);
    if (random() % 3 == 0 && !leases.empty()) {
      leases.erase(leases.begin() + static_cast<std::ptrdiff_t>(random() % leases.size()));
    } else if (random() % 20 == 0) {
      inCommand ? ResultMemory::endCommand() : ResultMemory::beginCommand();
      inCommand = !inCommand;
    } else if (random() % 50 == 0) {
      memory().setLimit(random() % 12000);
    } else {
      std::vector<Held> held;
      for (const Held& lease : leases)
        if (lease->number < number && held.size() < 3 && random() % 2 == 0)
          held.push_back(lease);
      leases.push_back(get(number, 700, held));
      holds[number].clear();
      for (const Held& each : leases.back()->holds)
        holds[number].push_back(each->number);
      if (leases.size() > 6)
        leases.erase(leases.begin(), leases.begin() + 3);
    }
    std::set<const Result*> used;
    std::vector<const Result*> waiting;
    for (const Held& lease : leases)
      waiting.push_back(lease.get());
    while (!waiting.empty()) {
      const Result* each = waiting.back();
      waiting.pop_back();
      if (!used.insert(each).second)
        continue;
      for (const Held& held : each->holds)
        waiting.push_back(held.get());
    }
    const ResultMemory::Counts counts = memory().getCounts();
    ASSERT_TRUE(inCommand || counts.unusedBytes <= memory().getLimit()) << step;
    ASSERT_EQ(static_cast<std::size_t>(Result::alive), counts.results) << step;
    ASSERT_GE(counts.results, used.size());
    ASSERT_EQ(counts.unusedBytes == 0, counts.results == used.size()) << step;
    for (const Result* each : used)
      ASSERT_TRUE(isKnown(each->number)) << step;
  }
  ResultMemory::endCommand();
  leases.clear();
  memory().setLimit(0);
  EXPECT_EQ(Result::alive, 0);
}

}  // namespace
}  // namespace orv
