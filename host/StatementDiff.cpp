#include "StatementDiff.h"

#include <algorithm>
#include <string_view>

namespace {

constexpr std::size_t context = 3;  // lines round a change

struct Line {
  char mark;  // ' ', '-' or '+'
  std::string_view text;
};

void addLines(std::vector<Line>& out, char mark, std::string_view text)
{
  while (!text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
    out.push_back({mark, text.substr(0, end)});
    text.remove_prefix(end);
  }
}

std::vector<Line> linesOf(const orv::SyntaxTree& tree, const std::vector<std::string>& statements)
{
  std::vector<Line> lines;
  std::vector<Line> added;  // behind what is taken away beside it
  for (orv::SyntaxTree::Index i = 0; i < tree.size(); ++i) {
    const bool same = tree.source(i) == statements[i];
    if (same) {
      lines.insert(lines.end(), added.begin(), added.end());
      added.clear();
    } else {
      addLines(added, '+', statements[i]);
    }
    addLines(lines, same ? ' ' : '-', tree.source(i));
  }
  lines.insert(lines.end(), added.begin(), added.end());
  return lines;
}

// A hunk is a range of lines; the counters are those of the lines before it.
class Writer {
 public:
  Writer(const std::vector<Line>& lines, const std::string& fileName)
      : m_lines(lines),
        m_out("--- " + fileName + "\n+++ " + fileName + "\n")
  {}

  std::string write()
  {
    std::size_t done = 0;
    for (std::size_t first = nextChange(0); first < m_lines.size();) {
      std::size_t last = first;  // of the changes that share the hunk
      std::size_t next = nextChange(last + 1);
      for (; next < m_lines.size() && next - last <= 2 * context; next = nextChange(last + 1))
        last = next;
      const std::size_t begin = std::max(done, first - std::min(first, context));
      const std::size_t end = std::min(last + 1 + context, m_lines.size());
      skip(done, begin);
      writeHunk(begin, end);
      done = end;
      first = next;
    }
    return std::move(m_out);
  }

 private:
  std::size_t nextChange(std::size_t from) const
  {
    while (from < m_lines.size() && m_lines[from].mark == ' ')
      ++from;
    return from;
  }

  void skip(std::size_t begin, std::size_t end)
  {
    m_old += end - begin;
    m_new += end - begin;
  }

  static std::string range(std::size_t before, std::size_t count)
  {
    return std::to_string(count == 0 ? before : before + 1) + (count == 1 ? "" : "," + std::to_string(count));
  }

  void writeHunk(std::size_t begin, std::size_t end)
  {
    const auto from = m_lines.begin() + static_cast<std::ptrdiff_t>(begin);
    const auto to = m_lines.begin() + static_cast<std::ptrdiff_t>(end);
    const auto added =
        static_cast<std::size_t>(std::count_if(from, to, [](Line line) { return line.mark == '+'; }));
    const auto gone =
        static_cast<std::size_t>(std::count_if(from, to, [](Line line) { return line.mark == '-'; }));
    const std::size_t size = end - begin;
    m_out += "@@ -" + range(m_old, size - added) + " +" + range(m_new, size - gone) + " @@\n";
    for (auto line = from; line != to; ++line) {
      m_out += line->mark;
      m_out += line->text;
      if (!line->text.ends_with('\n'))
        m_out += "\n\\ No newline at end of file\n";
    }
    m_old += size - added;
    m_new += size - gone;
  }

  const std::vector<Line>& m_lines;
  std::string m_out;
  std::size_t m_old = 0;
  std::size_t m_new = 0;
};

}  // namespace

std::string statementDiff(const orv::SyntaxTree& tree, const std::vector<std::string>& statements,
                          const std::string& fileName)
{
  const std::vector<Line> lines = linesOf(tree, statements);
  if (std::all_of(lines.begin(), lines.end(), [](Line line) { return line.mark == ' '; }))
    return {};
  return Writer(lines, fileName).write();
}
