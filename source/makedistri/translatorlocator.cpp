#include "makedistri/translatorlocator.h"

#include <algorithm>
#include <new>

#include "makedistri/translatorlocator_literals.h"
#include "vesta.framework/contract/command_ids.h"
#include "vesta.framework/file.h"
#include "vesta.framework/memory.h"

namespace outfitter {

using namespace vesta;

namespace {

/// What one call reads or writes at most, since a host counts bytes in 32 bits.
constexpr size_t kMostBytes = size_t{1} << 30;

/// The list as a file. Its lines are put together from pieces of the source file without being copied to a
/// whole: in a long line of many texts each one's line is long.
class TextList {
 public:
  bool Open() {
    const FileName home = GetHostFolder(HOST_FOLDER_HOME);
    // Without a folder the name would mean a file in the current one.
    if (home.IsEmpty() || !file_.Open(home.Join("strings.txt"), HOST_FILE_WRITE)) return false;
    lineEnd_ = GetLineEnd();
    return true;
  }

  void Add(const FoundLiteral& literal) {
    WriteListLine(literal, lineEnd_, [this](std::string_view piece) { Write(piece); });
  }
  /// Whether every byte could be written so far; after that nothing helps any more.
  bool IsGood() const { return isGood_; }

  void Close() {
    WriteBlock();
    file_.Close();
  }

 private:
  void Write(std::string_view piece) {
    if (block_.size() + piece.size() > kBlock) WriteBlock();
    if (piece.size() > kBlock) {
      WriteOut(piece);
    } else {
      block_ += piece;
    }
  }

  void WriteBlock() {
    WriteOut(block_);
    block_.clear();
  }

  void WriteOut(std::string_view bytes) {
    while (isGood_ && !bytes.empty()) {
      const std::string_view part = bytes.substr(0, kMostBytes);
      isGood_ = file_.Write(part.data(), static_cast<int32_t>(part.size()));
      bytes.remove_prefix(part.size());
    }
  }

  static constexpr size_t kBlock = 65536;

  File file_;
  std::string lineEnd_;
  std::string block_;
  bool isGood_ = true;
};

/// The bytes of a file. None when it is empty, or not all of it could be read.
class FileBytes {
 public:
  explicit FileBytes(const FileName& name) {
    File file;
    if (!file.Open(name, HOST_FILE_READ)) return;
    const int64_t length = file.Length();
    if (length <= 0) return;
    bytes_ = HostArray<char>(static_cast<uint64_t>(length));
    if (bytes_ && Read(file, static_cast<size_t>(length))) count_ = static_cast<size_t>(length);
  }
  std::string_view View() const { return {bytes_.Get(), count_}; }

 private:
  bool Read(File& file, size_t length) const {
    size_t done = 0;
    while (done < length) {
      const auto part = static_cast<int32_t>(std::min(length - done, kMostBytes));
      if (file.Read(bytes_.Get() + done, part) != part) return false;
      done += static_cast<size_t>(part);
    }
    return true;
  }

  HostArray<char> bytes_;
  size_t count_ = 0;
};

/// Walks a folder of sources, in the host's order.
class SourceWalk {
 public:
  explicit SourceWalk(TextList& list) : list_(list) {}

  void Walk(const FileName& folder) {
    Browse browse(folder);
    FileName name;
    while (list_.IsGood() && browse.Next()) {
      if (!browse.GetName(name)) continue;
      if (browse.IsFolder()) {
        Walk(folder.Join(name));
      } else if (name.HasSuffix(cpp_) || name.HasSuffix(h_)) {
        Scan(folder.Join(name));
      }
    }
  }

 private:
  void Scan(const FileName& name) {
    const FileBytes file(name);
    FindLiterals(
        file.View(), [this](std::string_view literal) { return IsHeaderForHost(literal); },
        [this](const FoundLiteral& literal) {
          list_.Add(literal);
          return list_.IsGood();
        });
  }

  /// The host decides what a suffix is.
  bool IsHeaderForHost(std::string_view literal) const {
    // No system has file names that long, and the host would hold such a literal several times over.
    constexpr size_t kLongestName = 65536;
    if (literal.size() > kLongestName) return IsHeaderName(literal);
    String text;
    text.Set(literal.data(), static_cast<uint32_t>(literal.size()), HOST_ENCODING_BYTES);
    return FileName(text).HasSuffix(h_);
  }

  TextList& list_;
  const String cpp_ = "cpp";
  const String h_ = "h";
};

}  // namespace

bool TranslatorLocator::Execute(HostDocument*) {
  TextList list;
  if (!list.Open()) return false;
  FileName folder = GetStartupFolder();
  if (SelectFolder(folder)) SourceWalk(list).Walk(folder);
  list.Close();
  return true;
}

bool RegisterTranslatorLocator() {
  return RegisterCommand(HOST_COMMAND_TRANSLATOR_LOCATOR, "#$63Translator Locator...", 0, nullptr, "",
                         new (std::nothrow) TranslatorLocator);
}

}  // namespace outfitter
