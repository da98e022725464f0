/// A row of text at the bottom of a terminal.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_STATUS_ROW_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_STATUS_ROW_H

#include <string>
#include <vector>

namespace onu_mng_platform {

/// The last row of a terminal. While it is shown, everything else scrolls above it, and drawing it moves no
/// cursor: whatever else is written to the terminal is not disturbed.
///
/// No operation blocks. One task at a time.
class StatusRow {
public:
    /// `screen` is a descriptor of the terminal that does not block; it outlives the row.
    explicit StatusRow(int screen) : screen_(screen) {}
    ~StatusRow() { Hide(); }
    StatusRow(const StatusRow&) = delete;
    StatusRow& operator=(const StatusRow&) = delete;

    /// Shows the first of `texts` that fits into the width of the terminal, or the beginning of the last one.
    /// ASCII without control characters.
    /// @return false, with nothing shown, where $TERM names no terminal that can address its rows ("dumb"), the
    ///         terminal has fewer than 4 rows, or it is another job's. Throws std::bad_alloc.
    bool Show(const std::vector<std::string>& texts);

    /// Clears the row and lets the whole terminal scroll again. Nothing when it is not shown.
    void Hide();

private:
    void Reserve(unsigned int rows);
    void Flush();

    const int screen_;
    unsigned int rows_ = 0; ///< of the terminal while the row is shown
    std::string unsent_;
};

} // namespace onu_mng_platform

#endif
