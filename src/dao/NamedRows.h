#ifndef NAMEDROWS_H
#define NAMEDROWS_H

#include <string>
#include <vector>

class DataAccessObject;
class DatabaseAdapter;

/// Stores rows whose cells belong to named columns. A row changes the stored row with the same key,
/// or is inserted if no stored row has it. Values are bound, so a cell may hold any bytes.
class NamedRows {
public:
    enum class Outcome {
        Added,
        Changed,
        OfOtherUser,  ///< nothing was done: another user's row has the number
        Failed        ///< nothing was done; the reason is in the log
    };

    /// @p names are columns of the table of @p dao, each once. @p user is ignored for a table of
    /// the telephone. All arguments must outlive the object. Call in a transaction.
    NamedRows(DatabaseAdapter& adapter, const DataAccessObject& dao, const std::string& user,
              const std::vector<std::string>& names);

    /// Whether a row has a value for its key.
    [[nodiscard]] bool hasKey(const std::vector<std::string>& cells) const {
        return m_keyPlace != NoPlace && !cells[m_keyPlace].empty();
    }

    /// Stores one row, which has a cell for each name.
    [[nodiscard]] Outcome store(const std::vector<std::string>& cells);

    /// The key column of @p dao: the first one, or the second if the first is the user's context.
    static const std::string& keyOf(const DataAccessObject& dao);

private:
    static constexpr std::size_t NoPlace = static_cast<std::size_t>(-1);
    enum class Owner { None, User, OtherUser, Unknown };

    /// Whose row has the key: no one's, the user's, or another user's. Unknown if the table could
    /// not be read; nothing may be stored then.
    [[nodiscard]] Owner ownerOf(const std::string& key) const;
    /// Sets the named cells of the user's row; its other cells stay. False, and a log line, on
    /// failure.
    [[nodiscard]] bool change(const std::vector<std::string>& cells);
    /// Inserts a row; columns that are not named get their defaults. False, and a log line, on
    /// failure.
    [[nodiscard]] bool add(const std::vector<std::string>& cells);

    DatabaseAdapter& m_adapter;
    const DataAccessObject& m_dao;
    const std::string& m_user;
    const std::vector<std::string>& m_names;
    bool m_hasUser = false;
    bool m_isNumbered = false;  ///< the database assigns the keys, each only once
    std::size_t m_keyPlace = NoPlace;
};

#endif
