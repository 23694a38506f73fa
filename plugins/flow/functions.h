// The calculations, each for one kind of object. They read parameters of their object and results of those
// that it depends on, and leave results on their object. Without data to work on they leave none. What
// parameters cannot be read as they should throws what KSLObject's reads throw.
#pragma once

namespace orv {
class KSLObject;
}

namespace flow {

// Data
void readResults(orv::KSLObject& reader);
void readBoundary(orv::KSLObject& boundary);
void readDomain(orv::KSLObject& domain);

// Geometry
void cutFlow(orv::KSLObject& cut);
void findLevel(orv::KSLObject& surface);
void probeFlow(orv::KSLObject& probe);  // writes its file, if it has one

// Colour
void mixPalette(orv::KSLObject& palette);
void paintBands(orv::KSLObject& band);
void placeArrows(orv::KSLObject& arrow);
void followStreams(orv::KSLObject& streamlines);

// Picture
void takePicture(orv::KSLObject& shot);  // writes its file, if it has one

}  // namespace flow
