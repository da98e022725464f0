/// The ten commands, typed at a terminal on the simulated board.

#include <chrono>
#include <gtest/gtest.h>

#include "onu_mng_lib/onu_mng_cli_cinterface.h"
#include "onu_mng_lib/onu_mng_cli_cmd.h"
#include "onu_mng_lib/onu_mng_common/module_mgr.h"
#include "onu_mng_lib/onu_mng_common/state_machine.h"
#include "onu_mng_lib/onu_mng_log.h"
#include "onu_mng_lib/onu_mng_system_reg_interface.h"
#include "tests/support/on_board.h"
#include "tests/support/transcript.h"
#include "tests/support/variants.h"

namespace {

using namespace onu_mng_platform;
using namespace std::chrono_literals;

constexpr unsigned int kNode = 5;
constexpr unsigned short kAny = 0xFFFF;

// One ONU is known to the host: KVXQ-12345678 is 5 on PON 2.
unsigned char known_sn[] = "KVXQ\x12\x34\x56\x78";
int look_ups = 0;

int SnOfId(unsigned int pon_no, unsigned char onu_id, unsigned char* sn, unsigned int sn_len) {
    ++look_ups;
    std::memcpy(sn, known_sn, sn_len);
    return pon_no == 2 && onu_id == 5 ? 0 : -1;
}

int IdOfSn(unsigned int pon_no, const unsigned char* sn, unsigned char* onu_id) {
    ++look_ups;
    *onu_id = 5;
    return pon_no == 2 && std::memcmp(sn, known_sn, 8) == 0 ? 0 : -1;
}

/// What a typed line prints.
std::string Type(const std::string& line) {
    CapturedTerminal terminal;
    vty_execute(terminal, kNode, line.c_str());
    return terminal.Text();
}

void ExpectScreens(const char* transcript) {
    transcript::ExpectScreens(transcript, {{"olt> ", kNode}});
}

/// What a handler prints, and its result, for words as some other parser may deliver them. A read behind the
/// words is an error to the sanitizers.
std::string Call(cmd_handler handler, std::vector<std::string> words) {
    std::vector<char*> argv;
    argv.reserve(words.size());
    for (std::string& word : words)
        argv.push_back(word.data());
    CapturedTerminal terminal;
    const int result = handler(nullptr, terminal, static_cast<int>(argv.size()), argv.data());
    return terminal.Text() + std::to_string(result);
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
        for (ServiceModule* module :
             {new ServiceModule(9, "upgrade", 120, 1, 16, 0x4000),
              new ServiceModule(9, "omci alarms of a long name that fills the column", 130, 2, 32, 0x8000),
              new ServiceModule(7, "", 255, 0x1FF, 65535, 0x10000)}) {
            module->msg_size = 8; // on boards of 32 bits too
            ASSERT_EQ(ModuleManager::GetInstance()->RegisterModule(module), ONU_MNG_OK);
        }
    }
    void SetUp() override {
        registry->trace_switch = false;
        registry->ClearOnuTracer();
        look_ups = 0;
    }

    OnuMngLog* const registry = OnuMngLog::GetInstance();
};

TEST_F(CliCommands, ModulesEnvironmentAndPeriod) {
    ExpectScreens("commands_modules.txt");
    EXPECT_EQ(StateContextManager::GetInstance()->interval_run_time, 45U);
}

TEST_F(CliCommands, StateContexts) {
    const auto alloc = [](StateContext& context, unsigned short pon, unsigned short onu) {
        for (unsigned int state : {STATE_INIT, STATE_SUCC, STATE_FAIL})
            ASSERT_EQ(context.RegisterState(new ServiceState(state)), ONU_MNG_OK);
        ASSERT_EQ(context.Alloc(pon, onu, nullptr, 0), ONU_MNG_OK);
    };
    OnBoard({}, [&](Simulation& board) {
        StateContext first(3), idle(4);
        alloc(first, 1, 5);
        board.Sleep(2s);
        StateContext second(3);
        alloc(second, 2, 127);
        ExpectScreens("commands_contexts.txt");
        first.Release(false);
        second.Release(false);
    });
}

TEST_F(CliCommands, LogTrace) {
    ExpectScreens("commands_trace.txt");
    registry->trace_switch = false;
    EXPECT_EQ(Type("show log_trace").find("= 4,"), std::string::npos) << "the trace is off";
}

TEST_F(CliCommands, TheHostCompletesAnIdentityWhereItCan) {
    unsigned char other_sn[] = "KVXQ\x01\x02\x03\x04";
    const struct {
        const char* words;
        unsigned short pon, onu;
        unsigned char* sn;
        int look_ups;
    } cases[] = {{"ponno 2 onuid 5", 2, 5, known_sn, 1},
                 {"ponno 2 onuid 6", 2, 6, nullptr, 1}, // not known: traced by its numbers
                 {"ponno 2 onusn KVXQ-12345678", 2, 5, known_sn, 1},
                 {"ponno 2 onusn KVXQ-01020304", 2, kAny, other_sn, 1}, // not known: its whole PON is traced
                 {"ponno 2 onuid 6 onusn KVXQ-01020304", 2, 6, other_sn, 0},
                 {"ponno 2", 2, kAny, nullptr, 0},
                 {"onusn KVXQ-12345678", kAny, kAny, known_sn, 0}};
    for (const auto& c : cases) {
        SetUp();
        Type(std::string("set log_trace flag enable debug_level 4 ") + c.words);
        EXPECT_EQ(look_ups, c.look_ups) << c.words;
        EXPECT_TRUE(registry->IsTraceOnu(c.pon, c.onu, c.sn, 4)) << c.words;
        // Another ONU id is traced by a wildcard or by the serial number only.
        EXPECT_EQ(registry->IsTraceOnu(c.pon, 77, nullptr, 4), c.onu == kAny) << c.words;
        EXPECT_EQ(registry->IsTraceOnu(c.pon, 77, c.sn, 4), c.onu == kAny || c.sn != nullptr) << c.words;
    }
}

TEST_F(CliCommands, HandlersNeedNotTrustTheParser) {
    EXPECT_EQ(Call(cl_onu_mng_set_log_trace_func, {"enable", "debug_level", "5", "debug_level_2", "6"}), "0");
    const std::string no_level = "dbglvl should be specified\r\n1";
    EXPECT_EQ(Call(cl_onu_mng_set_log_trace_func, {}), "invalid flag value \r\n1");
    EXPECT_EQ(Call(cl_onu_mng_set_log_trace_func, {"enabled"}), "invalid flag value enabled\r\n1");
    EXPECT_EQ(Call(cl_onu_mng_set_log_trace_func, {"enable", "debug_level"}),
              "at least dbglvl parameter should be specified\r\n1");
    EXPECT_EQ(Call(cl_onu_mng_set_log_trace_func, {"enable", "ponno", "1", "debug_level"}), no_level);
    EXPECT_EQ(Call(cl_onu_mng_set_log_trace_func, {"enable", "debug_level", "4", "onusn"}),
              "error sn fomat\r\n" + std::to_string(static_cast<int>(ONU_MNG_NULL_ARGUMENT)));
    EXPECT_EQ(Call(cl_onu_mng_set_log_trace_func, {"enable", "onusn", "01G2", "debug_level", "4"}),
              "error sn fomat\r\n" + std::to_string(static_cast<int>(ONU_MNG_BAD_TEXT)));
    EXPECT_TRUE(registry->IsTraceOnu(1, 1, nullptr, 6)); // refusals change nothing
    EXPECT_FALSE(registry->IsTraceOnu(1, 1, nullptr, 4));
    EXPECT_EQ(Call(cl_onu_mng_terminate_state_context_cmd_fun, {}), "context id should be specified\r\n1");
    EXPECT_EQ(Call(cl_omci_set_state_machine_interval_run_time_func, {}),
              "interval_run_time should be specified\r\n1");
    const std::string all = Call(cl_onu_mng_show_service_module_cmd_fun, {});
    EXPECT_EQ(Call(cl_onu_mng_show_service_module_cmd_fun, {"unknown", "1", "id"}), all);
}

TEST_F(CliCommands, ShowMemoryChoosesTheView) {
    const Variant live("a block for the views");
    const std::pair<const char*, MemShowType> cases[] = {{"global", MEM_SHOW_GLOBAL},
                                                         {"detail", MEM_SHOW_DETAIL},
                                                         {"debug", MEM_SHOW_DEBUG},
                                                         {"debugs", MEM_SHOW_GLOBAL}};
    for (const auto& [word, type] : cases) {
        testing::internal::CaptureStdout();
        MemoryAllocator::GetInstance()->MemShow(type);
        const std::string expected = testing::internal::GetCapturedStdout();
        testing::internal::CaptureStdout();
        Call(cl_onu_mng_show_memory_func, {word});
        EXPECT_EQ(testing::internal::GetCapturedStdout(), expected) << word;
    }
}

TEST_F(CliCommands, WithoutBlocksAReportHasBlanks) {
    OnBoard({}, [](Simulation& board) {
        board.FailFrom(SimFault::kPoolAlloc, 1);
        const std::string report = Type("show service_module summary");
        board.FailNone();
        EXPECT_NE(report.find("1      9        " + std::string(33, ' ') + "\r\n"), std::string::npos);
    });
}

} // namespace
