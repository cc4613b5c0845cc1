#include "host/services/values.h"

#include <cmath>
#include <limits>
#include <optional>

namespace host {
namespace {

std::optional<double> numberIn(const Container& container, int32_t id) {
  if (const auto* truth = container.find<bool>(id)) return *truth ? 1 : 0;
  if (const auto* integer = container.find<int32_t>(id)) return *integer;
  if (const auto* real = container.find<double>(id)) return *real;
  return std::nullopt;
}

int32_t cutToInt32(double value) {
  if (std::isnan(value)) return 0;
  if (value <= std::numeric_limits<int32_t>::min()) return std::numeric_limits<int32_t>::min();
  if (value >= std::numeric_limits<int32_t>::max()) return std::numeric_limits<int32_t>::max();
  return static_cast<int32_t>(value);
}

}  // namespace

NestedContainer::NestedContainer(const Container& container)
    : container_(std::make_unique<Container>(container)) {}
NestedContainer::NestedContainer(const NestedContainer& other) : NestedContainer(*other.container_) {}
NestedContainer::~NestedContainer() = default;

bool Container::getBool(int32_t id, bool fallback) const {
  return numberIn(*this, id).value_or(fallback ? 1 : 0) != 0;
}

int32_t Container::getInt32(int32_t id, int32_t fallback) const {
  return cutToInt32(numberIn(*this, id).value_or(fallback));
}

double Container::getReal(int32_t id, double fallback) const {
  return numberIn(*this, id).value_or(fallback);
}

}  // namespace host
