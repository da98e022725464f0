// Every allocation of the command line made to fail, one after the other.

#include <cstdlib>
#include <functional>
#include <new>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "onu_mng_platform/common/cli_assist.h"
#include "onu_mng_platform/ulog.h"

namespace {

thread_local long allocations_left = -1; // negative: no end

void* Allocate(std::size_t size) {
    if (allocations_left == 0) return nullptr;
    if (allocations_left > 0) --allocations_left;
    return std::malloc(size);
}

} // namespace

void* operator new(std::size_t size) {
    if (void* block = Allocate(size)) return block;
    throw std::bad_alloc();
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return Allocate(size);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

namespace {

constexpr unsigned int kNode = 50;

/// Runs `attempt` with room for ever more allocations until it says that it has succeeded.
/// @return how often it failed.
int Sweep(const std::function<bool()>& attempt) {
    for (int failures = 0;; ++failures) {
        allocations_left = failures;
        const bool succeeded = attempt();
        const bool had_enough = allocations_left > 0;
        allocations_left = -1;
        if (succeeded) return failures;
        if (had_enough) ADD_FAILURE() << "fails with memory left";
        if (had_enough) return -1;
    }
}

/// A terminal whose own memory is no part of the test.
class RoomyTerminal {
public:
    RoomyTerminal() : terminal(vty_create(Write, this)) {}
    ~RoomyTerminal() { vty_destroy(terminal); }

    std::string Take() {
        const std::string taken(text, size);
        size = 0;
        return taken;
    }

    vty* const terminal;

private:
    static void Write(void* context, const char* data, size_t length) {
        auto* self = static_cast<RoomyTerminal*>(context);
        for (size_t i = 0; i < length && self->size < sizeof self->text; ++i)
            self->text[self->size++] = data[i];
    }

    char text[8192] = "";
    size_t size = 0;
};

class CliMemoryTest : public testing::Test {
protected:
    CliMemoryTest() {
        ulogSetThreshold(16);
        EXPECT_EQ(vty_execute(screen.terminal, kNode, "list | count"), 0); // makes what is made once
        screen.Take();
    }
    ~CliMemoryTest() override { ulogSetThreshold(10); }

    /// What is on the screen; reading it is no part of the test.
    std::string Screen() {
        const long left = std::exchange(allocations_left, -1);
        std::string text = screen.Take();
        allocations_left = left;
        return text;
    }

    RoomyTerminal screen;
};

TEST_F(CliMemoryTest, LinesFailWhole) {
    static cmd_element record = {"take {[one] <1-9>}*1 {[two] <name>}*1",
                                 [](cmd_element*, vty* terminal, int, char** argv) {
                                     return vty_out(terminal, "%s %s\r\n", argv[1], argv[3]) > 0 ? 0 : -2;
                                 },
                                 nullptr,
                                 0,
                                 0,
                                 "take"};
    ASSERT_EQ(install_element(kNode, &record), 0);
    std::string answer;
    const int failures = Sweep([&] {
        const int result =
            vty_execute(screen.terminal, kNode, "take two a-name-that-is-longer-than-a-small-string one 3");
        answer = Screen();
        return result == 0 || answer != "% Out of memory.\r\n";
    });
    EXPECT_GT(failures, 5);
    EXPECT_EQ(answer, "a-name-that-is-longer-than-a-small-string 3\r\n");
    // With a filter the line that memory was short for may be lost, but no other is touched.
    EXPECT_GT(Sweep([&] { return vty_execute(screen.terminal, kNode, "take one 1 two 2 | count") == 0; }), 5);
}

TEST_F(CliMemoryTest, CommandsAreInstalledOrNot) {
    static cmd_element record = {
        "late [one|two] {<1-16>}*1", [](cmd_element*, vty*, int, char**) { return 0; }, "help", 0, 0, "late"};
    EXPECT_GT(Sweep([&] { return install_element(kNode, &record) == 0; }), 5);
    EXPECT_EQ(vty_execute(screen.terminal, kNode, "late two 16"), 0);
}

TEST_F(CliMemoryTest, HelpGoesWithout) {
    const auto describe = [&] {
        onu_mng_platform::Describe(screen.terminal, kNode, "li");
        return Screen() != "% Out of memory.\r\n";
    };
    EXPECT_GT(Sweep(describe), 3);
    const auto complete = [&] {
        return onu_mng_platform::Complete(screen.terminal, kNode, "li").insert == "st ";
    };
    EXPECT_GT(Sweep(complete), 3);
}

} // namespace
