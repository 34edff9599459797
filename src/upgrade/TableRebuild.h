#ifndef TABLEREBUILD_H
#define TABLEREBUILD_H

#include <string>
#include <vector>

#include "dao/DASUtils.h"

class DataAccessObject;
class DatabaseAdapter;

/**
 * Brings one table into the columns of its data access object. It is renamed aside, made anew by
 * the object, filled from the old one by column name, and the old one is dropped.
 *
 * All of this is one transaction, which is taken back whole on any failure: the table is as it was
 * then. Column names count without regard to case, as in SQL.
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

    /// Whether the table has the object's columns in the object's order.
    bool isDone() const;
    /// Whether default rows that are missing are added, in the same transaction.
    enum class DefaultRows { Leave, Add };

    /// Rebuilds the table. False when it stays as it was; why is in the log.
    bool run(DefaultRows rows);

    /// Fills the object's table, which has no rows, with those of @p table, which has the old
    /// columns and stays. Call with a transaction, to be rolled back when the result is false.
    [[nodiscard]] bool copyFrom(const std::string& table);

private:
    using Column = DASUtils::ColumnInfo;

    bool wasThere(const std::string& column) const;
    std::string valueOf(const Column& column) const;
    std::string defaultOf(const Column& column) const;
    std::string isDefaultRow(std::size_t row, const Column& except) const;
    std::string copyStatement() const;
    void logDroppedColumns() const;
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
    std::string m_aside;                 ///< name of the old table meanwhile
    std::vector<std::string> m_indices;  ///< the statements that made them
};

#endif
