// Linux only: the folders of the user running the process, for the places
// the library falls back to when the system's folders cannot be used.
#pragma once

#include <string>

namespace vantrel::platform {

// The value of an environment variable, "" when it is not set.
std::string EnvironmentText(const char* name);

// $HOME, else the password database's home folder, else /tmp.
std::string HomeFolder();

// An XDG base folder: the variable `xdg_variable` when it holds an absolute
// path (without trailing slashes), else `fallback_below_home` below the home
// folder (".local/share", ".local/state").
std::string XdgFolder(const char* xdg_variable, const char* fallback_below_home);

}  // namespace vantrel::platform
