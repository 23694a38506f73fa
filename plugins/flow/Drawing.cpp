#include "Drawing.h"

#include "database/KSLObject.h"
#include "Arrows.h"
#include "Domain.h"
#include "Levels.h"
#include "Palette.h"
#include "Surface.h"
#include "Values.h"

#include <algorithm>
#include <map>
#include <numbers>

namespace flow {

using orv::KSLObject;

namespace {

constexpr const char* bodyColour = "#d5d9de";
constexpr const char* bodyRim = "#3c434c";

double opacityOf(const KSLObject& object)
{
  return std::clamp(1 - number(object, "Transparency", ""), 0.0, 1.0);
}

std::vector<Path> seen(const Canvas& canvas, const Plane& plane, const std::vector<Polygon>& shapes)
{
  std::vector<Path> paths;
  for (const Polygon& shape : shapes) {
    Path& path = paths.emplace_back();
    for (const Uv at : shape)
      path.push_back(canvas.camera.at(plane.at(at)));
  }
  return paths;
}

void drawBodySection(const Cut& cut, const Canvas& canvas)
{
  const Samples inside = sample(cut, [&cut](Uv at) { return -cut.clearance(at); });
  canvas.svg.polygons(seen(canvas, cut.plane, regionAbove(inside, 0)), {bodyColour, bodyRim, 1.2});
}

void drawCut(const KSLObject& object, const Canvas& canvas)
{
  const std::optional<Cut> cut = readCut(object);
  if (!cut)
    return;
  const std::string colour = toHex(colourOf(object, "Colour"));
  canvas.svg.polygons(seen(canvas, cut->plane, {cut->outline}),
                      {colour, "#6b7480", 1, opacityOf(object) / 2});
}

// From the lowest band up, each over all that are below it: no seams show.
void drawBand(const KSLObject& band, const Canvas& canvas)
{
  const KSLObject* location = source(band, "CUT");
  const std::optional<Cut> cut = location ? readCut(*location) : std::nullopt;
  const std::vector<double> levels = result(band, "Levels");
  const std::vector<std::string> colours = band.lookUpParam("Band Colours")->splitValue();
  if (!cut || colours.empty() || levels.size() != colours.size() + 1)
    return;
  const Samples samples = sample(*cut, findVariable(band.getValue("Variable")));
  const double opacity = opacityOf(band);
  canvas.svg.beginClip(seen(canvas, cut->plane, {cut->outline}).front());
  canvas.svg.polygons(seen(canvas, cut->plane, {cut->outline}), {colours.front(), "none", 1, opacity});
  for (std::size_t i = 1; i < colours.size(); ++i)
    canvas.svg.polygons(seen(canvas, cut->plane, regionAbove(samples, levels[i])),
                        {colours[i], "none", 1, opacity});
  if (isOn(band, "Outline")) {
    const double width = number(band, "Outline Width", "");
    for (std::size_t i = 1; i < colours.size(); ++i)
      canvas.svg.lines(seen(canvas, cut->plane, linesAt(samples, levels[i])),
                       {"none", "#20304a", width, 0.35});
  }
  drawBodySection(*cut, canvas);
  canvas.svg.endClip();
}

void drawStreamlines(const KSLObject& object, const Canvas& canvas)
{
  const KSLObject* location = source(object, "CUT");
  const std::optional<Cut> cut = location ? readCut(*location) : std::nullopt;
  if (!cut)
    return;
  const Samples samples = sample(*cut, findVariable("Stream Function"));
  const Paint paint{"none", toHex(colourOf(object, "Colour")), number(object, "Line Width", ""),
                    opacityOf(object)};
  canvas.svg.beginClip(seen(canvas, cut->plane, {cut->outline}).front());
  std::vector<Polygon> lines;
  for (const double level : result(object, "Levels")) {
    for (Polygon& piece :
         piecesWhere(linesAt(samples, level), [&cut](Uv at) { return cut->clearance(at) >= 0; }))
      lines.push_back(std::move(piece));
  }
  canvas.svg.lines(seen(canvas, cut->plane, lines), paint);
  canvas.svg.endClip();
}

// ---------------------------------------------------------------------------------------------------------- arrows

// Gives arrows their colours.
class ArrowColours {
 public:
  ArrowColours(const KSLObject& arrow, const Field& field) : m_field(field)
  {
    const std::string& mode = arrow.getValue("Colour Mode");
    if (mode == "Constant") {
      m_constant = toHex(colourOf(arrow, "Colour"));
      return;
    }
    m_variable = &findVariable(arrow.getValue(mode == "Variable" ? "Colour Variable" : "Variable"));
    m_palette = readPalette(source(arrow, "PALETTE"));
    m_range = field.range(*m_variable);
    if (!arrow.getValue("Min").empty())
      m_range.first = number(arrow, "Min", m_variable->units);
    if (!arrow.getValue("Max").empty())
      m_range.second = number(arrow, "Max", m_variable->units);
  }

  std::string at(Vec point) const
  {
    if (!m_variable)
      return m_constant;
    const double width = m_range.second - m_range.first;
    const double fraction = width > 0 ? (m_field.value(*m_variable, point) - m_range.first) / width : 0.5;
    return toHex(m_palette.at(fraction));
  }

 private:
  const Field& m_field;
  std::string m_constant;
  const Variable* m_variable = nullptr;  // null for one colour
  Palette m_palette;
  std::pair<double, double> m_range;
};

struct ArrowShapes {
  std::vector<Path> shafts;
  std::vector<Path> heads;
};

void addArrow(Pixel tail, Pixel tip, double headSize, ArrowShapes& shapes)
{
  const double dx = tip.x - tail.x;
  const double dy = tip.y - tail.y;
  const double size = std::hypot(dx, dy);
  if (size < 1.5)
    return;
  const double head = std::max(std::clamp(headSize, 0.0, 1.0), std::min(1.0, 4.5 / size));
  const Pixel neck{tip.x - head * dx, tip.y - head * dy};
  const double half = 0.36 * head;
  shapes.shafts.push_back({tail, neck});
  shapes.heads.push_back(
      {tip, {neck.x - half * dy, neck.y + half * dx}, {neck.x + half * dy, neck.y - half * dx}});
}

void drawArrows(const KSLObject& object, const Canvas& canvas)
{
  const KSLObject* location = source(object, "CUT");
  const std::optional<Cut> cut = location ? readCut(*location) : std::nullopt;
  if (!cut || object.getValue("Arrow Scale").empty())
    return;
  const double scale = number(object, "Arrow Scale", "s");
  const ArrowColours colours(object, cut->field);
  const double head = number(object, "Head Size", "");
  std::map<std::string, ArrowShapes> byColour;
  for (const Arrow& arrow : arrowsOn(*cut, number(object, "Spacing", "m"))) {
    const Pixel tail = canvas.camera.at(arrow.tail);
    const Pixel tip = canvas.camera.at(arrow.tail + scale * arrow.velocity);
    if (canvas.camera.shows(tail) || canvas.camera.shows(tip))
      addArrow(tail, tip, head, byColour[colours.at(arrow.tail)]);
  }
  const double opacity = opacityOf(object);
  for (const auto& [colour, shapes] : byColour) {
    canvas.svg.lines(shapes.shafts, {"none", colour, 1.1, opacity});
    canvas.svg.polygons(shapes.heads, {colour, "none", 1, opacity});
  }
}

// ------------------------------------------------------------------------------------------------------- surfaces

void drawSurface(const KSLObject& object, const Canvas& canvas)
{
  const std::optional<Field> field = readField(object.getValue("Source"));
  const std::vector<double> level = result(object, "Level");
  if (!field || level.empty())
    return;
  const Surface surface = makeSurface(*field, findVariable(object.getValue("Variable")), level.front());
  const std::string colour = toHex(colourOf(object, "Colour"));
  const double opacity = opacityOf(object);
  std::vector<Path> strips;
  for (const Polygon& line : surface.lines) {
    Path strip;
    for (const Uv at : line)
      strip.push_back(canvas.camera.at({at.u, at.v, surface.lower}));
    for (std::size_t i = line.size(); i-- > 0;)
      strip.push_back(canvas.camera.at({line[i].u, line[i].v, surface.upper}));
    strips.push_back(std::move(strip));
  }
  canvas.svg.polygons(strips, {colour, "none", 1, opacity / 2});
  const Plane front{{0, 0, surface.upper}, {1, 0, 0}, {0, 1, 0}};
  canvas.svg.lines(seen(canvas, front, surface.lines), {"none", colour, 2.2, opacity});
}

Path circleAt(const Canvas& canvas, double radius, double z)
{
  constexpr int corners = 120;
  Path circle;
  for (int i = 0; i < corners; ++i) {
    const double angle = 2 * std::numbers::pi * i / corners;
    circle.push_back(canvas.camera.at({radius * std::cos(angle), radius * std::sin(angle), z}));
  }
  return circle;
}

// The cylinder: the far sides first. Its sides are shaded as if the light came from the eye.
void drawWall(const KSLObject& boundary, const Canvas& canvas)
{
  const std::vector<double> extent = result(boundary, "Extent");
  if (extent.size() != 3)
    return;
  const double radius = extent[0];
  const Rgb colour = colourOf(boundary, "Colour");
  const double opacity = opacityOf(boundary);
  double near = extent[2];
  double far = extent[1];
  if (canvas.camera.depth({0, 0, near}) > canvas.camera.depth({0, 0, far}))
    std::swap(near, far);
  const Path front = circleAt(canvas, radius, near);
  const Path back = circleAt(canvas, radius, far);
  for (std::size_t i = 0; i < front.size(); ++i) {
    const std::size_t next = (i + 1) % front.size();
    const double angle =
        2 * std::numbers::pi * (static_cast<double>(i) + 0.5) / static_cast<double>(front.size());
    const double facing = -dot({std::cos(angle), std::sin(angle), 0}, canvas.camera.forward());
    if (facing <= 1e-6)
      continue;
    const double light = 0.45 + 0.45 * facing;
    const std::string shade = toHex({light * colour.red, light * colour.green, light * colour.blue});
    canvas.svg.polygons({{front[i], front[next], back[next], back[i]}}, {shade, shade, 0.6, opacity});
  }
  canvas.svg.polygons({front}, {toHex(colour), bodyRim, 1.2, opacity});
}

void drawProbe(const KSLObject& probe, const Canvas& canvas)
{
  const std::vector<double> at = result(probe, "Positions");
  Path line;
  for (std::size_t i = 0; i + 2 < at.size(); i += 3)
    line.push_back(canvas.camera.at({at[i], at[i + 1], at[i + 2]}));
  if (line.size() > 1) {
    canvas.svg.lines({line}, {"none", "#ffffff", 3, 0.8});
    canvas.svg.lines({line}, {"none", "#1b222b", 1.2});
  } else if (!line.empty()) {
    canvas.svg.circle(line.front(), 4, {"#ffffff", "#1b222b", 1.6});
  }
}

}  // namespace

void draw(const KSLObject& object, const Canvas& canvas)
{
  static constexpr std::pair<const char*, void (*)(const KSLObject&, const Canvas&)> kinds[] = {
      {"CUT", drawCut},
      {"BAND", drawBand},
      {"STREAMLINES", drawStreamlines},
      {"ARROW", drawArrows},
      {"LEVEL SURFACE", drawSurface},
      {"BOUNDARY", drawWall},
      {"PROBE", drawProbe},
  };
  for (const auto& [type, drawKind] : kinds) {
    if (object.typeIs(type))
      drawKind(object, canvas);
  }
}

}  // namespace flow
