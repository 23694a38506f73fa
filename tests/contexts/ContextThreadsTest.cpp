// Models on several threads. To be run under the thread sanitizer, too.
#include "tests/contexts/Life.h"
#include "tests/support/TempFolder.h"

#include <gtest/gtest.h>
#include <string>
#include <thread>
#include <vector>

namespace orv {

namespace {

// What a thread tells of its models is what one thread alone tells of them. The rules alternate, so that the threads
// begin and end models while others are at work; the units are read by all of them for the first time.
TEST(ContextThreads, ModelsAreAsIfAlone)
{
  constexpr int threads = 4, rounds = 3;
  const TempFolder folder;
  const auto story = [&](int thread, int round) {
    const int number = thread * rounds + round;
    return number % 3 == 2 ? plainStory() : demoStory(folder / std::to_string(thread), number);
  };
  std::vector<std::string> told(threads * rounds);
  std::vector<std::thread> running;
  for (int thread = 0; thread < threads; ++thread) {
    running.emplace_back([&, thread] {
      for (int round = 0; round < rounds; ++round)
        told[static_cast<std::size_t>(thread * rounds + round)] = Life(story(thread, round)).tellAll();
    });
  }
  for (std::thread& thread : running)
    thread.join();
  for (int number = 0; number < threads * rounds; ++number)
    EXPECT_EQ(told[static_cast<std::size_t>(number)],
              Life(story(number / rounds, number % rounds)).tellAll());
}

}  // namespace

}  // namespace orv
