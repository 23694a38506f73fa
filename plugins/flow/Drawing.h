// How each kind of object looks on a picture.
#pragma once

#include "Camera.h"
#include "Svg.h"

namespace orv {
class KSLObject;
}

namespace flow {

struct Canvas {
  const Camera& camera;
  Svg& svg;
};

// Draws what the last calculations found; nothing for an object without results, or of a kind that cannot be
// seen.
void draw(const orv::KSLObject& object, const Canvas& canvas);

// On top of everything: the names and values of probes, the colours of a band, and captions.
void drawLabel(const orv::KSLObject& probe, const Canvas& canvas);
void drawColourBar(const orv::KSLObject& band, const Canvas& canvas,
                   int place);  // places count from the right
void drawCaption(const orv::KSLObject& caption, const Canvas& canvas);
// A line that is a round number of metres long; nothing in a perspective.
void drawScaleBar(const Canvas& canvas);

}  // namespace flow
