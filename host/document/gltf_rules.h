#pragma once
// What the loader demands of a glTF file's JSON, as a table. The rule for an array stands before the rules
// that refer to its elements, so that a message names the cause.

#include <cstdint>
#include <string_view>

#include "host/document/gltf_limits.h"

namespace host {

enum class RuleKind {
  Boolean,
  String,
  Strings,  // an array of them
  Object,
  Objects,    // an array of at most `limit`
  Integer,    // 0 to `limit`
  Number,     // fits a float
  Numbers,    // an array of exactly `limit`, of any number for 0
  Index,      // of an element of the array at `target`
  Indices,    // an array of them
  IndexMap,   // an object of them
  IndexMaps,  // an array of such objects, of at most `limit`
};

struct SchemaRule {
  std::string_view path;    // objects that the rule is for; "[]" goes through the elements of an array
  std::string_view member;  // of each of these objects
  RuleKind kind;
  bool required = false;
  uint64_t limit = 0;
  std::string_view target = {};
};

inline constexpr bool kRequired = true;
inline constexpr bool kOptional = false;
inline constexpr uint64_t kMaxCode = 1 << 20;  // of enumerations

inline constexpr std::string_view kLights = "extensions.KHR_lights_punctual.lights";

inline constexpr SchemaRule kSchemaRules[] = {
    {"", "asset", RuleKind::Object, kRequired},
    {"asset", "version", RuleKind::String, kRequired},
    {"asset", "minVersion", RuleKind::String},
    {"", "extensionsUsed", RuleKind::Strings},
    {"", "extensionsRequired", RuleKind::Strings},
    {"", "extensions", RuleKind::Object},

    {"", "buffers", RuleKind::Objects, kOptional, kMaxBuffers},
    {"buffers[]", "byteLength", RuleKind::Integer, kRequired, kMaxFileBytes},
    {"buffers[]", "uri", RuleKind::String},

    {"", "bufferViews", RuleKind::Objects, kOptional, kMaxAccessors},
    {"bufferViews[]", "buffer", RuleKind::Index, kRequired, 0, "buffers"},
    {"bufferViews[]", "byteOffset", RuleKind::Integer, kOptional, kMaxFileBytes},
    {"bufferViews[]", "byteLength", RuleKind::Integer, kRequired, kMaxFileBytes},
    {"bufferViews[]", "byteStride", RuleKind::Integer, kOptional, 252},

    {"", "accessors", RuleKind::Objects, kOptional, kMaxAccessors},
    {"accessors[]", "bufferView", RuleKind::Index, kOptional, 0, "bufferViews"},
    {"accessors[]", "byteOffset", RuleKind::Integer, kOptional, kMaxFileBytes},
    {"accessors[]", "componentType", RuleKind::Integer, kRequired, kMaxCode},
    {"accessors[]", "count", RuleKind::Integer, kRequired, kMaxAccessorElements},
    {"accessors[]", "type", RuleKind::String, kRequired},
    {"accessors[]", "normalized", RuleKind::Boolean},
    {"accessors[]", "sparse", RuleKind::Object},
    {"accessors[].sparse", "count", RuleKind::Integer, kRequired, kMaxAccessorElements},
    {"accessors[].sparse", "indices", RuleKind::Object, kRequired},
    {"accessors[].sparse", "values", RuleKind::Object, kRequired},
    {"accessors[].sparse.indices", "bufferView", RuleKind::Index, kRequired, 0, "bufferViews"},
    {"accessors[].sparse.indices", "byteOffset", RuleKind::Integer, kOptional, INT32_MAX},
    {"accessors[].sparse.indices", "componentType", RuleKind::Integer, kRequired, kMaxCode},
    {"accessors[].sparse.values", "bufferView", RuleKind::Index, kRequired, 0, "bufferViews"},
    {"accessors[].sparse.values", "byteOffset", RuleKind::Integer, kOptional, INT32_MAX},

    {"", "meshes", RuleKind::Objects, kOptional, kMaxMeshes},
    {"meshes[]", "primitives", RuleKind::Objects, kRequired, kMaxPrimitives},
    {"meshes[].primitives[]", "attributes", RuleKind::IndexMap, kRequired, 0, "accessors"},
    {"meshes[].primitives[]", "indices", RuleKind::Index, kOptional, 0, "accessors"},
    {"meshes[].primitives[]", "material", RuleKind::Index, kOptional, 0, "materials"},
    {"meshes[].primitives[]", "mode", RuleKind::Integer, kOptional, 6},
    {"meshes[].primitives[]", "targets", RuleKind::IndexMaps, kOptional, kMaxPrimitives, "accessors"},
    {"meshes[]", "weights", RuleKind::Numbers},

    {"extensions.KHR_lights_punctual", "lights", RuleKind::Objects, kRequired, kMaxMaterials},
    {"extensions.KHR_lights_punctual.lights[]", "type", RuleKind::String, kRequired},
    {"extensions.KHR_lights_punctual.lights[]", "color", RuleKind::Numbers, kOptional, 3},
    {"extensions.KHR_lights_punctual.lights[]", "intensity", RuleKind::Number},
    {"extensions.KHR_lights_punctual.lights[]", "range", RuleKind::Number},
    {"extensions.KHR_lights_punctual.lights[].spot", "innerConeAngle", RuleKind::Number},
    {"extensions.KHR_lights_punctual.lights[].spot", "outerConeAngle", RuleKind::Number},

    {"", "nodes", RuleKind::Objects, kOptional, kMaxNodes},
    {"nodes[]", "camera", RuleKind::Index, kOptional, 0, "cameras"},
    {"nodes[]", "children", RuleKind::Indices, kOptional, 0, "nodes"},
    {"nodes[]", "mesh", RuleKind::Index, kOptional, 0, "meshes"},
    {"nodes[]", "skin", RuleKind::Index, kOptional, 0, "skins"},
    {"nodes[]", "matrix", RuleKind::Numbers, kOptional, 16},
    {"nodes[]", "translation", RuleKind::Numbers, kOptional, 3},
    {"nodes[]", "rotation", RuleKind::Numbers, kOptional, 4},
    {"nodes[]", "scale", RuleKind::Numbers, kOptional, 3},
    {"nodes[]", "weights", RuleKind::Numbers},
    {"nodes[].extensions.KHR_node_visibility", "visible", RuleKind::Boolean},
    {"nodes[].extensions.KHR_lights_punctual", "light", RuleKind::Index, kRequired, 0, kLights},

    {"", "scenes", RuleKind::Objects, kOptional, kMaxNodes},
    {"scenes[]", "nodes", RuleKind::Indices, kOptional, 0, "nodes"},
    {"", "scene", RuleKind::Index, kOptional, 0, "scenes"},

    {"", "materials", RuleKind::Objects, kOptional, kMaxMaterials},
    {"materials[]", "pbrMetallicRoughness", RuleKind::Object},
    {"materials[].pbrMetallicRoughness", "baseColorFactor", RuleKind::Numbers, kOptional, 4},
    {"materials[].pbrMetallicRoughness", "metallicFactor", RuleKind::Number},
    {"materials[].pbrMetallicRoughness", "roughnessFactor", RuleKind::Number},
    {"materials[]", "emissiveFactor", RuleKind::Numbers, kOptional, 3},
    {"materials[]", "alphaMode", RuleKind::String},
    {"materials[]", "alphaCutoff", RuleKind::Number},
    {"materials[]", "doubleSided", RuleKind::Boolean},
    {"materials[].normalTexture", "scale", RuleKind::Number},
    {"materials[].occlusionTexture", "strength", RuleKind::Number},
    {"materials[].extensions.KHR_materials_emissive_strength", "emissiveStrength", RuleKind::Number},
    {"materials[].extensions.KHR_materials_ior", "ior", RuleKind::Number},
    {"materials[].extensions.KHR_materials_specular", "specularFactor", RuleKind::Number},
    {"materials[].extensions.KHR_materials_specular", "specularColorFactor", RuleKind::Numbers, kOptional, 3},
    {"materials[].extensions.KHR_materials_transmission", "transmissionFactor", RuleKind::Number},
    {"materials[].extensions.KHR_materials_volume", "thicknessFactor", RuleKind::Number},
    {"materials[].extensions.KHR_materials_volume", "attenuationDistance", RuleKind::Number},
    {"materials[].extensions.KHR_materials_volume", "attenuationColor", RuleKind::Numbers, kOptional, 3},
    {"materials[].extensions.KHR_materials_clearcoat", "clearcoatFactor", RuleKind::Number},
    {"materials[].extensions.KHR_materials_clearcoat", "clearcoatRoughnessFactor", RuleKind::Number},
    {"materials[].extensions.KHR_materials_clearcoat.clearcoatNormalTexture", "scale", RuleKind::Number},
    {"materials[].extensions.KHR_materials_sheen", "sheenColorFactor", RuleKind::Numbers, kOptional, 3},
    {"materials[].extensions.KHR_materials_sheen", "sheenRoughnessFactor", RuleKind::Number},
    {"materials[].extensions.KHR_materials_anisotropy", "anisotropyStrength", RuleKind::Number},
    {"materials[].extensions.KHR_materials_anisotropy", "anisotropyRotation", RuleKind::Number},

    {"", "textures", RuleKind::Objects, kOptional, kMaxMaterials},
    {"textures[]", "sampler", RuleKind::Index, kOptional, 0, "samplers"},
    {"textures[]", "source", RuleKind::Index, kOptional, 0, "images"},
    {"", "samplers", RuleKind::Objects, kOptional, kMaxMaterials},
    {"samplers[]", "magFilter", RuleKind::Integer, kOptional, kMaxCode},
    {"samplers[]", "wrapS", RuleKind::Integer, kOptional, kMaxCode},
    {"samplers[]", "wrapT", RuleKind::Integer, kOptional, kMaxCode},
    {"", "images", RuleKind::Objects, kOptional, kMaxMaterials},
    {"images[]", "uri", RuleKind::String},
    {"images[]", "bufferView", RuleKind::Index, kOptional, 0, "bufferViews"},

    {"", "cameras", RuleKind::Objects, kOptional, kMaxNodes},
    {"cameras[]", "type", RuleKind::String, kRequired},
    {"cameras[].perspective", "yfov", RuleKind::Number, kRequired},
    {"cameras[].perspective", "znear", RuleKind::Number, kRequired},
    {"cameras[].perspective", "zfar", RuleKind::Number},
    {"cameras[].perspective", "aspectRatio", RuleKind::Number},
    {"cameras[].orthographic", "xmag", RuleKind::Number, kRequired},
    {"cameras[].orthographic", "ymag", RuleKind::Number, kRequired},
    {"cameras[].orthographic", "znear", RuleKind::Number, kRequired},
    {"cameras[].orthographic", "zfar", RuleKind::Number, kRequired},

    {"", "animations", RuleKind::Objects, kOptional, kMaxNodes},
    {"animations[]", "samplers", RuleKind::Objects, kRequired, kMaxNodes},
    {"animations[].samplers[]", "input", RuleKind::Index, kRequired, 0, "accessors"},
    {"animations[].samplers[]", "output", RuleKind::Index, kRequired, 0, "accessors"},
    {"animations[].samplers[]", "interpolation", RuleKind::String},
    {"animations[]", "channels", RuleKind::Objects, kRequired, kMaxNodes},
    {"animations[].channels[]", "sampler", RuleKind::Integer, kRequired, kMaxNodes},
    {"animations[].channels[]", "target", RuleKind::Object, kRequired},
    {"animations[].channels[].target", "node", RuleKind::Index, kOptional, 0, "nodes"},
    {"animations[].channels[].target", "path", RuleKind::String, kRequired},

    {"", "skins", RuleKind::Objects, kOptional, kMaxNodes},
    {"skins[]", "joints", RuleKind::Indices, kRequired, 0, "nodes"},
    {"skins[]", "inverseBindMatrices", RuleKind::Index, kOptional, 0, "accessors"},
};

/// The uses of a texture that are read, each with the rules of kTextureRules.
inline constexpr std::string_view kTextureUses[] = {
    "materials[].pbrMetallicRoughness.baseColorTexture",
    "materials[].pbrMetallicRoughness.metallicRoughnessTexture",
    "materials[].emissiveTexture",
    "materials[].normalTexture",
    "materials[].occlusionTexture",
    "materials[].extensions.KHR_materials_specular.specularTexture",
    "materials[].extensions.KHR_materials_specular.specularColorTexture",
    "materials[].extensions.KHR_materials_transmission.transmissionTexture",
    "materials[].extensions.KHR_materials_volume.thicknessTexture",
    "materials[].extensions.KHR_materials_clearcoat.clearcoatTexture",
    "materials[].extensions.KHR_materials_clearcoat.clearcoatRoughnessTexture",
    "materials[].extensions.KHR_materials_clearcoat.clearcoatNormalTexture",
    "materials[].extensions.KHR_materials_sheen.sheenColorTexture",
    "materials[].extensions.KHR_materials_sheen.sheenRoughnessTexture",
    "materials[].extensions.KHR_materials_anisotropy.anisotropyTexture",
};

inline constexpr std::string_view kTransform = ".extensions.KHR_texture_transform";

inline constexpr SchemaRule kTextureRules[] = {
    {"", "index", RuleKind::Index, kRequired, 0, "textures"},
    {"", "texCoord", RuleKind::Integer, kOptional, 1000},
    {kTransform, "offset", RuleKind::Numbers, kOptional, 2},
    {kTransform, "scale", RuleKind::Numbers, kOptional, 2},
    {kTransform, "rotation", RuleKind::Number},
    {kTransform, "texCoord", RuleKind::Integer, kOptional, 1000},
};

}  // namespace host
