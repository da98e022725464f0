/// The words that the handler of a command receives.
#ifndef ONU_MNG_LIB_CLI_WORDS_H
#define ONU_MNG_LIB_CLI_WORDS_H

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "onu_mng_platform/bep.h"

/// A view of argc and argv that never reads beyond the last word.
class CliWords {
public:
    CliWords(int argc, char** argv) : count(argv == nullptr ? 0 : std::max(argc, 0)), words(argv) {}

    int Count() const { return count; }

    /// Returns the word at `index`; null after the last one.
    char* operator[](int index) const { return index < count ? words[index] : nullptr; }

    /// Calls `visit(keyword, value)` for each pair of words from `first` on. If the last keyword has no
    /// value, its `value` is null. If a call does not return 0, its result is returned at once.
    template <typename Visit>
    int ForEachPair(int first, Visit visit) const {
        for (int i = first; (*this)[i] != nullptr; i += 2) {
            const int result = visit((*this)[i], (*this)[i + 1]);
            if (result != 0) return result;
        }
        return 0;
    }

private:
    const int count;
    char** const words;
};

/// Returns whether a word begins with a keyword.
inline bool MatchesKeyword(const char* word, const char* keyword) {
    return bep_StrNCmp(word, keyword, bep_StrLen(keyword)) == 0;
}

/// Returns the number at the start of a text, as atoi() does. A number that no int can hold becomes the
/// nearest int.
inline int NumberOf(const char* text) {
    const long long number = std::strtoll(text, nullptr, 10);
    return static_cast<int>(
        std::clamp<long long>(number, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()));
}

#endif
