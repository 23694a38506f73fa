// The data that every peer is measured with, in groups of a hundred objects. The plain model has ten short parameters
// for each object, half of them numbers. The real one, of the same shape, has what a post-processor has: objects that
// compute, names and values longer than fifteen characters, units, allowed lists, defaults, an expression, references.
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

inline void appendRealParams(std::string& text, long object, const Shape& shape, const char* indent)
{
  static const char* const walls[] = {"No Slip Wall", "Free Slip Wall", "Specified Shear"};
  const auto add = [&](const char* name, const std::string& value) {
    text.append(indent).append(name).append(" = ").append(value).append("\n");
  };
  const std::string number = paramValue(object, 0);
  add("Surface Roughness Height", number + " [mm]");
  add("Reference Temperature", number + " [K]");
  add("Wall Influence On Flow", walls[object % 3]);
  add("Visibility", object % 2 ? "On" : "Off");
  add("Transparency", "0." + std::to_string(object % 10));
  add("Colour Palette Name", "blue to red, scheme " + std::to_string(object % 50));
  add("Description Of The Part", "the part with the number " + std::to_string(object));
  add("Rotation Axis Origin", number + " [m], 0.25 [m], 1.5 [m]");
  add("Mass Flow Rate Formula", number + " [kg s^-1] * 3");
  if (object % shape.group)
    add("Upstream Location", objectPath(object - 1, shape));
}

enum class Parameters { plain, real };

inline std::string modelText(const Shape& shape, Parameters parameters = Parameters::plain)
{
  const auto appendParams = [&](std::string& text, long object, const char* indent) {
    if (parameters == Parameters::real)
      appendRealParams(text, object, shape, indent);
    else
      bench::appendParams(text, object, indent);
  };
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

// Those of the real model: twenty more parameters that the texts leave at their defaults.
inline std::vector<std::string> realRules()
{
  std::vector<std::string> lines{"RULES:", "Categories = Geometry", "SchedulerTypes = Geometry, Picture",
                                 "KSLObjectClasses = DataKSLObject, GenericKSLObject"};
  std::string list;
  const auto add = [&](const std::string& name, const std::vector<std::string>& said) {
    lines.push_back("PARAMETER: " + name);
    lines.insert(lines.end(), said.begin(), said.end());
    lines.push_back("END");
    list += (list.empty() ? "" : ", ") + name;
  };
  add("Surface Roughness Height", {"Parameter Type = Real", "Default = 0 [mm]", "Local Type = Geometry"});
  add("Reference Temperature", {"Parameter Type = Real", "Default = 25 [C]", "Local Type = Geometry"});
  add("Wall Influence On Flow",
      {"Allowed String List = No Slip Wall, Free Slip Wall, Specified Shear", "Local Type = Geometry"});
  add("Visibility", {"Parameter Type = Logical", "Allowed String List = On, Off", "Local Type = Picture"});
  add("Transparency", {"Parameter Type = Real", "Default = 0", "Local Type = Picture"});
  add("Colour Palette Name", {"Parameter Type = String", "Local Type = Picture"});
  add("Description Of The Part", {"Parameter Type = String"});
  add("Rotation Axis Origin", {"Parameter Type = Real Triplet", "Local Type = Geometry"});
  add("Mass Flow Rate Formula", {"Parameter Type = Expression", "Local Type = Geometry"});
  add("Upstream Location", {"Local Type = Geometry", "Remote Type = Geometry"});
  for (int i = 0; i < 20; ++i)
    add("Spare Setting Of Number " + std::to_string(i),
        {"Default = a default value, number " + std::to_string(i)});
  for (const char* type : {"GROUP", "PART"})
    lines.insert(lines.end(), {std::string("OBJECT: ") + type, "KSLObject Class = GenericKSLObject",
                               "Scheduler = Geometry, Picture", "Scheduler Links = Geometry, Picture",
                               "Category = Geometry", "Optional Parameter List = " + list, "END"});
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
