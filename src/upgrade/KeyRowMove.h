#ifndef KEYROWMOVE_H
#define KEYROWMOVE_H

#include <string>
#include <vector>

class DatabaseAdapter;

/**
 * Takes rows of keys from one table to another, cells by name. Both tables have a row for each user
 * context and "Id".
 *
 * A row with a value overwrites the row of the same context and id in the other table. A row
 * without a value is only copied if the other table has no such row. The operations have no
 * transaction of their own: the caller must hold one and roll it back if one of them returns false.
 */
class KeyRowMove {
public:
    /// Which rows of the first table are moved.
    enum class Rows { All, WithValue };

    /**
     * @param adapter must outlive this object; not owned
     * @param from    table that the rows stand in
     * @param to      table that they go to
     * @param columns columns after context and "Id" that both tables have. The first is the value
     *                of the row; blank and '0' count as no value.
     */
    KeyRowMove(DatabaseAdapter& adapter, std::string from, std::string to,
               std::vector<std::string> columns);

    /// Copies the rows of @p ids. False when a statement failed.
    [[nodiscard]] bool copy(const std::vector<std::string>& ids, Rows which) const;
    /// Copies the rows and deletes them from the first table. False when a statement failed.
    [[nodiscard]] bool move(const std::vector<std::string>& ids, Rows which) const;

    /// The condition " IN ('a', 'b')" on ids, which must not hold quotes.
    static std::string oneOf(const std::vector<std::string>& ids);

private:
    std::string hasValue() const;
    std::string rowsMeant(const std::vector<std::string>& ids, Rows which) const;
    bool run(const std::string& sql) const;

    DatabaseAdapter& m_adapter;
    const std::string m_from;
    const std::string m_to;
    const std::vector<std::string> m_columns;
};

#endif
