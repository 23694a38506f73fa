// Tables in files of others: of sweeps, or measured.
#pragma once

#include "Numbers.h"

#include <string>

namespace results {

// The columns of numbers of a .csv file, down to its first empty line. Its first line has their names, with units in
// brackets: "Depth [mm]"; of "/CUT:Wake.Offset", as sweeps print it, that is "Wake.Offset". Where a field is empty the
// number is none. Throws file::error for a file that cannot be read, data::invalid for one without numbers.
Numbers readTable(const std::string& file);

}  // namespace results
