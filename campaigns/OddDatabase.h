#ifndef ODDDATABASE_H
#define ODDDATABASE_H

#include <sqlite3.h>

#include <map>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <vector>

/// Rows as they were read. A cell without a value is NULL.
struct OddTable {
    using Row = std::vector<std::optional<std::string>>;

    std::vector<std::string> columns;
    std::vector<Row> rows;
};

/// A database whose tables no release made.
class OddDatabase {
public:
    explicit OddDatabase(const std::string& file);

    /// Makes the tables of an earlier form and most of those that the statements @p today make,
    /// mutilated in columns, keys and contents. A cell that no step reads has a value of its own.
    /// Returns what was made. Throws std::runtime_error if that fails.
    std::string make(const OddTable& today, std::mt19937& random);

    /// What @p query returns with @p values for its parameters; empty if SQLite refuses it.
    OddTable select(const std::string& query, const OddTable::Row& values = {}) const;
    /// All tables and sqlite_master, by their names.
    std::map<std::string, OddTable> tables() const;

private:
    std::vector<std::string> columnsOf(const std::string& table) const;
    std::vector<std::string> tableNames() const;
    void run(const std::string& sql);
    void makeTables(const OddTable& today);
    void mutilate(const std::string& table);
    void fill(const std::string& table);
    std::optional<std::string> cell(const std::string& column,
                                    const std::optional<std::string>& above);
    std::string ownValue();

    std::size_t below(std::size_t limit) { return (*m_random)() % limit; }
    template <typename List>
    auto oneOf(const List& list) {
        return *(std::begin(list) + static_cast<long>(below(std::size(list))));
    }

    std::unique_ptr<sqlite3, decltype(&sqlite3_close)> m_db;
    std::mt19937* m_random = nullptr;
    std::string m_story;
    long m_values = 0;
};

#endif
