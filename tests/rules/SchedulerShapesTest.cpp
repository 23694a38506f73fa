// Long, wide and tangled graphs of schedulers: within time, within a small stack.
#include "database/DataKSLObject.h"
#include "rules/SchedulerObject.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <pthread.h>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace orv {
namespace {

class CountingOwner : public DataKSLObject, public SchedulerOwner {
 public:
  long calculated = 0;
  void calculate(const std::string&) override { ++calculated; }
  void createDelayedParamLinks() override {}
};

using Edges = std::vector<std::pair<int, int>>;

// Links in the order given, marks and updates the roots twice, which must calculate everything once each time.
void runShape(const char* shape, int size, const Edges& edges, const std::vector<int>& roots)
{
  SCOPED_TRACE(shape);
  CountingOwner owner;
  std::vector<std::unique_ptr<SchedulerObject>> all;
  for (int i = 0; i < size; ++i)
    all.push_back(std::make_unique<SchedulerObject>("", &owner, "T"));
  for (const auto& [from, to] : edges)
    all[from]->addChild(all[to].get(), true);
  for (int round = 1; round <= 2; ++round) {
    for (int root : roots)
      all[root]->setPending();
    for (int root : roots)
      all[root]->update();
    ASSERT_EQ(owner.calculated, static_cast<long>(round) * size);
  }
  for (std::size_t i = 0; i < edges.size(); i += 2)
    all[edges[i].first]->deleteChild(all[edges[i].second].get());
}

void* runShapes(void*)
{
  constexpr int size = 100000;
  constexpr int longest = 1000000;
  Edges ladder, chain, fanOut, fanIn;
  std::vector<int> parents;
  for (int i = 1; i < longest; ++i)
    chain.emplace_back(i - 1, i);
  Edges shuffled(chain.begin(), chain.begin() + size - 1);
  for (int i = 1; i <= size; ++i) {
    for (int side : {1, 2}) {
      ladder.emplace_back(3 * (i - 1), 3 * (i - 1) + side);
      ladder.emplace_back(3 * (i - 1) + side, 3 * i);
    }
    fanOut.emplace_back(0, i);
    fanIn.emplace_back(i, 0);
    parents.push_back(i);
  }
  std::mt19937 random(7);
  for (Edges* edges : {&shuffled, &fanOut, &fanIn})
    std::shuffle(edges->begin(), edges->end(), random);
  runShape("ladder of diamonds", 3 * size + 1, ladder, {0});
  runShape("chain", longest, chain, {0});
  runShape("chain linked anywhere", size, shuffled, {0});
  runShape("many children", size + 1, fanOut, {0});
  runShape("many parents", size + 1, fanIn, parents);
  return nullptr;
}

TEST(SchedulerShapes, LargeShapesCostWhatTheyHoldAndASmallStack)
{
  pthread_attr_t small;
  pthread_attr_init(&small);
  ASSERT_EQ(pthread_attr_setstacksize(&small, 256 * 1024), 0);
  pthread_t thread;
  ASSERT_EQ(pthread_create(&thread, &small, runShapes, nullptr), 0);
  pthread_join(thread, nullptr);
  pthread_attr_destroy(&small);
}

}  // namespace
}  // namespace orv
