// Running VTK's filters: what they complain of becomes an error, how far they are is told, and they can be stopped.
#pragma once

#include <string>

class vtkAlgorithm;

namespace results {

// VTK's own ways of telling people things are closed; for the beginning of the library.
void silenceVtk();

// Updates the filter, or lets a writer write. Throws data::invalid, class "Results", with this function's name, when the
// filter complains, in its words without addresses and lines of sources; what ProgressWatcher throws, when the filter has
// stopped.
void run(vtkAlgorithm& filter, const char* function);
// The same, of a reader's first look at its file.
void runInformation(vtkAlgorithm& filter, const char* function);

// data::invalid of the class "Results".
[[noreturn]] void fail(const char* function, const std::string& text);

}  // namespace results
