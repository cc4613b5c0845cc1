// Any bytes as a source file: the tokens and the blanks between them must be the file again.
//
// The first two bytes of the input choose how it is read: where quotes are plain punctuation, and how much
// filler stands before the text, so that it comes to lie across the border of a block.
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "host/services/source_characters.h"
#include "host/services/tokenizer.h"

namespace {

using namespace host;
using namespace host::source_character;

constexpr size_t kLongestToken = 65536;

void require(bool holds) {
  if (!holds) std::abort();
}

/// What the tokenizer is to see, and the physical line of each of its bytes.
struct JoinedText {
  explicit JoinedText(std::string_view bytes) {
    if (bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
    int line = 1;
    for (size_t i = 0; i < bytes.size();) {
      const size_t join = bytes[i] == '\\' ? lengthOfLineEnd(bytes, i + 1) : 0;
      const size_t lineEnd = lengthOfLineEnd(bytes, i);
      const size_t plain = std::min(bytes.find_first_of("\\\r\n", i + 1), bytes.size()) - i;
      const size_t taken = join > 0 ? join + 1 : lineEnd > 0 ? lineEnd : plain;
      if (join == 0) text += bytes.substr(i, taken);
      lines.resize(text.size(), line);
      if (join + lineEnd > 0) ++line;
      i += taken;
    }
    lines.push_back(line);
  }

  static size_t lengthOfLineEnd(std::string_view text, size_t at) {
    if (text.substr(at, 2) == "\r\n") return 2;
    return at < text.size() && is(kLineEnd, text[at]) ? 1 : 0;
  }

  std::string text;
  std::vector<int> lines;
};

/// Follows the tokens through the text.
class Follower {
 public:
  explicit Follower(std::string_view bytes) : joined_(bytes) {}

  void take(const Token& token) {
    const bool blanks = skipBlanks();
    require(token.line == joined_.lines[position_]);
    require(token.startsLine == atStart_);
    require(token.glued == (!blanks && mayGlue_));
    if (token.kind == TokenKind::LineEnd) {
      takeLineEnd(token);
    } else {
      takeText(token);
    }
  }

  void end() {
    skipBlanks();
    require(position_ == joined_.text.size() && atStart_);
  }

 private:
  bool skipBlanks() {
    const size_t from = position_;
    while (position_ < joined_.text.size() && is(kBlank, joined_.text[position_])) ++position_;
    return position_ > from;
  }

  void takeLineEnd(const Token& token) {
    size_t length = JoinedText::lengthOfLineEnd(joined_.text, position_);
    if (length == 2 && joined_.lines[position_] != joined_.lines[position_ + 1]) length = 1;
    require(token.text.empty() && (length > 0 || (position_ == joined_.text.size() && !atStart_)));
    position_ += length;
    atStart_ = true;
    mayGlue_ = false;
  }

  void takeText(const Token& token) {
    require(!token.text.empty() && token.text.size() <= kLongestToken);
    require(joined_.text.compare(position_, token.text.size(), token.text) == 0);
    const char first = token.text.front();
    require(!is(kBlank | kLineEnd, first));
    if (token.kind == TokenKind::Punctuation) require(token.text.size() == 1 && !is(kWord, first));
    if (token.kind == TokenKind::Number) require(is(kWord, first) || first == '.');
    if (token.kind == TokenKind::String || token.kind == TokenKind::Character)
      require(token.text.size() > 1 && token.text.back() == (token.kind == TokenKind::String ? '"' : '\''));
    if (token.kind == TokenKind::Identifier) {
      for (const char c : token.text) require(is(kWord, c));
    }
    position_ += token.text.size();
    atStart_ = false;
    mayGlue_ = true;
  }

  JoinedText joined_;
  size_t position_ = 0;
  bool atStart_ = true;
  bool mayGlue_ = false;
};

std::string fillerOf(uint8_t choice, uint8_t shift) {
  constexpr char kFillers[] = {' ', 'x', '1'};
  if (choice < 252) return {};  // the others make a run many times slower
  const size_t length = SourceWindow::kBlock + (choice % 2 == 0 ? 0 : SourceWindow::kReach) - shift / 4 % 8;
  return std::string(length, kFillers[choice % 3]);
}

bool isInsideComment(uint8_t choice, unsigned count) {
  return choice % 4 == 1 || (choice % 4 == 2 && (count * 2654435761U >> 7) % 5 == 0);
}

void overwrite(int file, std::string_view bytes) {
  require(ftruncate(file, 0) == 0);
  require(pwrite(file, bytes.data(), bytes.size(), 0) == static_cast<ssize_t>(bytes.size()));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  if (size < 2) return 0;
  static const int file = memfd_create("source", 0);
  static const std::string name = "/proc/self/fd/" + std::to_string(file);
  const std::string bytes =
      fillerOf(data[1], data[0]).append(reinterpret_cast<const char*>(data) + 2, size - 2);
  overwrite(file, bytes);

  Follower follower(bytes);
  Tokenizer tokenizer(name);
  Token token;
  unsigned count = 0;
  while (tokenizer.next(isInsideComment(data[0], count), token)) {
    follower.take(token);
    require(++count <= bytes.size() + 1);
  }
  follower.end();
  require(!tokenizer.next(false, token));
  return 0;
}
