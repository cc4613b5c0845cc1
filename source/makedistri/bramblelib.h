// The symbol header: the constants of the SDK for scripts, as one anonymous enumeration.
#pragma once

#include <string>
#include <string_view>

#include "vesta.framework/file.h"

namespace outfitter {

/// Writes the file bramblesymbols.h in the application's resource folder. What cannot be written is lost
/// without a word: the host keeps the file that was there.
class SymbolHeader {
 public:
  /// Opens the file, in place of a write-protected one if need be, and writes the first line. False, with
  /// nothing changed, when there can be no such file.
  bool Open();
  /// Writes the line of one symbol, cut at 1023 bytes, unless it is one of those that are never written.
  void WriteSymbol(std::string_view name, int32_t value);
  /// Prints how many symbols were handed over, writes the last lines and closes the file.
  void Close(int32_t written);

 private:
  /// Collects what is written, a block at a time.
  void Write(std::string_view bytes);
  void WriteBlock();

  vesta::File file_;
  std::string lineEnd_;
  std::string block_;
};

}  // namespace outfitter
