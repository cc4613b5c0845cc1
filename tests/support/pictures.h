#pragma once
// Small scenes made in code, and a look at the pixels of what was rendered.

#include <algorithm>
#include <cmath>
#include <ostream>
#include <vector>

#include "host/render/renderer.h"
#include "host/render/texture.h"

namespace host {

struct Pixel {
  int r, g, b;
  bool operator==(const Pixel&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, Pixel p) { return out << p.r << ' ' << p.g << ' ' << p.b; }

inline Pixel at(const Image& image, int x, int y) {
  const uint8_t* p = &image.pixels[3 * (static_cast<size_t>(y) * image.width + x)];
  return {p[0], p[1], p[2]};
}

inline Pixel center(const Image& image) { return at(image, image.width / 2, image.height / 2); }

inline float linear(int value) { return srgbToLinear(static_cast<uint8_t>(value)); }

inline Image render(const Scene& scene, RendererId renderer, int width, int height, bool antialiasing = false,
                    int threads = 0) {
  RenderRequest request;
  request.width = width;
  request.height = height;
  request.antialiasing = antialiasing;
  request.threads = threads;
  return renderScene(PreparedScene(scene), renderer, request);
}

// Transforms.

inline Mat4 moved(Vec3 by) {
  Mat4 t;
  t.m[12] = by.x;
  t.m[13] = by.y;
  t.m[14] = by.z;
  return t;
}

inline Mat4 scaled(Vec3 by) {
  Mat4 t;
  t.m[0] = by.x;
  t.m[5] = by.y;
  t.m[10] = by.z;
  return t;
}

enum class Axis { X, Y, Z };

inline Mat4 turned(Axis axis, float degrees) {
  const float c = std::cos(degrees * 0.017453293F), s = std::sin(degrees * 0.017453293F);
  Mat4 t;
  const int a = axis == Axis::X   ? 1
                : axis == Axis::Y ? 2
                                  : 0,
            b = axis == Axis::X   ? 2
                : axis == Axis::Y ? 0
                                  : 1;
  t.m[4 * a + a] = c;
  t.m[4 * a + b] = s;
  t.m[4 * b + a] = -s;
  t.m[4 * b + b] = c;
  return t;
}

// Scenes. The camera stands at z = 10 and looks at the origin unless a test moves it.

inline Mesh squareMesh(float half) {
  Mesh mesh;
  mesh.positions = {{-half, -half, 0}, {half, -half, 0}, {half, half, 0}, {-half, half, 0}};
  mesh.texCoords[0] = {{0, 1}, {1, 1}, {1, 0}, {0, 0}};
  mesh.indices = {0, 1, 2, 0, 2, 3};
  return mesh;
}

/// The same to look at, with so many triangles (without area) that in several places it is one tree of its
/// own.
inline Mesh heavy(Mesh mesh) {
  mesh.indices.resize(mesh.indices.size() + 3 * size_t{4096});
  return mesh;
}

/// A ball of radius 1 with smooth normals and coordinates that go three times around.
inline Mesh sphereMesh(int rings) {
  Mesh sphere;
  for (int i = 0; i <= rings; ++i) {
    for (int j = 0; j <= 2 * rings; ++j) {
      const float a = 3.14159265F * i / rings, b = 3.14159265F * j / rings;
      const Vec3 p{std::sin(a) * std::cos(b), std::cos(a), -std::sin(a) * std::sin(b)};
      sphere.positions.push_back(p);
      sphere.normals.push_back(p);
      sphere.texCoords[0].push_back({3.0F * j / rings, 2.0F * i / rings});
    }
  }
  for (int i = 0; i < rings; ++i) {
    for (int j = 0; j < 2 * rings; ++j) {
      const auto a = static_cast<uint32_t>(i * (2 * rings + 1) + j), b = a + 2 * rings + 1;
      sphere.indices.insert(sphere.indices.end(), {a, b, a + 1, a + 1, b, b + 1});
    }
  }
  return sphere;
}

inline Scene orthographicScene(float halfWidth, float halfHeight) {
  Scene scene;
  scene.camera.emplace();
  scene.camera->orthographic = true;
  scene.camera->xmag = halfWidth;
  scene.camera->ymag = halfHeight;
  scene.camera->transform = moved({0, 0, 10});
  return scene;
}

inline Material matt(Vec4 color) {
  Material material;
  material.baseColor = color;
  material.metallic = 0;
  return material;
}

inline void add(Scene& scene, Mesh mesh, const Material& material, const Mat4& transform = {}) {
  mesh.material = static_cast<int>(scene.materials.size());
  scene.materials.push_back(material);
  scene.instances.push_back({static_cast<int>(scene.meshes.size()), transform});
  scene.meshes.push_back(std::move(mesh));
}

inline int addTexture(Scene& scene, int width, int height, int channels, std::vector<uint8_t> pixels,
                      Texture texture) {
  scene.images.push_back({width, height, channels, std::move(pixels)});
  texture.image = static_cast<int>(scene.images.size()) - 1;
  scene.textures.push_back(texture);
  return static_cast<int>(scene.textures.size()) - 1;
}

inline Light sun(Vec3 direction) {
  Light light;
  light.kind = Light::Kind::Directional;
  light.direction = normalize(direction);
  light.intensity = 3.14159265F;  // a white wall that faces it comes out as white
  return light;
}

/// Spheres with a texture, mirrors, a blended pane and three lamps: something of everything.
inline Scene richScene() {
  Scene scene;
  const Mesh sphere = sphereMesh(12);
  Material checked;
  checked.roughness = 0.2F;
  checked.metallic = 0.5F;
  checked.baseColorTexture.texture =
      addTexture(scene, 2, 2, 3, {255, 0, 0, 9, 9, 9, 40, 200, 90, 255, 255, 0}, {});
  add(scene, sphere, checked);
  for (int i = 1; i < 5; ++i) {
    const Mat4 turn = turned(Axis::Y, 40.0F * static_cast<float>(i)) * scaled({1, 0.5F, 0.8F});
    scene.instances.push_back(
        {0, moved({2.2F * static_cast<float>(i % 3), 0, -2.0F * static_cast<float>(i)}) * turn});
  }
  add(scene, squareMesh(20), matt({0.6F, 0.6F, 0.5F, 1}), moved({0, -1.5F, 0}) * turned(Axis::X, -90));
  Material pane = matt({0.3F, 0.5F, 0.9F, 0.4F});
  pane.alphaMode = AlphaMode::Blend;
  pane.doubleSided = true;
  add(scene, squareMesh(1), pane, moved({1, 0, 2}) * turned(Axis::Y, 30));
  scene.lights = {sun({-1, -2, -1})};
  Light point;
  point.position = {1, 4, 1};
  point.intensity = 30;
  scene.lights.push_back(point);
  point.kind = Light::Kind::Spot;
  point.direction = {0, -1, 0};
  scene.lights.push_back(point);
  scene.camera.emplace();
  scene.camera->transform = moved({1, 1, 9});
  return scene;
}

}  // namespace host
