// What the user reads, and messages to dialogs.
#include "host/services/text.h"
#include "host/tables/areas.h"
#include "host/tables/door.h"
#include "host/tables/handles.h"

namespace host {
namespace {

HostBool ShowMessage(const HostString* text, int32_t) {
  services().console.showMessage(toUtf8(text->text));
  return 1;
}

HostBool PrintConsole(const HostString* text) {
  services().console.print(toUtf8(text->text));
  return 1;
}

HostBool PrintConsoleStatus(const HostString* text) {
  services().console.print(kStatusLineMark + toUtf8(text->text));
  return 1;
}

int32_t HostDebugPrint(const char*, const char* text) {
  services().console.printErrorPiece(text);
  return 1;
}

HostBool GetLineEnd(HostString* destination) {
  destination->text = u"\n";
  return 1;
}

void StatusSetBar(int32_t percent) { services().console.statusBar(percent); }

void StatusSetText(const HostString* text) { services().console.statusText(toUtf8(text->text)); }

void StatusClear() { services().console.statusClear(); }

HostBool SendCoreMessage(int32_t id, const HostContainer* data) {
  // Without a user interface no dialog will ever ask for it.
  if (!services().options.interactive) return 1;
  Event event;
  event.number = id;
  if (data != nullptr) event.data = behind(data);
  services().events.push(std::move(event));
  return 1;
}

HostBool PostSpecialEvent(int32_t id) { return SendCoreMessage(id, nullptr); }

}  // namespace

const HostMessagesTable& messagesTable() {
#include "vesta.framework/contract/tagged_words.h"
#define HOST_SLOT VESTA_DOOR
  static constexpr HostMessagesTable kTable = {
      sizeof(HostMessagesTable),
#include "vesta.framework/contract/message_slots.inc"
  };
#undef HOST_SLOT
#include "vesta.framework/contract/no_words.h"
  return kTable;
}

}  // namespace host
