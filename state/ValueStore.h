#pragma once
// The per-user store of named values: one file per value, holding the
// value's text (no terminating NUL), in
//   user folder:    $XDG_CONFIG_HOME/Kestrawn/Fenwoldrine/
//                   ($HOME/.config when XDG_CONFIG_HOME is unset, empty or
//                   not an absolute path)
//   machine folder: <first absolute entry of $XDG_CONFIG_DIRS>/Kestrawn/Fenwoldrine/
//                   (/etc/xdg when there is none)
// Reads try the user folder first, then the machine folder; writes go to the
// user folder, or to the machine folder when the user folder can't be
// written. The environment is read on every call; nothing is cached or
// locked, so concurrent writers simply race and the last rename wins.
//
// A name must be non-empty, contain no '/', and not be "." or ".."; any
// other name is refused.

#include <cstddef>
#include <optional>
#include <string>

// The folders, each ending in '/'. userStoreFolder() is empty when neither
// XDG_CONFIG_HOME nor a home folder can be found.
std::string userStoreFolder();
std::string machineStoreFolder();

// The value `name` holds: the user folder's, else the machine folder's. At
// most `maxBytes` bytes are read. A value that is missing, unreadable, not a
// regular file, or empty counts as missing in that folder (values are text
// without a terminator, so one character, as in the loading flags "5", is a
// value).
// nullopt when neither folder has it, or the name is refused.
std::optional<std::string> readStoreValue(const char* name, size_t maxBytes);

// Replaces the value `name` with `text`, creating the folder (all levels) as
// needed. The text goes to a temporary file in the same folder, which is then
// renamed over the value, so a reader sees either the old value or the new
// one, and a failed write leaves the old value as it was (the temporary file
// is removed). Tries the user folder, then the machine folder; false when
// both fail or the name is refused.
bool writeStoreValue(const char* name, const std::string& text);
