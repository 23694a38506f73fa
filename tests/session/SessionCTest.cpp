// The session in C.
#include "session/Session.h"

#include <gtest/gtest.h>

extern "C" int checkSession(const char* library, const char* noLibrary);

namespace {

TEST(SessionC, IsTheSameInC)
{
  EXPECT_EQ(checkSession(orv::Session::installedLibrary().c_str(), "/nowhere.ksl"), 0)
      << "the line of sessionC.c";
}

}  // namespace
