#ifndef DATABASEADAPTER_H
#define DATABASEADAPTER_H

#include <pthread.h>

#include <atomic>
#include <cassert>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "DASTypes.h"
#include "DatabaseAdapterIfc.h"
#include "database/MaskedStatement.h"
#include "database/StatementCache.h"

class ChangeNotice;
class ChangeScope;
class ChangeListeners;
class Statement;
struct sqlite3;
struct sqlite3_stmt;

/**
 * Row callback that finds out whether a statement returns any row: it stores 1 in the byte that
 * @p flag points to, unless @p flag is null. Always returns 0, so that SQLite continues.
 */
int sqliteCallBackForRows(void* flag, int columns, char** values, char** names);

/**
 * The adapter over SQLite: one connection to phone.db and one recursive lock around its use.
 *
 * The file is "phone.db" in the directory that "DB_PATH" of the environment names, or in the
 * working directory when that is unset. The interface documents its operations. A failed statement
 * logs SQLite's words with the statement at level 3; a statement without an open database fails in
 * the same way. No secret value is logged; see MaskedStatement.
 */
class DatabaseAdapter : public DatabaseAdapterIfc {
public:
    /// Opens the database. A missing file is created with access for its owner only. If opening
    /// fails, this is logged, and every later statement fails by itself.
    DatabaseAdapter();
    ~DatabaseAdapter() override;
    /// An adapter without a database, whose statements all fail; for objects that were given no
    /// adapter.
    static DatabaseAdapter& none();
    DatabaseAdapter(const DatabaseAdapter&) = delete;
    DatabaseAdapter& operator=(const DatabaseAdapter&) = delete;

    int createTable(const std::string& table, PairList& columns) override;
    void createIndicesForTable(const std::string& table,
                               const std::vector<std::string>& columns) override;
    int getAdapterType() override;
    int getColumnCount(const std::string& sql) override;
    std::string getColumnName(const std::string& sql, int index) override;
    int getColumnNames(const std::string& table, std::vector<std::string>& names) override;
    int addColumn(const std::string& table, const std::string& column, const std::string& type,
                  bool withDefault) override;
    int insert(const std::string& table, std::vector<std::string>& values,
               long long* rowId) override;
    int insert(const std::string& table, const PairList& values, long long* rowId) override;
    int insertRow(const std::string& table, const std::vector<std::string>& columns,
                  const std::vector<std::string>& values, long long* rowId) override;
    int deleteRow(const std::string& table, PairList& andList) override;
    int deleteRow(const std::string& table, PairList& andList, PairList& orList,
                  PairList& notList) override;
    int beginTransaction() override;
    int endTransaction() override;
    int executeSQLQuery(const std::string& sql, Rows& rows) override;
    int executeQuery(const std::string& table, const std::vector<std::string>& columns,
                     const PairList& where, PairList& orderBy, Rows& rows, std::string offset,
                     std::string limit) override;
    int executeQuery(const std::string& table, const std::vector<std::string>& columns,
                     const PairList& where, std::vector<std::string>& groupBy, PairList& orderBy,
                     Rows& rows, std::string offset, std::string limit) override;
    int executeQuery(const std::string& table, const std::vector<std::string>& columns,
                     const PairList& where, const std::string& join,
                     std::vector<std::string>& groupBy, PairList& orderBy, Rows& rows,
                     std::string offset, std::string limit) override;
    int executeQuery(const std::string& table, const std::vector<std::string>& columns,
                     PairList& andList, PairList& orList, PairList& notList, PairList& orderBy,
                     Rows& rows, std::string offset, std::string limit) override;
    int executeQuery(const std::string& table, const std::vector<std::string>& columns,
                     PairList& andList, PairList& orList, PairList& notList,
                     const std::string& join, std::vector<std::string>& groupBy, PairList& orderBy,
                     Rows& rows, std::string offset, std::string limit) override;
    int actualSearchQuery(const std::string& table, const std::vector<std::string>& columns,
                          const PairList& where, PairList& orderBy, Rows& rows, std::string ignored,
                          std::string limit) override;
    int executeActualSearchQuery(const std::string& sql, Rows& rows) override;
    int getRowCount(std::string table, PairList& andList, std::string& count) override;
    int update(std::string table, PairList& andList, PairList& newValues,
               bool skipEmptyCheck) override;
    int update(std::string table, PairList& andList, PairList& orList, PairList& notList,
               PairList& newValues, bool skipEmptyCheck) override;
    int dropTable(std::string table) override;
    void removeDbFile() override;
    std::string getError() override;
    int actualSQLiteCommandExecution(const std::string& sql,
                                     int (*callback)(void*, int, char**, char**),
                                     void* argument) override;
    int getRowCount(const std::string& sql, std::string& count) override;

    /// Take and release the recursive lock. A failure is logged, and the caller continues. Only the
    /// guards of AdapterGuards.h call them.
    void take_sema4();
    void give_sema4();

    /**
     * Rolls back what is not committed. The lock must be held and stays held; for TransactionGuard.
     * A failure is only logged, since SQLite may already have rolled back by itself. If the
     * transaction stays open, for example for lack of memory, it is rolled back when the lock is
     * taken next.
     */
    void rollBack() noexcept;
    /// Begins a transaction that locks the file at once (waiting for other processes), so that what
    /// it reads is still true when it writes. Takes the lock as beginTransaction() does; for
    /// TransactionGuard.
    int beginWriteTransaction();
    /// While @p held is set, each commit fails and rolls back instead. Call with the lock held; for
    /// TransactionGuard.
    void holdCommits(bool held) { m_isCommitHeld = held; }

    /// How many rows this connection has changed so far, committed or not. A dropped table counts
    /// as one row. The count wraps around. Call with the lock held; for ChangeScope.
    [[nodiscard]] int changes() const;

    /**
     * Reports a change with blank fields to @p listeners if another process has committed since the
     * last call, or if the file was replaced by another one. The first call only stores the state.
     * Does not wait for the lock or for other processes.
     *
     * @return false when the lock or another process was in the way
     */
    bool lookForOthers(ChangeListeners& listeners);

    /// Passes rows to @p take, which is not copied, while they are read. Null: reads return all
    /// rows at the end, as usual. Call with the lock held; for RowDrain.
    void drainRows(const std::function<bool(Rows&)>* take) { m_drain = take; }

    /// Forgets the text of the last failure: 0 when there was one, else 1. Call with the lock held.
    int freeError();

    /// Runs one statement without rows under the lock. Raw SQLite code.
    int executeNonQuery(const std::string& sql);
    /// The same with @p values bound to its placeholders, in their order: for values that no
    /// statement text can hold, such as those with a zero byte.
    virtual int executeWithValues(const std::string& sql, const std::vector<std::string>& values);

    /**
     * Converts a raw SQLite code to the status that callers of the adapter get: 0 success, 1
     * failure, 2 out of resources, 3 disk error. A full disk counts as out of resources: kept on
     * purpose, since clients show one message for both.
     */
    int convertSQLiteStatusToAdapterStatus(int code) const;

    /// Path of the database, from the environment. If it is a link, this is the link's target, so
    /// that the files next to the database are found there.
    [[nodiscard]] static std::string databasePath();

    /// Protects the database and its journals: paths of the telephone can't reach them, and other
    /// users can't if the files belong to this user. Call it before the first statement.
    static void claimFiles();

    /// Sets @p call to be called before each transaction that changes something, on the thread of
    /// the transaction and with the adapter's lock held, while the file is still unchanged. @p call
    /// may read the database only over another connection. An empty function switches this off.
    void callBeforeChange(std::function<void()> call);

    /// Copies the database, as its last commit left it, into the file @p path, which must be empty.
    /// False, and a log line, if the copy is not complete.
    [[nodiscard]] static bool copyDatabase(const std::string& path);

    /// Whether the file @p path is a database that can be read from its first page to its last.
    /// Rolls back what an unfinished transaction left in it. An empty file counts as sound.
    [[nodiscard]] static bool isSound(const std::string& path);

    /**
     * Counts the rows of @p table that match, like getRowCount, but reports a failed count: 0 if
     * @p count is right, 1 if the number is not known. For callers that insert rows depending on
     * the count.
     */
    [[nodiscard]] int countRows(const std::string& table, PairList& andList, std::string& count);

    /// Whether there is a table of this name. Unlike the other operations, this logs nothing if the
    /// table is missing.
    [[nodiscard]] bool isTableKnown(const std::string& table);

    /// Whether the column changes some strings when it stores them: a column of numbers stores
    /// "0049" as 49. False also when this can't be found out.
    [[nodiscard]] bool changesTexts(const std::string& table, const std::string& column);

    /// Appends the columns of @p table to @p names. False when it can't be read.
    [[nodiscard]] bool readColumnNames(const std::string& table, std::vector<std::string>& names);

    /// Calls @p visit with each row of a reading statement, under the lock, without collecting the
    /// rows. 1 if the statement failed, which is logged.
    int forEachRow(const std::string& sql,
                   const std::function<void(const std::vector<std::string>&)>& visit);

    /// Whether @p table exists and can be read. Prepares a statement only if the table is missing,
    /// so that the log shows why.
    [[nodiscard]] bool isTableThere(const std::string& table);

    /// Whether the database is open, but SQLite may only read it.
    [[nodiscard]] bool isReadOnly();

    /**
     * Whether @p table has no rows, for callers that do not need the number. Returns 0 if
     * @p isEmpty is known; 1 if it is not known, and @p isEmpty is true then. Logs the same lines
     * as countRows().
     */
    [[nodiscard]] int lookForRows(const std::string& table, bool& isEmpty);

    /// Whether @p table can be counted and has no rows.
    [[nodiscard]] bool isKnownToBeEmpty(const std::string& table);

    /// Whether there is an index named @p index. @p table is not used: kept on purpose, since names
    /// of indices are unique in a database.
    bool indexExists(std::string table, std::string index);

    /// Renames a table that has rows. 1 when it has none or is missing, else a raw SQLite code.
    int alterTableName(std::string oldName, std::string newName);
    /// Renames a table. Views keep the old name, and a view that names a missing table does not
    /// make it fail. Raw SQLite code.
    int renameTable(const std::string& oldName, const std::string& newName);
    /// Returns @p wanted, with a number after it if the database already has something of that
    /// name. Empty if the database can't be read.
    [[nodiscard]] std::string freeTableName(const std::string& wanted);

    /// Copies all rows by column name, without the columns named in @p excludedColumns. 1 if
    /// @p from can't be read, else a raw SQLite code.
    int copyDataOfTableToAnother(std::string from, std::string to,
                                 std::vector<std::string> excludedColumns);

    /**
     * Writes the contacts of all users to the file @p path of the telephone: a header line, then a
     * line for each contact. Values stand between double quotes, with XML escapes undone; blank
     * values are left out. If the contacts can't be read, an existing file stays; without one,
     * a file with only the header is written. False if no new file was written, which is logged.
     */
    bool createContactsCSV(const std::string& path);

    /// Builds the string " WHERE …" of the conditions; empty without conditions. Empties the lists.
    std::string concatWhereCondition(PairList& andList);
    std::string concatWhereCondition(PairList& andList, PairList& orList);
    std::string concatWhereCondition(PairList& andList, PairList& orList, PairList& notList);

    /// Frees cached pages of the file and cached statements that are not in use, of this connection
    /// only.
    void releaseMemory();

    /// The prepared statements that are kept. For statistics and tests, with the lock held.
    [[nodiscard]] StatementCache& statementCache() { return m_statements; }

    /// Whether the contents of requests may appear in the log; one flag for the process.
    static void setWhetherRequestContentShowableOnTheAurelTrace(bool showable);
    static bool getWhetherRequestContentShowableOnTheAurelTrace();

protected:
    int m_type;  ///< kind of database; with any kind but SqliteAdapterType nothing works

private:
    static constexpr int NoAdapterType = 0;
    static constexpr int SqliteAdapterType = 1;
    /// Reserved size for a usual statement, so that its string is not reallocated while it grows.
    static constexpr std::size_t StatementSize = 256;

    explicit DatabaseAdapter(int type);
    void constructorActions();
    static void makeMissingFileForOwnerAlone(const std::string& path);
    /// Makes statements of @p db end when the work of their thread is interrupted.
    static void endWhenInterrupted(sqlite3* db);
    void openDatabase();
    /// The connection; null if it is not open. It was opened without SQLite's own mutex, so all
    /// code gets the connection here, and builds with assertions abort if the lock is not held.
    [[nodiscard]] sqlite3* connection() const {
        assert(m_owner == std::this_thread::get_id());
        return m_db;
    }
    void noteLocked();
    /// Closes the connection. Call with the lock held. If SQLite refuses, the handle stays.
    int closeDatabase(const char* failureFormat);
    bool isInTransaction() const;
    /// Runs @p sql from the cache if it may be cached. A failure's message goes to m_lastError.
    int runWithoutRows(const std::string& sql);
    int execute(const std::string& sql, int (*callback)(void*, int, char**, char**),
                void* argument);
    /// Like executeNonQuery(), but callable from destructors: an exception of the log is reported
    /// as a failure.
    int executeWithoutRaising(const std::string& sql) noexcept;
    void takeBackWhatIsLeftOpen() noexcept;
    /// Update @p scope for a statement: called with the lock held, before and after the statement.
    void beginWatched(ChangeScope& scope);
    void endWatched(ChangeScope& scope, const std::string& sql);
    /// lookForOthers() with the lock held, waiting for other processes as a statement does.
    bool compareDataVersion(ChangeListeners& listeners);
    /// SQLite's counter for its cached state of the file. It moves by one at each commit of this
    /// connection, and when a statement finds that another process has committed. Reading it does
    /// not access the file, so it shows cheaply when the file itself must be read.
    unsigned stateOfPages() const;
    bool hasFileMoved() const;
    const char* errorText() const;
    /// Whether @p statement is prepared; if not, logs why.
    [[nodiscard]] bool isReady(const Statement& statement, const std::string& sql);
    void logStatementError(const std::string& sql);
    /// Logs that @p sql failed with @p error. If the database file is damaged, this is also logged
    /// once at the level of failures.
    void tellFailure(const char* error, const std::string& sql);
    std::string failureForLog(const std::string& words, const std::string& sql);
    /// Logs the failure, if any, that the step result @p code reports. Resets @p statement.
    void logFailedStep(Statement& statement, int code, const std::string& sql);

    int insertShared(const std::string& table, const std::vector<std::string>& columns,
                     const std::vector<std::string>& values, long long* rowId);
    /// Like lookForRows(), for an update. Rows that another process has removed since the last look
    /// count as present: an update that finds no row has the same result.
    int lookBeforeUpdate(const std::string& table, bool& isEmpty);
    std::string countStatement(const std::string& table, PairList& andList);
    /// Runs @p sql. If it fails, the log shows @p shown instead.
    bool readRowCount(const std::string& sql, const std::string& shown, std::string& count);
    int collectRows(const std::string& sql, Rows& rows, bool stopAtFailedPrepare,
                    const char* countFormat);
    /// @p sql as it may stand in the log. Call it only when the level is logged.
    std::string forLog(const std::string& sql);
    /// A function that reads the columns of a table in their order, without a log entry of its own.
    MaskedStatement::ColumnsOf columnsInOrder();

    std::unique_ptr<ChangeNotice> m_changeNotice;
    StatementCache m_statements;  ///< under the lock; cleared before the connection is closed
    sqlite3* m_db = nullptr;
    pthread_mutexattr_t m_mutexAttr{};
    pthread_mutex_t m_mutex{};
    std::atomic<std::thread::id> m_owner{};  ///< the thread that holds the mutex
    int m_depth = 0;                         ///< how often that thread has taken the mutex
    /// The number of rows of a table after a deletion in this transaction.
    struct Counted {
        std::string table;
        int rows = 0;  ///< 0 if it is not known
    };

    const std::function<bool(Rows&)>* m_drain = nullptr;  ///< under the lock; not owned
    Counted m_counted;                   ///< under the lock; any other statement clears it
    /// Tables in which an update has found rows. A statement that may remove rows takes its table
    /// out. Under the lock.
    std::set<std::string> m_tablesWithRows;
    bool m_isCommitHeld = false;         ///< under the lock
    bool m_isLeftOpen = false;    ///< a transaction has ended here but is still open in SQLite;
                                  ///< under the lock
    char* m_lastError = nullptr;  ///< allocated by SQLite, freed through freeError
    bool m_damageIsTold = false;

    // For listeners to changes, under the lock. Not used without one.
    sqlite3_stmt* m_dataVersionQuery = nullptr;
    std::optional<int> m_dataVersion;  ///< as it was last read
    unsigned m_stateOfPages = 0;       ///< as it was after the last read or own transaction
    bool m_isFileStrange = false;      ///< at the last look the file had moved away or could not be
                                       ///< read
    int m_droppedTables = 0;
    int m_changesBefore = 0;  ///< when the transaction began

    static std::atomic<bool> m_isRequestContentShowableOnTheAurelTrace;
};

#endif
