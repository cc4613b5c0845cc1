#include "host/services/commands.h"

#include <cctype>

namespace host {

std::string shownName(const std::string& name) {
  const auto isDigit = [&](size_t i) { return std::isdigit(static_cast<unsigned char>(name[i])) != 0; };
  const bool sorted = name.size() >= 4 && name[0] == '#' && name[1] == '$' && isDigit(2) && isDigit(3);
  return sorted ? name.substr(4) : name;
}

bool CommandRegistry::add(std::unique_ptr<Command>& command) {
  if (find(command->id) != nullptr) return false;
  commands_.push_back(std::move(command));
  return true;
}

Command* CommandRegistry::find(int32_t id) const {
  for (const auto& command : commands_) {
    if (command->id == id) return command.get();
  }
  return nullptr;
}

void CommandRegistry::clear() {
  while (!commands_.empty()) commands_.pop_back();
}

}  // namespace host
