#include "companions/literals/search.h"

#include <system_error>

#include "companions/walk.h"
#include "host/services/files.h"
#include "host/services/paths.h"
#include "makedistri/translatorlocator_literals.h"

namespace companion {
namespace {

void findInFile(const std::string& file, const std::function<void(const PlacedText&)>& take) {
  const std::string bytes = host::readWholeFile(file);
  outfitter::LineCounter lines(bytes);
  outfitter::FindLiterals(bytes, outfitter::IsHeaderName, [&](const outfitter::FoundLiteral& literal) {
    take({file, lines.LineAt(literal.offset), literal.Column(), literal.written});
    return true;
  });
}

}  // namespace

SearchedFiles findTexts(const std::string& folder, const std::function<void(const PlacedText&)>& take,
                        const std::function<bool()>& stopped) {
  SearchedFiles searched;
  WalkVisitor visitor;
  visitor.entersFolder = [&](const std::string&) { return !stopped(); };
  visitor.takeFile = [&](const std::string& path, const std::string& leaf) {
    if (stopped() || (!host::hasSuffix(leaf, "cpp") && !host::hasSuffix(leaf, "h"))) return;
    try {
      findInFile(path, take);
      ++searched.count;
    } catch (const std::system_error& error) {
      searched.unreadable.push_back({path, host::reasonOf(error)});
    }
  };
  visitor.folderFailed = [&](const std::string& failed, const std::string& reason) {
    searched.unreadable.push_back({failed, reason});
  };
  walkTree(folder, visitor);
  return searched;
}

}  // namespace companion
