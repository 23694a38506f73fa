#include "Scene.h"

#include "platform/ORVError.h"
#include "Colouring.h"
#include "Display.h"
#include "ScratchFolder.h"
#include "Sheet.h"
#include "running.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <unistd.h>
#include <utility>
#include <vtkActor.h>
#include <vtkAppendPolyData.h>
#include <vtkCamera.h>
#include <vtkGLTFExporter.h>
#include <vtkImageShrink3D.h>
#include <vtkLight.h>
#include <vtkMath.h>
#include <vtkPNGWriter.h>
#include <vtkPointData.h>
#include <vtkPolyDataMapper.h>
#include <vtkPolyDataNormals.h>
#include <vtkProperty.h>
#include <vtkRenderWindow.h>
#include <vtkRendererCollection.h>
#include <vtkUnsignedCharArray.h>
#include <vtkWindowToImageFilter.h>
#include <vtkXMLPolyDataWriter.h>

namespace results {

namespace {

// Light falls softly over what is round and breaks where there is an edge.
Ptr<vtkPolyData> withNormals(const Ptr<vtkPolyData>& body)
{
  const auto normals = make<vtkPolyDataNormals>();
  normals->SetInputData(body);
  normals->SetFeatureAngle(40);
  normals->ConsistencyOff();
  run(*normals, "takePicture");
  return normals->GetOutput();
}

// What comes later in a picture, and lies in the same place, is seen, and lines on a surface before it. The steps are so
// small that nothing comes through from behind, which is far away where the eye is near to something else.
Ptr<vtkActor> actorOf(const Ptr<vtkPolyData>& body, int place, double lineWidth, double opacity)
{
  constexpr double lines = 4;  // against what VTK adds itself
  constexpr double points = 8;
  const double step = -0.1 * place;
  const auto mapper = make<vtkPolyDataMapper>();
  mapper->SetInputData(body);
  mapper->SetResolveCoincidentTopologyToPolygonOffset();
  mapper->SetRelativeCoincidentTopologyPolygonOffsetParameters(1, step);
  mapper->SetRelativeCoincidentTopologyLineOffsetParameters(-1, step - 0.1 + lines);
  mapper->SetRelativeCoincidentTopologyPointOffsetParameter(step - 0.1 + points);
  mapper->ScalarVisibilityOff();
  const auto actor = make<vtkActor>();
  actor->SetMapper(mapper);
  actor->GetProperty()->SetLineWidth(static_cast<float>(lineWidth));
  actor->GetProperty()->SetOpacity(opacity);
  return actor;
}

void addSight(vtkRenderer& renderer, const Sight& sight, int place, double pixels)
{
  const Show& show = *sight.show;
  if (!show.body || show.body->GetNumberOfCells() == 0)
    return;
  const Ptr<vtkActor> actor =
      actorOf(show.isLit ? withNormals(show.body) : show.body, place, show.lineWidth * pixels, sight.opacity);
  actor->GetProperty()->SetLighting(show.isLit);
  actor->GetProperty()->SetAmbient(show.isLit ? 0.34 : 1);
  actor->GetProperty()->SetDiffuse(show.isLit ? 0.8 : 0);
  actor->GetProperty()->SetSpecular(show.isColoured ? 0 : 0.12);
  actor->GetProperty()->SetSpecularPower(24);
  actor->GetProperty()->SetPointSize(static_cast<float>(6 * pixels));
  if (show.isColoured) {
    auto* const mapper = vtkPolyDataMapper::SafeDownCast(actor->GetMapper());
    mapper->ScalarVisibilityOn();
    mapper->SetLookupTable(show.legend.colours);
    mapper->UseLookupTableScalarRangeOn();
    mapper->SetScalarModeToUsePointFieldData();
    mapper->SelectColorArray(colourArray);
    mapper->InterpolateScalarsBeforeMappingOn();  // bands end where their values do, not at the mesh's points
  } else {
    actor->GetProperty()->SetColor(sight.colour[0], sight.colour[1], sight.colour[2]);
  }
  renderer.AddActor(actor);
  if (show.lines && show.lines->GetNumberOfCells() > 0) {
    const Ptr<vtkActor> lines = actorOf(show.lines, place + 1, show.lineWidth * pixels, 0.6 * sight.opacity);
    lines->GetProperty()->SetLighting(false);
    lines->GetProperty()->SetColor(0.1, 0.13, 0.17);
    renderer.AddActor(lines);
  }
}

// Without lamps of its own a picture has a light from over the shoulder, and a weaker one from the other side.
void addLamps(vtkRenderer& renderer, const std::vector<Lamp>& lamps)
{
  renderer.AutomaticLightCreationOff();
  const auto add = [&renderer](const Vec& place, double intensity) {
    const auto light = make<vtkLight>();
    light->SetLightTypeToCameraLight();
    light->SetPosition(place[0], place[1], place[2]);
    light->SetFocalPoint(0, 0, 0);
    light->SetIntensity(intensity);
    renderer.AddLight(light);
  };
  if (lamps.empty()) {
    add({0.4, 0.6, 1}, 0.85);
    add({-0.6, -0.2, 1}, 0.35);
    return;
  }
  for (const Lamp& lamp : lamps) {
    if (lamp.kind == "Ambient") {
      renderer.SetAmbient(lamp.intensity * lamp.colour[0], lamp.intensity * lamp.colour[1],
                          lamp.intensity * lamp.colour[2]);
      continue;
    }
    const auto light = make<vtkLight>();
    light->SetLightTypeToSceneLight();
    light->SetColor(lamp.colour.data());
    light->SetIntensity(lamp.intensity);
    light->SetPositional(lamp.kind == "Point");
    const Vec from = lamp.kind == "Point" ? lamp.place : -1 * lamp.place;
    light->SetPosition(from.data());
    light->SetFocalPoint(0, 0, 0);
    renderer.AddLight(light);
  }
}

// Moves and widens the view so that all is seen between these two places across, -1 and 1 being the sides of the view.
void fit(vtkRenderer& renderer, double left, double right)
{
  vtkCamera& view = *renderer.GetActiveCamera();
  std::array<double, 6> box{};
  renderer.ComputeVisiblePropBounds(box.data());
  Pixel low{1e9, 1e9};
  Pixel high{-1e9, -1e9};
  for (int corner = 0; corner < 8; ++corner) {
    renderer.SetWorldPoint(box.at(corner & 1), box.at(2 + (corner >> 1 & 1)), box.at(4 + (corner >> 2)), 1);
    renderer.WorldToView();
    const double* const at = renderer.GetViewPoint();
    low = {std::min(low.x, at[0]), std::min(low.y, at[1])};
    high = {std::max(high.x, at[0]), std::max(high.y, at[1])};
  }
  const double room = 1.76;
  const double zoom =
      std::min((right - left) / std::max(1e-9, high.x - low.x), room / std::max(1e-9, high.y - low.y));
  view.SetParallelScale(view.GetParallelScale() / zoom);
  const double half = vtkMath::RadiansFromDegrees(view.GetViewAngle() / 2);
  view.SetViewAngle(2 * vtkMath::DegreesFromRadians(std::atan(std::tan(half) / zoom)));
  view.SetWindowCenter((zoom * (low.x + high.x) - left - right) / 2, zoom * (low.y + high.y) / 2);
}

// `margin` is what is left free on the right, as a share of the view.
void aim(vtkRenderer& renderer, const Camera& camera, double margin)
{
  vtkCamera& view = *renderer.GetActiveCamera();
  view.SetParallelProjection(camera.isParallel);
  view.SetViewAngle(camera.angle);
  if (camera.side.empty()) {
    view.SetPosition(camera.eye.data());
    view.SetFocalPoint(camera.target.data());
    view.SetViewUp(camera.up.data());
    view.SetParallelScale(camera.height / 2);
    renderer.ResetCameraClippingRange();
    return;
  }
  Vec from{1, -1.2, 0.8};
  Vec up{0, 0, 1};
  if (camera.side != "Isometric") {
    const double sign = camera.side.front() == '-' ? -1 : 1;
    const char axis = camera.side.back();
    from = {axis == 'X' ? sign : 0, axis == 'Y' ? sign : 0, axis == 'Z' ? sign : 0};
    up = axis == 'Z' ? Vec{0, 1, 0} : Vec{0, 0, 1};
  }
  view.SetFocalPoint(0, 0, 0);
  view.SetPosition(from.data());
  view.SetViewUp(up.data());
  renderer.ResetCamera();
  fit(renderer, -0.94, 0.94 - 2 * std::min(0.7, margin));
  renderer.ResetCameraClippingRange();
}

bool hasGlass(const Picture& picture)
{
  return std::any_of(picture.sights.begin(), picture.sights.end(),
                     [](const Sight& sight) { return sight.opacity < 1 && sight.show->isLit; });
}

// The window that nobody sees, which takes longer to make than a picture: kept for the next one. Left to the system where
// the process ends; a copy of the process makes its own.
struct Window {
  Ptr<vtkRenderWindow> window;
  int samples = 0;
  pid_t process = 0;
};

Window& kept()
{
  static auto* const window = new Window;
  return *window;
}

Ptr<vtkRenderWindow> windowWith(int samples)
{
  if (kept().window && kept().process != getpid())
    new Ptr<vtkRenderWindow>(std::move(kept().window));
  if (kept().samples != samples)
    closeWindow();
  if (!kept().window) {
    kept() = {make<vtkRenderWindow>(), samples, getpid()};
    kept().window->SetOffScreenRendering(1);
    kept().window->SetMultiSamples(samples);
    kept().window->SetAlphaBitPlanes(1);
  }
  return kept().window;
}

// One scene. Painted by one thread at a time: the display is the process's.
class Stage {
 public:
  explicit Stage(const Picture& picture) : m_lock(painting())
  {
    needDisplay();
    m_window = windowWith(picture.samples);
    m_window->SetSize(picture.width, picture.height);
    const auto views = static_cast<int>(picture.cameras.size());
    for (int i = 0; i < views; ++i)
      addView(picture, i, views);
  }
  ~Stage()
  {
    while (vtkRenderer* renderer = m_window->GetRenderers()->GetFirstRenderer())
      m_window->RemoveRenderer(renderer);
    m_window->ReleaseCurrent();  // the next picture may be another thread's
    constexpr double muchMemory = 16e6;
    if (static_cast<double>(m_window->GetSize()[0]) * m_window->GetSize()[1] > muchMemory)
      closeWindow();
  }
  Stage(const Stage&) = delete;
  Stage& operator=(const Stage&) = delete;
  vtkRenderWindow& window() { return *m_window; }

 private:
  static std::mutex& painting()
  {
    static std::mutex mutex;
    return mutex;
  }
  void addView(const Picture& picture, int place, int views)
  {
    const auto renderer = make<vtkRenderer>();
    renderer->SetViewport(static_cast<double>(place) / views, 0, (place + 1.0) / views, 1);
    renderer->SetBackground(picture.background[0], picture.background[1], picture.background[2]);
    renderer->SetBackgroundAlpha(picture.hasBackground ? 1 : 0);
    // What shines through itself has to be sorted; that forgets which of two in one place comes later.
    renderer->SetUseDepthPeeling(hasGlass(picture));
    renderer->SetMaximumNumberOfPeels(6);
    m_window->AddRenderer(renderer);
    const double pixels = std::max<double>(picture.density, picture.height / 700.0);
    for (std::size_t i = 0; i < picture.sights.size(); ++i)
      addSight(*renderer, picture.sights[i], static_cast<int>(i), pixels);
    addLamps(*renderer, picture.lamps);
    const Camera& camera = picture.cameras.at(static_cast<std::size_t>(place));
    const int width = picture.width / views;
    aim(*renderer, camera, place + 1 == views ? widthOfLegends(picture, picture.height) / width : 0);
    if (picture.hasScale && camera.isParallel)
      addScale(*renderer, picture, camera, width, picture.height);
    addMarks(*renderer, picture, width, picture.height);
    if (place + 1 == views)
      addLegends(*renderer, picture, width, picture.height);
    if (place == 0)
      addCaptions(*renderer, picture, width, picture.height);
  }

  std::lock_guard<std::mutex> m_lock;
  Ptr<vtkRenderWindow> m_window;
};

}  // namespace

namespace {

std::string pngOf(Stage& stage, const Picture& picture)
{
  stage.window().Render();
  const auto grab = make<vtkWindowToImageFilter>();
  grab->SetInput(&stage.window());
  grab->ReadFrontBufferOff();
  grab->ShouldRerenderOff();
  if (!picture.hasBackground)
    grab->SetInputBufferTypeToRGBA();
  const auto smaller = make<vtkImageShrink3D>();
  smaller->SetInputConnection(grab->GetOutputPort());
  smaller->SetShrinkFactors(picture.density, picture.density, 1);
  smaller->AveragingOn();
  const auto writer = make<vtkPNGWriter>();
  writer->SetInputConnection((picture.density > 1 ? smaller->GetOutputPort() : grab->GetOutputPort()));
  writer->WriteToMemoryOn();
  run(*writer, "takePicture");
  const vtkUnsignedCharArray* const bytes = writer->GetResult();
  if (!bytes)
    fail("takePicture", "The picture could not be painted.");
  const auto* const begin =
      reinterpret_cast<const char*>(const_cast<vtkUnsignedCharArray*>(bytes)->GetPointer(0));
  return {begin, begin + bytes->GetNumberOfValues()};
}

}  // namespace

void closeWindow()
{
  if (kept().window && kept().process == getpid()) {
    kept().window->Finalize();
    kept().window = nullptr;
  }
}

std::string paintPng(const Picture& picture)
{
  // Smooth edges come from a larger picture: samples of pixels leave gaps in lines, and there are none where things that
  // shine through are sorted.
  Picture painted = picture;
  const int density = picture.samples > 8 ? 3 : 2;
  if (picture.samples > 1 && density * std::max(picture.width, picture.height) <= 8192) {
    painted.samples = 0;
    painted.density = density;
    painted.width *= density;
    painted.height *= density;
  }
  Stage stage(painted);
  return pngOf(stage, painted);
}

std::string paintFlat(int width, int height, const std::function<void(vtkRenderer&)>& draw)
{
  Picture empty;
  empty.width = width;
  empty.height = height;
  empty.cameras.emplace_back();
  Stage stage(empty);
  draw(*stage.window().GetRenderers()->GetFirstRenderer());
  return pngOf(stage, empty);
}

std::string paintGltf(const Picture& picture)
{
  Picture bare = picture;
  bare.captions.clear();
  bare.marks.clear();
  bare.hasScale = false;
  bare.cameras.resize(1);
  for (Sight& sight : bare.sights) {
    auto show = std::make_shared<Show>(*sight.show);
    if (show->isColoured)
      show->legend.title.clear();
    sight.show = show;
  }
  Stage stage(bare);
  stage.window().Render();
  const ScratchFolder folder;
  const auto exporter = make<vtkGLTFExporter>();
  exporter->SetRenderWindow(&stage.window());
  exporter->SetFileName(folder.file("scene.gltf").c_str());
  exporter->InlineDataOn();
  exporter->Write();
  return readFile(folder.file("scene.gltf"));
}

std::string asVtp(const Picture& picture)
{
  const auto append = make<vtkAppendPolyData>();
  for (const Sight& sight : picture.sights)
    append->AddInputData(sight.show->body);
  const auto writer = make<vtkXMLPolyDataWriter>();
  writer->SetInputConnection(append->GetOutputPort());
  writer->WriteToOutputStringOn();
  run(*writer, "takePicture");
  return writer->GetOutputString();
}

}  // namespace results
