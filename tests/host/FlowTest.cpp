// The demo's calculations: what they find is what the formulas say.
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "services/EngineUnitSystemHandler.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/ExpressionsKSLObject.h"
#include "services/UnitsKSLObject.h"
#include "Process.h"
#include "tests/support/TestSystem.h"

#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <numbers>
#include <set>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;

constexpr const char* wind =
    "DATA READER:\nCurrent Results File = any.res\nEND\nDOMAIN: Wind Tunnel\n"
    "BOUNDARY: Inflow\nBoundary Type = Inlet\nInlet Speed = 10 [m s^-1]\nEND\n"
    "BOUNDARY: Outflow\nBoundary Type = Outlet\nEND\nBOUNDARY: Cylinder\nEND\nEND\n";

std::string demoRules()
{
  const fs::directory_iterator all(sourceDir() + "/share/ksl");
  std::string rules;
  for (const fs::path& file : std::set<fs::path>(begin(all), end(all)))
    rules += readFile(file);
  using namespace orv::StringUtilities;
  return vectorToString(removeContinuation(stringToVector(rules, '\n')), '\n');
}

class FlowTest : public testing::Test {
 protected:
  FlowTest() { system.run(wind); }
  ~FlowTest() override { EXPECT_EQ(system.errors(), ""); }

  static std::vector<double> numbers(const std::string& path, const std::string& name)
  {
    const orv::KSLObject* object = orv::ObjectDB::instance()->getObjectByPath(path);
    if (!object)
      throw std::runtime_error("no " + path);
    std::vector<double> values;
    for (const std::string& item : object->lookUpParam(name)->splitValue())
      values.push_back(std::stod(item));
    return values;
  }
  struct Classes {
    Classes()
    {
      orv::GenericKSLObject::registerBaseType();
      orv::UnitsKSLObject::registerBaseType();
      orv::ExpressionsKSLObject::registerBaseType();
      orv::ExpressionEvaluatorKSLObject::registerBaseType();
    }
    ~Classes() { orv::EngineUnitSystemHandler::destroyInstance(); }
  };
  Classes classes;  // before the rules that name them
  orv::TestSystem system{demoRules()};
};

TEST_F(FlowTest, ObjectsFindWhatTheFormulasSay)
{
  constexpr double hole = std::numbers::pi / 4;
  const struct {
    std::string path;
    const char* text;  // of the object, defined anew
    const char* parameter;
    double expected;
    double tolerance = 0;  // relative
  } rows[] = {
      {"CUT:c", "Axis = Z", "Area", 8 * 5 - hole, 0.002},
      {"CUT:b", "Axis = X\nOffset = 2 [m]", "Area", 5, 1e-9},
      {"CUT:a", "Axis = X\nOffset = 30 [cm]", "Area", 5 - 0.8, 0.002},  // through the cylinder, along it
      {"CUT:a", "Option = Point and Normal\nNormal = 0, 0, -2\nClip Shape = Circle\nClip Radius = 2 [m]",
       "Area", 4 * hole * 4 - hole, 0.002},
      {"CUT:a", "Option = Three Points\nPoint 2 = 0 [m], 1 [m], 1 [m]\nPoint 3 = 1 [m], 0 [m], 0 [m]", "Area",
       (8 * 1 - hole) * std::sqrt(2), 0.002},  // at 45 degrees
      // The axes; nowhere.
      {"LEVEL SURFACE:a", "Variable = Velocity Y\nValue = 0 [m s^-1]", "Area", 7 + 4, 0.001},
      {"BAND:a", "Location = c\nVariable = Pressure", "Maximum", 60},
      {"BAND:a", "Location = /CUT:b\nVariable = Speed\nRange Mode = Local", "Minimum", 10 * (1 - 0.25 / 4),
       1e-9},  // on the axis
  };
  for (const auto& [path, text, parameter, expected, tolerance] : rows) {
    system.run("&replace " + path + "\n" + text + "\nEND\n");
    EXPECT_NEAR(numbers("/" + path, parameter).at(0), expected, tolerance * std::abs(expected))
        << path << " " << text << " " << parameter;
  }
}

class PictureTest : public FlowTest {
 protected:
  PictureTest()
  {
    system.run(
        "CUT: Mid\nAxis = Z\nEND\nCUT: Other\nAxis = X\nOffset = 2 [m]\nEND\n"
        "BAND: B\nLocation = Mid\nVariable = Speed\nEND\nARROW: A\nLocation = Mid\nEND\n"
        "PROBE: P\nPoint = -0.5 [m], 0 [m], 0 [m]\nLabel = \"<&\xff>\"\nEND\n"
        "SHOT: S\nProjection = Parallel\nPicture List = B, A, P\nOutput File = "
        + file + "\nCAPTION: Title\nText = T\nEND\nEND\n");
  }
  const std::string file = makeFile("picture/shot.svg", "");
};

TEST_F(PictureTest, WhatCannotBeComputedIsToldAndTakenBack)
{
  const std::string before = readFile(file);
  const fs::path folder = fs::path(file).parent_path();
  fs::create_directory(folder / "taken");
  const std::tuple<std::string, std::string, std::string> faults[] = {
      {"BAND: B\nVariable = Colour", "findVariable", "Variable 'Colour' is not in the results."},
      {"CUT: Mid\nOption = Point and Normal\nNormal = 0, 0, 0", "makeCut",
       "Cut '/CUT:Mid' has no plane: its points lie on a line or its normal has no length."},
      {"BAND: B\nLocation = P", "locationOf",
       "'/BAND:B' can only be painted on cuts, and '/PROBE:P' is none."},
      {"SHOT: S\nEye Point = 0 [m], 0 [m], 0 [m]", "Camera",
       "Shot '/SHOT:S' looks nowhere: its eye point, or its up direction, and what it looks at are in line."},
      {"SHOT: S\nBackground = plaid", "readColour", "Colour 'plaid' is not known."},
      {"DOMAIN: Wind Tunnel\nFluid = Tea", "readDomain", "Density of fluid 'Tea' is not known."},
  };
  for (const auto& [text, function, message] : faults) {
    system.run(text + "\nEND\n");
    EXPECT_EQ(system.errors(), "error[4] FlowLibrary::" + function + ": " + message);
    EXPECT_EQ(readFile(file), before) << text;
  }
  const std::string taken = (folder / "taken").string();
  system.run("SHOT: S\nOutput File = " + taken + "\nEND\n");
  EXPECT_EQ(system.errors(), "error[4] ORVFile::replace: Cannot write file '" + taken + "': Is a directory.");
  fs::remove(taken);
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1)
      << "nothing half-done";
}

}  // namespace
