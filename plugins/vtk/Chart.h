// Lines over a path, or over time.
#pragma once

#include "Numbers.h"
#include "Sheet.h"

#include <memory>
#include <string>
#include <vector>

namespace results {

class Chart {
 public:
  // What the CHART object's parameters say of the numbers. Throws data::invalid when they have no such columns.
  Chart(const orv::KSLObject& object, const std::vector<std::shared_ptr<const Numbers>>& all);
  std::string asSvg() const;
  std::string asPng() const;

 private:
  struct Line {
    std::string label;
    std::string name;  // of the column
    std::string units;
    std::vector<Pixel> points;  // in the units of the axes
  };
  struct Axis {
    std::string title;
    double low = 0;
    double high = 1;
    double step = 1;
    void span(double from, double to);
  };
  void addLine(const Numbers& numbers, const Column& across, const Column& up, bool isAlone);
  void nameUp();
  void draw(Canvas& canvas) const;
  void drawAxes(Canvas& canvas, Pixel low, Pixel high) const;

  std::string m_title;
  int m_width;
  int m_height;
  std::vector<Line> m_lines;
  Axis m_across;
  Axis m_up;
};

}  // namespace results
