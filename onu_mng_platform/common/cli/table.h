/// Parses tables in text.
#ifndef ONU_MNG_PLATFORM_COMMON_CLI_TABLE_H
#define ONU_MNG_PLATFORM_COMMON_CLI_TABLE_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace onu_mng_platform {

/// Splits the rows of a table into cells, by the positions of the names in its header. Used by one task.
///
/// A column's name begins with a capital letter. A following word that begins with a small letter continues
/// the name ("Up to bytes"). Repeated names are numbered ("Bytes", "Bytes 2"). All operations throw
/// std::bad_alloc.
class Table {
public:
    /// Parses a header. The result has no columns if `line` is not a header, for instance if a word is not a
    /// name.
    static Table Parse(std::string_view line);

    const std::vector<std::string>& names() const { return names_; }

    /// Splits a row into one cell for each column. A word that is aligned with the start or the end of a
    /// column's name begins the cell of that column; following words that are not aligned belong to the same
    /// cell. If that leaves cells empty and there are as many words as columns, each word is a cell, because
    /// a long cell shifts the rest of the row.
    /// @return no cells if the line is not a row. Cells are empty only if `may_lack` is set.
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
