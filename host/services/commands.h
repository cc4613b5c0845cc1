#pragma once
// The registered menu commands.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace host {

/// A command that a module registered. Main thread only.
class Command {
 public:
  virtual ~Command() = default;
  virtual bool execute() = 0;
  virtual bool isEnabled() = 0;

  int32_t id = 0;
  std::string name;  ///< as registered, UTF-8
  std::string help;
};

/// A name as menus show it: without the sort key, "#$" and two digits, that may lead it.
std::string shownName(const std::string& name);

class CommandRegistry {
 public:
  /// False, and the command is not taken, when its id is taken.
  bool add(std::unique_ptr<Command>& command);
  Command* find(int32_t id) const;
  const std::vector<std::unique_ptr<Command>>& commands() const { return commands_; }
  /// Ends every command, the last one first.
  void clear();

 private:
  std::vector<std::unique_ptr<Command>> commands_;
};

}  // namespace host
