// Files, folders, and libraries that are loaded while the program runs.
#include "platform/ORVDynamicLoader.h"
#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "tests/support/TempFolder.h"
#include "tests/support/thrown.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

using namespace orv;
using testing::AllOf;
using testing::HasSubstr;
using Mode = ORVStream::Mode;

namespace {

TEST(ORVStream, FailuresNameTheFileAndTheReason)
{
  const TempFolder folder;
  const std::string missing = folder / "none/x";
  ORVStream stream;
  std::string line;
  const auto failure = [](auto call, const char* function, const std::string& what, int reason) {
    const ErrorMsg error = thrown<file::error>(call);
    EXPECT_EQ(error.getFunction(), function);
    EXPECT_EQ(error.getMessage(), "Cannot " + what + "': " + Error::getSystemError(reason) + ".");
  };
  failure([&] { stream.open(missing, Mode::write); }, "open", "open file '" + missing, ENOENT);
  failure([&] { ORVFile::readAll(missing); }, "readAll", "read file '" + missing, ENOENT);
  failure([&] { ORVFile::listFiles(missing, ""); }, "listFiles", "read directory '" + missing, ENOENT);
  failure([&] { ORVFile::readAll(folder.path()); }, "readAll", "read file '" + folder.path(), EISDIR);
  stream.open(folder.path(), Mode::read);
  failure([&] { stream.readLine(line); }, "readLine", "read file '" + folder.path(), EISDIR);

  for (const std::size_t size : {1000000u, 1u}) {
    stream.open("/dev/full", Mode::write);
    failure([&] { stream.write(std::string(size, 'x')); }, "write", "write file '/dev/full", ENOSPC);
    EXPECT_EQ(thrown<file::error>([&] { stream.flush(); }).getFunction(), "write");
    EXPECT_EQ(thrown<file::error>([&] { stream.close(); }).getFunction(), "write");
    EXPECT_FALSE(stream.isOpen());
  }
}

TEST(Loader, WhatIsMissingIsExplained)
{
  // Why there is no such function.
  const auto refusal = [](const std::string& library, const std::string& function) {
    EXPECT_EQ(SharedLibrary::instance()->getInstance(library, function), nullptr);
    return SharedLibrary::instance()->getLastError();
  };
  const TempFolder folder;
  std::filesystem::create_symlink("/dev/null", folder / "libm.so.6");
  setenv("ORV_KSL_PLUGIN_PATH", ("none:" + folder.path()).c_str(), 1);
  EXPECT_THAT(refusal("libnone.so", "f"),
              AllOf(HasSubstr("'libnone.so'"), HasSubstr(" Looked for in 'none', '" + folder.path()),
                    HasSubstr("No such file or directory")));
  EXPECT_EQ(refusal("", "f"), "Calculate library has no name.");
  EXPECT_THAT(refusal("libm.so.6", "f"), HasSubstr("libm.so.6: file too short"))
      << "folders of the path come before the system's";
  std::filesystem::remove(folder / "libm.so.6");
  EXPECT_THAT(refusal("libm.so.6", "f"), HasSubstr("built without a stamp")) << "a failure is not remembered";
  EXPECT_THAT(refusal("libsmallest.so", "noSuchFunction"),
              AllOf(HasSubstr("'noSuchFunction'"), HasSubstr("'libsmallest.so'")));
  EXPECT_THAT(refusal("libsmallest.so", "exit"), HasSubstr("defined in another library"));
  SharedLibrary::destroyInstance();
  unsetenv("ORV_KSL_PLUGIN_PATH");
}

}  // namespace
