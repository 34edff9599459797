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
 * A row stands for one number in one category and has places for ten calls. Clients write whole
 * rows: they fold a new call into a row and choose what falls out of a full one. Six schemas look
 * at the table: four see one category each, one sees all, and one sees all with the contacts of the
 * phone book that have the number. Any other schema is a failure.
 *
 * The int results are 0 for success; 1 also when a text of the request has not the form that it
 * must have in a statement, which is not run then.
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

    /// 0 when the table was created, 2 when it is there already, 1 for any other failure.
    int createTable() override;
    /**
     * Replaces one user's calls by those of a file. A line that begins with a number has its fields
     * in the order of getColumnNames, any other in that of the table; users and numbers of the file
     * are left aside. The calls are removed before the file is opened: kept on purpose, an import
     * that names no file is how management empties the log. 1 when the file did not open.
     */
    int importDataForUser(const std::string& location, eUserCategory category) override;
    /// Appends all columns of the table.
    void buildColumnNameList(PairList& columns) override;
    using DataAccessObject::deleteVisitorCallLog;
    int deleteVisitorCallLog() override;

    /**
     * Stores the entries of the request in one transaction. Each one that was stored keeps its
     * number, so that a second run replaces it. The result of the last entry, 0 without any.
     */
    int writeRequest() override;
    /// Reads what the schema and the first entry describe. The tables that the statement names are
    /// made when they are missing.
    int readRequest() override;

    /// Stores one line of a data file as a new row: XML escapes are undone, a blank number is
    /// assigned. A raw SQLite code.
    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override;

    /// Deletes the user's rows that each entry describes, all of the schema without an entry. The
    /// result of the last delete; 1 when the whole table is empty.
    virtual int deleteRequest();

    // The three parts of the table, in order; each appends column and SQL type.
    virtual void buildEntryDataList(PairList& columns);      ///< the row itself
    virtual void buildItemDataList(PairList& columns);       ///< the calls
    virtual void buildExtraItemDataList(PairList& columns);  ///< what calls got later

    /// Brings an older table to all columns: 0 when it has them now, else 2.
    int updateCallLogTableDatabase();

    /// Appends the columns of a data file of @p columnCount fields, which is the one that begins
    /// with the number: 98 fields are the layout before calls got more.
    void getColumnNames(unsigned columnCount, std::vector<std::string>& names);

    /// Appends the conditions that the user and the entry at @p index make; the user alone when
    /// there is no entry.
    void fillupSearchParams(PairList& params, unsigned index) const;

    /// Counts what fillupSearchParams and the schema describe. A count that fails looks like "0":
    /// kept on purpose, clients take a missing log for an empty one.
    int rowCountRequest();

    // Parser events.
    void startElement(const char* name, const char** attributes);
    void endElement(const char* name);

private:
    static constexpr std::size_t None = static_cast<std::size_t>(-1);

    /// What an answer shows of each row, by the place where it begins in it.
    struct ShownCells {
        std::size_t wholeRow = None;
        std::size_t contact = None;
        std::vector<std::pair<CallLogColumns::RowColumn, std::size_t>> cells;
    };

    /// The column that a word of ResultCols names, of those that a request can set.
    static std::optional<CallLogColumns::RowColumn> entryColumn(const std::string& word);

    /// Writes, and once more after making a new or wider table when the first run failed.
    int writeWithTable();
    /// Stores one line of a file as a row of @p context, plain text.
    int importRow(const std::string& context, std::vector<std::string>& fields);
    /// Stores one entry of the request as a row. The result of the insert; 1 for a number that may
    /// not be stored.
    int writeEntry(std::size_t index);
    /// Appends the condition that the schema makes, if it is about one category.
    void addCategory(PairList& params) const;
    /// Whether contacts of the phone book are read with the calls.
    bool isJoined() const;
    /// Whether the read leaves out the calls that conversations name.
    bool hidesConversations() const;
    /// Makes the tables that the read names, those that are missing.
    void makeTablesOfRead();
    /// What the words of ResultCols make of rows of @p rowWidth cells.
    ShownCells shownCells(std::size_t rowWidth) const;
    /// Appends rows, of which the columns were asked for, to the body of an answer; escapes
    /// nothing, as all answers.
    void appendRows(std::string& body, const Rows& rows) const;
    void appendRow(std::string& out, const std::vector<std::string>& row,
                   const ShownCells& shown) const;

    CallLogWriter::Kind m_kind = CallLogWriter::All;
    CallLogEntries m_entries;
    int m_resultOfTooMany = 0;  ///< of the first entry in a write that has too many calls
};

#endif
