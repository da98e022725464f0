/// The columns of a table that is read from text.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_TABLE_H
#define ONU_MNG_PLATFORM_COMMON_CLI_TABLE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace onu_mng_platform {

/// Finds the cells of a table's rows by its header. Used by one task.
///
/// A name of a column begins with a capital; a word behind it that begins with a small letter continues it ("Up
/// to bytes"). Names that are there already are numbered ("Bytes", "Bytes 2"). All throw std::bad_alloc.
class Table {
public:
    /// The columns that `line` names; none when it is no header, such as a line with a word that is no name.
    static Table Parse(std::string_view line);

    const std::vector<std::string>& names() const { return names_; }

    /// The cells of a row, one for each column: words that stand below the begin or the end of a column's name,
    /// each with the words behind it that stand below none; or the words, if there is one for each column, as
    /// a long cell shifts those behind it.
    /// @return none when the line is no row. A cell may be empty only if `may_lack` is set.
    std::vector<std::string_view> Split(std::string_view line, bool may_lack) const;

private:
    struct Span {
        size_t begin;
        size_t end;
    };

    static std::vector<Span> Words(std::string_view line);
    void AddName(std::string_view name, Span span);
    size_t ColumnOf(Span word, size_t first) const;
    std::vector<std::string_view> SplitByPlace(std::string_view line, const std::vector<Span>& words) const;

    std::vector<std::string> names_;
    std::vector<Span> spans_;
};

} // namespace onu_mng_platform

#endif
