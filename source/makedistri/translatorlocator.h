// The translator locator: a list of the texts in a tree of source files, for translators to search in.
#pragma once

#include "vesta.framework/command.h"

namespace outfitter {

/// Lets the user choose a folder and lists the texts of the sources below it in "strings.txt" in the user's
/// home folder (HOST_FOLDER_HOME). Nothing is shown; files that cannot be read are left out.
class TranslatorLocator : public vesta::CommandData {
 public:
  /// False when the list could not be opened for writing.
  bool Execute(HostDocument* document) override;
};

bool RegisterTranslatorLocator();

}  // namespace outfitter
