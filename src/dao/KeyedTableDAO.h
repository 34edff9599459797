#ifndef KEYEDTABLEDAO_H
#define KEYEDTABLEDAO_H

#include <string>
#include <vector>

#include "dao/DataAccessObject.h"

// The parser callbacks of a keyed table; the user data is the DataAccessObject.
void KeyedTableDAOXmlStartElement(void* dao, const char* name, const char** attributes);
void KeyedTableDAOXmlEndElement(void* dao, const char* name);
void KeyedTableDAOXmlCharacterDataHandler(void* dao, const char* text, int length);

/// Describes a class of keyed rows as data. Lives as long as the process.
struct KeyedTable {
    TableLayout layout;
    RequestParser parser;
    std::vector<const std::string*> reasons;  ///< the reasons that the class serves
    std::string rankColumn = {};              ///< reads are ordered by it; empty for no order
    bool deletesByColumns = false;            ///< a delete may name rows by any column
};

/**
 * The frame of tables whose rows have a key: the ranked media tables and the tables of the device.
 *
 * The key is the first column, or the second after the user's context. In a request, an element of
 * the key's name or "Id" names the row; both are the same, and neither ever changes a key. Keys
 * stand in statements in database form, so any text may be one. The rows of a table without a
 * context belong to the telephone: a Context in the request is shown in the answer and no more.
 *
 * Each Entry of a write, update or delete is one operation, and what stands outside of entries is
 * one row; from two on they stand in one transaction. The result is that of the last one: kept on
 * purpose, clients send what is new last.
 */
class KeyedTableDAO : public DataAccessObject {
public:
    /// @p adapter is not owned and may be null; @p table must outlive the object.
    KeyedTableDAO(DatabaseAdapter* adapter, const KeyedTable& table);
    ~KeyedTableDAO() override = default;

    /// Refuses a damaged request, then checks the table and serves the reason.
    void handleRequest(const char* text, int length) override;

    using DataAccessObject::insertDefaultRows;
    /// Inserts all default rows, or none. Returns 0, or the status of the first insert that failed;
    /// 1 if they could not be committed.
    int insertDefaultRows() override;
    /// The same, or only the rows whose key is missing.
    int insertDefaultRows(bool onlyMissing) override;
    /// 0 without action: no row of these tables is a user's from the start.
    int insertDefaultRows(const std::string& context) override;

    /// Inserts rows and replaces rows with the same key. Columns that the request does not name
    /// become blank. 1 for a row without a key, unless the database assigns keys.
    int writeRequest() override;
    /// Changes rows. 1 for a row without a key. If no row has the key, nothing changes.
    int updateRequest() override;
    /// Reads rows by key and by the columns that the request names, in the order of their rank.
    int readRequest() override;
    /// Deletes rows. 1 for a row without a key, unless the table allows deletion by columns and the
    /// request names a column.
    virtual int deleteRequest();

    /// Counts the rows of the table. Always 0; a failure looks like "0".
    virtual int getRowCount(std::string& count);

    /// Writes a row, in the order of the table's columns, and replaces the row with the same key;
    /// values are unescaped. Fewer values than columns throw std::out_of_range.
    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override;

    /// Parser event, called through the callbacks. The base class handles the other two events.
    virtual void startElement(const char* name, const char** attributes);

protected:
    /// Makes the table ready for requests; failures are logged. Here: creates a missing table, and
    /// fills an empty one with its default rows.
    virtual DASUtils::TableState checkTable();
    /// Runs the operation of the reason.
    virtual void serve();
    /// Reads the rows that match @p conditions, with the columns that the request asked for.
    int readRows(const PairList& conditions);
    /// Inserts the default rows from the place @p first on, in one transaction.
    int insertDefaultRowsFrom(std::size_t first, bool onlyMissing);
    /// The same within a transaction of the caller. The first failed insert ends it, and its status
    /// is the result.
    int insertRowsFrom(std::size_t first, bool onlyMissing);
    /// Switches to another table of the class.
    void useTable(const KeyedTable& table);

private:
    using RowOperation = int (KeyedTableDAO::*)(const DASUtils::RowData&);

    /// These three look at the table's columns: which one is the key, whether rows belong to users,
    /// and whether the database assigns a missing key.
    const DASUtils::ColumnInfo& keyColumn() const;
    bool isOfUser() const;
    bool makesKeys() const;
    /// Runs @p operation for each row of the request; two or more run in one transaction. Returns
    /// the result of the last one.
    int forEachRow(RowOperation operation);
    int writeRow(const DASUtils::RowData& row);
    void noteChanged(const std::string& identifier);
    int updateRow(const DASUtils::RowData& row);
    int deleteRow(const DASUtils::RowData& row);
    /// The user whose rows the request is about, escaped; blank if rows belong to the telephone.
    const std::string& userOfRows() const;
    /// The cells of a default row in database form, in the order of the table.
    std::vector<std::string> defaultRow(std::size_t index) const;
    /// Returns 0 if @p isThere is known.
    int findRow(const std::string& key, bool& isThere);
    /// The condition that names the row, if it has a key, and its user, if the table has one.
    PairList rowConditions(const std::string& identifier) const;

    static const Operation<KeyedTableDAO> Operations[4];

    const KeyedTable* m_table;  ///< never null
};

#endif
