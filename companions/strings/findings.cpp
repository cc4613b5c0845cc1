#include "companions/strings/findings.h"

#include <algorithm>
#include <map>
#include <unordered_map>

#include "companions/strings/text_checks.h"
#include "host/services/text.h"
#include "host/services/utf8.h"

namespace companion {

using outfitter::EntryKind;

namespace {

std::string shown(const std::u16string& text) { return "'" + host::visible(host::toUtf8(text)) + "'"; }

std::string tagOf(EntryKind kind) { return kind == EntryKind::Name ? "Name" : "Help"; }
std::string whatOf(EntryKind kind) { return kind == EntryKind::Name ? "name" : "help text"; }

std::string joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

/// One text of one script in one language.
struct Text {
  const StringFile* file;
  const PlacedEntry* entry;
};

/// What the files say about one script: by kind of text, its texts in the order of the files.
struct ScriptTexts {
  std::vector<Text> texts[2];
};

class Checker {
 public:
  Checker(const std::vector<StringFile>& files, const std::optional<std::set<std::u16string>>& scripts)
      : files_(files), scripts_(scripts) {}

  std::vector<Finding> run() {
    for (const StringFile& file : files_) checkFile(file);
    for (const std::u16string* name : order_) checkScript(*name, byScript_.at(*name));
    std::stable_sort(findings_.begin(), findings_.end(), [](const Finding& a, const Finding& b) {
      return std::tie(a.path, a.place.line, a.place.column) < std::tie(b.path, b.place.line, b.place.column);
    });
    return std::move(findings_);
  }

 private:
  Finding& add(const StringFile& file, Place place, const char* kind, std::string sentence) {
    Finding finding;
    finding.path = file.path;
    finding.place = place;
    finding.subject.kind = kind;
    finding.subject.language = host::toUtf8(file.language);
    finding.sentence = std::move(sentence);
    return findings_.emplace_back(std::move(finding));
  }

  Finding& addEntry(const StringFile& file, const PlacedEntry& placed, Place place, const char* kind,
                    std::string sentence) {
    Finding& finding = add(file, place, kind, std::move(sentence));
    finding.subject.script = host::toUtf8(placed.entry.identifier);
    finding.subject.tag = tagOf(placed.entry.kind);
    finding.subject.text = host::toUtf8(placed.entry.text);
    return finding;
  }

  /// A text against the one in the fallback language.
  void addBeside(const Text& text, const Text& fallback, const char* kind, std::string sentence) {
    addEntry(*text.file, *text.entry, text.entry->text, kind, std::move(sentence)).subject.beside =
        host::toUtf8(fallback.entry->entry.text);
  }

  // ---- one file ----

  void checkFile(const StringFile& file) {
    if (!file.encodingProblem.empty()) {
      add(file, file.encodingPlace, "encoding", file.encodingProblem).stopsImport = file.isUnreadable;
    }
    for (const RefusedLine& line : file.refused) {
      add(file, line.place, "malformed", line.reason).stopsImport = true;
    }
    std::set<std::u16string> unknown;
    std::map<std::pair<EntryKind, std::u16string>, const PlacedEntry*> seen;
    for (const PlacedEntry& placed : file.entries) {
      checkQuotes(file, placed);
      if (!isKnown(placed.entry.identifier)) {
        if (unknown.insert(placed.entry.identifier).second) addUnknown(file, placed);
        continue;
      }
      const auto [first, isNew] = seen.try_emplace({placed.entry.kind, placed.entry.identifier}, &placed);
      if (!isNew) {
        addEntry(file, placed, placed.identifier, "duplicate",
                 "the " + whatOf(placed.entry.kind) + " of " + shown(placed.entry.identifier) +
                     " stands in line " + std::to_string(first->second->identifier.line) +
                     " as well; the later one counts");
        first->second = &placed;
      }
    }
    for (const auto& [key, placed] : seen) keep(file, *placed);
  }

  bool isKnown(const std::u16string& name) const { return !scripts_ || scripts_->count(name) != 0; }

  void addUnknown(const StringFile& file, const PlacedEntry& placed) {
    addEntry(file, placed, placed.identifier, "unknown-script",
             "the host keeps no script " + shown(placed.entry.identifier))
        .stopsImport = true;
  }

  void checkQuotes(const StringFile& file, const PlacedEntry& placed) {
    if (placed.entry.quotes < 4) {
      addEntry(file, placed, placed.identifier, "incomplete",
               "the line holds " + std::to_string(placed.entry.quotes) +
                   " double quotes instead of four: something of it is missing");
    } else if (placed.entry.quotes > 4) {
      addEntry(file, placed, placed.text, "quote",
               "a double quote too many, which the import leaves out: a text cannot hold one");
    }
  }

  void keep(const StringFile& file, const PlacedEntry& placed) {
    const auto [found, isNew] = byScript_.try_emplace(placed.entry.identifier);
    if (isNew) order_.push_back(&found->first);
    found->second.texts[static_cast<std::size_t>(placed.entry.kind)].push_back({&file, &placed});
  }

  // ---- one script in all files ----

  void checkScript(const std::u16string& name, const ScriptTexts& script) {
    for (const EntryKind kind : {EntryKind::Name, EntryKind::Help}) {
      const std::vector<Text>& texts = script.texts[static_cast<std::size_t>(kind)];
      checkMissing(name, kind, script, texts);
      const auto fallback = std::find_if(texts.begin(), texts.end(), [](const Text& text) {
        return text.file->language == kFallbackLanguage && !text.entry->entry.text.empty();
      });
      for (const Text& text : texts) {
        if (fallback == texts.end() || &text == &*fallback || text.entry->entry.text.empty()) continue;
        compare(text, *fallback);
      }
    }
    checkWidths(script.texts[static_cast<std::size_t>(EntryKind::Name)]);
  }

  /// Where to look for what is missing: the file's other line about the script.
  static Place placeBeside(const ScriptTexts& script, const StringFile& file) {
    for (const auto& texts : script.texts) {
      for (const Text& text : texts) {
        if (text.file == &file) return text.entry->identifier;
      }
    }
    return {};
  }

  void checkMissing(const std::u16string& name, EntryKind kind, const ScriptTexts& script,
                    const std::vector<Text>& texts) {
    std::set<const StringFile*> having;
    for (const Text& text : texts) {
      if (!text.entry->entry.text.empty()) having.insert(text.file);
    }
    if (having.empty()) return;
    for (const StringFile& file : files_) {
      if (file.isUnreadable || having.count(&file) != 0) continue;
      Finding& finding = add(file, placeBeside(script, file), "missing-text",
                             "the " + whatOf(kind) + " of " + shown(name) + " is missing; there is one in " +
                                 languagesOf(texts));
      finding.subject.script = host::toUtf8(name);
      finding.subject.tag = tagOf(kind);
    }
  }

  /// The first languages that have a text, and how many more.
  static std::string languagesOf(const std::vector<Text>& texts) {
    constexpr std::size_t kMostNamed = 5;
    std::vector<std::string> names;
    std::size_t more = 0;
    for (const Text& text : texts) {
      if (text.entry->entry.text.empty()) continue;
      if (names.size() < kMostNamed) {
        names.push_back(host::visible(host::toUtf8(text.file->language)));
      } else {
        ++more;
      }
    }
    return joined(names) + (more > 0 ? " and " + std::to_string(more) + " more" : "");
  }

  void compare(const Text& text, const Text& fallback) {
    const std::u16string& own = text.entry->entry.text;
    const std::u16string& theirs = fallback.entry->entry.text;
    const auto placeholders = placeholdersOf(own);
    const auto expected = placeholdersOf(theirs);
    if (placeholders != expected) {
      addBeside(text, fallback, "placeholder",
                "placeholders: " + (placeholders.empty() ? "none" : joined(placeholders)) +
                    "; in US: " + (expected.empty() ? "none" : joined(expected)));
    }
    if (beginsInBlank(own) != beginsInBlank(theirs) || endsInBlank(own) != endsInBlank(theirs)) {
      addBeside(text, fallback, "blank",
                shown(own) + " does not begin and end as " + shown(theirs) + " in US: blanks");
    }
    if (closingSign(own) != closingSign(theirs)) {
      addBeside(text, fallback, "punctuation", shown(own) + " does not end as " + shown(theirs) + " in US");
    }
  }

  void checkWidths(const std::vector<Text>& names) {
    std::size_t widest = 0;
    std::size_t next = 0;
    const Text* longest = nullptr;
    for (const Text& name : names) {
      const std::size_t width = widthOf(name.entry->entry.text);
      if (width > widest) longest = &name;
      next = std::max(next, std::min(width, widest));
      widest = std::max(widest, width);
    }
    // Only the longest one can be longer than all others.
    if (next == 0 || 2 * widest <= 3 * next) return;
    addEntry(*longest->file, *longest->entry, longest->entry->text, "long-name",
             shown(longest->entry->entry.text) + " takes " + std::to_string(widest) +
                 " columns; in the other languages the name takes at most " + std::to_string(next));
  }

  const std::vector<StringFile>& files_;
  const std::optional<std::set<std::u16string>>& scripts_;
  std::unordered_map<std::u16string, ScriptTexts> byScript_;
  std::vector<const std::u16string*> order_;
  std::vector<Finding> findings_;
};

}  // namespace

std::vector<Finding> checkFiles(const std::vector<StringFile>& files,
                                const std::optional<std::set<std::u16string>>& scripts) {
  return Checker(files, scripts).run();
}

std::string lineOf(const Finding& finding) {
  std::string line = host::visible(finding.path);
  if (finding.place.line > 0) {
    line += ":" + std::to_string(finding.place.line) + ":" + std::to_string(finding.place.column);
  }
  return line + ": " + finding.subject.kind + ": " + finding.sentence;
}

}  // namespace companion
