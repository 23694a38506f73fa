#!/usr/bin/env python3
"""What examples/results/wind.ksl does, as a script for VTK's own Python: the peer that bench/results/large.py times.

    wind_vtk.py CASE OFFSET      writes wind_vtk.csv and wind_vtk.png
"""

import sys

import numpy as np
import vtkmodules.vtkRenderingFreeType
import vtkmodules.vtkRenderingOpenGL2
from vtkmodules.util.numpy_support import vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkLookupTable, vtkPoints
from vtkmodules.vtkCommonDataModel import vtkDataObject, vtkPlane, vtkPolyData
from vtkmodules.vtkFiltersCore import vtkCutter, vtkFeatureEdges, vtkPolyDataNormals, vtkTriangleFilter
from vtkmodules.vtkFiltersFlowPaths import vtkStreamTracer
from vtkmodules.vtkFiltersGeometry import vtkDataSetSurfaceFilter
from vtkmodules.vtkIOGeometry import vtkOpenFOAMReader
from vtkmodules.vtkIOImage import vtkPNGWriter
from vtkmodules.vtkRenderingAnnotation import vtkScalarBarActor
from vtkmodules.vtkRenderingCore import vtkActor, vtkPolyDataMapper, vtkRenderer, vtkRenderWindow, vtkWindowToImageFilter

case, offset = sys.argv[1], float(sys.argv[2])

reader = vtkOpenFOAMReader()
reader.SetFileName(case + "/system/controlDict")
reader.UpdateInformation()
reader.EnableAllPatchArrays()
reader.EnableAllCellArrays()
reader.CreateCellToPointOn()
times = reader.GetTimeValues()
reader.SetTimeValue(times.GetValue(times.GetNumberOfValues() - 1))
reader.Update()


def block(data, name):
    for i in range(data.GetNumberOfBlocks()):
        part = data.GetBlock(i)
        if data.GetMetaData(i).Get(data.NAME()) == name:
            return part
        found = block(part, name) if part and part.IsA("vtkMultiBlockDataSet") else None
        if found:
            return found
    return None


mesh = block(reader.GetOutput(), "internalMesh")
buildings = block(reader.GetOutput(), "buildings")
outlet = block(reader.GetOutput(), "outlet")


def cut(axis, at):
    plane = vtkPlane()
    plane.SetOrigin(*(at if i == axis else 0 for i in range(3)))
    plane.SetNormal(*(1 if i == axis else 0 for i in range(3)))
    cutter = vtkCutter()
    cutter.SetInputData(mesh)
    cutter.SetCutFunction(plane)
    cutter.Update()
    return cutter.GetOutput()


def triangles(data):
    """Area vectors, and values of the cells, of the triangles."""
    filter = vtkTriangleFilter()
    filter.SetInputData(data)
    filter.Update()
    data = filter.GetOutput()
    corners = vtk_to_numpy(data.GetPolys().GetConnectivityArray()).reshape(-1, 3)
    points = vtk_to_numpy(data.GetPoints().GetData()).astype(float)[corners]
    areas = np.cross(points[:, 1] - points[:, 0], points[:, 2] - points[:, 0]) / 2
    return areas, {name: vtk_to_numpy(data.GetCellData().GetArray(name)).astype(float) for name in ("U", "p")}


areas, values = triangles(cut(0, 100))
through = (np.linalg.norm(areas, axis=1) * values["U"][:, 0]).sum()  # triangles of a cut face either way
areas, values = triangles(outlet)
out = (areas * values["U"]).sum()
areas, values = triangles(buildings)
force = 1.2e-3 * (areas * values["p"][:, None]).sum(axis=0)
with open("wind_vtk.csv", "w") as file:
    file.write(f"Through,{through}\nOut,{out}\n" + "".join(f"Force {axis},{f}\n" for axis, f in zip("XYZ", force)))

slice = cut(2, offset)
seeds = vtkPoints()
for i in range(60):
    seeds.InsertNextPoint(-15, 5 + 170 * i / 59, 12)
start = vtkPolyData()
start.SetPoints(seeds)
tracer = vtkStreamTracer()
tracer.SetInputData(mesh)
tracer.SetSourceData(start)
tracer.SetInputArrayToProcess(0, 0, 0, vtkDataObject.FIELD_ASSOCIATION_POINTS, "U")
tracer.SetIntegratorTypeToRungeKutta45()
tracer.SetMaximumPropagation(3 * mesh.GetLength())
tracer.SetMaximumNumberOfSteps(20000)
tracer.SetComputeVorticity(False)
tracer.SetIntegrationDirectionToForward()
tracer.Update()

table = vtkLookupTable()
table.SetNumberOfTableValues(14)
table.SetHueRange(0.667, 0)
table.SetVectorModeToMagnitude()
speeds = np.linalg.norm(vtk_to_numpy(mesh.GetCellData().GetArray("U")), axis=1)
table.SetTableRange(speeds.min(), speeds.max())
table.Build()

renderer = vtkRenderer()
renderer.SetBackground(1, 1, 1)


def show(data, colour=None, width=1):
    mapper = vtkPolyDataMapper()
    mapper.SetInputData(data)
    actor = vtkActor()
    actor.SetMapper(mapper)
    if colour:
        mapper.ScalarVisibilityOff()
        actor.GetProperty().SetColor(*colour)
    else:
        mapper.SetScalarModeToUsePointFieldData()
        mapper.SelectColorArray("U")
        mapper.SetLookupTable(table)
        mapper.UseLookupTableScalarRangeOn()
        mapper.InterpolateScalarsBeforeMappingOn()
    actor.GetProperty().SetLineWidth(width)
    renderer.AddActor(actor)


surface = vtkDataSetSurfaceFilter()
surface.SetInputData(buildings)
normals = vtkPolyDataNormals()
normals.SetInputConnection(surface.GetOutputPort())
normals.SetFeatureAngle(40)
normals.Update()
edges = vtkFeatureEdges()
edges.SetInputConnection(surface.GetOutputPort())
edges.ColoringOff()
edges.Update()
show(normals.GetOutput(), (0.82, 0.8, 0.76))
show(edges.GetOutput(), (0.1, 0.13, 0.17))
show(slice)
show(tracer.GetOutput(), (1, 1, 1), 1.5)
legend = vtkScalarBarActor()
legend.SetLookupTable(table)
legend.SetTitle("Speed")
renderer.AddActor2D(legend)
camera = renderer.GetActiveCamera()
camera.SetPosition(-190, -215, 290)
camera.SetFocalPoint(138, 60, -4)
camera.SetViewUp(0, 0, 1)
camera.SetViewAngle(32)
renderer.ResetCameraClippingRange()
window = vtkRenderWindow()
window.SetOffScreenRendering(1)
window.SetMultiSamples(8)
window.SetSize(1200, 680)
window.AddRenderer(renderer)
window.Render()
grab = vtkWindowToImageFilter()
grab.SetInput(window)
grab.ReadFrontBufferOff()
grab.ShouldRerenderOff()
writer = vtkPNGWriter()
writer.SetInputConnection(grab.GetOutputPort())
writer.SetFileName("wind_vtk.png")
writer.Write()
