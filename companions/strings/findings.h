#pragma once
// What is wrong with the script string files of a folder.

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "companions/strings/string_files.h"

namespace companion {

/// The language that the others are compared with.
inline constexpr std::u16string_view kFallbackLanguage = u"US";

/// What a finding is about, wherever it stands now: a dismissal holds as long as all of this is the same.
struct Subject {
  std::string kind;      ///< "missing-text"
  std::string language;  ///< "de"
  std::string script;
  std::string tag;     ///< "Name", "Help", or nothing
  std::string text;    ///< as it stands in the file; of what has no text, what there is instead
  std::string beside;  ///< the text that it was compared with

  bool operator<(const Subject& other) const {
    return std::tie(kind, language, script, tag, text, beside) <
           std::tie(other.kind, other.language, other.script, other.tag, other.text, other.beside);
  }
};

struct Finding {
  std::string path;
  Place place;
  Subject subject;
  std::string sentence;
  bool stopsImport = false;  ///< the import ends there and changes nothing: cannot be dismissed
};

/// Checks the files of a folder, one by one and beside each other. `scripts`: the names of those that the
/// host keeps; none: not known. Sorted by file and place. Takes time linear in the number of entries.
std::vector<Finding> checkFiles(const std::vector<StringFile>& files,
                                const std::optional<std::set<std::u16string>>& scripts);

/// "path:line:column: kind: sentence", for a terminal.
std::string lineOf(const Finding& finding);

}  // namespace companion
