// `vesta literals`: the texts of a source tree with their places, and whether there are new ones.
#include <stdexcept>
#include <system_error>
#include <utility>

#include "companions/literals/baseline.h"
#include "companions/literals/listing.h"
#include "host/app/companion.h"
#include "host/app/exit_status.h"
#include "host/services/files.h"
#include "host/services/paths.h"
#include "host/services/threads.h"

namespace companion {
namespace {

class LiteralsCommand : public host::Companion {
 public:
  CLI::App* describe(CLI::App& program) override {
    CLI::App* command = program.add_subcommand(
        "literals", "lists the texts in source files for translators, or those that a baseline lacks");
    command->add_option("DIR", folder_, "the sources: *.cpp and *.h below it")->required();
    json_ =
        command->add_option("--json", jsonFile_, "FILE: writes them as JSON; to standard output without FILE")
            ->expected(0, 1);
    CLI::Option* baseline = command
                                ->add_option("--baseline", baselineFile_,
                                             "FILE: lists texts that FILE lacks, and fails if there are any")
                                ->check(refuseEmpty);
    command->add_option("--write-baseline", newBaselineFile_, "FILE: keeps all texts as a baseline")
        ->check(refuseEmpty)
        ->excludes(baseline);
    return command;
  }

  int run(host::HostServices& services) override {
    host::Console& console = services.console;
    try {
      const std::string folder = host::normalPath(folder_);
      if (!host::folderExists(folder)) return refused(console, "'" + folder + "' is no folder.");
      if (!baselineFile_.empty()) known_ = readBaseline(host::normalPath(baselineFile_));
      const SearchedFiles files = search(console, folder);
      if (host::interruptRequested()) return host::kExitStopped;
      if (files.count == 0 && files.unreadable.empty())
        return refused(console, "There are no sources (*.cpp, *.h) below '" + folder + "'.");
      return finish(console, folder, files);
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

  bool wantsJson() const { return json_->count() > 0; }
  /// Whether standard output is one JSON object.
  bool printsJson() const { return wantsJson() && jsonFile_.empty(); }
  bool listsTexts() const { return !printsJson() && newBaselineFile_.empty(); }

  SearchedFiles search(host::Console& console, const std::string& folder) {
    const auto take = [&](const PlacedText& text) {
      ++literals_;
      if (!baselineFile_.empty() || !newBaselineFile_.empty()) present_.emplace(text.written);
      if (known_.find(text.written) != known_.end()) return;
      if (wantsJson()) jsonListing_.add(text);
      if (listsTexts()) list(console, placeLine(text));
    };
    SearchedFiles files = findTexts(folder, take, host::interruptRequested);
    showLines(console);
    return files;
  }

  /// The console shows what it is given at once, which for every line on its own takes longer than the
  /// search.
  void list(host::Console& console, const std::string& line) {
    constexpr size_t kBlock = 65536;
    if (!lines_.empty()) lines_ += '\n';
    lines_ += line;
    if (lines_.size() > kBlock) showLines(console);
  }

  void showLines(host::Console& console) {
    if (!lines_.empty()) console.print(std::exchange(lines_, {}));
  }

  int finish(host::Console& console, const std::string& folder, const SearchedFiles& files) {
    const Comparison comparison = {host::normalPath(baselineFile_), countMissing(present_, known_),
                                   countMissing(known_, present_)};
    const bool compares = !baselineFile_.empty();
    for (const UnreadableSource& source : files.unreadable)
      console.printError(source.file + ": cannot be read: " + source.reason);
    if (!printsJson()) console.print(summary(files, compares ? &comparison : nullptr));
    if (wantsJson())
      giveJson(console, jsonListing_.finish(folder, literals_, files, compares ? &comparison : nullptr));
    if (!newBaselineFile_.empty()) keepBaseline(console, files.unreadable.empty());
    const bool hasNew = compares && comparison.fresh > 0;
    return files.unreadable.empty() && !hasNew ? host::kExitGood : host::kExitWrong;
  }

  /// How many of `texts` are not in `others`.
  static size_t countMissing(const Texts& texts, const Texts& others) {
    size_t missing = 0;
    for (const std::string& text : texts) missing += others.count(text) == 0 ? 1 : 0;
    return missing;
  }

  std::string summary(const SearchedFiles& files, const Comparison* comparison) const {
    std::string text = "files: " + std::to_string(files.count) + ", literals: " + std::to_string(literals_);
    if (comparison == nullptr) return text;
    return text + ", new texts: " + std::to_string(comparison->fresh) +
           ", texts gone from the baseline: " + std::to_string(comparison->gone);
  }

  void giveJson(host::Console& console, std::string text) const {
    if (printsJson()) {
      text.pop_back();  // the console ends the line
      console.print(std::move(text));
      return;
    }
    write(jsonFile_, [&](const std::string& file) { host::writeWholeFile(file, text); });
    console.print("JSON: " + host::normalPath(jsonFile_));
  }

  void keepBaseline(host::Console& console, bool isWhole) const {
    if (!isWhole) {
      // What could not be read would be new the next time.
      console.printError(newBaselineFile_ + ": not written, because not everything could be read.");
      return;
    }
    write(newBaselineFile_, [&](const std::string& file) { writeBaseline(file, present_); });
    if (!printsJson()) console.print("Baseline: " + host::normalPath(newBaselineFile_));
  }

  /// Throws std::runtime_error with the file and the reason.
  template <class Writer>
  static void write(const std::string& file, Writer writer) {
    try {
      writer(host::normalPath(file));
    } catch (const std::system_error& error) {
      throw std::runtime_error(file + ": " + host::reasonOf(error));
    }
  }

  // What the command line said.
  std::string folder_;
  std::string jsonFile_;
  std::string baselineFile_;
  std::string newBaselineFile_;
  CLI::Option* json_ = nullptr;

  Texts known_;    ///< to the baseline
  Texts present_;  ///< in the sources; kept only where a baseline is read or written
  size_t literals_ = 0;
  std::string lines_;  ///< that wait to be shown
  JsonListing jsonListing_;
} g_command;

}  // namespace
}  // namespace companion
