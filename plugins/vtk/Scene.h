// What a shot shows, as a picture.
#pragma once

#include "Data.h"
#include "Palette.h"

#include <functional>
#include <string>
#include <vector>
#include <vtkRenderer.h>

namespace results {

// One object of a picture: how it looks, and what there is to see.
struct Sight {
  std::shared_ptr<const Show> show;
  Rgb colour{0.8, 0.8, 0.8};
  double opacity = 1;
};

// A mark with a text, at a point of the model.
struct Mark {
  Vec at{};
  std::vector<std::string> lines;
};

struct Caption {
  std::string text;
  double across = 0.5;
  double up = 0.05;
  double height = 12;
  Rgb colour{0.106, 0.133, 0.169};
};

struct Lamp {
  std::string kind;  // Ambient, Distant, Point
  Rgb colour{1, 1, 1};
  double intensity = 1;
  Vec place{};  // or direction
};

struct Camera {
  std::string side;  // empty: as given; else what it looks from, "X", "-X", ..., "Isometric", and all is seen
  bool isParallel = false;
  Vec eye{};
  Vec target{};
  Vec up{0, 1, 0};
  double angle = 30;  // degrees
  double height = 4;  // m, of a parallel view
};

struct Picture {
  std::vector<Sight> sights;
  std::vector<Mark> marks;
  std::vector<Caption> captions;
  std::vector<Lamp> lamps;
  std::vector<Camera> cameras;  // one view for each, side by side
  int width = 800;
  int height = 600;
  int samples = 8;
  bool hasBackground = true;
  Rgb background{1, 1, 1};
  bool hasScale = true;
  int density =
      1;  // what is counted in pixels below is painted so many times larger, and made smaller at last
};

// The picture as the content of a PNG file. The same picture gives the same bytes.
std::string paintPng(const Picture& picture);
// A drawing without a scene, the same way.
std::string paintFlat(int width, int height, const std::function<void(vtkRenderer&)>& draw);
// The scene in three dimensions, as the content of a glTF file; colours stand at its points.
std::string paintGltf(const Picture& picture);
// Ends what pictures are painted with, until the next one; before the display goes.
void closeWindow();
// All that is seen, as one file of VTK's.
std::string asVtp(const Picture& picture);

// ---- Inside

double widthOfLegends(const Picture& picture, int height);  // with room round them
void addLegends(vtkRenderer& renderer, const Picture& picture, int width, int height);
void addMarks(vtkRenderer& renderer, const Picture& picture, int width, int height);
void addCaptions(vtkRenderer& renderer, const Picture& picture, int width, int height);
void addScale(vtkRenderer& renderer, const Picture& picture, const Camera& camera, int width, int height);

}  // namespace results
