#include "host/script/source.h"

#include <algorithm>
#include <filesystem>
#include <set>

#include "host/script/nesting.h"
#include "host/services/files.h"
#include "host/services/paths.h"

namespace host {

namespace fs = std::filesystem;

namespace {

constexpr std::size_t kDeepestInclude = 16;
constexpr std::size_t kMostFiles = 200;
constexpr std::uintmax_t kMostBytes = std::uintmax_t{2} << 20;
// The compiler's time grows with the square of the length of a function. Enumerations of numbers may be
// longer.
constexpr std::size_t kMostTokens = 20000;
// The library does not stand names and literals of any length.
constexpr std::size_t kLongestToken = 4096;

/// One token of the compiler's own lexer, and where it stands.
struct SourceToken {
  asETokenClass kind = asTC_UNKNOWN;
  std::string_view text;
  int row = 1;
  int column = 1;
};

/// The tokens of a text but blanks and comments.
class TokenReader {
 public:
  TokenReader(asIScriptEngine& engine, std::string_view text) : engine_(engine), rest_(text) {}

  bool next(SourceToken& token) {
    while (!rest_.empty()) {
      take(token);
      if (token.kind != asTC_WHITESPACE && token.kind != asTC_COMMENT) return true;
    }
    return false;
  }

 private:
  void take(SourceToken& token) {
    asUINT length = 0;
    token.kind = engine_.ParseToken(rest_.data(), rest_.size(), &length);
    token.text = rest_.substr(0, std::max<std::size_t>(length, 1));
    token.row = row_;
    token.column = column_;
    rest_.remove_prefix(token.text.size());
    row_ += static_cast<int>(std::count(token.text.begin(), token.text.end(), '\n'));
    const std::size_t lineEnd = token.text.rfind('\n');
    column_ = lineEnd == std::string_view::npos ? column_ + static_cast<int>(token.text.size())
                                                : static_cast<int>(token.text.size() - lineEnd);
  }

  asIScriptEngine& engine_;
  std::string_view rest_;
  int row_ = 1;
  int column_ = 1;
};

/// An include as it stands in a file.
struct Include {
  std::string name;
  int row;
  int column;
};

/// What all files of a script have together.
struct Totals {
  std::size_t tokens = 0;
  int enumerations = 0;
};

/// Makes the text for the compiler out of that of one file: takes its includes out, names its enumerations,
/// and refuses what the compiler must not see.
class Preparation {
 public:
  Preparation(SourceFile& file, std::string_view text, asIScriptEngine& engine, Totals& totals,
              Diagnostics& diagnostics)
      : file_(file), text_(text), tokens_(engine, text), totals_(totals), diagnostics_(diagnostics) {}

  /// Answers the includes.
  std::vector<Include> run() {
    SourceToken token;
    while (tokens_.next(token)) {
      if (token.text == "#" && nesting_.isOutermost()) {
        takeDirectiveOut(token);
      } else if (!take(token)) {
        break;
      }
    }
    file_.text += text_.substr(copied_);
    return std::move(includes_);
  }

 private:
  void blame(const SourceToken& token, const char* reason) {
    diagnostics_.add({Diagnostic::Kind::Error, file_.path, token.row, token.column, reason});
  }

  std::size_t endOf(const SourceToken& token) const {
    return static_cast<std::size_t>(token.text.data() + token.text.size() - text_.data());
  }
  void copyUpTo(std::size_t end) {
    file_.text += text_.substr(copied_, end - copied_);
    copied_ = end;
  }

  /// False: nothing more of this file may be looked at.
  bool take(const SourceToken& token) {
    if (token.text == "{") openBlock(token);
    if (token.text == "}") inEnumeration_ = false;
    if (token.kind == asTC_KEYWORD && token.text == "class") blame(token, "BRAMBLE has no classes");
    // The engine loses memory of its stack with each exception that is caught.
    if (token.kind == asTC_KEYWORD && token.text == "try") blame(token, "BRAMBLE has no exceptions to try");
    const bool isFree = isPartOfNumbers(token);
    beforeLast_ = last_;
    last_ = token.text;
    nesting_.next(token.text);
    if (nesting_.isTooDeep()) {
      blame(token, "brackets, statements or conditions are nested too deeply");
      return false;
    }
    if (token.text.size() > kLongestToken) {
      blame(token, "a word or text is longer than 4096 bytes");
      return false;
    }
    if (!isFree && ++totals_.tokens > kMostTokens) {
      blame(token, "the script is longer than 20000 words and signs, not counting enumerations of numbers");
      return false;
    }
    return true;
  }

  /// Whether a token belongs to an enumeration and costs the compiler next to nothing.
  bool isPartOfNumbers(const SourceToken& token) const {
    if (!inEnumeration_) return false;
    if (token.kind == asTC_IDENTIFIER) return last_ == "," || last_ == "{";
    return token.kind == asTC_VALUE || token.text == "=" || token.text == "-" || token.text == ",";
  }

  void openBlock(const SourceToken& brace) {
    const bool isNameless = last_ == "enum";
    inEnumeration_ = isNameless || beforeLast_ == "enum";
    if (!isNameless) return;
    copyUpTo(endOf(brace) - 1);
    // On the same row, so that those of the compiler's errors stay right.
    const std::string name = " enumeration_" + std::to_string(++totals_.enumerations) + "_ ";
    int shift = 0;
    for (const auto& earlier : file_.insertions) shift += earlier.row == brace.row ? earlier.length : 0;
    file_.insertions.push_back({brace.row, brace.column + shift, static_cast<int>(name.size())});
    file_.text += name;
  }

  /// Leaves blanks in its place.
  void takeDirectiveOut(const SourceToken& hash) {
    copyUpTo(endOf(hash) - 1);
    SourceToken word;
    SourceToken name;
    if (!tokens_.next(word) || word.text != "include" || !tokens_.next(name) || !isFileName(name) ||
        name.row != hash.row) {
      return blame(hash, "'#' begins nothing but #include \"name\"");
    }
    includes_.push_back({std::string(name.text.substr(1, name.text.size() - 2)), name.row, name.column});
    file_.text.append(endOf(name) - copied_, ' ');
    copied_ = endOf(name);
  }
  static bool isFileName(const SourceToken& token) {
    return token.kind == asTC_VALUE && token.text.size() > 2 && token.text.front() == '"' &&
           token.text.back() == '"' && token.text.find('\n') == std::string_view::npos;
  }

  SourceFile& file_;
  const std::string_view text_;
  TokenReader tokens_;
  Totals& totals_;
  Diagnostics& diagnostics_;
  std::vector<Include> includes_;
  Nesting nesting_;
  std::size_t copied_ = 0;  ///< how much of the text is done
  bool inEnumeration_ = false;
  std::string_view last_;
  std::string_view beforeLast_;
};

/// Reads one script, file by file.
class SourceReader {
 public:
  SourceReader(const ScriptSource& source, asIScriptEngine& engine, Diagnostics& diagnostics)
      : source_(source),
        folder_(fs::path(source.file).parent_path().string()),
        engine_(engine),
        diagnostics_(diagnostics) {}

  /// `asked`: the place to blame when the file cannot be read.
  void readFile(const std::string& path, const Diagnostic& asked) {
    const std::string identity = identityOf(path);
    if (std::find(open_.begin(), open_.end(), identity) != open_.end()) {
      return blame(asked, "'" + path + "' includes itself, directly or through others");
    }
    if (!seen_.insert(identity).second) return;
    if (open_.size() >= kDeepestInclude) return blame(asked, "files are included more than 16 deep");
    if (seen_.size() > kMostFiles) return blame(asked, "the script includes more than 200 files");
    std::string text;
    if (!load(path, asked, text)) return;
    SourceFile file{nameOf(path), path, {}, {}};
    open_.push_back(identity);
    for (const Include& include : Preparation(file, text, engine_, totals_, diagnostics_).run()) {
      readFile(findInclude(fs::path(path).parent_path().string(), include.name),
               {Diagnostic::Kind::Error, path, include.row, include.column, {}});
    }
    open_.pop_back();
    files_.push_back(std::move(file));
  }

  std::vector<SourceFile> take() { return std::move(files_); }

 private:
  void blame(Diagnostic place, std::string reason) {
    place.text = std::move(reason);
    diagnostics_.add(std::move(place));
  }

  static std::string identityOf(const std::string& path) {
    std::error_code error;
    const fs::path real = fs::canonical(path, error);
    return error ? path : real.string();
  }
  std::string nameOf(const std::string& path) const {
    const bool isOfLibrary = !source_.libraryFolder.empty() &&
                             path.starts_with(source_.libraryFolder + '/') &&
                             !path.starts_with(folder_ + '/');
    return fs::path(path).lexically_relative(isOfLibrary ? source_.libraryFolder : folder_).string();
  }
  std::string findInclude(const std::string& folder, const std::string& name) const {
    std::string beside = normalPath(joinPath(folder, name));
    if (source_.libraryFolder.empty() || fileExists(beside)) return beside;
    std::string inLibrary = normalPath(joinPath(source_.libraryFolder, name));
    return fileExists(inLibrary) ? inLibrary : beside;
  }

  bool load(const std::string& path, const Diagnostic& asked, std::string& text) {
    try {
      const bool isGiven = source_.text.has_value() && files_.empty() && open_.empty();
      const std::uintmax_t size = isGiven                     ? source_.text->size()
                                  : fs::is_regular_file(path) ? fs::file_size(path)
                                                              : 0;
      bytes_ += std::min(size, kMostBytes + 1);
      if (bytes_ > kMostBytes) {
        blame(asked, "the script is longer than 2 MiB, with what it includes");
        return false;
      }
      text = isGiven ? *source_.text : readWholeFile(path);
      return true;
    } catch (const std::exception& error) {
      const bool isFirst = asked.row == 0;
      blame(asked, isFirst ? reasonOf(error) : "'" + path + "' cannot be included: " + reasonOf(error));
      return false;
    }
  }

  const ScriptSource& source_;
  const std::string folder_;
  asIScriptEngine& engine_;
  Diagnostics& diagnostics_;
  std::vector<SourceFile> files_;
  std::set<std::string> seen_;
  std::vector<std::string> open_;
  std::uintmax_t bytes_ = 0;
  Totals totals_;
};

}  // namespace

int SourceFile::columnInFile(int row, int column) const {
  int inserted = 0;
  for (const Insertion& insertion : insertions) {
    if (insertion.row == row && insertion.column < column) {
      inserted += std::min(insertion.length, column - insertion.column);
    }
  }
  return column - inserted;
}

std::vector<SourceFile> readSource(const ScriptSource& source, asIScriptEngine& engine,
                                   Diagnostics& diagnostics) {
  SourceReader reader(source, engine, diagnostics);
  reader.readFile(source.file, {Diagnostic::Kind::Error, source.file, 0, 0, {}});
  return reader.take();
}

}  // namespace host
