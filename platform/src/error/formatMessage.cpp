#include "platform/ORVError.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace orv {

namespace {

// %[flags][width][.precision][length]letter
struct Directive {
  bool left = false;
  bool plus = false;
  bool blank = false;
  bool zero = false;
  std::size_t width = 0;
  std::optional<std::size_t> precision;
  char letter = 0;
  std::size_t length = 0;  // of its text, the "%" included
};

// A slip in a format must not cost the memory of a line that is a gigabyte wide.
constexpr std::size_t widest = 4096;

bool isPlaceDigit(char c)
{
  return c >= '0' && c <= '9';
}

bool isOneOf(char c, std::string_view letters)
{
  return letters.find(c) != std::string_view::npos;
}

std::size_t readNumber(std::string_view text, std::size_t& at)
{
  std::size_t number = 0;
  for (; at < text.size() && isPlaceDigit(text[at]); ++at)
    number = std::min(widest, number * 10 + static_cast<std::size_t>(text[at] - '0'));
  return number;
}

bool readFlag(char c, Directive& directive)
{
  switch (c) {
    case '-':
      return directive.left = true;
    case '+':
      return directive.plus = true;
    case ' ':
      return directive.blank = true;
    case '0':
      return directive.zero = true;
    case '#':
      return true;
    default:
      return false;
  }
}

// The directive at the start of the text, which begins with "%"; nothing when it is none.
std::optional<Directive> readDirective(std::string_view text)
{
  Directive directive;
  std::size_t at = 1;
  while (at < text.size() && readFlag(text[at], directive))
    ++at;
  directive.width = readNumber(text, at);
  if (at < text.size() && text[at] == '.')
    directive.precision = readNumber(text, ++at);
  while (at < text.size() && isOneOf(text[at], "hljztLq"))
    ++at;
  if (at >= text.size() || !isOneOf(text[at], "sdiugGfFeEcxX"))
    return std::nullopt;
  directive.letter = text[at];
  directive.length = at + 1;
  return directive;
}

void pad(std::string& out, std::string_view text, const Directive& directive)
{
  const std::size_t fill = directive.width > text.size() ? directive.width - text.size() : 0;
  if (!directive.left)
    out.append(fill, ' ');
  out += text;
  if (directive.left)
    out.append(fill, ' ');
}

void padNumber(std::string& out, std::string text, const Directive& directive)
{
  const bool negative = text.front() == '-';
  if (!negative && (directive.plus || directive.blank))
    text.insert(0, 1, directive.plus ? '+' : ' ');
  const std::size_t sign = isPlaceDigit(text.front()) ? 0 : 1;
  if (directive.zero && !directive.left && text.size() > sign && isPlaceDigit(text[sign])
      && text.size() < directive.width)
    text.insert(sign, directive.width - text.size(), '0');
  pad(out, text, directive);
}

// Calls to_chars with the arguments and as much room as it needs.
template <class... Args>
std::string toChars(Args... args)
{
  std::string out(32, '\0');
  for (;;) {
    const auto [end, failure] = std::to_chars(out.data(), out.data() + out.size(), args...);
    if (failure == std::errc()) {
      out.resize(static_cast<std::size_t>(end - out.data()));
      return out;
    }
    out.resize(out.size() * 4);
  }
}

// How "%f", "%e" and "%g" write; nothing for other letters.
std::optional<std::chars_format> floatForm(char letter)
{
  switch (letter) {
    case 'f':
    case 'F':
      return std::chars_format::fixed;
    case 'e':
    case 'E':
      return std::chars_format::scientific;
    case 'g':
    case 'G':
      return std::chars_format::general;
    default:
      return std::nullopt;
  }
}

std::string numberText(double number, const Directive& directive)
{
  const auto form = floatForm(directive.letter);
  if (!form)
    return toChars(number);
  return toChars(number, *form, static_cast<int>(directive.precision.value_or(6)));
}

template <class Int>
std::string integerText(Int number, const Directive& directive)
{
  const char letter = directive.letter;
  if (letter == 'x' || letter == 'X')
    return toChars(number, 16);
  if (letter == 'f' || letter == 'F' || letter == 'e' || letter == 'E')
    return numberText(static_cast<double>(number), directive);
  return toChars(number);
}

struct ArgWriter {
  std::string& out;
  const Directive& directive;

  void operator()(std::string_view text) const
  {
    if (directive.letter == 's' && directive.precision)
      text = text.substr(0, *directive.precision);
    pad(out, text, directive);
  }
  void operator()(char c) const { pad(out, std::string_view(&c, 1), directive); }
  void operator()(double number) const { padNumber(out, numberText(number, directive), directive); }
  void operator()(long long number) const { padNumber(out, integerText(number, directive), directive); }
  void operator()(unsigned long long number) const
  {
    padNumber(out, integerText(number, directive), directive);
  }
};

}  // namespace

std::string formatMessage(std::string_view format, const FormatArg* args, std::size_t count)
{
  std::string out;
  std::size_t used = 0;
  for (;;) {
    const std::size_t percent = format.find('%');
    out += format.substr(0, percent);
    if (percent == std::string_view::npos)
      return out;
    format.remove_prefix(percent);
    if (format.size() > 1 && format[1] == '%') {
      out += '%';
      format.remove_prefix(2);
      continue;
    }
    const auto directive = readDirective(format);
    if (directive && used < count) {
      std::visit(ArgWriter{out, *directive}, args[used++].value());
      format.remove_prefix(directive->length);
    } else {
      out += '%';
      format.remove_prefix(1);
    }
  }
}

}  // namespace orv
