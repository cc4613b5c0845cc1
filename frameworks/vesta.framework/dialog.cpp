#include "vesta.framework/dialog.h"

namespace vesta {
namespace {

const HostDialogCallbacks kDialogCallbacks = {
    sizeof(HostDialogCallbacks),
    [](void* self, const HostContainer* message, HostContainer* result) noexcept {
      return Guarded(HostBool{0}, [&] {
        ContainerView answer(result);
        return HostBool{static_cast<GeDialog*>(self)->CoreMessage(MessageView(message), answer)};
      });
    },
};

GeUserArea& Area(void* self) { return *static_cast<GeUserArea*>(self); }

const HostUserAreaCallbacks kUserAreaCallbacks = {
    sizeof(HostUserAreaCallbacks),
    [](void* self) noexcept { return GuardedTruth([&] { return Area(self).Init(); }); },
    [](void* self) noexcept { return GuardedTruth([&] { return Area(self).InitValues(); }); },
    [](void* self, int32_t* width, int32_t* height) noexcept {
      return GuardedTruth([&] { return Area(self).GetMinimumSize(*width, *height); });
    },
    [](void* self, int32_t width, int32_t height) noexcept {
      GuardedVoid([&] { Area(self).Sized(width, height); });
    },
    [](void* self, const HostContainer* message) noexcept {
      return GuardedTruth([&] { return Area(self).InputEvent(MessageView(message)); });
    },
    [](void* self, const HostContainer* message) noexcept {
      GuardedVoid([&] { Area(self).Draw(MessageView(message)); });
    },
    [](void* self) noexcept { GuardedVoid([&] { Area(self).Timer(); }); },
    [](void* self, HostBool focused) noexcept {
      GuardedVoid([&] { Area(self).FocusChanged(focused != 0); });
    },
    [](void* self, int32_t id, const HostContainer* message) noexcept {
      return GuardedTruth([&] { return Area(self).CoreMessage(id, MessageView(message)); });
    },
    [](void* self, const HostContainer* message, HostContainer* result) noexcept {
      return GuardedTruth([&] {
        ContainerView answer(result);
        return Area(self).Message(MessageView(message), answer);
      });
    },
};

}  // namespace

GeDialog::GeDialog() : dialog_(Host().dialogs.DialogAlloc(&kDialogCallbacks, this)) {}

GeDialog::~GeDialog() = default;

bool GeDialog::Open(int32_t mode, int32_t commandId) {
  return Host().dialogs.DialogOpen(dialog_.Get(), mode, commandId, -1, -1, 0, 0) != 0;
}

bool GeDialog::CoreMessage(const MessageView& message, ContainerView& result) {
  switch (message.GetId()) {
    case HOST_DIALOG_CREATE_LAYOUT:
      return CreateLayout();
    case HOST_DIALOG_INIT_VALUES:
      return InitValues();
    case HOST_DIALOG_OPENED:
      return Opened();
    case HOST_DIALOG_COMMAND:
      return Command(message.GetInt32(HOST_MESSAGE_ID), message);
    case HOST_DIALOG_ASK_CLOSE:
      return result.SetBool(HOST_MESSAGE_RESULT, AskClose());
    case HOST_DIALOG_TIMER:
      Timer();
      return true;
    case HOST_DIALOG_CLOSED:
      Closed();
      return true;
    default:
      return false;
  }
}

bool GeModalDialog::CoreMessage(const MessageView& message, ContainerView& result) {
  switch (message.GetId()) {
    case HOST_DIALOG_CONFIRM:
      return Close(true);
    case HOST_DIALOG_CANCEL:
      return Close(false);
    default:
      return GeDialog::CoreMessage(message, result);
  }
}

GeUserArea::GeUserArea() : area_(Host().dialogs.UserAreaAlloc(&kUserAreaCallbacks, this)) {}

GeUserArea::~GeUserArea() = default;

}  // namespace vesta
