#include "host/document/gltf_pose.h"

#include <algorithm>
#include <cmath>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "host/document/gltf_accessors.h"
#include "host/document/gltf_bend.h"
#include "host/document/gltf_limits.h"
#include "host/document/gltf_source.h"
#include "host/document/scene.h"

namespace host {
namespace {

enum class Interpolation { Step, Linear, CubicSpline };

Interpolation interpolationOf(const tinygltf::AnimationSampler& sampler) {
  if (sampler.interpolation.empty() || sampler.interpolation == "LINEAR") return Interpolation::Linear;
  if (sampler.interpolation == "STEP") return Interpolation::Step;
  if (sampler.interpolation == "CUBICSPLINE") return Interpolation::CubicSpline;
  throw SceneError("the unknown interpolation " + excerpt(sampler.interpolation));
}

/// The two keys around a moment, the same one twice outside of all keys.
struct Span {
  size_t from = 0, to = 0;
  double part = 0;     // 0 at `from` to 1 at `to`
  double seconds = 0;  // between the two
};

Span spanAt(const std::vector<float>& times, double seconds) {
  const auto after = std::upper_bound(times.begin(), times.end(), seconds);
  const auto to = static_cast<size_t>(after - times.begin());
  if (to == 0) return {};
  if (to == times.size()) return {to - 1, to - 1};
  const double length = double{times[to]} - double{times[to - 1]};
  return {to - 1, to, (seconds - double{times[to - 1]}) / length, length};
}

/// The keys of one channel: `width` numbers each; with cubic splines the tangent into the key, the key and
/// the tangent out of it.
struct Keys {
  Interpolation interpolation = Interpolation::Linear;
  std::vector<float> times;
  std::vector<float> numbers;
  size_t width = 0;

  const float* key(size_t index) const {
    return &numbers[interpolation == Interpolation::CubicSpline ? (index * 3 + 1) * width : index * width];
  }
  const float* tangentInto(size_t index) const { return key(index) - width; }
  const float* tangentOutOf(size_t index) const { return key(index) + width; }
};

/// Cubic Hermite spline, its tangents for one second.
double hermite(const Span& span, double from, double outOf, double into, double to) {
  const double t = span.part, t2 = t * t, t3 = t2 * t;
  return (2 * t3 - 3 * t2 + 1) * from + span.seconds * (t3 - 2 * t2 + t) * outOf + (3 * t2 - 2 * t3) * to +
         span.seconds * (t3 - t2) * into;
}

std::vector<double> eachNumber(const Keys& keys, const Span& span) {
  std::vector<double> values(keys.width);
  for (size_t i = 0; i < keys.width; ++i) {
    const double from = keys.key(span.from)[i], to = keys.key(span.to)[i];
    if (span.from == span.to || keys.interpolation == Interpolation::Step) {
      values[i] = from;
    } else if (keys.interpolation == Interpolation::Linear) {
      values[i] = from + (to - from) * span.part;
    } else {
      values[i] = hermite(span, from, keys.tangentOutOf(span.from)[i], keys.tangentInto(span.to)[i], to);
    }
  }
  return values;
}

/// Along the great circle between two unit quaternions, the shorter way round.
std::vector<double> slerp(const float* from, const float* to, double part) {
  double cosine = 0;
  for (int i = 0; i < 4; ++i) cosine += double{from[i]} * double{to[i]};
  const double sign = cosine < 0 ? -1 : 1;
  const double angle = std::acos(std::min(std::abs(cosine), 1.0));
  const bool close = angle < 1e-4;  // where the sines say nothing any more
  const double ofFrom = close ? 1 - part : std::sin((1 - part) * angle) / std::sin(angle);
  const double ofTo = sign * (close ? part : std::sin(part * angle) / std::sin(angle));
  std::vector<double> values(4);
  for (size_t i = 0; i < 4; ++i) values[i] = ofFrom * double{from[i]} + ofTo * double{to[i]};
  return values;
}

std::vector<double> valueAt(const Keys& keys, double seconds, bool rotation) {
  const Span span = spanAt(keys.times, seconds);
  const bool turns = rotation && keys.interpolation == Interpolation::Linear && span.from != span.to;
  return turns ? slerp(keys.key(span.from), keys.key(span.to), span.part) : eachNumber(keys, span);
}

size_t targetsOf(const tinygltf::Model& model, const tinygltf::Node& node) {
  return node.mesh < 0 ? 0 : morphTargets(model.meshes[static_cast<size_t>(node.mesh)]);
}

class Poser {
 public:
  Poser(tinygltf::Model& model, double seconds, const SceneOptions& options)
      : model_(model), seconds_(seconds), options_(options) {}

  void play(const tinygltf::Animation& animation) {
    for (const tinygltf::AnimationChannel& channel : animation.channels) {
      if (channel.sampler < 0 || static_cast<size_t>(channel.sampler) >= animation.samplers.size()) {
        throw SceneError("a channel has no sampler " + std::to_string(channel.sampler));
      }
      if (options_.stopped()) throw SceneError("stopped");
      move(channel, animation.samplers[static_cast<size_t>(channel.sampler)]);
    }
  }

  int leftOut() const { return leftOut_; }

 private:
  void move(const tinygltf::AnimationChannel& channel, const tinygltf::AnimationSampler& sampler) {
    tinygltf::Node& node = model_.nodes[static_cast<size_t>(channel.target_node)];
    std::vector<double>* const moved = property(node, channel.target_path);
    const bool weights = moved == &node.weights;
    const size_t width = weights ? targetsOf(model_, node) : moved == &node.rotation ? 4 : 3;
    // A node has either a matrix or what animations move.
    if (moved == nullptr || width == 0 || (!weights && !node.matrix.empty())) {
      ++leftOut_;
    } else if (moved_.insert(moved).second) {
      *moved = valueAt(keys(sampler, width, weights), seconds_, moved == &node.rotation);
    }
  }

  static std::vector<double>* property(tinygltf::Node& node, const std::string& path) {
    if (path == "translation") return &node.translation;
    if (path == "rotation") return &node.rotation;
    if (path == "scale") return &node.scale;
    return path == "weights" ? &node.weights : nullptr;
  }

  Keys keys(const tinygltf::AnimationSampler& sampler, size_t width, bool weights) {
    const tinygltf::Accessor& input = model_.accessors[static_cast<size_t>(sampler.input)];
    const tinygltf::Accessor& output = model_.accessors[static_cast<size_t>(sampler.output)];
    Keys keys;
    keys.interpolation = interpolationOf(sampler);
    keys.width = width;
    keys.times = numbers(input, 1);
    keys.numbers = numbers(output, weights ? 1 : width);
    checkTimes(keys.times);
    const size_t perKey = keys.interpolation == Interpolation::CubicSpline ? 3 * width : width;
    if (keys.numbers.size() / perKey != keys.times.size() || keys.numbers.size() % perKey != 0) {
      throw SceneError("a sampler has " + std::to_string(keys.times.size()) + " keys and " +
                       std::to_string(keys.numbers.size()) + " numbers, " + std::to_string(perKey) +
                       " are needed for each");
    }
    return keys;
  }

  std::vector<float> numbers(const tinygltf::Accessor& accessor, size_t components) {
    if (componentCount(accessor) != components) {
      throw SceneError("a sampler's numbers have the wrong number of components");
    }
    const uint64_t count = accessor.count * components;
    numbersRead_ += count;
    if (numbersRead_ > kMaxAnimationNumbers)
      throw SceneError("the animations have more than 64 million numbers");
    std::vector<float> values(count);
    readFloats(model_, accessor, values.data());
    const bool finite = std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); });
    if (!finite) throw SceneError("a sampler's number is not finite");
    return values;
  }

  static void checkTimes(const std::vector<float>& times) {
    if (times.empty()) throw SceneError("a sampler has no key");
    if (!std::is_sorted(times.begin(), times.end())) {
      throw SceneError("the times of a sampler's keys go back");
    }
  }

  tinygltf::Model& model_;
  const double seconds_;
  const SceneOptions& options_;
  std::set<const void*> moved_;  // properties of nodes
  uint64_t numbersRead_ = 0;
  int leftOut_ = 0;
};

}  // namespace

int poseNodes(tinygltf::Model& model, double seconds, const SceneOptions& options) {
  Poser poser(model, seconds, options);
  for (size_t i = 0; i < model.animations.size(); ++i) {
    try {
      poser.play(model.animations[i]);
    } catch (const SceneError& error) {
      throw SceneError("animations[" + std::to_string(i) + "]: " + error.what());
    }
  }
  return poser.leftOut();
}

}  // namespace host
