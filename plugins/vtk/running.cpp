#include "running.h"

#include "platform/ORVError.h"
#include "platform/ORVException.h"
#include "platform/ORVProgress.h"
#include "platform/ORVUtilities.h"
#include "Ptr.h"

#include <cstring>
#include <utility>
#include <vtkAlgorithm.h>
#include <vtkCallbackCommand.h>
#include <vtkImageWriter.h>
#include <vtkLogger.h>
#include <vtkOutputWindow.h>
#include <vtkWriter.h>

namespace results {

namespace {

// What parts within parts of VTK say, which nobody can observe.
class Complaints : public vtkOutputWindow {
 public:
  static Complaints* New() { return new Complaints; }
  void DisplayText(const char*) override {}
  void DisplayErrorText(const char* text) override { add(text); }
  void DisplayWarningText(const char*) override {}
  // Of a file that ends too early some readers only warn, and leave what is missing as it may be.
  void DisplayGenericWarningText(const char* text) override
  {
    if (std::strstr(text, "Error reading"))
      add(text);
  }
  void DisplayDebugText(const char*) override {}
  static std::string take() { return std::exchange(s_said, {}); }

 private:
  static void add(const char* text) { s_said += text; }
  // Models on several threads do not hear each other.
  static thread_local std::string s_said;
};

thread_local std::string Complaints::s_said;

// VTK's holders of it may end later than anything of ours.
Complaints& complaints()
{
  static auto* const window = new Complaints;
  return *window;
}

// A line without the class that says it, and where in memory: "vtkReader (0x55d0): No such thing." says so to nobody.
std::string withoutAddresses(std::string line)
{
  for (std::size_t at = line.find("(0x"); at != std::string::npos; at = line.find("(0x")) {
    const std::size_t close = line.find(')', at);
    if (close == std::string::npos)
      break;
    const std::size_t blank = at > 1 ? line.rfind(' ', at - 2) : std::string::npos;
    const std::size_t begin = blank == std::string::npos ? 0 : blank + 1;
    const std::size_t end = line.compare(close, 3, "): ") == 0 ? close + 3 : close + 1;
    line.erase(begin, end - begin);
  }
  return line;
}

// "ERROR: In file, line 12\nvtkReader (0x55d0): No such thing.\n\n" says "No such thing."; what is said twice, once.
std::string plain(const std::string& text)
{
  std::string message;
  for (const std::string& line : orv::StringUtilities::stringToVector(text, '\n')) {
    if (line.empty() || line.starts_with("ERROR: In ") || line.starts_with("Generic Warning: In "))
      continue;
    if (line.find("returned failure for request") != std::string::npos)
      break;  // what follows is for VTK's own people
    const std::string said = withoutAddresses(line);
    if (message.find(said) == std::string::npos)
      message += (message.empty() ? "" : " ") + said;
  }
  return message;
}

struct Watch {
  orv::CallbackProgress progress{"percent", 100};
  std::string errors;
};

// Nothing may be thrown through VTK.
void watch(vtkObject* filter, unsigned long event, void* data, void* what)
{
  Watch& state = *static_cast<Watch*>(data);
  try {
    if (event == vtkCommand::ErrorEvent)
      state.errors += static_cast<const char*>(what);
    else if (!state.progress.advance(static_cast<std::size_t>(100 * *static_cast<double*>(what))))
      static_cast<vtkAlgorithm*>(filter)->SetAbortExecute(1);
  } catch (...) {}
}

template <class Action>
void runWatched(vtkAlgorithm& filter, const char* function, Action action)
{
  Watch state;
  Complaints::take();
  const auto tell = make<vtkCallbackCommand>();
  tell->SetClientData(&state);
  tell->SetCallback(&watch);
  const unsigned long tags[] = {filter.AddObserver(vtkCommand::ProgressEvent, tell),
                                filter.AddObserver(vtkCommand::ErrorEvent, tell)};
  action();
  for (const unsigned long tag : tags)
    filter.RemoveObserver(tag);
  state.progress.check();
  state.errors += Complaints::take();
  if (!state.errors.empty())
    fail(function, plain(state.errors));
}

}  // namespace

void fail(const char* function, const std::string& text)
{
  throw orv::data::invalid("Results", function, text);
}

void silenceVtk()
{
  vtkLogger::SetStderrVerbosity(vtkLogger::VERBOSITY_OFF);
  vtkOutputWindow::SetInstance(&complaints());
}

void run(vtkAlgorithm& filter, const char* function)
{
  runWatched(filter, function, [&filter] {
    if (auto* image = vtkImageWriter::SafeDownCast(&filter))
      image->Write();
    else if (auto* writer = vtkWriter::SafeDownCast(&filter))
      writer->Write();
    else
      filter.Update();
  });
}

void runInformation(vtkAlgorithm& filter, const char* function)
{
  runWatched(filter, function, [&filter] { filter.UpdateInformation(); });
}

}  // namespace results
