#ifndef CALLLOGDAO_H
#define CALLLOGDAO_H

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "calls/CallLogColumns.h"
#include "calls/CallLogEntries.h"
#include "calls/CallLogRecord.h"
#include "calls/CallLogWriter.h"
#include "dao/ListDAO.h"

// The parser callbacks of the call log; the user data is the CallLogDAO.
void CallLogDAOXmlStartElement(void* dao, const char* name, const char** attributes);
void CallLogDAOXmlEndElement(void* dao, const char* name);
void CallLogDAOXmlCharacterDataHandler(void* dao, const char* text, int length);

/**
 * The call log: the calls of base user and visitor, in the table CALL_LOG.
 *
 * A row stands for one number in one category and has space for ten calls. Clients write whole
 * rows: they add a new call to a row and choose which call a full row drops. Six schemas show the
 * table: four show one category each, one shows all calls, and one shows all calls with the
 * contacts that have the number. Any other schema is a failure.
 *
 * The int results are 0 for success. They are also 1 if a value of the request may not become part
 * of a statement, because it has the wrong form; the statement does not run then.
 */
class CallLogDAO : public ListDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit CallLogDAO(DatabaseAdapter* adapter);
    ~CallLogDAO() override = default;

    /// The schemas of the call log: one for each category, and those of all calls.
    static std::vector<std::string> schemas();

    void handleRequest(const char* text, int length) override;
    std::string responseData() override;

    /// 0 if the table was created, 2 if it existed, 1 for any other failure.
    int createTable() override;
    /**
     * Replaces one user's calls by those of a file. A line that begins with a number has its fields
     * in the order of getColumnNames, any other in that of the table; users and numbers in the file
     * are ignored. The calls are removed before the file is opened: kept on purpose, an import that
     * names no file is how management empties the log. 1 when the file did not open.
     */
    int importDataForUser(const std::string& location, eUserCategory category) override;
    /// Appends all columns of the table.
    void buildColumnNameList(PairList& columns) override;
    using DataAccessObject::deleteVisitorCallLog;
    int deleteVisitorCallLog() override;

    /**
     * Stores the entries of the request in one transaction. Each stored entry keeps its number, so
     * that a second run replaces it. Returns the result of the last entry, 0 without any.
     */
    int writeRequest() override;
    /// Reads the rows that match the schema and the first entry. Missing tables that the statement
    /// needs are created first.
    int readRequest() override;

    /// Stores one line of a data file as a new row: XML escapes are undone, and a blank number is
    /// replaced by a new one. Returns a raw SQLite code.
    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override;

    /// Deletes the user's rows that each entry describes; all rows of the schema if there is no
    /// entry. Returns the result of the last delete; 1 if the whole table is empty.
    virtual int deleteRequest();

    // The three parts of the table, in order. Each appends columns and SQL types.
    virtual void buildEntryDataList(PairList& columns);      ///< the row itself
    virtual void buildItemDataList(PairList& columns);       ///< the calls
    virtual void buildExtraItemDataList(PairList& columns);  ///< fields of calls that were added
                                                             ///< later

    /// Adds missing columns to an older table. 0 if it has all columns now, else 2.
    int updateCallLogTableDatabase();

    /// Appends the columns of a data file with @p columnCount fields whose lines begin with the
    /// number. 98 fields are the older layout.
    void getColumnNames(unsigned columnCount, std::vector<std::string>& names);

    /// Appends the conditions on the user and from the entry at @p index; only on the user if there
    /// is no entry.
    void fillupSearchParams(PairList& params, unsigned index) const;

    /// Counts the rows that match fillupSearchParams and the schema. A failed count looks like "0":
    /// kept on purpose, clients treat a missing log like an empty one.
    int rowCountRequest();

    // Parser events.
    void startElement(const char* name, const char** attributes);
    void endElement(const char* name);

private:
    static constexpr std::size_t None = static_cast<std::size_t>(-1);

    /// Which cells of a row an answer shows, as positions in the row.
    struct ShownCells {
        std::size_t wholeRow = None;
        std::size_t contact = None;
        std::vector<std::pair<CallLogColumns::RowColumn, std::size_t>> cells;
    };

    /// The column that a word of ResultCols names, if a request can set that column.
    static std::optional<CallLogColumns::RowColumn> entryColumn(const std::string& word);

    /// Writes. If the first run fails, it creates the table or adds its missing columns, and writes
    /// once more.
    int writeWithTable();
    /// Stores one line of a file as a row of @p context, plain text.
    int importRow(const std::string& context, std::vector<std::string>& fields);
    /// Stores one entry of the request as a row. Returns the result of the insert; 1 if its number
    /// may not be stored.
    int writeEntry(std::size_t index);
    /// Appends the condition for the schema's category, if it has one.
    void addCategory(PairList& params) const;
    /// Whether contacts of the phone book are read with the calls.
    bool isJoined() const;
    /// Whether the read leaves out calls that belong to conversations.
    bool hidesConversations() const;
    /// Creates those tables that the read needs and that are missing.
    void makeTablesOfRead();
    /// Which cells the words of ResultCols show in rows of @p rowWidth cells.
    ShownCells shownCells(std::size_t rowWidth) const;
    /// Appends rows with selected columns to the body of an answer. Like all answers, it escapes
    /// nothing.
    void appendRows(std::string& body, const Rows& rows) const;
    void appendRow(std::string& out, const std::vector<std::string>& row,
                   const ShownCells& shown) const;

    CallLogWriter::Kind m_kind = CallLogWriter::All;
    CallLogEntries m_entries;
    int m_resultOfTooMany = 0;  ///< result for the first entry that has too many calls
};

#endif
