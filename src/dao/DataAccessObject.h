#ifndef DATAACCESSOBJECT_H
#define DATAACCESSOBJECT_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "DASTypes.h"
#include "DASUtilsStrings.h"
#include "XmlHandler.h"
#include "dao/AssignedNumbers.h"
#include "dao/DASUtils.h"
#include "dao/RequestLimits.h"
#include "dao/TableLayout.h"

class CsvReader;
class DatabaseAdapter;
struct TextImport;
struct DASChange;

// The parser callbacks of a generic object; each forwards to the member of its name. The user data
// is the DataAccessObject.
void XmlStartElement(void* dao, const char* name, const char** attributes);
void XmlEndElement(void* dao, const char* name);
void XmlCharacterDataHandler(void* dao, const char* text, int length);

/**
 * The base of every data access object, and a working one for tables that a column list describes.
 *
 * An object serves one request: constructor, setCurrentUser, handleRequest, getResponseMsg,
 * destructor. It is used by one thread. The int results are 0 for success and a raw SQLite code or
 * an adapter status otherwise, unless a declaration says more; on an object without an adapter each
 * operation on the table fails.
 *
 * A table has the user's context as its first column and its identifier "Id" as the second. A cell
 * stands in answers as it is stored: a client that wants markup in a value sends it escaped twice.
 */
class DataAccessObject {
public:
    DataAccessObject();
    /// For subclasses. @p adapter is not owned and may be null.
    explicit DataAccessObject(DatabaseAdapter* adapter);
    /// A generic object, described by its parts.
    DataAccessObject(DatabaseAdapter* adapter, const std::string& schemaName,
                     XmlStartHandler startHandler, XmlEndHandler endHandler,
                     XmlCharacterHandler charHandler, bool skipFirstColumn,
                     const std::vector<DASUtils::ColumnInfo>& columns,
                     const std::vector<std::string>& defaultRowIds, const std::string& tableName,
                     bool hasDefaultRowsPerUser);
    /// A generic object over a shared description of its table.
    DataAccessObject(DatabaseAdapter* adapter, std::shared_ptr<const TableLayout> layout);
    virtual ~DataAccessObject();
    DataAccessObject(const DataAccessObject&) = delete;
    DataAccessObject& operator=(const DataAccessObject&) = delete;

    /// Parses and serves the request of @p length bytes at @p text; the answer waits in
    /// getResponseMsg.
    virtual void handleRequest(const char* text, int length);
    /// Name that the response gives its schema.
    virtual std::string schemaName();
    /// Reason of the response.
    virtual std::string responseReason();
    /// The body of the response, XML after the reason.
    virtual std::string responseData();

    /// Creates the table; fails when it is there.
    virtual int createTable();
    /// Creates the table with @p newColumns: 0 when that was done, 2 when there is one already, 1
    /// for any other failure. Empties @p newColumns.
    int createTableUnlessThere(PairList& newColumns);
    /// Makes the table when the database has none of its name, without counting rows. True when it
    /// was made just now; a failure is in the log.
    bool createMissingTable();
    /// Inserts all default rows of both users.
    virtual int insertDefaultRows();
    /// Inserts all default rows of both users or only those that are missing; none when one of them
    /// fails. 0 always: a failed insert is in the log.
    virtual int insertDefaultRows(bool onlyMissing);
    /// Inserts the default rows of one user: of base for "base", of the visitor for any other text.
    virtual int insertDefaultRows(const std::string& context);
    int insertDefaultRows(const char*) = delete;  // would be taken for the bool form
    /// Inserts default rows as the bool form does, for a caller who holds a transaction. The status
    /// of the first insert that failed, which ends it.
    int insertDefaultRowsInTransaction(bool onlyMissing);

    /// Puts the rows of one user, plain text, back to their defaults.
    virtual int initialiseMobilityUserData(const std::string& context);
    /// Replaces the visitor's rows by copies of the base user's.
    virtual int copyBaseDataToVisitor();
    /// The same for the table and its context column named here, in one transaction: after a
    /// failure the visitor's rows are what they were. Rows with an apostrophe in a cell are left
    /// out: kept on purpose, the log names the table. 0 also without such a table; 1 when the
    /// visitor's rows can't be counted or deleted, else the code of what failed.
    virtual int copyBaseDataToVisitor(const std::string& contextColumn, const std::string& table);
    /// Deletes the rows of one user: plain text, or the same between single quotes.
    virtual int deleteContextData(const std::string& context);
    virtual int deleteContextData(const std::string& context, const std::string& contextColumn,
                                  const std::string& table);

    // The table and files, in the format of docs/csv.md. Unless a class overrides them or its table
    // has data files, they do nothing and give 0. 1 when a file can't be opened or written, or what
    // was read not be committed; single lines that are refused are in the log.

    /// Writes the rows that match @p conditions to the file @p location. Conditions on columns that
    /// the table does not have do not count: rows of the telephone go out for any user.
    virtual int exportData(PairList& conditions, std::string& location);
    /// Reads the file @p location into the table, which is made with its default rows if it has
    /// none. Rows that no line names stay.
    virtual int importData(std::string& location);
    /// Puts the rows of one user, base for any category but the visitor's, back to their defaults
    /// and gives him those of a file, whoever they belonged to. 0 without action for rows of the
    /// telephone.
    virtual int importDataForUser(const std::string& location, eUserCategory category);
    /// From now on the imports read @p text in place of a file, whatever they name, and count in
    /// it; null ends that. Not owned.
    void readImportsFrom(TextImport* text) { m_textImport = text; }
    /// Fills @p columns with column and type, in order.
    virtual void buildColumnNameList(PairList& columns);

    // Parts of the visitor's data. The forms without a table do nothing and give 0 unless a class
    // that owns the data overrides them; the others delete from the table named and give the result
    // of the last delete.
    virtual int deleteVisitorUserPassword();
    virtual int deleteVisitorUserPassword(const std::string& table);
    virtual int deleteUcCredentials();
    virtual int deleteUcCredentials(const std::string& table);
    virtual int deleteVisitorPhonebook();
    virtual int deleteVisitorPhonebook(const std::string& table);
    virtual int deleteVisitorCallLog();
    virtual int deleteVisitorCallLog(const std::string& table);
    /// Makes the indices for a search by number. 0 without action here.
    virtual int createPhonenumberIndices();

    // The operations of the reasons, over what the request brought.
    virtual int writeRequest();  ///< 1 always: a generic row is updated, never written
    virtual int updateRequest();
    virtual int readRequest();

    /**
     * Writes one row of a data file, plain text. Here it is an update: the first two columns name
     * the row, the others are set; values are quoted, not escaped, and a row that would break its
     * statement is refused with 1. Fewer entries than columns throw std::out_of_range.
     */
    virtual int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                  std::vector<std::string>& values);

    // Data files, in the format of docs/csv.md ----------------------------------------------------

    /**
     * Writes the rows of @p table that match to the file @p path, which is emptied first. With a
     * @p version the file begins with a header of version and column names, unless there are no
     * rows: the file is empty then, and that is a success.
     *
     * @return false when the file could not be opened or not be written whole, or the table not be
     *         read; what was written by then is in the file
     */
    bool exportTable(const std::string& table, const std::string& path, PairList& conditions,
                     std::string& version);
    /// Gives each line of a file but comments to updateItemInTable, in one transaction. False when
    /// the file can't be opened or what was read can't be committed.
    bool importTable(const std::string& table, std::vector<std::string>& columns,
                     const std::string& path);
    /// Rebuilds @p table with @p columnDefinitions, names and types, as DASUtils::rebuildTable()
    /// does. The path has no part in it: kept on purpose, callers name a file for the rows, which
    /// move inside the database now. False when the table stays as it was.
    bool migrateTable(const std::string& table, PairList& columnDefinitions,
                      const std::string& path);
    /**
     * Reads the header of a file.
     *
     * @param count takes the number of columns; for a file without a header, where the result is
     *              false and the others stay empty, the number of fields of its first line
     */
    bool getMetadata(const std::string& path, std::string& version,
                     std::vector<std::string>& columns, int& count);
    /**
     * Gives each line of a file from a client to updateItemInTable, in one transaction. Lines that
     * begin with "#" are data: kept on purpose, exports write such rows and no header. For phone
     * book and call log a line that is too short is filled up with blank fields.
     *
     * @return false when the file can't be opened or what was read can't be committed; lines that
     *         were refused do not count
     */
    bool importDataFromFile(std::string table, std::vector<std::string>& columns,
                            std::string& path);

    /// The whole response. Valid in every state, also before a request.
    std::string getResponseMsg();
    /// The response up to its body.
    std::string responseHeader();
    /**
     * The body of a read.
     *
     * @param reason          reason of the response; any but that of a read gives empty text
     * @param context         context that the request named; empty means no Context element
     * @param user            context that the Context element shows, as the client sent it
     * @param resultColumns   columns that were asked for; empty for all
     * @param rows            cells in the order of the statement
     * @param columnNames     tags of the cells
     * @param skipFirstColumn whether a row without result columns begins with a cell that is not
     *                        shown
     * A row that is too short throws std::out_of_range.
     */
    std::string responseDataHelper(const std::string& reason, const std::string& context,
                                   const std::string& user,
                                   const std::vector<std::string>& resultColumns, const Rows& rows,
                                   const std::vector<std::string>& columnNames,
                                   bool skipFirstColumn);
    /// Fills in schema and reason of what the request has changed. @p routedBy is the schema by
    /// which it came here; when its element names another one, rows of both may have changed.
    void describeChange(const std::string& routedBy, DASChange& change) const;

    /// The adapter status that a failure response explains; 0 for none.
    void setStatus(int status) { m_status = status; }
    int getStatus() const { return m_status; }
    /// The element that explains the status to a client; empty for a general failure.
    const std::string& generateDetailedFailureMessage() const;
    /// The context that the service serves, plain text.
    void setCurrentUser(std::string user) { m_currentUser = std::move(user); }
    const std::string& currentUser() { return m_currentUser; }
    /// Null for an object that was given none.
    DatabaseAdapter* getDatabaseAdapter();

    /// Whether a read gives whole rows of @p table: of the object's own without ResultCols, else of
    /// each that is named by "TABLE.*".
    bool calculateIfReadAll(const std::string& table) const;

    /// Columns of the table, in order; none for an object that was not given any.
    const std::vector<DASUtils::ColumnInfo>& columns() const { return m_layout->columns; }
    std::vector<std::string> columnNames() const;
    const std::vector<std::string>& defaultRowIds() const { return m_layout->defaultRowIds; }
    /// Constraint of the table after its columns; empty for none.
    const std::string& constraint() const { return m_layout->constraint; }
    const std::string& tableName() const { return m_tableName; }

    /// Creates @p table; true on success, else the reason is in the log. Empties @p columns.
    bool createTable2(const std::string& table, PairList& columns);
    /// Inserts one default row. @p context is in database form, @p index the place of @p id among
    /// the default rows. A column without a default of its own throws std::out_of_range.
    int insertDefaultRow(const std::string& id, const std::string& context, int index);
    /// Whether a row is there. @p context is in database form, @p id goes into SQL as it is.
    bool isDefaultRowPresent(const std::string& table, const std::string& context,
                             const std::string& id);
    /// Forwards to DASUtils::handleRequestHelper.
    void handleRequestHelper(const char* text, int length);
    /// Whether the request may be served on a table of this state: on one whose rows could not be
    /// counted it may only read. A row that it stored would keep the default rows out for good.
    bool mayServe(DASUtils::TableState state) const;
    /// The first attribute's value, escaped for SQL; empty without one.
    static std::string firstAttribute(const char** attributes);
    /// Whether the request holds more than it may. Nothing of it is done then.
    [[nodiscard]] bool isBeyondLimits() const { return m_limits.isExceeded(); }

    // Parser events of a generic object.
    void XmlStartElement(const char* name, const char** attributes);
    void XmlEndElement(const char* name);
    void XmlCharacterDataHandler(const char* text, int length);

    static const char* const xmlHeaderTag;
    static const char* const xmlSchemaStart;
    static const char* const xmlSchemaEnd;
    static const char* const xmlReasonStart;
    static const char* const xmlReasonEnd;
    static const char* const xmlSchemaClose;

protected:
    /**
     * The first half of handleRequest in a class with parser callbacks of its own: forgets the new
     * values and the context of an earlier request, and parses. False when the request is damaged
     * or there is no adapter; this is in the log then, and the response is a failure.
     */
    [[nodiscard]] bool parseRequest(const char* text, int length, const RequestParser& parser);

    template <typename Dao>
    using Operation = ReasonOperation<Dao>;
    /// Runs the operation of the request's reason and settles the reason of the response. False
    /// when the reason is not one of @p operations, which is a failure too.
    template <typename Dao, std::size_t N>
    static bool dispatch(Dao& dao, const Operation<Dao> (&operations)[N]) {
        dao.m_responseReason = DASUtilsStrings::FailureResponse;
        for (const Operation<Dao>& operation : operations) {
            if (dao.m_reason == *operation.reason) {
                dao.m_responseReason = *operation.response;
                if ((dao.*operation.run)() != 0) {
                    dao.m_responseReason = DASUtilsStrings::FailureResponse;
                }
                return true;
            }
        }
        std::vector<const std::string*> served;
        for (const Operation<Dao>& operation : operations) {
            served.push_back(operation.reason);
        }
        DASUtils::logUnknownReason(dao.m_reason, served);
        return false;
    }
    /// Appends rows to the body of an answer.
    using AppendRows = std::function<void(std::string& body, const Rows& rows)>;

    /**
     * Runs @p read, which reads into m_resultRows, and makes the body of the answer of the rows
     * while they come: neither they nor the answer are in memory twice. The result of @p read; 1
     * when the answer becomes larger than it may be, which is logged.
     */
    [[nodiscard]] int readIntoBody(const std::function<int()>& read, const AppendRows& append);
    /// The same for rows that are entries of the columns @p names, as responseDataHelper writes
    /// them.
    [[nodiscard]] int readEntries(const std::function<int()>& read,
                                  const std::vector<std::string>& names, bool skipFirstColumn);
    /// The body that readEntries made, in the context of the request if it names one; empty unless
    /// the response is that of a read. Hands the body on: a second call finds none.
    std::string takeEntries();

    /// Names of the columns that a client sees, and of all with their types; in order.
    std::vector<std::string> shownColumns() const;
    PairList namesAndTypes() const;

    /// Runs @p operation for each of @p count entries in one transaction: the result of the last
    /// one, or the adapter status of the commit when that failed. When the transaction can't begin,
    /// its status, and no operation runs. 0 for no entries, 1 without an adapter.
    int forEachEntry(std::size_t count, const std::function<int(std::size_t)>& operation);

    /// Inserts one line of a data file, plain text: XML escapes are undone, and the value of the
    /// column of @p key is that of AssignedNumbers::ofFile. A raw SQLite code, 1 without an
    /// adapter.
    int insertLineOfFile(const std::string& table, const std::vector<std::string>& names,
                         const std::vector<std::string>& values, const AssignedNumbers::Key& key);

    /**
     * Gives each line of a file with one user's rows to @p store, in one transaction; what it takes
     * and returns is that of CsvReader::forEachRow. If the file opens, @p prepare runs before the
     * first line, in the same transaction. 1 when the file did not open or what was read could not
     * be committed; lines that were refused do not count.
     */
    int importRowsOfUser(const std::string& location,
                         const std::function<int(std::vector<std::string>&)>& store,
                         const std::function<void()>& prepare = {});
    /**
     * As importRowsOfUser, in place of the rows that the user @p context has: either these are
     * there or those of the file. When there is no such file they go and the result is 1; when
     * there is one that does not open they stay.
     */
    int replaceRowsOfUser(const std::string& context, const std::string& location,
                          const std::function<int(std::vector<std::string>&)>& store);

    /// Whether forEachEntry could not begin its transaction: a second run would wait as long again.
    [[nodiscard]] bool couldNotBegin() const { return m_couldNotBegin; }
    /// Puts the context of the request in force, or the current user without one. False when there
    /// is neither.
    bool settleUser();

    DatabaseAdapter* m_dbAdapter;  ///< never null, not owned
    std::string m_currentUser;
    int m_status = 0;
    std::shared_ptr<const TableLayout> m_layout;  ///< never null
    std::string m_tableName;
    std::string m_schemaName;
    XmlStartHandler m_startHandler;
    XmlEndHandler m_endHandler;
    XmlCharacterHandler m_charHandler;
    RequestLimits m_limits;
    std::vector<std::string> m_resultColumns;  ///< columns that a read asked for
    Rows m_resultRows;                         ///< what of a read is not in the body yet
    std::string m_body;                        ///< of the answer to a read
    std::string m_currentElement;              ///< element whose text is being gathered
    std::string m_charData;                    ///< the text gathered for it
    std::string m_reason;
    std::string m_responseReason;
    std::string m_responseUser;    ///< context in force, escaped
    std::string m_rowId;           ///< identifier of the current row, as it was sent
    std::string m_requestContext;  ///< attribute of Context, escaped
    std::vector<DASUtils::RowData> m_rowsToWrite;
    std::string m_resultColsText;
    PairList m_newValues;  ///< column and value in database form: of the row, or search terms

private:
    friend class DASUtils;  // the frame of generic requests, which older callers know by its name

    bool m_couldNotBegin = false;
    TextImport* m_textImport = nullptr;

    /// What an import from @p location reads.
    [[nodiscard]] CsvReader openImport(const std::string& location) const;
    /// Stores the rows of @p file, and counts them for who handed over a text.
    void storeRows(CsvReader& file, const std::string& location,
                   const std::function<int(std::vector<std::string>&)>& store);
    bool hasColumn(const std::string& name) const;
    /// Makes a table without rows, and takes the names of its columns. False without a table.
    bool prepareImport(std::vector<std::string>& names);
    bool hasAdapter() const;  ///< a missing one is logged
    const DASUtils::ColumnInfo* requestColumn(const char* name) const;
    /// The default rows of @p contexts, in database form: of several users all or none.
    int forEachDefaultRow(const std::vector<std::string>& contexts, bool onlyMissing);
    int insertRowsOf(const std::vector<std::string>& contexts, bool onlyMissing);
    /// The steps of copyBaseDataToVisitor, for the caller's transaction.
    int replaceByCopies(const std::string& contextColumn, const std::string& table);
};

#endif
