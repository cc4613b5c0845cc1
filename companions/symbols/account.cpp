#include "companions/symbols/account.h"

#include <algorithm>
#include <map>
#include <system_error>
#include <tuple>

#include "companions/symbols/file_tokens.h"
#include "companions/walk.h"
#include "host/services/files.h"
#include "host/services/paths.h"
#include "host/services/text.h"
#include "makedistri/bramblelib_names.h"
#include "makedistri/makedistri_order.h"

namespace companion {

using namespace outfitter;

namespace {

// ---- which headers ----

struct Header {
  int32_t rank;
  std::u16string leaf;
  size_t folder;
  std::u16string path;
  std::string file;
};

class HeaderSearch {
 public:
  explicit HeaderSearch(Account& account) : account_(account) {}

  void search(const std::string& folder, size_t number) {
    if (!host::folderExists(folder)) return;
    WalkVisitor visitor;
    visitor.entersFolder = [](const std::string& leaf) { return !IsSkippedFolder(leaf); };
    visitor.takeFile = [&](const std::string& path, const std::string& leaf) {
      if (host::hasSuffix(leaf, "H") && !IsSkippedHeader(leaf))
        headers_.push_back({HeaderRank(leaf), host::fromUtf8(leaf), number, host::fromUtf8(path), path});
    };
    visitor.folderFailed = [&](const std::string& failed, const std::string& reason) {
      account_.unreadable.push_back({failed, reason});
    };
    walkTree(folder, visitor);
  }

  /// In the order in which they are read.
  void finish() {
    const auto key = [](const Header& header) {
      return std::tie(header.rank, header.leaf, header.folder, header.path);
    };
    std::sort(headers_.begin(), headers_.end(),
              [&](const Header& first, const Header& second) { return key(first) < key(second); });
    for (Header& header : headers_) account_.headers.push_back(std::move(header.file));
  }

 private:
  Account& account_;
  std::vector<Header> headers_;
};

// ---- reading them ----

/// The tokens of one file, watched on their way for comments that the readers leave later than a compiler.
class WatchedTokens : public HeaderTokens {
 public:
  WatchedTokens(const std::string& file, std::vector<OverrunComment>& overruns)
      : tokens_(file), file_(file), overruns_(overruns) {}

  bool Next(bool insideComment, HeaderToken& token) override {
    watch(insideComment);
    if (tokens_.Next(insideComment, token)) return true;
    if (insideComment && isBlock_ && !isGoingOn_) {
      const int32_t line = tokens_.last().line;
      overruns_.push_back({{file_, line}, line, false, true});
    }
    return false;
  }

 private:
  /// Looks at the last token, now that it is known whether the readers see a comment behind it.
  void watch(bool insideComment) {
    const host::Token& last = tokens_.last();
    const char letter = last.kind == host::TokenKind::Punctuation ? last.text.front() : '\0';
    const bool endsForCompiler = isBlock_ && starBefore_ && letter == '/' && last.glued;
    if (insideComment && !wasInside_) isBlock_ = letter == '*';
    if (!insideComment) isBlock_ = false;
    if (isGoingOn_) {
      overruns_.back().lastLine = last.line;
      if (last.kind == host::TokenKind::Identifier && last.text == "enum")
        overruns_.back().hidesEnumeration = true;
    }
    if (endsForCompiler && insideComment && wasInside_ && !isGoingOn_) {
      overruns_.push_back({{file_, last.line}, last.line, false, false});
      isGoingOn_ = true;
    }
    if (!insideComment) isGoingOn_ = false;
    starBefore_ = letter == '*' && wasInside_;
    wasInside_ = insideComment;
  }

  FileTokens tokens_;
  const std::string file_;
  std::vector<OverrunComment>& overruns_;
  bool isGoingOn_ = false;  ///< the last overrun
  bool wasInside_ = false;
  bool isBlock_ = false;
  bool starBefore_ = false;
};

class Accountant : public FindingSink {
 public:
  explicit Accountant(Account& account)
      : account_(account), parser_(account.symbols, evaluateWithHost, *this) {
    account_.firstEntries.assign(static_cast<size_t>(account_.symbols.Count()), Account::kNoEntry);
  }

  void read(const std::string& file, HeaderPass pass) {
    file_ = file;
    pass_ = pass;
    overruns_.clear();
    counting_ = {};
    try {
      WatchedTokens tokens(file, overruns_);
      parser_.Parse(tokens, pass);
    } catch (const std::system_error& error) {
      // Said once, although every header is read twice.
      const auto same = [&](const UnreadableHeader& header) { return header.file == file; };
      auto& unreadable = account_.unreadable;
      if (std::none_of(unreadable.begin(), unreadable.end(), same))
        unreadable.push_back({file, host::reasonOf(error)});
    }
    if (pass == HeaderPass::Defines)
      account_.overruns.insert(account_.overruns.end(), overruns_.begin(), overruns_.end());
  }

  void Take(const Finding& finding) override {
    const bool isDefine = finding.fate == Fate::NameMissing;
    if (isDefine && pass_ == HeaderPass::Enums) return;  // found once already
    Entry entry;
    entry.place = {file_, finding.line};
    entry.isEnumerator = pass_ == HeaderPass::Enums;
    entry.fate = finding.fate;
    entry.name = finding.name;
    entry.rawText = finding.rawText;
    entry.number = finding.number;
    entry.symbol = finding.symbol;
    entry.isFunctionLike = finding.isFunctionLike;
    entry.lostBehindSlash = finding.lostBehindSlash;
    entry.passedOver = finding.passedOver;
    entry.behindOddity = finding.behindOddity;
    entry.neverWritten = finding.fate == Fate::Exported && IsNeverWritten(finding.name);
    if (finding.value != nullptr) addValue(entry, *finding.value);
    if (entry.isEnumerator) entry.behindOverrun = isBehindOverrun(finding);
    if (entry.isEnumerator && entry.rawText.empty() && counting_.fromOdd) entry.behindOddity = true;
    entry.isOdd = isOdd(entry);
    if (entry.isEnumerator && !entry.rawText.empty()) counting_.fromOdd = entry.isOdd;
    if (entry.isFunctionLike) account_.functionLike.insert(entry.name);
    if (finding.fate == Fate::Exported) account_.firstEntries.push_back(account_.entries.size());
    account_.entries.push_back(std::move(entry));
  }

 private:
  void addValue(Entry& entry, const Value& value) const {
    entry.text = value.text;
    entry.found = value.found;
    std::map<int32_t, size_t> places;  // in the order of their first use
    for (const int32_t index : value.used) {
      const auto [place, isNew] = places.emplace(index, entry.used.size());
      if (isNew) {
        const Symbol& symbol = account_.symbols.At(index);
        entry.used.push_back({symbol.name, symbol.value, 1});
      } else {
        ++entry.used[place->second].times;
      }
    }
  }

  /// Oddities are handed on to what is made of them.
  bool isOdd(const Entry& entry) const {
    return entry.lostBehindSlash || entry.found.wrapped || entry.passedOver || entry.behindOverrun ||
           entry.behindOddity ||
           std::any_of(entry.used.begin(), entry.used.end(), [&](const Replacement& used) {
             const Entry* part = account_.entryOf(used.name);
             return part != nullptr && part->isOdd;
           });
  }

  /// Whether a comment may hide enumerators between this one and the one that it counts on from.
  bool isBehindOverrun(const Finding& finding) {
    const bool hasValue = !finding.rawText.empty();
    if (counting_.enumeration != finding.enumerationLine) {
      counting_ = {finding.enumerationLine, finding.enumerationLine, false};
    }
    if (hasValue) counting_.from = finding.line;
    return !hasValue && std::any_of(overruns_.begin(), overruns_.end(), [&](const OverrunComment& overrun) {
      return overrun.place.line >= counting_.from && overrun.place.line < finding.line;
    });
  }

  /// The enumeration at hand, and the line from which its enumerators count on.
  struct Counting {
    int32_t enumeration = 0;
    int32_t from = 0;
    bool fromOdd = false;  ///< so that what counts on from it is odd as well
  };

  Account& account_;
  HeaderParser parser_;
  std::vector<OverrunComment> overruns_;  ///< of the header at hand
  Counting counting_;
  std::string file_;
  HeaderPass pass_ = HeaderPass::Defines;
};

}  // namespace

const Entry* Account::entryOf(int32_t symbol) const {
  if (symbol < 0) return nullptr;
  const size_t entry = firstEntries[static_cast<size_t>(symbol)];
  return entry != kNoEntry ? &entries[entry] : nullptr;
}

const Entry* Account::entryOf(std::string_view name) const { return entryOf(symbols.Find(name)); }

Account readHeaders(const std::vector<std::string>& folders, const std::function<bool()>& stopped) {
  Account account;
  HeaderSearch headers(account);
  for (size_t i = 0; i < folders.size(); ++i) headers.search(folders[i], i);
  headers.finish();
  Accountant accountant(account);
  ForEachParse(account.headers.size(), [&](size_t index, HeaderPass pass) {
    if (!stopped()) accountant.read(account.headers[index], pass);
  });
  return account;
}

}  // namespace companion
