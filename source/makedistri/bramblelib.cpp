#include "makedistri/bramblelib.h"

#include "makedistri/bramblelib_names.h"
#include "vesta.framework/messages.h"

namespace outfitter {

using namespace vesta;

namespace {

constexpr size_t kLongestLine = 1023;
constexpr size_t kBlock = 65536;

}  // namespace

bool SymbolHeader::Open() {
  const FileName name = GetStartupFolder().Join("resource").Join("bramblesymbols.h");
  if (!file_) return false;
  if (!file_.Open(name, HOST_FILE_WRITE)) {
    DeleteFile(name, true);
    if (!file_.Open(name, HOST_FILE_WRITE)) return false;
  }
  lineEnd_ = GetLineEnd();
  Write("enum {");
  Write(lineEnd_);
  return true;
}

void SymbolHeader::WriteSymbol(std::string_view name, int32_t value) {
  if (IsNeverWritten(name)) return;
  std::string line(name);
  line.append("=").append(std::to_string(value)).append(",").append(lineEnd_);
  Write(std::string_view(line).substr(0, kLongestLine));
}

void SymbolHeader::Close(int32_t written) {
  PrintConsole(String::FromInt(written) + " defines in files");
  Write("BRAMBLE_HEADERFILE_END_");
  Write(lineEnd_);
  Write("}");
  Write(lineEnd_);
  WriteBlock();
  file_.Close();
}

void SymbolHeader::Write(std::string_view bytes) {
  block_ += bytes;
  if (block_.size() >= kBlock) WriteBlock();
}

void SymbolHeader::WriteBlock() {
  file_.Write(block_.data(), static_cast<int32_t>(block_.size()));
  block_.clear();
}

}  // namespace outfitter
