#include "platform/ORVApplicationSupport.h"

#include <gtest/gtest.h>

using namespace orv;

TEST(Preferences, LastAsLongAsTheInstance)
{
  Preferences::instance()->setValue("Units", "");
  EXPECT_EQ(Preferences::instance()->getValue("Units", "SI"), "");  // an empty value is a value
  EXPECT_EQ(Preferences::instance()->getValue("Viewer", "none"), "none");
  EXPECT_FALSE(Preferences::instance()->hasValue("Viewer"));
  Preferences::destroyInstance();
  EXPECT_FALSE(Preferences::instance()->hasValue("Units"));
  Preferences::destroyInstance();
}
