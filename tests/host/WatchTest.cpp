// What "ksl run" tells of commands while they run.
#include "boxes.h"

#include <gtest/gtest.h>
#include <regex>
#include <utility>

namespace {

// Runs these commands; times are made alike.
Outcome watch(const std::vector<std::string>& options, const std::vector<std::string>& commands)
{
  std::vector<std::string> arguments{"run", "--library", boxes(), "--update-mode", "at-end"};
  arguments.insert(arguments.end(), options.begin(), options.end());
  for (const std::string& command : commands)
    arguments.insert(arguments.end(), {"-e", command});
  Outcome outcome = ksl(arguments);
  outcome.err = std::regex_replace(outcome.err, std::regex("[0-9]+(\\.[0-9]{3})? ms\n"), "N ms\n");
  return outcome;
}

// b stands below a; c needs both.
const std::vector<std::string> tower = {"BOX: a\nEND\nBOX: b\n  On = a\n  Beside = a\nEND",
                                        "BOX: c\n  Size = 5\n  On = a, b\nEND"};

std::vector<std::string> onTower(std::initializer_list<std::string> more)
{
  std::vector<std::string> commands = tower;
  commands.insert(commands.end(), more);
  return commands;
}

const std::string towerValues =
    "value /BOX:a Beside = \nvalue /BOX:a On = \nvalue /BOX:a Size = 1\n"
    "value /BOX:b Beside = a\nvalue /BOX:b On = a\nvalue /BOX:b Size = 1\n"
    "value /BOX:c Beside = \nvalue /BOX:c On = a, b\nvalue /BOX:c Size = 5\n";

TEST(Watch, ChangesOfEachCommandInOrder)
{
  EXPECT_EQ(watch({"--trace", "changes"},
                  onTower({"BOX: a\n  Size = 2\n  Size = 3\nEND\nMARK: m\nEND",
                           "BOX: a\n  Size = 3\nEND",  // says nothing new
                           "> delete a", "> undo", "BOX: c\n  Size = 6\n  Colour = red\nEND"})),
            (Outcome{1, "",
                     towerValues + "value /BOX:a Size = 3\n"
                         + "deleted /BOX:a\nvalue /BOX:b Beside = \nvalue /BOX:b On = \nvalue /BOX:c On = b\n"
                         + "value /BOX:a Beside = \nvalue /BOX:a On = \nvalue /BOX:a Size = 3\n"
                           "value /BOX:b Beside = a\nvalue /BOX:b On = a\nvalue /BOX:c On = a, b\n"
                         + "error[4] DataKSLObject::setValue: Parameter 'Colour' is not recognized on object "
                           "'/BOX:c'.\nrolled back 1 changes\nvalue /BOX:c Size = 5\n"}));
}

TEST(Watch, RemovedParameters)
{
  EXPECT_EQ(watch({"--trace=changes"}, {"NOTE: n\nEND", "NOTE: n\n  Text = new\nEND", "> undo"}),
            (Outcome{0, "",
                     "value /NOTE:n Text = \nvalue /NOTE:n Text = new\n"
                     // It gets its default first.
                     "value /NOTE:n Text = \nremoved /NOTE:n Text\n"}));
}

TEST(Watch, WhatIsRecalculatedAndWhy)
{
  EXPECT_EQ(watch({"--trace=graph"}, onTower({"BOX: b\n  Size = 7\nEND",
                                              "BOX: a\n  Size = 8\nEND\nBOX: c\n  Size = 8\n  On = b\nEND",
                                              "NOTE: n\n  Text = new\nEND", "> delete a",
                                              "BOX: c\n  On = d\nEND\nBOX: d\nEND", "> forceupdate d"})),
            (Outcome{0, "",
                     "calculated /BOX:a (Make): new; N ms\ncalculated /BOX:a (Paint): new; N ms\n"
                     "calculated /BOX:b (Make): new; N ms\ncalculated /BOX:b (Paint): new; N ms\n"
                     "calculated /BOX:c (Make): new; N ms\ncalculated /BOX:c (Paint): new; N ms\n"
                     // b grows: a stays as it is
                     "calculated /BOX:b (Make): parameter Size; N ms\n"
                     "calculated /BOX:b (Paint): parent /BOX:b (Make); N ms\n"
                     "calculated /BOX:c (Make): parent /BOX:b (Paint); N ms\n"
                     "calculated /BOX:c (Paint): parent /BOX:c (Make); N ms\n"
                     // a and c: c waits for a and b, and is made once
                     "calculated /BOX:a (Make): parameter Size; N ms\n"
                     "calculated /BOX:a (Paint): parent /BOX:a (Make); N ms\n"
                     "calculated /BOX:b (Make): parent /BOX:a (Paint); N ms\n"
                     "calculated /BOX:b (Paint): parent /BOX:b (Make); N ms\n"
                     "calculated /BOX:c (Make): parameter Size, parameter On, parent /BOX:b (Paint); N ms\n"
                     "calculated /BOX:c (Paint): parent /BOX:c (Make); N ms\n"
                     // a goes, so b loses it
                     "calculated /BOX:b (Make): parameter Beside, parameter On; N ms\n"
                     "calculated /BOX:b (Paint): parent /BOX:b (Make); N ms\n"
                     "calculated /BOX:c (Make): parent /BOX:b (Paint); N ms\n"
                     "calculated /BOX:c (Paint): parent /BOX:c (Make); N ms\n"
                     // c is set before there is a d, and linked when there is: one reason
                     "calculated /BOX:d (Make): new; N ms\n"
                     "calculated /BOX:d (Paint): new; N ms\n"
                     "calculated /BOX:c (Make): parameter On; N ms\n"
                     "calculated /BOX:c (Paint): parent /BOX:c (Make); N ms\n"
                     "calculated /BOX:d (Make): request; N ms\n"
                     "calculated /BOX:d (Paint): parent /BOX:d (Make); N ms\n"
                     "calculated /BOX:c (Make): parent /BOX:d (Paint); N ms\n"
                     "calculated /BOX:c (Paint): parent /BOX:c (Make); N ms\n"}));
}

TEST(Watch, TimingsCountWhatIsTraced)
{
  const std::vector<std::string> commands =
      onTower({"BOX: b\n  Size = 7\nEND", "MARK: m\nEND", "BOX: a\nEND", "> delete b", "> undo"});
  EXPECT_EQ(watch({"--timings"}, commands),
            (Outcome{0, "",
                     "6 changed, 4 recalculated, N ms\n3 changed, 2 recalculated, N ms\n"
                     "1 changed, 4 recalculated, N ms\n1 changed, 0 recalculated, N ms\n"
                     "0 changed, 0 recalculated, N ms\n2 changed, 2 recalculated, N ms\n"
                     "4 changed, 4 recalculated, N ms\n"}));
  EXPECT_EQ(watch({"--timings", "--trace", "changes,graph", "--trace=notify"}, {"BOX: a\nEND"}),
            (Outcome{0, "",
                     "notify 0\nnotify 4\ncalculated /BOX:a (Make): new; N ms\n"
                     "calculated /BOX:a (Paint): new; N ms\nnotify 5\nnotify 16\nnotify 1\n"
                     "value /BOX:a Beside = \nvalue /BOX:a On = \nvalue /BOX:a Size = 1\n"
                     "3 changed, 2 recalculated, N ms\n"}));
}

}  // namespace
