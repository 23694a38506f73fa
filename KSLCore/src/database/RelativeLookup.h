// Finds objects by paths that start at another object.
#pragma once

#include <string>
#include <string_view>

namespace orv {

class KSLObject;

// The rules that KSLObject::getRelativeObject promises. Paths are simplified already. No recursion.
class RelativeLookup {
 public:
  // Throws what getRelativeObject throws; never null.
  static KSLObject* resolve(const KSLObject& start, const std::string& path);
  // The child that "TYPE:name" names; null when there is none.
  static KSLObject* childOf(const KSLObject& parent, std::string_view typeColonName);

 private:
  static KSLObject* resolveAbsolute(const std::string& path);
  static KSLObject* resolveRelative(const KSLObject& start, std::string_view path);
  static KSLObject* tryResolve(const KSLObject& start, std::string_view path);
  static KSLObject* searchUp(const KSLObject& from, std::string_view path);
  static KSLObject* step(const KSLObject& from, std::string_view component);
  static KSLObject* childNamed(const KSLObject& parent, std::string_view name);
};

}  // namespace orv
