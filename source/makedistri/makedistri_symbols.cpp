#include "makedistri/makedistri_symbols.h"

#include <algorithm>
#include <queue>
#include <utility>

namespace outfitter {

namespace {

constexpr int32_t kRoot = 0;

size_t At(int32_t index) { return static_cast<size_t>(index); }

}  // namespace

SymbolTable::SymbolTable() : letters_{{'\0'}} {
  Add("sizeof(Int16)", 2);
  Add("sizeof(PIX_F)", 4);
}

int32_t SymbolTable::Child(int32_t parent, char letter) const {
  // The root has many children; every other letter has few.
  if (parent == kRoot) {
    const int32_t child = first_[static_cast<unsigned char>(letter)];
    return child != 0 ? child : kNone;
  }
  int32_t child = letters_[outfitter::At(parent)].child;
  while (child != kNone && letters_[outfitter::At(child)].letter != letter) {
    child = letters_[outfitter::At(child)].sibling;
  }
  return child;
}

int32_t SymbolTable::AddChild(int32_t parent, char letter) {
  const auto added = static_cast<int32_t>(letters_.size());
  letters_.push_back({letter});
  if (parent == kRoot) {
    first_[static_cast<unsigned char>(letter)] = added;
  } else {
    Letter& above = letters_[outfitter::At(parent)];
    letters_.back().sibling = std::exchange(above.child, added);
  }
  return added;
}

int32_t SymbolTable::Find(std::string_view name) const {
  int32_t at = kRoot;
  for (const char letter : name) {
    at = Child(at, letter);
    if (at == kNone) return kNone;
  }
  return letters_[outfitter::At(at)].symbol;
}

int32_t SymbolTable::Add(std::string_view name, int32_t value) {
  int32_t at = kRoot;
  for (const char letter : name) {
    const int32_t child = Child(at, letter);
    at = child != kNone ? child : AddChild(at, letter);
  }
  const int32_t index = Count();
  letters_[outfitter::At(at)].symbol = index;
  symbols_.push_back({std::string(name), value});
  longestName_ = std::max(longestName_, static_cast<int32_t>(name.size()));
  return index;
}

/// One substitution: the text as a chain of letters, so that a replacement costs what it replaces, and the
/// longest name that begins at each of its places. A replacement changes only what is found shortly before
/// it: no name begins with a digit or a sign.
class Substitution {
 public:
  Substitution(const SymbolTable& table, std::string_view text) : table_(table) {
    const auto length = static_cast<int32_t>(text.size());
    chain_.reserve(text.size() + 16);
    for (int32_t i = 0; i < length; ++i) chain_.push_back({text[At(i)], i - 1, i + 1});
    if (length > 0) {
      first_ = 0;
      chain_.back().next = kEnd;
    }
    for (int32_t i = 0; i < length; ++i) Look(i);
  }

  bool Run(std::vector<int32_t>* used) {
    bool replaced = false;
    while (!found_.empty()) {
      const Match match = found_.top();
      found_.pop();
      if (chain_[At(match.place)].symbol != match.symbol) continue;
      Replace(match);
      if (used != nullptr) used->push_back(match.symbol);
      replaced = true;
    }
    return replaced;
  }

  std::string Text() const {
    std::string text;
    text.reserve(chain_.size());
    for (int32_t at = first_; at != kEnd; at = chain_[At(at)].next) text.push_back(chain_[At(at)].letter);
    return text;
  }

 private:
  static constexpr int32_t kEnd = -1;

  struct Place {
    char letter;
    int32_t previous;
    int32_t next;
    int32_t symbol = SymbolTable::kNone;  ///< the longest name that begins here
    int32_t reach = 0;                    ///< how many letters a look from here has seen
  };

  struct Match {
    int32_t length;
    int32_t symbol;
    int32_t place;
    /// Whether the other one is replaced first.
    bool operator<(const Match& other) const {
      if (length != other.length) return length < other.length;
      if (symbol != other.symbol) return symbol > other.symbol;
      return place > other.place;
    }
  };

  /// Finds the longest name that begins at `place`.
  void Look(int32_t place) {
    const int32_t before = std::exchange(chain_[At(place)].symbol, SymbolTable::kNone);
    int32_t reach = 0;
    int32_t letter = kRoot;
    for (int32_t at = place; at != kEnd; at = chain_[At(at)].next) {
      ++reach;
      letter = table_.Child(letter, chain_[At(at)].letter);
      if (letter == SymbolTable::kNone) break;
      const int32_t symbol = table_.letters_[At(letter)].symbol;
      if (symbol != SymbolTable::kNone) chain_[At(place)].symbol = symbol;
    }
    chain_[At(place)].reach = reach;
    const int32_t symbol = chain_[At(place)].symbol;
    if (symbol != SymbolTable::kNone && symbol != before) found_.push({LengthOf(symbol), symbol, place});
  }

  int32_t LengthOf(int32_t symbol) const { return static_cast<int32_t>(table_.At(symbol).name.size()); }

  void Replace(const Match& match) {
    int32_t behind = match.place;
    for (int32_t i = 0; i < match.length; ++i) {
      chain_[At(behind)].symbol = SymbolTable::kNone;
      behind = chain_[At(behind)].next;
    }
    int32_t last = chain_[At(match.place)].previous;
    const int32_t before = last;
    for (const char digit : std::to_string(table_.At(match.symbol).value)) last = AppendBehind(last, digit);
    Connect(last, behind);
    LookAgainBefore(before);
  }

  int32_t AppendBehind(int32_t place, char letter) {
    const auto added = static_cast<int32_t>(chain_.size());
    chain_.push_back({letter, place, kEnd});
    Connect(place, added);
    return added;
  }

  void Connect(int32_t place, int32_t next) {
    (place != kEnd ? chain_[At(place)].next : first_) = next;
    if (next != kEnd) chain_[At(next)].previous = place;
  }

  /// Looks again from the places whose look went into what has changed.
  void LookAgainBefore(int32_t place) {
    int32_t distance = 1;
    for (; place != kEnd && distance < table_.longestName_; place = chain_[At(place)].previous) {
      if (chain_[At(place)].reach > distance) Look(place);
      ++distance;
    }
  }

  const SymbolTable& table_;
  std::vector<Place> chain_;
  int32_t first_ = kEnd;
  std::priority_queue<Match> found_;
};

bool SymbolTable::Substitute(std::string& text, std::vector<int32_t>* used) const {
  Substitution substitution(*this, text);
  if (!substitution.Run(used)) return false;
  text = substitution.Text();
  return true;
}

}  // namespace outfitter
