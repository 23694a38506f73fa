// A model in a context of its own, from its rules to its end.
#pragma once

#include "platform/ORVContext.h"
#include "platform/ORVError.h"
#include "command/ActionFactory.h"
#include "command/Executive.h"

#include <cstddef>
#include <string>
#include <vector>

namespace orv {

struct Story {
  std::string rules;   // empty: the demo library
  std::string folder;  // for the files that it writes; ends with "/"
  std::vector<std::string> steps;
};

// With the demo library and its calculations: units, expressions, failures, undo and redo, a picture, a state saved and
// loaded. The number tells it from others.
Story demoStory(const std::string& folder, int number);
// With rules of its own, where words of the demo library mean something else.
Story plainStory();

// Tells what each step reports, which objects and schedulers there are then, in which units they are shown, what can be
// undone and what was written, without the name of the folder.
class Life {
 public:
  explicit Life(Story story);

  bool tellNext();  // false when there is no more
  const std::string& tellAll();
  const std::string& told() const { return m_told; }

 private:
  std::string tell(const std::string& step);

  Story m_story;
  std::size_t m_step = 0;
  std::string m_told;
  ErrorCollector m_errors;
  Executive m_executive;
  ActionFactory m_actions;
  Context m_context;
};

}  // namespace orv
