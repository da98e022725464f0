/// The ten commands, typed at a terminal on the simulated board.

#include <atomic>
#include <chrono>
#include <functional>
#include <gtest/gtest.h>

#include "onu_mng_lib/onu_mng_cli_cinterface.h"
#include "onu_mng_lib/onu_mng_cli_cmd.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "onu_mng_platform/sim/simulation.h"
#include "tests/support/captured_terminal.h"
#include "tests/support/golden.h"
#include "tests/support/variants.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;

constexpr unsigned int kNode = 5;
constexpr unsigned short kAny = 0xFFFF;

// One ONU is known to the host: KVXQ-12345678 is 5 on PON 2.
constexpr char kSn[] = "KVXQ\x12\x34\x56\x78";
std::atomic<int> look_ups{0};

int SnOfId(unsigned int pon_no, unsigned char onu_id, unsigned char* sn, unsigned int sn_len) {
    ++look_ups;
    if (pon_no != 2 || onu_id != 5 || sn_len != 8) return -1;
    std::memcpy(sn, kSn, 8);
    return 0;
}

int IdOfSn(unsigned int pon_no, const unsigned char* sn, unsigned char* onu_id) {
    ++look_ups;
    *onu_id = 5;
    return pon_no == 2 && std::memcmp(sn, kSn, 8) == 0 ? 0 : -1;
}

class CliCommands : public testing::Test {
protected:
    static void SetUpTestSuite() {
        ASSERT_TRUE(InitPool());
        onu_mng_system_reg_cli_node(kNode);
        onu_mng_system_reg_onu_id_to_onu_sn_handle(SnOfId);
        onu_mng_system_reg_onu_sn_to_onu_id_handle(IdOfSn);
        ASSERT_EQ(onu_mng_init_cli_cmd(), ONU_MNG_OK);
        ASSERT_EQ(onu_mng_cli_install_element(), ONU_MNG_OK);
        AddModule(9, "upgrade", 120, 1, 16, 0x4000);
        AddModule(9, "omci alarms of a long name that fills the column", 130, 2, 32, 0x8000);
        AddModule(7, "", 255, 0x1FF, 65535, 0x10000);
    }
    static void AddModule(unsigned int type, const char* name, unsigned int priority, unsigned int msg_pri,
                          unsigned int msg_num, unsigned int stack_size) {
        auto* const module = new ServiceModule(type, name, priority, msg_pri, msg_num, stack_size);
        module->msg_size = 8; // on boards of 32 bits too
        ASSERT_EQ(ModuleManager::GetInstance()->RegisterModule(module), ONU_MNG_OK);
    }
    void SetUp() override {
        OnuMngLog::GetInstance()->trace_switch = false;
        OnuMngLog::GetInstance()->ClearOnuTracer();
        look_ups = 0;
    }

    static void RunOnBoard(const std::function<void(Simulation&)>& body) {
        Simulation board(1);
        const SimResult& result = board.Run([&] { body(board); });
        EXPECT_TRUE(result.Ok()) << result.report;
    }

    /// The typed lines with what each printed.
    static std::string Type(const std::vector<std::string>& lines) {
        CapturedTerminal terminal;
        std::string text;
        for (const std::string& line : lines) {
            last_result = vty_execute(terminal, kNode, line.c_str());
            text += "> " + line + "\r\n" + terminal.Text();
        }
        return text;
    }

    inline static int last_result = 0;
};

TEST_F(CliCommands, ShowServiceModule) {
    ExpectGolden("show_service_module.txt",
                 Type({"show service_module", "show service_module id 3", "show service_module type 9 id 2",
                       "show service_module type 7 id 2", "show service_module type 9",
                       "show service_module summary"}));
}

TEST_F(CliCommands, ShowStateContext) {
    RunOnBoard([](Simulation& board) {
        StateContext first(3);
        StateContext idle(4);
        const auto alloc = [](StateContext& context, unsigned short pon, unsigned short onu) {
            for (unsigned int state : {STATE_INIT, STATE_SUCC, STATE_FAIL})
                ASSERT_EQ(context.RegisterState(new ServiceState(state)), ONU_MNG_OK);
            ASSERT_EQ(context.Alloc(pon, onu, nullptr, 0), ONU_MNG_OK);
        };
        alloc(first, 1, 5);
        board.Sleep(2s);
        StateContext second(3);
        alloc(second, 2, 127);
        ExpectGolden("state_context.txt", Type({"show state_context", "terminate state_context id 3",
                                                "terminate state_context id 2",
                                                "terminate state_context id 200", "show state_context type 3",
                                                "show state_context type 4", "show state_context type 9"}));
        first.Release(false);
        second.Release(false);
    });
}

TEST_F(CliCommands, LogTrace) {
    ExpectGolden("log_trace.txt",
                 Type({"show log_trace", "set log_trace flag enable", "set log_trace flag enable ponno 1",
                       "set log_trace flag enable onusn KVXQ-1234567 debug_level 4",
                       "set log_trace flag enable debug_level ,", "show log_trace",
                       "set log_trace flag enable ponno 2 onuid 5 debug_level 7,4", "show log_trace",
                       "set log_trace flag enable onusn ABCD-0000000F debug_level "
                       "16,15,14,13,12,11,10,9,8,7,6,5,4,3,2,1,0,17,18,19",
                       "show log_trace", "set log_trace flag disable ponno 2", "show log_trace"}));
    EXPECT_EQ(look_ups, 1);
    OnuMngLog::GetInstance()->trace_switch = true;
    CapturedTerminal terminal;
    ASSERT_EQ(vty_execute(terminal, kNode, "show log_trace"), 0);
    ExpectGolden("show_log_trace_without_entries.txt", terminal.Text());
}

TEST_F(CliCommands, TheHostCompletesAnIdentityWhereItCan) {
    OnuMngLog& registry = *OnuMngLog::GetInstance();
    unsigned char known[8], other[8] = {'K', 'V', 'X', 'Q', 1, 2, 3, 4};
    std::memcpy(known, kSn, 8);
    const struct {
        const char* words;
        unsigned short pon, onu;
        unsigned char* sn;
        int asked;
    } cases[] = {
        {"ponno 2 onuid 5", 2, 5, known, 1},
        {"ponno 2 onuid 6", 2, 6, nullptr, 1}, // not known: traced by its numbers
        {"ponno 2 onusn KVXQ-12345678", 2, 5, known, 1},
        {"ponno 2 onusn KVXQ-01020304", 2, kAny, other, 1}, // not known: traced by its serial number
        {"ponno 2 onuid 6 onusn KVXQ-01020304", 2, 6, other, 0},
        {"ponno 2", 2, kAny, nullptr, 0},
        {"onusn KVXQ-12345678", kAny, kAny, known, 0},
        {"onuid 5", kAny, 5, nullptr, 0},
    };
    for (const auto& c : cases) {
        SetUp();
        Type({std::string("set log_trace flag enable debug_level 4 ") + c.words});
        EXPECT_EQ(look_ups, c.asked) << c.words;
        OnuLogPara* para = nullptr;
        EXPECT_TRUE(registry.MatchOnu(c.pon, c.onu, c.sn, para)) << c.words;
        // Only the numbers of the entry, or a wildcard among them, find it without the serial number.
        const unsigned short other_onu = 77;
        EXPECT_EQ(registry.MatchOnu(c.pon, other_onu, nullptr, para), c.onu == kAny) << c.words;
        EXPECT_EQ(registry.MatchOnu(c.pon, other_onu, c.sn, para), c.onu == kAny || c.sn != nullptr)
            << c.words;
    }
}

TEST_F(CliCommands, RefusalsLeaveTracingAsItWas) {
    Type({"set log_trace flag enable ponno 3 debug_level 4"});
    for (const char* line : {"set log_trace flag enable ponno 1", "set log_trace flag enable",
                             "set log_trace flag enable onusn 0102 debug_level 5"}) {
        Type({line});
        EXPECT_NE(last_result, 0);
    }
    EXPECT_EQ(static_cast<unsigned int>(last_result), ONU_MNG_BAD_TEXT);
    EXPECT_TRUE(OnuMngLog::GetInstance()->IsTraceOnu(3, 9, nullptr, 4));
    EXPECT_FALSE(OnuMngLog::GetInstance()->IsTraceOnu(3, 9, nullptr, 5));
    EXPECT_FALSE(OnuMngLog::GetInstance()->IsTraceOnu(1, 9, nullptr, 4));
}

TEST_F(CliCommands, EnvironmentAndPeriod) {
    ExpectGolden("show_system_env.txt", Type({"show system env"}));
    ExpectGolden("interval_run_time.txt",
                 Type({"show state_machine interval_run_time", "set state_machine interval_run_time 0",
                       "show state_machine interval_run_time", "set state_machine interval_run_time 45s",
                       "show state_machine interval_run_time"}));
    EXPECT_EQ(StateContextManager::GetInstance()->interval_run_time, 45U);
}

/// Calls a handler as a parser might that delivers `words`; a read behind them is an error to the sanitizers.
struct Answer {
    int result;
    std::string text;
};
Answer Call(cmd_handler handler, std::vector<std::string> words) {
    std::vector<char*> argv;
    for (std::string& word : words)
        argv.push_back(word.data());
    argv.shrink_to_fit();
    CapturedTerminal terminal;
    const int result = handler(nullptr, terminal, static_cast<int>(argv.size()), argv.data());
    return {result, terminal.Text()};
}

TEST_F(CliCommands, HandlersNeedNotTrustTheParser) {
    const struct {
        cmd_handler handler;
        std::vector<std::string> words;
        int result;
        const char* text;
    } cases[] = {
        {cl_onu_mng_set_log_trace_func, {}, 1, "invalid flag value \r\n"},
        {cl_onu_mng_set_log_trace_func, {"enabled"}, 1, "invalid flag value enabled\r\n"},
        {cl_onu_mng_set_log_trace_func,
         {"enable", "debug_level"},
         1,
         "at least dbglvl parameter should be specified\r\n"},
        {cl_onu_mng_set_log_trace_func,
         {"enable", "ponno", "1", "debug_level"},
         1,
         "dbglvl should be specified\r\n"},
        {cl_onu_mng_terminate_state_context_cmd_fun, {}, 1, "context id should be specified\r\n"},
        {cl_omci_set_state_machine_interval_run_time_func,
         {},
         1,
         "interval_run_time should be specified\r\n"},
    };
    for (const auto& c : cases) {
        const Answer answer = Call(c.handler, c.words);
        EXPECT_EQ(answer.result, c.result);
        EXPECT_EQ(answer.text, c.text);
    }
    const std::string all = Call(cl_onu_mng_show_service_module_cmd_fun, {}).text;
    EXPECT_EQ(Call(cl_onu_mng_show_service_module_cmd_fun, {"id"}).text, all);
    EXPECT_EQ(Call(cl_onu_mng_show_service_module_cmd_fun, {"unknown", "1", "id"}).text, all);
    EXPECT_NE(Call(cl_onu_mng_show_service_module_cmd_fun, {"id", "1"}).text, all);
}

TEST_F(CliCommands, LevelsOfSeveralListsAddUpToSeventeen) {
    const Answer answer =
        Call(cl_onu_mng_set_log_trace_func, {"enable", "debug_level", "1,2,3,4,5,6,7,8,9",
                                             "debug_level_of_pon", "10,11,12,13,14,15,16,17,18,19"});
    EXPECT_EQ(answer.result, 0);
    EXPECT_TRUE(OnuMngLog::GetInstance()->IsTraceOnu(1, 1, nullptr, 17));
    EXPECT_FALSE(OnuMngLog::GetInstance()->IsTraceOnu(1, 1, nullptr, 18));
}

TEST_F(CliCommands, ShowMemoryChoosesTheView) {
    const auto captured = [](const std::function<void()>& print) {
        testing::internal::CaptureStdout();
        print();
        return testing::internal::GetCapturedStdout();
    };
    const Variant live("a block for the views");
    const struct {
        const char* word;
        MemShowType type;
    } cases[] = {
        {"global", MEM_SHOW_GLOBAL}, {"detail", MEM_SHOW_DETAIL}, {"debug", MEM_SHOW_DEBUG},
        {"others", MEM_SHOW_GLOBAL}, {"debugs", MEM_SHOW_GLOBAL},
    };
    for (const auto& c : cases) {
        const std::string expected = captured([&c] { MemoryAllocator::GetInstance()->MemShow(c.type); });
        EXPECT_FALSE(expected.empty());
        EXPECT_EQ(captured([&c] { Call(cl_onu_mng_show_memory_func, {c.word}); }), expected) << c.word;
    }
}

TEST_F(CliCommands, TwoOperatorsNeverShareAPosition) {
    const std::string alone = Type({"show service_module"});
    for (std::uint64_t seed = 1; seed <= 20; ++seed) {
        Simulation board(seed);
        const auto operate = [&alone] {
            for (int i = 0; i < 10; ++i)
                EXPECT_EQ(Type({"show service_module"}), alone);
        };
        const SimResult& result = board.Run([&] {
            board.Spawn("operator", operate);
            operate();
        });
        EXPECT_TRUE(result.Ok()) << result.report;
        EXPECT_GT(result.switches, 0U);
    }
}

TEST_F(CliCommands, WithoutMemoryAReportSaysSoAndWithoutBlocksItHasBlanks) {
    RunOnBoard([](Simulation& board) {
        const std::string whole = Call(cl_onu_mng_show_service_module_summary_cmd_fun, {}).text;
        bool failed = true;
        for (unsigned int nth = 1; failed; ++nth) {
            CapturedTerminal terminal;
            const unsigned int before = board.Failed();
            board.FailNth(SimFault::kNew, nth);
            const int result = cl_onu_mng_show_service_module_summary_cmd_fun(nullptr, terminal, 0, nullptr);
            board.FailNone();
            failed = board.Failed() != before;
            EXPECT_EQ(result, failed ? 1 : 0);
            EXPECT_EQ(terminal.Text(), failed ? "not enough memory for the report\r\n" : whole);
        }
        CapturedTerminal terminal;
        board.FailFrom(SimFault::kPoolAlloc, 1);
        cl_onu_mng_show_service_module_summary_cmd_fun(nullptr, terminal, 0, nullptr);
        board.FailNone();
        const std::string row = "1      9        " + std::string(33, ' ') + "\r\n";
        EXPECT_NE(terminal.Text().find(row), std::string::npos);
    });
}

} // namespace
