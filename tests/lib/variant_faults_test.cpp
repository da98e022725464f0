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

void WithoutABlock(Simulation& board) {
    const Variant in = Buffer({"\x09\0\0\0\x03xyz", 8});
    const struct {
        const char* name;
        Variant before;
        std::function<unsigned int(Variant&)> act;
        unsigned int result;
        Variant after;
    } cases[] = {
        {"text", "old", [](Variant& v) { return v = "new", 0; }, 0, Variant()},
        {"own text", "old", [](Variant& v) { return v = v.GetBuff() + 1, 0; }, 0, Variant()},
        {"bytes", 7, [](Variant& v) { return v.Assign("new", 3); }, 0, Variant()},
        {"realloc", 7, [](Variant& v) { return v(VARIANT_TYPE_BUFFER, 3); }, ONU_MNG_FAILURE, Variant()},
        {"convert", Buffer("old"), [](Variant& v) { return v.ResetType(VARIANT_TYPE_STRING); },
         ONU_MNG_FAILURE, Buffer("old")},
        {"from hex", "old", [](Variant& v) { return v.FromString(VARIANT_TYPE_BUFFER, "4142"); },
         ONU_MNG_FAILURE, "old"},
        {"record", 7, [&in](Variant& v) { return v.UnSerialize(in); }, ONU_MNG_FAILURE, Variant()}};
    for (const auto& c : cases) {
        Variant variant(c.before);
        board.FailFrom(SimFault::kPoolAlloc, 1);
        const unsigned int result = c.act(variant);
        board.FailNone();
        EXPECT_EQ(result, c.result) << c.name;
        EXPECT_EQ(variant, c.after) << c.name;
        EXPECT_EQ(variant.GetType(), c.after.GetType()) << c.name;
    }
    EXPECT_EQ(in.GetPos(), 5U); // not behind the value that was not taken
}

TEST(VariantFaults, WithoutABlockAVariantIsEmptyOrAsItWas) {
    RunOnBoard(WithoutABlock);
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
    }
}

TEST(VariantFaults, WithoutMemoryTextsStayAsTheyWereOrEmpty) {
    RunOnBoard([](Simulation& board) {
        const std::string old = "the text that was there before",
                          piece = "a piece, too long to need no memory";
        std::string text = old;
        WithEachNewFailing(
            board, [&] { VariantUtil::Assign(text, "%s", piece.c_str()); },
            [&](bool failed) { EXPECT_EQ(text, failed ? old : piece); });
        text.shrink_to_fit();
        WithEachNewFailing(
            board, [&] { VariantUtil::Append(text, "%s", piece.c_str()); },
            [&](bool failed) { EXPECT_EQ(text, failed ? piece : piece + piece); });
        std::vector<std::string> pieces = {old};
        WithEachNewFailing(
            board, [&] { VariantUtil::Split(piece, pieces, ","); },
            [&](bool failed) { EXPECT_EQ(pieces.size(), failed ? 1U : 3U); });
        const Variant bytes = Buffer("0123456789");
        WithEachNewFailing(
            board, [&] { text = bytes.ToString(); },
            [&](bool failed) { EXPECT_EQ(text.size(), failed ? 0U : 22U); });
        WithEachNewFailing(
            board, [&] { text = Clock().ToString(); },
            [&](bool failed) { EXPECT_EQ(text.size(), failed ? 0U : 24U); });
    });
}

} // namespace
