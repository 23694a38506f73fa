#!/usr/bin/env python3
"""Splits the hexahedra of a .vtu file with values on cells:  refine.py FROM TO NX NY NZ  (along each cell's own directions).

Values between the cells' middles follow those at the corners, so that pictures are as smooth as the fine mesh lets them."""

import sys

import numpy as np
from vtkmodules.util.numpy_support import numpy_to_vtk, numpy_to_vtkIdTypeArray, vtk_to_numpy
from vtkmodules.vtkCommonCore import vtkPoints
from vtkmodules.vtkCommonDataModel import vtkCellArray, vtkUnstructuredGrid
from vtkmodules.vtkFiltersCore import vtkCellDataToPointData
from vtkmodules.vtkIOXML import vtkXMLUnstructuredGridReader, vtkXMLUnstructuredGridWriter

source, target = sys.argv[1:3]
parts = np.array(sys.argv[3:6], dtype=int)
reader = vtkXMLUnstructuredGridReader()
reader.SetFileName(source)
to_points = vtkCellDataToPointData()
to_points.SetInputConnection(reader.GetOutputPort())
to_points.PassCellDataOn()
to_points.Update()
grid = to_points.GetOutput()
corners = vtk_to_numpy(grid.GetCells().GetConnectivityArray()).reshape(-1, 8)


def weights(u, v, w):
    """Of a cell's corners, at places in it."""
    u, v, w = (np.asarray(x).reshape(-1, 1) for x in (u, v, w))
    return np.hstack([(1 - u) * (1 - v) * (1 - w), u * (1 - v) * (1 - w), u * v * (1 - w), (1 - u) * v * (1 - w),
                      (1 - u) * (1 - v) * w, u * (1 - v) * w, u * v * w, (1 - u) * v * w])


def places(steps):
    axes = np.meshgrid(*steps, indexing="ij")
    return weights(*(axis.ravel() for axis in axes))


at_nodes = places([np.arange(n + 1) / n for n in parts])
at_middles = places([(np.arange(n) + 0.5) / n for n in parts])
nodes = np.einsum("pk,ckx->cpx", at_nodes, vtk_to_numpy(grid.GetPoints().GetData()).astype(float)[corners])
number = np.arange(nodes.shape[1]).reshape(parts + 1)
i, j, k = (axis.ravel() for axis in np.meshgrid(*(np.arange(n) for n in parts), indexing="ij"))
small = np.stack([number[i + a, j + b, k + c] for c in (0, 1) for a, b in ((0, 0), (1, 0), (1, 1), (0, 1))], axis=1)
cells = (small[None] + (np.arange(len(corners)) * nodes.shape[1])[:, None, None]).reshape(-1, 8)

# Cells that touch share their points.
nodes = nodes.reshape(-1, 3)
low, high = nodes.min(axis=0), nodes.max(axis=0)
grain = np.rint((nodes - low) / (high - low) * (2**20 - 1)).astype(np.int64)
_, first, shared = np.unique((grain[:, 0] << 40) + (grain[:, 1] << 20) + grain[:, 2], return_index=True, return_inverse=True)
points = vtkPoints()
points.SetData(numpy_to_vtk(nodes[first], deep=1))
polys = vtkCellArray()
polys.SetData(8, numpy_to_vtkIdTypeArray(shared[cells].ravel(), deep=1))
fine = vtkUnstructuredGrid()
fine.SetPoints(points)
fine.SetCells(12, polys)
for name in ("U", "p"):
    values = vtk_to_numpy(grid.GetPointData().GetArray(name)).astype(float)
    values = values.reshape(len(values), -1)[corners]
    own = vtk_to_numpy(grid.GetCellData().GetArray(name)).astype(float)
    fields = np.einsum("pk,ckx->cpx", at_middles, values)
    fields += (own.reshape(len(own), 1, -1) - fields.mean(axis=1, keepdims=True))  # what flows through a cell stays
    array = numpy_to_vtk(fields.reshape(-1, fields.shape[2]), deep=1)
    array.SetName(name)
    fine.GetCellData().AddArray(array)
writer = vtkXMLUnstructuredGridWriter()
writer.SetInputData(fine)
writer.SetFileName(target)
writer.SetDataModeToAppended()
writer.EncodeAppendedDataOff()
writer.SetCompressorTypeToNone()
writer.Write()
print(f"{target}: {fine.GetNumberOfCells()} cells, {fine.GetNumberOfPoints()} points")
