// Dialogs and user-drawn gadgets.
#pragma once

#include "vesta.framework/container.h"

namespace vesta {

struct DialogTraits {
  using Handle = HostDialog;
  static void End(HostDialog* handle) { Host().dialogs.DialogFree(handle); }
};

/// A dialog. The virtual operations stand in a fixed order; a subclass overrides what it needs. Main thread.
class GeDialog {
 public:
  GeDialog();
  GeDialog(const GeDialog&) = delete;
  GeDialog& operator=(const GeDialog&) = delete;

  /// Frees the host's dialog.
  virtual ~GeDialog();
  /// Builds the gadgets.
  virtual bool CreateLayout() { return true; }
  /// Fills the gadgets.
  virtual bool InitValues() { return true; }
  /// The dialog stands on the screen.
  virtual bool Opened() { return true; }
  /// Gadget `id` was used.
  virtual bool Command(int32_t, const MessageView&) { return true; }
  /// True keeps the dialog open.
  virtual bool AskClose() { return false; }
  virtual void Timer() {}
  virtual void Closed() {}
  /// Every message of the host; the base dispatches them to the operations above. True when handled.
  virtual bool CoreMessage(const MessageView& message, ContainerView& result);

  /// Opens at the default place, for the command `commandId` (0: none). Modal: true when confirmed.
  bool Open(int32_t mode, int32_t commandId);
  bool Close(bool confirmed) { return Host().dialogs.DialogClose(dialog_.Get(), confirmed ? 1 : 0) != 0; }

 protected:
  bool SetTitle(const String& title) {
    return Host().dialogs.DialogSetTitle(dialog_.Get(), title.Get()) != 0;
  }
  bool GroupBegin(int32_t id, int32_t flags, int32_t columns) {
    return Host().dialogs.DialogGroupBegin(dialog_.Get(), id, flags, columns, 0, nullptr) != 0;
  }
  bool GroupEnd() { return Host().dialogs.DialogGroupEnd(dialog_.Get()) != 0; }
  HostGadget* AddStaticText(int32_t id, int32_t flags, int32_t minWidth, const String& text) {
    return Host().dialogs.DialogAddStaticText(dialog_.Get(), id, flags, minWidth, 0, text.Get());
  }
  HostGadget* AddCheckBox(int32_t id, int32_t flags, const String& label) {
    return Host().dialogs.DialogAddCheckBox(dialog_.Get(), id, flags, 0, 0, label.Get());
  }
  HostGadget* AddComboBox(int32_t id, int32_t flags) {
    return Host().dialogs.DialogAddComboBox(dialog_.Get(), id, flags, 0, 0);
  }
  bool AddComboEntry(int32_t comboId, int32_t entryId, const String& text) {
    return Host().dialogs.DialogAddComboEntry(dialog_.Get(), comboId, entryId, text.Get()) != 0;
  }
  HostGadget* AddCustomGadget(int32_t id, int32_t kind, int32_t flags, int32_t minWidth,
                              const Container& settings) {
    return Host().dialogs.DialogAddCustomGadget(dialog_.Get(), id, kind, flags, minWidth, 0, settings.Get());
  }
  bool AddButtonGroup(int32_t buttons) {
    return Host().dialogs.DialogAddButtonGroup(dialog_.Get(), buttons) != 0;
  }
  bool SetText(int32_t id, const String& text) {
    return Host().dialogs.DialogSetString(dialog_.Get(), id, text.Get()) != 0;
  }
  /// The value of check box or combo box `id`; `value` is unchanged when there is none.
  bool GetValue(int32_t id, int32_t& value) const {
    return Host().dialogs.DialogGetInt32(dialog_.Get(), id, &value) != 0;
  }

 private:
  Owned<DialogTraits> dialog_;
};

inline bool EnableGadget(HostGadget* gadget, bool enabled) {
  return Host().dialogs.GadgetEnable(gadget, enabled ? 1 : 0) != 0;
}
/// What a file-name gadget shows; empty when there is no gadget.
inline FileName GetGadgetFileName(HostGadget* gadget) {
  FileName name;
  Host().dialogs.GadgetGetFileName(gadget, name.Get());
  return name;
}
inline bool SetGadgetFileName(HostGadget* gadget, const FileName& name) {
  return Host().dialogs.GadgetSetFileName(gadget, name.Get()) != 0;
}

/// A modal dialog: also closes itself when OK or Cancel is pressed.
class GeModalDialog : public GeDialog {
 public:
  bool CoreMessage(const MessageView& message, ContainerView& result) override;
  /// Opens modally at the default place; true when confirmed.
  bool Open(int32_t commandId) { return GeDialog::Open(HOST_DIALOG_MODAL, commandId); }
};

struct UserAreaTraits {
  using Handle = HostUserArea;
  static void End(HostUserArea* handle) { Host().dialogs.UserAreaFree(handle); }
};

/// A user-drawn gadget. Main thread.
class GeUserArea {
 public:
  GeUserArea();
  GeUserArea(const GeUserArea&) = delete;
  GeUserArea& operator=(const GeUserArea&) = delete;

  /// Frees the host's user area.
  virtual ~GeUserArea();
  virtual bool Init() { return true; }
  virtual bool InitValues() { return true; }
  /// The least size in pixels.
  virtual bool GetMinimumSize(int32_t&, int32_t&) { return false; }
  virtual void Sized(int32_t, int32_t) {}
  virtual bool InputEvent(const MessageView&) { return false; }
  virtual void Draw(const MessageView&) {}
  virtual void Timer() {}
  virtual void FocusChanged(bool) {}
  virtual bool CoreMessage(int32_t, const MessageView&) { return false; }
  virtual bool Message(const MessageView&, ContainerView&) { return false; }

  HostUserArea* Get() const { return area_.Get(); }

 private:
  Owned<UserAreaTraits> area_;
};

}  // namespace vesta
