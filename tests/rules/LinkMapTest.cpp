// The edges of a scheduler against a map of the standard library, in small, middling and chunked sizes.
#include "rules/LinkMap.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <vector>

namespace orv {
namespace {

// Keys are never looked into.
SchedulerObject* key(std::uintptr_t number)
{
  return reinterpret_cast<SchedulerObject*>(16 * (number + 1));
}

using Pairs = std::vector<std::pair<SchedulerObject*, int>>;

Pairs pairsOf(const LinkMap& map)
{
  Pairs pairs;
  for (const auto& [other, count] : map)
    pairs.emplace_back(other, count);
  return pairs;
}

void checkAgainstAMap(unsigned size, int order)
{
  LinkMap map;
  std::map<SchedulerObject*, int> model;
  std::mt19937 random(size);
  const auto act = [&](SchedulerObject* other, unsigned what) {
    if (what < 3) {
      ASSERT_EQ(map.add(other), ++model[other] == 1);
      return;
    }
    const auto entry = model.find(other);
    const bool goes = entry != model.end() && (what == 4 || --entry->second == 0);
    if (goes)
      model.erase(entry);
    ASSERT_EQ(what == 3 ? map.remove(other) : map.erase(other), goes);
  };
  for (unsigned i = 0; i < size; ++i)
    act(key(order == 0 ? i : order == 1 ? size - 1 - i : random() % size), 0);
  for (int round = 0; round < 4; ++round) {
    for (unsigned i = 0; i < size; ++i)
      act(key(random() % size), random() % 5);
    ASSERT_EQ(pairsOf(map), Pairs(model.begin(), model.end()));
    ASSERT_EQ(map.size(), model.size());
  }
  // A pass during which neighbours come and go, to the last.
  LinkMap::Cursor cursor;
  SchedulerObject* last = nullptr;
  while (SchedulerObject* next = map.next(cursor)) {
    ASSERT_EQ(next, model.upper_bound(last)->first);
    last = next;
    for (unsigned n = random() % 4; n != 0; --n)
      act(key((reinterpret_cast<std::uintptr_t>(next) / 16 + random() % 5 - 3) % (2 * size)),
          random() % 2 * 4);
  }
  ASSERT_EQ(model.upper_bound(last), model.end());
  while (!model.empty()) {
    act(model.begin()->first, 4);
    if (model.size() % 60 == 0) {
      ASSERT_EQ(pairsOf(map), Pairs(model.begin(), model.end()));
    }
  }
  EXPECT_TRUE(map.empty() && map.begin() == map.end());
}

// Sizes on both sides of the bounds of the forms; keys in ascending, descending and random order.
TEST(LinkMap, HoldsWhatAMapHolds)
{
  for (const unsigned size : {2u, 9u, 64u, 65u, 129u, 5000u}) {
    for (const int order : {0, 1, 2})
      checkAgainstAMap(size, order);
  }
}

}  // namespace
}  // namespace orv
