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

// In rounds: each process follows the lines through its piece and the cells next to it, and hands those that leave these to
// the one whose piece they come to. The seeds are the same everywhere; the lines are at the first process, each in one,
// those forward before those backward. A line ends where it leaves the mesh, to a thousandth of a cell.
Ptr<vtkPolyData> traced(vtkDataSet& cells, const std::vector<Vec>& seeds, const StreamSearch& search);

}  // namespace results
