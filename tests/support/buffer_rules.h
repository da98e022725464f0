/// Compares Variant as a byte buffer with a model.
#ifndef ONU_MNG_TESTS_SUPPORT_BUFFER_RULES_H
#define ONU_MNG_TESTS_SUPPORT_BUFFER_RULES_H

#include <gtest/gtest.h>

#include <cstddef>
#include <iterator>
#include <string>
#include <type_traits>

#include "tests/support/seeded.h"
#include "tests/support/variants.h"

/// The model of a buffer: bytes, a cursor and an end.
struct BufferModel {
    std::string bytes;
    std::size_t pos, end;

    /// Moves the cursor by a step if that fits, and stores its old position.
    bool Step(std::size_t size, unsigned int offset, std::size_t& from) {
        const std::size_t step = offset == 65535 ? size : offset;
        from = pos;
        if (step < size || pos + step > end) return false;
        pos += step;
        return true;
    }
};

template <typename T>
std::string BigEndian(T number) {
    std::string bytes;
    for (int shift = 8 * (static_cast<int>(sizeof(T)) - 1); shift >= 0; shift -= 8)
        bytes += static_cast<char>(static_cast<unsigned long long>(number) >> shift);
    return bytes;
}

template <typename T>
void Exchange(Choices& random, Variant& buffer, BufferModel& model) {
    const unsigned int offset = random.Below(2) == 0 ? 65535 : random.Below(12);
    const T number = static_cast<T>(random.Bits());
    T fetched = number;
    std::size_t from = 0;
    const bool fits = model.Step(sizeof(T), offset, from);
    if (random.Below(2) == 0) {
        ASSERT_EQ(buffer.Append(number, offset) == ONU_MNG_OK, fits);
        if (fits) model.bytes.replace(from, sizeof(T), BigEndian(number));
        return;
    }
    ASSERT_EQ(buffer.Fetch(fetched, offset) == ONU_MNG_OK, fits);
    const std::string bytes = fits ? model.bytes.substr(from, sizeof(T)) : BigEndian(number);
    // A byte other than 0 is read as true, so it compares as 1.
    ASSERT_EQ(BigEndian(fetched), (std::is_same_v<T, bool> ? std::string(1, bytes[0] != 0) : bytes));
}

inline void ExchangeBytes(Choices& random, Variant& buffer, BufferModel& model) {
    std::string bytes(random.Below(6), random.Byte());
    const unsigned int size = static_cast<unsigned int>(bytes.size());
    std::size_t from = 0;
    const bool fits = model.Step(size, 65535, from);
    if (random.Below(2) == 0) {
        ASSERT_EQ(buffer.Append(bytes.data(), size) == ONU_MNG_OK, fits);
        if (fits) model.bytes.replace(from, size, bytes);
        return;
    }
    const std::string expected = fits ? model.bytes.substr(from, size) : bytes;
    ASSERT_EQ(buffer.Fetch(bytes.data(), size) == ONU_MNG_OK, fits);
    ASSERT_EQ(bytes, expected);
}

/// Writes to a new buffer and reads from it, 20 times.
inline void ExchangeWithABuffer(Choices& random) {
    constexpr void (*kExchanges[])(Choices&, Variant&, BufferModel&) = {
        Exchange<bool>,         Exchange<char>, Exchange<unsigned char>,      Exchange<short>, Exchange<int>,
        Exchange<unsigned int>, Exchange<long>, Exchange<unsigned long long>, ExchangeBytes};
    const bool is_text = random.Below(3) == 0;
    const unsigned int size = 1 + random.Below(40);
    Variant buffer(is_text ? VARIANT_TYPE_STRING : VARIANT_TYPE_BUFFER, size);
    BufferModel model{std::string(size + is_text, '\0'), 0, size};
    for (int step = 0; step < 20; ++step) {
        ASSERT_NO_FATAL_FAILURE(kExchanges[random.Below(std::size(kExchanges))](random, buffer, model));
        ASSERT_EQ(buffer.GetPos(), model.pos);
        ASSERT_EQ(Block(buffer), model.bytes);
    }
}

#endif
