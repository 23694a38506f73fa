// Texts, paths, lines of KSL, and the small tools of every layer.
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <rapidcheck/gtest.h>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

using namespace orv;
using namespace orv::StringUtilities;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;

namespace {

using Texts = std::vector<std::string>;

// Texts of the characters that matter to the functions here.
rc::Gen<std::string> textOf(const std::string& characters)
{
  return rc::gen::container<std::string>(rc::gen::elementOf(characters));
}

// ---------------------------------------------------------------------------------------------------- texts

// Bytes above 127 are letters.
RC_GTEST_PROP(StringUtilities, SimplifyingKeepsTheWords, ())
{
  const auto text = *textOf("ab\xa0\xe9 \t\n\r\v\f");
  std::istringstream stream(text);
  const Texts words(std::istream_iterator<std::string>(stream), {});
  RC_ASSERT(simplifyWhitespace(text) == vectorToString(words, ' '));
  RC_ASSERT(simplifyWhitespace(removeWhitespace(text)) == simplifyWhitespace(text));
  RC_ASSERT(removeAllWhitespace(text) == vectorToString(words, ""));
}

RC_GTEST_PROP(StringUtilities, CommentBeginsAtTheFirstCharacterOutsideQuotes, ())
{
  const auto line = *textOf("ab\"\"# ");
  std::size_t quotes = 0;
  std::size_t end = line.size();
  for (std::size_t i = 0; i < line.size() && end == line.size(); ++i) {
    const bool closesLater = line.find('"', i + 1) != std::string::npos;
    if (line[i] == '#' && (quotes % 2 == 0 || !closesLater))
      end = i;
    quotes += line[i] == '"' ? 1 : 0;
  }
  RC_ASSERT(removeComment(line) == line.substr(0, end));
}

TEST(StringUtilities, QuotesAndPaths)
{
  EXPECT_EQ(unquoted(R"("a b")"), "a b");
  EXPECT_EQ(unquoted(R"("")"), "");
  for (const char* text : {R"(")", R"("a" or "b")", R"("a)", R"(a")", "", "a"})
    EXPECT_EQ(unquoted(text), text);
  std::string simple;
  for (const char* path : {"", "//", ".", "/.", "//A///B/", "A/./B/.", "../A/..", "/A/.b/c."})
    simple += simplifyPath(path) + " ";
  EXPECT_EQ(simple, " /  / /A/B A/B ../A/.. /A/.b/c. ");
}

TEST(StringUtilities, ListsAndPairs)
{
  const std::pair<const char*, Texts> cases[] = {
      {"", {}},
      {" a , b ", {"a", "b"}},
      {"1 [m,s], {x,(y,z)}", {"1 [m,s]", "{x,(y,z)}"}},
      {R"("a,b", c)", {R"("a,b")", "c"}},
      {R"(f("),", 2), d)", {R"(f("),", 2))", "d"}},
      {"(a[1,b),c", {"(a[1,b)", "c"}},  // the inner one is never closed, the outer one is
      {"[(a,b],c),d", {"[(a,b]", "c)", "d"}},
  };
  for (const auto& [text, items] : cases)
    EXPECT_EQ(splitValue(text), items) << text;
  EXPECT_EQ(splitValue(std::string(200000, '(') + ",a").size(), 2U);

  EXPECT_THAT(stringToVector("", ','), IsEmpty());
  EXPECT_THAT(stringToVector(",a, b,", ','), ElementsAre("", "a", " b", ""));
  EXPECT_THAT(splitNameValue(" a = b=c "), Pair("a", "b=c"));
  EXPECT_THAT(splitObjectTypeAndName(R"(DATA READER : " a:b  c ")"), Pair("DATA READER", "a:b  c"));
  for (const char* singleton : {"A", "A:", " A : ", R"(A:"")", R"(A:" ")"})
    EXPECT_THAT(splitObjectTypeAndName(singleton), Pair("A", "A"));
}

// ------------------------------------------------------------------------------------------- continued lines

// How a reader joins lines, word for word: the first line is tested as it stands.
Texts joinAsAReader(const Texts& raw)
{
  Texts joined;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    std::string line = raw[i];
    if (!line.empty() && line.back() == '\\') {
      line.pop_back();
      while (i + 1 < raw.size()) {
        const std::string next = simplifyWhitespace(raw[++i]);
        line += next;
        if (next.empty() || next.back() != '\\')
          break;
        line.pop_back();
      }
    }
    joined.push_back(line);
  }
  return joined;
}

RC_GTEST_PROP(Continuation, JoinsAsTheReaderDoes, ())
{
  const auto lines = *rc::gen::container<Texts>(textOf("a \\\\"));
  RC_ASSERT(removeContinuation(lines) == joinAsAReader(lines));
}

RC_GTEST_PROP(Continuation, WrappingIsTheInverseOfJoining, ())
{
  const auto word = rc::gen::oneOf(
      textOf("ab#=:\\\""), rc::gen::just(std::string("\\")), rc::gen::just(std::string("\"quoted # text\"")),
      rc::gen::just(std::string("\"") + std::string(90, 'w') + " # x\""), rc::gen::just(std::string(9, 'v')));
  const auto text = simplifyWhitespace(vectorToString(*rc::gen::container<Texts>(word), ' '));
  const auto level = *rc::gen::inRange<std::size_t>(0, 60);
  const auto width = *rc::gen::inRange<std::size_t>(20, 100);
  const auto lineEnd = *rc::gen::element(std::string(), std::string("\n"));

  const auto wrapped =
      splitStringToSize(text + lineEnd, level, width) + (lineEnd.empty() ? "\n" : "") + "next";
  const auto joined = joinAsAReader(stringToVector(wrapped, '\n'));
  RC_ASSERT(joined.size() == 2U);
  RC_ASSERT(simplifyWhitespace(joined[0]) == text);
  RC_ASSERT(joined[1] == "next");
  for (const std::string& line : stringToVector(wrapped, '\n'))
    RC_ASSERT(line.size() <= width);
  // What is written must not be taken for a continued line when it is read a second time.
  RC_ASSERT(!joined[0].ends_with('\\'));
}

TEST(Continuation, Indents)
{
  EXPECT_THAT(indentKSL({"A: a  # b = c", "B:", "x = 1 \\", "y: z", "  ", "  END # B", "> act A:a", "END",
                         "END", "# C: c", "v = \\ ", "w = 1"}),
              ElementsAre("A: a  # b = c", "  B:", "    x = 1 y: z", "", "  END # B", "  > act A:a", "END",
                          "END", "# C: c", "v = \\ ", "w = 1"));
}

// ---------------------------------------------------------------------------------------------------- paths

RC_GTEST_PROP(PathUtils, FilterKeepsWhatHasNoAncestorInTheList, ())
{
  // "!" sorts before "/" and must not part a path from what lies below it.
  Texts paths;
  for (const auto& tail : *rc::gen::container<Texts>(textOf("//aa!")))
    paths.push_back(simplifyPath("/" + tail));
  Texts expected;
  for (std::size_t i = 0; i < paths.size(); ++i) {
    bool drop = false;
    for (std::size_t j = 0; j < paths.size(); ++j)
      drop |= j != i && PathUtils::isSameOrBelow(paths[i], paths[j]) && (paths[i] != paths[j] || j < i);
    if (!drop)
      expected.push_back(paths[i]);
  }
  RC_ASSERT(PathUtils::filterChildPaths(paths) == expected);
}

// A tree grows at random, some of it twice, so that equal paths share nothing; every path also stands there as a text of
// its own. "!" sorts before "/".
RC_GTEST_PROP(SharedText, LongPathsAreLikeTheirTexts, ())
{
  std::vector<std::pair<SharedText, std::string>> paths{{SharedText(), ""}};
  for (int i = 0; i < 60; ++i) {
    const auto& [parent, text] = paths[*rc::gen::inRange<std::size_t>(paths.size() / 2, paths.size())];
    const std::string component = "/" + *rc::gen::element<std::string>("a", "a!", "b", "")
                                  + std::string(*rc::gen::element(3, 9, 260), 'x');
    const std::string whole = text + component;
    const SharedText path = *rc::gen::inRange(0, 8) == 0 ? SharedText(whole) : parent.below(component);
    RC_ASSERT(path.isLong() || path.str() == whole);  // str() of a long one comes last
    RC_ASSERT(path.component() == component && path.parent() == text);
    paths.emplace_back(path, whole);
  }
  for (const auto& [a, textOfA] : paths) {
    RC_ASSERT(a.size() == textOfA.size() && a.copy() == textOfA && WholePath(a).str() == textOfA);
    for (const auto& [b, textOfB] : paths) {
      RC_ASSERT((a == b) == (textOfA == textOfB) && (a == textOfB) == (textOfA == textOfB));
      RC_ASSERT((a < b) == (textOfA < textOfB));
      RC_ASSERT(a.isSameOrBelow(b) == PathUtils::isSameOrBelow(textOfA, textOfB));
      RC_ASSERT(a.isSameOrBelow(textOfB) == PathUtils::isSameOrBelow(textOfA, textOfB));
    }
    RC_ASSERT(a.hash() == SharedText::hashOf(textOfA));
  }
  for (const auto& [path, text] : paths)
    RC_ASSERT(path.str() == text && path == text);
}

TEST(KSLPath, Components)
{
  const KSLPath path("/DATA READER/A:a b//B: \" c:d \" /A:A/E:/");
  EXPECT_EQ(path.getFullPath(), "/DATA READER/A:a b/B:c:d/A:A/E");
  EXPECT_EQ(path[2], (KSLPath::Component{"B", "c:d", false}));
  EXPECT_FALSE(path[3].singleton);  // a kind with names may have one named like itself
  EXPECT_EQ(path.getParentPath().getFullPath(), "/DATA READER/A:a b/B:c:d/A:A");
  EXPECT_EQ(path.getSubPath(9), path);
  EXPECT_THAT(KSLPath("/A:a\\/S/B:no#1").makeKSLPathAndEnd(),
              Pair("A:a\\ \n  S:\n    B:\"no#1\"\n", "    END\n  END\nEND\n"));
  EXPECT_LT(KSLPath("/A:a/B"), KSLPath("/A:a!"));  // as text it would be the other way round

  EXPECT_EQ(PathUtils::normalisePathsBwdComp("A:a, /B//C ,name,"), "/A:a,/B/C,name,");
}

// ------------------------------------------------------------------------------------------------- observers

class Scripted : public Observer {
 public:
  Scripted(std::string name, std::string& log) : m_name(std::move(name)), m_log(log) {}
  void update(ObserverSubject*, int type) override
  {
    m_log += m_name + std::to_string(type) + " ";
    if (const auto todo = std::exchange(then, nullptr))
      todo();
  }
  std::function<void()> then;  // done once, at the next event

 private:
  std::string m_name;
  std::string& m_log;
};

TEST(Observer, ObserversAndTypesComeAndGoInsideANotification)
{
  std::string log;
  ObserverSubject subject;
  Scripted a("a", log), c("c", log);
  auto b = std::make_unique<Scripted>("b", log);
  const auto logged = [&](int type) {
    log.clear();
    subject.notify(type);
    return log;
  };
  subject.attach(&a, {1, 2});
  subject.attach(&a, 1);
  subject.attach(nullptr, 1);
  a.then = [&] { subject.attach(b.get(), {1, 2}); };
  EXPECT_EQ(logged(1), "a1 ");
  a.then = [&] {  // one that goes in a notification inside another
    b->then = [&] {
      subject.detach(b.get());
      b.reset();
    };
    subject.notify(2);
    subject.attach(&c, 1);
  };
  EXPECT_EQ(logged(1), "a1 a2 b2 ");
  EXPECT_EQ(logged(1) + logged(2) + logged(3), "a1 c1 a2 ");
  c.then = [&] {  // out and in again: the event under way is not heard twice
    for (Scripted* one : {&c, &a}) {
      subject.detach(one);
      subject.attach(one, 1);
    }
  };
  EXPECT_EQ(logged(1), "a1 c1 ");
  c.then = [&] {
    subject.detach(&c);
    throw std::runtime_error("observer");
  };
  EXPECT_THROW(logged(1), std::runtime_error);
  EXPECT_EQ(log, "c1 a1 ") << "all are told";
  EXPECT_EQ(logged(1), "a1 ");
}

TEST(StringUtilities, ClosestIsWhatWasMeant)
{
  const std::vector<std::string> words = {"Axis", "Offset", "Option", "Axis Plane", "X", "Y"};
  const std::pair<const char*, const char*> cases[] = {{"Axs", "Axis"},
                                                       {"Aixs", "Axis"},
                                                       {"axis", "Axis"},
                                                       {"AXIS PLANE", "Axis Plane"},
                                                       {"Offsets", "Offset"},
                                                       {"Optoin", "Option"},
                                                       {"y", "Y"},
                                                       {"Axis", ""},  // it is there
                                                       {"W", ""},     // nothing of it is right
                                                       {"Ostrich", ""},
                                                       {"", ""},
                                                       {"Offtion", "Option"}};
  for (const auto& [word, meant] : cases)
    EXPECT_EQ(StringUtilities::closest(word, words), meant) << word;
}

}  // namespace
