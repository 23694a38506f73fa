#include "platform/ORVDynamicLoader.h"

#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

using namespace orv;
using testing::AllOf;
using testing::HasSubstr;

namespace {

struct DynamicLoaderTest : testing::Test {
  ~DynamicLoaderTest() override
  {
    SharedLibrary::destroyInstance();
    unsetenv("ORV_KSL_PLUGIN_PATH");
  }

  // Why there is no such function.
  std::string refusal(const std::string& library, const std::string& function)
  {
    EXPECT_EQ(SharedLibrary::instance()->getInstance(library, function), nullptr);
    return SharedLibrary::instance()->getLastError();
  }
};

TEST_F(DynamicLoaderTest, MissingLibraryIsExplained)
{
  setenv("ORV_KSL_PLUGIN_PATH", "first::second", 1);
  const std::string library = std::string("libnone") + SHLIBEXT;
  EXPECT_THAT(refusal(library, "f"),
              AllOf(HasSubstr("'libnone.so'"), HasSubstr(" Looked for in 'first', 'second', '/"),
                    HasSubstr("No such file or directory")));
  EXPECT_EQ(refusal("", "f"), "Calculate library has no name.");
}

TEST_F(DynamicLoaderTest, OnlyTheLibrarysOwnFunctionsAreTaken)
{
  EXPECT_THAT(refusal("libm.so.6", "noSuchFunction"),
              AllOf(HasSubstr("'noSuchFunction'"), HasSubstr("'libm.so.6'")));
  EXPECT_THAT(refusal("libm.so.6", "exit"), HasSubstr("defined in another library"));
}

TEST_F(DynamicLoaderTest, FoldersOfThePathComeBeforeTheSystems)
{
  const std::string folder = testing::TempDir() + "orv_loader";
  std::filesystem::create_directories(folder);
  std::filesystem::create_symlink("/dev/null", folder + "/libm.so.6");
  setenv("ORV_KSL_PLUGIN_PATH", ("none:" + folder).c_str(), 1);
  EXPECT_THAT(refusal("libm.so.6", "f"), HasSubstr(folder + "/libm.so.6: file too short"));
  std::filesystem::remove_all(folder);
  EXPECT_THAT(refusal("libm.so.6", "f"), HasSubstr("undefined symbol: f"));  // a failure is not remembered
}

}  // namespace
