// The command "Export Script Strings".
#include <cstring>
#include <string>
#include <vector>

#include "localize/localize.h"
#include "localize/localize_command.h"
#include "vesta.framework/memory.h"

namespace outfitter {

using namespace vesta;

namespace {

constexpr int32_t kLanguageCodes = 65536;
/// The language whose texts stand in where another one lacks them.
constexpr int32_t kFallback = HOST_SCRIPT_LANGUAGE + 'U' * 256 + 'S';

/// The number of characters. A host that fails calls a text empty as well; then it must have no bytes either.
int32_t LengthOf(const String& text) {
  const int32_t length = text.Length();
  std::string bytes;
  Require(length > 0 || (text.ToBytes(bytes, HOST_ENCODING_ASCII_ESCAPED) && bytes.empty()));
  return length;
}

/// What stands before the text in the lines about a script.
String LineHead(const char* tag, const String& name) {
  const String begin(tag);
  String head("\" \"");
  Require(!begin.IsEmpty() && !head.IsEmpty() && head.Insert(0, name) && head.Insert(0, begin));
  return head;
}

/// Writes a text in escaped ASCII. A host that has no memory for the bytes leaves it out.
void WritePiece(File& file, const String& text) {
  constexpr int64_t kMostBytesOfACharacter = 10;
  const int64_t size = LengthOf(text) * kMostBytesOfACharacter + 1;
  Require(size <= INT32_MAX);
  const HostArray<char> buffer(static_cast<uint64_t>(size));
  if (!buffer) return;
  Require(text.ToBuffer(buffer.Get(), static_cast<int32_t>(size), HOST_ENCODING_ASCII_ESCAPED) >= 0);
  file.Write(buffer.Get(), static_cast<int32_t>(std::strlen(buffer.Get())));
}

/// One export from its first file to its last.
class Export {
 public:
  void Run(const FileName& folder) {
    ForEachScript([&](int32_t, const ScriptView& script) { Collect(script); });
    for (const int32_t code : languages_) {
      if (WriteLanguage(folder, code)) continue;
      ShowMessage("Error writing");
      return;
    }
  }

 private:
  struct ExportedScript {
    ContainerView data;
    String nameHead;
    String helpHead;
  };

  /// Takes a script with the codes of its languages, which stand in the order they are first met.
  void Collect(const ScriptView& script) {
    const ContainerView data = script.GetData();
    if (!data) return;
    String name;
    Require(script.GetName(name));
    scripts_.push_back({data, LineHead("Name:\"", name), LineHead("Help:\"", name)});
    ContainerIds ids(data);
    int32_t id = 0;
    while (ids.Next(id)) {
      if (id < HOST_SCRIPT_LANGUAGE || id >= HOST_SCRIPT_LANGUAGE + kLanguageCodes) continue;
      const int32_t code = id - HOST_SCRIPT_LANGUAGE;
      if (!known_[static_cast<size_t>(code)]) languages_.push_back(code);
      known_[static_cast<size_t>(code)] = true;
    }
  }

  /// Writes the file of one language. False when it cannot be created.
  bool WriteLanguage(const FileName& folder, int32_t code) const {
    std::string leaf = "script_";
    leaf += static_cast<char>(code / 256);
    leaf += static_cast<char>(code % 256);
    leaf += ".TXT";
    if (leaf.find('/') != std::string::npos) return false;  // it would name a file of another folder
    String name;
    Require(name.Set(leaf.data(), static_cast<uint32_t>(leaf.size()), HOST_ENCODING_BYTES));
    File file;
    if (!file || !file.Open(folder.Join(name), HOST_FILE_WRITE)) return false;
    for (const ExportedScript& script : scripts_) WriteScript(file, script, HOST_SCRIPT_LANGUAGE + code);
    file.Close();
    return true;
  }

  void WriteScript(File& file, const ExportedScript& script, int32_t languageId) const {
    const ContainerView language = script.data.GetContainer(languageId);
    const ContainerView fallback = script.data.GetContainer(kFallback);
    WriteLine(file, script.nameHead, TextOf(language, fallback, HOST_SCRIPT_NAME));
    const String help = TextOf(language, fallback, HOST_SCRIPT_HELP);
    if (LengthOf(help) > 0) WriteLine(file, script.helpHead, help);
  }

  /// A text of a script in a language, else in the fallback; empty when neither has it.
  static String TextOf(const ContainerView& language, const ContainerView& fallback, int32_t id) {
    String text;
    if (language) Require(language.GetString(id, text));
    if (LengthOf(text) == 0 && fallback) Require(fallback.GetString(id, text));
    return text;
  }

  void WriteLine(File& file, const String& head, const String& text) const {
    WritePiece(file, head);
    WritePiece(file, text);
    // Not converted: the conversion turns line ends into escapes.
    file.Write(lineEnd_.data(), static_cast<int32_t>(lineEnd_.size()));
  }

  std::vector<ExportedScript> scripts_;
  std::vector<bool> known_ = std::vector<bool>(kLanguageCodes);
  std::vector<int32_t> languages_;
  const std::string lineEnd_ = "\"" + GetLineEnd();
};

}  // namespace

bool ExportCmd::Execute(HostDocument*) {
  return TellingOfMemory("Export Script Strings", [] {
    FileName folder;
    if (!SelectFolder(folder)) return false;
    Export().Run(folder);
    return true;
  });
}

}  // namespace outfitter
