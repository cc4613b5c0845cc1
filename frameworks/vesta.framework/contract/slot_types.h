// What C++ reads out of a slot list: the ownership words as types, and the failure that CANNOT_FAIL stands for.
#pragma once

#include <type_traits>

namespace contract {

template <class T>
struct Given {};
template <class T>
struct Lent {};
template <class T>
struct Taken {};
template <class T>
struct MaybeNull {};

/// The plain C type behind a word.
template <class T>
struct Plain {
  using type = T;
};
template <class T>
struct Plain<Given<T>> {
  using type = typename Plain<T>::type;
};
template <class T>
struct Plain<Lent<T>> : Plain<Given<T>> {};
template <class T>
struct Plain<Taken<T>> : Plain<Given<T>> {};
template <class T>
struct Plain<MaybeNull<T>> : Plain<Given<T>> {};
template <class T>
using PlainType = typename Plain<T>::type;

/// Whether an argument of that word must not be null: every pointer but an Optional one.
template <class T>
inline constexpr bool needsPointer = std::is_pointer_v<PlainType<T>>;
template <class T>
inline constexpr bool needsPointer<MaybeNull<T>> = false;

/// CANNOT_FAIL: becomes the zero of whatever type is asked for.
struct CannotFail {
  template <class T>
  constexpr operator T() const {
    return T();
  }
};

template <class Failure>
inline constexpr bool canFail = !std::is_same_v<std::remove_cv_t<Failure>, CannotFail>;

}  // namespace contract

inline constexpr contract::CannotFail CANNOT_FAIL{};
