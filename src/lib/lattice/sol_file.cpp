// sol_file.cpp: the .sol file of a lattice's program, one Star line per solution. The reader
// appends what it finds to stars; the writer replaces the file whole. See lattice.h.
#include "lattice/lattice.h"

#include "arith/qq.h"
#include "base/exceptions.h"
#include "base/log.h"
#include "os/signal.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sstream>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace latopt {

namespace {

// The whole content of a file opened for reading; reading stops at the first error.
std::string readWhole(FILE* file)
{
    std::string content;
    char buffer[65536];
    size_t count;
    while ((count = std::fread(buffer, 1, sizeof buffer, file)) > 0)
        content.append(buffer, count);
    return content;
}

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

// Replaces the file at path by one holding text: a temporary file beside it is written, synced
// and renamed over it, so that the old file stays whole until the new one is complete. The new
// file keeps the old one's permissions (and, where allowed, its owner). A file that exists but
// can't be written is left alone, as an in-place write would fail on it; nothing is reported.
void replaceFile(const std::string& path, const std::string& text)
{
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

// Removes the file at path if it could be opened for writing, as a write of nothing followed by
// its removal would; a file that can't be written stays.
void removeWritable(const std::string& path)
{
    const int probe = ::open(path.c_str(), O_WRONLY);
    if (probe < 0) return;
    ::close(probe);
    std::remove(path.c_str());
}

// Appends a copy of star. The room grows by doubling, so that a file of n records costs O(n)
// element moves, not O(n^2).
template <class T>
void appendStar(Array<Star<T>>& stars, const Star<T>& star)
{
    const long count = stars.dimension() + 1;
    if (count > stars.capacity) stars.reserve(2 * count);
    stars.setDimension(count, false);
    stars[count] = star;
}

} // namespace

template <class R1, class R2>
bool Lattice<R1, R2>::readStarsFromSolFile(bool stopAtFirst)
{
    // 1. A missing file is the first run's normal case.
    FILE* file = std::fopen(this->solFile.c_str(), "r");
    if (file == nullptr) return false;
    // 2. The whole file into a stream; an empty one gives nothing.
    std::stringstream stream(readWhole(file));
    std::fclose(file);
    if (stream.str().empty()) return false;
    // 3. Record by record into one object, reused on purpose: a short record keeps what the
    //    record before it left in the fields it doesn't have.
    Star<R1> star;
    bool taken = false;
    while (stream.good()) {
        const std::streampos before = stream.tellg();
        try {
            const bool complete = star.fromStream(stream);
            // An empty x is no solution: never checked, never taken.
            if (star.dimension() > 0) {
                // A short record gets its figures from the program; whether it holds is decided
                // later, by checkStars.
                if (!complete) this->checkStar(star);
                if (stopAtFirst) return true;
                star.isNew = false;
                appendStar(this->stars, star);
                taken = true;
            }
        } catch (const PrecisionException&) {
            throw;
        } catch (const GeneralException&) {
            // The record is dropped; reading goes on.
        }
        // A reader that neither moved nor ended would loop for ever.
        if (stream.good() && stream.tellg() == before) break;
    }
    // 4. Whether anything was taken.
    return taken;
}

template <class R1, class R2>
void Lattice<R1, R2>::writeSolFile(bool keepStars)
{
    // 1. Only while solutions are to be persisted.
    if (!this->pendingSolutionWrite) return;
    // 2. The found vectors would be brought into stars here (sol2star, with the vector
    //    mappings). Only the candidate check fills solutions, and it isn't part of the engine
    //    yet: a filled list can't be persisted, which must not pass unnoticed.
    if (!keepStars && solutions.dimension() > 0)
        fatal("writeSolFile: found vectors can't be brought into the solution records yet");
    // 3. Without a name nothing can be written.
    if (this->solFile.empty()) {
        warning("solFile is not set - solution write not possible");
        return;
    }
    // 4. From here on SIGINT and SIGTERM are only noted.
    Signal::blockAll();
    // 5.-7. The lines, each ended by a line feed.
    std::ostringstream text;
    DBL_OSTREAM_PREC(text);
    for (long i = 1; i <= this->stars.dimension(); ++i)
        text << this->stars[i].toString() << "\n";
    if (solWriteProbe != nullptr) solWriteProbe();
    // 8. No line: a program without solutions has no file. Otherwise the file is replaced whole.
    const std::string target = writeTarget(this->solFile);
    if (text.str().empty())
        removeWritable(target);
    else
        replaceFile(target, text.str());
    // 9. The old handlers again; a signal that came meanwhile ends the run now.
    Signal::unblockAll();
}

#define LATOPT_SOL_FILE_MEMBERS(R1, R2)                                                                      \
    template bool Lattice<R1, R2>::readStarsFromSolFile(bool);                                               \
    template void Lattice<R1, R2>::writeSolFile(bool);
LATOPT_SOL_FILE_MEMBERS(long double, long double)
LATOPT_SOL_FILE_MEMBERS(long double, QQ)
LATOPT_SOL_FILE_MEMBERS(QQ, long double)
LATOPT_SOL_FILE_MEMBERS(QQ, QQ)
#undef LATOPT_SOL_FILE_MEMBERS

} // namespace latopt
