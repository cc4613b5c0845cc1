"""Renders one glTF scene with Blender's path tracer on the processor, for comparisons of speed.

    blender -b --factory-startup -P bench/blender_render.py -- SCENE IMAGE WIDTHxHEIGHT SAMPLES DEPTH

Adaptive sampling and denoising are off; light and camera are Vesta's: a scene without lights gets its sun and a
pale world, a scene without camera one that looks from the front right, somewhat from above.
"""
import json
import math
import struct
import sys

import bpy
import numpy
from mathutils import Vector

numpy.bool = bool  # the importer of this version asks for a name that Debian's numpy no longer has

FRAMED_FROM = Vector((0.48, -0.80, 0.36))  # Blender's up is Z
FRAMED_HALF_HEIGHT = 0.33  # of the picture, at one metre
FRAMED_MARGIN = 1.06


def vertices():
    """World positions of all vertices as they stand, three columns."""
    graph = bpy.context.evaluated_depsgraph_get()
    parts = []
    for instance in graph.object_instances:
        if instance.object.type != "MESH":
            continue
        mesh = instance.object.data
        points = numpy.empty(3 * len(mesh.vertices), numpy.float32)
        mesh.vertices.foreach_get("co", points)
        world = numpy.array(instance.matrix_world)
        parts.append(points.reshape(-1, 3) @ world[:3, :3].T + world[:3, 3])
    return numpy.concatenate(parts)


def framed_camera(aspect):
    forward = -FRAMED_FROM.normalized()
    right = forward.cross(Vector((0, 0, 1))).normalized()
    up = right.cross(forward)
    half = FRAMED_HALF_HEIGHT * max(1, 1 / aspect)

    points = vertices()
    towards = points @ numpy.array(-forward)

    def reach(axis, slope):
        side = points @ numpy.array(axis)
        high = (side + slope * towards).max()
        low = (-side + slope * towards).max()
        return (high - low) / 2, (high + low) / 2 / slope

    across, distance_across = reach(right, half * aspect / FRAMED_MARGIN)
    along, distance_along = reach(up, half / FRAMED_MARGIN)
    data = bpy.data.cameras.new("framed")
    data.sensor_fit = "VERTICAL"
    data.angle = 2 * math.atan(half)
    data.clip_start, data.clip_end = 1e-4, 1e6
    camera = bpy.data.objects.new("framed", data)
    bpy.context.collection.objects.link(camera)
    camera.location = right * float(across) + up * float(along) - forward * float(max(distance_across, distance_along))
    camera.rotation_euler = forward.to_track_quat("-Z", "Y").to_euler()
    return camera


def first_camera(scene_file):
    """The first perspective camera of a glTF file, as its JSON has it; nothing where there is none."""
    with open(scene_file, "rb") as file:
        data = file.read()
    if data[:4] == b"glTF":
        data = data[20 : 20 + struct.unpack("<I", data[12:16])[0]]
    return next((camera["perspective"] for camera in json.loads(data).get("cameras", []) if "perspective" in camera), None)


def fit_camera(camera, scene_file, aspect):
    """A picture that is narrower than the camera's own shows its whole width, and more above and below."""
    own = first_camera(scene_file)
    if own and own.get("aspectRatio", 0) > aspect:
        camera.data.sensor_fit = "VERTICAL"
        camera.data.angle = 2 * math.atan(math.tan(own["yfov"] / 2) * own["aspectRatio"] / aspect)


def fixed_sun():
    data = bpy.data.lights.new("sun", "SUN")
    data.energy = 0.85 * math.pi
    data.color = (1, 0.97, 0.92)
    data.angle = 0
    sun = bpy.data.objects.new("sun", data)
    bpy.context.collection.objects.link(sun)
    sun.rotation_euler = Vector((0.42, 0.46, -0.78)).to_track_quat("-Z", "Y").to_euler()


def world(strength):
    background = bpy.data.worlds.new("sky")
    background.use_nodes = True
    background.node_tree.nodes["Background"].inputs["Color"].default_value = (0.62, 0.65, 0.70, 1)
    background.node_tree.nodes["Background"].inputs["Strength"].default_value = strength
    bpy.context.scene.world = background


def main(scene_file, image, size, samples, depth):
    bpy.ops.wm.read_factory_settings(use_empty=True)
    bpy.ops.import_scene.gltf(filepath=scene_file)
    scene = bpy.context.scene
    width, height = (int(side) for side in size.split("x"))
    lit = any(thing.type == "LIGHT" for thing in scene.objects)
    if not lit:
        fixed_sun()
    world(0.24 if lit else 0.60)
    scene.camera = next((thing for thing in scene.objects if thing.type == "CAMERA"), None)
    if scene.camera:
        fit_camera(scene.camera, scene_file, width / height)
    else:
        scene.camera = framed_camera(width / height)
    scene.render.engine = "CYCLES"
    scene.render.resolution_x, scene.render.resolution_y = width, height
    scene.render.resolution_percentage = 100
    scene.cycles.device = "CPU"
    scene.cycles.samples = int(samples)
    scene.cycles.use_adaptive_sampling = False
    scene.cycles.use_denoising = False
    scene.cycles.max_bounces = int(depth)
    scene.cycles.diffuse_bounces = scene.cycles.glossy_bounces = int(depth)
    scene.cycles.transmission_bounces = scene.cycles.transparent_max_bounces = int(depth)
    scene.cycles.caustics_reflective = scene.cycles.caustics_refractive = True
    scene.view_settings.view_transform = "Standard"
    scene.render.filepath = image
    scene.render.image_settings.file_format = "PNG"
    bpy.ops.render.render(write_still=True)


main(*sys.argv[sys.argv.index("--") + 1 :])
