#include "companions/strings/string_files.h"

#include <algorithm>
#include <stdexcept>

#include "host/services/paths.h"
#include "host/services/text.h"
#include "host/services/utf8.h"

namespace companion {

using outfitter::EntryLine;
using outfitter::ParsedEntry;

namespace {

constexpr std::size_t kPrefixLength = 7;  // script_
constexpr std::size_t kNameLength = 13;   // script_de.txt

bool isHexDigit(char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F'); }

/// The bytes of the character that begins at `byte`: an escape takes six.
std::size_t lengthOfCharacter(std::string_view line, std::size_t byte) {
  constexpr std::size_t kEscapeLength = 6;
  const std::string_view escape = line.substr(byte, kEscapeLength);
  const bool isEscape = escape.size() == kEscapeLength && escape[0] == '\\' && escape[1] == 'u' &&
                        std::all_of(escape.begin() + 2, escape.end(), isHexDigit);
  return isEscape ? kEscapeLength : 1;
}

/// The column of a character of a line.
std::size_t columnOf(std::string_view line, std::size_t character) {
  std::size_t byte = 0;
  for (std::size_t i = 0; i < character && byte < line.size(); ++i) byte += lengthOfCharacter(line, byte);
  return byte + 1;
}

std::string whyRefused(const ParsedEntry& entry) {
  if (entry.column == 0) return "a line begins with Name: or Help:";
  if (entry.quotes >= 4) return "nothing may stand behind the text; a text cannot hold a double quote";
  return "this cannot stand outside of the double quotes";
}

/// Puts the lines of one file together.
class FileReader {
 public:
  explicit FileReader(StringFile& file) : file_(file) {}

  void read(std::string_view bytes) {
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      const char byte = bytes[i];
      if (line_.Add(byte)) take();
      const bool isFirstOfTwo = byte == '\r' && i + 1 < bytes.size() && bytes[i + 1] == '\n';
      if (byte == '\n' || (byte == '\r' && !isFirstOfTwo)) ++number_;
    }
    if (!line_.IsEmpty()) take();
  }

 private:
  void take() {
    if (++taken_ > kMostLines) {
      throw std::runtime_error("it has more than " + std::to_string(kMostLines) + " lines");
    }
    if (line_.IsTooLong()) {
      file_.refused.push_back({{number_, EntryLine::kLongest + 1}, "the line is longer than 2047 bytes"});
    } else {
      parse();
    }
    line_.Clear();
  }

  void parse() {
    const std::string& bytes = line_.Bytes();
    ParsedEntry entry = outfitter::ParseEntry(host::decodeText(bytes, host::Encoding::Latin1Escaped));
    if (!entry.good) {
      file_.refused.push_back({{number_, columnOf(bytes, entry.column)}, whyRefused(entry)});
      return;
    }
    const Place identifier{number_, columnOf(bytes, entry.identifierStart)};
    const Place text{number_, columnOf(bytes, entry.textStart)};
    file_.entries.push_back({std::move(entry), identifier, text});
  }

  StringFile& file_;
  EntryLine line_;
  int64_t number_ = 1;
  std::size_t taken_ = 0;
};

Place placeOf(std::string_view bytes, std::size_t offset) {
  Place place{1, offset + 1};
  for (std::size_t i = 0; i < offset; ++i) {
    const bool isFirstOfTwo = bytes[i] == '\r' && bytes[i + 1] == '\n';
    if ((bytes[i] != '\n' && bytes[i] != '\r') || isFirstOfTwo) continue;
    ++place.line;
    place.column = offset - i;
  }
  return place;
}

/// What editors write that know nothing of the format.
void findEncodingProblem(std::string_view bytes, StringFile& file) {
  const auto refuse = [&](const char* problem) {
    file.encodingProblem = problem;
    file.encodingPlace = {1, 1};
    file.isUnreadable = true;
  };
  if (bytes.starts_with("\xff\xfe") || bytes.starts_with("\xfe\xff")) {
    return refuse("the file is UTF-16; the import reads bytes");
  }
  if (bytes.starts_with("\xef\xbb\xbf")) {
    return refuse(
        "the file begins with a byte order mark, which the import takes for a part of the first tag");
  }
  const auto isBeyondAscii = [](char c) { return static_cast<unsigned char>(c) > 127; };
  const auto first = std::find_if(bytes.begin(), bytes.end(), isBeyondAscii);
  if (first != bytes.end() && host::isUtf8(bytes)) {
    file.encodingProblem =
        "the file is UTF-8; the import takes each byte for a Latin-1 character: write \\u and four digits";
    file.encodingPlace = placeOf(bytes, static_cast<std::size_t>(first - bytes.begin()));
  }
}

}  // namespace

bool isStringFileName(const std::u16string& name) {
  return name.size() == kNameLength &&
         host::equalIgnoringCase(host::toUtf8(name.substr(0, kPrefixLength)), "script_") &&
         host::equalIgnoringCase(host::toUtf8(name.substr(kPrefixLength + 2)), ".txt");
}

bool isAlmostStringFileName(const std::string& name) {
  return host::equalIgnoringCase(std::string_view(name).substr(0, kPrefixLength), "script_") &&
         (host::hasSuffix(name, "txt") || host::hasSuffix(name, "text") ||
          name.find('.') == std::string::npos) &&
         !isStringFileName(host::fromUtf8(name));
}

void readEntries(std::string_view bytes, StringFile& file) {
  findEncodingProblem(bytes, file);
  if (!file.isUnreadable) FileReader(file).read(bytes);
}

}  // namespace companion
