#include "companions/strings/dismissals.h"

#include <algorithm>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include "host/services/files.h"
#include "host/services/json.h"
#include "host/services/jsonbytes.h"
#include "host/services/paths.h"

namespace companion {
namespace {

constexpr const char* kFirstLine = "{\"vestaStringsDismissed\":1}";

struct Field {
  const char* name;
  std::string Subject::*member;
};
constexpr Field kFields[] = {{"kind", &Subject::kind},     {"language", &Subject::language},
                             {"script", &Subject::script}, {"tag", &Subject::tag},
                             {"text", &Subject::text},     {"beside", &Subject::beside}};

std::string toLine(const Subject& subject) {
  nlohmann::ordered_json json;
  for (const Field& field : kFields) {
    if (!(subject.*field.member).empty()) json[field.name] = host::bytesToJson(subject.*field.member);
  }
  return json.dump();
}

Subject fromLine(std::string_view line) {
  const nlohmann::json json = host::parseJsonText(line);
  if (!json.is_object() || !json.contains("kind")) throw std::runtime_error("not a dismissal");
  Subject subject;
  for (const Field& field : kFields) {
    if (json.contains(field.name)) subject.*field.member = host::bytesFromJson(json[field.name]);
  }
  return subject;
}

Subjects parse(std::string_view bytes, std::size_t& number) {
  Subjects subjects;
  for (number = 1; !bytes.empty(); ++number) {
    const std::size_t end = std::min(bytes.find('\n'), bytes.size());
    std::string_view line = bytes.substr(0, end);
    bytes.remove_prefix(std::min(end + 1, bytes.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (number == 1 && line != kFirstLine)
      throw std::runtime_error("not the dismissals of 'vesta strings check'");
    if (number > 1 && !line.empty()) subjects.insert(fromLine(line));
  }
  return subjects;
}

}  // namespace

Subjects readDismissals(const std::string& file) {
  std::error_code ignored;
  if (!std::filesystem::exists(file, ignored)) return {};
  std::size_t line = 1;
  try {
    return parse(host::readWholeFile(file), line);
  } catch (const std::system_error& error) {
    throw std::runtime_error(file + ": " + host::reasonOf(error));
  } catch (const std::runtime_error& error) {
    throw std::runtime_error(file + ":" + std::to_string(line) + ": " + error.what());
  }
}

void writeDismissals(const std::string& file, const Subjects& subjects) {
  std::string bytes = std::string(kFirstLine) + "\n";
  for (const Subject& subject : subjects) bytes.append(toLine(subject)).append("\n");
  host::writeWholeFile(file, bytes);
}

}  // namespace companion
