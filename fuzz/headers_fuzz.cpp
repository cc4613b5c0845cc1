// Any bytes as two headers: every finding is sound, the table holds each name once, and what is exported can
// be exported again.
#include <sys/mman.h>
#include <unistd.h>

#include <cstdlib>
#include <set>
#include <string>

#include "companions/symbols/file_tokens.h"
#include "makedistri/makedistri_header.h"

namespace {

using namespace outfitter;

void require(bool holds) {
  if (!holds) std::abort();
}

/// Holds each finding against the table.
class Checker : public FindingSink {
 public:
  explicit Checker(const SymbolTable& symbols) : symbols_(symbols) {}

  void Take(const Finding& finding) override {
    require(finding.line >= 1);
    if (finding.fate == Fate::Exported) {
      require(names_.insert(std::string(finding.name)).second);
      require(!IsSpecialName(finding.name));
      require(finding.symbol == symbols_.Count() - 1);
      require(symbols_.At(finding.symbol).value == finding.number);
    }
    if (finding.fate == Fate::Exported || finding.fate == Fate::Duplicate)
      require(symbols_.Find(finding.name) == finding.symbol);
    if (finding.value != nullptr) checkSubstitution(*finding.value, finding.fate);
  }

 private:
  /// What failed after a substitution holds no name any more.
  void checkSubstitution(const Value& value, Fate fate) {
    if (fate != Fate::Failed || value.text.size() > 200 || symbols_.Count() > 50) return;
    for (int32_t i = 0; i < symbols_.Count(); ++i)
      require(value.text.find(symbols_.At(i).name) == std::string::npos);
  }

  const SymbolTable& symbols_;
  std::set<std::string> names_;
};

void overwrite(int file, const uint8_t* data, size_t size) {
  require(ftruncate(file, 0) == 0);
  require(pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static const int file = memfd_create("header", 0);
  static const std::string name = "/proc/self/fd/" + std::to_string(file);
  SymbolTable symbols;
  Checker checker(symbols);
  HeaderParser parser(symbols, companion::evaluateWithHost, checker);
  // The second half is a header of its own: names live on, comments and lines do not.
  for (const HeaderPass pass : {HeaderPass::Enums, HeaderPass::Defines}) {
    for (const size_t start : {size_t{0}, size / 2}) {
      overwrite(file, data + start, start == 0 ? size / 2 : size - start);
      companion::FileTokens tokens(name);
      parser.Parse(tokens, pass);
    }
  }
  return 0;
}
