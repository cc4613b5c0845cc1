#!/usr/bin/env python3
"""Writes the example scenes beside this file. Run it after a change here; the scenes are checked in."""

import math
import pathlib
import random
import sys

sys.dont_write_bytecode = True  # the folder is for scenes

from example_kit import (Gltf, Noise, Shape, cross, ground, lathe, linear, mix, png, rounded_box,
                         sphere, srgb, stepped, sub, surface, sweep, torus, turn)

HERE = pathlib.Path(__file__).resolve().parent


# Pictures that several scenes use -------------------------------------------------------------------------


def planks():
    """Floor boards, eight a picture, each of its own tone with a little grain."""
    noise, rng = Noise(3, 64), random.Random(5)
    tones = [[mix(srgb("#c79f74"), srgb("#a97e56"), rng.random()) for _ in range(2)] for _ in range(8)]
    shifts = [rng.random() for _ in range(8)]

    def pixel(x, y):
        board, inside = divmod(y, 32)
        along = (x / 256 + shifts[board]) % 1
        half = 0 if along < 0.5 else 1
        grain = stepped(noise(x / 16, y * 1.0 + board * 7), 10)
        seam = inside == 0 or int(along * 256) % 128 == 0
        return mix(tones[board][half], srgb("#7d5836"), 0.75 if seam else 0.22 * grain)

    return png(256, 256, pixel)


def checkers(light, dark, line=None):
    """Two by two squares, with a fine line between them when one is given."""

    def pixel(x, y):
        if line and (x % 64 < 2 or y % 64 < 2):
            return srgb(line)
        return srgb(light if (x // 64 + y // 64) % 2 else dark)

    return png(128, 128, pixel)


def horizon(g, radius, height, low="#ece6da", high="#7f858c", begin=0.0, end=1.0):
    """A glowing wall in the distance, part of a circle: a pale sky that fades upwards."""
    picture = png(4, 64, lambda x, y: mix(srgb(high), srgb(low), (y / 63) ** 1.5))
    glow = g.material("#000000", roughness=1.0, glow="#ffffff", glow_texture=g.texture(picture, clamp=True))

    def at(u, v):
        angle = 2 * math.pi * (begin + (end - begin) * u)
        return [radius * math.sin(angle), height * v - 0.5, -radius * math.cos(angle)]

    g.place(g.mesh(surface(48, 1, at), glow, textured=True))


# light/ ---------------------------------------------------------------------------------------------------


def marbles():
    """Matte and glazed balls on floor boards under one spot light."""
    g = Gltf()
    floor = g.material(texture=g.texture(planks()), roughness=0.55)
    g.place(g.mesh(ground(14, 14, 5), floor, textured=True))
    wall = g.mesh(ground(30, 8), g.material("#e4e6df", roughness=0.95))
    g.place(wall, (0, 3.9, -4.6), rotation=turn("x", 90))
    ball = g.mesh(sphere(), g.material("#d98c7a", roughness=0.75))
    row = [(-2.15, 0.0, 0.95, "#d9866f", 0.75), (-0.15, -0.9, 1.25, "#e9d6b0", 0.35),
           (2.0, -0.25, 0.85, "#7fa6a0", 0.8), (0.75, 1.15, 0.5, "#8894c0", 0.25),
           (-0.85, 1.35, 0.38, "#e2b25f", 0.6), (-2.6, 1.5, 0.28, "#6f7f9c", 0.3),
           (2.35, 1.3, 0.3, "#d8a7b5", 0.5)]
    for x, z, radius, color, roughness in row:
        mesh = g.recolored(ball, g.material(color, roughness=roughness))
        g.place(mesh, (x, radius, z), scale=[radius] * 3)
    g.light("spot", (-4.5, 7.0, 4.0), (0, 0.2, 0), "#fff0dc", 900, spot=(26, 46))
    g.light("point", (6, 4, 6), (0, 0, 0), "#c4d4ff", 190)
    g.camera((0.4, 2.5, 7.6), (0.0, 0.72, 0), 30)
    g.save(HERE / "light" / "marbles.vesta")


def gallery():
    """A room with three vases, each under a point light of its own color."""
    g = Gltf()
    tiles = g.texture(checkers("#d8d2c4", "#b9b2a4", "#8f897d"))
    floor = g.material(texture=tiles, roughness=0.3)
    wall, plaster = g.material("#e6ded2", roughness=0.95), g.material("#f1ece2", roughness=0.9)
    g.place(g.mesh(ground(9, 6, 4.5), floor, textured=True))
    panel = ground(9, 3.6)
    g.place(g.mesh(panel, wall), (0, 1.8, -3), rotation=turn("x", 90))
    g.place(g.mesh(ground(9, 6), plaster), (0, 3.6, 0), rotation=turn("x", 180))
    side = g.mesh(ground(6, 3.6), wall)
    standing = [[0, 0, -1, 0, 1, 0, 0, 0, 0, -1, 0, 0, -4.5, 1.8, 0, 1],
                [0, 0, 1, 0, -1, 0, 0, 0, 0, -1, 0, 0, 4.5, 1.8, 0, 1]]
    for matrix in standing:
        g.node(mesh=side, matrix=matrix)
    pedestal = g.mesh(rounded_box(0.9, 0.9, 0.9, 0.03), plaster)
    profiles = [[(0.001, 0), (0.2, 0), (0.36, 0.3), (0.24, 0.62), (0.1, 0.8), (0.2, 0.95)],
                [(0.001, 0), (0.24, 0), (0.3, 0.12), (0.42, 0.5), (0.26, 0.78), (0.3, 0.86)],
                [(0.001, 0), (0.26, 0), (0.1, 0.16), (0.13, 0.4), (0.3, 0.75), (0.12, 1.02), (0.16, 1.12)]]
    colors = [("#c9705b", "#ffb877"), ("#5f8f8b", "#a9d0ff"), ("#d4a548", "#ffa6c4")]
    for i, (profile, (glaze, lamp)) in enumerate(zip(profiles, colors)):
        x = (i - 1) * 2.3
        g.place(pedestal, (x, 0, -1.2))
        g.place(g.mesh(lathe(profile), g.material(glaze, roughness=0.25, doubleSided=True)), (x, 0.9, -1.2))
        g.light("point", (x + 0.5, 2.6, -0.35), (x, 0, -1), lamp, 30)
    g.camera((0, 1.6, 6.2), (0, 1.34, -1), 29)
    g.save(HERE / "light" / "gallery.vesta")


def lamp():
    """A reading lamp: a glowing bulb in a shade, the light itself, books."""
    g = Gltf()
    table = g.material(texture=g.texture(planks()), roughness=0.45)
    g.place(g.mesh(ground(8, 6, 1.5), table, textured=True))
    wall = g.mesh(ground(12, 7), g.material("#b9c6c4", roughness=0.95))
    g.place(wall, (0, 3.4, -2.2), rotation=turn("x", 90))
    brass = g.material("#d8b06a", metallic=1.0, roughness=0.28)
    foot = [(0.46, 0.0), (0.42, 0.08), (0.001, 0.1), (0.001, 0.1)]
    g.place(g.mesh(lathe(foot), brass), (-1.2, 0, -0.6))
    stem = surface(16, 40, lambda u, v: [-1.2 + 1.15 * v * v - 0.045 * math.cos(2 * math.pi * u),
                                         0.05 + 2.35 * math.sin(v * math.pi * 0.56),
                                         -0.6 + 0.5 * v * v + 0.045 * math.sin(2 * math.pi * u)])
    g.place(g.mesh(stem, brass))
    shade = g.material("#3f6b66", roughness=0.4, doubleSided=True)
    bulb = g.material("#fff4e0", glow="#ffdca8", strength=3.0, roughness=1.0)
    hood = g.node(translation=[-0.05, 2.3, -0.1], rotation=turn("x", -24))
    bell = [(0.62, -0.42), (0.5, -0.12), (0.26, 0.12), (0.09, 0.2), (0.001, 0.2)]
    g.place(g.mesh(lathe(bell), shade), parent=hood)
    g.place(g.mesh(sphere(0.17, 32, 16), bulb), (0, -0.2, 0), parent=hood)
    g.light("spot", (0, -0.42, 0), (0.0, -3, 0), "#ffd9a0", 60, spot=(30, 62), parent=hood)
    g.light("point", (4, 4, 6), (0, 0, 0), "#c9d8ff", 190)
    rng = random.Random(2)
    height = 0.0
    for color in ("#8c4a45", "#d9c7a0", "#4f6580", "#b98a5a"):
        width, thick, depth = 1.5 - rng.random() * 0.3, 0.16 + rng.random() * 0.1, 1.0 - rng.random() * 0.15
        book = g.mesh(rounded_box(width, thick, depth, 0.03), g.material(color, roughness=0.7))
        g.place(book, (1.0, height, 0.1), rotation=turn("y", rng.uniform(-14, 14)))
        height += thick
    g.place(g.mesh(sphere(0.26), g.material("#b5463c", roughness=0.3)), (1.05, height + 0.26, 0.15))
    g.camera((0.5, 2.0, 6.4), (0.08, 1.12, 0), 27)
    g.save(HERE / "light" / "lamp.vesta")


# surface/ -------------------------------------------------------------------------------------------------


def mirrors():
    """Metals from polished to brushed over a checkerboard, which they mirror."""
    g = Gltf()
    floor = g.material(texture=g.texture(checkers("#e9e3d6", "#5d6b78")), roughness=0.5)
    g.place(g.mesh(ground(40, 40, 20), floor, textured=True))
    ball = g.mesh(sphere(1.0, 64, 32), g.material("#ffffff", metallic=1.0, roughness=0.02))
    g.place(ball, (0, 1.35, -0.6), scale=[1.35] * 3)
    row = [(-2.35, 0.35, 0.9, "#e8c27a", 0.08), (2.3, 0.45, 0.85, "#d99a85", 0.18),
           (-0.95, 1.75, 0.42, "#c9d3dd", 0.35), (1.05, 1.85, 0.36, "#a8c0d8", 0.05)]
    for x, z, radius, color, roughness in row:
        g.place(g.recolored(ball, g.material(color, metallic=1.0, roughness=roughness)), (x, radius, z),
                scale=[radius] * 3)
    ring = g.mesh(torus(0.62, 0.17, 64, 20), g.material("#c86b5a", roughness=0.5))
    g.place(ring, (3.9, 0.75, -1.6), rotation=turn("x", 78))
    green_ring = g.recolored(ring, g.material("#6d9a8e", roughness=0.5))
    g.place(green_ring, (-4.1, 0.75, -1.8), rotation=turn("x", 74))
    horizon(g, 20, 11)
    g.light("directional", (-4, 8, 5), (0, 0, 0), "#fff3e2", 3)
    g.camera((0.6, 2.35, 8.2), (0, 0.95, 0), 30)
    g.save(HERE / "surface" / "mirrors.vesta")


def layers():
    """Six balls on a board, each with a layer that plain metal and paint lack."""
    g = Gltf()
    board = g.material(texture=g.texture(planks()), roughness=0.6)
    g.place(g.mesh(sweep(30, 24, 16, 6), g.material("#d8dadb", roughness=0.9)), (0, -0.02, -4))
    g.place(g.mesh(rounded_box(9.4, 0.24, 2.6, 0.08), g.material("#b98d63", roughness=0.5)), (0, -0.24, 0))
    ball = g.mesh(sphere(1.0, 64, 32), board, textured=True)
    flakes = Noise(9, 96)
    paint = g.texture(png(128, 128, lambda x, y: mix(srgb("#7c1420"), srgb("#b02a35"), flakes(x * 0.75, y * 0.75))))
    lacquer = g.layer(g.material(texture=paint, metallic=0.6, roughness=0.45), "clearcoat", clearcoatFactor=1.0,
                      clearcoatRoughnessFactor=0.03)
    velvet = g.layer(g.material("#1d2a57", roughness=1.0), "sheen", sheenColorFactor=[0.75, 0.8, 1.0],
                     sheenRoughnessFactor=0.35)
    brushed = g.layer(g.material("#d9c9a8", metallic=1.0, roughness=0.35), "anisotropy", anisotropyStrength=0.9)
    glass = g.material("#ffffff", roughness=0.0)
    g.layer(g.layer(glass, "transmission", transmissionFactor=1.0), "ior", ior=1.5)
    g.layer(glass, "volume", thicknessFactor=1.4, attenuationDistance=1.2, attenuationColor=[0.55, 0.9, 0.75])
    pearl = g.layer(g.material("#efe6dc", roughness=0.25), "specular", specularFactor=1.0,
                    specularColorFactor=[1.0, 0.75, 0.85])
    sign = g.layer(g.material("#f2a33c"), "unlit")
    for i, material in enumerate([lacquer, velvet, brushed, glass, pearl, sign]):
        g.place(g.recolored(ball, material), (-3.75 + 1.5 * i, 0.55, 0), scale=[0.67] * 3)
    g.light("directional", (-5, 9, 6), (0, 0, 0), "#fff4e6", 2.4)
    g.camera((0.4, 2.2, 9.4), (0, 0.6, 0), 34)
    g.save(HERE / "surface" / "layers.vesta")


def vitrine():
    """Glass and brass under one bright panel, for the path tracer: soft shadows, colors that spill."""
    black = {"7102": 1, "7103": 0.0}  # around the room
    g = Gltf(renderer=1023342, posts=[{"type": 1023342, "settings": {"4001": 32, "4003": 3}}], **black)
    wall = g.material("#dcd6cc", roughness=0.95)
    for color, x in (("#b4553c", -3.2), ("#3f7a64", 3.2)):
        g.place(g.mesh(rounded_box(0.1, 4.2, 5, 0.02), g.material(color, roughness=0.95)), (x, 0, 0))
    for size, position in (((6.5, 0.1, 5), (0, -0.1, 0)), ((6.5, 0.1, 5), (0, 4.2, 0)), ((6.5, 4.3, 0.1), (0, 0, -2.5))):
        g.place(g.mesh(rounded_box(*size, 0.02), wall), position)
    g.place(g.mesh(ground(2.2, 1.4), g.material("#000000", glow="#fff2df", strength=9)), (0, 4.12, 0.2),
            rotation=turn("x", 180))
    ball = g.mesh(sphere(1.0, 64, 32), g.material("#e2b45c", metallic=1.0, roughness=0.12))
    g.place(ball, (-1.45, 0.8, -0.7), scale=[0.8] * 3)
    glass = g.material("#ffffff", roughness=0.0)
    g.layer(g.layer(glass, "transmission", transmissionFactor=1.0), "ior", ior=1.5)
    g.layer(glass, "volume", thicknessFactor=1.2, attenuationDistance=1.5, attenuationColor=[0.6, 0.8, 0.95])
    g.place(g.recolored(ball, glass), (0.35, 0.62, 0.75), scale=[0.62] * 3)
    vase = lathe([(0.001, 0), (0.5, 0.02), (0.72, 0.5), (0.5, 1.2), (0.26, 1.7), (0.36, 2.0)], 48, 6)
    g.place(g.mesh(vase, g.material("#e9e4da", roughness=0.35)), (1.65, 0, -0.8))
    g.camera((0, 2.0, 9.6), (0, 1.85, 0), 29)
    g.save(HERE / "light" / "vitrine.vesta")


def hills():
    """Land colored at its vertices by height and slope, in a low sun."""
    g = Gltf()
    noise = Noise(11, 32)

    def height(x, z):
        shore = 1 - ((x / 4.9) ** 2 + (z / 4.3) ** 2)
        rough = noise.octaves(x * 0.45 + 4, z * 0.45 + 9, 4)
        return 4.6 * max(shore, -0.3) * max(rough - 0.22, 0.05) ** 1.25 + 0.12 * shore - 0.06

    def at(u, v):
        x, z = 12 * (u - 0.5), 10 * (0.5 - v)
        return [x, height(x, z), z]

    land = surface(90, 75, at)
    for (x, y, z), normal in zip(land.positions, land.normals):
        green = mix(srgb("#7f9b5f"), srgb("#a9b06d"), noise(x * 3 + 9, z * 3 + 5))
        stone = mix(srgb("#9a8f85"), srgb("#b7a898"), noise(x * 5 + 2, z * 5 + 7))
        color = mix(green, stone, min(max((y - 0.75) * 1.4 + (0.78 - normal[1]) * 3, 0), 1))
        color = mix(color, srgb("#f6f3ee"), min(max((y - 1.5) * 3, 0), 1))
        color = mix(color, srgb("#d9c79c"), min(max((0.12 - y) * 9, 0), 1))
        land.colors.append([c / 12.92 if c <= 0.04045 else ((c + 0.055) / 1.055) ** 2.4 for c in color])
    g.place(g.mesh(land, g.material("#ffffff", roughness=0.95)))
    g.place(g.mesh(ground(400, 400), g.material("#4f8496", roughness=0.06)))
    horizon(g, 150, 40, "#f3e6d0", "#9fb2c0")
    g.light("directional", (-7, 5.2, 4), (0, 0, 0), "#ffe6c4", 3)
    g.camera((0.6, 3.5, 11.2), (0, 0.62, -0.4), 29)
    g.save(HERE / "surface" / "hills.vesta", "bin")


def leaves():
    """A picture of a twig with leaves; empty around it."""
    blades = []
    for k in range(9):
        side = -1 if k % 2 else 1
        blades.append((64 + side * 4, 112 - 11 * k, side * math.radians(38 + 2 * k), 30 - 1.6 * k))
    blades.append((64, 18, 0, 18))

    def leaf(x, y):
        for bx, by, angle, size in blades:
            dx, dy = x - bx, by - y
            along = dx * math.sin(angle) + dy * math.cos(angle)
            across = dx * math.cos(angle) - dy * math.sin(angle)
            if 0 < along < size and abs(across) < size * 0.3 * math.sin(math.pi * along / size) ** 0.8:
                return 0.35 if abs(across) < 0.8 else (0.75 if across > 0 else 1.0)
        return 0.2 if abs(x - 64) < 1.6 and 18 < y < 127 else None

    def pixel(x, y):
        tone = leaf(x, y)
        color = mix(srgb("#4d6b35"), srgb("#9dbb62"), 0.6 if tone is None else tone)
        return color + [0.0 if tone is None else 1.0]

    return png(128, 128, pixel)


def lattice():
    """A picture of crossed slats with openings between them."""

    def pixel(x, y):
        a, b = (x + y) % 32, (x - y) % 32
        frame = min(x % 128, 127 - x % 128, y, 127 - y) < 7
        slat = a < 9 or b < 9
        edge = (a in (0, 8) or b in (0, 8)) and not frame
        return srgb("#c9b79a" if edge else "#efe4cf") + [1.0 if frame or slat else 0.0]

    return png(128, 128, pixel)


def garden():
    """Leaves and a trellis that their pictures' alpha cuts out of rectangles, and the shadows of both."""
    g = Gltf()
    noise = Noise(21, 32)
    grass = png(128, 128, lambda x, y: mix(srgb("#7e9a56"), srgb("#a3b56c"), stepped(
        0.5 * noise(x / 4, y / 4) + 0.5 * noise(x * 1.0, y * 1.0), 12)))
    g.place(g.mesh(ground(32, 32, 20), g.material(texture=g.texture(grass), roughness=1.0), textured=True))
    mask = {"alphaMode": "MASK", "alphaCutoff": 0.5, "doubleSided": True, "roughness": 0.8}
    slats = g.material(texture=g.texture(lattice()), **mask)
    panel = surface(1, 1, lambda u, v: [2 * (u - 0.5), 2 * v, 0])
    fence = g.mesh(panel, slats, textured=True)
    post = g.mesh(rounded_box(0.16, 2.25, 0.16, 0.03), g.material("#d9caae", roughness=0.8))
    for i in range(4):
        x = 2.1 * (i - 1.5)
        g.place(fence, (x, 0.08, -1.4))
        g.place(post, (x - 1.05, 0, -1.4))
    g.place(post, (4.2, 0, -1.4))
    twig = g.material(texture=g.texture(leaves(), clamp=True), **mask)
    card = g.mesh(surface(6, 6, lambda u, v: [u - 0.5, v, -0.25 * v * v]), twig, textured=True)
    rng = random.Random(8)
    pot = g.mesh(lathe([(0.001, 0), (0.3, 0), (0.36, 0.3), (0.44, 0.62), (0.5, 0.64), (0.5, 0.72), (0.4, 0.7),
                        (0.36, 0.6), (0.001, 0.58)]), g.material("#c27a58", roughness=0.8))
    for x, z, size in [(-2.3, 0.2, 1.1), (0.1, 0.9, 0.8), (2.4, 0.0, 1.25)]:
        plant = g.node(translation=[x, 0, z], scale=[size] * 3)
        g.place(pot, parent=plant)
        for k in range(26):
            stalk = g.node(plant, translation=[0, 0.6, 0], rotation=turn("y", k * 137.5))
            g.place(card, (0, 0, 0.03 + rng.random() * 0.12), stalk, rotation=turn("x", rng.uniform(8, 78)),
                    scale=[round(rng.uniform(0.8, 1.15), 4)] * 3)
    horizon(g, 16, 9, "#eef0ea", "#a9bccb", -0.25, 0.25)
    g.light("directional", (5, 7, 5.5), (0, 0, 0), "#fff0d2", 3)
    g.camera((-0.6, 2.0, 7.2), (0, 0.95, -0.3), 30)
    g.save(HERE / "surface" / "garden.vesta")


def scroll():
    """A curled sheet, seen from both sides, with a pattern that its material repeats."""
    g = Gltf()

    def motif(x, y):
        dx, dy = x % 64 - 31.5, y % 64 - 31.5
        radius, angle = math.hypot(dx, dy), math.atan2(dy, dx)
        petal = 13 + 9 * math.cos(6 * angle)
        if radius < 5:
            return srgb("#e6b35a")
        if radius < petal:
            return srgb("#b9584c")
        if 25 < radius < 27.5:
            return srgb("#6f8f92")
        return srgb("#efe3cb")

    pattern = {"index": g.texture(png(64, 64, motif)), "extensions": {"KHR_texture_transform": {
        "scale": [14, 3], "rotation": 0.0, "offset": [0.0, 0.0]}}}
    g.use("KHR_texture_transform")

    def sheet(u, v):
        angle = 4.6 * math.pi * max(0.0, u - 0.28)
        radius = 1.25 - 0.6 * max(0.0, u - 0.28)
        if u < 0.28:
            return [-4.2 + 4.2 * u / 0.28, 0.06 + 0.1 * math.sin(5 * u) ** 2, 1.5 * (1 - 2 * v)]
        return [radius * math.sin(angle), 0.1 + radius * (1 - math.cos(angle)) + 0.0 * v, 1.5 * (1 - 2 * v)]

    paper = g.material(texture=pattern, roughness=0.8, doubleSided=True)
    g.place(g.mesh(surface(170, 4, sheet), paper, textured=True), rotation=turn("y", -24))
    g.place(g.mesh(sweep(40, 14, 12, 3), g.material("#9fb0b4", roughness=0.8)))
    g.light("spot", (-5, 8, 5), (0, 0.5, 0), "#fff1df", 900, spot=(30, 50))
    g.light("point", (5, 3, 6), (0, 0, 0), "#bcd0ff", 150)
    g.camera((0.2, 3.9, 8.6), (-0.55, 0.85, 0), 31)
    g.save(HERE / "surface" / "scroll.vesta")


# tree/ ----------------------------------------------------------------------------------------------------


def orrery():
    """Planets on arms on arms: one ball and one rod, placed by a tree of transforms."""
    g = Gltf()
    brass = g.material("#d9b36c", metallic=1.0, roughness=0.25)
    g.place(g.mesh(sweep(44, 16, 14, 3), g.material("#6f8294", roughness=0.6)))
    stand = [(1.5, 0), (1.45, 0.12), (0.7, 0.2), (0.18, 0.4), (0.1, 1.0), (0.09, 2.2), (0.001, 2.22)]
    g.place(g.mesh(lathe(stand), g.material("#6b4a36", roughness=0.35)))
    ball = g.mesh(sphere(), g.material("#ffdf9e", glow="#ffcf80", strength=1.1))
    rod = g.mesh(surface(20, 1, lambda u, v: [
        v, -0.025 * math.cos(2 * math.pi * u), -0.025 * math.sin(2 * math.pi * u)]), brass)
    pale_ball = g.recolored(ball, g.material("#dcdcd6", roughness=0.7))
    hub = g.node(translation=[0, 2.2, 0])
    g.place(ball, (0, 0.12, 0), hub, scale=[0.42] * 3)
    ringed = g.mesh(surface(64, 1, lambda u, v: [(1.35 + 0.65 * v) * math.cos(2 * math.pi * u), 0,
                                                 (1.35 + 0.65 * v) * math.sin(2 * math.pi * u)]),
                    g.material("#e2cfa8", roughness=0.7, doubleSided=True))
    planets = [(0.95, 40, 0.15, "#b9a99a", 0, -0.1), (1.6, 165, 0.25, "#d9a066", 0, -0.25),
               (2.3, 290, 0.3, "#6f9fb8", 1, -0.4), (2.9, 70, 0.25, "#c1664f", 2, -0.55),
               (3.4, 205, 0.46, "#cdb08a", 3, -0.7), (3.7, 8, 0.4, "#d8c088", 0, -0.85)]
    for reach, angle, radius, color, moons, drop in planets:
        arm = g.node(hub, translation=[0, drop, 0], rotation=turn("y", angle))
        g.place(rod, parent=arm, scale=[reach, 1, 1])
        planet = g.node(arm, translation=[reach, 0, 0], rotation=turn("z", 17), scale=[radius] * 3)
        g.place(rod, (0, -1.4, 0), planet, rotation=turn("z", 90), scale=[0.8, 1.6, 1.6])
        g.place(g.recolored(ball, g.material(color, roughness=0.6)), parent=planet)
        if radius == 0.4:
            g.place(ringed, parent=planet)
        for k in range(moons):
            moon = g.node(planet, rotation=turn("y", 50 + k * 115))
            g.place(rod, parent=moon, scale=[2.0 + 0.3 * k, 0.6, 0.6])
            g.place(pale_ball, (2.0 + 0.3 * k, 0, 0), moon, scale=[0.3] * 3)
    g.light("spot", (-4, 9, 6), (0, 1, 0), "#fff2e0", 1000, spot=(30, 52))
    g.light("point", (0, 3.4, 0.9), (0, 0, 0), "#ffd9a0", 70)
    g.camera((0.4, 4.3, 9.8), (0.05, 1.28, 0), 31)
    g.save(HERE / "tree" / "orrery.vesta")


def house(g, walls, roof, trim):
    """A house as a node without a parent's place yet: block, gable roof, door, windows and chimney."""
    gable = Shape()
    ends = [[-0.62, 0, 0.52], [0.62, 0, 0.52], [0, 0.55, 0.52]]
    back = [[x, y, -0.52] for x, y, _ in ends]
    for corners in ([ends[0], ends[1], ends[2]], [back[1], back[0], back[2]],
                    [ends[1], back[1], back[2], ends[2]], [back[0], ends[0], ends[2], back[2]],
                    [back[0], back[1], ends[1], ends[0]]):
        normal = cross(sub(corners[1], corners[0]), sub(corners[2], corners[0]))
        first = [gable.vertex(c, normal) for c in corners][0]
        for k in range(1, len(corners) - 1):
            gable.indices += [first, first + k, first + k + 1]
    return {"walls": g.mesh(rounded_box(1, 0.9, 0.9, 0.02, 1), walls), "roof": g.mesh(gable, roof),
            "window": g.mesh(rounded_box(0.18, 0.22, 0.03, 0.008, 1), trim),
            "door": g.mesh(rounded_box(0.22, 0.42, 0.04, 0.01, 1), g.material("#7a5a48", roughness=0.7)),
            "chimney": g.mesh(rounded_box(0.14, 0.4, 0.14, 0.01, 1), g.material("#a5645a", roughness=0.9))}


def place_house(g, parts, position, floors):
    home = g.node(translation=position)
    g.place(parts["walls"], parent=home, scale=[1, floors, 1])
    g.place(parts["roof"], (0, 0.9 * floors, 0), home)
    g.place(parts["chimney"], (0.28, 0.9 * floors + 0.14, -0.15), home)
    g.place(parts["door"], (-0.22, 0, 0.45), home)
    for floor in range(floors):
        for x in ((0.2,) if floor == 0 else (-0.22, 0.2)):
            g.place(parts["window"], (x, 0.42 + 0.86 * floor, 0.45), home)
        for z in (-0.2, 0.2):
            g.place(parts["window"], (0.5, 0.42 + 0.86 * floor, z), home, rotation=turn("y", 90))


def blocks():
    """A village seen through a camera without perspective; a few meshes, placed many times."""
    g = Gltf()
    g.place(g.mesh(rounded_box(9, 0.5, 9, 0.12), g.material("#a9bd84", roughness=0.95)), (0, -0.5, 0))
    g.place(g.mesh(ground(60, 60), g.material("#cfd6d3", roughness=1.0)), (0, -0.5, 0))
    road = g.material("#d8cbb4", roughness=0.95)
    g.place(g.mesh(rounded_box(8.6, 0.04, 0.8, 0.015), road), (0, 0, 0.1))
    g.place(g.mesh(rounded_box(0.8, 0.042, 8.6, 0.015), road), (0.1, 0, 0))
    glass = g.material("#bcd6e2", roughness=0.1)
    colors = [("#efe2cc", "#c4685a"), ("#d9e0e4", "#5f7f93"), ("#f0d3b8", "#a85f4a"), ("#e5e2d0", "#6d8a72")]
    kinds = [house(g, g.material(wall, roughness=0.9), g.material(roof, roughness=0.8), glass)
             for wall, roof in colors]
    rng = random.Random(4)
    for kind, x, z, floors in [
            (0, -3.2, -3.0, 1), (1, -1.6, -3.1, 2), (2, 1.7, -3.0, 2), (3, 3.3, -3.1, 1), (2, -3.2, -1.2, 2),
            (3, 1.6, -1.2, 1), (0, 3.2, -1.3, 3), (1, -3.1, 1.9, 1), (3, -1.5, 1.9, 1), (0, 1.8, 2.1, 1),
            (2, -3.1, 3.5, 1), (1, 3.4, 2.0, 1)]:
        place_house(g, kinds[kind], [x, 0, z], floors)
    trunk = g.mesh(lathe([(0.07, 0), (0.05, 0.4)], 10, 1), g.material("#7d6048", roughness=0.9))
    crown = g.mesh(lathe([(0.001, 0), (0.3, 0.05), (0.26, 0.35), (0.1, 0.75), (0.001, 0.95)], 16, 3),
                   g.material("#6f9a66", roughness=0.9))
    round_crown = g.mesh(sphere(0.32, 20, 10), g.material("#8fae62", roughness=0.9))
    spots = [(-1.6, -1.2), (-4.0, 0.95), (-2.3, 0.95), (-0.75, 3.4), (0.95, 3.3), (1.9, 3.7), (3.0, 3.5),
             (3.9, 3.8), (2.5, 0.95), (4.0, 0.9), (0.8, -3.9), (-0.75, -2.0), (-1.7, 3.8), (2.4, -2.2),
             (0.85, 1.3), (-4.0, -2.2)]
    for i, (x, z) in enumerate(spots):
        tree = g.node(translation=[x, 0, z], scale=[round(rng.uniform(0.8, 1.25), 3)] * 3)
        g.place(trunk, parent=tree)
        g.place(crown if i % 2 else round_crown, (0, 0.3 if i % 2 else 0.62, 0), tree)
    g.light("directional", (3.5, 8, 6), (0, 0, 0), "#fff1da", 3)
    g.parallel_camera((20, 17, 20), (0, 0.3, 0), 8.3, 16 / 9)
    g.save(HERE / "tree" / "blocks.vesta", "glb")


def reeds():
    """Reeds in the wind, hung on joints, and a drop that was just thrown up: a moment of an animation."""
    g = Gltf()
    g.json["extensions"]["VESTA_document"]["startFrame"] = 20
    swing = g.json.setdefault("animations", [{"channels": [], "samplers": []}])[0]
    g.place(g.mesh(sweep(30, 14, 9, 4), g.material("#d6dcd2", roughness=1.0)), (0, 0, -1.5))
    g.place(g.mesh(lathe([(1.9, 0), (2.0, 0.1), (1.8, 0.16), (0.001, 0.1)], 64, 4),
                   g.material("#5d93a6", roughness=0.06)), (0, 0, 0.3))
    heights = [0, 0.7, 1.3, 1.8, 2.2, 2.5]
    stalk = lathe([(0.035, 0), (0.033, 1.2), (0.03, 1.72), (0.085, 1.8), (0.09, 2.1), (0.085, 2.3), (0.02, 2.38),
                   (0.012, 2.5), (0.001, 2.52)], 14, 5)
    stalk.colors = [linear("#6b4a2e" if 1.75 < p[1] < 2.36 else "#7f9a4e") for p in stalk.positions]
    reed = g.mesh(stalk, g.material(roughness=0.7))
    g.hang(reed, stalk, heights)
    rng = random.Random(11)
    for i in range(9):
        around = 2 * math.pi * i / 9 + 0.4
        spot = [1.25 * math.cos(around), 0.05, 0.3 + 0.95 * math.sin(around)]
        skin, joints = g.chain(heights, spot)
        g.node(mesh=reed, skin=skin)
        for k, joint in enumerate(joints[1:-1]):
            gust = rng.uniform(7, 12) * (1 + 0.25 * k)
            g.animate(swing, joint, "rotation", [0, 0.8, 1.6],
                      [turn("z", gust), turn("z", -gust), turn("z", gust)])
    ball = sphere(0.34, 40, 20)
    drop = surface(40, 20, lambda u, v: [
        -0.26 * math.cos(2 * math.pi * u) * math.sin(math.pi * v) * (1 - 0.45 * v), 0.5 * (v - 0.42) * 2 - 0.08,
        0.26 * math.sin(2 * math.pi * u) * math.sin(math.pi * v) * (1 - 0.45 * v)])
    pearl = g.mesh(ball, g.material("#8fd0e6", roughness=0.08))
    g.morph(pearl, ball, drop)
    thrown = g.place(pearl)
    g.animate(swing, thrown, "weights", [0, 0.4, 1.2], [0, 0.2, 1])
    # Up and down as one throw: a parabola is a cubic spline.
    g.animate(swing, thrown, "translation", [0, 2],
              [[0, 0, 0], [0, 0.4, 0.3], [0, 4.9, 0], [0, -4.9, 0], [0, 0.4, 0.3], [0, 0, 0]], "CUBICSPLINE")
    g.light("directional", (3, 6, 5), (0, 0, 0), "#fff0d8", 2.6)
    g.camera((0.6, 2.6, 7.4), (0, 1.35, 0), 33)
    g.save(HERE / "tree" / "reeds.vesta")


if __name__ == "__main__":
    for make in (marbles, gallery, lamp, vitrine, mirrors, layers, hills, garden, scroll, orrery, blocks,
                 reeds):
        make()
