// The demo's calculations: what they find is what the formulas say, and only what depends on a change is found
// anew.
#include "platform/ORVDynamicLoader.h"
#include "database/KSLObject.h"
#include "database/ObjectDB.h"
#include "rules/GenericKSLObject.h"
#include "rules/SchedulerObject.h"
#include "services/EngineUnitSystemHandler.h"
#include "services/ExpressionEvaluatorKSLObject.h"
#include "services/ExpressionsKSLObject.h"
#include "services/UnitsKSLObject.h"
#include "Process.h"
#include "tests/support/TestSystem.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <filesystem>
#include <gtest/gtest.h>
#include <numbers>
#include <set>
#include <stdexcept>

namespace {

namespace fs = std::filesystem;
using orv::KSLObject;
using orv::ObjectDB;

constexpr const char* wind = R"(DATA READER:
  Current Results File = any.res
END
DOMAIN: Wind Tunnel
  BOUNDARY: Inflow
    Boundary Type = Inlet
    Inlet Speed = 10 [m s^-1]
  END
  BOUNDARY: Outflow
    Boundary Type = Outlet
  END
  BOUNDARY: Cylinder
  END
END
)";

std::string demoRules()
{
  std::set<fs::path> files;
  for (const auto& entry : fs::directory_iterator(sourceDir() + "/share/ksl"))
    files.insert(entry.path());
  std::string rules;
  for (const fs::path& file : files)
    rules += readFile(file);
  using namespace orv::StringUtilities;
  return vectorToString(removeContinuation(stringToVector(rules, '\n')), '\n');
}

class Calculated : public orv::SchedulerTrace {
 public:
  Calculated() { orv::SchedulerObject::setTrace(this); }
  ~Calculated() override { orv::SchedulerObject::setTrace(nullptr); }
  void marked(const orv::SchedulerObject&, const orv::SchedulerObject*) noexcept override {}
  void calculated(const orv::SchedulerObject& scheduler, double) noexcept override
  {
    m_all.insert(scheduler.getPath() + " " + scheduler.getType());
  }
  // Since the last call.
  std::multiset<std::string> take() { return std::exchange(m_all, {}); }

 private:
  std::multiset<std::string> m_all;
};

class FlowTest : public testing::Test {
 protected:
  FlowTest() { system.run(wind); }
  ~FlowTest() override { EXPECT_EQ(system.errors(), ""); }

  static const KSLObject& at(const std::string& path)
  {
    const KSLObject* object = ObjectDB::instance()->getObjectByPath(path);
    return object ? *object : throw std::runtime_error("no " + path);
  }
  static double number(const std::string& path, const std::string& name)
  {
    return at(path).getQuantityValue(name).getValue();
  }
  static std::vector<double> numbers(const std::string& path, const std::string& name)
  {
    std::vector<double> values;
    for (const std::string& item : at(path).lookUpParam(name)->splitValue()) {
      double value = NAN;
      std::from_chars(item.data(), item.data() + item.size(), value);
      values.push_back(value);
    }
    return values;
  }
  // What a probe reads at a place, in SI units.
  std::vector<double> probe(double x, double y, const std::string& variables)
  {
    system.run("PROBE: Test\n  Variable List = " + variables + "\n  Point = " + std::to_string(x) + " [m], "
               + std::to_string(y) + " [m], 0 [m]\nEND\n");
    return numbers("/PROBE:Test", "Results");
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

TEST_F(FlowTest, ProbesReadTheFormula)
{
  constexpr double halfRho = 0.6;
  const double diagonal = std::sqrt(0.5);
  // Where the flow stands still, on the shoulders, and twice as far out on the axes and between them.
  EXPECT_EQ(probe(-0.5, 0, "Speed, Pressure, Pressure Coefficient"),
            (std::vector<double>{0, 100 * halfRho, 1}));
  EXPECT_EQ(probe(0.5, 0, "Speed"), std::vector<double>{0});
  EXPECT_EQ(probe(0, -0.5, "Velocity X, Pressure"), (std::vector<double>{20, -300 * halfRho}));
  EXPECT_EQ(probe(-1, 0, "Velocity X, Velocity Y"), (std::vector<double>{7.5, 0}));
  EXPECT_EQ(probe(0, 1, "Speed, Stream Function"), (std::vector<double>{12.5, 7.5}));
  EXPECT_NEAR(probe(-0.353553, 0.353553, "Pressure Coefficient").at(0), -1, 1e-4);  // on the surface, nearly
  const std::vector<double> between = probe(diagonal, diagonal, "Velocity X, Velocity Y");
  ASSERT_EQ(between.size(), 2u);
  EXPECT_NEAR(between[0], 10, 1e-4);
  EXPECT_NEAR(between[1], -2.5, 1e-4);
  EXPECT_EQ(probe(0.1, 0.1, "Speed"), std::vector<double>{});  // in the body
  EXPECT_EQ(probe(9, 0, "Speed"), std::vector<double>{});      // not in the box
  EXPECT_EQ(number("/PROBE:Test", "Sample Count"), 0);
}

// A turning cylinder: the flow stands still below the middle, is faster above, and is lifted as it should be.
TEST_F(FlowTest, CirculationLiftsTheCylinder)
{
  system.run("DOMAIN: Wind Tunnel\nBOUNDARY: Cylinder\nWall Speed = 8 [m s^-1]\nEND\nEND\n");
  EXPECT_EQ(numbers("/DOMAIN:Wind Tunnel", "Speed Range")[1], 28);
  EXPECT_NEAR(numbers("/DOMAIN:Wind Tunnel", "Speed Range")[0], 0, 1e-12);
  const double height = -0.5 * 8 / (2 * 10.0);
  EXPECT_NEAR(probe(-std::sqrt(0.25 - height * height), height, "Speed")[0], 0, 1e-4);

  constexpr int pieces = 72;
  double lift = 0;  // of a metre
  for (int i = 0; i < pieces; ++i) {
    const double angle = 2 * std::numbers::pi * i / pieces;
    const double outside = 0.5 + 1e-6;  // numbers enter with six places
    lift -= probe(outside * std::cos(angle), outside * std::sin(angle), "Pressure").at(0) * std::sin(angle)
            * 0.5 * (2 * std::numbers::pi / pieces);
  }
  EXPECT_NEAR(lift, 1.2 * 10 * (2 * std::numbers::pi * 0.5 * 8), 0.05);
}

TEST_F(FlowTest, CutsHaveTheAreaOfTheirPlane)
{
  struct Row {
    const char* plane;
    double area;
  };
  const double hole = std::numbers::pi / 4;
  const Row rows[] = {
      {"Axis = Z\n", 8 * 5 - hole},
      {"Axis = X\nOffset = 2 [m]\n", 5},
      {"Axis = X\nOffset = 30 [cm]\n", 5 - 0.8},  // through the cylinder, along it
      {"Axis = Y\nOffset = 3 [m]\n", 0},          // outside
      {"Option = Point and Normal\nNormal = 0, 0, -2\nClip Shape = Circle\nClip Radius = 2 [m]\n",
       4 * hole * 4 - hole},
      {"Option = Point and Normal\nNormal = 1, 1, 0\nPoint = 2 [m], 0 [m], 0 [m]\nClip Shape = Square\n", 2},
      {"Option = Three Points\nPoint 2 = 0 [m], 1 [m], 1 [m]\nPoint 3 = 1 [m], 0 [m], 0 [m]\n",
       (8 * 1 - hole) * std::sqrt(2)},  // at 45 degrees
  };
  for (const Row& row : rows) {
    system.run(std::string("&replace CUT: Test\n") + row.plane + "END\n");
    EXPECT_NEAR(number("/CUT:Test", "Area"), row.area, 0.002 * row.area) << row.plane;
    EXPECT_EQ(number("/CUT:Test", "Triangle Count") > 0, row.area > 0) << row.plane;
  }
}

// A level of the stream function far out is as long as the box; the level 0 of Velocity Y are the axes.
TEST_F(FlowTest, LevelsAreWhereTheFormulaHasThem)
{
  const auto areaOf = [this](const std::string& text) {
    system.run("&replace LEVEL SURFACE: Test\n" + text + "END\n");
    return number("/LEVEL SURFACE:Test", "Area");
  };
  EXPECT_NEAR(areaOf("Variable = Velocity Y\nValue = 0 [m s^-1]\n"), 7 + 4, 0.01);
  // Where U = |v| on the surface, 30 degrees from the axis, and out to the box along asymptotes at 45.
  EXPECT_GT(areaOf("Variable = Speed\nValue = 10 [m s^-1]\n"), 4 * (2.5 * std::sqrt(2) - 0.8));
  EXPECT_EQ(areaOf("Variable = Speed\nValue = 21 [m s^-1]\n"), 0);
  areaOf("Option = Fraction\nVariable = Pressure\nFraction = 0.25\n");
  EXPECT_NEAR(number("/LEVEL SURFACE:Test", "Level"), -180 + 0.25 * 240, 1e-9);
}

TEST_F(FlowTest, RangesAndColoursOfBands)
{
  system.run(
      "CUT: Mid\nAxis = Z\nEND\nCUT: Far\nAxis = X\nOffset = 2 [m]\nEND\n"
      "PALETTE: Two\nOption = Steps\nColour Steps = black, white\nEND\n"
      "BAND: M\nLocation = Mid\nEND\n"
      "BAND: F\nLocation = /CUT:Far\nVariable = Speed\nRange Mode = Local\nPalette = Two\nBand Count = "
      "3\nEND\n");
  EXPECT_EQ(number("/BAND:M", "Maximum"), 60);
  EXPECT_NEAR(number("/BAND:M", "Minimum"), -180, 0.01);
  EXPECT_EQ(numbers("/BAND:M", "Levels").size(), 12u);
  EXPECT_NEAR(number("/BAND:F", "Minimum"), 10 * (1 - 0.25 / 4), 1e-9);  // on the axis
  EXPECT_EQ(at("/BAND:F").getValue("Band Colours"), "#000000, #808080, #ffffff");
  EXPECT_EQ(numbers("/BAND:F", "Levels")[0], number("/BAND:F", "Minimum"));
}

// ------------------------------------------------------------------------------------------------- what follows

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
    calculated.take();
  }
  using Set = std::multiset<std::string>;

  const std::string file = makeFile("picture/shot.svg", "");
  Calculated calculated;
};

TEST_F(PictureTest, OnlyWhatDependsOnAChangeIsCalculated)
{
  const Set picture{"/SHOT:S Picture"};
  const auto after = [this](const std::string& text) {
    system.run(text);
    return calculated.take();
  };
  EXPECT_EQ(after("CUT: Other\nOffset = 1 [m]\nEND\n"), (Set{"/CUT:Other Geometry", "/CUT:Other Picture"}));
  EXPECT_EQ(after("CUT: Mid\nOffset = 10 [cm]\nEND\n"),
            (Set{"/CUT:Mid Geometry", "/CUT:Mid Picture", "/BAND:B Colour", "/BAND:B Picture",
                 "/ARROW:A Colour", "/ARROW:A Picture", "/SHOT:S Picture"}));
  EXPECT_EQ(after("BAND: B\nTransparency = 0.5\nEND\n"), (Set{"/BAND:B Picture", "/SHOT:S Picture"}));
  EXPECT_EQ(after("SHOT: S\nCAPTION: Title\nText = U\nEND\nEND\n"),
            (Set{"/SHOT:S/CAPTION:Title Picture", "/SHOT:S Picture"}));
  EXPECT_EQ(after("CUT: Mid\nSelected = On\nEND\n"), Set{});
  const Set all = after("DOMAIN: Wind Tunnel\nBOUNDARY: Inflow\nInlet Speed = 5 [m s^-1]\nEND\nEND\n");
  EXPECT_EQ(all.size(), Set(all).size());
  for (const char* each : {"/DOMAIN:Wind Tunnel Data", "/CUT:Mid Geometry", "/CUT:Other Geometry",
                           "/BAND:B Colour", "/ARROW:A Colour", "/PROBE:P Geometry", "/SHOT:S Picture"})
    EXPECT_EQ(all.count(each), 1u) << each;
  EXPECT_EQ(all.count("/DATA READER Data"), 0u);
  EXPECT_EQ(readFile(file).find("nan"), std::string::npos);
}

TEST_F(PictureTest, UndoGivesThePictureBack)
{
  const std::string before = readFile(file);
  EXPECT_NE(before.find(">&lt;&amp;?&gt;</text>"), std::string::npos);
  for (const char* change :
       {"CUT: Mid\nOffset = 10 [cm]\nClip Shape = Circle\nEND\n",
        "BAND: B\nOutline = On\nBand Count = 4\nEND\n",
        "DOMAIN: Wind Tunnel\nBOUNDARY: Cylinder\nWall Speed = 3 [m s^-1]\nEND\nEND\n", "> delete Mid\n",
        "> delete Wind Tunnel\n", "DATA READER:\nCurrent Results File =\nEND\n"}) {
    system.run(change);
    const std::string changed = readFile(file);
    EXPECT_NE(changed, before) << change;
    system.undo();
    EXPECT_EQ(readFile(file), before) << change;
    system.redo();
    EXPECT_EQ(readFile(file), changed) << change;
    system.undo();
  }
  EXPECT_EQ(std::distance(fs::directory_iterator(fs::path(file).parent_path()), fs::directory_iterator()), 1);
}

// Objects before their data, as states have them.
TEST_F(PictureTest, OneCommandInAnyOrderGivesTheSamePicture)
{
  const std::string picture = readFile(file);
  const std::string state = system.state();
  system.run("> delete S, P, A, B, Mid, Other, Wind Tunnel, /DATA READER\n");
  fs::remove(file);
  system.run(state, orv::kslUpdateAtEnd);
  EXPECT_EQ(system.state(), state);
  EXPECT_EQ(readFile(file), picture);
}

TEST_F(PictureTest, WhatCannotBeComputedIsToldAndTakenBack)
{
  const std::string before = readFile(file);
  const std::pair<const char*, const char*> faults[] = {
      {"BAND: B\nVariable = Colour\nEND\n",
       "error[4] FlowLibrary::findVariable: Variable 'Colour' is not in the results."},
      {"CUT: Mid\nOption = Point and Normal\nNormal = 0, 0, 0\nEND\n",
       "error[4] FlowLibrary::makeCut: Cut '/CUT:Mid' has no plane: its points lie on a line or its normal "
       "has no "
       "length."},
      {"BAND: B\nLocation = P\nEND\n",
       "error[4] FlowLibrary::locationOf: '/BAND:B' can only be painted on cuts, and '/PROBE:P' is none."},
      {"SHOT: S\nEye Point = 0 [m], 0 [m], 0 [m]\nEND\n",
       "error[4] FlowLibrary::Camera: Shot '/SHOT:S' looks nowhere: its eye point, or its up direction, and "
       "what it "
       "looks at are in line."},
      {"SHOT: S\nBackground = plaid\nEND\n",
       "error[4] FlowLibrary::readColour: Colour 'plaid' is not known."},
      {"DOMAIN: Wind Tunnel\nFluid = Tea\nEND\n",
       "error[4] FlowLibrary::readDomain: Density of fluid 'Tea' is not known."},
  };
  for (const auto& [text, error] : faults) {
    system.run(text);
    EXPECT_EQ(system.errors(), error);
    EXPECT_EQ(readFile(file), before) << text;
  }
  const std::string folder = fs::path(file).parent_path();
  system.run("SHOT: S\nOutput File = " + folder + "/none/a.svg\nEND\n");
  EXPECT_EQ(system.errors(), "error[4] ORVFile::replace: Cannot write file '" + folder
                                 + "/none/a.svg': No such file or directory.");
  fs::create_directory(folder + "/taken");
  system.run("SHOT: S\nOutput File = " + folder + "/taken\nEND\n");
  EXPECT_EQ(system.errors(),
            "error[4] ORVFile::replace: Cannot write file '" + folder + "/taken': Is a directory.");
  fs::remove(folder + "/taken");
  EXPECT_EQ(std::distance(fs::directory_iterator(folder), fs::directory_iterator()), 1);  // nothing half-done
}

}  // namespace
