// What explains a picture: legends, marks, captions and a scale.
#include "Scene.h"
#include "Sheet.h"

#include <algorithm>
#include <cmath>

namespace results {

namespace {

double scaleOf(const Picture& picture, int height)
{
  return picture.density * std::clamp(height / picture.density / 700.0, 0.75, 4.0);
}

// The labels of a legend: each end of a band where there is room for it, always the lowest and the highest; round values
// where colours blend.
struct Ticks {
  std::vector<double> values;
  double step = 0;
};

Ticks ticksOf(const Legend& legend, long most)
{
  const double* const range = legend.colours->GetTableRange();
  Ticks ticks;
  if (!legend.isStepped) {
    ticks.step = roundStep(range[1] - range[0], static_cast<double>(std::min(most, 8L)));
    for (double at = std::ceil(range[0] / ticks.step - 1e-6); at <= range[1] / ticks.step + 1e-6; ++at)
      ticks.values.push_back(at * ticks.step);
    return ticks;
  }
  const auto bands = static_cast<long>(legend.colours->GetNumberOfTableValues());
  long stride = (bands + most - 1) / most;
  while (stride < bands && bands % stride != 0)
    ++stride;
  const double band = (range[1] - range[0]) / static_cast<double>(bands);
  ticks.step = band * static_cast<double>(stride);
  for (long i = 0; i <= bands; i += stride)
    ticks.values.push_back(range[0] + band * static_cast<double>(i));
  return ticks;
}

double panelOf(const Legend& legend)
{
  return std::max(118.0, Canvas::widthOf(legend.title, 14) + 26);
}

void drawColours(Sheet& sheet, const Legend& legend, Pixel bar, double barWidth, double barHeight)
{
  const auto colours = legend.colours->GetNumberOfTableValues();
  for (vtkIdType i = 0; i < colours; ++i) {
    const double* const colour = legend.colours->GetTableValue(i);
    const double from = bar.y + barHeight * static_cast<double>(i) / static_cast<double>(colours);
    const double to = bar.y + barHeight * static_cast<double>(i + 1) / static_cast<double>(colours);
    sheet.box({bar.x, from}, {bar.x + barWidth, to}, {colour[0], colour[1], colour[2]});
  }
  sheet.frame(bar, {bar.x + barWidth, bar.y + barHeight}, ink, 1);
}

// Its right edge stands at `right`.
void drawLegend(Sheet& sheet, const Legend& legend, double right, int height)
{
  const double s = sheet.scale();
  const double barHeight = std::min(0.55 * height, 420 * s);
  const double heading = (legend.units.empty() ? 40 : 60) * s;
  const double low = (height - barHeight - heading - 18 * s) / 2;
  const Pixel corner{right - panelOf(legend) * s, low};
  const Pixel top{right, low + barHeight + heading + 18 * s};
  sheet.box(corner, top, paper, 0.9);
  sheet.frame(corner, top, edge, 1);
  sheet.text({corner.x + 12 * s, top.y - 18 * s}, legend.title, 14, ink, {.isBold = true});
  if (!legend.units.empty())
    sheet.text({corner.x + 12 * s, top.y - 37 * s}, "in " + typesetUnits(legend.units), 13, faint);
  const Pixel bar{corner.x + 12 * s, low + 18 * s};
  const double barWidth = 20 * s;
  drawColours(sheet, legend, bar, barWidth, barHeight);
  const double* const range = legend.colours->GetTableRange();
  const Ticks ticks = ticksOf(legend, std::max(1L, std::lround(barHeight / (26 * s))));
  for (const double value : ticks.values) {
    const double y = bar.y + barHeight * (value - range[0]) / (range[1] - range[0]);
    sheet.lines({{bar.x + barWidth, y}, {bar.x + barWidth + 5 * s, y}}, ink, 1);
    sheet.text({bar.x + barWidth + 10 * s, y}, typesetNumber(value, ticks.step), 13, ink);
  }
}

// One for all that have the same colours for the same values.
std::vector<const Legend*> legendsOf(const Picture& picture)
{
  std::vector<const Legend*> legends;
  for (const Sight& sight : picture.sights) {
    const Legend& legend = sight.show->legend;
    const bool isKnown = !sight.show->isColoured || legend.title.empty()
                         || std::any_of(legends.begin(), legends.end(),
                                        [&legend](const Legend* known) { return known->isSame(legend); });
    if (!isKnown)
      legends.push_back(&legend);
  }
  return legends;
}

constexpr double legendGap = 12;

}  // namespace

double widthOfLegends(const Picture& picture, int height)
{
  double width = 0;
  for (const Legend* legend : legendsOf(picture))
    width += (panelOf(*legend) + legendGap) * scaleOf(picture, height);
  return width;
}

void addLegends(vtkRenderer& renderer, const Picture& picture, int width, int height)
{
  Sheet sheet(renderer, scaleOf(picture, height));
  double right = width - legendGap * sheet.scale();
  for (const Legend* legend : legendsOf(picture)) {
    drawLegend(sheet, *legend, right, height);
    right -= (panelOf(*legend) + legendGap) * sheet.scale();
  }
}

void addMarks(vtkRenderer& renderer, const Picture& picture, int width, int height)
{
  Sheet sheet(renderer, scaleOf(picture, height));
  const double s = sheet.scale();
  for (const Mark& mark : picture.marks) {
    renderer.SetWorldPoint(mark.at[0], mark.at[1], mark.at[2], 1);
    renderer.WorldToView();
    const double* const view = renderer.GetViewPoint();
    const Pixel at{(view[0] + 1) / 2 * width, (view[1] + 1) / 2 * height};
    double wide = 0;
    for (const std::string& line : mark.lines)
      wide = std::max(wide, Canvas::widthOf(line, 13) * s + 16 * s);
    const double tall = (18.0 * static_cast<double>(mark.lines.size()) + 8) * s;
    // Away from the middle of the picture, and inside it.
    const bool isLeft = at.x < width / 2.0;
    const double left =
        std::clamp(isLeft ? at.x - 34 * s - wide : at.x + 34 * s, 6.0, std::max(6.0, width - wide - 6));
    const double low = std::clamp(at.y > height / 2.0 ? at.y + 30 * s : at.y - 30 * s - tall, 6.0,
                                  std::max(6.0, height - tall - 6));
    sheet.lines({at, {isLeft ? left + wide : left, low + tall / 2}}, ink, 1.2);
    std::vector<Pixel> ring;
    for (int i = 0; i < 24; ++i)
      ring.push_back({at.x + 4.5 * s * std::cos(i * 0.2618), at.y + 4.5 * s * std::sin(i * 0.2618)});
    sheet.area(ring, paper);
    ring.push_back(ring.front());
    sheet.lines(ring, ink, 1.6);
    sheet.box({left, low}, {left + wide, low + tall}, paper, 0.92);
    sheet.frame({left, low}, {left + wide, low + tall}, ink, 0.8);
    for (std::size_t i = 0; i < mark.lines.size(); ++i)
      sheet.text({left + 8 * s, low + tall - (13 + 18.0 * static_cast<double>(i)) * s}, mark.lines[i], 13,
                 ink, {.isBold = i > 0});
  }
}

void addCaptions(vtkRenderer& renderer, const Picture& picture, int width, int height)
{
  Sheet sheet(renderer, scaleOf(picture, height));
  const double whole = width * static_cast<double>(picture.cameras.size());
  for (const Caption& caption : picture.captions)
    sheet.text({caption.across * whole, caption.up * height}, caption.text, caption.height, caption.colour,
               {.align = Align::middle, .isBold = true, .hasHalo = true});
}

// A line that is a round number of metres long.
void addScale(vtkRenderer& renderer, const Picture& picture, const Camera& camera, int width, int height)
{
  if (!camera.side.empty())
    return;
  Sheet sheet(renderer, scaleOf(picture, height));
  const double s = sheet.scale();
  const double perMetre = height / camera.height;
  const double most = 0.2 * width / perMetre;
  double metres = std::pow(10, std::floor(std::log10(most)));
  metres *= 5 * metres < most ? 5 : 2 * metres < most ? 2 : 1;
  const double wide = metres * perMetre;
  const Pixel left{20 * s, 20 * s};
  sheet.box({left.x - 8 * s, left.y - 8 * s}, {left.x + wide + 8 * s, left.y + 26 * s}, paper, 0.75);
  sheet.lines({{left.x, left.y + 5 * s}, left, {left.x + wide, left.y}, {left.x + wide, left.y + 5 * s}}, ink,
              1.5);
  const bool isSmall = metres < 0.1;
  sheet.text({left.x + wide / 2, left.y + 15 * s},
             readable(isSmall ? 1000 * metres : metres) + (isSmall ? " mm" : " m"), 12, ink,
             {.align = Align::middle});
}

}  // namespace results
