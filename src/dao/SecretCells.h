#ifndef SECRETCELLS_H
#define SECRETCELLS_H

#include <cstddef>
#include <string>
#include <vector>

class DatabaseAdapter;

/// Masks the secret cells in whole rows of a table; masks nothing unless secrets are hidden from
/// this thread. The constructor checks this and finds the positions of the secret columns once,
/// because rows come by the thousand.
class SecretCells {
public:
    /// Asks @p adapter for the columns of @p table, in their order in the database.
    SecretCells(DatabaseAdapter& adapter, const std::string& table);

    /// False if the columns of the table can't be read. Then no row of it may be shown.
    [[nodiscard]] bool areKnown() const { return m_areKnown; }

    /// Puts the mask in place of the secrets of @p row.
    void hide(std::vector<std::string>& row) const;

private:
    bool m_areKnown = true;
    std::vector<std::size_t> m_places;
};

#endif
