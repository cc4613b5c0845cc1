#include "makedistri/makedistri_readers.h"

namespace outfitter {

// ---- comments ----

bool CommentSkipper::LetsPass(const HeaderToken& token) {
  switch (state_) {
    case State::Normal:
      if (!token.Is('/')) return true;
      state_ = State::Slash;
      return false;
    case State::Slash:
      if (token.Is('/')) {
        // One that stands apart may itself begin a comment.
        if (token.glued) state_ = State::Line;
      } else if (token.Is('*') && token.glued) {
        state_ = State::Block;
      } else {
        state_ = State::Normal;
        ++lost_;
      }
      return false;
    case State::Line:
      if (!token.IsLineEnd()) return false;
      state_ = State::Normal;
      return true;
    case State::Block:
      if (token.Is('*')) state_ = State::BlockStar;
      return false;
    case State::BlockStar:
      state_ = token.Is('/') && token.glued ? State::Normal : State::Block;
      return false;
  }
  return true;
}

// ---- defines ----

DefineReader::Event DefineReader::Take(const HeaderToken& token) {
  switch (state_) {
    case State::Outside:
      TakeOutside(token);
      return Event::None;
    case State::Hash:
      return TakeWord(token);
    case State::Apart:
      return TakeApart(token);
    case State::Define:
      return TakeName(token);
    case State::Value:
      return TakeValue(token);
  }
  return Event::None;
}

void DefineReader::TakeOutside(const HeaderToken& token) {
  if (!token.Is('#') || token.glued) return;
  state_ = State::Hash;
  line_ = token.line;
}

DefineReader::Event DefineReader::TakeWord(const HeaderToken& token) {
  state_ = State::Outside;
  if (!token.IsName() || token.text != "define") return Event::None;
  state_ = token.glued ? State::Define : State::Apart;
  return Event::None;
}

/// The directive has ended already; the token is looked at for its name only.
DefineReader::Event DefineReader::TakeApart(const HeaderToken& token) {
  state_ = State::Outside;
  name_ = token.IsName() ? token.text : std::string_view();
  TakeOutside(token);
  return Event::NotRecognised;
}

DefineReader::Event DefineReader::TakeName(const HeaderToken& token) {
  state_ = State::Outside;
  if (!token.IsName()) return Event::NameMissing;
  state_ = State::Value;
  name_ = token.text;
  value_.clear();
  depth_ = 0;
  groupClosed_ = false;
  functionLike_ = false;
  return Event::None;
}

DefineReader::Event DefineReader::TakeValue(const HeaderToken& token) {
  if (token.IsLineEnd()) {
    state_ = State::Outside;
    return Event::Complete;
  }
  if (value_.empty()) functionLike_ = token.Is('(') && token.glued;
  if (token.Is('(') || token.Is('{')) {
    if (groupClosed_) {
      state_ = State::Outside;
      return Event::Abandoned;
    }
    ++depth_;
  } else if (token.Is(')') || token.Is('}')) {
    if (--depth_ == 0) groupClosed_ = true;
  }
  value_ += token.text;
  return Event::None;
}

// ---- enumerators ----

EnumReader::Event EnumReader::Take(const HeaderToken& token) {
  switch (state_) {
    case State::Outside:
      if (!token.IsName() || token.text != "enum") return Event::None;
      state_ = State::BeforeBrace;
      enumerationLine_ = token.line;
      return Event::Begin;
    case State::BeforeBrace:
      if (token.Is('{')) state_ = State::Body;
      return Event::None;
    case State::Body:
      return TakeInBody(token);
    case State::AfterName:
      return TakeAfterName(token);
    case State::Value:
      return TakeInValue(token);
  }
  return Event::None;
}

EnumReader::Event EnumReader::TakeInBody(const HeaderToken& token) {
  if (token.Is('}')) {
    state_ = State::Outside;
  } else if (token.IsName()) {
    state_ = State::AfterName;
    name_ = token.text;
    value_.clear();
    line_ = token.line;
    passesOver_ = false;
  }
  return Event::None;
}

EnumReader::Event EnumReader::TakeAfterName(const HeaderToken& token) {
  if (EndsEnumerator(token)) {
    LeaveEnumerator(token);
    return Event::Counted;
  }
  if (token.Is(';')) {
    state_ = State::Outside;
    return Event::Dropped;
  }
  if (token.Is('=')) {
    state_ = State::Value;
  } else {
    passesOver_ = true;
  }
  return Event::None;
}

EnumReader::Event EnumReader::TakeInValue(const HeaderToken& token) {
  if (EndsEnumerator(token)) {
    LeaveEnumerator(token);
    return Event::Valued;
  }
  value_ += token.text;
  return Event::None;
}

}  // namespace outfitter
