#include "host/render/trace.h"

#include <immintrin.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <stdexcept>

#include "host/render/trace_context.h"

namespace host {
namespace {

// The library aborts the process on rays that start farther out.
constexpr float kMaxCoordinate = 1e18F;
constexpr size_t kSmall = 4096;                    // vertices or triangles of a mesh in all its places
constexpr size_t kMostCopied = size_t{128} << 20;  // vertices of meshes that cannot be kept once

/// Named outright, because results differ in their last bits from set to set: one that both old and new
/// processors have gives the same pictures on most machines.
const char* instructionSet() {
  if (__builtin_cpu_supports("avx2")) return "avx2";
  if (__builtin_cpu_supports("avx")) return "avx";
  if (__builtin_cpu_supports("sse4.2")) return "sse4.2";
  return "sse2";
}

/// One for the process, made when it is first needed and never released: threads of the library outlive main.
RTCDevice device() {
  static const RTCDevice instance = rtcNewDevice(("isa=" + std::string(instructionSet())).c_str());
  if (!instance) throw std::runtime_error("the ray tracing library cannot start");
  return instance;
}

void throwOnDeviceError() {
  switch (rtcGetDeviceError(device())) {
    case RTC_ERROR_NONE:
      return;
    case RTC_ERROR_CANCELLED:
      throw RenderStopped();
    case RTC_ERROR_OUT_OF_MEMORY:
      throw std::runtime_error("not enough memory for the ray tracing tree");
    default:
      throw std::runtime_error("the ray tracing tree cannot be built");
  }
}

struct GeometryRelease {
  void operator()(RTCGeometryTy* geometry) const { rtcReleaseGeometry(geometry); }
};
using Geometry = std::unique_ptr<RTCGeometryTy, GeometryRelease>;

template <class Handle>
Handle checked(typename Handle::pointer raw) {
  if (!raw) throwOnDeviceError();
  return Handle(raw);
}

struct NearestContext {
  RTCIntersectContext base;  // first: the library hands back a pointer to it
  const std::vector<Placement>* placements = nullptr;
  Vec3 direction;  // of the ray in the world; the library's own is carried into the instance's space
};

// The library calls these with one ray at a time, because only such calls are made here.

float alphaAt(const RTCFilterFunctionNArguments* arguments) {
  const auto& source = *static_cast<const AlphaSource*>(arguments->geometryUserPtr);
  const auto* hit = reinterpret_cast<const RTCHit*>(arguments->hit);
  return source.textures->alpha(*source.mesh, *source.material,
                                TrianglePoint(*source.mesh, hit->primID, hit->u, hit->v));
}

void passMaskHoles(const RTCFilterFunctionNArguments* arguments) {
  const auto& source = *static_cast<const AlphaSource*>(arguments->geometryUserPtr);
  if (alphaAt(arguments) < source.material->alphaCutoff) arguments->valid[0] = 0;
}

/// What glass lets through of light from a lamp, where it is met head-on.
Vec3 throughGlass(const AlphaSource& source, const RTCHit& hit) {
  const Material& material = *source.material;
  const TrianglePoint p(*source.mesh, hit.primID, hit.u, hit.v);
  const Vec4 color = source.textures->baseColor(*source.mesh, material, p);
  const float metallic =
      material.metallic * source.textures->sample(*source.mesh, material.metallicRoughnessTexture, p).z;
  const float mirror = (material.ior - 1) / (material.ior + 1);
  const float part = material.transmission *
                     source.textures->sample(*source.mesh, material.transmissionTexture, p).x *
                     (1 - metallic) * (1 - mirror * mirror);
  // An inside takes the colour once, on two surfaces.
  const auto tint = [&](float c) { return part * (material.hasInside() ? std::sqrt(std::max(c, 0.0F)) : c); };
  return {tint(color.x), tint(color.y), tint(color.z)};
}

void passLight(const RTCFilterFunctionNArguments* arguments) {
  auto& context = *reinterpret_cast<ShadowContext*>(arguments->context);
  const auto& source = *static_cast<const AlphaSource*>(arguments->geometryUserPtr);
  const AlphaMode mode = source.material->alphaMode;
  if (mode == AlphaMode::Mask && alphaAt(arguments) < source.material->alphaCutoff) {
    arguments->valid[0] = 0;
    return;
  }
  const float alpha = mode == AlphaMode::Blend ? alphaAt(arguments) : 1;
  Vec3 passing{1 - alpha, 1 - alpha, 1 - alpha};
  if (context.throughGlass && source.material->transmission > 0) {
    passing = passing + throughGlass(source, *reinterpret_cast<const RTCHit*>(arguments->hit)) * alpha;
  }
  context.passing = context.passing * passing;
  if (std::max({context.passing.x, context.passing.y, context.passing.z}) > 0.01F) arguments->valid[0] = 0;
}

unsigned placementOf(const RTCHit& hit) {
  return hit.instID[0] != RTC_INVALID_GEOMETRY_ID ? hit.instID[0] : hit.geomID;
}

void passBackFaces(const RTCFilterFunctionNArguments* arguments) {
  const auto& context = *reinterpret_cast<const NearestContext*>(arguments->context);
  const auto& hit = *reinterpret_cast<const RTCHit*>(arguments->hit);
  const Placement& placement = (*context.placements)[placementOf(hit)];
  if (placement.isBackFace(placement.triangle(hit.primID), context.direction)) arguments->valid[0] = 0;
}

Geometry makeTriangles(const Mesh& mesh, const Mat4& toWorld, AlphaSource* alpha) {
  auto geometry = checked<Geometry>(rtcNewGeometry(device(), RTC_GEOMETRY_TYPE_TRIANGLE));
  // The library's own buffer has the padding that it reads behind the last vertex.
  auto* vertices = static_cast<Vec3*>(rtcSetNewGeometryBuffer(
      geometry.get(), RTC_BUFFER_TYPE_VERTEX, 0, RTC_FORMAT_FLOAT3, sizeof(Vec3), mesh.positions.size()));
  if (!vertices) throwOnDeviceError();
  std::transform(mesh.positions.begin(), mesh.positions.end(), vertices,
                 [&](Vec3 p) { return transformPoint(toWorld, p); });
  rtcSetSharedGeometryBuffer(geometry.get(), RTC_BUFFER_TYPE_INDEX, 0, RTC_FORMAT_UINT3, mesh.indices.data(),
                             0, 3 * sizeof(uint32_t), mesh.indices.size() / 3);
  if (alpha->material->alphaMode != AlphaMode::Opaque || alpha->material->transmission > 0) {
    rtcSetGeometryUserData(geometry.get(), alpha);
    const bool mask = alpha->material->alphaMode == AlphaMode::Mask;
    if (mask) rtcSetGeometryIntersectFilterFunction(geometry.get(), passMaskHoles);
    rtcSetGeometryOccludedFilterFunction(geometry.get(), passLight);
  }
  rtcCommitGeometry(geometry.get());
  throwOnDeviceError();
  return geometry;
}

Tree makeTree(KernelBuild kernel) {
  int flags = RTC_SCENE_FLAG_CONTEXT_FILTER_FUNCTION;
  if (kernel != KernelBuild::Faster) flags |= RTC_SCENE_FLAG_ROBUST;
  if (kernel == KernelBuild::Compact) flags |= RTC_SCENE_FLAG_COMPACT;
  auto tree = checked<Tree>(rtcNewScene(device()));
  rtcSetSceneFlags(tree.get(), static_cast<RTCSceneFlags>(flags));
  return tree;
}

/// Builds the tree over what was attached.
void commit(RTCScene tree, const std::function<bool()>& stopped) {
  const auto goOn = [](void* asked, double) {
    return !(*static_cast<const std::function<bool()>*>(asked))();
  };
  rtcSetSceneProgressMonitorFunction(tree, goOn, const_cast<std::function<bool()>*>(&stopped));
  rtcCommitScene(tree);
  throwOnDeviceError();
  rtcSetSceneProgressMonitorFunction(tree, nullptr, nullptr);
}

Geometry makeInstance(RTCScene tree, const Mat4& toWorld) {
  auto geometry = checked<Geometry>(rtcNewGeometry(device(), RTC_GEOMETRY_TYPE_INSTANCE));
  rtcSetGeometryInstancedScene(geometry.get(), tree);
  rtcSetGeometryTransform(geometry.get(), 0, RTC_FORMAT_FLOAT4X4_COLUMN_MAJOR, toWorld.m.data());
  rtcCommitGeometry(geometry.get());
  throwOnDeviceError();
  return geometry;
}

Vec3 column(const Mat4& t, int c) { return {t.m[4 * c], t.m[4 * c + 1], t.m[4 * c + 2]}; }

float largest(Vec3 v) { return std::max({std::abs(v.x), std::abs(v.y), std::abs(v.z)}); }

/// Whether rays can be carried into the object's space: not flattened, and with numbers of ordinary size.
bool isInvertible(const Mat4& t) {
  const Vec3 x = column(t, 0), y = column(t, 1), z = column(t, 2);
  const float lengths[] = {length(x), length(y), length(z)};
  for (const float l : lengths) {
    if (!(l > 1e-9F && l < 1e9F)) return false;
  }
  const float volume = dot(cross(x, y), z) / lengths[0] / lengths[1] / lengths[2];
  return std::abs(volume) > 1e-5F && largest(column(t, 3)) < 1e12F;
}

bool isFinite(Vec3 v, float limit) {
  return std::abs(v.x) < limit && std::abs(v.y) < limit && std::abs(v.z) < limit;
}

bool isTraceable(const Ray& ray) {
  return isFinite(ray.origin, kMaxCoordinate) && isFinite(ray.direction, 2) && ray.tnear >= 0 &&
         ray.tfar > ray.tnear && ray.tfar < std::numeric_limits<float>::infinity();
}

RTCRay libraryRay(const Ray& ray) {
  RTCRay r{};
  r.org_x = ray.origin.x;
  r.org_y = ray.origin.y;
  r.org_z = ray.origin.z;
  r.dir_x = ray.direction.x;
  r.dir_y = ray.direction.y;
  r.dir_z = ray.direction.z;
  r.tnear = ray.tnear;
  r.tfar = ray.tfar;
  r.mask = 0xFFFFFFFFU;
  return r;
}

}  // namespace

bool mirrors(const Mat4& t) { return dot(cross(column(t, 0), column(t, 1)), column(t, 2)) < 0; }

Mat4 normalTransform(const Mat4& t) {
  const Vec3 x = column(t, 0), y = column(t, 1), z = column(t, 2);
  const Vec3 columns[] = {cross(y, z), cross(z, x), cross(x, y)};
  const float size = std::max({largest(columns[0]), largest(columns[1]), largest(columns[2])});
  const float scale = (mirrors(t) ? -1.0F : 1.0F) / (size > 0 ? size : 1);
  Mat4 r;
  for (int c = 0; c < 3; ++c) {
    r.m[4 * c] = columns[c].x * scale;
    r.m[4 * c + 1] = columns[c].y * scale;
    r.m[4 * c + 2] = columns[c].z * scale;
  }
  return r;
}

void TreeRelease::operator()(RTCSceneTy* tree) const { rtcReleaseScene(tree); }

PreparedScene::Data::Data(const Scene& source, KernelBuild kernelBuild, const std::function<bool()>& stopped)
    : scene(source), textures(source, stopped), kernel(kernelBuild), tree(makeTree(kernelBuild)) {
  std::vector<int> uses(scene.meshes.size());
  for (const Instance& instance : scene.instances) ++uses[instance.mesh];
  for (const Mesh& mesh : scene.meshes) {
    const Material* material = mesh.material < 0 ? &defaultMaterial : &scene.materials[mesh.material];
    alphaSources.push_back(std::make_unique<AlphaSource>(AlphaSource{&textures, &mesh, material}));
  }
  meshTrees.resize(scene.meshes.size());
  size_t copied = 0;

  for (const Instance& instance : scene.instances) {
    AlphaSource* alpha = alphaSources[instance.mesh].get();
    const Mat4& toWorld = instance.transform;
    const auto id = static_cast<unsigned>(placements.size());
    placements.push_back(
        {alpha->mesh, alpha->material, toWorld, normalTransform(toWorld), mirrors(toWorld), 0, nullptr});
    if (alpha->mesh->indices.empty()) continue;

    // A mesh that stands once, or is small, is carried into the world, which traces faster and allows any
    // transform. A large one that stands in several places is kept once, but for copies that no ray could be
    // carried back from.
    const size_t size = std::max(alpha->mesh->positions.size(), alpha->mesh->indices.size() / 3);
    const bool small = size * static_cast<size_t>(uses[instance.mesh]) <= kSmall;
    if (uses[instance.mesh] == 1 || small || !isInvertible(toWorld)) {
      if (uses[instance.mesh] > 1) copied += alpha->mesh->positions.size();
      if (copied > kMostCopied) {
        throw std::runtime_error("flattened copies of meshes have more than 128 million vertices");
      }
      const Geometry geometry = makeTriangles(*alpha->mesh, toWorld, alpha);
      rtcAttachGeometryByID(tree.get(), geometry.get(), id);
      placements.back().carried =
          static_cast<const Vec3*>(rtcGetGeometryBufferData(geometry.get(), RTC_BUFFER_TYPE_VERTEX, 0));
      continue;
    }
    placements.back().magnitude = largest(column(toWorld, 3));
    Tree& meshTree = meshTrees[instance.mesh];
    if (!meshTree) {
      meshTree = makeTree(kernel);
      rtcAttachGeometry(meshTree.get(), makeTriangles(*alpha->mesh, Mat4{}, alpha).get());
      commit(meshTree.get(), stopped);
    }
    rtcAttachGeometryByID(tree.get(), makeInstance(meshTree.get(), toWorld).get(), id);
  }
  commit(tree.get(), stopped);
}

std::optional<Bounds> PreparedScene::Data::bounds() const {
  RTCBounds b;
  rtcGetSceneBounds(tree.get(), &b);
  if (!(b.lower_x <= b.upper_x)) return {};
  return Bounds{{b.lower_x, b.lower_y, b.lower_z}, {b.upper_x, b.upper_y, b.upper_z}};
}

bool PreparedScene::Data::nearest(const Ray& ray, Hit& hit, RayLog* log) const {
  if (!isTraceable(ray)) return false;
  const auto trace = [&](RTCFilterFunctionN filter) {
    if (log) log->push_back({ray, TracedRay::Nearest});
    NearestContext context{{}, &placements, ray.direction};
    rtcInitIntersectContext(&context.base);
    context.base.filter = filter;
    RTCRayHit query{libraryRay(ray), {}};
    query.hit.geomID = RTC_INVALID_GEOMETRY_ID;
    query.hit.instID[0] = RTC_INVALID_GEOMETRY_ID;
    rtcIntersect1(tree.get(), &context.base, &query);
    const bool usable = query.hit.geomID != RTC_INVALID_GEOMETRY_ID && query.ray.tfar >= ray.tnear &&
                        query.ray.tfar <= ray.tfar && std::isfinite(query.hit.u + query.hit.v);
    if (!usable) return false;
    const unsigned placement = placementOf(query.hit);
    hit = {query.ray.tfar, query.hit.u,      query.hit.v,
           placement,      query.hit.primID, placements[placement].triangle(query.hit.primID)};
    return true;
  };
  // Back faces seldom come first, so they are tested for inside the tree only when one did. (Going on from
  // behind it would miss the front of a second triangle in the same place.)
  if (!trace(nullptr)) return false;
  return !placements[hit.placement].isBackFace(hit.corners, ray.direction) || trace(passBackFaces);
}

namespace {

Vec3 passingLight(RTCScene tree, const Ray& ray, bool throughGlass, RayLog* log) {
  if (!isTraceable(ray)) return {1, 1, 1};
  if (log) log->push_back({ray, throughGlass ? TracedRay::Lamp : TracedRay::Shadow});
  ShadowContext context{{}, throughGlass, {1, 1, 1}};
  rtcInitIntersectContext(&context.base);
  RTCRay query = libraryRay(ray);
  rtcOccluded1(tree, &context.base, &query);
  return query.tfar < 0 ? Vec3{} : context.passing;
}

}  // namespace

float PreparedScene::Data::transmittance(const Ray& ray, RayLog* log) const {
  return passingLight(tree.get(), ray, false, log).x;
}

Vec3 PreparedScene::Data::lampLight(const Ray& ray, RayLog* log) const {
  return passingLight(tree.get(), ray, true, log);
}

DenormalsAsZero::DenormalsAsZero() : before_(_mm_getcsr()) {
  constexpr unsigned kFlushToZero = 0x8000, kDenormalsAreZero = 0x0040;
  _mm_setcsr(before_ | kFlushToZero | kDenormalsAreZero);
}

DenormalsAsZero::~DenormalsAsZero() { _mm_setcsr(before_); }

std::vector<std::string> traceFacts() {
  const auto property = [](RTCDeviceProperty p) { return std::to_string(rtcGetDeviceProperty(device(), p)); };
  return {"isa " + std::string(instructionSet()), "embree " + property(RTC_DEVICE_PROPERTY_VERSION_MAJOR) +
                                                      "." + property(RTC_DEVICE_PROPERTY_VERSION_MINOR) +
                                                      "." + property(RTC_DEVICE_PROPERTY_VERSION_PATCH)};
}

}  // namespace host
