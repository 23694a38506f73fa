// A model from its rules to its end, told step by step.
#pragma once

#include "platform/ORVContext.h"
#include "platform/ORVError.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace orv {

struct Story {
  std::string library;  // a folder of definitions
  std::string rules;    // or these
  std::string folder;   // for the files that it writes; ends with "/"
  std::vector<std::string> steps;
};

// With the demo library and its calculations: units, expressions, failures, undo and redo, a picture, a state saved and
// loaded. The number tells it from others.
Story demoStory(const std::string& folder, int number = 0);
// With rules of its own, where words of the demo library mean something else.
Story plainStory();

// Tells what each step reports, which objects there are then, in which units they are shown, what can be undone and what
// was written, without the names of folders.
class Life {
 public:
  enum class Place { context, process };
  explicit Life(Story story, Place place = Place::context);
  ~Life();
  Life(const Life&) = delete;
  Life& operator=(const Life&) = delete;

  bool tellNext();  // false when there is no more
  const std::string& tellAll();
  const std::string& told() const { return m_told; }

 private:
  void begin();
  void tell(const std::string& step);

  Story m_story;
  std::size_t m_step = 0;
  std::string m_told;
  ErrorCollector m_errors;
  Executive m_executive;
  ActionFactory m_actions;
  std::unique_ptr<Context> m_context;  // null: the process's
};

}  // namespace orv
