// File, user and clock procedures of the standard module (basLIBstd). The folder
// separator is "/".
#pragma once

#include "vexqom/text.h"

namespace vexqom {

// Makes a folder path end in "/" (trailing blanks before it are dropped).
void AddDirSep(Text& path);
// Whether a file exists and can be opened for reading; "*" and "?" search the folder
// for at least one ordinary, non-hidden file.
bool FileExists(const Text& path);
// Deletes one file, or every file matching a pattern; a missing file is no error.
void FileDelete(const Text& path);
Text FileNameErrorFile();
Text FileNameTraceFile();
// "yyyymmdd|hh:mm:ss" in local time.
Text DateTimeStamp_Log();
// Logon name of the effective user; empty when it cannot be had.
Text UserName_Get();

// The library file's name without folder and extension ("libvexqom_PLUMEK2").
Text library_name();

// Wildcard match with "*" and "?" only (other characters are literal).
bool wildcard_match(TextView pattern, TextView name);

}  // namespace vexqom
