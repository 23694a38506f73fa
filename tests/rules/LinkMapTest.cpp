// The edges of a scheduler against a map of the standard library, in small, middling and chunked sizes.
#include "rules/LinkMap.h"

#include "rules/SchedulerObject.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <map>
#include <numeric>
#include <optional>
#include <random>
#include <stdexcept>
#include <vector>

namespace orv {
namespace {

struct Earlier {
  bool operator()(const SchedulerObject* a, const SchedulerObject* b) const
  {
    return a->getSerial() < b->getSerial();
  }
};

// Schedulers in the order in which they were made, which has nothing to do with where they stand.
class Keys {
 public:
  Keys(std::size_t size, std::mt19937& random) : m_room(size)
  {
    std::vector<std::size_t> places(size);
    std::iota(places.begin(), places.end(), 0u);
    std::shuffle(places.begin(), places.end(), random);
    for (std::size_t place : places)
      m_keys.push_back(&m_room[place].emplace());
  }
  SchedulerObject* operator[](std::size_t i) const { return m_keys[i]; }
  std::size_t placeOf(const SchedulerObject* key) const { return key->getSerial() - m_keys[0]->getSerial(); }

 private:
  std::vector<std::optional<SchedulerObject>> m_room;
  std::vector<SchedulerObject*> m_keys;
};

using Pairs = std::vector<std::pair<SchedulerObject*, int>>;

Pairs pairsOf(const LinkMap& map)
{
  Pairs pairs;
  for (const LinkMap::Entry& edge : map)
    pairs.emplace_back(edge.first, edge.count());
  return pairs;
}

void checkAgainstAMap(unsigned size, int order)
{
  std::mt19937 random(size);
  const Keys keys(2 * size, random);
  LinkMap map;
  std::map<SchedulerObject*, int, Earlier> model;
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
    act(keys[order == 0 ? i : order == 1 ? size - 1 - i : random() % size], 0);
  for (int round = 0; round < 4; ++round) {
    for (unsigned i = 0; i < size; ++i)
      act(keys[random() % size], random() % 5);
    ASSERT_EQ(pairsOf(map), Pairs(model.begin(), model.end()));
    ASSERT_EQ(map.size(), model.size());
  }
  // A pass during which neighbours come and go, to the last.
  LinkMap::Cursor cursor;
  SchedulerObject* last = nullptr;
  const auto following = [&] { return last ? model.upper_bound(last) : model.begin(); };
  while (SchedulerObject* next = map.next(cursor)) {
    ASSERT_EQ(next, following()->first);
    last = next;
    for (unsigned n = random() % 4; n != 0; --n)
      act(keys[(keys.placeOf(next) + 2 * size + random() % 5 - 2) % (2 * size)], random() % 2 * 4);
  }
  ASSERT_EQ(following(), model.end());
  while (!model.empty()) {
    act(model.begin()->first, 4);
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

// One more would count as a link to somebody else.
TEST(LinkMap, RefusesMoreLinksThanAnEdgeCanCount)
{
  SchedulerObject key;
  SchedulerObject next;
  LinkMap map;
  map.add(&next);
  for (int i = 0; i < LinkMap::Entry::mostLinks; ++i)
    map.add(&key);
  EXPECT_THROW(map.add(&key), std::length_error);
  EXPECT_EQ(pairsOf(map), (Pairs{{&key, LinkMap::Entry::mostLinks}, {&next, 1}}));
  map.remove(&key);
  map.add(&key);
  EXPECT_EQ(map.count(&key), LinkMap::Entry::mostLinks);
}

}  // namespace
}  // namespace orv
