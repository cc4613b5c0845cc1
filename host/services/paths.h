#pragma once
// File names as the host keeps them: the bytes of an absolute, normalised path, or nothing.

#include <filesystem>
#include <string>
#include <string_view>

namespace host {

/// The name that `path` means, seen from the current folder: absolute, without "." and "..", without a
/// slash at its end. Empty stays empty.
std::string normalPath(std::string_view path);

/// `folder` with `name` appended as a new element. Joined to the empty name, `name` stays relative. An empty
/// `name` gives `folder`.
std::string joinPath(std::string_view folder, std::string_view name);

/// Whether `name` ends in a point and `suffix`, whatever the letter case.
bool hasSuffix(std::string_view name, std::string_view suffix);

/// Replaces what follows the last point of the last element, or appends a point and `suffix`.
std::string withSuffix(std::string_view name, std::string_view suffix);

/// Whether both name the same file by the host's rules: letter case is ignored.
bool samePath(std::string_view first, std::string_view second);

bool fileExists(const std::string& name);
bool folderExists(const std::string& name);
/// Makes the last element only; false as well when something of that name exists.
bool createFolder(const std::string& name);
/// Deletes a file; with `force` a write-protected one too. A missing file is no error, a folder is one.
bool deleteFile(const std::string& name, bool force);

/// The folder of the program's installation, from where the program itself stands (APP/bin/vesta).
std::filesystem::path installedAppFolder();

}  // namespace host
