#ifndef SECRETCELLS_H
#define SECRETCELLS_H

#include <cstddef>
#include <string>
#include <vector>

class DatabaseAdapter;

/// The cells of whole rows of a table that must not be shown: none unless secrets are hidden from
/// this thread.
/// Whether secrets are hidden is asked once, at construction, and the places of the secret columns
/// are found then: whole rows are shown by the thousand.
class SecretCells {
public:
    /// @p adapter is asked for the columns of @p table, in their order in the database.
    SecretCells(DatabaseAdapter& adapter, const std::string& table);

    /// False when the columns of the table can't be read: then no row of it may be shown.
    [[nodiscard]] bool areKnown() const { return m_areKnown; }

    /// Puts the mask in place of the secrets of @p row.
    void hide(std::vector<std::string>& row) const;

private:
    bool m_areKnown = true;
    std::vector<std::size_t> m_places;
};

#endif
