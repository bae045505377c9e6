#pragma once
// Whole files. Failures raise EStreamError "Cannot ACTION PATH: REASON".

#include <optional>
#include <string>
#include <string_view>

namespace perlayer {

std::string ReadFile(const std::string& path);
// Nothing when there is no file of that name, or not even its directory.
std::optional<std::string> ReadFileIfThere(const std::string& path);

// Puts `contents` in the place of the file, or makes it. A reader finds the old file or the new
// one, and so does whoever looks after a crash: the bytes go to a new file in the same directory,
// to the disk, and take over the name then. Where it raises, the old file stands and nothing is
// left beside it; only when the directory cannot be flushed at the end, the new one stands.
//
// Permissions of an existing file are kept, its owner where the process may give files away; a
// symbolic link goes on pointing to the file. Raises for a file that may not be written and for
// what is no file (a directory, a device).
void ReplaceFile(const std::string& path, std::string_view contents);

// Makes a directory that is its owner's alone (mode 0700), with the missing ones above it. One that
// is there already stays as it is.
void MakePrivateDirectory(const std::string& path);

}  // namespace perlayer
