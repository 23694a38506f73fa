// Lines that a vector field carries along, from seeds on a line, a place or a sphere.
#pragma once

#include "Data.h"

namespace results {

class Streams {
 public:
  // What the STREAMLINES object's parameters say.
  explicit Streams(const orv::KSLObject& object);
  // What the lines in the mesh hang on.
  orv::ResultKey keyFor(const Mesh& mesh, const Place* seeds) const;
  // `seeds` is the place that they begin on, if they do. Throws data::invalid when no seed lies in the mesh. Of several
  // processes the first has the lines.
  Ptr<vtkPolyData> follow(const Mesh& mesh, const Place* seeds) const;

 private:
  std::vector<Vec> seedPoints(const Place* seeds) const;

  std::string m_path;
  std::string m_variable;
  std::string m_option;
  std::string m_direction;
  Vec m_from{};
  Vec m_to{};
  double m_radius = 0;
  double m_reach = 0;  // 0: three times the size of the mesh
  int m_count = 1;
};

}  // namespace results
