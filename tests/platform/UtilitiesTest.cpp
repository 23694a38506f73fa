// Texts, paths, lines of KSL, and the small tools of every layer.
#include "platform/ORVKSLParseUtilities.h"
#include "platform/ORVUtilities.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iomanip>
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

// ------------------------------------------------------------------------------------------- shared objects

struct Counted : rcount_base {
  explicit Counted(int& alive) : m_alive(alive) { ++m_alive; }
  Counted(const Counted& other) : rcount_base(other), m_alive(other.m_alive) { ++m_alive; }
  ~Counted() { --m_alive; }
  int& m_alive;
};

TEST(RefcntPtr, LastHolderDeletes)
{
  int alive = 0;
  {
    refcnt_ptr<Counted> first(new Counted(alive));
    refcnt_ptr<const Counted> second = first;
    first = refcnt_ptr<Counted>(new Counted(*second));  // a copy starts with holders of its own
    EXPECT_EQ(alive, 2);
    const refcnt_ptr<Counted>& alias = first;
    first = alias;
    EXPECT_EQ(first->refCount(), 1U);
    second = nullptr;
    EXPECT_EQ(alive, 1);
    const refcnt_ptr<Counted> third = std::move(first);
    EXPECT_EQ(third->refCount(), 1U);
  }
  EXPECT_EQ(alive, 0);
}

// ---------------------------------------------------------------------------------------------------- texts

// Bytes above 127 are letters.
RC_GTEST_PROP(StringUtilities, SimplifyingKeepsTheWords, ())
{
  const auto text = *textOf("ab\xa0\xe9 \t\n\r\v\f");
  const std::string white = " \t\n\r\v\f";
  std::string words;
  std::string letters;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (white.find(text[i]) != std::string::npos)
      continue;
    if (!words.empty() && white.find(text[i - 1]) != std::string::npos)
      words += ' ';
    words += text[i];
    letters += text[i];
  }
  RC_ASSERT(simplifyWhitespace(text) == words);
  RC_ASSERT(simplifyWhitespace(removeWhitespace(text)) == words);
  RC_ASSERT(removeAllWhitespace(text) == letters);
  std::string appended = "x";
  appendSimplified(appended, text);
  RC_ASSERT(appended == "x" + words);
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
  EXPECT_EQ(removeWhitespace("\tDATA  READER \n"), "DATA  READER");
  EXPECT_EQ(unquoted(R"("a b")"), "a b");
  EXPECT_EQ(unquoted(R"("")"), "");
  for (const char* text : {R"(")", R"("a" or "b")", R"("a)", R"(a")", "", "a"})
    EXPECT_EQ(unquoted(text), text);
  std::string simple;
  for (const char* path :
       {"", "/", "//", ".", "/.", "/A:a/B", "//A///B/", "A/./B/.", "../A/..", "./A", "/A/.b/c."})
    simple += simplifyPath(path) + " ";
  EXPECT_EQ(simple, " / /  / /A:a/B /A/B A/B ../A/.. A /A/.b/c. ");
}

TEST(StringUtilities, ListsAndPairs)
{
  const std::pair<const char*, Texts> cases[] = {
      {"", {}},
      {" \t", {}},
      {" a , b ", {"a", "b"}},
      {",a,", {"", "a", ""}},
      {"1 [m,s], {x,(y,z)}", {"1 [m,s]", "{x,(y,z)}"}},
      {R"("a,b", c)", {R"("a,b")", "c"}},
      {R"(f("),", 2), d)", {R"(f("),", 2))", "d"}},
      {R"(5", 6)", {R"(5")", "6"}},     // never closed
      {"max(1,2", {"max(1", "2"}},      // never closed
      {"a),b", {"a)", "b"}},            // never opened
      {"(a[1,b),c", {"(a[1,b)", "c"}},  // the inner one is never closed, the outer one is
      {"[(a,b],c),d", {"[(a,b]", "c)", "d"}},
  };
  for (const auto& [text, items] : cases)
    EXPECT_EQ(splitValue(text), items) << text;
  EXPECT_EQ(splitValue(std::string(200000, '(') + ",a").size(), 2U);

  EXPECT_THAT(stringToVector("", ','), IsEmpty());
  EXPECT_THAT(stringToVector(",a, b,", ','), ElementsAre("", "a", " b", ""));
  EXPECT_EQ(vectorToString({"a", "", "b"}, ", "), "a, , b");
  EXPECT_THAT(splitNameValue(" a = b=c "), Pair("a", "b=c"));
  EXPECT_THAT(splitNameValue(" a "), Pair("a", ""));
  EXPECT_THAT(splitObjectTypeAndName(R"(DATA READER : " a:b  c ")"), Pair("DATA READER", "a:b  c"));
  for (const char* singleton : {"A", "A:", " A : ", R"(A:"")", R"(A:" ")"})
    EXPECT_THAT(splitObjectTypeAndName(singleton), Pair("A", "A"));
}

TEST(StringUtilities, LogicalWordsAndNumbers)
{
  std::string answers;
  for (const char* text : {"True", " on ", "YES", "1", "false", "Off", "no", "0", "", "tru", "2", "yes no"}) {
    bool ok = false;
    const bool yes = isTrue(text, ok);
    answers += ok ? (yes ? 'y' : 'n') : (yes ? '!' : '?');
  }
  EXPECT_EQ(answers, "yyyynnnn????");
  EXPECT_EQ(toString(7.0) + toString(0.1) + toString(-12), "70.1-12");
  EXPECT_EQ(toString(std::size_t(-1)), "18446744073709551615");
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

TEST(Continuation, WrapsAtTheWidthAndIndents)
{
  EXPECT_EQ(splitStringToSize("Name = aaaa bbbb cccc dddd", 1, 20), "  Name = aaaa bbbb \\\n  cccc dddd");
  EXPECT_EQ(splitStringToSize("Name = aaaa bbbb ccc", 0, 20), "Name = aaaa bbbb ccc");  // fits to the column
  EXPECT_EQ(splitStringToSize("a \"b c d e f g h i j k\" l\n", 0, 1),
            "a \\\n\"b c d e f g h i j \\\nk\" l\n");
  EXPECT_EQ(splitStringToSize("v = \"a\nb\"", 0, 80), "v = \"a b\"");
  const std::string margin(10, ' ');  // ten columns are left
  const std::string part = margin + "xxxxxxxxx\\\n";
  EXPECT_EQ(splitStringToSize("a " + std::string(30, 'x'), 9, 20),
            margin + "a \\\n" + part + part + part + margin + "xxx");
  EXPECT_THAT(indentKSL({"A: a  # b = c", "B:", "x = 1 \\", "y: z", "", "  END # B", "> act A:a", "END",
                         "END", "# C: c", "v = \\ ", "w = 1"}),
              ElementsAre("A: a  # b = c", "  B:", "    x = 1 y: z", "", "  END # B", "  > act A:a", "END",
                          "END", "# C: c", "v = \\ ", "w = 1"));
}

// ------------------------------------------------------------------------------------------------ lines of KSL

class Tracer : public MiniKSLParser {
 public:
  using MiniKSLParser::MiniKSLParser;
  Texts trace;

 protected:
  void newObject(const std::string& type, const std::string& name) override
  {
    add(inReplaceMode() ? "replace" : "new", type + "," + name);
  }
  void newParameter(const std::string& name, const std::string& value) override
  {
    add("param", name + "," + value);
  }
  void endObject() override { add("end", openBlocks().back().second); }
  void otherLine(const std::string& line) override { add("other", line); }

 private:
  void add(const std::string& what, const std::string& text)
  {
    trace.push_back(std::to_string(currentIndex()) + " " + std::to_string(openBlocks().size()) + " " + what
                    + " " + text);
  }
};

TEST(MiniKSLParser, CallsBackForEachLine)
{
  Tracer parser({"END", "A: a # c", "  &replace B: \"b b\"", "# C: c", "", "p = 1, 2 # two", "END", "  > act",
                 "D:", "END", "END", "q =", "A:b = c"});
  for (int round = 0; round < 2; ++round) {
    parser.trace.clear();
    parser.parse();
    EXPECT_THAT(parser.trace,
                ElementsAre("0 0 other END", "1 1 new A,a", "2 2 replace B,b b", "5 2 param p,1, 2",
                            "6 2 end b b", "7 1 other   > act", "8 2 new D,D", "9 2 end D", "10 1 end a",
                            "11 0 param q,", "12 0 other A:b = c"));
  }
}

TEST(ObjectKSLParser, FindsTheFirstBlock)
{
  const Texts text = {"OTHER: o", "  A: a", "    A: b", "      x = 1", "    END", "  END",
                      "END",      "A: b",   "  x = 2",  "END",         "C:"};
  ObjectKSLParser parser(text);
  EXPECT_EQ(parser.parseForObject("A"), Texts(text.begin() + 1, text.begin() + 6));
  EXPECT_EQ(parser.parseForObject("A", "b"), Texts(text.begin() + 2, text.begin() + 5));
  EXPECT_THAT(parser.parseForObject("A", "c"), IsEmpty());
  EXPECT_THAT(parser.parseForObject("C"), IsEmpty());  // never closed
}

TEST(KSLBuilder, WritesBlocks)
{
  KSLBuilder builder;
  builder.endObject();
  builder.beginObject("A", "a#1");
  builder.addParam("x", " 1,\n2 ");
  builder.beginObject("S", "S");
  builder.addParam("y", "");
  builder.endObject();
  builder.endObject();
  builder.addAction("update ");
  EXPECT_EQ(builder.text(), "A:\"a#1\"\n  x = 1, 2\n  S:\n    y =\n  END\nEND\n> update\n");
}

RC_GTEST_PROP(KSLBuilder, WhatIsWrittenReadsBack, ())
{
  const auto name = "n" + simplifyWhitespace(*textOf("ab #\\"));
  const auto value = simplifyWhitespace(*textOf("ab:=\\ "));
  KSLBuilder builder;
  builder.beginObject("A", name);
  builder.addParam("p", value);
  builder.endObject();
  Tracer reader(removeContinuation(stringToVector(builder.text(), '\n')));
  reader.parse();
  RC_ASSERT(reader.trace == (Texts{"0 1 new A," + name, "1 1 param p," + value, "2 1 end " + name}));
}

// ---------------------------------------------------------------------------------------------------- paths

TEST(PathUtils, OldPathForms)
{
  EXPECT_EQ(PathUtils::normalisePathBwdComp("A:a//B/"), "/A:a/B");
  for (const char* kept : {"/A:a", "name/B:b", ""})
    EXPECT_EQ(PathUtils::normalisePathBwdComp(kept), kept);
  EXPECT_EQ(PathUtils::normalisePathsBwdComp("A:a, /B//C ,name,"), "/A:a,/B/C,name,");
  EXPECT_EQ(PathUtils::parentPath("/A/B:b"), "/A");
  EXPECT_EQ(PathUtils::parentPath("/A"), "");
  EXPECT_TRUE(PathUtils::isSameOrBelow("/A/B", "/A") && PathUtils::isSameOrBelow("/A", "/"));
  EXPECT_FALSE(PathUtils::isSameOrBelow("/AB", "/A") || PathUtils::isSameOrBelow("/A", "/A/B"));
}

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

TEST(KSLPath, ComponentsAndChanges)
{
  const KSLPath path("/DATA READER/A:a b//B: \" c:d \" /A:A/E:/");
  EXPECT_EQ(path.getFullPath(), "/DATA READER/A:a b/B:c:d/A:A/E");
  ASSERT_EQ(path.size(), 5U);
  EXPECT_EQ(path[2], (KSLPath::Component{"B", "c:d", false}));
  EXPECT_FALSE(path[3].singleton);  // a kind with names may have one named like itself
  EXPECT_TRUE(path.isSingleton());
  EXPECT_EQ(path.getParentPath().getFullPath(), "/DATA READER/A:a b/B:c:d/A:A");
  EXPECT_EQ(path.getSubPath(1).getFullPath(), "/DATA READER");
  EXPECT_EQ(path.getSubPath(9), path);
  EXPECT_EQ(KSLPath("A:a"), KSLPath("/A:a"));
  EXPECT_THAT(KSLPath("/A:a\\/S/B:no#1").makeKSLPathAndEnd(),
              Pair("A:a\\ \n  S:\n    B:\"no#1\"\n", "    END\n  END\nEND\n"));
  EXPECT_LT(KSLPath("/A:a"), KSLPath("/A:a/B"));
  EXPECT_LT(KSLPath("/A:a/B"), KSLPath("/A:a!"));  // as text it would be the other way round

  KSLPath changed("/");
  EXPECT_TRUE(changed == KSLPath() && changed.isSingleton());
  EXPECT_EQ(changed.getLastType() + changed.getLastName() + changed.getFullPath(), "");
  changed.pop();
  changed.replaceLastName("x");
  EXPECT_TRUE(changed.getParentPath().empty());
  changed.push("A", "a");
  changed.push("S", "S");
  changed.push("T");
  EXPECT_EQ(changed.getFullPath(), "/A:a/S/T");
  changed.pop();
  changed.pop();
  changed.replaceLastName("b");
  EXPECT_EQ(changed.getFullPath(), "/A:b");
}

// ------------------------------------------------------------------------------------------------- observers

class Scripted : public Observer {
 public:
  Scripted(std::string name, std::string& log) : m_name(std::move(name)), m_log(log) {}
  void update(ObserverSubject* subject, int type) override
  {
    m_log += m_name + std::to_string(type) + " ";
    if (const auto todo = std::exchange(then, nullptr))
      todo(*subject);
  }
  std::function<void(ObserverSubject&)> then;  // done once, at the next event

 private:
  std::string m_name;
  std::string& m_log;
};

struct ObserverTest : testing::Test {
  std::string logged(int type)
  {
    log.clear();
    subject.notify(type);
    return log;
  }
  std::string log;
  ObserverSubject subject;
  Scripted a{"a", log};
  std::unique_ptr<Scripted> b = std::make_unique<Scripted>("b", log);
  Scripted c{"c", log};
};

TEST_F(ObserverTest, ObserversAndTypesComeAndGoInsideANotification)
{
  subject.attach(&a, 1);
  subject.attach(&a, 1);
  subject.attach(nullptr, 1);
  subject.attach(b.get(), 2);
  a.then = [this](ObserverSubject& s) { s.attach(b.get(), {1, 2}); };
  EXPECT_EQ(logged(1), "a1 ");
  EXPECT_EQ(logged(1) + logged(2) + logged(3), "a1 b1 b2 ");
  a.then = [this](ObserverSubject& s) {
    s.detach(b.get());
    b.reset();
    s.attach(&c, 1);
  };
  EXPECT_EQ(logged(1), "a1 ");
  EXPECT_EQ(logged(1), "a1 c1 ");
  c.then = [this](ObserverSubject& s) {  // out and in again: the event under way is not heard twice
    s.detach(&c);
    s.attach(&c, 1);
    s.detach(&a);
    s.attach(&a, {1, 2});
  };
  EXPECT_EQ(logged(1), "a1 c1 ");
  EXPECT_EQ(logged(1), "c1 a1 ");
  EXPECT_EQ(logged(2), "a2 ");
}

TEST_F(ObserverTest, NestedNotificationAndFailure)
{
  subject.attach(&a, {1, 2});
  subject.attach(b.get(), {1, 2});
  a.then = [this](ObserverSubject& s) {
    b->then = [this](ObserverSubject& inner) {
      inner.detach(b.get());
      b.reset();
    };
    s.notify(2);
  };
  EXPECT_EQ(logged(1), "a1 a2 b2 ");

  subject.attach(&c, 1);
  a.then = [this](ObserverSubject& s) {
    s.detach(&a);
    throw std::runtime_error("observer");
  };
  EXPECT_THROW(logged(1), std::runtime_error);
  EXPECT_EQ(log, "a1 ");
  subject.attach(&a, 1);
  EXPECT_EQ(logged(1), "c1 a1 ");
}

// ------------------------------------------------------------------------------------------- scopes and time

TEST(ScopeGuard, RunsOnEveryExitAndSwallowsItsFailure)
{
  int runs = 0;
  {
    ScopeGuard guard([&runs] {
      ++runs;
      throw std::runtime_error("guard");
    });
    ScopeGuard dismissed([&runs] { runs += 100; });
    dismissed.dismiss();
  }
  EXPECT_EQ(runs, 1);
}

std::string measured;

TEST(Time, LocalDateAndTimersThatTellTheirListener)
{
  std::tm local{};
  local.tm_isdst = -1;
  std::istringstream("2026-03-01 14:05:09") >> std::get_time(&local, "%Y-%m-%d %H:%M:%S");
  EXPECT_EQ(testing::PrintToString(cTime(std::mktime(&local))), "2026-03-01 14:05:09");

  OperationTimer::Listener const before = OperationTimer::setListener([](const char* name, double seconds) {
    measured += std::string(name) + (seconds >= 0 && seconds < 60 ? " " : " wrong ");
    throw std::runtime_error("listener");
  });
  {
    const OperationTimer outer("outer");
    const OperationTimer inner("inner");
  }
  OperationTimer::setListener(nullptr);
  (void)OperationTimer("unheard");
  EXPECT_EQ(measured, "inner outer ");
  OperationTimer::setListener(before);
}

}  // namespace
