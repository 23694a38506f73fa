// What was computed not long ago, for when it is wanted again: a command that is taken back, a switch to and fro.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <string>

namespace results {

struct Mesh;

class Memory {
 public:
  // What the key stands for: remembered, or made and remembered. The key says all that the result hangs on.
  template <class T>
  static std::shared_ptr<const T> recall(const std::string& key,
                                         const std::function<std::shared_ptr<const T>()>& make)
  {
    if (auto known = std::static_pointer_cast<const T>(find(key)))
      return known;
    std::shared_ptr<const T> made = make();
    add(key, made, sizeOf(*made));
    return made;
  }
  static void clear();

 private:
  static std::shared_ptr<const void> find(const std::string& key);
  static std::shared_ptr<const void> findHere(const std::string& key);
  // The oldest go while there is more than the environment's KSL_RESULTS_MEMORY, in megabytes (512 without), that nobody
  // else holds.
  static void add(const std::string& key, std::shared_ptr<const void> value, std::size_t kilobytes);
  static std::size_t sizeOf(const Mesh& mesh);
};

}  // namespace results
