/// The report formatter.

#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <numeric>

#include "onu_mng_lib/onu_mng_common/cmd_fmt.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/log_lines.h"
#include "tests/support/variants.h"

namespace {

using Rows = CommandFormatMgr::Rows;

enum { kReport = 100, kHeadOnly, kColumnsOnly, kUnknown };

class Report : public testing::Test {
protected:
    static void SetUpTestSuite() {
        ASSERT_TRUE(InitPool());
        reports->RegisterCmd(kReport, {kReport, "Replaced", "Replaced"});
        reports->RegisterCmd(kReport, {kReport, "A report", "Head line"});
        reports->RegisterCmd(kHeadOnly, {kHeadOnly, "", "Only a head line"});
        ParameterFormat columns[] = {
            {30, "FLAG", "Any flag", VARIANT_TYPE_BOOL, 0},
            {20, "NUMBER", "A number", VARIANT_TYPE_INT, 0},
            {10, "A_LONG_COLUMN_KEY", "Its key is longer than a list field", VARIANT_TYPE_STRING, 4},
            {40, "ANY", "Printed as it is", VARIANT_TYPE_NONE, 0},
            {50, "SHORT_TEXT", "A text", VARIANT_TYPE_STRING, 8}};
        for (ParameterFormat& column : columns)
            reports->RegisterParameter(kReport, column);
        ParameterFormat id = {0, "ID", "Its id", VARIANT_TYPE_USHORT, 0};
        reports->RegisterParameter(kColumnsOnly, id);
    }

    /// Prints to a terminal and to standard output, which must get the same.
    static std::string Print(unsigned int report, Rows rows, bool show_summary = true) {
        CapturedTerminal terminal;
        Rows again = rows;
        reports->PrintCmd(report, rows, show_summary, static_cast<vty*>(terminal));
        testing::internal::CaptureStdout();
        reports->PrintCmd(report, again, show_summary, nullptr);
        std::string text = terminal.Text();
        EXPECT_EQ(testing::internal::GetCapturedStdout(), text);
        return text;
    }

    inline static CommandFormatMgr* const reports = CommandFormatMgr::GetInstance();
    LogLines log;
};

// One row is a list and more are a table; what is not registered is not printed.
TEST_F(Report, LooksAsItLooked) {
    const std::string printed[] = {
        Print(kReport, {}),
        Print(kReport, {{{50, 7}, {40, Buffer("\x01\x02")}, {20, 7LL}, {30, 2}, {77, "no column"}}}),
        Print(kReport, {{{30, 1}, {20, 7}, {20, 8}, {10, "text"}, {40, static_cast<short>(-3)}, {50, "name"}},
                        {{50, "longer than its column"}, {10, ""}, {20, "text"}, {30, false}},
                        {{40, ""}, {50, "x"}, {20, -1}}}),
        Print(kReport, {{{30, 1}, {20, 1}, {10, "a"}}, {{30, 1}, {20, 2}, {10, "d"}}}, false),
        Print(kHeadOnly, {{}, {}}),
        Print(kColumnsOnly, {{{0, 5}}}),
        Print(kUnknown, {{}})};
    std::ifstream file(ONU_MNG_GOLDEN_DIR "/reports.txt", std::ios::binary);
    EXPECT_EQ(std::accumulate(std::begin(printed), std::end(printed), std::string()),
              std::string(std::istreambuf_iterator<char>(file), {}));
}

TEST_F(Report, ColumnsAreAsWideAsTheirTextsAndABlank) {
    const struct {
        VariantType type;
        unsigned int width;
        const char* name;
        unsigned int computed;
    } cases[] = {{VARIANT_TYPE_BOOL, 0, "A", 6},        {VARIANT_TYPE_UCHAR, 0, "A", 5},
                 {VARIANT_TYPE_USHORT, 0, "MOD_ID", 7}, {VARIANT_TYPE_INT, 0, "POOL_SIZE", 11},
                 {VARIANT_TYPE_UINT64, 0, "A", 19},     {VARIANT_TYPE_UINT, 0, "MSG_CUR_NUM", 12},
                 {VARIANT_TYPE_STRING, 0, "A", 2},      {VARIANT_TYPE_STRING, 32, "MOD_NAME", 33},
                 {VARIANT_TYPE_NONE, 0, "", 1},         {VARIANT_TYPE_BOOL, 2, "FLAG", 5},
                 {VARIANT_TYPE_INT, 20, "A", 21},       {VARIANT_TYPE_UINT, 20, "A", 21}};
    for (const auto& c : cases) {
        ParameterFormat column = {0, c.name, "", c.type, c.width};
        reports->CalcParamLen(column);
        EXPECT_EQ(column.width, c.computed) << c.type << " " << c.name;
    }
}

TEST_F(Report, LongReportsArriveWhole) {
    Rows rows;
    std::string lines;
    for (unsigned int i = 0; i < 500; ++i) {
        const std::string text(i, static_cast<char>('a' + i % 26));
        rows.push_back({{30, true}, {20, 0xFFFFFFFFU}, {10, text}});
        lines += "True  0xffffffff " + text + std::string(i < 17 ? 18 - i : 1, ' ') + "    " +
                 std::string(11, ' ') + "\r\n";
    }
    EXPECT_NE(Print(kReport, std::move(rows)).find(lines), std::string::npos);
}

} // namespace
