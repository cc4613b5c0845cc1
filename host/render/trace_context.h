#pragma once
// What the tests inside a tree find behind the ray tracing library's own context. For those that call the
// library themselves: trace.cpp, and what measures it.

#include <embree3/rtcore.h>

#include "host/document/geometry.h"

namespace host {

/// Goes with every shadow ray into a PreparedScene's tree.
struct ShadowContext {
  RTCIntersectContext base;  ///< first: the library hands back a pointer to it
  bool throughGlass = false;
  Vec3 passing{1, 1, 1};  ///< what the surfaces so far let through
};

}  // namespace host
