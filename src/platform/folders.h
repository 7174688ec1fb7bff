// Folders and files the library keeps: where the settings store, the file log
// and the lock files live, and the module's own name.
#pragma once

#include <string>

namespace vantrel::platform {

// The folder of the file log: "C:\Log Files" on Windows; on Linux
// VANTREL_LOG_DIR, else /var/log/vantrel when it is writable or can be made,
// else the user's state folder. No trailing separator.
std::string LogFolder();

// Creates a folder and its missing parents; true when it exists afterwards.
bool CreateFolders(const std::string& path);

// Joins a folder and a file name with the platform's separator.
std::string JoinPath(const std::string& folder, const std::string& name);

// The part of `path` after its last separator: "\\" on both targets, "/" on
// Linux too. The whole path when it has none.
std::string FileNamePart(const std::string& path);

// The file name (no folder) of the running program.
std::string ProcessModuleName();

}  // namespace vantrel::platform
