// generator.h: Generator, the seed of the C library's pseudo-random numbers (rand()).
#pragma once

namespace latopt {

class Generator {
public:
    // Seeds rand() and returns the seed used. A seed other than 0 is taken as it is and gives a
    // repeatable sequence. 0 asks for a fresh seed: 4 bytes from /dev/random, or from /dev/urandom
    // when fewer than 4 arrive, or, should neither device deliver, the clock mixed with the
    // process id.
    static unsigned int initializeSeed(unsigned int seed);
};

} // namespace latopt
