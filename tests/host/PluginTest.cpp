// Calculate libraries of one's own, as docs/plugins.md describes them.
#include "Process.h"

#include <cstdlib>
#include <filesystem>
#include <gtest/gtest.h>
#include <sstream>

namespace {

std::string replaced(std::string text, const std::string& from, const std::string& to)
{
  const std::size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  return at == std::string::npos ? text : text.replace(at, from.size(), to);
}

// The documented line, and the documented sources.
std::string compileLine()
{
  std::istringstream document(readFile(sourceDir() + "/docs/plugins.md"));
  std::string line;
  while (std::getline(document, line)) {
    if (line.find("-shared") != std::string::npos)
      return line;
  }
  return {};
}

const std::string rings = "RING: a\n  Inner Radius = 0 [m]\nEND\n";
const Outcome ringState{
    0, "RING:a\n  Area = 12.566370614359172 [m^2]\n  Inner Radius = 0 [m]\n  Outer Radius = 2 [m]\nEND\n",
    ""};

TEST(Plugin, TheSmallestIsWhatTheDocumentShows)
{
  const std::string document = readFile(sourceDir() + "/docs/plugins.md");
  for (const char* file : {"smallest.cpp", "rings.ksl"})
    EXPECT_NE(document.find("\n" + readFile(sourceDir() + "/plugins/smallest/" + file) + "```"),
              std::string::npos)
        << file;
  const std::string rules = sourceDir() + "/plugins/smallest/rings.ksl";
  EXPECT_EQ(ksl({"run", "--library", rules, "-e", rings, "--state"}), ringState);
}

TEST(Plugin, TheDocumentedLineBuildsOneThatIsFoundByThePath)
{
  // Under another name, or the one that the build has made would be found as well.
  const std::string rules = makeFile(
      "own/rings.ksl",
      replaced(readFile(sourceDir() + "/plugins/smallest/rings.ksl"), "Size, smallest,", "Size, own,"));
  const std::string folder = std::filesystem::path(rules).parent_path();
  std::string line = replaced(compileLine(), "PREFIX/include/orvksl",
                              "'" + sourceDir() + "' -I '" + sourceDir() + "/KSLCore/include'");
  line = replaced(replaced(line, "libsmallest.so", "'" + folder + "/libown.so'"), "smallest.cpp",
                  "'" + sourceDir() + "/plugins/smallest/smallest.cpp'");
  ASSERT_EQ(std::system(line.c_str()), 0) << line;

  const std::vector<std::string> arguments{"run", "--library", rules, "-e", rings, "--state"};
  setenv("ORV_KSL_PLUGIN_PATH", folder.c_str(), 1);
  const Outcome found = ksl(arguments);
  unsetenv("ORV_KSL_PLUGIN_PATH");
  EXPECT_EQ(found, ringState);

  // Nowhere: what, where, and what the loader says; then the error, and the object is gone again.
  const Outcome missing = ksl(arguments);
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.out, "");
  std::istringstream err(missing.err);
  std::string warning;
  std::string error;
  std::string rest;
  std::getline(err, warning);
  std::getline(err, error);
  std::getline(err, rest);
  EXPECT_EQ(
      warning.find("warning[8] GenericKSLObject::calculate: Calculate library 'libown.so' not loaded: "
                   "libown.so: cannot open shared object file: No such file or directory. Looked for in '"),
      0u)
      << warning;
  EXPECT_NE(warning.find("/orvksl' and the system's places."), std::string::npos) << warning;
  EXPECT_EQ(error,
            "error[4] GenericKSLObject::calculate: Calculate function 'ringArea' in library 'libown.so' for "
            "object type 'RING' was not found.");
  EXPECT_EQ(rest.find("rolled back "), 0u);
}

TEST(Plugin, AMissingFunctionIsTold)
{
  const std::string rules =
      makeFile("function.ksl",
               replaced(readFile(sourceDir() + "/plugins/smallest/rings.ksl"), "ringArea", "ringWeight"));
  const Outcome outcome = ksl({"run", "--library", rules, "-e", rings, "--state"});
  EXPECT_NE(outcome.err.find("Function 'ringWeight' not found in calculate library 'libsmallest.so': "),
            std::string::npos)
      << outcome.err;
  EXPECT_NE(
      outcome.err.find("error[4] GenericKSLObject::calculate: Calculate function 'ringWeight' in library "
                       "'libsmallest.so' for object type 'RING' was not found.\n"),
      std::string::npos)
      << outcome.err;
}

}  // namespace
