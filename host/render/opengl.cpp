#include "host/render/opengl.h"

#include <algorithm>
#include <cmath>
#include <mutex>
#include <numeric>

#include "host/render/camera.h"
#include "host/render/film.h"
#include "host/render/lights.h"
#include "host/render/opengl_scene.h"
#include "host/render/progress.h"
#include "host/render/trace.h"

namespace host {
namespace {

constexpr uint64_t kMostSorted = uint64_t{8} << 20;  // blended triangles
constexpr uint32_t kComparedBetweenStops = 1 << 18;
constexpr float kFarthest = 1e17F;  // metres; what is farther off has no place that numbers can tell
constexpr int kSkyHeights = 1024, kSkyBlurs = 33;
constexpr double kTriangleCost = 4;  // of one triangle, in pixels
constexpr double kLampCost = 0.25;   // of one lamp for a pixel, in pixels without lamps
constexpr int kLeastTile = 32;       // pixels a side

Vec4 with(Vec3 v, float w) { return {v.x, v.y, v.z, w}; }

/// A part of the picture, in pixels from the top left corner.
struct Tile {
  int x, y, width, height;
};

/// Depths along the camera's axis between which things are drawn.
struct DepthRange {
  float nearest, farthest;

  bool isEmpty() const { return !(farthest > nearest); }
};

DepthRange depthRange(const CameraView& view, const Bounds& bounds) {
  float low = kFarthest, high = -kFarthest;
  for (int i = 0; i < 8; ++i) {
    const Vec3 corner{i & 1 ? bounds.high.x : bounds.low.x, i & 2 ? bounds.high.y : bounds.low.y,
                      i & 4 ? bounds.high.z : bounds.low.z};
    const float depth = dot(corner - view.position, view.forward);
    low = std::min(low, depth >= -kFarthest ? depth : -kFarthest);
    high = std::max(high, depth <= kFarthest ? depth : kFarthest);
  }
  const float margin = 1e-3F * std::max(high - low, std::max(std::abs(low), std::abs(high)));
  DepthRange range{std::max(view.znear, low - margin), std::min(view.zfar, high + margin)};
  // Depths are kept as near / depth in floating point, so that a near plane close by takes no precision.
  if (!view.orthographic) range.nearest = std::max(range.nearest, std::min(range.farthest * 1e-6F, 1e-4F));
  return range;
}

/// From world offsets off the camera to the tile; depth is 1 at the near plane and 0 at the far one.
Mat4 projection(const CameraView& view, const DepthRange& depth, const RenderRequest& request,
                const Tile& tile) {
  const auto width = static_cast<float>(request.width), height = static_cast<float>(request.height);
  const float stretchX = width / static_cast<float>(tile.width),
              stretchY = height / static_cast<float>(tile.height);
  const float centerX = static_cast<float>(2 * tile.x + tile.width) / width - 1;
  const float centerY = 1 - static_cast<float>(2 * tile.y + tile.height) / height;
  const float n = depth.nearest, f = depth.farthest;
  const Vec3 toX = view.right * (1 / view.halfWidth), toY = view.up * (1 / view.halfHeight);
  Mat4 t;
  const auto row = [&](int index, Vec3 axis, float constant) {
    t.m[index] = axis.x;
    t.m[4 + index] = axis.y;
    t.m[8 + index] = axis.z;
    t.m[12 + index] = constant;
  };
  if (view.orthographic) {
    row(0, toX * stretchX, -centerX * stretchX);
    row(1, toY * stretchY, -centerY * stretchY);
    row(2, view.forward * (-1 / (f - n)), f / (f - n));
    row(3, {}, 1);
  } else {
    row(0, (toX - view.forward * centerX) * stretchX, 0);
    row(1, (toY - view.forward * centerY) * stretchY, 0);
    row(2, view.forward * (-n / (f - n)), n * (f / (f - n)));
    row(3, view.forward, 0);
  }
  return t;
}

/// Triangles of one instance that are drawn with one call. The indices of `sorted` ones lie in the buffer
/// that all see-through triangles share.
struct Draw {
  uint32_t instance;
  bool sorted;
  uint32_t first, count;  ///< triangles
};

/// The picture under the brush: many samples, or one.
class Target {
 public:
  Target(int width, int height, int samples)
      : samples_(samples),
        color_(makeRenderbuffer(samples, GL_RGBA16F, width, height)),
        depth_(makeRenderbuffer(samples, GL_DEPTH_COMPONENT32F, width, height)),
        drawn_(makeFramebuffer()) {
    gl().NamedFramebufferRenderbuffer(drawn_.name(), GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color_.name());
    gl().NamedFramebufferRenderbuffer(drawn_.name(), GL_DEPTH_ATTACHMENT, GL_RENDERBUFFER, depth_.name());
    if (samples_ > 0) {
      resolvedColor_ = makeRenderbuffer(0, GL_RGBA16F, width, height);
      resolved_ = makeFramebuffer();
      gl().NamedFramebufferRenderbuffer(resolved_.name(), GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER,
                                        resolvedColor_.name());
    }
    checkGl("the picture's memory");
  }

  void begin(int width, int height) const {
    gl().BindFramebuffer(GL_FRAMEBUFFER, drawn_.name());
    gl().Viewport(0, 0, width, height);
  }

  /// Linear RGB from the bottom row up. The samples are averaged as light.
  void read(int width, int height, std::vector<float>& rgb) const {
    if (samples_ > 0) {
      gl().BlitNamedFramebuffer(drawn_.name(), resolved_.name(), 0, 0, width, height, 0, 0, width, height,
                                GL_COLOR_BUFFER_BIT, GL_NEAREST);
      gl().BindFramebuffer(GL_FRAMEBUFFER, resolved_.name());
    }
    rgb.resize(static_cast<size_t>(width) * height * 3);
    gl().PixelStorei(GL_PACK_ALIGNMENT, 4);
    gl().ReadPixels(0, 0, width, height, GL_RGB, GL_FLOAT, rgb.data());
  }

 private:
  int samples_;
  GlRenderbuffer color_, depth_, resolvedColor_;
  GlFramebuffer drawn_, resolved_;
};

/// One render.
class Drawing {
 public:
  Drawing(const Scene& scene, GlScene& atDriver, const OpenGlLimits& limits, const RenderRequest& request)
      : scene_(scene),
        atDriver_(atDriver),
        request_(request),
        progress_(request),
        view_(CameraRays(scene, request.width, request.height).view()),
        bounds_(sceneBounds(scene)),
        lights_(scene, bounds_, request),
        depth_(bounds_ ? depthRange(view_, *bounds_) : DepthRange{1, 0}),
        pixelCost_(1 + kLampCost * static_cast<double>(lights_.lamps.size())),
        batchCost_(limits.batch),
        side_(tileSide(limits)),
        film_(request) {}

  Image run() {
    skyProgram_ = makeSkyProgram();
    makeSkyTable();
    makeLamps();
    placeInstances();
    setState();
    checkGl("the lights");
    const int samples = request_.antialiasing ? 4 : 0;
    const Target target(std::min(side_, request_.width), std::min(side_, request_.height), samples);
    const int across = (request_.width + side_ - 1) / side_, down = (request_.height + side_ - 1) / side_;
    tiles_ = across * down;
    for (tile_ = 0; tile_ < tiles_; ++tile_) {
      const int x = tile_ % across * side_, y = tile_ / across * side_;
      drawTile(target, {x, y, std::min(side_, request_.width - x), std::min(side_, request_.height - y)});
    }
    return film_.develop();
  }

 private:
  /// A tile that is covered once stays below a batch.
  int tileSide(const OpenGlLimits& limits) const {
    const double side = std::sqrt(OpenGlLimits().batch / pixelCost_);
    return std::clamp(static_cast<int>(side), kLeastTile, limits.tile);
  }

  // What is the same for all tiles.

  /// The sky is the same all around, so a table over height and blur holds it; its last row is what matt
  /// surfaces reflect.
  void makeSkyTable() {
    std::vector<Vec4> table;
    table.reserve(static_cast<size_t>(kSkyHeights) * (kSkyBlurs + 1));
    for (int row = 0; row <= kSkyBlurs; ++row) {
      const float blur = static_cast<float>(row) / (kSkyBlurs - 1);
      for (int i = 0; i < kSkyHeights; ++i) {
        const float y = std::clamp(2 * static_cast<float>(i) / (kSkyHeights - 1) - 1, -1.0F, 1.0F);
        const Vec3 direction{std::sqrt(1 - y * y), y, 0};
        const bool matt = row == kSkyBlurs;
        table.push_back(
            with(matt ? lights_.sky.ambient(direction) : lights_.sky.radiance(direction, blur), 1));
      }
    }
    skyTable_ = makeTexture(GL_TEXTURE_2D);
    gl().TextureStorage2D(skyTable_.name(), 1, GL_RGBA32F, kSkyHeights, kSkyBlurs + 1);
    gl().TextureSubImage2D(skyTable_.name(), 0, 0, 0, kSkyHeights, kSkyBlurs + 1, GL_RGBA, GL_FLOAT,
                           table.data());
    skySampler_ = makeSampler();
    gl().SamplerParameteri(skySampler_.name(), GL_TEXTURE_MIN_FILTER, GL_LINEAR);
    gl().SamplerParameteri(skySampler_.name(), GL_TEXTURE_MAG_FILTER, GL_LINEAR);
    gl().SamplerParameteri(skySampler_.name(), GL_TEXTURE_WRAP_S, GL_CLAMP_TO_EDGE);
    gl().SamplerParameteri(skySampler_.name(), GL_TEXTURE_WRAP_T, GL_CLAMP_TO_EDGE);
    gl().BindTextureUnit(kGlSkyUnit, skyTable_.name());
    gl().BindSampler(kGlSkyUnit, skySampler_.name());
  }

  void makeLamps() {
    std::vector<Vec4> texels;
    for (const Lamp& lamp : lights_.lamps) {
      const Light& light = lamp.light();
      texels.push_back({static_cast<float>(light.kind), light.range, 0, 0});
      texels.push_back(with(lamp.intensity(), 0));
      texels.push_back(with(light.position - view_.position, lamp.coneScale()));
      texels.push_back(with(light.direction, lamp.coneOffset()));
    }
    if (texels.empty()) texels.emplace_back();
    GLint most = 0;
    gl().GetIntegerv(GL_MAX_TEXTURE_BUFFER_SIZE, &most);
    if (texels.size() > static_cast<size_t>(most)) {
      throw std::runtime_error("OpenGL: the driver takes at most " + std::to_string(most / 4) + " lamps");
    }
    lampBuffer_ = makeBuffer(texels.data(), texels.size() * sizeof(Vec4));
    lampTexture_ = makeTexture(GL_TEXTURE_BUFFER);
    gl().TextureBuffer(lampTexture_.name(), GL_RGBA32F, lampBuffer_.name());
    gl().BindTextureUnit(kGlLampUnit, lampTexture_.name());
  }

  void placeInstances() {
    for (uint32_t i = 0; i < scene_.instances.size(); ++i) {
      const Instance& instance = scene_.instances[i];
      Mat4 toEye = instance.transform;
      toEye.m[12] -= view_.position.x;
      toEye.m[13] -= view_.position.y;
      toEye.m[14] -= view_.position.z;
      toEye_.push_back(toEye);
      const auto triangles = static_cast<uint32_t>(meshOf(i).indices.size() / 3);
      if (triangles == 0) continue;
      if (atDriver_.materialOf(instance).seeThrough) {
        seeThrough_.push_back({i, false, 0, triangles});
      } else {
        opaque_.push_back({i, false, 0, triangles});
      }
    }
    sortSeeThrough();
  }

  /// From back to front by the middles of triangles.
  void sortSeeThrough() {
    struct Placed {
      float depth;
      uint32_t instance, triangle;
    };
    std::vector<Placed> all;
    uint64_t count = 0;
    for (const Draw& draw : seeThrough_) count += draw.count;
    if (count > kMostSorted) throw std::runtime_error("OpenGL: more than 8 million blended triangles");
    all.reserve(count);
    for (const Draw& draw : seeThrough_) {
      if (request_.stopped()) throw RenderStopped();
      for (uint32_t t = 0; t < draw.count; ++t) {
        const Vec3 middle = corner(draw.instance, 3 * t) + corner(draw.instance, 3 * t + 1) +
                            corner(draw.instance, 3 * t + 2);
        const float depth = view_.orthographic ? dot(middle, view_.forward) : length(middle);
        all.push_back({std::isfinite(depth) ? depth : 0, draw.instance, t});
      }
    }
    uint32_t compared = 0;
    std::stable_sort(all.begin(), all.end(), [&](const Placed& a, const Placed& b) {
      if (++compared % kComparedBetweenStops == 0 && request_.stopped()) throw RenderStopped();
      return a.depth > b.depth;
    });
    seeThrough_.clear();
    for (uint32_t i = 0; i < all.size(); ++i) {
      if (seeThrough_.empty() || seeThrough_.back().instance != all[i].instance) {
        seeThrough_.push_back({all[i].instance, true, i, 0});
      }
      ++seeThrough_.back().count;
      const std::vector<uint32_t>& indices = atDriver_.mesh(scene_.instances[all[i].instance].mesh).indices;
      const auto from = indices.begin() + 3 * static_cast<ptrdiff_t>(all[i].triangle);
      sortedIndices_.insert(sortedIndices_.end(), from, from + 3);
      sortedTriangles_.push_back(all[i].triangle);
    }
    if (!sortedIndices_.empty()) {
      sortedBuffer_ = makeBuffer(sortedIndices_.data(), sortedIndices_.size() * sizeof(uint32_t));
    }
  }

  const Mesh& meshOf(uint32_t instance) const { return scene_.meshes[scene_.instances[instance].mesh]; }

  /// A corner's offset off the camera.
  Vec3 corner(uint32_t instance, uint32_t index) const {
    const Mesh& mesh = meshOf(instance);
    return transformPoint(toEye_[instance], mesh.positions[mesh.indices[index]]);
  }

  static void setState() {
    gl().ClipControl(GL_LOWER_LEFT, GL_ZERO_TO_ONE);
    gl().ClearDepth(0);
    gl().DepthFunc(GL_GREATER);
    gl().BlendFunc(GL_ONE, GL_SRC1_COLOR);
    gl().VertexAttrib4f(static_cast<GLuint>(GlInput::Color), 1, 1, 1, 1);
    gl().VertexAttrib4f(static_cast<GLuint>(GlInput::Tangent), 0, 0, 0, 1);
  }

  // One tile.

  void drawTile(const Target& target, const Tile& tile) {
    toClip_ = projection(view_, depth_, request_, tile);
    tilePixels_ = static_cast<double>(tile.width) * tile.height;
    halfTile_ = {0.5F * static_cast<float>(tile.width), 0.5F * static_cast<float>(tile.height)};
    setFrame(tile);
    target.begin(tile.width, tile.height);
    // The tile before, or a render that was stopped, may have left anything on.
    for (const GLenum capability : {GL_BLEND, GL_DEPTH_TEST, GL_CULL_FACE, GL_SAMPLE_SHADING}) {
      gl().Disable(capability);
    }
    gl().DepthMask(GL_TRUE);
    gl().Clear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    drawSky();
    if (!depth_.isEmpty()) {
      gl().Enable(GL_DEPTH_TEST);
      for (const Draw& draw : opaque_) drawTriangles(draw);
      gl().Enable(GL_BLEND);
      gl().DepthMask(GL_FALSE);
      for (const Draw& draw : seeThrough_) drawTriangles(draw);
    }
    target.read(tile.width, tile.height, pixels_);
    checkGl("drawing");
    develop(tile);
    endBatch();
  }

  void setFrame(const Tile& tile) {
    const auto width = static_cast<float>(request_.width), height = static_cast<float>(request_.height);
    const Vec3 right = view_.right * view_.halfWidth, up = view_.up * view_.halfHeight;
    const Vec3 center = right * (static_cast<float>(2 * tile.x + tile.width) / width - 1) +
                        up * (1 - static_cast<float>(2 * tile.y + tile.height) / height);
    const float parallel = view_.orthographic ? 0.0F : 1.0F;
    GlFrameBlock block{};
    block.toClip = toClip_;
    block.skyCenter = with(view_.forward + center * parallel, 0);
    block.skyAcross = with(right * (parallel * static_cast<float>(tile.width) / width), 0);
    block.skyUp = with(up * (parallel * static_cast<float>(tile.height) / height), 0);
    block.forward = with(view_.forward, 1 - parallel);
    block.lampCount[0] = static_cast<int32_t>(lights_.lamps.size());
    frame_ = makeBuffer(&block, sizeof block);
    gl().BindBufferBase(GL_UNIFORM_BUFFER, kGlFrameBinding, frame_.name());
  }

  void drawSky() {
    if (!emptyArray_) emptyArray_ = makeVertexArray();
    gl().UseProgram(skyProgram_.name());
    gl().BindVertexArray(emptyArray_.name());
    gl().DrawArrays(GL_TRIANGLES, 0, 3);
    addCost(tilePixels_);
  }

  /// What a draw's programs and buffers need to be bound for it.
  void bind(const Draw& draw) {
    if (request_.stopped()) throw RenderStopped();  // a new program takes the driver long to make
    const Instance& instance = scene_.instances[draw.instance];
    const GlMesh& mesh = atDriver_.mesh(instance.mesh);
    const Material& material = *atDriver_.materialOf(instance).material;
    const GLuint program = atDriver_.useSurface(instance);
    place(program, draw.instance);
    gl().VertexArrayElementBuffer(mesh.array.name(), (draw.sorted ? sortedBuffer_ : mesh.ownIndices).name());
    gl().BindVertexArray(mesh.array.name());
    (material.doubleSided ? gl().Disable : gl().Enable)(GL_CULL_FACE);
    // The edge of a mask runs inside triangles, where several samples help only when each is shaded.
    const bool everySample = material.alphaMode == AlphaMode::Mask && request_.antialiasing;
    (everySample ? gl().Enable : gl().Disable)(GL_SAMPLE_SHADING);
    gl().MinSampleShading(1);
  }

  void place(GLuint program, uint32_t index) const {
    const Mat4& toEye = toEye_[index];
    const Mat4 normals = normalTransform(toEye);
    const float normalMatrix[] = {normals.m[0], normals.m[1], normals.m[2], normals.m[4], normals.m[5],
                                  normals.m[6], normals.m[8], normals.m[9], normals.m[10]};
    const bool mirrored = mirrors(toEye);
    const float size = length(Vec3{toEye.m[0], toEye.m[1], toEye.m[2]});
    gl().ProgramUniformMatrix4fv(program, static_cast<GLint>(GlPlace::ToEye), 1, GL_FALSE, toEye.m.data());
    gl().ProgramUniformMatrix3fv(program, static_cast<GLint>(GlPlace::NormalToWorld), 1, GL_FALSE,
                                 normalMatrix);
    gl().ProgramUniform2f(program, static_cast<GLint>(GlPlace::Handed), mirrored ? -1.0F : 1.0F, size);
    gl().FrontFace(mirrored ? GL_CW : GL_CCW);
  }

  /// Draws in as many calls as batches need; leaves out what cannot be seen in the tile.
  void drawTriangles(const Draw& draw) {
    bool bound = false;
    uint32_t first = 0;
    double cost = 0;
    const Mat4 toClip = toClip_ * toEye_[draw.instance];
    const auto flush = [&](uint32_t end) {
      if (cost > 0 && end > first) {
        if (!bound) bind(draw);
        bound = true;
        const size_t offset = 3 * sizeof(uint32_t) * (static_cast<size_t>(draw.first) + first);
        gl().DrawElements(GL_TRIANGLES, static_cast<GLsizei>(3 * (end - first)), GL_UNSIGNED_INT,
                          // An offset, which this API of old takes as an address.
                          // NOLINTNEXTLINE(performance-no-int-to-ptr)
                          reinterpret_cast<const void*>(offset));
        addCost(cost);
      }
      first = end;
      cost = 0;
    };
    for (uint32_t t = 0; t < draw.count; ++t) {
      const uint32_t triangle = draw.sorted ? sortedTriangles_[draw.first + t] : t;
      const double pixels = pixelsOf(toClip, meshOf(draw.instance), triangle);
      if (pixels < 0) {
        flush(t);
        first = t + 1;  // not drawn
        continue;
      }
      if (pixels > 0) cost += kTriangleCost + pixels * pixelCost_;
      if (batch_ + cost > batchCost_) flush(t + 1);
    }
    flush(draw.count);
  }

  /// How many pixels of the tile a triangle covers at most; 0 when it is outside, less when its corners have
  /// no place that numbers can tell.
  double pixelsOf(const Mat4& toClip, const Mesh& mesh, uint32_t triangle) const {
    const uint32_t* index = &mesh.indices[3 * static_cast<size_t>(triangle)];
    Vec2 place[3];
    int behind = 0;
    for (int i = 0; i < 3; ++i) {
      const auto& m = toClip.m;
      const Vec3 p = mesh.positions[index[i]];
      const float x = m[0] * p.x + m[4] * p.y + m[8] * p.z + m[12];
      const float y = m[1] * p.x + m[5] * p.y + m[9] * p.z + m[13];
      const float w = m[3] * p.x + m[7] * p.y + m[11] * p.z + m[15];
      if (!(std::abs(x) < kFarthest && std::abs(y) < kFarthest && std::abs(w) < kFarthest)) return -1;
      if (w <= 0) ++behind;
      place[i] = {(x / w + 1) * halfTile_.x, (y / w + 1) * halfTile_.y};
    }
    if (behind > 0) return behind == 3 ? 0 : tilePixels_;
    const auto [left, right] = std::minmax({place[0].x, place[1].x, place[2].x});
    const auto [low, high] = std::minmax({place[0].y, place[1].y, place[2].y});
    const double width = std::min(right, 2 * halfTile_.x) - std::max(left, 0.0F);
    const double height = std::min(high, 2 * halfTile_.y) - std::max(low, 0.0F);
    if (!(width >= 0 && height >= 0)) return 0;
    const Vec2 ab{place[1].x - place[0].x, place[1].y - place[0].y};
    const Vec2 ac{place[2].x - place[0].x, place[2].y - place[0].y};
    const double area = 0.5 * std::abs(static_cast<double>(ab.x) * ac.y - static_cast<double>(ac.x) * ab.y);
    return std::min(std::max(area, 1e-3), std::max(width, 1.0) * std::max(height, 1.0));
  }

  void addCost(double cost) {
    batch_ += cost;
    if (batch_ > batchCost_) endBatch();
  }

  /// Waits for the driver, so that a wish to stop is not answered by a queue of work.
  void endBatch() {
    gl().Finish();
    batch_ = 0;
    progress_.tell(tile_, tiles_);
    if (request_.stopped()) throw RenderStopped();
  }

  void develop(const Tile& tile) {
    const float* p = pixels_.data();
    for (int y = tile.height - 1; y >= 0; --y) {
      for (int x = 0; x < tile.width; ++x, p += 3) film_.set(tile.x + x, tile.y + y, {p[0], p[1], p[2]});
    }
  }

  const Scene& scene_;
  GlScene& atDriver_;
  const RenderRequest& request_;
  RenderProgress progress_;
  const CameraView view_;
  const std::optional<Bounds> bounds_;
  const SceneLights lights_;
  const DepthRange depth_;
  const double pixelCost_;  // of shading one pixel, in pixels without lamps
  const double batchCost_;
  const int side_;
  Film film_;

  GlProgram skyProgram_;
  GlTexture skyTable_, lampTexture_;
  GlSampler skySampler_;
  GlBuffer lampBuffer_, sortedBuffer_, frame_;
  GlVertexArray emptyArray_;
  std::vector<Mat4> toEye_;  // by instance: to world offsets off the camera
  std::vector<Draw> opaque_, seeThrough_;
  std::vector<uint32_t> sortedIndices_;
  std::vector<uint32_t> sortedTriangles_;  // of their meshes

  int tile_ = 0, tiles_ = 1;
  Mat4 toClip_;
  double tilePixels_ = 0;
  Vec2 halfTile_;
  double batch_ = 0;  // cost since the last wait
  std::vector<float> pixels_;
};

std::mutex factMutex;
std::string& theFact() {
  static std::string fact;
  return fact;
}

/// Needs a current context.
void noteDriver() {
  const std::lock_guard lock(factMutex);
  theFact() = "opengl " + glDriver();
}

}  // namespace

struct OpenGlRenderer::Kept {
  const Scene& scene;
  OpenGlLimits limits;
  std::optional<GlContext> context;
  std::optional<GlScene> atDriver;
};

OpenGlRenderer::OpenGlRenderer(const Scene& scene, OpenGlLimits limits)
    : kept_(new Kept{scene, limits, {}, {}}) {}

OpenGlRenderer::~OpenGlRenderer() {
  if (!kept_->atDriver) return;
  try {
    const GlContext::Current current(*kept_->context);
    kept_->atDriver.reset();
  } catch (const std::runtime_error&) {
    // The context takes with it what it could not give back.
  }
}

std::string openGlFact() {
  const std::lock_guard lock(factMutex);
  return theFact();
}

Image OpenGlRenderer::render(const RenderRequest& request) {
  requireSize(request);
  const DenormalsAsZero mode;  // the driver works on this thread too
  if (!kept_->context) kept_->context.emplace();
  const GlContext::Current current(*kept_->context);
  if (!kept_->atDriver) {
    noteDriver();
    kept_->atDriver.emplace(kept_->scene, request.stopped);
  }
  return Drawing(kept_->scene, *kept_->atDriver, kept_->limits, request).run();
}

}  // namespace host
