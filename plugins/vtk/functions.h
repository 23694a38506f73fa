// The calculations, each for one kind of object. They read parameters of their object and what those keep that it depends
// on, leave numbers as internal parameters and keep the rest with it. Without results to work on they leave none.
//
// RESULTS_FUNCTIONS(F) is F(name) for each.
#pragma once

namespace orv {
class KSLObject;
}

#define RESULTS_FUNCTIONS(F) \
  F(readResults)             \
  F(showResults)             \
  F(defineVariable)          \
  F(cutResults)              \
  F(findPatch)               \
  F(findLevel)               \
  F(clipResults)             \
  F(thresholdResults)        \
  F(placePoints)             \
  F(placeProbe)              \
  F(readProbe)               \
  F(mixPalette)              \
  F(paintBands)              \
  F(paintColours)            \
  F(placeArrows)             \
  F(followStreams)           \
  F(drawMesh)                \
  F(drawOutline)             \
  F(integrate)               \
  F(writeTable)              \
  F(drawChart)               \
  F(takePicture)             \
  F(joinMovie)

namespace results {

#define RESULTS_FUNCTION(name) void name(orv::KSLObject& object);
RESULTS_FUNCTIONS(RESULTS_FUNCTION)
#undef RESULTS_FUNCTION

}  // namespace results
