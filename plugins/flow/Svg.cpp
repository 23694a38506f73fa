#include "Svg.h"

#include "platform/ORVUtilities.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <utility>

namespace flow {

namespace {

// Digits behind the point that say nothing are left out, and so is the sign of a zero.
std::string fixedNumber(double value, int places)
{
  char buffer[400];
  const auto end = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, places).ptr;
  std::string text(buffer, end);
  if (text.find('.') != std::string::npos) {
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.')
      text.pop_back();
  }
  return text == "-0" ? "0" : text;
}

// The length of the UTF-8 sequence that the text begins with, or 0 when that is no character of a document.
std::size_t sequenceLength(std::string_view text)
{
  const auto first = static_cast<unsigned char>(text.front());
  if (first < 0x80)
    return first < 0x20 || first == 0x7f ? 0 : 1;
  const std::size_t size = first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : first < 0xf5 ? 4 : 0;
  if (size == 0 || size > text.size())
    return 0;
  unsigned code = first & (0x7fU >> size);
  for (const char c : text.substr(1, size - 1)) {
    const auto next = static_cast<unsigned char>(c);
    if ((next & 0xc0) != 0x80)
      return 0;
    code = code << 6 | (next & 0x3fU);
  }
  const bool tooLong = (size == 3 && code < 0x800) || (size == 4 && code < 0x10000);
  const bool excluded =
      (code >= 0xd800 && code < 0xe000) || code == 0xfffe || code == 0xffff || code > 0x10ffff;
  return tooLong || excluded ? 0 : size;
}

std::string escaped(std::string_view text)
{
  std::string out;
  while (!text.empty()) {
    const std::size_t size = sequenceLength(text);
    const char c = text.front();
    if (size == 0)
      out += '?';
    else if (c == '<')
      out += "&lt;";
    else if (c == '>')
      out += "&gt;";
    else if (c == '&')
      out += "&amp;";
    else if (c == '"')
      out += "&quot;";
    else
      out += text.substr(0, size);
    text.remove_prefix(std::max<std::size_t>(size, 1));
  }
  return out;
}

std::string attributes(const Paint& paint)
{
  std::string text = " fill=\"" + paint.fill + '"';
  if (paint.stroke != "none")
    text += " stroke=\"" + paint.stroke + "\" stroke-width=\"" + pictureNumber(paint.width) + '"';
  if (paint.opacity < 1)
    text += " opacity=\"" + pictureNumber(paint.opacity) + '"';
  return text;
}

double distanceToLine(Pixel at, Pixel a, Pixel b)
{
  const double dx = b.x - a.x;
  const double dy = b.y - a.y;
  const double length = std::hypot(dx, dy);
  return length > 0 ? std::abs((at.x - a.x) * dy - (at.y - a.y) * dx) / length
                    : std::hypot(at.x - a.x, at.y - a.y);
}

// Without the points that nobody would miss: of each stretch the one farthest from the straight way stays, as
// long as it is farther than can be seen.
Path simplified(const Path& path)
{
  constexpr double visible = 0.08;
  std::vector<bool> stays(path.size(), path.size() < 3);
  std::vector<std::pair<std::size_t, std::size_t>> stretches;
  if (path.size() > 2)
    stretches.emplace_back(0, path.size() - 1);
  while (!stretches.empty()) {
    const auto [first, last] = stretches.back();
    stretches.pop_back();
    stays[first] = stays[last] = true;
    double farthest = visible;
    std::size_t at = first;
    for (std::size_t i = first + 1; i < last; ++i) {
      const double distance = distanceToLine(path[i], path[first], path[last]);
      if (distance > farthest) {
        farthest = distance;
        at = i;
      }
    }
    if (at != first) {
      stretches.emplace_back(first, at);
      stretches.emplace_back(at, last);
    }
  }
  Path kept;
  for (std::size_t i = 0; i < path.size(); ++i) {
    if (stays[i])
      kept.push_back(path[i]);
  }
  return kept;
}

// Points that are drawn at the same place as the one before say nothing.
void appendPiece(std::string& out, const Path& piece, bool closed)
{
  std::string last;
  bool first = true;
  for (const Pixel at : simplified(piece)) {
    std::string place = pictureNumber(at.x) + ' ' + pictureNumber(at.y);
    if (place == last)
      continue;
    out += first ? 'M' : 'L';
    out += place;
    first = false;
    last = std::move(place);
  }
  if (closed && !first)
    out += 'Z';
}

}  // namespace

std::string pictureNumber(double value)
{
  // Far outside of every picture; more digits help nobody.
  return fixedNumber(std::isfinite(value) ? std::clamp(value, -1e6, 1e6) : 0, 2);
}

std::string readableNumber(double value, int digits)
{
  const double size = std::abs(value);
  if (size != 0 && (size >= 1e7 || size < 1e-4)) {
    char buffer[64];
    const auto end =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, digits).ptr;
    return {buffer, end};
  }
  const int before = size > 0 ? static_cast<int>(std::floor(std::log10(size))) + 1 : 1;
  return fixedNumber(value, std::clamp(digits - before, 0, 12));
}

Svg::Svg(int width, int height) : m_width(width), m_height(height) {}

void Svg::beginClip(const Path& outline)
{
  const std::string name = "clip" + orv::StringUtilities::toString(++m_clips);
  m_body += "<clipPath id=\"" + name + "\"><path d=\"";
  appendPiece(m_body, outline, true);
  m_body += "\"/></clipPath>\n<g clip-path=\"url(#" + name + ")\">\n";
}

void Svg::endClip()
{
  m_body += "</g>\n";
}

void Svg::path(const std::vector<Path>& pieces, bool closed, const Paint& paint)
{
  std::string data;
  for (const Path& piece : pieces)
    appendPiece(data, piece, closed);
  if (data.empty())
    return;
  m_body += "<path d=\"" + data + '"' + attributes(paint);
  m_body += closed ? " fill-rule=\"evenodd\"/>\n" : " stroke-linecap=\"round\" stroke-linejoin=\"round\"/>\n";
}

void Svg::polygons(const std::vector<Path>& borders, const Paint& paint)
{
  path(borders, true, paint);
}

void Svg::lines(const std::vector<Path>& all, const Paint& paint)
{
  path(all, false, paint);
}

void Svg::rectangle(Pixel corner, double width, double height, const Paint& paint, double round)
{
  m_body += "<rect x=\"" + pictureNumber(corner.x) + "\" y=\"" + pictureNumber(corner.y) + "\" width=\""
            + pictureNumber(width) + "\" height=\"" + pictureNumber(height) + '"';
  if (round > 0)
    m_body += " rx=\"" + pictureNumber(round) + '"';
  m_body += attributes(paint) + "/>\n";
}

void Svg::circle(Pixel centre, double radius, const Paint& paint)
{
  m_body += "<circle cx=\"" + pictureNumber(centre.x) + "\" cy=\"" + pictureNumber(centre.y) + "\" r=\""
            + pictureNumber(radius) + '"' + attributes(paint) + "/>\n";
}

void Svg::text(Pixel at, std::string_view text, double size, const std::string& colour, Align align,
               const std::string& halo, bool bold)
{
  m_body += "<text x=\"" + pictureNumber(at.x) + "\" y=\"" + pictureNumber(at.y) + "\" font-size=\""
            + pictureNumber(size) + "\" fill=\"" + colour + '"';
  if (align != Align::start)
    m_body += align == Align::middle ? " text-anchor=\"middle\"" : " text-anchor=\"end\"";
  if (bold)
    m_body += " font-weight=\"bold\"";
  if (halo != "none")
    m_body += " stroke=\"" + halo + "\" stroke-width=\"3\" stroke-linejoin=\"round\" paint-order=\"stroke\"";
  m_body += '>' + escaped(text) + "</text>\n";
}

std::string Svg::finish() const
{
  const std::string width = orv::StringUtilities::toString(m_width);
  const std::string height = orv::StringUtilities::toString(m_height);
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<svg xmlns=\"http://www.w3.org/2000/svg\" width=\""
         + width + "\" height=\"" + height + "\" viewBox=\"0 0 " + width + ' ' + height
         + "\" font-family=\"Helvetica, Arial, sans-serif\">\n" + m_body + "</svg>\n";
}

}  // namespace flow
