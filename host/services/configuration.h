#pragma once
// Configuration values by name, and the four places they come from, later over earlier: the shipped file, the
// user's file, the environment (VESTA_ and the name), the command line.

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

namespace host {

/// A value that somebody declared: a switch of one byte, a number or a text.
struct ConfigurationValue {
  std::string name;
  std::string help;
  std::string defaultText;
  std::string text;    ///< what it is now
  std::string source;  ///< where that came from: "default" or a place
  /// Takes a text over into the storage; false when it is no value of this type.
  std::function<bool(const std::string&)> assign;
};

/// Thread: main until the start of the first command, read-only afterwards.
class Configuration {
 public:
  /// Reads the two files. What is wrong with one is told to `warn`, and the file left out.
  void readFile(const std::filesystem::path& file, const std::function<void(const std::string&)>& warn);
  /// A value of the command line, NAME=VALUE. False when it has not that form.
  bool setFromCommandLine(const std::string& assignment);

  void declareSwitch(const std::string& name, const std::string& help, unsigned char* storage);
  void declareNumber(const std::string& name, const std::string& help, int32_t* storage, int32_t low,
                     int32_t high);
  void declareChoice(const std::string& name, const std::string& help, std::string* storage,
                     const std::vector<std::string>& choices);

  /// Writes every declared value into its storage. Answers what is wrong, one sentence each: a value of the
  /// wrong type, a name of the command line that nobody declared.
  std::vector<std::string> apply();

  const std::vector<ConfigurationValue>& values() const { return values_; }
  /// The names in the files that nobody declared, each with its file in brackets.
  std::vector<std::string> unknownNames() const;

 private:
  struct Given {
    std::string text;
    std::string source;
  };
  void declare(ConfigurationValue value);
  bool isDeclared(const std::string& name) const;

  std::vector<ConfigurationValue> values_;
  std::map<std::string, Given> fromFiles_;
  std::map<std::string, std::string> fromCommandLine_;
};

}  // namespace host
