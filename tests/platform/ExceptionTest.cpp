#include "platform/ORVError.h"
#include "platform/ORVException.h"

#include <gtest/gtest.h>
#include <stdexcept>
#include <string>
#include <type_traits>

using namespace orv;

namespace {

TEST(Exception, WideMessageIsKeptAsUtf8)
{
  const auto message = [](const std::wstring& text) { return ksl::error("C", "f", text).getMessage(); };
  EXPECT_EQ(message(L"a\u00e9\u20ac"), "a\xc3\xa9\xe2\x82\xac");
  EXPECT_EQ(message(L"\U0001F600"), "\xf0\x9f\x98\x80");
  // What is no character becomes the replacement character, and what follows is kept.
  const std::wstring lone = {static_cast<wchar_t>(0xD800), L'x'};
  EXPECT_EQ(message(lone), "\xef\xbf\xbdx");
}

template <class Thrown, class Caught>
constexpr bool caughtAs = std::is_convertible_v<Thrown*, Caught*>;

TEST(Exception, HandlersSeeTheHierarchyTheyNeed)
{
  static_assert(
      caughtAs<internal::nullPointer, internal::error> && caughtAs<internal::badParam, internal::error>);
  static_assert(caughtAs<data::notFound, data::error> && caughtAs<ksl::cyclicRef, ksl::error>);
  static_assert(caughtAs<Interrupt, Error> && !caughtAs<Unwind, Error>);
  try {
    throw data::duplicate("C", "f", "100% %s", errorType::warning);
  } catch (const Error& error) {
    EXPECT_EQ(ErrorMsg(error), ErrorMsg("C", "f", "100% %s", 8));  // a message is never formatted again
    EXPECT_STREQ(error.what(), "100% %s");
  }
}

std::string told;

TEST(Exception, BrokenAssumptionIsToldAndTheProgramGoesOn)
{
  const auto before = setAssertionHandler([](std::string_view text, std::string_view source) {
    told = std::string(text) + "|" + std::string(source);
  });
  EXPECT_TRUE(assertThat(true, "fine", "here"));
  EXPECT_EQ(told, "");
  EXPECT_FALSE(assertThat(false, "m_depth > 0", "KSLCore/src/Executive"));
  EXPECT_EQ(told, "m_depth > 0|KSLCore/src/Executive");

  setAssertionHandler([](std::string_view, std::string_view) { throw std::runtime_error("handler"); });
  EXPECT_FALSE(assertThat(false, "text", "source"));

  setAssertionHandler(nullptr);
  testing::internal::CaptureStderr();
  reportAssertion("text", "source");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Assertion failed: text (source)\n");
  setAssertionHandler(before);
}

}  // namespace
