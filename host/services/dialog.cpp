#include "host/services/dialog.h"

#include <algorithm>

namespace host {

bool Dialog::begin() {
  gadgets.clear();
  groups.clear();
  title.clear();
  buttons = 0;
  currentGroup_ = -1;
  confirmed_ = false;
  open_ = true;
  if (receiver_(DialogMessage::CreateLayout, 0, nullptr) &&
      receiver_(DialogMessage::InitValues, 0, nullptr)) {
    receiver_(DialogMessage::Opened, 0, nullptr);
    return open_;
  }
  open_ = false;
  return false;
}

void Dialog::finish() {
  open_ = false;
  receiver_(DialogMessage::Closed, 0, nullptr);
}

void Dialog::close(bool confirmed) {
  open_ = false;
  confirmed_ = confirmed;
}

void Dialog::press(bool confirm) {
  command(confirm ? 1 : 2);
  if (!open_) return;
  const bool handled = receiver_(confirm ? DialogMessage::Confirm : DialogMessage::Cancel, 0, nullptr);
  if (open_ && !handled && !receiver_(DialogMessage::AskClose, 0, nullptr)) close(confirm);
}

Gadget& Dialog::add(Gadget gadget) {
  gadget.group = currentGroup_;
  gadgets.push_back(std::move(gadget));
  return gadgets.back();
}

void Dialog::beginGroup(GadgetGroup group) {
  group.parent = currentGroup_;
  groups.push_back(std::move(group));
  currentGroup_ = static_cast<int>(groups.size()) - 1;
}

bool Dialog::endGroup() {
  if (currentGroup_ < 0) return false;
  currentGroup_ = groups[static_cast<size_t>(currentGroup_)].parent;
  return true;
}

const Gadget* Dialog::find(int32_t id) const {
  // Texts that nobody will ask for share the identifier 0.
  const auto found =
      std::find_if(gadgets.begin(), gadgets.end(), [&](const Gadget& gadget) { return gadget.id == id; });
  return id == 0 || found == gadgets.end() ? nullptr : &*found;
}

Gadget* Dialog::find(int32_t id) { return const_cast<Gadget*>(static_cast<const Dialog*>(this)->find(id)); }

}  // namespace host
