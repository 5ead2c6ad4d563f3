#include "base/file.h"

#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace latopt {

const char* File::baseName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? slash + 1 : path;
}

std::string File::dirName(const char* path)
{
    const char* slash = std::strrchr(path, '/');
    return slash != nullptr ? std::string(path, slash + 1) : std::string();
}

bool File::fileExists(const std::string& path)
{
    const int descriptor = open(path.c_str(), O_RDONLY);
    if (descriptor < 0) return false;
    close(descriptor);
    return true;
}

long File::fileModficationTime(const std::string& path)
{
    const int descriptor = open(path.c_str(), O_RDONLY);
    if (descriptor < 0) return -1;
    struct stat status;
    const int result = fstat(descriptor, &status);
    close(descriptor);
    return result == 0 ? static_cast<long>(status.st_mtime) : -1;
}

bool File::firstFileIsNewer(const std::string& first, const std::string& second)
{
    const long firstTime = fileModficationTime(first);
    const long secondTime = fileModficationTime(second);
    if (secondTime < 0) return firstTime >= 0;
    return firstTime > secondTime;
}

} // namespace latopt
