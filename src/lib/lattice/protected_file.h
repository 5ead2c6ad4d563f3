// protected_file.h: the writing of a lattice's files (.sol, .lat) so that neither a failure nor a
// signal leaves a half-written file. SignalHold holds SIGINT and SIGTERM back for its lifetime;
// replaceFile puts a new file in place of the old one whole or not at all. Failures are silent:
// the old file, if any, stays as it was.
#pragma once

#include "os/signal.h"

#include <string>

namespace latopt {

// While it lives, SIGINT and SIGTERM are only noted (Signal::blockAll). At its end the old
// handlers come back, and a signal that came meanwhile ends the run then, as SIGTERM
// (Signal::unblockAll); also when an exception leaves the scope. Not nestable.
class SignalHold {
public:
    SignalHold() { Signal::blockAll(); }
    ~SignalHold() { Signal::unblockAll(); }
    SignalHold(const SignalHold&) = delete;
    SignalHold& operator=(const SignalHold&) = delete;
};

// Replaces the file at path (a symbolic link followed: the file it names is replaced, the link
// stays) by one holding text: a temporary file beside it is written, synced and renamed over it,
// with the old file's permissions (and, where allowed, owner), or 0666 less the umask for a new
// one. A file that exists but can't be written is left alone; in a directory where no temporary
// file can be made the file is truncated and written in place.
void replaceFile(const std::string& path, const std::string& text);
// Removes the file at path (a symbolic link followed) if it could be opened for writing.
void removeWritableFile(const std::string& path);

} // namespace latopt
