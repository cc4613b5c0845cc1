#pragma once
// The account of a symbol build in words, and as JSON.

#include <nlohmann/json.hpp>
#include <string>

#include "companions/symbols/account.h"

namespace companion {

/// Why an entry is not among the exported symbols; empty: it is.
std::string reasonOf(const Account& account, const Entry& entry);

/// What the author of the header may not expect of an exported symbol.
std::vector<std::string> notesOn(const Account& account, const Entry& entry);

/// One entry in one or more lines, for a terminal: place, name, value or reason.
std::string explain(const Account& account, const Entry& entry);

/// The same for a comment that goes on too long.
std::string explain(const OverrunComment& overrun);

/// How many entries of each kind there are, and their sum.
std::string summary(const Account& account);

/// Everything.
nlohmann::ordered_json toJson(const Account& account);

}  // namespace companion
