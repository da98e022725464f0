/// A fuzzer's input as choices, numbers and texts.
#ifndef ONU_MNG_FUZZ_INPUT_H
#define ONU_MNG_FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

#include "tests/support/seeded.h"

/// Read from its begin to its end; behind that all is 0.
class FuzzInput final : public Choices {
public:
    FuzzInput(const std::uint8_t* data, std::size_t size) : next(data), end(data + size) {}

    using Choices::Bits;
    unsigned long long Bits(unsigned int bytes) override {
        unsigned long long bits = 0;
        for (; bytes > 0 && next != end; --bytes)
            bits = bits << 8 | *next++;
        return bits;
    }
    /// At most `most` bytes.
    std::string Bytes(std::size_t most) {
        const std::size_t size = std::min<std::size_t>(most, static_cast<std::size_t>(end - next));
        const std::string bytes(next, next + size);
        next += size;
        return bytes;
    }
    std::string Rest() { return Bytes(SIZE_MAX); }
    /// What comes before the next `delimiter`, which is passed over, or before the end.
    std::string Until(char delimiter) {
        const std::uint8_t* const stop = std::find(next, end, static_cast<std::uint8_t>(delimiter));
        const std::string text(next, stop);
        next = stop == end ? end : stop + 1;
        return text;
    }
    bool IsOver() const { return next == end; }

private:
    const std::uint8_t* next;
    const std::uint8_t* const end;
};

/// What a target does with one input. prepare.cpp calls it.
void TryInput(FuzzInput& input);

#endif
