#pragma once
// Dialogs without pixels: they are laid out, filled, messaged and closed as on a screen, and the user's part
// is played from a script.

#include <deque>
#include <string>
#include <vector>

#include "host/services/host_services.h"

namespace host {

/// What the user will do.
struct DialogScript {
  struct Answer {
    int32_t gadget = 0;
    std::string value;  ///< check box: 0, 1, true, false; combo box: an entry's id or text; file name: a path
  };
  std::vector<Answer> answers;         ///< for the next dialog that can be confirmed
  std::deque<std::string> selections;  ///< for the next file selections
  bool cancel = false;                 ///< press Cancel in the next dialog that can be confirmed
};

/// Main thread only.
class ScriptedDialogs : public DialogView {
 public:
  /// The host whose events the dialogs live on. Set before the first dialog opens.
  void attach(HostServices* host) { host_ = host; }
  /// What the user does from now on; forgets what became of the script before.
  void setScript(DialogScript script);

  /// A dialog with an OK button is answered and closed. One without shows work that goes on: it stays open
  /// and receives its messages until somebody closes it, or no worker is left that could.
  void run(Dialog& dialog) override;
  std::optional<std::string> selectFile(const std::string& start, bool folder) override;

  /// What the script asked for and could not be done, one sentence each.
  const std::vector<std::string>& problems() const { return problems_; }
  /// True when a dialog was cancelled by the script.
  bool cancelled() const { return cancelled_; }

 private:
  void answer(Dialog& dialog);
  void pump(Dialog& dialog);

  HostServices* host_ = nullptr;
  DialogScript script_;
  std::vector<std::string> problems_;
  bool cancelled_ = false;
};

}  // namespace host
