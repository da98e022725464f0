/// Randomness that can be repeated.
#ifndef ONU_MNG_TESTS_SUPPORT_SEEDED_H
#define ONU_MNG_TESTS_SUPPORT_SEEDED_H

#include <cstdlib>
#include <iostream>
#include <random>

/// A generator from a fresh seed, which is printed; ONU_MNG_TEST_SEED in the environment repeats a run.
class Seeded {
public:
    Seeded() {
        const char* const given = std::getenv("ONU_MNG_TEST_SEED");
        const unsigned long seed =
            given != nullptr ? std::strtoul(given, nullptr, 0) : std::random_device()();
        std::cout << "seed: ONU_MNG_TEST_SEED=" << seed << std::endl;
        generator.seed(seed);
    }

    /// A number from 0 to `limit` - 1.
    unsigned int Below(unsigned int limit) { return static_cast<unsigned int>(generator() % limit); }
    char Byte() { return static_cast<char>(generator()); }
    unsigned long long Bits() { return generator(); }

private:
    std::mt19937_64 generator;
};

#endif
