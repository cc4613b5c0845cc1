#include "host/headless/scripted_dialogs.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "host/services/paths.h"
#include "host/services/threads.h"

namespace host {
namespace {

constexpr int32_t kOkButton = 1;
constexpr std::chrono::milliseconds kPumpInterval{50};

std::optional<int32_t> numberIn(const std::string& text) {
  int32_t number = 0;
  const auto end = std::from_chars(text.data(), text.data() + text.size(), number);
  if (end.ec != std::errc() || end.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

bool setCheckBox(Gadget& gadget, const std::string& value) {
  const bool on = value == "1" || value == "true";
  if (!on && value != "0" && value != "false") return false;
  gadget.value = on ? 1 : 0;
  return true;
}

bool setComboBox(Gadget& gadget, const std::string& value) {
  const auto number = numberIn(value);
  for (const ComboEntry& entry : gadget.entries) {
    if (entry.text != value && entry.id != number) continue;
    gadget.value = entry.id;
    return true;
  }
  return false;
}

/// What is wrong with the answer; empty when the gadget has taken it.
std::string setGadget(Gadget* gadget, const DialogScript::Answer& answer) {
  const std::string name = "gadget " + std::to_string(answer.gadget);
  if (gadget == nullptr) return "the dialog has no " + name;
  if (!gadget->enabled) return name + " ('" + gadget->text + "') is disabled";
  bool taken = true;
  switch (gadget->kind) {
    case Gadget::Kind::Text:
      return name + " is a text and takes no value";
    case Gadget::Kind::FileName:
      gadget->path = normalPath(answer.value);
      break;
    case Gadget::Kind::CheckBox:
      taken = setCheckBox(*gadget, answer.value);
      break;
    case Gadget::Kind::ComboBox:
      taken = setComboBox(*gadget, answer.value);
      break;
  }
  return taken ? "" : "'" + answer.value + "' is no value of " + name;
}

}  // namespace

void ScriptedDialogs::setScript(DialogScript script) {
  script_ = std::move(script);
  problems_.clear();
  cancelled_ = false;
}

void ScriptedDialogs::run(Dialog& dialog) {
  if ((dialog.buttons & kOkButton) != 0) {
    answer(dialog);
  } else if (host_->options.interactive) {
    pump(dialog);
  } else {
    dialog.press(false);
  }
  // Nobody is there to say it again.
  if (dialog.isOpen()) dialog.close(false);
}

void ScriptedDialogs::answer(Dialog& dialog) {
  for (const DialogScript::Answer& given : script_.answers) {
    const std::string problem = setGadget(dialog.find(given.gadget), given);
    if (problem.empty()) {
      dialog.command(given.gadget);
    } else {
      problems_.push_back(problem);
    }
  }
  script_.answers.clear();
  const bool cancel = std::exchange(script_.cancel, false) || !problems_.empty();
  cancelled_ = cancelled_ || cancel;
  dialog.press(!cancel);
}

void ScriptedDialogs::pump(Dialog& dialog) {
  while (dialog.isOpen()) {
    host_->events.wait(kPumpInterval);
    const bool nobodyWorks = runningWorkers() == 0;
    const auto event = host_->events.take();
    if (!event) {
      // The message that was to close it got lost, and no other will come.
      if (!nobodyWorks) continue;
      dialog.press(false);
      return;
    }
    if (event->kind != Event::Kind::CoreMessage) {
      host_->console.show(*event);
      continue;
    }
    // A message may close dialogs, also others.
    const std::vector<Dialog*> receivers = host_->openDialogs;
    for (Dialog* receiver : receivers) {
      if (receiver->isOpen()) receiver->coreMessage(event->number, event->data ? &*event->data : nullptr);
    }
  }
}

std::optional<std::string> ScriptedDialogs::selectFile(const std::string&, bool) {
  if (script_.selections.empty()) return std::nullopt;
  std::string chosen = std::move(script_.selections.front());
  script_.selections.pop_front();
  return chosen;
}

}  // namespace host
