#include "Sheet.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <vtkActor2D.h>
#include <vtkCellArray.h>
#include <vtkCoordinate.h>
#include <vtkPoints.h>
#include <vtkPolyDataMapper2D.h>
#include <vtkProperty2D.h>
#include <vtkTextActor.h>
#include <vtkTextProperty.h>

namespace results {

void Canvas::box(Pixel low, Pixel high, const Rgb& colour, double opacity)
{
  area({low, {high.x, low.y}, high, {low.x, high.y}}, colour, opacity);
}

void Canvas::frame(Pixel low, Pixel high, const Rgb& colour, double width)
{
  lines({low, {high.x, low.y}, high, {low.x, high.y}, low}, colour, width);
}

double Canvas::widthOf(const std::string& said, double size)
{
  const auto isStart = [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; };
  return 0.56 * size * static_cast<double>(std::count_if(said.begin(), said.end(), isStart));
}

// ----------------------------------------------------------------------------------------------------------- in a view

void Sheet::area(const std::vector<Pixel>& corners, const Rgb& colour, double opacity)
{
  add(corners, true, colour, opacity, 1);
}

void Sheet::lines(const std::vector<Pixel>& points, const Rgb& colour, double width)
{
  add(points, false, colour, 1, width * scale());
}

void Sheet::text(Pixel at, const std::string& said, double size, const Rgb& colour, const Look& look)
{
  const auto actor = make<vtkTextActor>();
  actor->SetInput(said.c_str());
  vtkTextProperty& property = *actor->GetTextProperty();
  property.SetFontFamilyToArial();
  property.SetFontSize(static_cast<int>(std::lround(size * scale())));
  property.SetBold(look.isBold);
  property.SetColor(colour[0], colour[1], colour[2]);
  property.SetVerticalJustificationToCentered();
  property.SetJustification(look.align == Align::middle ? VTK_TEXT_CENTERED
                            : look.align == Align::end  ? VTK_TEXT_RIGHT
                                                        : VTK_TEXT_LEFT);
  property.SetOrientation(look.isUpward ? 90 : 0);
  if (look.hasHalo) {
    property.SetBackgroundColor(1, 1, 1);
    property.SetBackgroundOpacity(0.75);
  }
  actor->SetPosition(at.x, at.y);
  m_renderer.AddActor2D(actor);
}

void Sheet::add(const std::vector<Pixel>& points, bool isFilled, const Rgb& colour, double opacity,
                double width)
{
  const auto where = make<vtkPoints>();
  const auto cells = make<vtkCellArray>();
  cells->InsertNextCell(static_cast<int>(points.size()));
  for (const Pixel& point : points)
    cells->InsertCellPoint(where->InsertNextPoint(point.x, point.y, 0));
  const auto body = make<vtkPolyData>();
  body->SetPoints(where);
  if (isFilled)
    body->SetPolys(cells);
  else
    body->SetLines(cells);
  const auto mapper = make<vtkPolyDataMapper2D>();
  mapper->SetInputData(body);
  const auto place = make<vtkCoordinate>();
  place->SetCoordinateSystemToViewport();
  mapper->SetTransformCoordinate(place);
  const auto actor = make<vtkActor2D>();
  actor->SetMapper(mapper);
  actor->GetProperty()->SetColor(colour[0], colour[1], colour[2]);
  actor->GetProperty()->SetOpacity(opacity);
  actor->GetProperty()->SetLineWidth(static_cast<float>(width));
  m_renderer.AddActor2D(actor);
}

// --------------------------------------------------------------------------------------------------------------- in SVG

namespace {

std::string hundredths(double value)
{
  return readable(std::round(value * 100) / 100, 7);
}

std::string escaped(const std::string& said)
{
  std::string result;
  for (const char c : said)
    result += c == '&'   ? "&amp;"
              : c == '<' ? "&lt;"
              : c == '>' ? "&gt;"
              : c == '"' ? "&quot;"
                         : std::string(1, c);
  return result;
}

}  // namespace

std::string toHex(const Rgb& colour)
{
  constexpr const char* digits = "0123456789abcdef";
  std::string said = "#";
  for (const double part : colour) {
    const auto value = static_cast<unsigned>(std::lround(std::clamp(part, 0.0, 1.0) * 255));
    said += digits[value / 16];
    said += digits[value % 16];
  }
  return said;
}

SvgSheet::SvgSheet(int width, int height) : Canvas(1), m_height(height)
{
  const std::string size = std::to_string(width) + "\" height=\"" + std::to_string(height);
  m_text = "<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"" + size
           + "\" font-family=\"Arial, Helvetica, sans-serif\">\n";
}

std::string SvgSheet::places(const std::vector<Pixel>& points) const
{
  std::string said;
  for (const Pixel& point : points)
    said += (said.empty() ? "" : " ") + hundredths(point.x) + "," + hundredths(m_height - point.y);
  return said;
}

void SvgSheet::area(const std::vector<Pixel>& corners, const Rgb& colour, double opacity)
{
  m_text += "<polygon points=\"" + places(corners) + "\" fill=\"" + toHex(colour) + "\" fill-opacity=\""
            + hundredths(opacity) + "\"/>\n";
}

void SvgSheet::lines(const std::vector<Pixel>& points, const Rgb& colour, double width)
{
  m_text += "<polyline points=\"" + places(points) + "\" fill=\"none\" stroke=\"" + toHex(colour)
            + "\" stroke-width=\"" + hundredths(width) + "\" stroke-linejoin=\"round\"/>\n";
}

void SvgSheet::text(Pixel at, const std::string& said, double size, const Rgb& colour, const Look& look)
{
  const double y = m_height - at.y;
  m_text += "<text x=\"" + hundredths(at.x) + "\" y=\"" + hundredths(y) + "\" dy=\"0.35em\" font-size=\""
            + hundredths(size) + "\" fill=\"" + toHex(colour) + "\"";
  if (look.align != Align::start)
    m_text += look.align == Align::middle ? " text-anchor=\"middle\"" : " text-anchor=\"end\"";
  if (look.isBold)
    m_text += " font-weight=\"bold\"";
  if (look.isUpward)
    m_text += " transform=\"rotate(-90 " + hundredths(at.x) + " " + hundredths(y) + ")\"";
  m_text += ">" + escaped(said) + "</text>\n";
}

std::string SvgSheet::finish()
{
  return m_text + "</svg>\n";
}

// ------------------------------------------------------------------------------------------------------------- writing

// "m s^-1" is m/s to people.
std::string typesetUnits(const std::string& units)
{
  static const std::array<std::array<const char*, 2>, 8> known{{{"m s^-1", "m/s"},
                                                                {"m^2 s^-1", "m\xc2\xb2/s"},
                                                                {"m^2 s^-2", "m\xc2\xb2/s\xc2\xb2"},
                                                                {"s^-1", "1/s"},
                                                                {"kg m^-3", "kg/m\xc2\xb3"},
                                                                {"m^3 s^-1", "m\xc2\xb3/s"},
                                                                {"kg s^-1", "kg/s"},
                                                                {"m s^-2", "m/s\xc2\xb2"}}};
  for (const auto& [plain, typeset] : known) {
    if (units == plain)
      return typeset;
  }
  return units;
}

// A minus sign, not a hyphen; as many figures behind the point as the steps between the labels need.
double roundStep(double whole, double parts)
{
  const double rough = whole / parts;
  const double base = std::pow(10, std::floor(std::log10(rough)));
  return base * (rough / base > 5 ? 10 : rough / base > 2 ? 5 : rough / base > 1 ? 2 : 1);
}

std::string typesetNumber(double value, double step)
{
  const double power = step > 0 ? std::floor(std::log10(step) + 1e-9) : -3;
  const double leading = step / std::pow(10, power);
  const bool isRound = std::abs(leading - std::round(leading)) < 1e-9;  // one figure tells such steps apart
  const int decimals = static_cast<int>(isRound    ? -power
                                        : step > 0 ? std::ceil(1 - std::log10(step) - 1e-9)
                                                   : 3);
  const bool isUsual = std::abs(value) < 1e6 && decimals <= 6;
  if (std::abs(value) < 1e-6 * step)
    value = 0;
  char said[64];
  const auto end = isUsual ? std::to_chars(said, said + sizeof said, value, std::chars_format::fixed,
                                           std::max(decimals, 0))
                           : std::to_chars(said, said + sizeof said, value, std::chars_format::general, 4);
  std::string number(said, end.ptr);
  const bool isNothing = isUsual && number.find_first_of("123456789") == std::string::npos;
  if (isNothing || number.front() != '-')
    return isNothing ? "0" : number;
  return "\xe2\x88\x92" + number.substr(1);
}

}  // namespace results
