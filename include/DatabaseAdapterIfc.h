#ifndef DATABASEADAPTERIFC_H
#define DATABASEADAPTERIFC_H

#include <string>
#include <vector>

#include "DASTypes.h"

/**
 * The only access to the database.
 *
 * Values are in database form throughout: quoted and escaped by the caller, never here. Unless a
 * declaration says otherwise an int result is a raw SQLite code, 0 for success; the text of the
 * last failure waits in getError. Any thread may call; each operation holds the adapter's lock,
 * which is recursive, for its statements. The order of the operations is part of the binary
 * contract.
 */
class DatabaseAdapterIfc {
public:
    virtual ~DatabaseAdapterIfc() = default;

    /// Creates @p table; pairs of column name and SQL type. Empties @p columns.
    virtual int createTable(const std::string& table, PairList& columns) = 0;

    /// Creates an index for each column, with the column's name and "_INDEX" at its end, unless it
    /// exists.
    virtual void createIndicesForTable(const std::string& table,
                                       const std::vector<std::string>& columns) = 0;

    /// The kind of database under this adapter; 1 is SQLite.
    virtual int getAdapterType() = 0;

    /// Number of columns in the result of the complete statement @p sql; 0 if it can't be prepared.
    virtual int getColumnCount(const std::string& sql) = 0;

    /// Name of column @p index of the complete statement @p sql; empty if there is no such column.
    virtual std::string getColumnName(const std::string& sql, int index) = 0;

    /// Appends the column names of @p table to @p names. Returns 1 on success and 0 on failure.
    virtual int getColumnNames(const std::string& table, std::vector<std::string>& names) = 0;

    /// Adds a column; with @p withDefault it gets '0' for an integer type and '' for others.
    virtual int addColumn(const std::string& table, const std::string& column,
                          const std::string& type, bool withDefault) = 0;

    /**
     * Inserts a row in table order, replacing a row of the same key. Empties @p values.
     *
     * @param rowId receives the new row's number; may be null, does not change on failure
     * @return an adapter status: 0 success, 1 failure, 2 out of resources, 3 disk error
     */
    virtual int insert(const std::string& table, std::vector<std::string>& values,
                       long long* rowId) = 0;

    /**
     * Inserts a row by column names, replacing a row of the same key; result as above. A name that
     * is no column of the table throws std::out_of_range, and nothing is written.
     */
    virtual int insert(const std::string& table, const PairList& values, long long* rowId) = 0;

    /// Inserts a row; if @p columns is empty, in table order. Returns the raw SQLite code.
    virtual int insertRow(const std::string& table, const std::vector<std::string>& columns,
                          const std::vector<std::string>& values, long long* rowId) = 0;

    /// Deletes the rows that match; the lists are emptied. Returns 1 for a table without rows.
    virtual int deleteRow(const std::string& table, PairList& andList) = 0;
    virtual int deleteRow(const std::string& table, PairList& andList, PairList& orList,
                          PairList& notList) = 0;

    /// Begins a transaction and returns with the lock held, even on failure: endTransaction must
    /// follow on the same thread. Transactions do not nest.
    virtual int beginTransaction() = 0;
    /// Commits, and releases the lock that beginTransaction took, even on failure. If the commit
    /// fails, the transaction is rolled back.
    virtual int endTransaction() = 0;

    /// Runs a statement and puts its rows into @p rows, emptied first. Returns 0 or 1.
    virtual int executeSQLQuery(const std::string& sql, Rows& rows) = 0;

    /**
     * The select family: builds a statement from lists of conditions and runs it; 0 or 1. If
     * @p columns is empty, all columns are read. @p orderBy holds names with an empty string or a
     * direction. The last two strings are offset and limit, which are used only together. Lists
     * that are not const are emptied.
     */
    virtual int executeQuery(const std::string& table, const std::vector<std::string>& columns,
                             const PairList& where, PairList& orderBy, Rows& rows,
                             std::string offset, std::string limit) = 0;
    virtual int executeQuery(const std::string& table, const std::vector<std::string>& columns,
                             const PairList& where, std::vector<std::string>& groupBy,
                             PairList& orderBy, Rows& rows, std::string offset,
                             std::string limit) = 0;
    virtual int executeQuery(const std::string& table, const std::vector<std::string>& columns,
                             const PairList& where, const std::string& join,
                             std::vector<std::string>& groupBy, PairList& orderBy, Rows& rows,
                             std::string offset, std::string limit) = 0;
    virtual int executeQuery(const std::string& table, const std::vector<std::string>& columns,
                             PairList& andList, PairList& orList, PairList& notList,
                             PairList& orderBy, Rows& rows, std::string offset,
                             std::string limit) = 0;
    virtual int executeQuery(const std::string& table, const std::vector<std::string>& columns,
                             PairList& andList, PairList& orList, PairList& notList,
                             const std::string& join, std::vector<std::string>& groupBy,
                             PairList& orderBy, Rows& rows, std::string offset,
                             std::string limit) = 0;

    /**
     * The phone number search: rows that match the first pair of @p where and any one of the
     * others. A value that contains "LIKE " has its own operator. The string before @p limit is
     * ignored. An empty @p where throws std::out_of_range; a single pair finds nothing and fails.
     */
    virtual int actualSearchQuery(const std::string& table, const std::vector<std::string>& columns,
                                  const PairList& where, PairList& orderBy, Rows& rows,
                                  std::string ignored, std::string limit) = 0;

    /// Like executeSQLQuery, but a statement that can't be prepared is still stepped and finished.
    virtual int executeActualSearchQuery(const std::string& sql, Rows& rows) = 0;

    /// Counts the rows that match, as a string. Always returns 0; a failure looks like "0".
    /// @p andList is emptied.
    virtual int getRowCount(std::string table, PairList& andList, std::string& count) = 0;

    /**
     * Sets @p newValues in the rows that match; the lists are emptied.
     *
     * @param skipEmptyCheck false: an empty table is success and nothing runs; a count that fails
     *                       gives 1. true: the statement runs at once.
     */
    virtual int update(std::string table, PairList& andList, PairList& newValues,
                       bool skipEmptyCheck) = 0;
    virtual int update(std::string table, PairList& andList, PairList& orList, PairList& notList,
                       PairList& newValues, bool skipEmptyCheck) = 0;

    /// Drops a table that has rows, and "CALL_LOG" in any case; any other empty table stays, and
    /// the result is 1.
    virtual int dropTable(std::string table) = 0;

    /// Closes the database and removes its file. Only a new adapter can reach a database again.
    virtual void removeDbFile() = 0;

    /// Message of the last failed statement, "NULL" if the last one succeeded.
    virtual std::string getError() = 0;

    /// Runs one statement; call it with the lock held. @p callback may be null; it gets
    /// @p argument.
    virtual int actualSQLiteCommandExecution(const std::string& sql,
                                             int (*callback)(void*, int, char**, char**),
                                             void* argument) = 0;

    /// Runs the counting statement @p sql, which returns one number; result and failure as above.
    virtual int getRowCount(const std::string& sql, std::string& count) = 0;
};

#endif
