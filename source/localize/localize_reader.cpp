// Reading a string file, entry by entry.
#include <string>

#include "localize/localize.h"
#include "localize/localize_entry.h"
#include "vesta.framework/messages.h"

namespace outfitter {

using namespace vesta;

namespace {

/// Puts the bytes of the next line together. False at the end of the file.
bool ReadLine(File& file, EntryLine& line) {
  char byte = 0;
  while (file.Read(&byte, 1) == 1) {
    if (line.Add(byte)) return true;
  }
  return !line.IsEmpty();
}

/// The line's characters, escapes turned into what they stand for. False when the host could not convert it.
bool Decode(const EntryLine& line, String& decoded, std::u16string& characters) {
  const std::string& bytes = line.Bytes();
  if (!decoded.Set(bytes.data(), static_cast<uint32_t>(bytes.size()), HOST_ENCODING_LATIN1_ESCAPED))
    return false;
  const int32_t length = decoded.Length();
  for (int32_t i = 0; i < length; ++i) {
    uint16_t code = decoded.CharAt(i);
    // Also the answer of a host that failed, and a lost quote would shift the text behind it.
    if (code == 0) code = decoded.CharAt(i);
    characters += static_cast<char16_t>(code);
  }
  return length > 0;
}

/// Sets `piece` to a part of the line. False when the host could not: nothing in its place is no text.
bool Copy(const String& line, size_t start, size_t count, String& piece) {
  piece = line.Sub(static_cast<int32_t>(start), static_cast<uint32_t>(count));
  return piece.Get() != nullptr && static_cast<size_t>(piece.Length()) == count;
}

bool Fill(ScriptStringEntry& entry, const EntryLine& line) {
  String decoded;
  std::u16string characters;
  if (line.IsTooLong() || !Decode(line, decoded, characters)) return false;
  const ParsedEntry parsed = ParseEntry(characters);
  entry.kind = static_cast<uint32_t>(parsed.kind);
  return parsed.good && Copy(decoded, parsed.identifierStart, parsed.identifier.size(), entry.identifier) &&
         Copy(decoded, parsed.textStart, parsed.text.size(), entry.text);
}

bool Read(File& file, const String& name, ScriptStringEntry& entry, int32_t ordinal) {
  entry.failed = 0;
  EntryLine line;
  if (!ReadLine(file, line)) return false;
  if (Fill(entry, line)) return true;
  ShowMessage(String("Unknown identifier file ") + name + " Line " + String::FromInt(ordinal));
  entry.failed = 1;
  return false;
}

}  // namespace

bool ReadFirstScriptStringEntry(File& file, const String& name, ScriptStringEntry& entry) {
  return Read(file, name, entry, 0);
}

bool ReadNextScriptStringEntry(File& file, const String& name, ScriptStringEntry& entry, int32_t ordinal) {
  return Read(file, name, entry, ordinal);
}

}  // namespace outfitter
