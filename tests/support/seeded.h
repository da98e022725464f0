/// Repeatable random numbers.
#ifndef ONU_MNG_TESTS_SUPPORT_SEEDED_H
#define ONU_MNG_TESTS_SUPPORT_SEEDED_H

#include <cstdlib>
#include <iostream>
#include <random>

/// The source of choices for random rules: a seed here, a fuzzer's input in fuzz/.
class Choices {
public:
    virtual ~Choices() = default;
    /// A number of `bytes` bytes.
    virtual unsigned long long Bits(unsigned int bytes) = 0;

    unsigned long long Bits() { return Bits(sizeof(unsigned long long)); }
    /// A number from 0 to `limit` - 1.
    unsigned int Below(unsigned int limit) {
        return static_cast<unsigned int>(Bits(limit > 16 ? 4 : 1) % limit);
    }
    char Byte() { return static_cast<char>(Bits(1)); }
};

/// A generator with a fresh seed. It prints the seed; ONU_MNG_TEST_SEED in the environment repeats a run.
class Seeded final : public Choices {
public:
    Seeded() {
        const char* const given = std::getenv("ONU_MNG_TEST_SEED");
        const unsigned long seed =
            given != nullptr ? std::strtoul(given, nullptr, 0) : std::random_device()();
        std::cout << "seed: ONU_MNG_TEST_SEED=" << seed << std::endl;
        generator.seed(seed);
    }

    using Choices::Bits;
    unsigned long long Bits(unsigned int) override { return generator(); }

private:
    std::mt19937_64 generator;
};

#endif
