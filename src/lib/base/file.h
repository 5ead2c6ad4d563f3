// file.h: File, the few file-name and file-system queries of the system, as static functions.
// Names are split at the last "/" only; nothing is normalised or resolved.
#pragma once

#include <string>

namespace latopt {

class File {
public:
    // Pointer into path behind its last "/" (the empty text for "a/b/"); path if it has none.
    static const char* baseName(const char* path);
    // The text up to and including the last "/"; empty if there is none.
    static std::string dirName(const char* path);
    // True if the file can be opened for reading.
    static bool fileExists(const std::string& path);
    // Modification time in seconds since the epoch, or -1 if the file can't be opened.
    static long fileModficationTime(const std::string& path);
    // True if first was modified later than second; a second that can't be opened counts as
    // older than any first that can.
    static bool firstFileIsNewer(const std::string& first, const std::string& second);
};

} // namespace latopt
