// Pictures, and films of them.
#include "platform/ORVError.h"
#include "platform/ORVOutputFiles.h"
#include "platform/ORVProgress.h"
#include "database/ObjectDB.h"
#include "Communicator.h"
#include "Film.h"
#include "Numbers.h"
#include "Pieces.h"
#include "Scene.h"
#include "Sheet.h"
#include "functions.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <set>
#include <vtkPointData.h>

namespace results {

using orv::KSLObject;

namespace {

using ShowSource = std::function<std::shared_ptr<const Show>(const Request&)>;

// An object on a picture, at whichever time.
struct Seen {
  ShowSource source;
  Rgb colour;
  double opacity;
};

bool isVisible(const KSLObject& object)
{
  return isOn(object, "Visibility");
}

// Everything that is to be seen, areas before lines; a place only when nothing is shown on it.
std::vector<const KSLObject*> everything()
{
  std::vector<const KSLObject*> all;
  std::set<const KSLObject*> used;
  const std::vector<KSLObject*> objects = orv::ObjectDB::instance()->getAllObjects();
  for (const KSLObject* object : objects) {
    if (object->isA("picture") && isVisible(*object))
      used.insert(namedOne(*object, "Location"));
  }
  for (const char* category : {"geometry", "picture"}) {
    for (const KSLObject* object : objects) {
      if (object->isA(category) && !used.contains(object))
        all.push_back(object);
    }
  }
  return all;
}

std::vector<const KSLObject*> shownIn(const KSLObject& shot)
{
  const bool isAll = items(shot, "Picture List") == std::vector<std::string>{"All"};
  std::vector<const KSLObject*> shown = isAll ? everything() : named(shot, "Picture List");
  std::erase_if(shown, [](const KSLObject* object) { return !isVisible(*object); });
  return shown;
}

std::optional<Seen> seen(const KSLObject& object)
{
  Seen sight{nullptr,
             object.hasParam("Colour") && isGiven(object, "Colour") ? colourOf(object, "Colour")
                                                                    : Rgb{0.8, 0.8, 0.8},
             object.hasParam("Transparency") ? 1 - number(object, "Transparency", "") : 1};
  if (const auto* show = keptBy<Show>(&object, "Colour")) {
    sight.source = sourceOf(*show);
  } else if (const auto* place = keptBy<Place>(&object, "Geometry")) {
    sight.source = [source = sourceOf(*place)](const Request& request) {
      auto made = std::make_shared<Show>();
      const std::shared_ptr<const Place> at = source(request);
      made->body = vtkPolyData::SafeDownCast(surfaceOf(*gatheredPlace(*at).data));
      made->isLit = length(at->normal) == 0;
      return made;
    };
  } else {
    return std::nullopt;
  }
  return sight;
}

// A probe of one point says what it has found.
std::optional<Mark> markOf(const KSLObject& object)
{
  const std::shared_ptr<const Numbers> numbers = object.typeIs("PROBE") ? numbersOf(&object) : nullptr;
  if (!numbers || numbers->rows() != 1 || !numbers->find("X"))
    return std::nullopt;
  Mark mark;
  mark.at = {numbers->find("X")->values[0], numbers->find("Y")->values[0], numbers->find("Z")->values[0]};
  mark.lines.push_back(labelOf(object));
  for (const std::string& name : variablesOf(object, "Variable List")) {
    const Column* const column = numbers->find(name);
    const std::string units = unitsToShow(column->units);
    mark.lines.push_back(name + " = " + readable(column->values[0])
                         + (units.empty() ? "" : " " + typesetUnits(units)));
  }
  return mark;
}

std::vector<Camera> camerasOf(const KSLObject& shot)
{
  Camera given;
  given.isParallel = text(shot, "Projection") == "Parallel";
  given.eye = point(shot, "Eye Point");
  given.target = point(shot, "Look At");
  given.up = unit(shot, "Up Direction");
  if (given.isParallel)
    given.height = number(shot, "View Height", "m");
  else
    given.angle = number(shot, "View Angle", "degree");
  std::vector<Camera> cameras;
  for (const std::string& view : items(shot, "View List")) {
    static const std::set<std::string> sides{"X", "-X", "Y", "-Y", "Z", "-Z", "Isometric"};
    if (view != "Given" && !sides.contains(view))
      fail("takePicture", orv::_("'%s' of %s is no view: there are Given, X, -X, Y, -Y, Z, -Z and Isometric.",
                                 view, shot.getPath()));
    Camera camera = given;
    camera.side = view == "Given" ? "" : view;
    if (camera.side.empty()
        && !(camera.isParallel ? camera.height > 0 : camera.angle > 0 && camera.angle < 180))
      fail("takePicture",
           orv::_("%s sees nothing: its view has no height, or its angle is not between 0 and 180 [degree].",
                  shot.getPath()));
    if (camera.side.empty() && camera.eye == camera.target)
      fail("takePicture", orv::_("%s sees nothing: its Eye Point is where it looks at.", shot.getPath()));
    cameras.push_back(camera);
  }
  if (cameras.empty())
    cameras.push_back(given);
  return cameras;
}

std::vector<Caption> captionsOf(const KSLObject& shot)
{
  std::vector<Caption> captions;
  for (const KSLObject* object : shot.getChildObjectsByType("CAPTION")) {
    const std::vector<double> place = object->getRealArray("Position", "");
    if (place.size() != 2 || text(*object, "Text").empty())
      continue;
    captions.push_back({text(*object, "Text"), place[0], place[1], number(*object, "Text Height", ""),
                        colourOf(*object, "Colour")});
  }
  return captions;
}

std::vector<Lamp> lampsOf(const KSLObject& shot)
{
  std::vector<Lamp> lamps;
  for (const KSLObject* object : shot.getChildObjectsByType("LAMP")) {
    Lamp lamp{text(*object, "Option"), colourOf(*object, "Colour"), number(*object, "Intensity", ""), {}};
    if (lamp.kind == "Distant")
      lamp.place = unit(*object, "Direction");
    else if (lamp.kind == "Point")
      lamp.place = point(*object, "Point");
    if (isOn(*object, "Visibility"))
      lamps.push_back(lamp);
  }
  return lamps;
}

// All but what is to be seen.
Picture frameOf(const KSLObject& shot)
{
  Picture picture;
  picture.cameras = camerasOf(shot);
  picture.captions = captionsOf(shot);
  picture.lamps = lampsOf(shot);
  const std::vector<int> size = shot.getIntArray("Picture Size");
  if (size.size() != 2 || size[0] < 1 || size[1] < 1 || size[0] > 16384 || size[1] > 16384)
    fail("takePicture", orv::_("The picture size of %s is not two numbers from 1 to 16384.", shot.getPath()));
  picture.width = size[0];
  picture.height = size[1];
  picture.samples = count(shot, "Samples", 16);
  picture.hasBackground = !isGiven(shot, "Transparent") || !isOn(shot, "Transparent");
  if (isGiven(shot, "Background"))
    picture.background = readColour(text(shot, "Background"));
  return picture;
}

std::string paint(const Picture& picture, const std::string& file)
{
  const std::string ending = endingOf(file);
  if (ending != ".png" && ending != ".gltf" && ending != ".vtp")
    fail("takePicture", orv::_("'%s' is of no kind that pictures are written in: .png, .gltf, .vtp.", file));
  if (!Communicator::instance().isFirst())
    return {};
  if (ending == ".vtp")
    return asVtp(picture);
  if (ending == ".gltf")
    return paintGltf(picture);
  return paintPng(picture);
}

// "wake.png" and the second of many: "wake.0002.png".
std::string numbered(const std::string& file, std::size_t place)
{
  const std::filesystem::path path(file);
  std::string number = std::to_string(place + 1);
  number.insert(0, number.size() < 4 ? 4 - number.size() : 0, '0');
  return (path.parent_path() / (path.stem().string() + "." + number + path.extension().string())).string();
}

// The times that a shot is taken at; none: the present.
std::vector<double> timesOf(const KSLObject& shot)
{
  if (!isGiven(shot, "Time List"))
    return {};
  if (text(shot, "Time List") != "All")
    return shot.getRealArray("Time List", "s");
  for (const KSLObject* object : orv::ObjectDB::instance()->getAllObjects()) {
    if (const auto* kept = object->typeIs("RESULTS") ? keptBy<Mesh>(object, "Data") : nullptr;
        kept && kept->now)
      return kept->now->times;
  }
  return {};
}

}  // namespace

void takePicture(KSLObject& shot)
{
  const std::string file = text(shot, "Output File");
  if (file.empty())
    return;
  Picture picture = frameOf(shot);
  std::vector<Seen> sights;
  for (const KSLObject* object : shownIn(shot)) {
    if (const std::optional<Mark> mark = markOf(*object))
      picture.marks.push_back(*mark);
    else if (std::optional<Seen> sight = seen(*object))
      sights.push_back(std::move(*sight));
  }
  const auto paintAt = [&](const Request& request) {
    picture.sights.clear();
    for (const Seen& sight : sights)
      picture.sights.push_back({sight.source(request), sight.colour, sight.opacity});
    return paint(picture, file);
  };
  const std::vector<double> times = timesOf(shot);
  auto film = std::make_shared<Film>();
  orv::Progress progress("pictures", std::max<std::size_t>(times.size(), 1));
  for (std::size_t i = 0; i < times.size(); ++i) {
    film->pictures.push_back(paintAt({times[i], {}}));
    orv::OutputFiles::instance()->write(numbered(file, i), film->pictures.back());
    progress.advance(i + 1);
  }
  if (times.empty()) {
    film->pictures.push_back(paintAt({}));
    orv::OutputFiles::instance()->write(file, film->pictures.back());
  }
  keep<Film>(shot, "Picture", [film](const Request&) { return film; });
  setResult(shot, "Picture Count", static_cast<double>(film->pictures.size()));
}

void joinMovie(KSLObject& movie)
{
  const auto* kept = keptBy<Film>(namedOne(movie, "Shot"), "Picture");
  const std::string file = text(movie, "Output File");
  if (!kept || !kept->now || file.empty() || !Communicator::instance().isFirst())
    return;
  if (const auto film = joined(*kept->now, file, number(movie, "Pictures per Second", "")))
    orv::OutputFiles::instance()->write(file, *film);
}

}  // namespace results
