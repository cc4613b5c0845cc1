// The symbols that are known, by name: each once, the first one wins.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace outfitter {

struct Symbol {
  std::string name;
  int32_t value;
};

/// The symbols in the order they were found. Names stand in a tree of letters, in which a name is found in
/// the time of its length, and every name that begins at a place of a text in one walk.
class SymbolTable {
 public:
  static constexpr int32_t kNone = -1;

  /// Begins with two sizes that expressions use; they are never written.
  SymbolTable();

  int32_t Count() const { return static_cast<int32_t>(symbols_.size()); }
  const Symbol& At(int32_t index) const { return symbols_[static_cast<size_t>(index)]; }
  /// The index of a name, or kNone.
  int32_t Find(std::string_view name) const;
  /// Adds a name that is not there yet; begins with no digit. Answers its index.
  int32_t Add(std::string_view name, int32_t value);

  /// Puts values in place of names in `text`, wherever a name occurs, word or part of a word: the longest
  /// name of all first, of equally long ones the symbol found first, of that its first place; then again,
  /// until no name occurs. `used`, where given, receives the index of each symbol that was put in. Answers
  /// whether anything was replaced. Takes time in about the length of the
  /// text, unless beginnings of long names stand in it again and again.
  bool Substitute(std::string& text, std::vector<int32_t>* used = nullptr) const;

 private:
  friend class Substitution;

  struct Letter {
    char letter;
    int32_t sibling = kNone;  ///< another letter at the same place
    int32_t child = kNone;    ///< a letter behind this one
    int32_t symbol = kNone;   ///< whose name ends here
  };

  int32_t Child(int32_t parent, char letter) const;
  int32_t AddChild(int32_t parent, char letter);

  std::vector<Symbol> symbols_;
  std::vector<Letter> letters_;       ///< the first one is the root
  std::array<int32_t, 256> first_{};  ///< the root's children by letter; 0: none
  int32_t longestName_ = 0;
};

}  // namespace outfitter
