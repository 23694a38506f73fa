// The syntax tree on any bytes: it keeps them all, its blocks lie in each other, an edit gives the tree of the new text,
// and formatting changes no statement and nothing the second time.
#include "platform/ORVSyntax.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

using namespace orv;
using Index = SyntaxTree::Index;

namespace {

void require(bool good, const char* what)
{
  if (good)
    return;
  std::cerr << what << "\n";
  std::abort();
}

void checkNodes(const SyntaxTree& tree)
{
  std::vector<SyntaxTree::Leaf> leaves;
  std::string room;
  for (Index i = 0; i < tree.size(); ++i) {
    const SyntaxTree::Node node = tree[i];
    require(tree.at(node.offset) == i && tree.atLine(node.line) == i, "a node is not where it is");
    require(node.last >= i && node.last < tree.size(), "a block ends before it begins");
    require(node.parent == SyntaxTree::none || (node.parent < i && node.last <= tree[node.parent].last),
            "a block is not in its block");
    (void)tree.read(i, room);
    tree.leaves(i, leaves);
  }
  std::size_t offset = 0;
  for (const SyntaxTree::Leaf& leaf : leaves) {
    require(leaf.offset == offset && leaf.size > 0, "leaves do not follow each other");
    offset += leaf.size;
  }
  require(offset == tree.text().size(), "bytes are lost");
  require(tree.reports().empty() != tree.isFaulty(), "a fault without a report, or the other way");
  (void)explainEnds(tree);
}

void requireSame(const SyntaxTree& a, const SyntaxTree& b)
{
  require(a.size() == b.size() && a.isFaulty() == b.isFaulty(), "an edit gives another tree");
  for (Index i = 0; i < a.size(); ++i) {
    const SyntaxTree::Node x = a[i];
    const SyntaxTree::Node y = b[i];
    require(x.kind == y.kind && x.faults == y.faults && x.offset == y.offset && x.size == y.size
                && x.line == y.line && x.parent == y.parent && x.last == y.last && x.closed == y.closed,
            "an edit gives another node");
  }
}

std::vector<std::string> statementsOf(const SyntaxTree& tree)
{
  std::vector<std::string> out;
  std::string room;
  for (Index i = 0; i < tree.size(); ++i) {
    const SyntaxTree::Statement said = tree.read(i, room);
    if (said.kind == SyntaxTree::Kind::blank)
      continue;
    std::string line = std::to_string(static_cast<int>(said.kind)) + (said.replace ? "&" : "");
    line.append("|").append(said.first).append("|").append(said.rest);
    out.push_back(said.kind == SyntaxTree::Kind::error ? std::string(said.text) : line);
  }
  return out;
}

}  // namespace

// The first two bytes say how the text is read, how wide it is formatted, and where it is edited.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
  if (size < 2 || size > 10000)
    return 0;
  const std::string text(reinterpret_cast<const char*>(data + 2), size - 2);
  const auto reading = static_cast<SyntaxTree::Reading>(data[0] % 3);
  const std::size_t width = 20 + data[0] / 3;
  SyntaxTree tree(text, reading);
  checkNodes(tree);

  const SyntaxTree formatted(formatKSL(tree, width), reading);
  require(statementsOf(formatted) == statementsOf(tree), "formatting changes a statement");
  require(formatKSL(formatted, width) == formatted.text(), "formatting changes formatted text");

  const std::size_t offset = text.size() * data[1] / 255;
  const std::size_t removed = std::min<std::size_t>(data[0] % 8, text.size() - offset);
  const std::string inserted = text.substr(0, data[1] % 32);
  tree.edit(offset, removed, inserted);
  requireSame(tree, SyntaxTree(std::string(text).replace(offset, removed, inserted), reading));
  return 0;
}
