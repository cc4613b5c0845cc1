#include "host/document/gltf_accessors.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>

#include "host/document/scene.h"

namespace host {
namespace {

size_t componentSize(int componentType) {
  switch (componentType) {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
      return 1;
    case TINYGLTF_COMPONENT_TYPE_SHORT:
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return 2;
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
    case TINYGLTF_COMPONENT_TYPE_FLOAT:
      return 4;
    default:
      return 0;
  }
}

bool isMatrix(const tinygltf::Accessor& accessor) {
  return accessor.type == TINYGLTF_TYPE_MAT2 || accessor.type == TINYGLTF_TYPE_MAT3 ||
         accessor.type == TINYGLTF_TYPE_MAT4;
}

/// Bytes of one element. The columns of small matrices begin at multiples of four bytes.
uint64_t elementSize(const tinygltf::Accessor& accessor) {
  const uint64_t component = componentSize(accessor.componentType);
  const uint64_t all = component * static_cast<uint64_t>(tinygltf::GetNumComponentsInType(accessor.type));
  if (!isMatrix(accessor)) return all;
  const uint64_t columns = accessor.type == TINYGLTF_TYPE_MAT2   ? 2
                           : accessor.type == TINYGLTF_TYPE_MAT3 ? 3
                                                                 : 4;
  return columns * ((all / columns + 3) / 4 * 4);
}

/// `count` elements that lie in a buffer view, or zeros.
struct Elements {
  const unsigned char* data = nullptr;  // null: all zero
  uint64_t stride = 0;
  uint64_t count = 0;
  int componentType = 0;
  bool normalized = false;
  size_t components = 1;
};

const tinygltf::BufferView& viewOf(const tinygltf::Model& model, int index) {
  return model.bufferViews[static_cast<size_t>(index)];
}

const unsigned char* bytesAt(const tinygltf::Model& model, int view, uint64_t offset) {
  const tinygltf::BufferView& range = viewOf(model, view);
  return model.buffers[static_cast<size_t>(range.buffer)].data.data() + range.byteOffset + offset;
}

Elements denseElements(const tinygltf::Model& model, const tinygltf::Accessor& accessor) {
  Elements elements;
  elements.count = accessor.count;
  elements.componentType = accessor.componentType;
  elements.normalized = accessor.normalized;
  elements.components = componentCount(accessor);
  if (accessor.bufferView < 0) return elements;
  const uint64_t stride = viewOf(model, accessor.bufferView).byteStride;
  elements.stride = stride != 0 ? stride : elementSize(accessor);
  elements.data = bytesAt(model, accessor.bufferView, accessor.byteOffset);
  return elements;
}

Elements sparseIndices(const tinygltf::Model& model, const tinygltf::Accessor& accessor) {
  const auto& indices = accessor.sparse.indices;
  Elements elements;
  elements.count = static_cast<uint64_t>(accessor.sparse.count);
  elements.componentType = indices.componentType;
  elements.stride = componentSize(indices.componentType);
  elements.data = bytesAt(model, indices.bufferView, static_cast<uint64_t>(indices.byteOffset));
  return elements;
}

Elements sparseValues(const tinygltf::Model& model, const tinygltf::Accessor& accessor) {
  Elements elements = denseElements(model, accessor);
  elements.count = static_cast<uint64_t>(accessor.sparse.count);
  elements.stride = elementSize(accessor);
  elements.data = bytesAt(model, accessor.sparse.values.bufferView,
                          static_cast<uint64_t>(accessor.sparse.values.byteOffset));
  return elements;
}

template <typename Stored, typename Out, typename Convert>
void convertAll(const Elements& elements, Out* out, Convert convert) {
  const unsigned char* element = elements.data;
  for (uint64_t i = 0; i < elements.count; ++i, element += elements.stride) {
    for (size_t c = 0; c < elements.components; ++c) {
      Stored value;
      std::memcpy(&value, element + c * sizeof(Stored), sizeof(Stored));
      *out++ = convert(value);
    }
  }
}

template <typename Stored>
void convertIntegers(const Elements& elements, float* out) {
  if (!elements.normalized) {
    convertAll<Stored>(elements, out, [](Stored value) { return static_cast<float>(value); });
    return;
  }
  constexpr float kScale = 1.0F / static_cast<float>(std::numeric_limits<Stored>::max());
  convertAll<Stored>(elements, out,
                     [](Stored value) { return std::max(static_cast<float>(value) * kScale, -1.0F); });
}

void copyFloats(const Elements& elements, float* out) {
  const uint64_t packed = elements.components * sizeof(float);
  if (elements.count == 0) return;
  if (elements.stride == packed) {
    std::memcpy(out, elements.data, elements.count * packed);
  } else {
    convertAll<float>(elements, out, [](float value) { return value; });
  }
}

void convert(const Elements& elements, float* out) {
  if (elements.data == nullptr) {
    std::fill_n(out, elements.count * elements.components, 0.0F);
    return;
  }
  switch (elements.componentType) {
    case TINYGLTF_COMPONENT_TYPE_BYTE:
      return convertIntegers<int8_t>(elements, out);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
      return convertIntegers<uint8_t>(elements, out);
    case TINYGLTF_COMPONENT_TYPE_SHORT:
      return convertIntegers<int16_t>(elements, out);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return convertIntegers<uint16_t>(elements, out);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
      return convertIntegers<uint32_t>(elements, out);
    default:
      return copyFloats(elements, out);
  }
}

void convert(const Elements& elements, uint32_t* out) {
  const auto widen = [](auto value) { return static_cast<uint32_t>(value); };
  if (elements.data == nullptr) {
    std::fill_n(out, elements.count, 0U);
    return;
  }
  switch (elements.componentType) {
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_BYTE:
      return convertAll<uint8_t>(elements, out, widen);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_SHORT:
      return convertAll<uint16_t>(elements, out, widen);
    case TINYGLTF_COMPONENT_TYPE_UNSIGNED_INT:
      return convertAll<uint32_t>(elements, out, widen);
    default:
      throw SceneError("indices are not unsigned integers");
  }
}

/// Reads the dense elements, then writes the sparse ones over them.
template <typename Out>
void readElements(const tinygltf::Model& model, const tinygltf::Accessor& accessor, Out* out) {
  convert(denseElements(model, accessor), out);
  if (!accessor.sparse.isSparse || accessor.sparse.count == 0) return;
  const size_t components = componentCount(accessor);
  const auto count = static_cast<size_t>(accessor.sparse.count);
  std::vector<uint32_t> places(count);
  std::vector<Out> values(count * components);
  convert(sparseIndices(model, accessor), places.data());
  convert(sparseValues(model, accessor), values.data());
  for (size_t i = 0; i < count; ++i) {
    if (places[i] >= accessor.count)
      throw SceneError("a sparse index is out of range: " + std::to_string(places[i]));
    std::copy_n(&values[i * components], components, out + size_t{places[i]} * components);
  }
}

void checkAligned(uint64_t offset, uint64_t size, const std::string& place) {
  if (offset % size != 0)
    throw SceneError(place + " is not aligned to its components of " + std::to_string(size) + " bytes");
}

void checkInside(const tinygltf::Model& model, int view, uint64_t end, const std::string& place) {
  const uint64_t size = viewOf(model, view).byteLength;
  if (end <= size) return;
  throw SceneError(place + " ends at byte " + std::to_string(end) + " of a buffer view of " +
                   std::to_string(size));
}

void checkDense(const tinygltf::Model& model, const tinygltf::Accessor& accessor, const std::string& place) {
  if (accessor.bufferView < 0) return;
  const tinygltf::BufferView& view = viewOf(model, accessor.bufferView);
  const uint64_t component = componentSize(accessor.componentType);
  const uint64_t element = elementSize(accessor);
  const uint64_t stride = view.byteStride != 0 ? view.byteStride : element;
  checkAligned(view.byteOffset + accessor.byteOffset, component, place);
  checkAligned(stride, component, place);
  if (stride < element) throw SceneError(place + " has elements larger than the stride of its buffer view");
  const uint64_t length = accessor.count == 0 ? 0 : stride * (accessor.count - 1) + element;
  checkInside(model, accessor.bufferView, accessor.byteOffset + length, place);
}

void checkSparse(const tinygltf::Model& model, const tinygltf::Accessor& accessor, const std::string& place) {
  const auto& sparse = accessor.sparse;
  const auto count = static_cast<uint64_t>(sparse.count);
  if (count > accessor.count) throw SceneError(place + " has more sparse elements than elements");
  const int type = sparse.indices.componentType;
  const uint64_t indexSize = componentSize(type);
  if (indexSize == 0 || type == TINYGLTF_COMPONENT_TYPE_FLOAT || type == TINYGLTF_COMPONENT_TYPE_BYTE ||
      type == TINYGLTF_COMPONENT_TYPE_SHORT) {
    throw SceneError(place + " has sparse indices that are not unsigned integers");
  }
  const auto indices = static_cast<uint64_t>(sparse.indices.byteOffset);
  const auto values = static_cast<uint64_t>(sparse.values.byteOffset);
  checkAligned(viewOf(model, sparse.indices.bufferView).byteOffset + indices, indexSize, place);
  checkInside(model, sparse.indices.bufferView, indices + count * indexSize, place);
  checkInside(model, sparse.values.bufferView, values + count * elementSize(accessor), place);
}

}  // namespace

size_t componentCount(const tinygltf::Accessor& accessor) {
  return static_cast<size_t>(tinygltf::GetNumComponentsInType(static_cast<uint32_t>(accessor.type)));
}

void checkAccessors(const tinygltf::Model& model) {
  for (size_t i = 0; i < model.accessors.size(); ++i) {
    const tinygltf::Accessor& accessor = model.accessors[i];
    const std::string place = "accessors[" + std::to_string(i) + "]";
    if (componentSize(accessor.componentType) == 0) {
      throw SceneError(place + " has the unknown component type " + std::to_string(accessor.componentType));
    }
    checkDense(model, accessor, place);
    if (accessor.sparse.isSparse) checkSparse(model, accessor, place);
  }
}

const tinygltf::Accessor* findAttribute(const tinygltf::Model& model,
                                        const std::map<std::string, int>& attributes, const std::string& name,
                                        size_t vertices) {
  const auto found = attributes.find(name);
  if (found == attributes.end()) return nullptr;
  const tinygltf::Accessor& accessor = model.accessors[static_cast<size_t>(found->second)];
  if (accessor.count == vertices) return &accessor;
  throw SceneError(name + " has " + std::to_string(accessor.count) + " elements for " +
                   std::to_string(vertices) + " vertices");
}

void expectType(const tinygltf::Accessor& accessor, int type, const std::string& name) {
  if (accessor.type != type) throw SceneError(name + " has the wrong number of components");
}

void readFloats(const tinygltf::Model& model, const tinygltf::Accessor& accessor, float* out) {
  readElements(model, accessor, out);
}

std::vector<uint32_t> readUnsigned(const tinygltf::Model& model, const tinygltf::Accessor& accessor) {
  if (accessor.type != TINYGLTF_TYPE_SCALAR) throw SceneError("indices are not scalars");
  std::vector<uint32_t> values(accessor.count);
  readElements(model, accessor, values.data());
  return values;
}

}  // namespace host
