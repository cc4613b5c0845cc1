// The command "Import Script Strings".
#include <algorithm>
#include <utility>
#include <vector>

#include "localize/localize.h"
#include "localize/localize_command.h"
#include "vesta.framework/sort.h"

namespace outfitter {

using namespace vesta;

namespace {

/// Equal names, and no failure that looks like one: hosts answer both with 0.
bool IsSameName(const String& first, const String& second) {
  return first.Compare(second) == 0 && second.Compare(first) == 0;
}

/// The file that a script is written to.
FileName ScriptFile(const FileName& folder, const String& name) {
  const String suffix("csc");
  Require(!suffix.IsEmpty() && !folder.IsEmpty());
  FileName file = folder.Join(Named(FileName(name)));
  file.SetSuffix(suffix);
  Require(file.HasSuffix(suffix));
  return file;
}

/// All scripts, found by their names without asking each one for its name again.
class ScriptIndex {
 public:
  ScriptIndex() {
    ForEachScript([&](int32_t kind, const ScriptView& script) {
      scripts_.push_back({kind, script, String()});
      Require(script.GetName(scripts_.back().name));
    });
    order_ = SortedOrder(static_cast<uint32_t>(scripts_.size()), [&](uint32_t a, uint32_t b) {
      return scripts_[a].name.Compare(scripts_[b].name) < 0;
    });
    // Equal names that stand apart would be found in part.
    for (size_t i = 1; i < order_.size(); ++i) {
      Require(scripts_[order_[i - 1]].name.Compare(scripts_[order_[i]].name) <= 0);
    }
  }

  /// Calls `visit(script)` for each script of that name, the user's first, each list in its order.
  template <class Visit>
  void ForEachNamed(const String& name, Visit visit) const {
    auto next = std::lower_bound(order_.begin(), order_.end(), name, [&](uint32_t i, const String& wanted) {
      return scripts_[i].name.Compare(wanted) < 0;
    });
    for (; next != order_.end() && IsSameName(scripts_[*next].name, name); ++next) {
      visit(scripts_[*next].script);
    }
  }

  /// Writes every script to its file, or none.
  void WriteBack() const {
    const FileName folders[] = {GetScriptFolder(HOST_SCRIPT_USER), GetScriptFolder(HOST_SCRIPT_SHIPPED)};
    std::vector<FileName> files;
    for (const NamedScript& script : scripts_) files.push_back(ScriptFile(folders[script.kind], script.name));
    for (size_t i = 0; i < files.size(); ++i) scripts_[i].script.Save(files[i]);
  }

 private:
  struct NamedScript {
    int32_t kind;
    ScriptView script;
    String name;
  };
  std::vector<NamedScript> scripts_;
  std::vector<uint32_t> order_;  ///< by name; of equal names as they stand
};

/// The container of a language in a script's data; may be none.
ContainerView FindLanguage(const ContainerView& data, int32_t id) {
  const ContainerView language = data.GetContainer(id);
  // A host that failed answers nothing as well, and an empty container would take the place of what is there.
  return language ? language : data.GetContainer(id);
}

/// One import from its first file to its last.
class Import {
 public:
  /// False when it was abandoned; the user has been told why.
  bool Run(const FileName& folder) {
    Browse entries(folder);
    Require(static_cast<bool>(entries));
    FileName name;
    while (entries.Next()) {
      Require(entries.GetName(name));
      const int32_t language = LanguageOf(name.GetString());
      if (language != 0 && !ReadFile(Named(folder.Join(name)), name.GetString(), language)) return false;
    }
    Finish();
    return true;
  }

 private:
  /// The identifier of the language that a string file is named for; 0 for the names of other files.
  int32_t LanguageOf(const String& name) const {
    constexpr int32_t kLength = 13;  // script_de.txt
    const int32_t length = name.Length();
    Require(length > 0);
    if (length != kLength || !IsSameFileName(Named(FileName(name.Sub(0, 7))), prefix_) ||
        !IsSameFileName(Named(FileName(name.Sub(9, 4))), suffix_)) {
      return 0;
    }
    const int32_t first = name.CharAt(7);
    const int32_t second = name.CharAt(8);
    Require(first != 0 && second != 0);
    return HOST_SCRIPT_LANGUAGE + first * 256 + second;
  }

  bool ReadFile(const FileName& path, const String& name, int32_t language) {
    File file;
    Require(static_cast<bool>(file));
    if (!file.Open(path, HOST_FILE_READ)) return true;
    ++languages_;
    ScriptStringEntry entry;
    bool found = ReadFirstScriptStringEntry(file, name, entry);
    for (int32_t ordinal = 1; found; ++ordinal) {
      if (!Assign(entry, language)) {
        ShowMessage(String("Couldn't assign strings for script ") + entry.identifier);
        return false;
      }
      found = ReadNextScriptStringEntry(file, name, entry, ordinal);
    }
    return entry.failed == 0;
  }

  /// Sets a text in every script of its name. False when there is none.
  bool Assign(const ScriptStringEntry& entry, int32_t languageId) {
    const int32_t before = strings_;
    index_.ForEachNamed(entry.identifier, [&](const ScriptView& script) {
      ContainerView data = script.GetData();
      if (!data) return;
      ContainerView language = FindLanguage(data, languageId);
      if (!language && data.SetEmptyContainer(languageId)) language = data.GetContainer(languageId);
      if (!language) return;
      Require(language.SetString(entry.kind == 0 ? HOST_SCRIPT_NAME : HOST_SCRIPT_HELP, entry.text));
      ++strings_;
    });
    return strings_ != before;
  }

  void Finish() const {
    if (strings_ == 0) {
      ShowMessage("No changes!");
      return;
    }
    index_.WriteBack();
    ShowMessage(String::FromInt(languages_) + " Languages and " + String::FromInt(strings_) +
                " Strings updated!");
  }

  const ScriptIndex index_;
  const FileName prefix_ = Named(FileName("script_"));
  const FileName suffix_ = Named(FileName(".txt"));
  int32_t languages_ = 0;
  int32_t strings_ = 0;
};

}  // namespace

bool ImportCmd::Execute(HostDocument*) {
  return TellingOfMemory("Import Script Strings", [] {
    FileName folder;
    return SelectFolder(folder) && Import().Run(folder);
  });
}

}  // namespace outfitter
