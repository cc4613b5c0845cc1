#include "host/app/symbol_header.h"

#include "host/services/files.h"
#include "host/services/paths.h"

namespace host {

SymbolHeader::SymbolHeader(const std::string& appFolder)
    : file_(joinPath(appFolder, "resource/bramblesymbols.h")), before_(read()) {}

std::optional<std::string> SymbolHeader::read() const {
  try {
    return readWholeFile(file_);
  } catch (const std::exception&) {
    return std::nullopt;
  }
}

void SymbolHeader::tellIfChanged(Console& console) const {
  const std::optional<std::string> now = read();
  if (!now || now == before_) return;
  console.print(
      "bramblesymbols.h has changed: run -createdistribution once more, so that gui.brc is compiled with it");
}

}  // namespace host
