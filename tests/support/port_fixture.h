/// Runs a test on the port that the executable is linked with. Each port has a source that defines these
/// functions.
#ifndef ONU_MNG_TESTS_SUPPORT_PORT_FIXTURE_H
#define ONU_MNG_TESTS_SUPPORT_PORT_FIXTURE_H

#include <gtest/gtest.h>

#include <functional>

/// Runs `body` in a task and returns when it has ended. If the body hangs, aborts the program with a message.
void RunOnPort(const std::function<void()>& body);

/// A test whose body runs in RunOnPort().
#define PORT_TEST(suite, name)                                                                               \
    void suite##name();                                                                                      \
    TEST(suite, name) {                                                                                      \
        RunOnPort(suite##name);                                                                              \
    }                                                                                                        \
    void suite##name()

/// Returns when every other task waits or has ended. Called from a body.
void LetOthersSettle();

#endif
