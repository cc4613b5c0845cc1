#include "makedistri/makedistri_symbolbuild.h"

#include <vector>

#include "makedistri/bramblelib.h"
#include "makedistri/makedistri_header.h"
#include "makedistri/makedistri_order.h"
#include "vesta.framework/diagnostics.h"
#include "vesta.framework/messages.h"
#include "vesta.framework/sort.h"
#include "vesta.framework/text.h"

namespace outfitter {

using namespace vesta;

namespace {

constexpr int32_t MAX_FNLIST_ENTRIES = 1000;
constexpr int32_t MAX_IDENTIFIER_ENTRIES = 50000;

/// What reports of this build name as their source.
constexpr const char* kSource = "modules\\outfitter\\source\\makedistri\\makedistri";

// ---- the headers ----

struct Header {
  FileName path;
  String leaf;
  int32_t folder;  ///< of the two, in the order they are searched
};

/// Collects the headers below the two framework folders and puts them in their order.
class HeaderList {
 public:
  /// Appends every header below `folder`.
  void Collect(const FileName& folder, int32_t number) {
    if (FolderExists(folder)) CollectBelow(folder, number);
    // The list grows on: the limit is there to be noticed.
    if (headers_.size() > MAX_FNLIST_ENTRIES) {
      CriticalStop("ParseSymbols: fncount > MAX_FNLIST_ENTRIES", kSource, __LINE__);
    }
  }

  /// The headers in the order in which they are read.
  std::vector<FileName> Sorted() const {
    const auto order = SortedOrder(static_cast<uint32_t>(headers_.size()), [&](uint32_t a, uint32_t b) {
      return ComesBefore(headers_[a], headers_[b]);
    });
    std::vector<FileName> sorted;
    sorted.reserve(order.size());
    for (const uint32_t index : order) sorted.push_back(headers_[index].path);
    return sorted;
  }

 private:
  void CollectBelow(const FileName& folder, int32_t number) {
    Browse browse(folder);
    FileName name;
    while (browse.Next()) {
      if (!browse.GetName(name)) continue;
      const String leaf = name.GetString();
      std::string bytes;
      leaf.ToBytes(bytes);
      if (browse.IsFolder()) {
        if (!IsSkippedFolder(bytes)) CollectBelow(folder.Join(name), number);
      } else if (name.HasSuffix("H") && !IsSkippedHeader(bytes)) {
        headers_.push_back({folder.Join(name), leaf, number});
      }
    }
  }

  static bool ComesBefore(const Header& first, const Header& second) {
    const int32_t byRank = Rank(first) - Rank(second);
    if (byRank != 0) return byRank < 0;
    const int32_t byName = first.leaf.Compare(second.leaf);
    if (byName != 0) return byName < 0;
    // Names that stand in several folders.
    if (first.folder != second.folder) return first.folder < second.folder;
    return first.path.GetString().Compare(second.path.GetString()) < 0;
  }

  static int32_t Rank(const Header& header) {
    std::string leaf;
    header.leaf.ToBytes(leaf);
    return HeaderRank(leaf);
  }

  std::vector<Header> headers_;
};

// ---- reading them ----

/// The host's tokens of one header. A header that cannot be read has none.
class HostHeaderTokens : public HeaderTokens {
 public:
  explicit HostHeaderTokens(const FileName& file) : tokenizer_(file) {}
  bool Next(bool insideComment, HeaderToken& token) override {
    HostToken found{};
    if (!tokenizer_ || !tokenizer_.Next(insideComment, found)) return false;
    token.kind = found.kind == HOST_TOKEN_IDENTIFIER ? TokenKind::Identifier
                 : found.kind == HOST_TOKEN_LINE_END ? TokenKind::LineEnd
                                                     : TokenKind::Other;
    token.glued = (found.flags & HOST_TOKEN_GLUED) != 0;
    token.text = {found.text, static_cast<size_t>(found.length)};
    token.line = found.line;
    return true;
  }

 private:
  Tokenizer tokenizer_;
};

Evaluation EvaluateWithHost(const std::string& text, bool real) {
  HostEvaluation found{};
  Evaluation evaluation;
  if (text.find('\0') != std::string::npos) return evaluation;  // the host would see its beginning alone
  evaluation.success =
      EvaluateExpression(text.c_str(), real ? HOST_EVALUATE_REAL : HOST_EVALUATE_INTEGER, found);
  evaluation.status = static_cast<uint32_t>(found.status);
  evaluation.wrapped = (found.status & HOST_EVALUATION_WRAPPED) != 0;
  evaluation.integer = found.integer;
  evaluation.real = found.real;
  return evaluation;
}

/// Writes what was found, and prints what is wrong with it.
class SymbolWriter : public FindingSink {
 public:
  explicit SymbolWriter(SymbolHeader& header) : header_(header) {}
  int32_t Written() const { return written_; }

  void Take(const Finding& finding) override {
    switch (finding.fate) {
      case Fate::Exported:
        header_.WriteSymbol(finding.name, finding.number);
        ++written_;
        break;
      case Fate::Duplicate:
        Print(std::string("DOUBLE USAGE ").append(finding.name));
        break;
      case Fate::Failed:
        Print(Assignment("SYMBOL FAILED ", finding));
        break;
      case Fate::RealConstant:
        Print(Assignment("REAL Constant: ", finding) + " : " + ShortestReal(finding.value->found.real));
        break;
      case Fate::NameMissing:
        Print("ERROR ERROR ERROR ERROR ERROR ERROR ERROR ERROR");
        break;
      default:
        break;
    }
  }

 private:
  static void Print(const std::string& line) { PrintConsole(String(line.c_str())); }
  static std::string Assignment(const char* what, const Finding& finding) {
    return std::string(what).append(finding.name).append(" = ").append(finding.value->text);
  }

  SymbolHeader& header_;
  int32_t written_ = 0;
};

/// Reads headers in the passes that decide which of two equal names wins.
class SymbolBuild {
 public:
  explicit SymbolBuild(SymbolHeader& header)
      : writer_(header), parser_(symbols_, EvaluateWithHost, writer_) {}
  int32_t Written() const { return writer_.Written(); }

  void Read(const std::vector<FileName>& headers) {
    ForEachParse(headers.size(), [&](size_t index, HeaderPass pass) { Parse(headers[index], pass); });
  }

 private:
  void Parse(const FileName& header, HeaderPass pass) {
    HostHeaderTokens tokens(header);
    parser_.Parse(tokens, pass);
    // The table grows on as well.
    if (symbols_.Count() > MAX_IDENTIFIER_ENTRIES) {
      CriticalStop("ParseSymbols: identcnt > MAX_IDENTIFIER_ENTRIES", kSource, __LINE__);
    }
  }

  SymbolTable symbols_;
  SymbolWriter writer_;
  HeaderParser parser_;
};

std::vector<FileName> SdkHeaders() {
  const FileName application = GetStartupFolder();
  HeaderList list;
  list.Collect(application.Join("frameworks").Join("vesta.framework"), 0);
  list.Collect(application.Join("..").Join("frameworks").Join("vesta.framework"), 1);
  return list.Sorted();
}

}  // namespace

bool ParseSymbols() {
  SymbolHeader header;
  if (!header.Open()) return false;
  SymbolBuild build(header);
  build.Read(SdkHeaders());
  header.Close(build.Written());
  return true;
}

}  // namespace outfitter
