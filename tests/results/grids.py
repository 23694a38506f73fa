"""Results files with fields whose integrals are known: p = 1 + 2x + 3y + 4z [Pa] and U = (1 + x, 2y, 3z) [m/s] on the box
0..2, 0..1, 0..1, in cubes of half a metre."""

import ctypes
import itertools
import pathlib
import re
import shutil
import subprocess

SIZE = (4, 2, 2)
STEP = 0.5


def pressure(x, y, z):
    return 1 + 2 * x + 3 * y + 4 * z


def velocity(x, y, z):
    return 1 + x, 2 * y, 3 * z


def points(scale=1):
    return [tuple(scale * STEP * c for c in (i, j, k)) for k, j, i in
            itertools.product(*(range(n + 1) for n in reversed(SIZE)))]


def node(i, j, k):
    return i + (SIZE[0] + 1) * (j + (SIZE[1] + 1) * k)


def cells():
    ring = ((0, 0), (1, 0), (1, 1), (0, 1))
    return [[node(i + a, j + b, k + c) for c in (0, 1) for a, b in ring] for k, j, i in
            itertools.product(*(range(n) for n in reversed(SIZE)))]


def centres():
    return [tuple(STEP * (c + 0.5) for c in (i, j, k)) for k, j, i in itertools.product(*(range(n) for n in reversed(SIZE)))]


def lines(values):
    return "\n".join(" ".join(map(str, v)) if isinstance(v, (tuple, list)) else str(v) for v in values) + "\n"


def legacy(file, *, on_cells=False, scale=1, title="grid"):
    where = centres() if on_cells else [tuple(c / scale for c in p) for p in points(scale)]
    kind = "CELL_DATA" if on_cells else "POINT_DATA"
    text = f"# vtk DataFile Version 3.0\n{title}\nASCII\nDATASET UNSTRUCTURED_GRID\nPOINTS {len(points())} double\n"
    text += lines(points(scale)) + f"CELLS {len(cells())} {9 * len(cells())}\n" + lines([8, *c] for c in cells())
    text += f"CELL_TYPES {len(cells())}\n" + "12\n" * len(cells())
    text += f"{kind} {len(where)}\nSCALARS p double 1\nLOOKUP_TABLE default\n" + lines(pressure(*x) for x in where)
    pathlib.Path(file).write_text(text + "VECTORS U double\n" + lines(velocity(*x) for x in where))


def array(name, values, components=1, kind="Float64"):
    return f'<DataArray type="{kind}" Name="{name}" NumberOfComponents="{components}" format="ascii">\n{lines(values)}</DataArray>\n'


def xml(kind, extent, piece, geometry, at_centres=None):
    where, data = at_centres or points(), "CellData" if at_centres else "PointData"
    fields = array("p", (pressure(*x) for x in where)) + array("U", (velocity(*x) for x in where), 3)
    return (f'<VTKFile type="{kind}" version="0.1" byte_order="LittleEndian"><{kind} {extent}><Piece {piece}>'
            f"<{data}>{fields}</{data}>{geometry}</Piece></{kind}></VTKFile>\n")


def vtu(file, shape="hexahedra", part=None, on_cells=False):
    """The whole, or some of its cells; the same cells may be called hexahedra or polyhedra, or be six tetrahedra each."""
    own = cells() if part is None else [c for n, c in enumerate(cells()) if n in part]
    if shape == "tetrahedra":
        own = [[c[k] for k in (0, *side, 6)] for c in own for side in ((1, 2), (2, 3), (3, 7), (7, 4), (4, 5), (5, 1))]
    are_polyhedra = shape == "polyhedra"
    body = "<Points>" + array("Points", points(), 3) + "</Points><Cells>" + array("connectivity", own, kind="Int64")
    body += array("offsets", (len(own[0]) * (i + 1) for i in range(len(own))), kind="Int64")
    if are_polyhedra:
        faces = [[6] + [n for side in SHAPES for n in (4, *(c[k] for k in side))] for c in own]
        body += array("faces", faces, kind="Int64") + array("faceoffsets", (31 * (i + 1) for i in range(len(own))), kind="Int64")
    body += array("types", ({"hexahedra": 12, "polyhedra": 42, "tetrahedra": 10}[shape] for _ in own), kind="UInt8") + "</Cells>"
    middles = [tuple(sum(points()[n][k] for n in c) / len(c) for k in range(3)) for c in own] if on_cells else None
    pathlib.Path(file).write_text(xml("UnstructuredGrid", "", f'NumberOfPoints="{len(points())}" NumberOfCells="{len(own)}"', body, middles))


SHAPES = ((0, 3, 2, 1), (4, 5, 6, 7), (0, 1, 5, 4), (3, 7, 6, 2), (0, 4, 7, 3), (1, 2, 6, 5))  # of a cell's faces
EXTENT = "0 {} 0 {} 0 {}".format(*SIZE)


def vti(file):
    whole = f'WholeExtent="{EXTENT}" Origin="0 0 0" Spacing="0.5 0.5 0.5"'
    pathlib.Path(file).write_text(xml("ImageData", whole, f'Extent="{EXTENT}"', ""))


def vts(file):
    geometry = "<Points>" + array("Points", points(), 3) + "</Points>"
    pathlib.Path(file).write_text(xml("StructuredGrid", f'WholeExtent="{EXTENT}"', f'Extent="{EXTENT}"', geometry))


def pvtu(file, pieces=1):
    file = pathlib.Path(file)
    width = -(-len(cells()) // pieces)
    names = [f"{file}.piece{n if pieces > 1 else ''}.vtu" for n in range(pieces)]
    for n, name in enumerate(names):
        vtu(name, part=range(n * width, (n + 1) * width))
    arrays = '<PDataArray type="Float64" Name="p"/><PDataArray type="Float64" Name="U" NumberOfComponents="3"/>'
    file.write_text(
        '<VTKFile type="PUnstructuredGrid" version="0.1"><PUnstructuredGrid GhostLevel="0">'
        f'<PPointData>{arrays}</PPointData><PPoints><PDataArray type="Float64" NumberOfComponents="3"/></PPoints>'
        + "".join(f'<Piece Source="{pathlib.Path(name).name}"/>' for name in names) + "</PUnstructuredGrid></VTKFile>\n")


def vtm(file, blocks=1):
    """One block "inside", or the cells in `left` and `right`."""
    name = pathlib.Path(file).name + ".block"
    width = SIZE[0] // blocks
    for n in range(blocks):
        vtu(f"{file}.block{n or ''}.vtu", part=[c for c in range(len(cells())) if c % SIZE[0] // width == n])
    sets = "".join(f'<DataSet index="{n}" name="{block}" file="{name}{n or ""}.vtu"/>'
                   for n, block in enumerate(("left", "right") if blocks == 2 else ("inside",)))
    pathlib.Path(file).write_text('<VTKFile type="vtkMultiBlockDataSet" version="1.0"><vtkMultiBlockDataSet>'
                                  f"{sets}</vtkMultiBlockDataSet></VTKFile>\n")


def pvd(file, times=(0,)):
    vtu(str(file) + ".vtu")
    sets = "".join(f'<DataSet timestep="{t}" file="{pathlib.Path(file).name}.vtu"/>' for t in times)
    pathlib.Path(file).write_text(f'<VTKFile type="Collection" version="0.1"><Collection>{sets}</Collection></VTKFile>\n')


def ensight(file):
    base = pathlib.Path(file).with_suffix("")
    base.with_suffix(".case").write_text(
        f"FORMAT\ntype: ensight gold\nGEOMETRY\nmodel: {base.name}.geo\nVARIABLE\n"
        f"scalar per node: p {base.name}.p\nvector per node: U {base.name}.U\n")
    columns = "".join("".join(f"{p[axis]:12.5e}\n" for p in points()) for axis in range(3))
    elements = "".join("".join(f"{n + 1:10d}" for n in c) + "\n" for c in cells())
    base.with_suffix(".geo").write_text(
        f"grid\nmade by a test\nnode id off\nelement id off\npart\n{1:10d}\ninside\ncoordinates\n{len(points()):10d}\n"
        f"{columns}hexa8\n{len(cells()):10d}\n{elements}")
    head = f"values\npart\n{1:10d}\ncoordinates\n"
    base.with_suffix(".p").write_text(head + "".join(f"{pressure(*x):12.5e}\n" for x in points()))
    base.with_suffix(".U").write_text(
        head + "".join("".join(f"{velocity(*x)[axis]:12.5e}\n" for x in points()) for axis in range(3)))


def vtp(file):
    """The outer faces of the box."""
    faces = {}
    for cell in cells():
        for shape in SHAPES:
            face = tuple(cell[corner] for corner in shape)
            faces.setdefault(tuple(sorted(face)), []).append(face)
    outer = [f[0] for f in faces.values() if len(f) == 1]
    body = "<Points>" + array("Points", points(), 3) + "</Points><Polys>" + array("connectivity", outer, kind="Int64")
    body += array("offsets", (4 * (i + 1) for i in range(len(outer))), kind="Int64") + "</Polys>"
    pathlib.Path(file).write_text(xml("PolyData", "", f'NumberOfPoints="{len(points())}" NumberOfPolys="{len(outer)}"', body))


def cgns(file):
    """Written by the library that VTK brings."""
    name = re.search(r"libvtkcgns\S*", subprocess.run(["/sbin/ldconfig", "-p"], capture_output=True, text=True).stdout).group()
    library = ctypes.CDLL(name)
    made = [ctypes.c_int() for _ in range(7)]
    handle, base, zone, coordinate, section, solution, field = map(ctypes.byref, made)

    def call(function, *arguments):
        failed = getattr(library, "vtkcgns_cg_" + function)(*arguments)
        assert not failed, ctypes.c_char_p(library.vtkcgns_cg_get_error()).value

    def column(values):
        return (ctypes.c_double * len(values))(*values)

    real, vertex, unstructured, hexahedra = 4, 2, 3, 17
    call("open", str(file).encode(), 1, handle)
    fn = made[0]
    call("base_write", fn, b"Base", 3, 3, base)
    call("zone_write", fn, 1, b"inside", (ctypes.c_longlong * 3)(len(points()), len(cells()), 0), unstructured, zone)
    for axis, name in enumerate((b"CoordinateX", b"CoordinateY", b"CoordinateZ")):
        call("coord_write", fn, 1, 1, real, name, column([p[axis] for p in points()]), coordinate)
    corners = [n + 1 for c in cells() for n in c]
    call("section_write", fn, 1, 1, b"Cells", hexahedra, ctypes.c_longlong(1), ctypes.c_longlong(len(cells())), 0,
         (ctypes.c_longlong * len(corners))(*corners), section)
    call("sol_write", fn, 1, 1, b"Solution", vertex, solution)
    call("field_write", fn, 1, 1, 1, real, b"p", column([pressure(*x) for x in points()]), field)
    for axis, name in enumerate((b"UX", b"UY", b"UZ")):
        call("field_write", fn, 1, 1, 1, real, name, column([velocity(*x)[axis] for x in points()]), field)
    call("close", fn)


def foam(case, times=("0", "1"), parts=1):
    """An OpenFOAM case: values on cells; the boundary has the patches `sides` (z and y) and `ends` (x). With several parts
    a decomposed one, in slices along x."""
    case = pathlib.Path(case)
    (case / "system").mkdir(parents=True)
    (case / "system" / "controlDict").write_text(foam_head("dictionary", "controlDict") + "startFrom startTime;\nstartTime 0;\n"
                                                 "stopAt endTime;\nendTime 1;\ndeltaT 1;\nwriteControl timeStep;\nwriteInterval 1;\n"
                                                 "writeFormat ascii;\ntimeFormat general;\ntimePrecision 6;\n")
    width = SIZE[0] // parts
    for part in range(parts):
        inside = range(part * width, (part + 1) * width)
        foam_part(case / f"processor{part}" if parts > 1 else case, inside, times)
    return case


def collate(case, parts):
    """Puts the files of a decomposed case together, one for all parts, of which only the first keeps its head."""
    together = case / f"processors{parts}"
    for file in sorted((case / "processor0").rglob("*")):
        if file.is_file():
            place = file.relative_to(case / "processor0")
            blocks = [(case / f"processor{part}" / place).read_bytes() for part in range(parts)]
            blocks[1:] = [block[block.index(b"}") + 1:] for block in blocks[1:]]
            (together / place).parent.mkdir(parents=True, exist_ok=True)
            (together / place).write_bytes(foam_head("decomposedBlockData", file.name).encode() + b"".join(
                b"\n// Processor%d\n\n%d\n(%s)\n" % (i, len(block), block) for i, block in enumerate(blocks)))
    for part in range(parts):
        shutil.rmtree(case / f"processor{part}")


def foam_head(kind, name):
    return f"FoamFile\n{{\n version 2.0;\n format ascii;\n class {kind};\n object {name};\n}}\n"


def foam_part(root, inside, times):
    mine = [n for n, c in enumerate(itertools.product(*(range(n) for n in reversed(SIZE)))) if c[2] in inside]
    number = {cell: i for i, cell in enumerate(mine)}
    faces = {}
    for cell in mine:
        for shape in SHAPES:
            face = tuple(cells()[cell][corner] for corner in shape)
            faces.setdefault(tuple(sorted(face)), []).append((face, number[cell]))
    shared = sorted((f for f in faces.values() if len(f) == 2), key=lambda f: (f[0][1], f[1][1]))
    outer = [f[0] for f in faces.values() if len(f) == 1]
    is_end = [len({points()[n][0] for n in face}) == 1 for face, _ in outer]
    is_outside = [points()[face[0]][0] in (0, SIZE[0] * STEP) for face, _ in outer]
    groups = {"sides": [f for f, e in zip(outer, is_end) if not e], "ends": [f for f, e, o in zip(outer, is_end, is_outside) if e and o],
              "procBoundary0to1": [f for f, e, o in zip(outer, is_end, is_outside) if e and not o]}
    ordered, boundary = [f[0] for f in shared], ""
    for name, patch in groups.items():
        if patch:
            boundary += f"{name}\n{{\n type patch;\n nFaces {len(patch)};\n startFace {len(ordered)};\n}}\n"
            ordered += patch
    mesh = root / "constant" / "polyMesh"
    mesh.mkdir(parents=True)
    write = lambda name, kind, count, body: (mesh / name).write_text(foam_head(kind, name) + f"{count}\n(\n{body})\n")
    write("points", "vectorField", len(points()), "".join("({} {} {})\n".format(*p) for p in points()))
    write("faces", "faceList", len(ordered), "".join("4({} {} {} {})\n".format(*face) for face, _ in ordered))
    write("owner", "labelList", len(ordered), lines(owner for _, owner in ordered))
    write("neighbour", "labelList", len(shared), lines(f[1][1] for f in shared))
    write("boundary", "polyBoundaryMesh", boundary.count("{"), boundary)
    where = [centres()[cell] for cell in mine]
    for time in times:
        factor = 1 + float(time)
        (root / time).mkdir()
        patches = "".join(f"{name}\n{{\n type zeroGradient;\n}}\n" for name, patch in groups.items() if patch)
        for name, kind, dims, values in (
                ("p", "volScalarField", "[1 -1 -2 0 0 0 0]", [str(factor * pressure(*x)) for x in where]),
                ("U", "volVectorField", "[0 1 -1 0 0 0 0]", ["({} {} {})".format(*(factor * c for c in velocity(*x))) for x in where])):
            inner = "scalar" if name == "p" else "vector"
            (root / time / name).write_text(
                foam_head(kind, name) + f"dimensions {dims};\ninternalField nonuniform List<{inner}>\n{len(where)}\n(\n"
                + lines(values) + f")\n;\nboundaryField\n{{\n{patches}}}\n")
