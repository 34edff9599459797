#ifndef TABLEREBUILD_H
#define TABLEREBUILD_H

#include <string>
#include <vector>

#include "dao/DASUtils.h"

class DataAccessObject;
class DatabaseAdapter;

/// How the columns of a table compare to those of its data access object.
struct TableForm {
    TableForm(DatabaseAdapter& adapter, const DataAccessObject& dao,
              const std::vector<std::string>& names);

    /// Whether rows can be read and written by position: the table has exactly the object's columns
    /// in the object's order, the column that numbers the rows is the key, and text columns store
    /// strings unchanged. True for a missing table.
    [[nodiscard]] bool isInOrder() const {
        return columns == 0 || (inPlace == wanted && columns == wanted && m_isOfToday);
    }

    std::size_t columns;      ///< of the table; 0 for a missing one
    std::size_t inPlace = 0;  ///< how many columns, from the first on, equal those of the object
    std::size_t wanted;       ///< of the object

private:
    bool m_isOfToday;  ///< whether keys and types are current; not checked if columns are missing
};

/**
 * Rebuilds one table with the columns of its data access object: it is renamed, the object creates
 * it again, the rows are copied by column name, and the old table is dropped.
 *
 * All of this is one transaction, which is rolled back on any failure: the table is as it was then.
 * Column names count without regard to case, as in SQL.
 *
 * A row that the key of the table refuses stops nothing. If the database numbers the rows, a row
 * without a number, or with that of an earlier row, gets a new one. If clients give the key, the
 * last of its rows stays.
 */
class TableRebuild {
public:
    /**
     * @param adapter    must outlive this object; not owned
     * @param dao        object of the table, with columns(); must outlive this object; not owned
     * @param oldColumns names of the columns that the table has now
     */
    TableRebuild(DatabaseAdapter& adapter, DataAccessObject& dao,
                 std::vector<std::string> oldColumns);

    /// Whether the table already has the object's columns in the object's order.
    bool isDone() const;
    /// Whether missing default rows are added in the same transaction.
    enum class DefaultRows { Leave, Add };

    /// Rebuilds the table. False if it was not changed; the reason is logged.
    bool run(DefaultRows rows);

    /// Fills the object's table, which has no rows, with those of @p table, which has the old
    /// columns and stays. Call in a transaction and roll back if the result is false. The caller
    /// logs which columns are lost, before it removes any of the rows.
    [[nodiscard]] bool copyFrom(const std::string& table);
    /// The same for a table that has rows. These stay, and the added rows get new numbers.
    [[nodiscard]] bool addFrom(const std::string& table);

private:
    using Column = DASUtils::ColumnInfo;

    bool wasThere(const std::string& column) const;
    std::string valueOf(const Column& column) const;
    std::string defaultOf(const Column& column) const;
    std::string isDefaultRow(std::size_t row, const Column& except) const;
    /// What happens to the numbers of the rows.
    enum class Numbers { Kept, New };
    std::string copyStatement(Numbers numbers, const std::string& rows) const;
    bool copyRows();
    std::vector<const Column*> keyColumns() const;
    std::string keyValues() const;
    bool readIndices();
    bool renameAside();
    bool replaceTable(DefaultRows rows);
    bool keepsAllRows();
    bool carryNumbering();
    void makeIndices();
    bool execute(const std::string& sql);

    DatabaseAdapter& m_adapter;
    DataAccessObject& m_dao;
    const std::vector<std::string> m_oldColumns;
    const std::string m_table;
    std::string m_aside;                 ///< temporary name of the old table
    std::vector<std::string> m_indices;  ///< the statements that create them
};

#endif
