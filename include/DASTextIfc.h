#ifndef DASTEXTIFC_H
#define DASTEXTIFC_H

#include <cstddef>
#include <string>
#include <vector>

#include "DASTypes.h"

/// An import of a text.
struct DASImport {
    std::string schema;    ///< one whose table has data files
    std::string user;      ///< "base", "visitor", or blank; each operation says what it is for
    bool isTrial = false;  ///< all of it is rolled back at the end
};

/// What came of an import.
struct DASImported {
    static constexpr std::size_t NoRow = static_cast<std::size_t>(-1);

    bool isDone = false;     ///< everything was stored or, in a trial, would have been
    std::string user;        ///< whose rows it was about; blank for more than one user and for none
    std::size_t before = 0;  ///< rows that were there, of that user if there is one
    std::size_t stored = 0;  ///< rows of the text
    std::size_t added = 0;   ///< those of them that were new
    std::string refusal;     ///< why it was not done, where that is known
    std::size_t refusedRow = NoRow;  ///< the row that was the reason, from 0 on
};

/// The rows of an export.
struct DASExported {
    bool isDone = false;   ///< false when they can't be read, or the text is larger than it may be
    std::string text;      ///< in the form of docs/csv.md
    std::size_t rows = 0;  ///< that are in the text
    std::size_t lost = 0;  ///< that the form can't carry: they are left out
};

/**
 * Tables as text, in and out, for callers whose files the service does not see.
 *
 * Each import is one transaction: all rows are stored, or nothing changes. Any thread may call;
 * false in isDone also before the end of the start and after a reset.
 */
class DASTextIfc {
public:
    virtual ~DASTextIfc() = default;

    /// Imports a text in the form of docs/csv.md. With a user, its rows take the place of those
    /// that the user has. Without one, they take the place of those with the same key.
    virtual DASImported importText(const DASImport& what, const std::string& text) = 0;

    /**
     * Imports rows whose cells belong to the columns @p names of the table. A row whose key the
     * user has changes these columns. Any other is new; where rows are numbered over all users, a
     * number that another user's row has is refused. Without a user the rows are those of the
     * current one.
     */
    virtual DASImported importRows(const DASImport& what, const std::vector<std::string>& names,
                                   const Rows& rows) = 0;

    /// Exports the rows of @p user, or all for a blank one and for rows of the telephone.
    virtual DASExported exportText(const std::string& schema, const std::string& user) = 0;
};

#endif
