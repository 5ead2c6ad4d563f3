// main.cpp: the tool's entry point. Takes exactly one solution file name ending in ".sol".
#include "base/log.h"

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string>

namespace latopt {

[[noreturn]] void usage(const char* argv0)
{
    const char* slash = std::strrchr(argv0, '/');
    std::cout << "Usage: " << (slash != nullptr ? slash + 1 : argv0) << " *.sol" << LF();
    std::cout.flush();
    std::exit(1);
}

} // namespace latopt

int main(int argc, char** argv)
{
    using namespace latopt;
    if (argc != 2)
        usage(argv[0]);
    const std::string name = argv[1];
    if (name.size() < 4 || name.compare(name.size() - 4, 4, ".sol") != 0)
        usage(argv[0]);
    return 0;
}
