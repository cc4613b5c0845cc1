// Dialogs and their gadgets.
#include "host/services/text.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

static_assert(static_cast<int32_t>(DialogMessage::CreateLayout) == HOST_DIALOG_CREATE_LAYOUT);
static_assert(static_cast<int32_t>(DialogMessage::Command) == HOST_DIALOG_COMMAND);
static_assert(static_cast<int32_t>(DialogMessage::AskClose) == HOST_DIALOG_ASK_CLOSE);
static_assert(static_cast<int32_t>(DialogMessage::Cancel) == HOST_DIALOG_CANCEL);
static_assert(static_cast<int32_t>(DialogMessage::Core) == HOST_DIALOG_CORE);

Gadget* changeable(HostDialog* dialog, int32_t id) { return dialog->dialog.find(id); }

/// Sends a message as the contract has it: a container with the message's number for its identifier.
bool sendMessage(const HostDialogCallbacks* callbacks, void* self, DialogMessage message, int32_t id,
                 const Container* data) {
  Container container(static_cast<int32_t>(message));
  container.set(HOST_MESSAGE_ID, id);
  if (data != nullptr) container.set(HOST_MESSAGE_DATA, NestedContainer(*data));
  Container result;
  const bool handled = callbacks->Message(self, handleOf(&container), handleOf(&result)) != 0;
  return message == DialogMessage::AskClose ? result.getBool(HOST_MESSAGE_RESULT) : handled;
}

void forget(Dialog& dialog) { std::erase(services().openDialogs, &dialog); }

HostDialog* DialogAlloc(const HostDialogCallbacks* callbacks, void* self) {
  return new HostDialog([=](DialogMessage message, int32_t id, const Container* data) {
    return sendMessage(callbacks, self, message, id, data);
  });
}

void DialogFree(HostDialog* dialog) {
  forget(dialog->dialog);
  delete dialog;
}

HostBool DialogOpen(HostDialog* handle, int32_t mode, int32_t, int32_t, int32_t, int32_t, int32_t) {
  Dialog& dialog = handle->dialog;
  if (dialog.isOpen() || !dialog.begin()) return 0;
  services().openDialogs.push_back(&dialog);
  if (mode != HOST_DIALOG_MODAL) return 1;
  services().dialogs.run(dialog);
  forget(dialog);
  dialog.finish();
  services().console.flush();
  return dialog.confirmed() ? 1 : 0;
}

HostBool DialogClose(HostDialog* dialog, HostBool confirmed) {
  if (!dialog->dialog.isOpen()) return 0;
  dialog->dialog.close(confirmed != 0);
  return 1;
}

HostBool DialogIsOpen(const HostDialog* dialog) { return dialog->dialog.isOpen() ? 1 : 0; }

HostBool DialogSetTitle(HostDialog* dialog, const HostString* title) {
  dialog->dialog.title = toUtf8(title->text);
  return 1;
}

HostBool DialogGroupBegin(HostDialog* dialog, int32_t id, int32_t flags, int32_t columns, int32_t rows,
                          const HostString* title) {
  dialog->dialog.beginGroup(
      {id, flags, columns, rows, title != nullptr ? toUtf8(title->text) : std::string(), -1});
  return 1;
}

HostBool DialogGroupEnd(HostDialog* dialog) { return dialog->dialog.endGroup() ? 1 : 0; }

Gadget& addGadget(HostDialog* dialog, Gadget::Kind kind, int32_t id, int32_t flags, int32_t minWidth,
                  int32_t minHeight) {
  Gadget gadget;
  gadget.kind = kind;
  gadget.id = id;
  gadget.flags = flags;
  gadget.minWidth = minWidth;
  gadget.minHeight = minHeight;
  gadget.enabled = (flags & HOST_GADGET_DISABLED) == 0;
  return dialog->dialog.add(std::move(gadget));
}

HostGadget* DialogAddStaticText(HostDialog* dialog, int32_t id, int32_t flags, int32_t minWidth,
                                int32_t minHeight, const HostString* text) {
  Gadget& gadget = addGadget(dialog, Gadget::Kind::Text, id, flags, minWidth, minHeight);
  gadget.text = toUtf8(text->text);
  return handleOf(&gadget);
}

HostGadget* DialogAddCheckBox(HostDialog* dialog, int32_t id, int32_t flags, int32_t minWidth,
                              int32_t minHeight, const HostString* label) {
  Gadget& gadget = addGadget(dialog, Gadget::Kind::CheckBox, id, flags, minWidth, minHeight);
  gadget.text = toUtf8(label->text);
  return handleOf(&gadget);
}

HostGadget* DialogAddComboBox(HostDialog* dialog, int32_t id, int32_t flags, int32_t minWidth,
                              int32_t minHeight) {
  return handleOf(&addGadget(dialog, Gadget::Kind::ComboBox, id, flags, minWidth, minHeight));
}

HostBool DialogAddComboEntry(HostDialog* dialog, int32_t comboId, int32_t entryId, const HostString* text) {
  Gadget* gadget = changeable(dialog, comboId);
  if (gadget == nullptr || gadget->kind != Gadget::Kind::ComboBox) return 0;
  if (gadget->entries.empty()) gadget->value = entryId;
  gadget->entries.push_back({entryId, toUtf8(text->text)});
  return 1;
}

HostGadget* DialogAddCustomGadget(HostDialog* dialog, int32_t id, int32_t kind, int32_t flags,
                                  int32_t minWidth, int32_t minHeight, const HostContainer* settings) {
  if (kind != HOST_GADGET_FILENAME) return nullptr;
  Gadget& gadget = addGadget(dialog, Gadget::Kind::FileName, id, flags, minWidth, minHeight);
  gadget.selectsFolder = settings != nullptr && behind(settings).getBool(HOST_FILENAME_SELECTS_FOLDER);
  return handleOf(&gadget);
}

HostBool DialogAddButtonGroup(HostDialog* dialog, int32_t buttons) {
  dialog->dialog.buttons |= buttons;
  return 1;
}

HostBool GadgetEnable(HostGadget* gadget, HostBool enabled) {
  behind(gadget).enabled = enabled != 0;
  return 1;
}

bool holdsNumber(const Gadget* gadget) {
  return gadget != nullptr &&
         (gadget->kind == Gadget::Kind::CheckBox || gadget->kind == Gadget::Kind::ComboBox);
}

HostBool DialogGetInt32(const HostDialog* dialog, int32_t id, int32_t* value) {
  const Gadget* gadget = dialog->dialog.find(id);
  if (!holdsNumber(gadget)) return 0;
  *value = gadget->value;
  return 1;
}

HostBool DialogSetInt32(HostDialog* dialog, int32_t id, int32_t value) {
  Gadget* gadget = changeable(dialog, id);
  if (!holdsNumber(gadget)) return 0;
  gadget->value = value;
  return 1;
}

HostBool DialogGetString(const HostDialog* dialog, int32_t id, HostString* destination) {
  const Gadget* gadget = dialog->dialog.find(id);
  if (gadget == nullptr) return 0;
  destination->text = fromUtf8(gadget->text);
  return 1;
}

HostBool DialogSetString(HostDialog* dialog, int32_t id, const HostString* text) {
  Gadget* gadget = changeable(dialog, id);
  if (gadget == nullptr) return 0;
  gadget->text = toUtf8(text->text);
  return 1;
}

HostBool GadgetGetFileName(const HostGadget* gadget, HostFileName* destination) {
  if (behind(gadget).kind != Gadget::Kind::FileName) return 0;
  destination->path = behind(gadget).path;
  return 1;
}

HostBool GadgetSetFileName(HostGadget* gadget, const HostFileName* name) {
  if (behind(gadget).kind != Gadget::Kind::FileName) return 0;
  behind(gadget).path = name->path;
  return 1;
}

HostUserArea* UserAreaAlloc(const HostUserAreaCallbacks* callbacks, void* self) {
  auto* area = new HostUserArea;
  area->callbacks = callbacks;
  area->self = self;
  return area;
}

void UserAreaFree(HostUserArea* area) { delete area; }

}  // namespace

const HostDialogsTable& dialogsTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostDialogsTable kTable = {
      sizeof(HostDialogsTable),
#include "vesta.framework/contract/dialog_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
