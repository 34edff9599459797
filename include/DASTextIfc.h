#ifndef DASTEXTIFC_H
#define DASTEXTIFC_H

#include <cstddef>
#include <string>
#include <vector>

#include "DASTypes.h"

/// The parameters of an import of a text.
struct DASImport {
    std::string schema;    ///< must be one whose table has data files
    std::string user;      ///< "base", "visitor", or blank; see each operation
    bool isTrial = false;  ///< all of it is rolled back at the end
};

/// The result of an import.
struct DASImported {
    static constexpr std::size_t NoRow = static_cast<std::size_t>(-1);

    bool isDone = false;     ///< everything was stored or, in a trial, would have been
    std::string user;        ///< the user whose rows were imported; blank for several users or none
    std::size_t before = 0;  ///< rows that existed before, of that user if there is one
    std::size_t stored = 0;  ///< rows of the text
    std::size_t added = 0;   ///< how many of them were new
    std::string refusal;     ///< why it was not done, if this is known
    std::size_t refusedRow = NoRow;  ///< the row that caused this, from 0 on
};

/// The rows of an export.
struct DASExported {
    bool isDone = false;   ///< false if the rows can't be read, or the text exceeds its limit
    std::string text;      ///< in the form of docs/csv.md
    std::size_t rows = 0;  ///< rows in the text
    std::size_t lost = 0;  ///< rows that this form can't carry, and that are left out
};

/**
 * Export and import of tables as text, for callers whose files the service can't open.
 *
 * Each import is one transaction: all rows are stored, or nothing changes. Any thread may call.
 * isDone is also false before the end of the start and after a reset.
 */
class DASTextIfc {
public:
    virtual ~DASTextIfc() = default;

    /// Imports a text in the form of docs/csv.md. With a user, its rows replace all rows of that
    /// user. Without one, each row replaces the row with the same key.
    virtual DASImported importText(const DASImport& what, const std::string& text) = 0;

    /**
     * Imports rows whose cells belong to the columns @p names of the table. If the user has a row
     * with the key, these columns of it are changed. Otherwise the row is new. If rows are numbered
     * over all users, the number of another user's row is refused. Without a user, the current user
     * is meant.
     */
    virtual DASImported importRows(const DASImport& what, const std::vector<std::string>& names,
                                   const Rows& rows) = 0;

    /// Exports the rows of @p user; all rows if the user is blank or the rows belong to the
    /// telephone.
    virtual DASExported exportText(const std::string& schema, const std::string& user) = 0;
};

#endif
