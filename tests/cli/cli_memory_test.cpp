// Every allocation of the command line made to fail, one after the other.

#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "onu_mng_platform/common/cli/assist.h"
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

class CliMemoryTest : public testing::Test {
protected:
    CliMemoryTest() {
        ulogSetThreshold(16);
        EXPECT_EQ(vty_execute(terminal, kNode, "list | count"), 0); // makes what is made once
        Screen();
    }
    ~CliMemoryTest() override {
        ulogSetThreshold(10);
        vty_destroy(terminal);
    }

    /// What was written since the last call; keeping it takes no memory of the test's.
    std::string Screen() {
        const long left = std::exchange(allocations_left, -1);
        std::string text(written, std::exchange(size, 0));
        allocations_left = left;
        return text;
    }

    vty* const terminal = vty_create(
        [](void* self, const char* data, size_t length) {
            auto* test = static_cast<CliMemoryTest*>(self);
            std::memcpy(test->written + test->size, data, length);
            test->size += length;
        },
        this);

private:
    char written[4096] = "";
    size_t size = 0;
};

TEST_F(CliMemoryTest, LinesFailWhole) {
    static cmd_element record = {"take {[one] <1-9>}*1 {[two] <name>}*1",
                                 [](cmd_element*, vty* own, int, char** argv) {
                                     return vty_out(own, "%s %s\r\n", argv[1], argv[3]) > 0 ? 0 : -2;
                                 },
                                 nullptr,
                                 0,
                                 0,
                                 "take"};
    ASSERT_EQ(install_element(kNode, &record), 0);
    std::string answer;
    const int failures = Sweep([&] {
        const int result =
            vty_execute(terminal, kNode, "take two a-name-that-is-longer-than-a-small-string one 3");
        answer = Screen();
        return result == 0 || answer != "% Out of memory.\r\n";
    });
    EXPECT_GT(failures, 5);
    EXPECT_EQ(answer, "a-name-that-is-longer-than-a-small-string 3\r\n");
    // With a filter the line that memory was short for may be lost, but no other is touched.
    EXPECT_GT(Sweep([&] { return vty_execute(terminal, kNode, "take one 1 two 2 | count") == 0; }), 5);
}

TEST_F(CliMemoryTest, CommandsAreInstalledOrNot) {
    static cmd_element record = {
        "late [one|two] {<1-16>}*1", [](cmd_element*, vty*, int, char**) { return 0; }, "help", 0, 0, "late"};
    EXPECT_GT(Sweep([&] { return install_element(kNode, &record) == 0; }), 5);
    EXPECT_EQ(vty_execute(terminal, kNode, "late two 16"), 0);
}

TEST_F(CliMemoryTest, HelpGoesWithout) {
    const auto describe = [&] {
        onu_mng_platform::Describe(terminal, kNode, "li");
        return Screen() != "% Out of memory.\r\n";
    };
    EXPECT_GT(Sweep(describe), 3);
    const auto complete = [&] { return onu_mng_platform::Complete(terminal, kNode, "li").insert == "st "; };
    EXPECT_GT(Sweep(complete), 3);
}

} // namespace
