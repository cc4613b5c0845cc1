// One header after the other: what its defines and enumerators come to.
#pragma once

#include "makedistri/makedistri_readers.h"
#include "makedistri/makedistri_values.h"

namespace outfitter {

/// What became of one define or enumerator.
enum class Fate : uint8_t {
  Exported,       ///< stands in the table now, and is handed to the writer
  Duplicate,      ///< the name was there before
  SpecialName,    ///< is never kept
  Failed,         ///< has no value
  RealConstant,   ///< a real number other than zero is never exported
  NameMissing,    ///< no identifier behind "define"
  NoValue,        ///< a define without a value
  Abandoned,      ///< a function-like macro, or two groups
  NotRecognised,  ///< a blank between "#" and "define"
  Dropped,        ///< an enumerator that a ";" took away
};

/// One define or enumerator. What it refers to is lent for the length of the call.
struct Finding {
  Fate fate = Fate::Exported;
  std::string_view name = {};
  std::string_view rawText = {};        ///< as it stood in the header, without blanks; empty: no value
  const Value* value = nullptr;         ///< null where nothing was evaluated
  int32_t number = 0;                   ///< the value, where it has one
  int32_t symbol = SymbolTable::kNone;  ///< its place in the table, or of the one that was there before
  int32_t line = 0;
  bool isFunctionLike = false;
  bool lostBehindSlash = false;  ///< a part of the value was lost
  int32_t enumerationLine = 0;   ///< where an enumerator's enumeration begins; 0: a define
  bool passedOver = false;    ///< something between an enumerator's name and its end or "=" was passed over
  bool behindOddity = false;  ///< it counts on from one that was left out, or had something passed over
};

/// Receives the findings in the order of the header.
class FindingSink {
 public:
  FindingSink() = default;
  FindingSink(const FindingSink&) = delete;
  FindingSink& operator=(const FindingSink&) = delete;
  virtual ~FindingSink() = default;
  virtual void Take(const Finding& finding) = 0;
};

enum class HeaderPass : uint8_t { Defines = 0, Enums = 1 };

/// Whether a name is never kept, and never named as a duplicate.
bool IsSpecialName(std::string_view name);

/// Reads headers into a table of symbols.
class HeaderParser {
 public:
  HeaderParser(SymbolTable& symbols, Evaluator evaluate, FindingSink& sink)
      : symbols_(symbols), evaluate_(std::move(evaluate)), sink_(sink) {}

  /// Reads one header in one pass. Defines without a name are found in both passes.
  void Parse(HeaderTokens& tokens, HeaderPass pass);

 private:
  void TakeDefine(DefineReader::Event event, const DefineReader& reader, bool lost);
  void TakeEnumerator(EnumReader::Event event, const EnumReader& reader, bool lost);
  void FinishDefine(const DefineReader& reader, Finding finding);
  void FinishValuedEnumerator(Finding& finding);
  /// Puts a symbol with a value into the table, unless it may not be there.
  void Keep(Finding& finding);

  SymbolTable& symbols_;
  const Evaluator evaluate_;
  FindingSink& sink_;
  HeaderPass pass_ = HeaderPass::Defines;
  int32_t counter_ = 0;  ///< the value of the next enumerator
  bool behindOddity_ =
      false;  ///< one since the last explicit value was left out, or had something passed over
};

}  // namespace outfitter
