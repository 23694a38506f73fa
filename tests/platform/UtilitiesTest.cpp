#include "platform/ORVUtilities.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <rapidcheck/gtest.h>
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

TEST(SharedText, HoldsOneTextForAllCopies)
{
  const SharedText text("a value");
  SharedText copy = text;
  EXPECT_TRUE(copy.same(text));
  EXPECT_EQ(copy, SharedText(std::string("a value")));
  EXPECT_FALSE(copy.same(SharedText("a value")));
  EXPECT_FALSE(copy == SharedText());
  const SharedText moved = std::move(copy);
  EXPECT_EQ(moved.str(), "a value");
  EXPECT_TRUE(SharedText("") == SharedText() && SharedText(std::string()).empty());
  EXPECT_EQ(std::hash<SharedText>()(text), std::hash<SharedText>()(SharedText("a value")));
}

// ---------------------------------------------------------------------------------------------------- texts

TEST(StringUtilities, WhiteSpaceIsTheSameEverywhere)
{
  EXPECT_EQ(simplifyWhitespace(" \t a \r\n b\v\fc  "), "a b c");
  EXPECT_EQ(simplifyWhitespace("a\xa0\xe9 b"), "a\xa0\xe9 b");  // bytes above 127 are letters
  EXPECT_EQ(removeWhitespace("\tDATA  READER \n"), "DATA  READER");
  EXPECT_EQ(removeAllWhitespace(" a b\tc "), "abc");
  std::string out = "x";
  appendSimplified(out, "  a\tb ");
  EXPECT_EQ(out, "xa b");
}

RC_GTEST_PROP(StringUtilities, SimplifyingKeepsTheWords, ())
{
  const auto text = *textOf("ab \t\n");
  std::string words;
  for (const auto& line : stringToVector(text, '\n'))
    for (const auto& part : stringToVector(line, '\t'))
      for (const auto& word : stringToVector(part, ' '))
        if (!word.empty())
          words += (words.empty() ? "" : " ") + word;
  RC_ASSERT(simplifyWhitespace(text) == words);
}

TEST(StringUtilities, CommentsAndQuotes)
{
  EXPECT_EQ(removeComment("a # b # c"), "a ");
  EXPECT_EQ(removeComment(R"(a = "#1" # "x")"), R"(a = "#1" )");
  EXPECT_EQ(removeComment(R"(a = 5" # inch)"), R"(a = 5" )");
  EXPECT_EQ(removeComment(R"("a" "b # c)"), R"("a" "b )");
  EXPECT_EQ(removeComment("a ! b # c", '!'), "a ");
  EXPECT_EQ(unquoted(R"("a b")"), "a b");
  EXPECT_EQ(unquoted(R"("")"), "");
  for (const char* text : {R"(")", R"("a" or "b")", R"("a)", R"(a")", "", "a"})
    EXPECT_EQ(unquoted(text), text);
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

TEST(StringUtilities, SimplifyPath)
{
  const std::pair<const char*, const char*> cases[] = {
      {"", ""},
      {"/", "/"},
      {"//", "/"},
      {".", ""},
      {"/.", "/"},
      {"/A:a/B", "/A:a/B"},
      {"//A///B/", "/A/B"},
      {"A/./B/.", "A/B"},
      {"../A/..", "../A/.."},
      {"./A", "A"},
      {"/A/.b/c.", "/A/.b/c."},
  };
  for (const auto& [path, expected] : cases) {
    EXPECT_EQ(simplifyPath(path), expected) << path;
    EXPECT_EQ(simplifyPath(expected), expected);
  }
}

TEST(StringUtilities, PlainSplitKeepsEveryPiece)
{
  EXPECT_THAT(stringToVector("", ','), IsEmpty());
  EXPECT_THAT(stringToVector(",a, b,", ','), ElementsAre("", "a", " b", ""));
  EXPECT_EQ(vectorToString({"a", "", "b"}, ','), "a,,b");
  EXPECT_EQ(vectorToString({"a", "b"}, ", "), "a, b");
}

TEST(StringUtilities, ListValues)
{
  const std::pair<const char*, Texts> cases[] = {
      {"", {}},
      {" \t", {}},
      {"a", {"a"}},
      {" a , b ", {"a", "b"}},
      {",a,", {"", "a", ""}},
      {"max(1,2), 3", {"max(1,2)", "3"}},
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
  const std::string deep(200000, '(');
  EXPECT_EQ(splitValue(deep + ",a").size(), 2U);
}

RC_GTEST_PROP(StringUtilities, ListItemsSplitNoFurther, ())
{
  for (const auto& item : splitValue(*textOf("a,,()[]\" ")))
    if (item.find_first_of("([\"") == std::string::npos)
      RC_ASSERT(splitValue(item) == (item.empty() ? Texts() : Texts{item}));
}

TEST(StringUtilities, NamesWithValuesAndTypes)
{
  EXPECT_THAT(splitNameValue(" a = b=c "), Pair("a", "b=c"));
  EXPECT_THAT(splitNameValue(" a "), Pair("a", ""));
  EXPECT_THAT(splitObjectTypeAndName("DATA READER : a:b "), Pair("DATA READER", "a:b"));
  EXPECT_THAT(splitObjectTypeAndName(R"(A: " a  b ")"), Pair("A", "a  b"));
  for (const char* singleton : {"A", "A:", " A : ", R"(A:"")", R"(A:" ")"})
    EXPECT_THAT(splitObjectTypeAndName(singleton), Pair("A", "A"));
}

TEST(StringUtilities, LogicalWordsAndNumbers)
{
  for (const char* text : {"True", " on ", "YES", "1", "false", "Off", "no", "0", "", "tru", "2", "yes no"}) {
    const std::string word = toLower(removeWhitespace(text));
    const bool yes = word == "true" || word == "on" || word == "yes" || word == "1";
    const bool known = yes || word == "false" || word == "off" || word == "no" || word == "0";
    bool ok = !known;
    EXPECT_EQ(isTrue(text, ok), yes) << text;
    EXPECT_EQ(ok, known) << text;
  }
  EXPECT_EQ(toString(7.0), "7");
  EXPECT_EQ(toString(0.1), "0.1");
  EXPECT_EQ(toString(-12), "-12");
  EXPECT_EQ(toString(std::size_t(-1)), "18446744073709551615");
}

// ------------------------------------------------------------------------------------------- continued lines

// How a reader joins lines, word for word.
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

TEST(Continuation, FirstLineIsTestedAsItStands)
{
  EXPECT_THAT(removeContinuation({"x = 1 \\", "  + 2", "END"}), ElementsAre("x = 1 + 2", "END"));
  EXPECT_THAT(removeContinuation({"a\\ ", "b"}), ElementsAre("a\\ ", "b"));
  EXPECT_THAT(removeContinuation({"a \\", " b \\  ", "c"}), ElementsAre("a b c"));
  EXPECT_THAT(removeContinuation({"a\\", "", "b\\"}), ElementsAre("a", "b"));
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
  RC_ASSERT(removeContinuation(stringToVector(wrapped, '\n')) == joined);
  for (const std::string& line : stringToVector(wrapped, '\n'))
    RC_ASSERT(line.size() <= width);
  // What is written must not be taken for a continued line when it is read a second time.
  RC_ASSERT(!joined[0].ends_with('\\'));
}

TEST(Continuation, WrapsAtTheWidth)
{
  EXPECT_EQ(splitStringToSize("Name = aaaa bbbb cccc dddd", 1, 20), "  Name = aaaa bbbb \\\n  cccc dddd");
  EXPECT_EQ(splitStringToSize("Name = aaaa bbbb ccc", 0, 20), "Name = aaaa bbbb ccc");  // fits to the column
  EXPECT_EQ(splitStringToSize("Name = aaaa bbbb cc dd", 0, 20), "Name = aaaa bbbb \\\ncc dd");
  EXPECT_EQ(splitStringToSize("a \"b c d e f g h i j k\" l\n", 0, 1),
            "a \\\n\"b c d e f g h i j \\\nk\" l\n");
  EXPECT_EQ(splitStringToSize("v = \"a\nb\"", 0, 80), "v = \"a b\"");
  EXPECT_EQ(splitStringToSize("v = C:\\", 0, 80) + "\n", "v = C:\\ \\\n\n");
  EXPECT_EQ(splitStringToSize("", 3, 80), "");
  const std::string word(30, 'x');
  EXPECT_EQ(splitStringToSize("a " + word, 9, 20),  // ten columns are left
            std::string(10, ' ') + "a \\\n" + std::string(10, ' ') + "xxxxxxxxx\\\n" + std::string(10, ' ')
                + "xxxxxxxxx\\\n" + std::string(10, ' ') + "xxxxxxxxx\\\n" + std::string(10, ' ') + "xxx");
}

TEST(Continuation, IndentKSL)
{
  EXPECT_THAT(indentKSL({"A: a  # b = c", "B:", "x = 1 \\", "y: z", "", "  END # B", "> act A:a", "END",
                         "END", "# C: c", "v = \\ ", "w = 1"}),
              ElementsAre("A: a  # b = c", "  B:", "    x = 1 y: z", "", "  END # B", "  > act A:a", "END",
                          "END", "# C: c", "v = \\ ", "w = 1"));
}

// ---------------------------------------------------------------------------------------------------- paths

TEST(PathUtils, OldPathForms)
{
  EXPECT_EQ(PathUtils::normalisePathBwdComp("A:a//B/"), "/A:a/B");
  EXPECT_EQ(PathUtils::normalisePathBwdComp("/A:a"), "/A:a");
  EXPECT_EQ(PathUtils::normalisePathBwdComp("name/B:b"), "name/B:b");
  EXPECT_EQ(PathUtils::normalisePathBwdComp(""), "");
  EXPECT_EQ(PathUtils::normalisePathsBwdComp("A:a, /B//C ,name,"), "/A:a,/B/C,name,");
  EXPECT_EQ(PathUtils::parentPath("/A/B:b"), "/A");
  EXPECT_EQ(PathUtils::parentPath("/A"), "");
  EXPECT_TRUE(PathUtils::isSameOrBelow("/A/B", "/A") && PathUtils::isSameOrBelow("/A", "/"));
  EXPECT_FALSE(PathUtils::isSameOrBelow("/AB", "/A") || PathUtils::isSameOrBelow("/A", "/A/B"));
}

RC_GTEST_PROP(PathUtils, FilterKeepsWhatHasNoAncestorInTheList, ())
{
  // "!" sorts before "/" and must not part a path from what lies below it.
  const auto tails = *rc::gen::container<Texts>(textOf("//aa!"));
  Texts paths;
  for (const auto& tail : tails)
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

TEST(KSLPath, Components)
{
  const KSLPath path("/DATA READER/A:a b//B: \" c:d \" /A:A/E:/");
  EXPECT_EQ(path.getFullPath(), "/DATA READER/A:a b/B:c:d/A:A/E");
  ASSERT_EQ(path.size(), 5U);
  EXPECT_EQ(path[2], (KSLPath::Component{"B", "c:d", false}));
  EXPECT_FALSE(path[3].singleton);  // a kind with names may have one named like itself
  EXPECT_TRUE(path.isSingleton());
  EXPECT_EQ(path.getLastName(), "E");
  EXPECT_EQ(path.getParentPath().getFullPath(), "/DATA READER/A:a b/B:c:d/A:A");
  EXPECT_EQ(path.getSubPath(1).getFullPath(), "/DATA READER");
  EXPECT_EQ(path.getSubPath(9), path);
  EXPECT_EQ(KSLPath("A:a"), KSLPath("/A:a"));
}

TEST(KSLPath, EmptyAndChanged)
{
  KSLPath path("/");
  EXPECT_TRUE(path == KSLPath() && path.isSingleton());
  EXPECT_EQ(path.getLastType() + path.getLastName() + path.getFullPath(), "");
  path.pop();
  path.replaceLastName("x");
  EXPECT_TRUE(path.getParentPath().empty());
  path.push("A", "a");
  path.push("S", "S");
  path.push("T");
  EXPECT_EQ(path.getFullPath(), "/A:a/S/T");
  path.pop();
  path.pop();
  path.replaceLastName("b");
  EXPECT_EQ(path.getFullPath(), "/A:b");
}

TEST(KSLPath, ParentsComeBeforeChildren)
{
  EXPECT_LT(KSLPath("/A:a"), KSLPath("/A:a/B"));
  EXPECT_LT(KSLPath("/A:a/B"), KSLPath("/A:a!"));  // as text it would be the other way round
  EXPECT_FALSE(KSLPath("/A") < KSLPath("/A"));
}

TEST(KSLPath, HeadersAndEnds)
{
  EXPECT_THAT(KSLPath("/A:a\\/S/B:no#1").makeKSLPathAndEnd(),
              Pair("A:a\\ \n  S:\n    B:\"no#1\"\n", "    END\n  END\nEND\n"));
  EXPECT_THAT(KSLPath().makeKSLPathAndEnd(), Pair("", ""));
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

TEST_F(ObserverTest, TypesAndOrder)
{
  subject.attach(b.get(), {1, 2});
  subject.attach(&a, 1);
  subject.attach(&a, 3);
  subject.attach(&a, 1);
  subject.attach(nullptr, 1);
  EXPECT_EQ(logged(1), "b1 a1 ");
  EXPECT_EQ(logged(2), "b2 ");
  EXPECT_EQ(logged(3), "a3 ");
  subject.detach(&a);
  subject.detach(&c);
  EXPECT_EQ(logged(1) + logged(3), "b1 ");
}

TEST_F(ObserverTest, ObserversComeAndGoInsideANotification)
{
  subject.attach(&a, 1);
  subject.attach(b.get(), 1);
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

TEST_F(ObserverTest, TypesAddedInsideANotificationCountFromTheNext)
{
  subject.attach(&a, 1);
  subject.attach(b.get(), 2);
  a.then = [this](ObserverSubject& s) { s.attach(b.get(), {1, 2}); };
  EXPECT_EQ(logged(1), "a1 ");
  EXPECT_EQ(logged(1) + logged(2), "a1 b1 b2 ");
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

TEST(Time, LocalDateAndTimeOfDay)
{
  std::tm local{};
  local.tm_year = 2026 - 1900;
  local.tm_mon = 2;
  local.tm_mday = 1;
  local.tm_hour = 14;
  local.tm_min = 5;
  local.tm_sec = 9;
  local.tm_isdst = -1;
  EXPECT_EQ(testing::PrintToString(cTime(std::mktime(&local))), "2026-03-01 14:05:09");
}

std::string measured;

TEST(Time, TimerTellsItsListener)
{
  OperationTimer::Listener const before = OperationTimer::setListener([](const char* name, double seconds) {
    measured += std::string(name) + (seconds >= 0 && seconds < 60 ? " " : " wrong ");
    throw std::runtime_error("listener");
  });
  {
    const OperationTimer outer("outer");
    const OperationTimer inner("inner");
  }
  OperationTimer::setListener(nullptr);
  {
    const OperationTimer unheard("unheard");
  }
  EXPECT_EQ(measured, "inner outer ");
  OperationTimer::setListener(before);
}

}  // namespace
