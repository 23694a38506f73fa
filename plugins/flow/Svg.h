// Writes a picture: the same shapes give the same bytes, whatever the locale.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace flow {

struct Pixel {
  double x = 0;
  double y = 0;  // downward
};
using Path = std::vector<Pixel>;

// How a shape is painted. A colour is "#rrggbb"; "none" leaves it out.
struct Paint {
  std::string fill = "none";
  std::string stroke = "none";
  double width = 1;
  double opacity = 1;
};

enum class Align { start, middle, end };

// A number as it stands in a picture: two places at most.
std::string pictureNumber(double value);
// A number as people want to read it: the given count of significant digits at most, no exponent for what is
// common in engineering.
std::string readableNumber(double value, int digits = 3);

class Svg {
 public:
  Svg(int width, int height);

  // What follows is painted inside the outline only, until endClip.
  void beginClip(const Path& outline);
  void endClip();
  void polygons(const std::vector<Path>& borders, const Paint& paint);  // one shape, filled even-odd
  void lines(const std::vector<Path>& lines, const Paint& paint);
  void rectangle(Pixel corner, double width, double height, const Paint& paint, double round = 0);
  void circle(Pixel centre, double radius, const Paint& paint);
  // Any bytes; what no document may hold is shown as "?". A halo is a rim of that colour.
  void text(Pixel at, std::string_view text, double size, const std::string& colour,
            Align align = Align::start, const std::string& halo = "none", bool bold = false);

  // The whole document.
  std::string finish() const;

 private:
  void path(const std::vector<Path>& pieces, bool closed, const Paint& paint);
  std::string m_body;
  int m_width;
  int m_height;
  int m_clips = 0;
};

}  // namespace flow
