// "ksl sweep": the table that people see, and its exit status.
#include "Process.h"

#include <gtest/gtest.h>

namespace {

TEST(SweepCommand, TableAndStatus)
{
  const std::string model = makeFile("model.ksl", "CUT: a\n  Offset = 1 [m]\nEND\n");
  const auto sweep = [&](const Arguments& more) {
    Arguments arguments{"sweep", model, "-j", "2"};
    arguments.insert(arguments.end(), more.begin(), more.end());
    return ksl(arguments);
  };
  EXPECT_EQ(sweep({"--set", "a.Offset=0..1/3 [m]", "--show", "/CUT:a.Offset"}),
            (Outcome{0, "a.Offset [m],/CUT:a.Offset [m],files,errors\n0,0,,\n0.5,0.5,,\n1,1,,\n", ""}));
  EXPECT_EQ(sweep({"--set", "a.Axis=X, none", "--show", "a.Axis", "--json"}),
            (Outcome{1,
                     "[\n  {\"a.Axis\": \"X\", \"files\": [], \"errors\": []},\n"
                     "  {\"a.Axis\": \"none\", \"files\": [], \"errors\": [\"error[4] "
                     "ParamDefinition::setValue: Parameter 'Axis' cannot have value 'none'.\"]}\n]\n",
                     "text:2:10: error[4]: Parameter 'Axis' cannot have value 'none'.\n  2 |   Axis = none\n"
                     "    |          ^~~~ allowed: X, Y, Z\n  object /CUT:a\n"}));
  EXPECT_EQ(sweep({"--set", "b.Axis=X"}), (Outcome{1, "", "ksl: error[4]: Object 'b' does not exist.\n"}));
  EXPECT_EQ(sweep({}).status, 2);
}

}  // namespace
