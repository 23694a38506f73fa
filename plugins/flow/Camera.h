// Where things in space are on a picture.
#pragma once

#include "Svg.h"
#include "vec.h"

namespace orv {
class KSLObject;
}

namespace flow {

class Camera {
 public:
  // Of a SHOT's parameters. Throws data::invalid, class "FlowLibrary", function "Camera", "Shot '%s' looks
  // nowhere: its eye point, or its up direction, and what it looks at are in line.".
  explicit Camera(const orv::KSLObject& shot);

  int width() const { return m_width; }
  int height() const { return m_height; }
  Pixel at(Vec point) const;
  bool shows(Pixel at) const { return at.x >= 0 && at.y >= 0 && at.x <= m_width && at.y <= m_height; }
  // Of the picture's pixels for a metre where the camera looks.
  double scale() const { return m_scale; }
  bool isParallel() const { return m_parallel; }
  Vec forward() const { return m_forward; }
  double depth(Vec point) const { return dot(point - m_eye, m_forward); }

 private:
  int m_width;
  int m_height;
  bool m_parallel;
  Vec m_eye;
  Vec m_forward;
  Vec m_right;
  Vec m_up;
  double m_distance;  // from the eye to what it looks at
  double m_scale;
};

}  // namespace flow
