// What stands in a header: three small state machines over one stream of tokens. The first hides comments
// from the other two; those find the defines and the enumerators, and know nothing of values.
#pragma once

#include <string>

#include "makedistri/makedistri_tokens.h"

namespace outfitter {

/// Hides comments. A lone "/" is hidden too, and so is the token behind it, which tells only then that no
/// comment begins: a division is lost together with its right operand.
class CommentSkipper {
 public:
  /// Whether the other readers see the token.
  bool LetsPass(const HeaderToken& token);
  bool InsideComment() const {
    return state_ == State::Line || state_ == State::Block || state_ == State::BlockStar;
  }
  /// How many tokens were lost behind a lone "/".
  int64_t Lost() const { return lost_; }

 private:
  enum class State : uint8_t { Normal, Slash, Line, Block, BlockStar };
  State state_ = State::Normal;
  int64_t lost_ = 0;
};

/// Finds defines. Conditional compilation is not honoured: every define counts, whichever branch it stands
/// in.
class DefineReader {
 public:
  enum class Event : uint8_t {
    None,
    Complete,       ///< a line has ended; name and value are known, and the value may be empty
    Abandoned,      ///< an opening bracket behind a closed group: a function-like macro, or two groups
    NameMissing,    ///< what follows "define" is no identifier
    NotRecognised,  ///< a blank between "#" and "define"; the name is known where there is one
  };
  Event Take(const HeaderToken& token);

  const std::string& Name() const { return name_; }
  /// The tokens behind the name, without blanks between them.
  const std::string& Value() const { return value_; }
  /// Of the "#".
  int32_t Line() const { return line_; }
  /// Whether a "(" follows the name directly: parameters.
  bool IsFunctionLike() const { return functionLike_; }

 private:
  enum class State : uint8_t { Outside, Hash, Apart, Define, Value };
  void TakeOutside(const HeaderToken& token);
  Event TakeWord(const HeaderToken& token);
  Event TakeApart(const HeaderToken& token);
  Event TakeName(const HeaderToken& token);
  Event TakeValue(const HeaderToken& token);

  State state_ = State::Outside;
  std::string name_;
  std::string value_;
  int32_t line_ = 0;
  int64_t depth_ = 0;
  bool groupClosed_ = false;
  bool functionLike_ = false;
};

/// Finds enumerators.
class EnumReader {
 public:
  enum class Event : uint8_t {
    None,
    Begin,    ///< an enumeration begins
    Counted,  ///< a name without a value
    Valued,   ///< a name with the text of its value
    Dropped,  ///< a name that a ";" took away
  };
  Event Take(const HeaderToken& token);

  const std::string& Name() const { return name_; }
  const std::string& Value() const { return value_; }
  /// Of the name.
  int32_t Line() const { return line_; }
  /// Whether something else stands behind the name, which is passed over.
  bool PassesOver() const { return passesOver_; }
  /// Of the "enum".
  int32_t EnumerationLine() const { return enumerationLine_; }

 private:
  enum class State : uint8_t { Outside, BeforeBrace, Body, AfterName, Value };
  /// "," "}" and the end of the line end an enumerator.
  static bool EndsEnumerator(const HeaderToken& token) {
    return token.Is(',') || token.Is('}') || token.IsLineEnd();
  }
  Event TakeInBody(const HeaderToken& token);
  Event TakeAfterName(const HeaderToken& token);
  Event TakeInValue(const HeaderToken& token);
  void LeaveEnumerator(const HeaderToken& token) { state_ = token.Is('}') ? State::Outside : State::Body; }

  State state_ = State::Outside;
  std::string name_;
  std::string value_;
  int32_t line_ = 0;
  bool passesOver_ = false;
  int32_t enumerationLine_ = 0;
};

}  // namespace outfitter
