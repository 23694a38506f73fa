// What of a results file is this process's to read.
#pragma once

#include "Reader.h"
#include "ScratchFolder.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace results {

// Of a decomposed OpenFOAM case, one of several processes reads its share of the processor directories, in the order of
// their numbers: it sees a case that has these alone. Every other file it sees as it is.
class OwnPart {
 public:
  explicit OwnPart(const ReadOptions& options);
  bool isEmpty() const { return m_isEmpty; }
  const ReadOptions& options() const { return m_options; }
  // What is said meanwhile names the case, not what stands in for it. Throws what the action does.
  void told(const std::function<void()>& action) const;

 private:
  ReadOptions m_options;
  std::string m_root;
  bool m_isEmpty = false;
  std::unique_ptr<ScratchFolder> m_folder;
};

// The directories of the parts that a decomposed case has one by one, by name, in order; none for a case without.
std::vector<std::string> processorsOf(const std::string& root);

}  // namespace results
