/// A status row at the bottom of a terminal.
#ifndef ONU_MNG_PLATFORM_POSIX_CONSOLE_STATUS_ROW_H
#define ONU_MNG_PLATFORM_POSIX_CONSOLE_STATUS_ROW_H

#include <string>
#include <vector>

namespace onu_mng_platform {

/// Shows text in the last row of a terminal. All other output scrolls above it. Drawing the row does not move
/// the cursor, so it does not disturb other output.
///
/// No operation blocks. One task at a time.
class StatusRow {
public:
    /// `screen` is a non-blocking descriptor of the terminal. It must outlive the row.
    explicit StatusRow(int screen) : screen_(screen) {}
    ~StatusRow() { Hide(); }
    StatusRow(const StatusRow&) = delete;
    StatusRow& operator=(const StatusRow&) = delete;

    /// Shows the first of `texts` that fits into the width of the terminal, or the beginning of the last one.
    /// The texts must be ASCII without control characters. Throws std::bad_alloc.
    /// @return false, with nothing shown, if $TERM is empty or "dumb", if the terminal has fewer than 4 rows,
    ///         or if it belongs to another job.
    bool Show(const std::vector<std::string>& texts);

    /// Clears the row and lets the whole terminal scroll again. Does nothing if the row is not shown.
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
