#pragma once
// `vesta scripts`: the scripts that the host keeps.

#include <string>
#include <vector>

#include "host/headless/headless_host.h"

namespace host {

/// Lists the scripts, the user's first: name, kind and file, and for each language that any script carries
/// the script's name and help text in it, or which of them is missing. Answers the exit status, as all do.
int listScripts(HeadlessHost& host);

/// Runs a script with arguments and prints what it prints. Of scripts of one name the user's is taken.
int runScriptByName(HeadlessHost& host, const std::string& name, const std::vector<std::string>& arguments);

/// Prints the source of a script.
int printScriptSource(HeadlessHost& host, const std::string& name);

}  // namespace host
