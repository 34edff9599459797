#ifndef MASKEDSTATEMENT_H
#define MASKEDSTATEMENT_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "database/LoggedText.h"

/**
 * A statement with its secret values masked. A value is secret by what it stands for: a column that
 * is assigned or compared, its place in the columns of an insert, the name in the same row or in
 * the conditions, or the name of a known password directly before it.
 */
class MaskedStatement {
public:
    /// Returns the columns of a table in its order; an empty list when they are not known. All
    /// values of an insert that goes by them are masked then.
    using ColumnsOf = std::function<std::vector<std::string>(const std::string& table)>;

    /// @p sql must outlive this object. @p columnsOf is called here, for inserts that name no
    /// columns.
    MaskedStatement(std::string_view sql, const ColumnsOf& columnsOf);

    /// The statement, cut at @p limit bytes.
    [[nodiscard]] std::string text(std::size_t limit = LoggedText::WholeText) const;

    /// @p words, an error of SQLite about the statement, without the secrets that they repeat; cut.
    [[nodiscard]] std::string error(std::string_view words) const;

private:
    std::string_view m_sql;
    LoggedText::Stretches m_secrets;
};

#endif
