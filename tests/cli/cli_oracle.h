/// A second opinion on what a line means: every form that a syntax allows, written out.
#ifndef ONU_MNG_TESTS_CLI_CLI_ORACLE_H
#define ONU_MNG_TESTS_CLI_CLI_ORACLE_H

#include <string>
#include <vector>

#include "onu_mng_platform/cli.h"

namespace cli_test {

/// What may be typed for a word of a form: the text itself, a number from `low` to `high`, or anything.
struct Alternative {
    enum Kind { kText, kNumber, kAnything };

    std::string text;
    Kind kind;
    long long low;
    long long high;
};

/// A word of a form, and whether a handler is given it.
struct FormWord {
    std::vector<Alternative> alternatives;
    bool delivered;
};

/// One sequence of words that a syntax allows, every group either there or not.
struct Form {
    std::string command;
    std::vector<FormWord> words;
};

/// All forms of all commands, those of earlier commands first.
std::vector<Form> FormsOf(const std::vector<cmd_element>& commands);

/// The name of the command that a line means and the words that its handler is to be given; empty when the
/// line is to be refused.
std::vector<std::string> MeaningOf(const std::vector<std::string>& words, const std::vector<Form>& forms);

} // namespace cli_test

#endif
