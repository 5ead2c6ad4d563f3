// protected_file.cpp: replacing and removing the files of a lattice whole or not at all. See
// protected_file.h.
#include "lattice/protected_file.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace latopt {

namespace {

// Writes all of text to the descriptor; false on any failure (a full disk among them).
bool writeAll(int descriptor, const std::string& text)
{
    const char* position = text.data();
    size_t left = text.size();
    while (left > 0) {
        const ssize_t written = ::write(descriptor, position, left);
        if (written < 0) {
            if (errno == EINTR) continue;
            return false;
        }
        position += written;
        left -= static_cast<size_t>(written);
    }
    return true;
}

// The path that the write goes to: a symbolic link is followed, so that the file it names is
// replaced and the link stays.
std::string writeTarget(const std::string& path)
{
    struct stat status;
    if (::lstat(path.c_str(), &status) == 0 && S_ISLNK(status.st_mode)) {
        char resolved[PATH_MAX];
        if (::realpath(path.c_str(), resolved) != nullptr) return resolved;
    }
    return path;
}

// The mode a new file gets from fopen(path, "w"): 0666 less the umask.
mode_t newFileMode()
{
    const mode_t mask = ::umask(0);
    ::umask(mask);
    return 0666 & ~mask;
}

// Writes text into path as fopen(path, "w") would: truncating in place. The fallback for a
// directory in which no temporary file can be made.
void writeInPlace(const std::string& path, const std::string& text)
{
    const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0666);
    if (descriptor < 0) return;
    writeAll(descriptor, text);
    ::close(descriptor);
}

} // namespace

// The old file stays whole until the new one is complete. A file that exists but can't be
// written is left alone, as an in-place write would fail on it; nothing is reported.
void replaceFile(const std::string& name, const std::string& text)
{
    const std::string path = writeTarget(name);
    struct stat old;
    const bool exists = ::stat(path.c_str(), &old) == 0;
    if (exists) {
        const int probe = ::open(path.c_str(), O_WRONLY);
        if (probe < 0) return;
        ::close(probe);
    }
    std::string temporary = path + ".XXXXXX";
    const int descriptor = ::mkstemp(temporary.data());
    if (descriptor < 0) {
        writeInPlace(path, text);
        return;
    }
    bool done = ::fchmod(descriptor, exists ? (old.st_mode & 07777) : newFileMode()) == 0;
    if (done && exists && (old.st_uid != ::geteuid() || old.st_gid != ::getegid()))
        (void)!::fchown(descriptor, old.st_uid, old.st_gid);
    done = done && writeAll(descriptor, text) && ::fsync(descriptor) == 0;
    done = (::close(descriptor) == 0) && done;
    if (!done || std::rename(temporary.c_str(), path.c_str()) != 0) std::remove(temporary.c_str());
}

// A file that could be opened for writing goes, as a write of nothing followed by its removal
// would; a file that can't be written stays.
void removeWritableFile(const std::string& path)
{
    const std::string target = writeTarget(path);
    const int probe = ::open(target.c_str(), O_WRONLY);
    if (probe < 0) return;
    ::close(probe);
    std::remove(target.c_str());
}

} // namespace latopt
