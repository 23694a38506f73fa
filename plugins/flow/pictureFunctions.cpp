#include "platform/ORVOutputFiles.h"
#include "platform/ORVUtilities.h"
#include "database/ObjectDB.h"
#include "Drawing.h"
#include "Palette.h"
#include "Values.h"
#include "functions.h"

#include <set>
#include <string>
#include <vector>

namespace flow {

using orv::KSLObject;

namespace {

// As references are read; null for what is not there.
const KSLObject* findShown(const KSLObject& shot, const std::string& text)
{
  const std::string name(orv::StringUtilities::unquoted(text));
  const orv::ObjectDB* database = orv::ObjectDB::instance();
  if (name.starts_with('/') || name.find(':') != std::string::npos)
    return database->getObjectByPath(name.starts_with('/') ? name : "/" + name);
  const std::vector<KSLObject*> own = shot.getChildObjectsByName(name);
  return own.empty() ? database->getObjectByName(name) : own.front();
}

// The order in which people expect to see things that they did not put in order: lines over areas.
std::vector<const KSLObject*> everything()
{
  std::vector<const KSLObject*> all;
  for (const char* type : {"BOUNDARY", "CUT", "BAND", "STREAMLINES", "ARROW", "LEVEL SURFACE", "PROBE"}) {
    for (const KSLObject* object : orv::ObjectDB::instance()->getAllObjects()) {
      if (object->typeIs(type))
        all.push_back(object);
    }
  }
  return all;
}

// What the shot shows, the hindmost first.
std::vector<const KSLObject*> shownIn(const KSLObject& shot)
{
  const std::vector<std::string> list = shot.lookUpParam("Picture List")->splitValue();
  std::vector<const KSLObject*> shown;
  if (list == std::vector<std::string>{"All"}) {
    shown = everything();
  } else {
    for (const std::string& item : list)
      shown.push_back(findShown(shot, item));
  }
  std::erase_if(shown, [](const KSLObject* object) { return !object || !isOn(*object, "Visibility"); });
  return shown;
}

// One for all bands that have the same colours for the same values.
void drawColourBars(const std::vector<const KSLObject*>& shown, const Canvas& canvas)
{
  std::set<std::string> drawn;
  for (const KSLObject* object : shown) {
    if (!object->typeIs("BAND"))
      continue;
    const std::string bar = object->getValue("Variable") + '|' + object->getValue("Levels") + '|'
                            + object->getValue("Band Colours");
    if (drawn.insert(bar).second)
      drawColourBar(*object, canvas, static_cast<int>(drawn.size()) - 1);
  }
}

std::string pictureOf(const KSLObject& shot)
{
  const Camera camera(shot);
  Svg svg(camera.width(), camera.height());
  const Canvas canvas{camera, svg};
  if (const std::string& background = shot.getValue("Background"); !background.empty())
    svg.rectangle({0, 0}, camera.width(), camera.height(),
                  {toHex(readColour(orv::StringUtilities::unquoted(background)))});
  const std::vector<const KSLObject*> shown = shownIn(shot);
  for (const KSLObject* object : shown)
    draw(*object, canvas);
  for (const KSLObject* object : shown) {
    if (object->typeIs("PROBE"))
      drawLabel(*object, canvas);
  }
  drawColourBars(shown, canvas);
  drawScaleBar(canvas);
  for (const KSLObject* caption : shot.getChildObjectsByType("CAPTION"))
    drawCaption(*caption, canvas);
  return svg.finish();
}

}  // namespace

void takePicture(KSLObject& shot)
{
  const std::string& fileName = shot.getValue("Output File");
  if (!fileName.empty())
    orv::OutputFiles::instance()->write(std::string(orv::StringUtilities::unquoted(fileName)),
                                        pictureOf(shot));
}

}  // namespace flow
