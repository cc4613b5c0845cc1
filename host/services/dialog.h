#pragma once
// A dialog as data: its gadgets, their values, and the messages that go to the one who made it. How it looks
// is a view's business.

#include <functional>
#include <list>
#include <optional>
#include <string>
#include <vector>

#include "host/services/values.h"

namespace host {

struct ComboEntry {
  int32_t id = 0;
  std::string text;
};

struct Gadget {
  enum class Kind { Text, CheckBox, ComboBox, FileName };
  Kind kind = Kind::Text;
  int32_t id = 0;
  int32_t flags = 0;
  int32_t minWidth = 0;   ///< pixels
  int32_t minHeight = 0;  ///< pixels
  bool enabled = true;
  bool selectsFolder = false;
  std::string text;                 ///< label, UTF-8
  int32_t value = 0;                ///< check box 0 or 1; combo box: id of the chosen entry
  std::string path;                 ///< file-name gadget
  std::vector<ComboEntry> entries;  ///< combo box
  int group = 0;                    ///< index into Dialog::groups
};

struct GadgetGroup {
  int32_t id = 0;
  int32_t flags = 0;
  int32_t columns = 0;
  int32_t rows = 0;
  std::string title;
  int parent = -1;  ///< index of the group around it; -1: the dialog itself
};

/// What a dialog is told; the values are those of the contract.
enum class DialogMessage : int32_t {
  CreateLayout = 1,
  InitValues = 2,
  Opened = 3,
  Command = 4,
  AskClose = 5,
  Timer = 6,
  Closed = 7,
  Confirm = 8,
  Cancel = 9,
  Core = 10
};

/// Main thread only.
class Dialog {
 public:
  /// Receives every message: what it is, the identifier that goes with it, what was sent. The answer of
  /// AskClose and whether a message was handled come back as truth values.
  using Receiver = std::function<bool(DialogMessage message, int32_t id, const Container* data)>;

  explicit Dialog(Receiver receiver) : receiver_(std::move(receiver)) {}

  /// Lays the dialog out and fills it. False when its maker refused.
  bool begin();
  /// Tells it that it is over; no message goes to it afterwards.
  void finish();
  bool isOpen() const { return open_; }
  bool confirmed() const { return confirmed_; }
  void close(bool confirmed);

  /// A gadget was used by the user.
  void command(int32_t gadgetId) { receiver_(DialogMessage::Command, gadgetId, nullptr); }
  void coreMessage(int32_t id, const Container* data) { receiver_(DialogMessage::Core, id, data); }
  /// OK or Cancel. A dialog that does not close itself in answer is closed, unless it refuses.
  void press(bool confirm);

  Gadget& add(Gadget gadget);
  void beginGroup(GadgetGroup group);
  bool endGroup();
  Gadget* find(int32_t id);
  const Gadget* find(int32_t id) const;

  std::string title;
  int32_t buttons = 0;        ///< bit 1 OK, bit 2 Cancel
  std::list<Gadget> gadgets;  ///< in the order of their making; a list, since gadgets are lent
  std::vector<GadgetGroup> groups;

 private:
  Receiver receiver_;
  bool open_ = false;
  bool confirmed_ = false;
  int currentGroup_ = -1;
};

/// Shows dialogs: the headless script, or the desktop. Main thread only.
class DialogView {
 public:
  virtual ~DialogView() = default;
  /// Runs an open dialog until it is closed.
  virtual void run(Dialog& dialog) = 0;
  /// The user's choice of a file or folder, or nothing.
  virtual std::optional<std::string> selectFile(const std::string& start, bool folder) = 0;
};

}  // namespace host
