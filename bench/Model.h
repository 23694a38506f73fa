// The data that every peer is measured with: groups of a hundred objects, ten parameters each, half of them
// numbers.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace bench {

inline constexpr int paramCount = 10;
inline constexpr long groupSize = 100;

// A model is made of groups; the first object of each is the group itself. A group as large as the model puts
// everything below one object.
struct Shape {
  long objects;
  long group = groupSize;
};

inline std::string paramName(int index)
{
  return (index % 2 ? "Label 0" : "Length 0") + std::to_string(index);
}

inline std::string paramValue(long object, int index)
{
  const long number = (object * 7919 + index * 104729L) % 1000000;
  if (index % 2)
    return "steel-" + std::to_string(number % 10000 + 10000).substr(1);
  return std::to_string(number / 100) + "." + std::to_string(number % 100 + 100).substr(1);
}

inline std::string groupName(long object, const Shape& shape)
{
  return "G" + std::to_string(object / shape.group * shape.group);
}

inline std::string objectPath(long object, const Shape& shape)
{
  std::string path = "/GROUP:" + groupName(object, shape);
  if (object % shape.group)
    path += "/PART:P" + std::to_string(object);
  return path;
}

inline void appendParams(std::string& text, long object, const char* indent)
{
  for (int i = 0; i < paramCount; ++i)
    text.append(indent).append(paramName(i)).append(" = ").append(paramValue(object, i)).append("\n");
}

inline std::string modelText(const Shape& shape)
{
  std::string text;
  for (long object = 0; object < shape.objects; ++object) {
    if (object % shape.group == 0) {
      text.append(object ? "END\nGROUP: " : "GROUP: ").append(groupName(object, shape)).append("\n");
      appendParams(text, object, "  ");
      continue;
    }
    text.append("  PART: P").append(std::to_string(object)).append("\n");
    appendParams(text, object, "    ");
    text.append("  END\n");
  }
  return text.append("END\n");
}

// The types of the model; `params` of them may be set, of which the texts above set the first ten.
inline std::vector<std::string> modelRules(int params = paramCount)
{
  std::vector<std::string> lines{"RULES:", "Categories = Geometry", "KSLObjectClasses = DataKSLObject"};
  std::string list;
  for (int i = 0; i < params; ++i) {
    const std::string name = i < paramCount ? paramName(i) : "Spare " + std::to_string(i);
    lines.insert(lines.end(), {"PARAMETER: " + name, "Parameter Type = string", "END"});
    list += (i ? ", " : "") + name;
  }
  for (const char* type : {"GROUP", "PART"})
    lines.insert(lines.end(), {std::string("OBJECT: ") + type, "KSLObject Class = DataKSLObject",
                               "Category = Geometry", "Optional Parameter List = " + list, "END"});
  // What the actions that read files keep for themselves.
  for (const char* param : {"Processing Mode", "Path Stack"})
    lines.insert(lines.end(), {std::string("PARAMETER: ") + param, "END"});
  lines.insert(lines.end(), {"SINGLETON: FILE PROCESSING", "KSLObject Class = DataKSLObject",
                             "Essential Parameter List = Processing Mode, Path Stack", "END"});
  lines.push_back("END");
  return lines;
}

// The k-th of a fixed sequence of objects, all over the model.
inline long scattered(long k, long objects)
{
  return static_cast<long>((static_cast<std::uint64_t>(k) * 2654435761u + 12345u)
                           % static_cast<std::uint64_t>(objects));
}

// An edit of one parameter, as a user would submit it.
inline std::string editText(long object, const Shape& shape, const std::string& name,
                            const std::string& value)
{
  std::string text = "GROUP: " + groupName(object, shape) + "\n";
  const bool part = object % shape.group != 0;
  if (part)
    text += "PART: P" + std::to_string(object) + "\n";
  text += name + " = " + value + (part ? "\nEND\nEND\n" : "\nEND\n");
  return text;
}

}  // namespace bench
