// generator.cpp: seeding rand().
#include "os/generator.h"

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <unistd.h>

namespace latopt {

namespace {

// True when the device delivered all bytes of seed.
bool readSeed(const char* device, unsigned int& seed)
{
    std::FILE* file = std::fopen(device, "rb");
    if (file == nullptr) return false;
    const std::size_t got = std::fread(&seed, 1, sizeof seed, file);
    std::fclose(file);
    return got == sizeof seed;
}

} // namespace

unsigned int Generator::initializeSeed(unsigned int seed)
{
    if (seed == 0 && !readSeed("/dev/random", seed) && !readSeed("/dev/urandom", seed))
        seed = static_cast<unsigned int>(std::time(nullptr)) ^ (static_cast<unsigned int>(getpid()) << 16);
    std::srand(seed);
    return seed;
}

} // namespace latopt
