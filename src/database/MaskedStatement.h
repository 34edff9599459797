#ifndef MASKEDSTATEMENT_H
#define MASKEDSTATEMENT_H

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "database/LoggedText.h"

/**
 * A statement with its secret values masked. These decide whether a value is secret: the column
 * that it is assigned to or compared with; its position in the column list of an insert; the name
 * in the same row or in the conditions; the name of a known password directly before it.
 */
class MaskedStatement {
public:
    /// Returns the columns of a table in their order; an empty list if they are not known. If an
    /// insert relies on this unknown order, all its values are masked.
    using ColumnsOf = std::function<std::vector<std::string>(const std::string& table)>;

    /// @p sql must outlive this object. @p columnsOf is called here, for inserts that name no
    /// columns.
    MaskedStatement(std::string_view sql, const ColumnsOf& columnsOf);

    /// The masked statement, cut at @p limit bytes.
    [[nodiscard]] std::string text(std::size_t limit = LoggedText::WholeText) const;

    /// The SQLite error message @p words about the statement, without the secrets that it repeats;
    /// cut.
    [[nodiscard]] std::string error(std::string_view words) const;

private:
    std::string_view m_sql;
    LoggedText::Stretches m_secrets;
};

#endif
