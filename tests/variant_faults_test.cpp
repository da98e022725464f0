/// Variant, its string toolkit and Clock when memory is short: nothing is lost but what the contracts give
/// up.

#include <functional>
#include <gtest/gtest.h>

#include "onu_mng_lib/onu_mng_common/clock.h"
#include "onu_mng_platform/sim/simulation.h"
#include "tests/support/variants.h"

namespace {

using namespace onu_mng_platform;

void RunOnBoard(const std::function<void(Simulation&)>& body) {
    ASSERT_TRUE(InitPool());
    Simulation board(1);
    const SimResult& result = board.Run([&] { body(board); });
    EXPECT_TRUE(result.Ok()) << result.report;
    EXPECT_EQ(board.Holdings().blocks, 0);
}

struct ShortPoolCase {
    const char* name;
    Variant before;
    std::function<unsigned int(Variant&)> act;
    unsigned int result;
    Variant after;
    std::size_t log_lines;
};

void WithoutABlock(Simulation& board) {
    const ShortPoolCase cases[] = {
        {"text", "old", [](Variant& v) { return v = "new", 0; }, 0, Variant(), 2},
        {"bytes", 7, [](Variant& v) { return v.Assign("new", 3); }, 0, Variant(), 2},
        {"text bytes", "old", [](Variant& v) { return v.Assign(VARIANT_TYPE_STRING, "new", 3); },
         ONU_MNG_FAILURE, Variant(), 2},
        {"realloc", "old", [](Variant& v) { return v.Realloc(VARIANT_TYPE_BUFFER, 3); }, ONU_MNG_FAILURE,
         Variant(), 2},
        {"to text", Buffer("old"), [](Variant& v) { return v.ResetType(VARIANT_TYPE_STRING); },
         ONU_MNG_FAILURE, Buffer("old"), 2},
        {"own text", "old", [](Variant& v) { return v = v.GetBuff() + 1, 0; }, 0, Variant(), 2},
        {"from text", "old", [](Variant& v) { return v.FromString(VARIANT_TYPE_STRING, "new"); }, 0,
         Variant(), 2},
        {"from hex", "old", [](Variant& v) { return v.FromString(VARIANT_TYPE_BUFFER, "4142"); },
         ONU_MNG_FAILURE, "old", 0},
    };
    for (const ShortPoolCase& c : cases) {
        Variant variant(c.before);
        const std::size_t lines = board.Log().size();
        board.FailFrom(SimFault::kPoolAlloc, 1);
        const unsigned int result = c.act(variant);
        board.FailNone();
        EXPECT_EQ(result, c.result) << c.name;
        EXPECT_EQ(variant, c.after) << c.name;
        EXPECT_EQ(variant.GetType(), c.after.GetType()) << c.name;
        EXPECT_EQ(board.Log().size() - lines, c.log_lines) << c.name;
    }
}

TEST(VariantFaults, WithoutABlockAVariantIsEmptyOrAsItWas) {
    RunOnBoard(WithoutABlock);
}

TEST(VariantFaults, ARecordWhoseTextHasNoBlockIsNotSkipped) {
    RunOnBoard([](Simulation& board) {
        const Variant in = Buffer(std::string("\x09\0\0\0\x03xyz", 8));
        Variant variant(7);
        board.FailFrom(SimFault::kPoolAlloc, 1);
        const unsigned int result = variant.UnSerialize(in);
        board.FailNone();
        EXPECT_EQ(result, ONU_MNG_FAILURE);
        EXPECT_TRUE(variant.IsEmpty());
        EXPECT_EQ(in.GetPos(), 5U);
    });
}

/// Lets the first, the second, ... allocation of `act` fail until all have had their turn.
void WithEachNewFailing(Simulation& board, const std::function<void()>& act,
                        const std::function<void(bool failed)>& check) {
    bool failed = true;
    for (unsigned int nth = 1; failed; ++nth) {
        const unsigned int before = board.Failed();
        board.FailNth(SimFault::kNew, nth);
        act();
        board.FailNone();
        failed = board.Failed() != before;
        check(failed);
        ASSERT_LT(nth, 100U);
    }
}

TEST(VariantFaults, TheStringToolkitKeepsWhatItCannotReplace) {
    RunOnBoard([](Simulation& board) {
        const std::string old = "the text that was there before";
        const std::string piece = "a piece of text, too long to need no memory";
        std::string text = old;
        WithEachNewFailing(
            board, [&] { VariantUtil::Assign(text, "%s", piece.c_str()); },
            [&](bool failed) { EXPECT_EQ(text, failed ? old : piece); });
        text = old;
        text.shrink_to_fit();
        WithEachNewFailing(
            board, [&] { VariantUtil::Append(text, "%s", piece.c_str()); },
            [&](bool failed) { EXPECT_EQ(text, failed ? old : old + piece); });
        const std::string list = piece + "," + piece;
        std::vector<std::string> pieces = {old};
        WithEachNewFailing(
            board, [&] { VariantUtil::Split(list, pieces, ","); },
            [&](bool failed) { EXPECT_EQ(pieces.size(), failed ? 1U : 5U); });
    });
}

TEST(VariantFaults, TextsThatFindNoMemoryAreEmpty) {
    RunOnBoard([](Simulation& board) {
        const Variant values[] = {~0ULL, "a text that is too long to need no memory", Buffer("0123456789")};
        for (const Variant& value : values) {
            const std::string full = value.ToString();
            std::string text;
            WithEachNewFailing(
                board, [&] { text = value.ToString(); },
                [&](bool failed) { EXPECT_EQ(text, failed ? "" : full); });
        }
        std::string now;
        WithEachNewFailing(
            board, [&] { now = Clock().ToString(); },
            [&](bool failed) { EXPECT_EQ(now.size(), failed ? 0U : 24U); });
    });
}

} // namespace
