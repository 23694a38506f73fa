#include "Camera.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "Values.h"

#include <algorithm>

namespace flow {

namespace {

int pixels(const std::vector<int>& size, std::size_t which, int otherwise)
{
  return size.size() == 2 ? std::clamp(size[which], 16, 16384) : otherwise;
}

}  // namespace

Camera::Camera(const orv::KSLObject& shot)
    : m_width(pixels(shot.getIntArray("Picture Size"), 0, 800)),
      m_height(pixels(shot.getIntArray("Picture Size"), 1, 600)),
      m_parallel(shot.getValue("Projection") == "Parallel"),
      m_eye(point(shot, "Eye Point"))
{
  const Vec line = point(shot, "Look At") - m_eye;
  m_forward = unit(line);
  m_right = unit(cross(m_forward, direction(shot, "Up Direction")));
  m_up = cross(m_right, m_forward);
  m_distance = length(line);
  if (!(length(m_right) > 0.5))
    throw orv::data::invalid(
        "FlowLibrary", "Camera",
        orv::_(
            "Shot '%s' looks nowhere: its eye point, or its up direction, and what it looks at are in line.",
            shot.getPath()));
  const double seen = m_parallel ? number(shot, "View Height", "m")
                                 : 2 * m_distance * std::tan(number(shot, "View Angle", "rad") / 2);
  m_scale = m_height / std::max(seen, 1e-6);
}

// What is behind the eye is seen as if it stood just before it: pieces of shapes may be there.
Pixel Camera::at(Vec point) const
{
  const Vec seen = point - m_eye;
  const double nearer = m_parallel ? 1 : m_distance / std::max(dot(seen, m_forward), 0.02 * m_distance);
  const double size = m_scale * nearer;
  return {m_width / 2.0 + size * dot(seen, m_right), m_height / 2.0 - size * dot(seen, m_up)};
}

}  // namespace flow
