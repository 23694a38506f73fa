// "ksl graph": enters texts and draws the objects and schedulers that there are then.
#pragma once

#include "Texts.h"

struct GraphCommand {
  struct Options {
    TextOptions input;
    bool svg = false;  // a picture, by Graphviz; else the text that Graphviz reads
  };

  // As runWithTexts.
  static int run(const Options& options);
};
