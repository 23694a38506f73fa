// Flat drawings: in a view, and in SVG documents.
#pragma once

#include "Palette.h"

#include <string>
#include <vector>
#include <vtkRenderer.h>

namespace results {

inline constexpr Rgb ink{0.106, 0.133, 0.169};
inline constexpr Rgb faint{0.333, 0.376, 0.427};
inline constexpr Rgb edge{0.667, 0.698, 0.741};
inline constexpr Rgb paper{1, 1, 1};

struct Pixel {
  double x;
  double y;
};

enum class Align { start, middle, end };

// Counts pixels from the lower left corner. Sizes of texts and widths of lines grow with the scale.
class Canvas {
 public:
  explicit Canvas(double scale) : m_scale(scale) {}
  virtual ~Canvas() = default;
  double scale() const { return m_scale; }
  virtual void area(const std::vector<Pixel>& corners, const Rgb& colour, double opacity = 1) = 0;
  virtual void lines(const std::vector<Pixel>& points, const Rgb& colour, double width) = 0;
  struct Look {
    Align align = Align::start;
    bool isBold = false;
    bool hasHalo = false;
    bool isUpward = false;
  };
  // Centred about the height of `at`.
  virtual void text(Pixel at, const std::string& said, double size, const Rgb& colour, const Look& look) = 0;
  void text(Pixel at, const std::string& said, double size, const Rgb& colour)
  {
    text(at, said, size, colour, {});
  }
  void box(Pixel low, Pixel high, const Rgb& colour, double opacity = 1);
  void frame(Pixel low, Pixel high, const Rgb& colour, double width);
  static double widthOf(const std::string& said, double size);  // about, and not less

 private:
  double m_scale;
};

// In one view of a scene.
class Sheet : public Canvas {
 public:
  Sheet(vtkRenderer& renderer, double scale) : Canvas(scale), m_renderer(renderer) {}
  using Canvas::text;
  void area(const std::vector<Pixel>& corners, const Rgb& colour, double opacity = 1) override;
  void lines(const std::vector<Pixel>& points, const Rgb& colour, double width) override;
  void text(Pixel at, const std::string& said, double size, const Rgb& colour, const Look& look) override;

 private:
  void add(const std::vector<Pixel>& points, bool isFilled, const Rgb& colour, double opacity, double width);
  vtkRenderer& m_renderer;
};

class SvgSheet : public Canvas {
 public:
  SvgSheet(int width, int height);
  using Canvas::text;
  void area(const std::vector<Pixel>& corners, const Rgb& colour, double opacity = 1) override;
  void lines(const std::vector<Pixel>& points, const Rgb& colour, double width) override;
  void text(Pixel at, const std::string& said, double size, const Rgb& colour, const Look& look) override;
  std::string finish();

 private:
  std::string places(const std::vector<Pixel>& points) const;
  int m_height;
  std::string m_text;
};

std::string toHex(const Rgb& colour);
// Units as people write them: "m/s" for "m s^-1".
std::string typesetUnits(const std::string& units);
// A step of 1, 2 or 5 times a power of ten, of which about so many parts make the whole.
double roundStep(double whole, double parts);
// With a minus sign, and as many figures as the steps between labels need.
std::string typesetNumber(double value, double step);

}  // namespace results
