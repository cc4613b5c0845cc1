#include "host/render/opengl_shaders.h"

#include <sstream>
#include <stdexcept>
#include <string>

namespace host {
namespace {

constexpr const char* kHead = R"(#version 450 core
layout(std140, binding = 0) uniform Frame {
  mat4 toClip;
  vec4 skyCenter, skyAcross, skyUp, forward;
  ivec4 lampCount;
} frame;
)";

// Positions are offsets off the camera, so that scenes far from the world's origin keep their precision.
constexpr const char* kVertex = R"(
layout(location = 0) in vec3 inPosition;
layout(location = 1) in vec3 inNormal;
layout(location = 2) in vec4 inTangent;
layout(location = 3) in vec4 inColor;
layout(location = 4) in vec2 inSet[4];
layout(location = 0) uniform mat4 toEye;
layout(location = 1) uniform mat3 normalToWorld;
layout(location = 2) uniform vec2 handed;
out Varying {
  vec3 position, normal;
  vec4 tangent, color, sets[2];
} to;

void main() {
  vec4 position = toEye * vec4(inPosition, 1);
  to.position = position.xyz;
  to.normal = normalToWorld * inNormal;
  to.tangent = vec4(mat3(toEye) * inTangent.xyz, inTangent.w * handed.x);
  to.color = inColor;
  to.sets[0] = vec4(inSet[0], inSet[1]);
  to.sets[1] = vec4(inSet[2], inSet[3]);
  gl_Position = PROJECTION * vec4(position.xyz, 1);
}
)";

constexpr const char* kMaterialHead = R"(
layout(std140, binding = 1) uniform Material {
  vec4 baseColor, emissive, surface, dielectric, optics, absorption, layers, sheen;
  vec4 moves[2 * SLOTS];
} material;
layout(location = 2) uniform vec2 handed;
in Varying {
  vec3 position, normal;
  vec4 tangent, color, sets[2];
} at;
)";

constexpr const char* kSky = R"(
layout(binding = 0) uniform sampler2D skyTable;  // over height and blur; the last row is for matt surfaces

vec3 skyRow(float height, float row) {
  vec2 size = vec2(textureSize(skyTable, 0));
  float across = (clamp(height, -1.0, 1.0) * 0.5 + 0.5) * (size.x - 1.0) + 0.5;
  return texture(skyTable, vec2(across, row + 0.5) / size).rgb;
}
vec3 skyRadiance(vec3 direction, float blur) {
  return skyRow(direction.y, blur * float(textureSize(skyTable, 0).y - 2));
}
vec3 skyAmbient(vec3 normal) { return skyRow(normal.y, float(textureSize(skyTable, 0).y - 1)); }
)";

constexpr const char* kSkyVertex = R"(
out vec2 place;
void main() {
  place = vec2(gl_VertexID == 1 ? 3.0 : -1.0, gl_VertexID == 2 ? 3.0 : -1.0);
  gl_Position = vec4(place, 0, 1);
}
)";

constexpr const char* kSkyFragment = R"(
in vec2 place;
layout(location = 0) out vec4 color;
void main() {
  vec3 direction = frame.skyCenter.xyz + frame.skyAcross.xyz * place.x + frame.skyUp.xyz * place.y;
  color = vec4(skyRadiance(normalize(direction), 0.0), 1);
}
)";

constexpr const char* kSurface = R"(
vec4 baseColor() { return material.baseColor * readBaseColor() * at.color; }

float grazingRise(float cosine) {
  float x = clamp(1.0 - cosine, 0.0, 1.0);
  float square = x * x;
  return square * square * x;
}

vec3 unitOr(vec3 v, vec3 fallback) {
  float square = dot(v, v);
  return square > 1e-30 && square < 1e30 ? v * inversesqrt(square) : fallback;
}

// Turned as little as needed to face the viewer.
vec3 facing(vec3 normal, vec3 toViewer) {
  float towards = dot(normal, toViewer);
  return towards >= 0.01 ? normal : normalize(normal + toViewer * (0.01 - towards));
}

// Frame of the surface's front, whatever side is seen.
struct Tangents { vec3 along, across; };

Tangents tangentsOf(vec3 front) {
  vec3 aside = abs(front.y) < 0.9 ? vec3(0, 1, 0) : vec3(1, 0, 0);
  vec3 tangent = at.tangent.xyz;
  vec3 along = unitOr(tangent - front * dot(tangent, front), normalize(cross(aside, front)));
  return Tangents(along, cross(front, along) * (at.tangent.w < 0.0 ? -1.0 : 1.0));
}

vec3 bent(Tangents t, vec3 smoothed, float side, vec3 texel, float scale) {
  vec3 v = 2.0 * texel - 1.0;
  return unitOr((t.along * v.x + t.across * v.y) * (scale * side) + smoothed * v.z, smoothed);
}
)";

// The lamps as four texels each: kind and range; intensity; position as an offset off the camera and the
// cone's scale; direction and the cone's offset.
constexpr const char* kLamps = R"(
layout(binding = 1) uniform samplerBuffer lamps;

struct Light { vec3 direction, radiance; };

Light lampAt(int index, vec3 position) {
  vec4 kind = texelFetch(lamps, 4 * index), intensity = texelFetch(lamps, 4 * index + 1);
  vec4 place = texelFetch(lamps, 4 * index + 2), axis = texelFetch(lamps, 4 * index + 3);
  vec3 towards = place.xyz - position;
  float distance = length(towards);
  vec3 direction = distance > 0.0 ? towards / distance : -axis.xyz;
  float ratio = kind.y > 0.0 ? distance / kind.y : 0.0;
  float cone = kind.x == 1.0 ? clamp(dot(-direction, axis.xyz) * place.w + axis.w, 0.0, 1.0) : 1.0;
  float share = clamp(1.0 - ratio * ratio * ratio * ratio, 0.0, 1.0) * cone * cone / (distance * distance);
  if (kind.x == 2.0) return Light(-axis.xyz, intensity.rgb);
  return Light(direction, distance > 0.0 ? intensity.rgb * share : vec3(0));
}
)";

constexpr const char* kReflectance = R"(
const float kSheenAlbedo = 0.157;

struct Point {
  vec3 color, emitted, mirror, dielectricMirror, sheen, normal, toViewer, coatNormal, along;
  float metallic, roughness, occlusion, grazing, dielectricGrazing, transmission;
  float coat, coatRoughness, sheenRoughness, anisotropy;
  vec3 diffuse;
  vec2 alpha;  // along and across the direction in which highlights are drawn out
  float baseShare, viewerCosine;
};

float alphaOf(float roughness) {
  float r = max(roughness, 0.08);
  return r * r;
}

float isotropicLobe(vec3 normal, vec3 toViewer, vec3 toLight, vec3 halfway, float alpha) {
  float nl = max(dot(normal, toLight), 0.0), nv = max(dot(normal, toViewer), 1e-3);
  float nh = dot(normal, halfway), square = alpha * alpha;
  float bump = nh * nh * (square - 1.0) + 1.0;
  float shadowing = nl * sqrt(nv * nv * (1.0 - square) + square) + nv * sqrt(nl * nl * (1.0 - square) + square);
  return shadowing > 0.0 ? 0.5 * square / (bump * bump) / shadowing * nl : 0.0;
}

float baseLobe(Point p, vec3 toLight, vec3 halfway) {
#ifdef ANISOTROPY
  vec3 across = cross(p.normal, p.along);
  float nl = max(dot(p.normal, toLight), 0.0), nv = max(p.viewerCosine, 1e-3);
  float product = p.alpha.x * p.alpha.y;
  vec3 f = vec3(dot(p.along, halfway) * p.alpha.y, dot(across, halfway) * p.alpha.x, dot(p.normal, halfway) * product);
  float bump = dot(f, f);
  float distribution = bump > 0.0 ? product * product * product / (bump * bump) : 0.0;
  float shadowing =
      nl * length(vec3(p.alpha.x * dot(p.along, p.toViewer), p.alpha.y * dot(across, p.toViewer), nv)) +
      nv * length(vec3(p.alpha.x * dot(p.along, toLight), p.alpha.y * dot(across, toLight), nl));
  return shadowing > 0.0 ? 0.5 * distribution / shadowing * nl : 0.0;
#else
  return isotropicLobe(p.normal, p.toViewer, toLight, halfway, p.alpha.y);
#endif
}

float sheenLobe(Point p, vec3 toLight, vec3 halfway) {
  float nl = dot(p.normal, toLight), nv = max(p.viewerCosine, 1e-3);
  float inverse = 1.0 / max(p.sheenRoughness * p.sheenRoughness, 0.005);
  float nh = clamp(dot(p.normal, halfway), 0.0, 1.0);
  return (2.0 + inverse) * pow(1.0 - nh * nh, inverse * 0.5) * 0.5 / (4.0 * (nl + nv - nl * nv)) * nl;
}

vec3 fresnel(Point p, float cosine) { return p.mirror + (p.grazing - p.mirror) * grazingRise(cosine); }

float coatMirror(float cosine, float smoothness) { return 0.04 + 0.96 * grazingRise(cosine) * smoothness; }

vec3 ofLight(Point p, vec3 toLight) {
  float nl = dot(p.normal, toLight);
  if (nl <= 0.0) {
#ifdef TRANSMISSION
    vec3 before = toLight - p.normal * (2.0 * nl);
    vec3 middle = normalize(p.toViewer + before);
    return (1.0 - fresnel(p, dot(p.toViewer, middle))) * p.color *
           (p.transmission * p.baseShare * baseLobe(p, before, middle));
#else
    return vec3(0);
#endif
  }
  vec3 halfway = normalize(p.toViewer + toLight);
  vec3 mirrored = fresnel(p, dot(p.toViewer, halfway));
  vec3 sum = ((1.0 - mirrored) * p.diffuse * nl + mirrored * baseLobe(p, toLight, halfway)) * p.baseShare;
#ifdef SHEEN
  sum += p.sheen * sheenLobe(p, toLight, halfway);
#endif
#ifdef CLEARCOAT
  sum += p.coat * coatMirror(dot(p.toViewer, halfway), 1.0) *
         isotropicLobe(p.coatNormal, p.toViewer, toLight, halfway, alphaOf(p.coatRoughness));
#endif
  return sum;
}

vec3 mirrorDirection(Point p, vec3 normal, vec3 geometric) {
  vec3 direction = normal * (2.0 * dot(p.toViewer, normal)) - p.toViewer;
  return direction - geometric * min(0.0, 2.0 * dot(direction, geometric));
}

// Normal about which things are mirrored: bent where highlights are drawn out.
vec3 mirrorNormal(Point p) {
#ifdef ANISOTROPY
  vec3 across = cross(p.normal, p.along);
  vec3 drawn = normalize(cross(cross(across, p.toViewer), across));
  float rest = 1.0 - p.anisotropy * (1.0 - p.roughness);
  return normalize(mix(drawn, p.normal, rest * rest * rest * rest));
#else
  return p.normal;
#endif
}
)";

constexpr const char* kShade = R"(
layout(location = 0, index = 0) out vec4 color;
#ifdef BLEND
layout(location = 0, index = 1) out vec4 behind;  // part of what is behind that stays
#endif

Point pointAt(vec4 base, vec3 toViewer, float side, vec3 geometric) {
  Point p;
  vec3 smoothed = facing(unitOr(at.normal * side, geometric), toViewer);
  p.toViewer = toViewer;
  p.normal = p.coatNormal = smoothed;
#ifdef TANGENTS
  Tangents tangents = tangentsOf(smoothed * side);
#endif
#ifdef READS_Normal
  p.normal = facing(bent(tangents, smoothed, side, readNormal().xyz, material.surface.z), toViewer);
#endif
  vec4 factors = readMetallicRoughness();
  p.color = clamp(base.rgb, 0.0, 1.0);
  p.metallic = clamp(material.surface.x * factors.b, 0.0, 1.0);
  p.roughness = clamp(material.surface.y * factors.g, 0.0, 1.0);
  p.occlusion = clamp(1.0 + material.surface.w * (readOcclusion().r - 1.0), 0.0, 1.0);
  p.emitted = material.emissive.rgb * readEmissive().rgb;

  float specular = clamp(material.dielectric.w * readSpecular().a, 0.0, 1.0);
  vec3 dielectric = clamp(material.dielectric.rgb * readSpecularColor().rgb * material.optics.x, 0.0, 1.0);
  p.dielectricMirror = dielectric * specular;
  p.dielectricGrazing = specular;
  p.mirror = mix(p.dielectricMirror, p.color, p.metallic);
  p.grazing = mix(specular, 1.0, p.metallic);

  p.transmission = p.coat = p.coatRoughness = p.sheenRoughness = p.anisotropy = 0.0;
  p.sheen = p.along = vec3(0);
#ifdef TRANSMISSION
  p.transmission = clamp(material.optics.y * readTransmission().r, 0.0, 1.0) * (1.0 - p.metallic);
#endif
#ifdef SHEEN
  p.sheen = clamp(material.sheen.rgb * readSheenColor().rgb, 0.0, 1.0);
  p.sheenRoughness = clamp(material.layers.z * readSheenRoughness().a, 0.0, 1.0);
#endif
#ifdef CLEARCOAT
  p.coat = clamp(material.layers.x * readClearcoat().r, 0.0, 1.0);
  p.coatRoughness = clamp(material.layers.y * readClearcoatRoughness().g, 0.0, 1.0);
#ifdef READS_ClearcoatNormal
  p.coatNormal = bent(tangents, smoothed, side, readClearcoatNormal().xyz, material.optics.w);
#endif
#endif
#ifdef ANISOTROPY
  vec3 along = unitOr(tangents.along - p.normal * dot(tangents.along, p.normal), tangents.along);
  vec3 across = cross(p.normal, along) * (dot(cross(p.normal, along), tangents.across) < 0.0 ? -1.0 : 1.0);
  p.anisotropy = clamp(material.layers.w, 0.0, 1.0);
  vec2 direction = vec2(1, 0);
#ifdef READS_Anisotropy
  vec4 drawn = readAnisotropy();
  direction = 2.0 * drawn.xy - 1.0;
  p.anisotropy *= drawn.z;
#endif
  float c = cos(material.sheen.w), s = sin(material.sheen.w);
  p.along = unitOr(along * (c * direction.x - s * direction.y) + across * (s * direction.x + c * direction.y), along);
#endif

  p.diffuse = p.color * max(1.0 - p.metallic - p.transmission, 0.0);
  p.alpha.y = alphaOf(p.roughness);
  p.alpha.x = p.alpha.y + (1.0 - p.alpha.y) * p.anisotropy * p.anisotropy;
  p.viewerCosine = max(dot(p.normal, toViewer), 0.0);
  p.baseShare = 1.0 - kSheenAlbedo * max(p.sheen.r, max(p.sheen.g, p.sheen.b));
  return p;
}

vec3 mirroredSky(Point p, vec3 normal, float grazing) {
  vec3 most = max(vec3((1.0 - p.roughness) * grazing), normal);
  return normal + (most - normal) * grazingRise(p.viewerCosine);
}

vec3 shade(inout Point p, vec3 geometric) {
  float coatShare = 0.0;
#ifdef CLEARCOAT
  coatShare = p.coat * coatMirror(dot(p.coatNormal, p.toViewer), 1.0 - p.coatRoughness);
  p.baseShare *= 1.0 - coatShare;
  p.sheen *= 1.0 - coatShare;
#endif
  vec3 sum = p.emitted;
  for (int i = 0; i < frame.lampCount.x; ++i) {
    Light light = lampAt(i, at.position);
    sum += ofLight(p, light.direction) * light.radiance;
  }
  vec3 dielectric = mirroredSky(p, p.dielectricMirror, p.dielectricGrazing);
  sum += (p.diffuse * (1.0 - dielectric) * p.baseShare + p.sheen * kSheenAlbedo) * p.occlusion * skyAmbient(p.normal);
  vec3 share = mix(dielectric, mirroredSky(p, p.color, 1.0), p.metallic) * p.baseShare;
  sum += share * p.occlusion * skyRadiance(mirrorDirection(p, mirrorNormal(p), geometric), p.roughness);
#ifdef CLEARCOAT
  sum += coatShare * p.occlusion * skyRadiance(mirrorDirection(p, p.coatNormal, geometric), p.coatRoughness);
#endif
  return sum;
}

void main() {
  vec4 base = baseColor();
#ifdef MASK
  if (!(base.a >= material.emissive.w)) discard;
#endif
  vec3 light, through = vec3(0);
#ifdef UNLIT
  light = clamp(base.rgb, 0.0, 1.0);
#else
  float side = gl_FrontFacing ? 1.0 : -1.0;
  vec3 toViewer = frame.forward.w > 0.0 ? -frame.forward.xyz : -normalize(at.position);
  vec3 geometric = unitOr(cross(dFdx(at.position), dFdy(at.position)), toViewer);
  geometric *= dot(geometric, toViewer) < 0.0 ? -1.0 : 1.0;
  Point p = pointAt(base, toViewer, side, geometric);
  light = shade(p, geometric);
#ifdef TRANSMISSION
  // Straight through, and dimmed by the thickness that the material says.
  float metres = material.optics.z * readThickness().g * handed.y / max(p.viewerCosine, 0.2);
  vec3 enters = 1.0 - mirroredSky(p, p.dielectricMirror, p.dielectricGrazing);
  through = enters * p.color * (p.transmission * p.baseShare) * exp(-material.absorption.rgb * metres);
#endif
#endif
  float coverage = 1.0;
#ifdef ALPHA
  coverage = clamp(base.a, 0.0, 1.0);
#endif
  color = vec4(min(light, vec3(60000)) * coverage, 1);  // half precision ends at 65504
#ifdef BLEND
  behind = vec4(1.0 - coverage + coverage * through, 1);
#endif
}
)";

constexpr const char* kSlotNames[kGlSlots] = {
    "BaseColor",          "MetallicRoughness", "Normal",       "Occlusion",      "Emissive",
    "Specular",           "SpecularColor",     "Transmission", "Thickness",      "Clearcoat",
    "ClearcoatRoughness", "ClearcoatNormal",   "SheenColor",   "SheenRoughness", "Anisotropy"};

/// Compiles one part of a program.
GlShader compiled(GLenum kind, const std::string& text) {
  GlShader shader(gl().CreateShader(kind));
  const char* source = text.c_str();
  gl().ShaderSource(shader.name(), 1, &source, nullptr);
  gl().CompileShader(shader.name());
  GLint good = GL_FALSE;
  gl().GetShaderiv(shader.name(), GL_COMPILE_STATUS, &good);
  if (good == GL_TRUE) return shader;
  char log[512] = "";
  gl().GetShaderInfoLog(shader.name(), sizeof log, nullptr, log);
  throw std::runtime_error(std::string("OpenGL, the driver refuses a shader: ") + log);
}

GlProgram linked(const std::string& vertex, const std::string& fragment) {
  const GlShader first = compiled(GL_VERTEX_SHADER, vertex);
  const GlShader second = compiled(GL_FRAGMENT_SHADER, fragment);
  GlProgram program(gl().CreateProgram());
  gl().AttachShader(program.name(), first.name());
  gl().AttachShader(program.name(), second.name());
  gl().LinkProgram(program.name());
  GLint good = GL_FALSE;
  gl().GetProgramiv(program.name(), GL_LINK_STATUS, &good);
  if (good == GL_TRUE) return program;
  char log[512] = "";
  gl().GetProgramInfoLog(program.name(), sizeof log, nullptr, log);
  throw std::runtime_error(std::string("OpenGL, the driver refuses a program: ") + log);
}

std::string define(const char* name, bool wanted) {
  return wanted ? std::string("#define ") + name + "\n" : std::string();
}

std::string defines(const GlFeatures& f) {
  const bool normalMaps = f.sets[static_cast<int>(GlSlot::Normal)].has_value() ||
                          f.sets[static_cast<int>(GlSlot::ClearcoatNormal)].has_value();
  return "#define SLOTS " + std::to_string(kGlSlots) + "\n" + define("UNLIT", f.unlit) +
         define("MASK", f.mask) + define("ALPHA", f.blend) + define("BLEND", f.blend || f.transmission) +
         define("TRANSMISSION", f.transmission) + define("CLEARCOAT", f.clearcoat) +
         define("SHEEN", f.sheen) + define("ANISOTROPY", f.anisotropy) +
         define("TANGENTS", normalMaps || f.anisotropy);
}

/// Functions readBaseColor() ... that give a texture's value, white where the material has none.
std::string readers(const GlFeatures& f, std::array<int, kGlSlots>& units) {
  std::string text;
  int next = kGlFirstUnit;
  for (int i = 0; i < kGlSlots; ++i) {
    const std::string name = kSlotNames[i];
    units[i] = f.sets[i] ? next++ : -1;
    if (!f.sets[i]) {
      text.append("vec4 read").append(name).append("() { return vec4(1); }\n");
      continue;
    }
    std::ostringstream reader;
    reader << "#define READS_" << name << "\nlayout(binding = " << units[i] << ") uniform sampler2D texture"
           << name << ";\nvec4 read" << name << "() {\n  vec3 uv = vec3(at.sets[" << *f.sets[i] / 2
           << (*f.sets[i] % 2 == 0 ? "].xy" : "].zw") << ", 1);\n  return texture(texture" << name
           << ", vec2(dot(material.moves[" << 2 * i << "].xyz, uv), dot(material.moves[" << 2 * i + 1
           << "].xyz, uv)));\n}\n";
    text += reader.str();
  }
  return text;
}

std::string vertexText(const char* projection) {
  return std::string(kHead) + "#define PROJECTION " + projection + "\n" + kVertex;
}

}  // namespace

GlShading makeShading(const GlFeatures& features) {
  GlShading shading;
  std::string text = kHead + defines(features) + kMaterialHead + readers(features, shading.units) + kSky;
  text.append(kSurface).append(kLamps).append(kReflectance).append(kShade);
  shading.program = linked(vertexText("frame.toClip"), text);
  return shading;
}

GlProgram makeSkyProgram() {
  return linked(std::string(kHead) + kSkyVertex, std::string(kHead) + kSky + kSkyFragment);
}

}  // namespace host
