#include "host/services/configuration.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <optional>

#include "host/services/files.h"
#include "host/services/json.h"

namespace host {
namespace {

std::optional<bool> truthOf(const std::string& text) {
  for (const char* word : {"1", "true", "on", "yes"}) {
    if (text == word) return true;
  }
  for (const char* word : {"0", "false", "off", "no"}) {
    if (text == word) return false;
  }
  return std::nullopt;
}

std::string textOfJson(const nlohmann::json& value) {
  return value.is_string()      ? value.get<std::string>()
         : value.is_primitive() ? value.dump()
                                : std::string("a list");
}

}  // namespace

void Configuration::readFile(const std::filesystem::path& file,
                             const std::function<void(const std::string&)>& warn) {
  std::error_code error;
  if (!std::filesystem::exists(file, error)) return;
  try {
    const auto json = parseJsonText(readWholeFile(file));
    if (!json.is_object()) throw std::runtime_error("not an object of names and values");
    for (const auto& [name, value] : json.items()) fromFiles_[name] = {textOfJson(value), file.string()};
  } catch (const std::exception& problem) {
    warn("the configuration file '" + file.string() + "' is left out: " + problem.what());
  }
}

bool Configuration::setFromCommandLine(const std::string& assignment) {
  const size_t equals = assignment.find('=');
  if (equals == std::string::npos || equals == 0) return false;
  fromCommandLine_[assignment.substr(0, equals)] = assignment.substr(equals + 1);
  return true;
}

void Configuration::declare(ConfigurationValue value) {
  value.text = value.defaultText;
  value.source = "default";
  const auto same = std::find_if(values_.begin(), values_.end(),
                                 [&](const ConfigurationValue& other) { return other.name == value.name; });
  if (same != values_.end()) {
    *same = std::move(value);
  } else {
    values_.push_back(std::move(value));
  }
}

void Configuration::declareSwitch(const std::string& name, const std::string& help, unsigned char* storage) {
  declare({name, help, *storage != 0 ? "true" : "false", {}, {}, [storage](const std::string& text) {
             const auto truth = truthOf(text);
             if (truth) *storage = *truth ? 1 : 0;
             return truth.has_value();
           }});
}

void Configuration::declareNumber(const std::string& name, const std::string& help, int32_t* storage,
                                  int32_t low, int32_t high) {
  declare({name, help, std::to_string(*storage), {}, {}, [=](const std::string& text) {
             int32_t number = 0;
             const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
             if (end.ec != std::errc() || end.ptr != text.data() + text.size()) return false;
             if (number < low || number > high) return false;
             *storage = number;
             return true;
           }});
}

void Configuration::declareChoice(const std::string& name, const std::string& help, std::string* storage,
                                  const std::vector<std::string>& choices) {
  declare({name, help, *storage, {}, {}, [=](const std::string& text) {
             if (std::find(choices.begin(), choices.end(), text) == choices.end()) return false;
             *storage = text;
             return true;
           }});
}

bool Configuration::isDeclared(const std::string& name) const {
  return std::any_of(values_.begin(), values_.end(),
                     [&](const ConfigurationValue& value) { return value.name == name; });
}

std::vector<std::string> Configuration::unknownNames() const {
  std::vector<std::string> names;
  for (const auto& [name, given] : fromFiles_) {
    if (!isDeclared(name)) names.push_back(name + " (" + given.source + ")");
  }
  return names;
}

std::vector<std::string> Configuration::apply() {
  std::vector<std::string> problems;
  std::map<std::string, std::string> unused = fromCommandLine_;
  for (ConfigurationValue& value : values_) {
    const auto take = [&](const std::string& text, const std::string& source) {
      if (value.assign(text)) {
        value.text = text;
        value.source = source;
      } else {
        std::string problem = "'" + text;
        problem.append("' (").append(source).append(") is no value of ").append(value.name);
        problems.push_back(std::move(problem));
      }
    };
    if (const auto file = fromFiles_.find(value.name); file != fromFiles_.end()) {
      take(file->second.text, file->second.source);
    }
    if (const char* environment = std::getenv(("VESTA_" + value.name).c_str()))
      take(environment, "environment");
    if (const auto given = fromCommandLine_.find(value.name); given != fromCommandLine_.end()) {
      take(given->second, "command line");
    }
    unused.erase(value.name);
  }
  for (const auto& [name, text] : unused) {
    problems.push_back("there is no configuration value '" + name + "' (command line)");
  }
  return problems;
}

}  // namespace host
