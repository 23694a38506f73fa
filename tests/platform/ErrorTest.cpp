#include "platform/ORVError.h"
#include "platform/ORVException.h"

#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

using namespace orv;

namespace {

TEST(FormatMessage, ArgumentsArePutInAsWhatTheyAre)
{
  const struct {
    std::string made;
    std::string expected;
  } cases[] = {
      {_("%s %s %s %s %s", "a", std::string("text"), 7, 2.5, 'c'), "a text 7 2.5 c"},
      {_("%d", std::numeric_limits<std::uint64_t>::max()), "18446744073709551615"},
      {_("%.2f %.0f %f %.3e", 2.345678, 2.0, 3, 12345.678), "2.35 2 3.000000 1.235e+04"},
      {_("%s %d %x", 1.0 / 3, 2.5, 255), "0.3333333333333333 2.5 ff"},
      {_("[%5s|%-5s|%.2s]", "ab", "ab", "abc"), "[   ab|ab   |ab]"},
      {_("[%05d|%5d|%-5d|%+d|% d|%05d]", 42, 42, 42, 42, 42, -42), "[00042|   42|42   |+42| 42|-0042]"},
      {_("%s", static_cast<const char*>(nullptr)), "(null)"},
      // formats and arguments that do not match
      {_("%s and %s", "100% %s%n"), "100% %s%n and %s"},
      {_("50%% of %s%%", "x"), "50% of x%"},
      {_("%n %* %", 1), "%n %* %"},
      {_(std::string_view("%\0s", 3), 1), std::string("%\0s", 3)},
  };
  for (const auto& row : cases)
    EXPECT_EQ(row.made, row.expected);
  EXPECT_EQ(_("%.1f", 1e300).size(), 303U);
  EXPECT_EQ(_("%99999999999999999999d", 1).size(), 4096U);
}

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
  reporter->reportError(ErrorMsg("C", "f", "One\n\ntwo\n", 8));
  reporter->reportError(ErrorMsg("", "", "Alone", 1));
  reporter->inform("not told");
  EXPECT_FALSE(reporter->setVerbose(true));
  reporter->inform("told");
  EXPECT_EQ(sink.told, (std::vector<std::string>{"error[4] C::f: m", "warning[8] C::f: One\n  \n  two",
                                                 "error[1] Alone", "told"}));

  reporter->setSink(nullptr);
  testing::internal::CaptureStderr();
  reporter->reportError(ErrorMsg("C", "f", "m", 32));
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "error[32] C::f: m\n");

  ErrorProgressReporter::destroyInstance();
  EXPECT_FALSE(ErrorProgressReporter::instance()->isVerbose());
  ErrorProgressReporter::destroyInstance();
}

// What is no character becomes the replacement character, and what follows is kept.
TEST(Exception, WideMessageIsKeptAsUtf8)
{
  const std::wstring lone = {L'\u00e9', L'\u20ac', L'\U0001F600', static_cast<wchar_t>(0xD800), L'x'};
  EXPECT_EQ(ksl::error("C", "f", lone).getMessage(), "\xc3\xa9\xe2\x82\xac\xf0\x9f\x98\x80\xef\xbf\xbdx");
}

TEST(Exception, AMessageIsNeverFormattedAgain)
{
  const data::duplicate error("C", "f", "100% %s", errorType::warning);
  EXPECT_EQ(ErrorMsg(error), ErrorMsg("C", "f", "100% %s", 8));
  EXPECT_STREQ(error.what(), "100% %s");
}

}  // namespace
