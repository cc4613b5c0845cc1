// `vesta strings check`: what is wrong with script string files, before they are imported.
#include <algorithm>
#include <iterator>
#include <map>
#include <system_error>

#include "companions/strings/dismissals.h"
#include "companions/strings/findings.h"
#include "host/app/companion.h"
#include "host/app/exit_status.h"
#include "host/services/files.h"
#include "host/services/jsonbytes.h"
#include "host/services/paths.h"
#include "host/services/text.h"
#include "host/services/threads.h"
#include "host/services/utf8.h"

namespace companion {
namespace {

struct UnreadableFile {
  std::string path;
  std::string reason;
};

/// The string files of a folder, and what its listing shows to be wrong.
struct Folder {
  std::vector<StringFile> files;
  std::vector<Finding> findings;
  std::vector<UnreadableFile> unreadable;
};

Finding findingOf(const std::string& path, const char* kind, std::string sentence) {
  Finding finding;
  finding.path = path;
  finding.subject.kind = kind;
  finding.subject.text = std::filesystem::path(path).filename().string();
  finding.sentence = std::move(sentence);
  return finding;
}

/// Two files of one language, or languages that differ by letter case only.
void findSameLanguages(Folder& folder) {
  std::map<std::string, const StringFile*> seen;
  for (const StringFile& file : folder.files) {
    std::string letters = host::toUtf8(file.language);
    std::transform(letters.begin(), letters.end(), letters.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
    const auto [first, isNew] = seen.try_emplace(letters, &file);
    if (isNew) continue;
    const bool isSame = first->second->language == file.language;
    folder.findings.push_back(
        findingOf(file.path, "same-language",
                  (isSame ? "the same language as " : "another language than that of ") +
                      host::visible(std::filesystem::path(first->second->path).filename().string()) +
                      (isSame ? ", which is imported before it" : ": letter case counts in language codes")));
  }
}

/// Without the fallback's texts nothing is compared, which must not look as if nothing were wrong.
void findMissingFallback(const std::string& path, Folder& folder) {
  const auto isFallback = [](const StringFile& file) { return file.language == kFallbackLanguage; };
  if (std::any_of(folder.files.begin(), folder.files.end(), isFallback)) return;
  Finding finding = findingOf(path, "no-us",
                              "there is no script_US.txt that can be read: placeholders, blanks and "
                              "punctuation are compared with nothing");
  finding.subject.text.clear();  // wherever the folder is
  folder.findings.push_back(std::move(finding));
}

void readFile(const std::string& path, const std::u16string& name, Folder& folder) {
  constexpr std::size_t kLanguageAt = 7;
  StringFile file;
  file.path = path;
  file.language = name.substr(kLanguageAt, 2);
  try {
    std::error_code noSize;  // reading tells why
    const std::uintmax_t size = std::filesystem::file_size(path, noSize);
    if (!noSize && size > kLargestFile) throw std::runtime_error("it is larger than 64 MiB");
    readEntries(host::readWholeFile(path), file);
    folder.files.push_back(std::move(file));
  } catch (const std::runtime_error& error) {
    folder.unreadable.push_back({path, host::reasonOf(error)});
  }
}

/// Throws std::system_error when the folder cannot be listed.
Folder readFolder(const std::string& path) {
  Folder folder;
  for (const host::ListedEntry& entry : host::listFolder(path)) {
    if (host::interruptRequested()) return folder;
    const std::u16string name = host::fromUtf8(entry.name);
    const std::string file = host::joinPath(path, entry.name);
    if (isAlmostStringFileName(entry.name)) {
      folder.findings.push_back(
          findingOf(file, "not-taken",
                    "the import does not take this name: it wants script_, two characters and .txt"));
    } else if (isStringFileName(name) && entry.isFolder) {
      folder.findings.push_back(findingOf(file, "not-taken", "the import passes over it: it is a folder"));
    } else if (isStringFileName(name)) {
      readFile(file, name, folder);
    }
  }
  findSameLanguages(folder);
  if (!folder.files.empty()) findMissingFallback(path, folder);
  return folder;
}

class StringsCommand : public host::Companion {
 public:
  CLI::App* describe(CLI::App& program) override {
    CLI::App* strings = program.add_subcommand("strings", "looks after the texts of scripts");
    strings->require_subcommand(1);
    CLI::App* check = strings->add_subcommand(
        "check", "says what is wrong with the script string files of a folder; changes none of them");
    check->add_option("DIR", folder_, "the folder of the string files")->required();
    check->add_flag("--dismiss", dismiss_,
                    "accepts what is found, in DIR/" + std::string(kDismissalsName) +
                        ", but for what the import refuses; forgets what is found no more");
    check->add_flag("--show-dismissed", showDismissed_,
                    "lists what was accepted as well, and what of that is found no more");
    check->add_option("--json", jsonFile_, "FILE: writes everything as JSON")->check(refuseEmpty);
    return strings;
  }

  int run(host::HostServices& services) override {
    host::Console& console = services.console;
    const std::string folder = host::normalPath(folder_);
    try {
      if (!host::folderExists(folder)) return refused(console, "'" + folder + "' is no folder.");
      const std::string dismissalsFile = host::joinPath(folder, kDismissalsName);
      const Subjects dismissed = readDismissals(dismissalsFile);
      Folder read = readFolder(folder);
      if (host::interruptRequested()) return host::kExitStopped;
      if (read.files.empty() && read.unreadable.empty()) {
        tell(console, read.findings);
        return refused(console, "There is no script string file (script_de.txt) in '" + folder + "'.");
      }
      return report(console, dismissalsFile, dismissed, read, findAll(services, read));
    } catch (const std::system_error& error) {
      return refused(console, folder + ": " + host::reasonOf(error));
    } catch (const std::runtime_error& error) {
      return refused(console, error.what());
    }
  }

 private:
  static std::string refuseEmpty(const std::string& text) { return text.empty() ? "a name is missing" : ""; }

  static int refused(host::Console& console, const std::string& reason) {
    console.printError(reason);
    return host::kExitUsage;
  }

  static void tell(host::Console& console, const std::vector<Finding>& findings) {
    for (const Finding& finding : findings) console.print(lineOf(finding));
  }

  static void tellStale(host::Console& console, const std::string& file, const std::vector<Subject>& stale) {
    for (const Subject& subject : stale) {
      std::string line = host::visible(file) + ": fits nothing any more: " + subject.kind;
      for (const std::string& part : {subject.language, subject.script, subject.tag, subject.text}) {
        if (!part.empty()) line += " '" + host::visible(part) + "'";
      }
      console.print(line);
    }
  }

  static std::vector<Finding> findAll(host::HostServices& services, Folder& read) {
    std::optional<std::set<std::u16string>> scripts;
    for (const std::string& name : services.scriptNames()) {
      if (!scripts) scripts.emplace();
      scripts->insert(host::fromUtf8(name));
    }
    if (!scripts) services.console.printError("The host keeps no scripts: names of scripts are not checked.");
    std::vector<Finding> findings = std::move(read.findings);
    for (const std::u16string& name : scripts.value_or(std::set<std::u16string>())) {
      if (name.find(u'"') == std::u16string::npos) continue;
      findings.push_back(
          findingOf(host::toUtf8(name), "quote",
                    "the name of a script holds a double quote, which string files cannot carry"));
    }
    std::vector<Finding> inFiles = checkFiles(read.files, scripts);
    findings.insert(findings.end(), std::make_move_iterator(inFiles.begin()),
                    std::make_move_iterator(inFiles.end()));
    return findings;
  }

  int report(host::Console& console, const std::string& dismissalsFile, const Subjects& dismissed,
             const Folder& read, std::vector<Finding> findings) {
    std::vector<Finding> open;
    std::vector<Finding> accepted;
    Subjects present;
    bool isWhole = read.unreadable.empty();
    for (Finding& finding : findings) {
      if (finding.stopsImport) {
        isWhole = false;
      } else {
        present.insert(finding.subject);
      }
      const bool isAccepted = !finding.stopsImport && (dismiss_ || dismissed.count(finding.subject) != 0);
      (isAccepted ? accepted : open).push_back(std::move(finding));
    }
    tell(console, open);
    if (showDismissed_) tell(console, accepted);
    for (const UnreadableFile& file : read.unreadable) {
      console.printError(file.path + ": cannot be read: " + file.reason);
    }
    // What could not be checked may hold what was accepted.
    if (!isWhole) present.insert(dismissed.begin(), dismissed.end());
    std::vector<Subject> stale;
    std::set_difference(dismissed.begin(), dismissed.end(), present.begin(), present.end(),
                        std::back_inserter(stale));
    if (showDismissed_) tellStale(console, dismissalsFile, stale);
    console.print(summary(read, open.size(), accepted.size(), dismiss_ ? 0 : stale.size()));
    if (dismiss_) {
      write(dismissalsFile, [&] { writeDismissals(dismissalsFile, present); });
      console.print("Dismissals: " + dismissalsFile);
    }
    if (!jsonFile_.empty()) writeJson(console, read, open, accepted);
    if (read.files.empty()) return host::kExitUsage;  // nothing was checked
    return open.empty() && read.unreadable.empty() ? host::kExitGood : host::kExitWrong;
  }

  /// Throws std::runtime_error with the file and the reason.
  template <class Writer>
  static void write(const std::string& file, Writer writer) {
    try {
      writer();
    } catch (const std::system_error& error) {
      throw std::runtime_error(file + ": not written: " + host::reasonOf(error));
    }
  }

  static std::string summary(const Folder& read, std::size_t open, std::size_t accepted, std::size_t stale) {
    std::size_t entries = 0;
    for (const StringFile& file : read.files) entries += file.entries.size();
    std::string text = "files: " + std::to_string(read.files.size()) +
                       ", entries: " + std::to_string(entries) + ", findings: " + std::to_string(open);
    if (accepted > 0) text += ", dismissed: " + std::to_string(accepted);
    if (stale > 0) text += ", dismissals that fit nothing any more: " + std::to_string(stale);
    return text;
  }

  void writeJson(host::Console& console, const Folder& read, const std::vector<Finding>& open,
                 const std::vector<Finding>& accepted) {
    nlohmann::ordered_json json;
    json["findings"] = nlohmann::ordered_json::array();
    for (const auto* findings : {&open, &accepted}) {
      for (const Finding& finding : *findings) {
        json["findings"].push_back({{"file", host::bytesToJson(finding.path)},
                                    {"line", finding.place.line},
                                    {"column", finding.place.column},
                                    {"kind", finding.subject.kind},
                                    {"language", host::bytesToJson(finding.subject.language)},
                                    {"script", host::bytesToJson(finding.subject.script)},
                                    {"sentence", host::bytesToJson(finding.sentence)},
                                    {"dismissed", findings == &accepted}});
      }
    }
    json["unreadable"] = nlohmann::ordered_json::array();
    for (const UnreadableFile& unreadable : read.unreadable) {
      json["unreadable"].push_back(
          {{"file", host::bytesToJson(unreadable.path)}, {"reason", unreadable.reason}});
    }
    const std::string file = host::normalPath(jsonFile_);
    write(file, [&] { host::writeWholeFile(file, host::jsonText(json)); });
    console.print("JSON: " + file);
  }

  std::string folder_;
  std::string jsonFile_;
  bool dismiss_ = false;
  bool showDismissed_ = false;
} g_command;

}  // namespace
}  // namespace companion
