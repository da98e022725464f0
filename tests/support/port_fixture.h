/// Runs a test on the port that the executable is linked with; one source for each port defines these.
#ifndef ONU_MNG_TESTS_SUPPORT_PORT_FIXTURE_H
#define ONU_MNG_TESTS_SUPPORT_PORT_FIXTURE_H

#include <gtest/gtest.h>

#include <functional>

/// Runs `body` in a task and returns when it has ended. A body that hangs ends the program with a message.
void RunOnPort(const std::function<void()>& body);

/// A test whose body runs so.
#define PORT_TEST(suite, name)                                                                               \
    void suite##name();                                                                                      \
    TEST(suite, name) {                                                                                      \
        RunOnPort(suite##name);                                                                              \
    }                                                                                                        \
    void suite##name()

/// Called from a body: returns when every other task waits or has ended.
void LetOthersSettle();

#endif
