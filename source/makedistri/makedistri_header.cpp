#include "makedistri/makedistri_header.h"

namespace outfitter {

bool IsSpecialName(std::string_view name) {
  return name == "DC" || name == "__VESTA_MEM_ALIGNMENT_MASK__" || name == "GE_LITTLE_ENDIAN";
}

void HeaderParser::Parse(HeaderTokens& tokens, HeaderPass pass) {
  pass_ = pass;
  CommentSkipper comments;
  DefineReader defines;
  EnumReader enums;
  // What was lost before the define, and before the enumerator, at hand began.
  int64_t beforeDefine = 0;
  int64_t beforeEnumerator = 0;
  HeaderToken token;
  while (tokens.Next(comments.InsideComment(), token)) {
    if (!comments.LetsPass(token)) continue;
    const int64_t lost = comments.Lost();
    const DefineReader::Event define = defines.Take(token);
    const EnumReader::Event enumerator =
        pass == HeaderPass::Enums ? enums.Take(token) : EnumReader::Event::None;
    if (define != DefineReader::Event::None) TakeDefine(define, defines, lost != beforeDefine);
    if (enumerator != EnumReader::Event::None) TakeEnumerator(enumerator, enums, lost != beforeEnumerator);
    if (token.Is('#')) beforeDefine = lost;
    if (token.Is(',') || token.Is('{') || token.IsLineEnd()) beforeEnumerator = lost;
  }
}

void HeaderParser::TakeDefine(DefineReader::Event event, const DefineReader& reader, bool lost) {
  Finding finding{.fate = Fate::NameMissing,
                  .line = reader.Line(),
                  .isFunctionLike = reader.IsFunctionLike(),
                  .lostBehindSlash = lost};
  if (event == DefineReader::Event::NameMissing) return sink_.Take(finding);
  if (pass_ != HeaderPass::Defines) return;
  finding.name = reader.Name();
  if (event == DefineReader::Event::NotRecognised) {
    finding.fate = Fate::NotRecognised;
    return sink_.Take(finding);
  }
  finding.rawText = reader.Value();
  if (event == DefineReader::Event::Abandoned) {
    finding.fate = Fate::Abandoned;
    return sink_.Take(finding);
  }
  FinishDefine(reader, finding);
}

void HeaderParser::FinishDefine(const DefineReader& reader, Finding finding) {
  if (reader.Value().empty()) {
    finding.fate = Fate::NoValue;
    return sink_.Take(finding);
  }
  const Value value = ValueOfDefine(reader.Value(), symbols_, evaluate_);
  finding.value = &value;
  if (!value.known) {
    finding.fate = Fate::Failed;
  } else if (value.isReal && value.found.real != 0) {
    finding.fate = Fate::RealConstant;
  } else {
    finding.number = value.isReal ? 0 : value.found.integer;
    Keep(finding);
  }
  sink_.Take(finding);
}

void HeaderParser::TakeEnumerator(EnumReader::Event event, const EnumReader& reader, bool lost) {
  if (event == EnumReader::Event::Begin) {
    counter_ = 0;
    behindOddity_ = false;
    return;
  }
  Finding finding{.fate = Fate::Dropped,
                  .name = reader.Name(),
                  .rawText = reader.Value(),
                  .number = counter_,
                  .line = reader.Line(),
                  .lostBehindSlash = lost,
                  .enumerationLine = reader.EnumerationLine(),
                  .passedOver = reader.PassesOver(),
                  .behindOddity = behindOddity_};
  Value value;
  if (event == EnumReader::Event::Counted) {
    Keep(finding);
  } else if (event == EnumReader::Event::Valued) {
    value = ValueOfEnumerator(reader.Value(), symbols_, evaluate_);
    finding.value = &value;
    FinishValuedEnumerator(finding);
  }
  // The number of one that was left out is given again to the next.
  behindOddity_ = finding.behindOddity || finding.passedOver || finding.fate != Fate::Exported;
  if (finding.fate == Fate::Exported) counter_ = static_cast<int32_t>(static_cast<uint32_t>(counter_) + 1);
  sink_.Take(finding);
}

void HeaderParser::FinishValuedEnumerator(Finding& finding) {
  if (!finding.value->known) {
    finding.fate = Fate::Failed;
    return;
  }
  counter_ = finding.value->found.integer;
  finding.number = counter_;
  finding.behindOddity = false;
  Keep(finding);
}

void HeaderParser::Keep(Finding& finding) {
  if (IsSpecialName(finding.name)) {
    finding.fate = Fate::SpecialName;
    return;
  }
  finding.symbol = symbols_.Find(finding.name);
  if (finding.symbol != SymbolTable::kNone) {
    finding.fate = Fate::Duplicate;
    return;
  }
  finding.symbol = symbols_.Add(finding.name, finding.number);
  finding.fate = Fate::Exported;
}

}  // namespace outfitter
