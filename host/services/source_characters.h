#pragma once
// The kinds of bytes that source text is made of.

#include <array>
#include <cstddef>
#include <cstdint>

namespace host {

/// Kinds of bytes: bit values.
namespace source_character {
inline constexpr uint8_t kBlank = 1;  ///< also the byte of value 0
inline constexpr uint8_t kLineEnd = 2;
inline constexpr uint8_t kWord = 4;  ///< letters, digits, "_" and bytes above 127
inline constexpr uint8_t kDigit = 8;
inline constexpr uint8_t kHexDigit = 16;

constexpr std::array<uint8_t, 256> makeKinds() {
  std::array<uint8_t, 256> kinds{};
  const auto add = [&kinds](int first, int last, uint8_t kind) {
    for (int c = first; c <= last; ++c) kinds[static_cast<size_t>(c)] |= kind;
  };
  for (const char blank : {'\0', ' ', '\t', '\v', '\f'}) add(blank, blank, kBlank);
  for (const char end : {'\n', '\r'}) add(end, end, kLineEnd);
  add('0', '9', kWord | kDigit | kHexDigit);
  add('a', 'z', kWord);
  add('A', 'Z', kWord);
  add('a', 'f', kHexDigit);
  add('A', 'F', kHexDigit);
  add('_', '_', kWord);
  add(128, 255, kWord);
  return kinds;
}

inline constexpr std::array<uint8_t, 256> kKinds = makeKinds();

/// Whether `c` is of one of the kinds.
constexpr bool is(uint8_t kinds, char c) { return (kKinds[static_cast<uint8_t>(c)] & kinds) != 0; }
}  // namespace source_character

}  // namespace host
