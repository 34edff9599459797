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

    /// Parses and serves the request of @p length bytes at @p text. getResponseMsg returns the
    /// answer afterwards.
    virtual void handleRequest(const char* text, int length);
    /// Schema name that the response shows.
    virtual std::string schemaName();
    /// Reason of the response.
    virtual std::string responseReason();
    /// The body of the response, XML after the reason.
    virtual std::string responseData();

    /// Creates the table; fails if it exists.
    virtual int createTable();
    /// Creates the table with @p newColumns. 0 if it was created, 2 if it existed, 1 for any other
    /// failure. Empties @p newColumns.
    int createTableUnlessThere(PairList& newColumns);
    /// Creates the table if the database has no table of its name, without counting rows. True if
    /// it was created by this call; a failure is logged.
    bool createMissingTable();
    /// Inserts all default rows of both users.
    virtual int insertDefaultRows();
    /// Inserts all default rows of both users, or only the missing ones. If one insert fails, none
    /// is stored. Always 0: a failed insert is only logged.
    virtual int insertDefaultRows(bool onlyMissing);
    /// Inserts the default rows of one user: of base for "base", else of the visitor.
    virtual int insertDefaultRows(const std::string& context);
    int insertDefaultRows(const char*) = delete;  // would be taken for the bool form
    /// Inserts default rows like the bool form, within a transaction of the caller. The first
    /// failed insert ends it, and its status is the result.
    int insertDefaultRowsInTransaction(bool onlyMissing);

    /// Resets the rows of one user to their defaults; the user is an unescaped string.
    virtual int initialiseMobilityUserData(const std::string& context);
    /// Replaces the visitor's rows by copies of the base user's.
    virtual int copyBaseDataToVisitor();
    /// The same for the table and its context column named here, in one transaction: after a
    /// failure the visitor's rows are unchanged. Rows with an apostrophe in a cell are left out:
    /// kept on purpose, the log names the table. 0 also if there is no table of that name; 1 when
    /// the visitor's rows can't be counted or deleted, else the code of what failed.
    virtual int copyBaseDataToVisitor(const std::string& contextColumn, const std::string& table);
    /// Deletes the rows of one user, whose name may be unescaped or stand between single quotes.
    virtual int deleteContextData(const std::string& context);
    virtual int deleteContextData(const std::string& context, const std::string& contextColumn,
                                  const std::string& table);

    // The table and files, in the format of docs/csv.md. They do nothing and return 0, unless a
    // class overrides them or its table has data files. 1 if a file can't be opened or written, or
    // if the rows can't be committed. Refused lines are only logged.

    /// Writes the rows that match @p conditions to the file @p location. Conditions on columns that
    /// the table does not have are ignored: the telephone's own rows are exported for any user.
    virtual int exportData(PairList& conditions, std::string& location);
    /// Reads the file @p location into the table. If the table has no rows, it is created with its
    /// default rows. Rows that no line names stay.
    virtual int importData(std::string& location);
    /// Resets the rows of one user (base for any category except the visitor's) to their defaults,
    /// then stores the rows of a file for that user, whoever they belonged to. 0 without action for
    /// rows of the telephone.
    virtual int importDataForUser(const std::string& location, eUserCategory category);
    /// From now on the imports read @p text instead of a file, whatever path they get, and count
    /// its rows in it. Null ends that. Not owned.
    void readImportsFrom(TextImport* text) { m_textImport = text; }
    /// Fills @p columns with column and type, in order.
    virtual void buildColumnNameList(PairList& columns);

    // Parts of the visitor's data. The forms without a table name do nothing and return 0, unless a
    // class that owns the data overrides them. The others delete from the named table and return
    // the result of the last delete.
    virtual int deleteVisitorUserPassword();
    virtual int deleteVisitorUserPassword(const std::string& table);
    virtual int deleteUcCredentials();
    virtual int deleteUcCredentials(const std::string& table);
    virtual int deleteVisitorPhonebook();
    virtual int deleteVisitorPhonebook(const std::string& table);
    virtual int deleteVisitorCallLog();
    virtual int deleteVisitorCallLog(const std::string& table);
    /// Creates the indices for a search by number. Here 0 without action.
    virtual int createPhonenumberIndices();

    // The operations of the reasons, on the data of the request.
    virtual int writeRequest();  ///< always 1: a generic row is only updated, never written
    virtual int updateRequest();
    virtual int readRequest();

    /**
     * Writes one row of a data file, plain text. Here it is an update: the first two columns name
     * the row, the others are set. Values are quoted but not escaped, and a row that would break
     * its statement is refused with 1. Fewer entries than columns throw std::out_of_range.
     */
    virtual int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                                  std::vector<std::string>& values);

    // Data files, in the format of docs/csv.md ----------------------------------------------------

    /**
     * Writes the rows of @p table that match to the file @p path, which is emptied first. With a
     * @p version the file begins with a header of version and column names, but without rows the
     * file is empty, which is a success.
     *
     * @return false when the file could not be opened or not be written whole, or the table not be
     *         read; what was written by then is in the file
     */
    bool exportTable(const std::string& table, const std::string& path, PairList& conditions,
                     std::string& version);
    /// Calls updateItemInTable for each line of a file except comments, in one transaction. False
    /// if the file can't be opened or the rows can't be committed.
    bool importTable(const std::string& table, std::vector<std::string>& columns,
                     const std::string& path);
    /// Rebuilds @p table with @p columnDefinitions, names and types, as DASUtils::rebuildTable()
    /// does. The path is not used: kept on purpose, callers still name a file, but the rows now
    /// move inside the database. False if the table was not changed.
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
     * Calls updateItemInTable for each line of a client's file, in one transaction. Lines that
     * begin with "#" are data: kept on purpose, exports write such rows and no header. For phone
     * book and call log, blank fields are added to a line that is too short.
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
    /// Fills in schema and reason of the request's change. @p routedBy is the schema that selected
    /// this object. If the request's element names another one, rows of both may have changed.
    void describeChange(const std::string& routedBy, DASChange& change) const;

    /// The adapter status that a failure response explains to the client; 0 for none.
    void setStatus(int status) { m_status = status; }
    int getStatus() const { return m_status; }
    /// The element that explains the status to a client; empty for a general failure.
    const std::string& generateDetailedFailureMessage() const;
    /// The context that the service serves, plain text.
    void setCurrentUser(std::string user) { m_currentUser = std::move(user); }
    const std::string& currentUser() { return m_currentUser; }
    /// Null if the object was constructed without one.
    DatabaseAdapter* getDatabaseAdapter();

    /// Whether a read returns whole rows of @p table: of the object's own table if there are no
    /// ResultCols, else of each table that is named by "TABLE.*".
    bool calculateIfReadAll(const std::string& table) const;

    /// Columns of the table, in order; empty if the object was constructed without columns.
    const std::vector<DASUtils::ColumnInfo>& columns() const { return m_layout->columns; }
    std::vector<std::string> columnNames() const;
    const std::vector<std::string>& defaultRowIds() const { return m_layout->defaultRowIds; }
    /// Constraint of the table after its columns; empty for none.
    const std::string& constraint() const { return m_layout->constraint; }
    const std::string& tableName() const { return m_tableName; }

    /// Creates @p table. True on success; a failure is logged. Empties @p columns.
    bool createTable2(const std::string& table, PairList& columns);
    /// Inserts one default row. @p context is in database form, @p index the place of @p id among
    /// the default rows. If a column has no default, this throws std::out_of_range.
    int insertDefaultRow(const std::string& id, const std::string& context, int index);
    /// Whether a row exists. @p context is in database form, @p id goes into SQL unchanged.
    bool isDefaultRowPresent(const std::string& table, const std::string& context,
                             const std::string& id);
    /// Forwards to DASUtils::handleRequestHelper.
    void handleRequestHelper(const char* text, int length);
    /// Whether the request may be served on a table of this state. If the rows could not be
    /// counted, only reads are served: a row stored now would keep the default rows out forever.
    bool mayServe(DASUtils::TableState state) const;
    /// The first attribute's value, escaped for SQL; empty without one.
    static std::string firstAttribute(const char** attributes);
    /// Whether the request exceeds a limit. None of its operations run then.
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
     * values and the context of an earlier request, and parses. False if the request is damaged or
     * there is no adapter. This is logged, and the response is a failure.
     */
    [[nodiscard]] bool parseRequest(const char* text, int length, const RequestParser& parser);

    template <typename Dao>
    using Operation = ReasonOperation<Dao>;
    /// Runs the operation of the request's reason and sets the reason of the response. If the
    /// reason is not one of @p operations, the result is false and the response is a failure.
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
     * Runs @p read, which reads into m_resultRows, and builds the body of the answer while rows
     * arrive, so that neither rows nor answer are in memory twice. Returns the result of @p read,
     * or 1 if the answer exceeds its limit, which is logged.
     */
    [[nodiscard]] int readIntoBody(const std::function<int()>& read, const AppendRows& append);
    /// The same, with rows written as entries of the columns @p names, as by responseDataHelper.
    [[nodiscard]] int readEntries(const std::function<int()>& read,
                                  const std::vector<std::string>& names, bool skipFirstColumn);
    /// Returns the body that readEntries made, in the context of the request if it names one; empty
    /// unless the response is that of a read. The body is moved out: a second call returns none.
    std::string takeEntries();

    /// Names of the columns that a client sees, and names and types of all columns; in order.
    std::vector<std::string> shownColumns() const;
    PairList namesAndTypes() const;

    /// Runs @p operation for each of @p count entries in one transaction. Returns the result of the
    /// last one, or the adapter status of the commit if that failed. If the transaction can't
    /// begin, returns its status and runs no operation. 0 for no entries, 1 without an adapter.
    int forEachEntry(std::size_t count, const std::function<int(std::size_t)>& operation);

    /// Inserts one line of a data file (unescaped strings): XML escapes are undone, and
    /// AssignedNumbers::ofFile decides the value of the column of @p key. Returns a raw SQLite
    /// code, 1 without an adapter.
    int insertLineOfFile(const std::string& table, const std::vector<std::string>& names,
                         const std::vector<std::string>& values, const AssignedNumbers::Key& key);

    /**
     * Calls @p store for each line of a file with one user's rows, in one transaction; for its
     * parameters and result see CsvReader::forEachRow. If the file can be opened, @p prepare runs
     * before the first line, in the same transaction. 1 if the file could not be opened or the rows
     * could not be committed; refused lines do not count.
     */
    int importRowsOfUser(const std::string& location,
                         const std::function<int(std::vector<std::string>&)>& store,
                         const std::function<void()>& prepare = {});
    /**
     * Like importRowsOfUser, but the rows of the file replace those of the user @p context:
     * afterwards the table has either the old rows or those of the file. If the file does not
     * exist, the user's rows are deleted and the result is 1. If it can't be opened, they stay.
     */
    int replaceRowsOfUser(const std::string& context, const std::string& location,
                          const std::function<int(std::vector<std::string>&)>& store);

    /// Whether forEachEntry could not begin its transaction: a second attempt would wait as long.
    [[nodiscard]] bool couldNotBegin() const { return m_couldNotBegin; }
    /// Selects the user: the context of the request, or the current user if it names none. False if
    /// there is neither.
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
    Rows m_resultRows;                         ///< rows of a read that are not in the body yet
    std::string m_body;                        ///< body of the answer to a read
    std::string m_currentElement;              ///< element whose content is being collected
    std::string m_charData;                    ///< the content collected so far
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

    /// Opens what an import from @p location reads: the file or the string.
    [[nodiscard]] CsvReader openImport(const std::string& location) const;
    /// Stores the rows of @p file, and counts them if the import reads a string.
    void storeRows(CsvReader& file, const std::string& location,
                   const std::function<int(std::vector<std::string>&)>& store);
    bool hasColumn(const std::string& name) const;
    /// Creates a table that has no rows, and reads its column names. False without a table.
    bool prepareImport(std::vector<std::string>& names);
    bool hasAdapter() const;  ///< false without an adapter, which is logged
    const DASUtils::ColumnInfo* requestColumn(const char* name) const;
    /// Inserts the default rows of @p contexts, which are in database form. With several users, all
    /// rows are stored or none.
    int forEachDefaultRow(const std::vector<std::string>& contexts, bool onlyMissing);
    int insertRowsOf(const std::vector<std::string>& contexts, bool onlyMissing);
    /// The steps of copyBaseDataToVisitor, for the caller's transaction.
    int replaceByCopies(const std::string& contextColumn, const std::string& table);
};

#endif
