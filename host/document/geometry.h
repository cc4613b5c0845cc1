#pragma once
// Small vectors and the 4 x 4 matrix of scenes and renderers. Right-handed, Y up, metres, column vectors.

#include <array>
#include <cmath>

namespace host {

struct Vec2 {
  float x = 0, y = 0;
  bool operator==(const Vec2&) const = default;
};

struct Vec3 {
  float x = 0, y = 0, z = 0;
};

struct Vec4 {
  float x = 0, y = 0, z = 0, w = 0;
};

inline Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator-(Vec3 a) { return {-a.x, -a.y, -a.z}; }
inline Vec3 operator*(Vec3 a, Vec3 b) { return {a.x * b.x, a.y * b.y, a.z * b.z}; }
inline Vec3 operator*(Vec3 a, float s) { return {a.x * s, a.y * s, a.z * s}; }
inline float dot(Vec3 a, Vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec3 cross(Vec3 a, Vec3 b) {
  return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline float length(Vec3 a) { return std::sqrt(dot(a, a)); }
/// Unit vector along `a`; `a` itself when it has no length.
inline Vec3 normalize(Vec3 a) {
  const float l = length(a);
  return l > 0 ? a * (1 / l) : a;
}

/// Unit vector along `a`; `fallback` when `a` has no direction that numbers can hold.
inline Vec3 unitOr(Vec3 a, Vec3 fallback) {
  const float square = dot(a, a);
  return square > 1e-36F && square < 1e36F ? a * (1 / std::sqrt(square)) : fallback;
}

/// Column-major: element (row, column) is m[column * 4 + row], as glTF stores it.
struct Mat4 {
  std::array<float, 16> m{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
};

inline Mat4 operator*(const Mat4& a, const Mat4& b) {
  Mat4 r;
  for (int c = 0; c < 4; ++c) {
    for (int row = 0; row < 4; ++row) {
      float s = 0;
      for (int k = 0; k < 4; ++k) s += a.m[k * 4 + row] * b.m[c * 4 + k];
      r.m[c * 4 + row] = s;
    }
  }
  return r;
}
inline Vec3 transformPoint(const Mat4& t, Vec3 p) {
  const auto& m = t.m;
  return {m[0] * p.x + m[4] * p.y + m[8] * p.z + m[12], m[1] * p.x + m[5] * p.y + m[9] * p.z + m[13],
          m[2] * p.x + m[6] * p.y + m[10] * p.z + m[14]};
}
inline Vec3 transformVector(const Mat4& t, Vec3 v) {
  const auto& m = t.m;
  return {m[0] * v.x + m[4] * v.y + m[8] * v.z, m[1] * v.x + m[5] * v.y + m[9] * v.z,
          m[2] * v.x + m[6] * v.y + m[10] * v.z};
}

}  // namespace host
