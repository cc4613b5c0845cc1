#pragma once
// The texts that are known and accepted, as a file: a line that says what it is, then a text a line, as a
// JSON string, sorted. A text counts wherever it stands, so that moved and renamed sources bring nothing new.

#include <functional>
#include <set>
#include <string>

namespace companion {

using Texts = std::set<std::string, std::less<>>;

/// Reads a baseline. Throws std::runtime_error with file, line and reason. The order of the lines, and a text
/// that stands there twice, do not matter: both come out of merges.
Texts readBaseline(const std::string& file);

/// Writes it as a whole or not at all. Throws std::system_error.
void writeBaseline(const std::string& file, const Texts& texts);

}  // namespace companion
