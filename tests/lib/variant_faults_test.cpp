/// Variant, its string toolkit and Clock when memory is short: nothing is lost but what the contracts give
/// up.

#include "onu_mng_lib/onu_mng_common/clock.h"
#include "tests/support/on_board.h"
#include "tests/support/variants.h"

namespace {

using namespace onu_mng_platform;

class VariantFaults : public VariantTest {};

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

TEST_F(VariantFaults, WithoutABlockAVariantIsEmptyOrAsItWas) {
    OnBoard({}, WithoutABlock);
}

TEST_F(VariantFaults, WithoutMemoryTextsStayAsTheyWereOrEmpty) {
    OnBoard({}, [](Simulation& board) {
        const std::string old = "the text that was there before",
                          piece = "a piece, too long to need no memory";
        std::string text = old;
        std::vector<std::string> pieces = {old};
        const Variant bytes = Buffer("0123456789");
        const struct {
            std::function<void()> act;
            std::string done, failed;
        } cases[] = {{[&] { VariantUtil::Assign(text, "%s", piece.c_str()); }, piece, old},
                     {[&] { VariantUtil::Append(text, "%s", piece.c_str()); }, old + piece, old},
                     {[&] { text = bytes.ToString(); }, "0x30313233343536373839", ""},
                     {[&] { text = Clock().ToString(); }, "2026/01/01 00:00:00:0000", ""}};
        for (const auto& c : cases) {
            WithoutMemory(board, c.act, [&](bool failed) {
                EXPECT_EQ(text, failed ? c.failed : c.done);
                text = std::string(old.data(), old.size());
            });
        }
        WithoutMemory(
            board, [&] { VariantUtil::Split(piece, pieces, ","); },
            [&](bool failed) { EXPECT_EQ(pieces.size(), failed ? 1U : 3U); });
    });
}

} // namespace
