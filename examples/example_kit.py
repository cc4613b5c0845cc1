"""What the example scenes are made of: a glTF writer, shapes, pictures. Standard library only."""

import base64
import json
import math
import random
import struct
import zlib

FLOAT, UNSIGNED_BYTE, UNSIGNED_SHORT = 5126, 5121, 5123


# Colours --------------------------------------------------------------------------------------------------


def srgb(text):
    """'#rrggbb' as three numbers 0..1, as pictures hold them."""
    return [int(text[i:i + 2], 16) / 255 for i in (1, 3, 5)]


def linear(text):
    """'#rrggbb' as linear light, as material factors and lights hold it."""
    return [round(c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4, 4) for c in srgb(text)]


def mix(a, b, t):
    return [x + (y - x) * t for x, y in zip(a, b)]


# Vectors and transforms -----------------------------------------------------------------------------------


def sub(a, b):
    return [x - y for x, y in zip(a, b)]


def cross(a, b):
    return [a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]]


def unit(a):
    length = math.sqrt(sum(x * x for x in a))
    return [x / length for x in a] if length else [0.0, 1.0, 0.0]


def looking(eye, target, up=(0, 1, 0)):
    """The matrix of a camera or light at `eye` that looks at `target`."""
    z = unit(sub(eye, target))
    x = unit(cross(up, z))
    y = cross(z, x)
    return [round(v, 6) for v in (*x, 0, *y, 0, *z, 0, *eye, 1)]


def turn(axis, degrees):
    """A rotation about 'x', 'y' or 'z' as a quaternion."""
    half = math.radians(degrees) / 2
    q = [0.0, 0.0, 0.0, math.cos(half)]
    q["xyz".index(axis)] = math.sin(half)
    return [round(v, 6) for v in q]


# Pictures -------------------------------------------------------------------------------------------------


def png(width, height, pixel):
    """A picture from pixel(x, y) -> [r, g, b] or [r, g, b, a], each 0..1; few colours make a small file."""
    quantized = lambda color: tuple(round(255 * min(max(c, 0), 1)) for c in color)
    rows = [[quantized(pixel(x, y)) for x in range(width)] for y in range(height)]
    colors = sorted({p for row in rows for p in row})
    if len(colors) <= 256 and len(colors[0]) == 3:
        index = {c: i for i, c in enumerate(colors)}
        kind, palette = 3, b"".join(bytes(c) for c in colors)
        lines = b"".join(b"\0" + bytes(index[p] for p in row) for row in rows)
    else:
        kind, palette = (2 if len(colors[0]) == 3 else 6), b""
        lines = b"".join(b"\0" + b"".join(bytes(p) for p in row) for row in rows)

    def chunk(name, data):
        return struct.pack(">I", len(data)) + name + data + struct.pack(">I", zlib.crc32(name + data))

    header = struct.pack(">IIBBBBB", width, height, 8, kind, 0, 0, 0)
    return (b"\x89PNG\r\n\x1a\n" + chunk(b"IHDR", header) + (chunk(b"PLTE", palette) if palette else b"") +
            chunk(b"IDAT", zlib.compress(lines, 9)) + chunk(b"IEND", b""))


class Noise:
    """Smooth noise 0..1 that repeats after `period` cells."""

    def __init__(self, seed, period):
        rng = random.Random(seed)
        self.period = period
        self.cells = [[rng.random() for _ in range(period)] for _ in range(period)]

    def __call__(self, x, y):
        ix, iy = math.floor(x), math.floor(y)
        fx, fy = x - ix, y - iy
        fx, fy = fx * fx * (3 - 2 * fx), fy * fy * (3 - 2 * fy)
        cell = lambda i, j: self.cells[(iy + j) % self.period][(ix + i) % self.period]
        low = cell(0, 0) * (1 - fx) + cell(1, 0) * fx
        high = cell(0, 1) * (1 - fx) + cell(1, 1) * fx
        return low * (1 - fy) + high * fy

    def octaves(self, x, y, count):
        return sum(self(x * 2 ** k, y * 2 ** k) / 2 ** (k + 1) for k in range(count)) / (1 - 0.5 ** count)


def stepped(value, steps):
    """A value 0..1 in few steps, so that a picture needs few colours."""
    return round(value * steps) / steps


# Shapes ---------------------------------------------------------------------------------------------------


class Shape:
    """Vertices of one mesh: positions, normals and, where given, texture coordinates and colours."""

    def __init__(self):
        self.positions, self.normals, self.coords, self.colors, self.indices = [], [], [], [], []

    def vertex(self, position, normal, coord=(0, 0)):
        self.positions.append(position)
        self.normals.append(unit(normal))
        self.coords.append(coord)
        return len(self.positions) - 1

    def add(self, other, offset=(0, 0, 0)):
        base = len(self.positions)
        self.positions += [[a + b for a, b in zip(p, offset)] for p in other.positions]
        self.normals += other.normals
        self.coords += other.coords
        self.indices += [i + base for i in other.indices]
        return self


def surface(columns, rows, at):
    """A grid of at(u, v) -> position, u and v 0..1. Seen from the front, u runs to the right and v up."""
    shape = Shape()
    step = 1e-4
    for j in range(rows + 1):
        for i in range(columns + 1):
            u, v = i / columns, j / rows
            along = sub(at(u + step, v), at(u - step, v))
            up = sub(at(u, v + step), at(u, v - step))
            shape.vertex(at(u, v), cross(along, up), (u, 1 - v))
    for j in range(rows):
        for i in range(columns):
            a = j * (columns + 1) + i
            b, c, d = a + 1, a + columns + 1, a + columns + 2
            shape.indices += [a, b, d, a, d, c]
    return shape


def sphere(radius=1.0, columns=48, rows=24):
    shape = surface(columns, rows, lambda u, v: [
        -radius * math.cos(2 * math.pi * u) * math.sin(math.pi * v), -radius * math.cos(math.pi * v),
        radius * math.sin(2 * math.pi * u) * math.sin(math.pi * v)])
    shape.normals = [unit(p) for p in shape.positions]
    return shape


def lathe(profile, columns=36, smooth=4):
    """Turns points (radius, height), bottom to top, about Y; the profile is smoothed by a spline."""
    points = []
    ends = [profile[0]] + list(profile) + [profile[-1]]
    for a, b, c, d in zip(ends, ends[1:], ends[2:], ends[3:]):
        for k in range(smooth):
            t = k / smooth
            points.append([0.5 * (2 * q + (r - p) * t + (2 * p - 5 * q + 4 * r - s) * t * t +
                                  (3 * q - p - 3 * r + s) * t ** 3) for p, q, r, s in zip(a, b, c, d)])
    points.append(list(profile[-1]))

    def at(u, v):
        x = min(max(v, 0), 1) * (len(points) - 1)
        i = min(int(x), len(points) - 2)
        radius, height = mix(points[i], points[i + 1], x - i)
        return [-radius * math.cos(2 * math.pi * u), height, radius * math.sin(2 * math.pi * u)]

    return surface(columns, len(points) - 1, at)


def torus(radius, tube, columns=64, rows=12):
    def at(u, v):
        around, across = 2 * math.pi * u, 2 * math.pi * v
        reach = radius + tube * math.cos(across)
        return [-reach * math.cos(around), tube * math.sin(across), reach * math.sin(around)]

    return surface(columns, rows, at)


def rounded_box(width, height, depth, edge, detail=3):
    """A box with its bottom at y = 0 and rounded edges."""
    shape = Shape()
    half = [width / 2 - edge, height / 2 - edge, depth / 2 - edge]
    arc = [math.tan(math.radians(45) * (k / detail)) for k in range(-detail, detail + 1)]
    faces = [((1, 0, 0), (0, 1, 0)), ((-1, 0, 0), (0, 1, 0)), ((0, 0, 1), (0, 1, 0)),
             ((0, 0, -1), (0, 1, 0)), ((0, 1, 0), (0, 0, -1)), ((0, -1, 0), (0, 0, 1))]
    for front, up in faces:
        right = cross(up, front)
        base, side = len(shape.positions), 2 * detail + 2
        # The middle column and row stand twice, so that the flat part is flat and the edges are round.
        ticks = [(t, -1) for t in arc[:detail + 1]] + [(t, 1) for t in arc[detail:]]
        for b, row in ticks:
            for a, column in ticks:
                normal = unit([f + a * r + b * u for f, r, u in zip(front, right, up)])
                sign = [f + column * r + row * u for f, r, u in zip(front, right, up)]
                position = [s * h + edge * n for s, h, n in zip(sign, half, normal)]
                position[1] += height / 2
                shape.vertex(position, normal, ((a + 1) / 2, (1 - b) / 2))
        for j in range(side - 1):
            for i in range(side - 1):
                a = base + j * side + i
                shape.indices += [a, a + 1, a + side + 1, a, a + side + 1, a + side]
    return shape


def ground(width, depth, repeats=1.0, cells=1):
    """A horizontal rectangle about the origin."""
    shape = surface(cells, cells, lambda u, v: [width * (u - 0.5), 0, depth * (0.5 - v)])
    shape.coords = [(u * repeats, v * repeats * depth / width) for u, v in shape.coords]
    return shape


def sweep(width, depth, height, bend):
    """A studio's backdrop: a floor that bends up into a wall behind, about the origin."""
    arc = bend * math.pi / 2
    total = depth - bend + arc + height - bend

    def at(u, v):
        s = v * total
        x, front = width * (u - 0.5), depth / 2
        if s < depth - bend:
            return [x, 0, front - s]
        if s < depth - bend + arc:
            angle = (s - depth + bend) / bend
            return [x, bend * (1 - math.cos(angle)), front - depth + bend - bend * math.sin(angle)]
        return [x, bend + s - (depth - bend + arc), -depth / 2]

    return surface(1, 48, at)


# The file -------------------------------------------------------------------------------------------------


class Gltf:
    """Collects a scene and writes it as JSON, as JSON with a .bin beside it, or as binary glTF."""

    def __init__(self, renderer=0, width=640, height=360, posts=None, **more):
        settings = {"5008": width, "5009": height, "5300": renderer, **more}
        self.json = {
            "asset": {"version": "2.0", "generator": "examples/make_examples.py"},
            "scene": 0, "scenes": [{"nodes": []}], "extensionsUsed": ["VESTA_document"],
            "extensions": {"VESTA_document": {"fps": 25, "startFrame": 0, "renderSettings": settings}}}
        if posts:
            self.json["extensions"]["VESTA_document"]["videoPosts"] = posts
        self.bytes = b""

    def put(self, member, value):
        self.json.setdefault(member, []).append(value)
        return len(self.json[member]) - 1

    def use(self, extension):
        if extension not in self.json["extensionsUsed"]:
            self.json["extensionsUsed"].append(extension)

    def view(self, data):
        self.bytes += b"\0" * (-len(self.bytes) % 4)
        index = self.put("bufferViews", {"buffer": 0, "byteOffset": len(self.bytes), "byteLength": len(data)})
        self.bytes += data
        return index

    def accessor(self, values, component, kind, **more):
        flat = values if kind == "SCALAR" else [c for value in values for c in value]
        code = {FLOAT: "f", UNSIGNED_BYTE: "B", UNSIGNED_SHORT: "H"}[component]
        data = struct.pack("<%d%s" % (len(flat), code), *flat)
        return self.put("accessors", {"bufferView": self.view(data), "componentType": component,
                                      "count": len(values), "type": kind, **more})

    def mesh(self, shape, material, textured=False):
        assert len(shape.positions) < 65536
        bounds = {"min": [round(min(p[k] for p in shape.positions), 6) for k in range(3)],
                  "max": [round(max(p[k] for p in shape.positions), 6) for k in range(3)]}
        attributes = {"POSITION": self.accessor(shape.positions, FLOAT, "VEC3", **bounds),
                      "NORMAL": self.accessor(shape.normals, FLOAT, "VEC3")}
        if textured:
            attributes["TEXCOORD_0"] = self.accessor(shape.coords, FLOAT, "VEC2")
        if shape.colors:
            colors = [[round(255 * min(max(c, 0), 1)) for c in color] + [255] for color in shape.colors]
            attributes["COLOR_0"] = self.accessor(colors, UNSIGNED_BYTE, "VEC4", normalized=True)
        indices = self.accessor(shape.indices, UNSIGNED_SHORT, "SCALAR")
        primitive = {"attributes": attributes, "indices": indices, "material": material}
        return self.put("meshes", {"primitives": [primitive]})

    def recolored(self, mesh, material):
        """The same triangles in another material, without a second copy of the numbers."""
        primitive = dict(self.json["meshes"][mesh]["primitives"][0], material=material)
        return self.put("meshes", {"primitives": [primitive]})

    def hang(self, mesh, shape, heights):
        """Hangs a mesh on joints one above the other: each vertex on the two that are next to its height."""
        joints, weights = [], []
        for _, y, _ in shape.positions:
            above = min(max(sum(y >= h for h in heights), 1), len(heights) - 1)
            part = min(max((y - heights[above - 1]) / (heights[above] - heights[above - 1]), 0), 1)
            joints.append([above - 1, above, 0, 0])
            weights.append([1 - part, part, 0, 0])
        attributes = self.json["meshes"][mesh]["primitives"][0]["attributes"]
        attributes["JOINTS_0"] = self.accessor(joints, UNSIGNED_BYTE, "VEC4")
        attributes["WEIGHTS_0"] = self.accessor(weights, FLOAT, "VEC4")

    def chain(self, heights, position):
        """Joints one above the other, from `position` upwards, as a skin. Answers its index and its nodes."""
        nodes = [self.node(translation=[round(v, 5) for v in position])]
        for low, high in zip(heights, heights[1:]):
            nodes.append(self.node(nodes[-1], translation=[0, round(high - low, 5), 0]))
        inverse = [[1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, -h, 0, 1] for h in heights]
        return self.put("skins", {"joints": nodes,
                                  "inverseBindMatrices": self.accessor(inverse, FLOAT, "MAT4")}), nodes

    def morph(self, mesh, shape, moved):
        """Adds a morph target: where the shape's vertices are moved to, and their normals there."""
        bends = [[sub(b, a) for a, b in zip(before, after)]
                 for before, after in [(shape.positions, moved.positions), (shape.normals, moved.normals)]]
        bounds = {"min": [round(min(p[k] for p in bends[0]), 6) for k in range(3)],
                  "max": [round(max(p[k] for p in bends[0]), 6) for k in range(3)]}
        self.json["meshes"][mesh]["primitives"][0].setdefault("targets", []).append(
            {"POSITION": self.accessor(bends[0], FLOAT, "VEC3", **bounds),
             "NORMAL": self.accessor(bends[1], FLOAT, "VEC3")})

    def animate(self, animation, node, path, times, values, interpolation="LINEAR"):
        """Adds a channel to an animation ({"channels": [], "samplers": []})."""
        kind = {"weights": "SCALAR", "rotation": "VEC4"}.get(path, "VEC3")
        keys = self.accessor(times, FLOAT, "SCALAR", min=[times[0]], max=[times[-1]])
        animation["samplers"].append({"input": keys, "output": self.accessor(values, FLOAT, kind),
                                      "interpolation": interpolation})
        animation["channels"].append({"sampler": len(animation["samplers"]) - 1,
                                      "target": {"node": node, "path": path}})

    def texture(self, picture, clamp=False):
        image = self.put("images", {"bufferView": self.view(picture), "mimeType": "image/png"})
        wrap = 33071 if clamp else 10497
        sampler = self.put("samplers", {"magFilter": 9729, "minFilter": 9987, "wrapS": wrap, "wrapT": wrap})
        return self.put("textures", {"source": image, "sampler": sampler})

    def material(self, color="#ffffff", metallic=0.0, roughness=0.8, texture=None, glow=None,
                 glow_texture=None, strength=1.0, **more):
        pbr = {"baseColorFactor": linear(color) + [1], "metallicFactor": metallic,
               "roughnessFactor": roughness}
        if texture is not None:
            pbr["baseColorTexture"] = texture if isinstance(texture, dict) else {"index": texture}
        material = {"pbrMetallicRoughness": pbr, **more}
        if glow:
            material["emissiveFactor"] = linear(glow)
        if glow_texture is not None:
            material["emissiveTexture"] = {"index": glow_texture}
        if strength != 1:
            self.use("KHR_materials_emissive_strength")
            material["extensions"] = {"KHR_materials_emissive_strength": {"emissiveStrength": strength}}
        return self.put("materials", material)

    def layer(self, material, extension, **values):
        """Adds one of glTF's material extensions; answers the material."""
        name = "KHR_materials_" + extension
        self.use(name)
        self.json["materials"][material].setdefault("extensions", {})[name] = values
        return material

    def node(self, parent=None, **node):
        index = self.put("nodes", node)
        if parent is None:
            self.json["scenes"][0]["nodes"].append(index)
        else:
            self.json["nodes"][parent].setdefault("children", []).append(index)
        return index

    def place(self, mesh, position=(0, 0, 0), parent=None, **more):
        return self.node(parent, mesh=mesh, translation=[round(v, 5) for v in position], **more)

    def camera(self, eye, target, degrees):
        camera = self.put("cameras", {"type": "perspective", "perspective": {
            "yfov": round(math.radians(degrees), 5), "znear": 0.05}})
        self.node(name="Camera", camera=camera, matrix=looking(eye, target))

    def parallel_camera(self, eye, target, height, aspect):
        camera = self.put("cameras", {"type": "orthographic", "orthographic": {
            "xmag": height / 2 * aspect, "ymag": height / 2, "znear": 0.1, "zfar": 200}})
        self.node(name="Camera", camera=camera, matrix=looking(eye, target))

    def light(self, kind, position, target, color="#ffffff", intensity=1.0, spot=None, parent=None):
        self.use("KHR_lights_punctual")
        lights = self.json["extensions"].setdefault("KHR_lights_punctual", {"lights": []})["lights"]
        light = {"type": kind, "color": linear(color), "intensity": intensity}
        if spot:
            light["spot"] = {"innerConeAngle": round(math.radians(spot[0]), 5),
                             "outerConeAngle": round(math.radians(spot[1]), 5)}
        lights.append(light)
        self.node(parent, matrix=looking(position, target, (0, 0, 1) if position[0] == target[0] and
                                         position[2] == target[2] else (0, 1, 0)),
                  extensions={"KHR_lights_punctual": {"light": len(lights) - 1}})

    def save(self, path, form="json"):
        path.parent.mkdir(parents=True, exist_ok=True)
        buffer = {"byteLength": len(self.bytes)}
        if form == "json":
            buffer["uri"] = "data:application/octet-stream;base64," + base64.b64encode(self.bytes).decode()
        if form == "bin":
            buffer["uri"] = path.with_suffix(".bin").name
            path.with_suffix(".bin").write_bytes(self.bytes)
        text = json.dumps({**self.json, "buffers": [buffer]}, separators=(",", ":")).encode()
        path.write_bytes(self.binary(text) if form == "glb" else text + b"\n")

    def binary(self, text):
        text += b" " * (-len(text) % 4)
        data = self.bytes + b"\0" * (-len(self.bytes) % 4)
        chunks = (struct.pack("<I4s", len(text), b"JSON") + text +
                  struct.pack("<I4s", len(data), b"BIN\0") + data)
        return struct.pack("<4sII", b"glTF", 2, 12 + len(chunks)) + chunks
