#include "Manual.h"

#include "platform/ORVError.h"
#include "platform/ORVSystem.h"
#include "TypeText.h"

#include <cctype>
#include <filesystem>
#include <map>
#include <set>
#include <vector>

using orv::ParamInfo;
using orv::TypeCatalogue;
using orv::TypeInfo;

namespace {

// A page under way, in one of the two languages. Texts are those of people: what means something is escaped.
class Page {
 public:
  explicit Page(ManualFormat format, const std::string& title) : m_html(format == ManualFormat::html)
  {
    if (m_html)
      m_text = "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n<title>" + escaped(title)
               + "</title>\n<style>\nbody { font-family: sans-serif; max-width: 60em; margin: 2em auto; }\n"
                 "table { border-collapse: collapse; }\n"
                 "th, td { text-align: left; vertical-align: top; padding: 0.2em 1em 0.2em 0; }\n"
                 "tr { border-bottom: 1px solid #ccc; }\n</style>\n</head>\n<body>\n";
    heading(1, title);
  }

  void heading(int level, const std::string& text)
  {
    const std::string number = std::to_string(level);
    m_text += m_html ? "<h" + number + ">" + escaped(text) + "</h" + number + ">\n"
                     : std::string(m_text.empty() ? "" : "\n") + std::string(level, '#') + " " + escaped(text)
                           + "\n";
  }
  // The rest takes texts that are escaped already, so that they can hold links.
  void paragraph(const std::string& text)
  {
    if (!text.empty())
      m_text += m_html ? "<p>" + text + "</p>\n" : "\n" + text + "\n";
  }
  void table(const std::vector<std::string>& heads, const std::vector<std::vector<std::string>>& rows)
  {
    m_text += m_html ? "<table>\n" : "\n";
    row(heads, "th");
    if (!m_html)
      row(std::vector<std::string>(heads.size(), "---"), "");
    for (const std::vector<std::string>& cells : rows)
      row(cells, "td");
    if (m_html)
      m_text += "</table>\n";
  }
  std::string link(const std::string& text, const std::string& target) const
  {
    return m_html ? "<a href=\"" + target + "\">" + escaped(text) + "</a>"
                  : "[" + escaped(text) + "](" + target + ")";
  }
  std::string anchor(const std::string& name) const
  {
    return m_html ? "<span id=\"" + name + "\"></span>" : "<a id=\"" + name + "\"></a>";
  }
  std::string escaped(std::string_view text) const
  {
    std::string out;
    for (const char c : text) {
      if (c == '<')
        out += "&lt;";
      else if (c == '&')
        out += "&amp;";
      else if (m_html && c == '"')
        out += "&quot;";
      else if (!m_html && std::string_view("\\`*_[]|#").find(c) != std::string_view::npos)
        out.append("\\") += c;
      else
        out += c;
    }
    return out;
  }
  std::string text() const { return m_html ? m_text + "</body>\n</html>\n" : m_text; }

 private:
  void row(const std::vector<std::string>& cells, const std::string& tag)
  {
    m_text += m_html ? "<tr>" : "|";
    for (const std::string& cell : cells)
      m_text += m_html ? "<" + tag + ">" + cell + "</" + tag + ">" : " " + cell + " |";
    m_text += m_html ? "</tr>\n" : "\n";
  }

  const bool m_html;
  std::string m_text;
};

// Letters and digits of a name; what stands between them is a "-".
std::string plainName(std::string_view name)
{
  std::string plain;
  for (const char c : name) {
    const bool isPlain = std::isalnum(static_cast<unsigned char>(c)) != 0;
    if (isPlain)
      plain += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    else if (!plain.empty() && plain.back() != '-')
      plain += '-';
  }
  return plain.empty() ? "type" : plain;
}

class ManualWriter {
 public:
  ManualWriter(std::string folder, ManualFormat format)
      : m_folder(std::move(folder)),
        m_format(format),
        m_ending(format == ManualFormat::html ? ".html" : ".md")
  {
    std::set<std::string> used{"index"};
    for (const std::string& type : TypeCatalogue::types()) {
      std::string name = plainName(type);
      while (!used.insert(name).second)
        name += "-";
      m_files[type] = name + m_ending;
    }
  }

  void write() const
  {
    std::error_code fault;
    std::filesystem::create_directories(m_folder, fault);
    if (fault)
      throw orv::file::error("ksl", "describe",
                             orv::_("Cannot make folder '%s': %s.", m_folder, fault.message()));
    std::vector<std::vector<std::string>> rows;
    Page index(m_format, "Types");
    for (const auto& [name, file] : m_files) {
      const TypeInfo type = TypeCatalogue::describe(name);
      rows.push_back({link(index, name), index.escaped(firstSentence(type.description))});
      writeFile(file, typePage(type));
    }
    index.table({"Type", "What it is"}, rows);
    writeFile("index" + m_ending, index.text());
  }

 private:
  void writeFile(const std::string& name, const std::string& text) const
  {
    orv::ORVFile::replace(m_folder + "/" + name, text);
  }

  std::string link(const Page& page, const std::string& type) const
  {
    const auto found = m_files.find(type);
    return found == m_files.end() ? page.escaped(type) : page.link(type, found->second);
  }

  std::string links(const Page& page, const std::vector<std::string>& types) const
  {
    std::string text;
    for (const std::string& type : types)
      text += (text.empty() ? "" : ", ") + link(page, type);
    return text;
  }

  std::string typePage(const TypeInfo& type) const
  {
    Page page(m_format, type.name);
    page.paragraph(page.escaped(type.description));
    std::vector<std::vector<std::string>> facts;
    const auto add = [&](const char* name, const std::string& text) {
      if (!text.empty())
        facts.push_back({name, text});
    };
    add("Written", page.escaped(type.name + (type.singleton ? ":" : ": name")));
    add("Stands in", links(page, type.allowedParents));
    add("Holds", links(page, type.children));
    add("Computes", page.escaped(listed(type.schedulers, "and")));
    add("Categories", page.escaped(listed(type.categories, "and")));
    page.table({"", ""}, facts);
    for (const ParamGroup& group : groupsOf(type))
      writeGroup(page, group);
    page.paragraph(page.link("All types", "index" + m_ending));
    return page.text();
  }

  void writeGroup(Page& page, const ParamGroup& group) const
  {
    page.heading(2, group.title);
    std::vector<std::vector<std::string>> rows;
    for (const ParamInfo* param : group.params)
      rows.push_back({page.anchor(plainName(param->name)) + page.escaped(param->name),
                      page.escaped(param->defaultValue), takes(page, *param),
                      page.escaped(param->description)});
    page.table({"Parameter", "Default", "Takes", "Meaning"}, rows);
  }

  // Of a reference also which types can be meant.
  std::string takes(const Page& page, const ParamInfo& param) const
  {
    std::string text = page.escaped(kindText(param));
    if (param.remoteType.empty())
      return text;
    std::vector<std::string> targets;
    for (const auto& [name, file] : m_files)
      for (const std::string& scheduler : TypeCatalogue::listOf(name, "Scheduler"))
        if (scheduler == param.remoteType)
          targets.push_back(name);
    return targets.empty() ? text : text + ": " + links(page, targets);
  }

  const std::string m_folder;
  const ManualFormat m_format;
  const std::string m_ending;
  std::map<std::string, std::string> m_files;  // of each type
};

}  // namespace

std::string firstSentence(std::string_view text)
{
  const std::size_t end = text.find(". ");
  return std::string(text.substr(0, end == std::string_view::npos ? end : end + 1));
}

void writeManual(const std::string& folder, ManualFormat format)
{
  ManualWriter(folder, format).write();
}
