#include "platform/ORVError.h"
#include "platform/ORVSystem.h"

#include <cerrno>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

using namespace orv;
using testing::ElementsAre;
using Mode = ORVStream::Mode;

namespace {

// A folder of its own for each test, gone after it.
struct SystemTest : testing::Test {
  SystemTest()
  {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
  }
  ~SystemTest() override { std::filesystem::remove_all(folder); }

  std::string made(const std::string& name, const std::string& contents)
  {
    ORVStream stream;
    stream.open(folder + name, Mode::write);
    stream.write(contents);
    stream.close();
    return folder + name;
  }

  const std::string folder = testing::TempDir() + "orv_system_"
                             + testing::UnitTest::GetInstance()->current_test_info()->name() + "/";
};

template <class Call>
ErrorMsg failureOf(Call call)
{
  try {
    call();
  } catch (const file::error& error) {
    return ErrorMsg(error);
  }
  return {};
}

TEST_F(SystemTest, WritesAppendsAndReads)
{
  const std::string name = made("a.ksl", "one\r\ntwo\n");
  ORVStream stream;
  stream.open(name, Mode::append);
  stream.write("\nthr\ree");
  stream.flush();
  EXPECT_THAT(ORVFile::readLines(name), ElementsAre("one", "two", "", "thr\ree"));
  EXPECT_EQ(ORVFile::readAll(name), "one\ntwo\n\nthr\ree");

  stream.open(name, Mode::read);  // closes what was open
  std::string line;
  EXPECT_TRUE(stream.readLine(line));
  EXPECT_EQ(line, "one");
  EXPECT_THAT(stream.readLines(), ElementsAre("two", "", "thr\ree"));
  EXPECT_FALSE(stream.readLine(line));
  stream.open(made("empty", ""), Mode::read);  // usable again after an end of file
  EXPECT_FALSE(stream.readLine(line));
  EXPECT_TRUE(ORVFile::readLines(folder + "empty").empty());
  const std::string large(300000, 'x');
  EXPECT_EQ(ORVFile::readAll(made("large", large)), large);
}

TEST_F(SystemTest, FailuresNameTheFileAndTheReason)
{
  const std::string missing = folder + "none/x";
  ORVStream stream;
  std::string line;
  const std::string noSuchFile = Error::getSystemError(ENOENT);
  EXPECT_EQ(failureOf([&] { stream.open(missing, Mode::write); }),
            ErrorMsg("ORVStream", "open", "Cannot open file '" + missing + "': " + noSuchFile + ".", 4));
  EXPECT_EQ(failureOf([&] { ORVFile::readAll(missing); }),
            ErrorMsg("ORVFile", "readAll", "Cannot read file '" + missing + "': " + noSuchFile + ".", 4));
  EXPECT_EQ(
      failureOf([&] { ORVFile::listFiles(missing, ""); }),
      ErrorMsg("ORVFile", "listFiles", "Cannot read directory '" + missing + "': " + noSuchFile + ".", 4));
  const std::string aDirectory = "Cannot read file '" + folder + "': " + Error::getSystemError(EISDIR) + ".";
  EXPECT_EQ(failureOf([&] { ORVFile::readAll(folder); }), ErrorMsg("ORVFile", "readAll", aDirectory, 4));
  stream.open(folder, Mode::read);
  EXPECT_EQ(failureOf([&] { stream.readLine(line); }), ErrorMsg("ORVStream", "readLine", aDirectory, 4));
  stream.close();
  EXPECT_EQ(failureOf([&] { stream.write("x"); }).getFunction(), "write");
  EXPECT_EQ(failureOf([&] { stream.readLine(line); }).getFunction(), "readLine");
}

TEST(ORVStream, FullDiskIsTold)
{
  const ErrorMsg full("ORVStream", "write",
                      "Cannot write file '/dev/full': " + Error::getSystemError(ENOSPC) + ".", 4);
  ORVStream stream;
  for (const std::size_t size : {1000000u, 1u}) {
    stream.open("/dev/full", Mode::write);
    EXPECT_EQ(failureOf([&] { stream.write(std::string(size, 'x')); }), full) << "at once";
    EXPECT_EQ(failureOf([&] { stream.flush(); }).getFunction(), "write");
    EXPECT_EQ(failureOf([&] { stream.close(); }).getFunction(), "write");
    EXPECT_FALSE(stream.isOpen());
  }
}

TEST_F(SystemTest, ListsFilesInNameOrder)
{
  for (const char* name : {"b.ksl", "a.ksl", "B.ksl", "a.ksl~", "c.txt", ".ksl"})
    made(name, "");
  std::filesystem::create_directory(folder + "d.ksl");
  std::filesystem::create_symlink(folder + "nowhere", folder + "e.ksl");
  const auto expected = ElementsAre(folder + ".ksl", folder + "B.ksl", folder + "a.ksl", folder + "b.ksl");
  EXPECT_THAT(ORVFile::listFiles(folder, ".ksl"), expected);
  EXPECT_THAT(ORVFile::listFiles(folder.substr(0, folder.size() - 1), ".ksl"), expected);
  EXPECT_TRUE(ORVFile::exists(folder + "a.ksl") && ORVFile::isDirectory(folder));
  EXPECT_FALSE(ORVFile::exists(folder + "x") || ORVFile::isDirectory(folder + "a.ksl"));
}

TEST(ORVFile, NamesAndPaths)
{
  const struct {
    const char* file;
    const char* path;
    const char* name;
  } cases[] = {
      {"a/b/c.ksl", "a/b", "c.ksl"}, {"c.ksl", ".", "c.ksl"}, {"/c", "/", "c"},
      {"a\\b/c\\d", "a\\b/c", "d"},  {"a/", "a", ""},
  };
  for (const auto& row : cases) {
    EXPECT_EQ(ORVFile::getPath(row.file), row.path);
    EXPECT_EQ(ORVFile::getFilename(row.file), row.name);
  }
}

}  // namespace
