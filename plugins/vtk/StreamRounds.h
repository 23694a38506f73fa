// Streamlines through the pieces of several processes.
#pragma once

#include "Data.h"

#include <string>
#include <vector>

namespace results {

struct StreamSearch {
  std::string field;  // a vector on points
  double reach = 0;   // the longest way along a line, each way
  bool isForward = true;
  bool isBackward = true;
};

// In one process: by VTK's tracer.
Ptr<vtkPolyData> tracedHere(vtkDataSet& cells, const std::vector<Vec>& seeds, const StreamSearch& search);

// In rounds: each process follows the lines through its piece, and hands those that leave it to the one whose piece they
// come to. The seeds are the same everywhere; the lines, in parts, are at the first process.
Ptr<vtkPolyData> tracedTogether(vtkDataSet& cells, const std::vector<Vec>& seeds, const StreamSearch& search);

}  // namespace results
