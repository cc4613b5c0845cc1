#pragma once
// Settings containers: values under 32-bit identifiers.

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <variant>

namespace host {

/// The bytes of a file name, told apart from other text.
struct PathValue {
  std::string bytes;
  bool operator==(const PathValue&) const = default;
};

class Container;

/// A container inside another; copied with it.
class NestedContainer {
 public:
  explicit NestedContainer(const Container& container);
  NestedContainer(const NestedContainer& other);
  NestedContainer(NestedContainer&&) noexcept = default;
  NestedContainer& operator=(NestedContainer other) noexcept {
    std::swap(container_, other.container_);
    return *this;
  }
  ~NestedContainer();
  Container& get() const { return *container_; }

 private:
  std::unique_ptr<Container> container_;
};

using Value = std::variant<bool, int32_t, double, std::u16string, PathValue, NestedContainer>;

/// Values in ascending order of their identifiers. One thread at a time.
class Container {
 public:
  static constexpr int32_t kNoId = -1;

  explicit Container(int32_t id = kNoId) : id_(id) {}
  int32_t id() const { return id_; }

  /// Truth values, integers and reals turn into each other; reals are cut to the integers' range.
  bool getBool(int32_t id, bool fallback = false) const;
  int32_t getInt32(int32_t id, int32_t fallback = 0) const;
  double getReal(int32_t id, double fallback = 0) const;
  /// The value of exactly that type, or null; lent until the value changes.
  template <class T>
  const T* find(int32_t id) const {
    const auto found = values_.find(id);
    return found != values_.end() ? std::get_if<T>(&found->second) : nullptr;
  }

  void set(int32_t id, Value value) { values_.insert_or_assign(id, std::move(value)); }
  const std::map<int32_t, Value>& values() const { return values_; }

 private:
  int32_t id_;
  std::map<int32_t, Value> values_;
};

}  // namespace host
