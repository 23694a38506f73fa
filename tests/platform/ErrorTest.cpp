#include "platform/ORVError.h"

#include <clocale>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

using namespace orv;

namespace {

TEST(FormatMessage, ArgumentsArePutInAsWhatTheyAre)
{
  const std::string text = "text";
  const struct {
    std::string made;
    std::string expected;
  } cases[] = {
      {_("%s and %s", "a", text), "a and text"},
      {_("%s %s %s", 7, 2.5, 'c'), "7 2.5 c"},
      {_("%d %f %c", "text", "more", 12), "text more 12"},
      {_("%d%i%u%ld%zu%lld", 1, -2, 3U, 4L, std::size_t{5}, 6LL), "1-23456"},
      {_("%d", std::numeric_limits<std::uint64_t>::max()), "18446744073709551615"},
      {_("%d", std::numeric_limits<std::int64_t>::min()), "-9223372036854775808"},
      {_("%g %g %g", 0.1, 1e21, 1234567.0), "0.1 1e+21 1.23457e+06"},
      {_("%.2f %.0f %f", 2.345678, 2.0, 3), "2.35 2 3.000000"},
      {_("%.3e", 12345.678), "1.235e+04"},
      {_("%s", 1.0 / 3), "0.3333333333333333"},
      {_("%d", 2.5), "2.5"},
      {_("[%5s|%-5s|%.2s]", "ab", "ab", "abc"), "[   ab|ab   |ab]"},
      {_("[%05d|%5d|%-5d|%+d|% d|%05d]", 42, 42, 42, 42, 42, -42), "[00042|   42|42   |+42| 42|-0042]"},
      {_("%x", 255), "ff"},
      {_("%s", static_cast<const char*>(nullptr)), "(null)"},
  };
  for (const auto& row : cases)
    EXPECT_EQ(row.made, row.expected);
}

TEST(FormatMessage, FormatsAndArgumentsThatDoNotMatch)
{
  EXPECT_EQ(_("%s", "100% %s%n"), "100% %s%n");
  EXPECT_EQ(_("%s and %s", "one"), "one and %s");
  EXPECT_EQ(_("%5.2f"), "%5.2f");
  EXPECT_EQ(_("none", 1, 2), "none");
  EXPECT_EQ(_("$1 %s $2", "x"), "$1 x $2");
  EXPECT_EQ(_("50%% of %s%%", "x"), "50% of x%");
  EXPECT_EQ(_("%n %* %", 1), "%n %* %");
  EXPECT_EQ(_(std::string_view("%\0s", 3), 1), std::string("%\0s", 3));
  EXPECT_EQ(_("%s", std::string(100000, 'x')).size(), 100000U);
  EXPECT_EQ(_("%.1f", 1e300).size(), 303U);
  EXPECT_EQ(_("%99999999999999999999d", 1).size(), 4096U);
}

TEST(ErrorMsg, TextForPeople)
{
  EXPECT_EQ(toText(ErrorMsg("KSLAPI", "load", "Bad line.", 4)), "error[4] KSLAPI::load: Bad line.");
  EXPECT_EQ(toText(ErrorMsg("C", "f", "One\n\ntwo\n", 8)), "warning[8] C::f: One\n  \n  two");
  EXPECT_EQ(toText(ErrorMsg("", "", "Alone", 1)), "error[1] Alone");
}

class FailingSink : public ErrorSink {
 public:
  void report(const ErrorMsg&) override { throw std::runtime_error("sink"); }
  void inform(std::string_view) override { throw std::runtime_error("sink"); }
};

class TextSink : public ErrorSink {
 public:
  void report(const ErrorMsg& error) override { told.push_back(toText(error)); }
  void inform(std::string_view text) override { told.emplace_back(text); }
  std::vector<std::string> told;
};

TEST(ErrorProgressReporter, TellsItsSinkOrStandardError)
{
  ErrorProgressReporter* const reporter = ErrorProgressReporter::instance();
  TextSink sink;
  EXPECT_EQ(reporter->setSink(&sink), nullptr);
  reporter->reportError(data::invalid("C", "f", "m"));
  reporter->inform("not told");
  EXPECT_FALSE(reporter->setVerbose(true));
  reporter->inform("told");
  EXPECT_EQ(sink.told, (std::vector<std::string>{"error[4] C::f: m", "told"}));

  FailingSink failing;
  EXPECT_EQ(reporter->setSink(&failing), &sink);
  reporter->reportError(ErrorMsg("C", "f", "m", 4));
  reporter->inform("told");

  reporter->setSink(nullptr);
  testing::internal::CaptureStderr();
  reporter->reportError(ErrorMsg("C", "f", "m", 32));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "error[32] C::f: m\n");

  ErrorProgressReporter::destroyInstance();
  EXPECT_FALSE(ErrorProgressReporter::instance()->isVerbose());
  ErrorProgressReporter::destroyInstance();
}

}  // namespace
