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
 * Row callback that asks whether a statement gives any row: stores 1 in the byte that @p flag
 * points to, unless @p flag is null. Returns 0 always, so that SQLite goes on.
 */
int sqliteCallBackForRows(void* flag, int columns, char** values, char** names);

/**
 * The adapter over SQLite: one connection to phone.db and one recursive lock around its use.
 *
 * The file is "phone.db" in the directory that "DB_PATH" of the environment names, or in the
 * working directory when that is unset. What the operations of the interface mean stands there. A
 * failed statement logs SQLite's words with the statement at level 3; a statement without an open
 * database fails in the same way. No secret value is logged; see MaskedStatement.
 */
class DatabaseAdapter : public DatabaseAdapterIfc {
public:
    /// Opens the database, which is made for its owner alone when it is missing. A failure is
    /// logged and every later statement fails by itself.
    DatabaseAdapter();
    ~DatabaseAdapter() override;
    /// One without a database, which fails each statement: for objects that were given no adapter.
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

    /// Takes and gives the recursive lock. A failure is logged and the caller goes on. For the
    /// guards of AdapterGuards.h; nothing else calls them.
    void take_sema4();
    void give_sema4();

    /**
     * Rolls back what is not committed, under the lock, which stays taken; for TransactionGuard. A
     * refusal is logged: SQLite may have done it by itself. What stays open, as for lack of memory,
     * is rolled back when the lock is taken next.
     */
    void rollBack() noexcept;
    /// Begins a transaction that waits for other processes at once, so that what it reads stays
    /// true until it writes. Takes the lock as beginTransaction() does; for TransactionGuard.
    int beginWriteTransaction();
    /// While @p held each commit fails, and rolls back what it would store. Call with the lock
    /// held; for TransactionGuard.
    void holdCommits(bool held) { m_isCommitHeld = held; }

    /// How many rows this connection has changed so far, whether committed or not; a dropped table
    /// counts as one. Wraps around. Call with the lock held; for ChangeScope.
    [[nodiscard]] int changes() const;

    /**
     * Reports to @p listeners, as a change with blank texts, when another process has committed
     * since the last look or the file is not the one that was opened. The first look only
     * remembers. Waits neither for the lock nor for other processes.
     *
     * @return false when one of them was in the way
     */
    bool lookForOthers(ChangeListeners& listeners);

    /// Has rows handed over to @p take, which is not copied, while they are read; null for all of
    /// them at the end. Call with the lock held; for RowDrain.
    void drainRows(const std::function<bool(Rows&)>* take) { m_drain = take; }

    /// Forgets the text of the last failure: 0 when there was one, else 1. Call with the lock held.
    int freeError();

    /// Runs one statement without rows under the lock. Raw SQLite code.
    int executeNonQuery(const std::string& sql);
    /// The same with @p values bound to its placeholders, in their order: for values that no
    /// statement text can hold, such as those with a zero byte.
    virtual int executeWithValues(const std::string& sql, const std::vector<std::string>& values);

    /**
     * The status that stands for a raw SQLite code outside the adapter: 0 success, 1 failure, 2 out
     * of resources, 3 disk error. A full disk counts as out of resources: kept on purpose, since
     * clients show one text for both.
     */
    int convertSQLiteStatusToAdapterStatus(int code) const;

    /// Where the database is, from the environment; where it leads when it is a link, so that what
    /// stands next to the file is found there.
    [[nodiscard]] static std::string databasePath();

    /// Keeps the database and its journals from paths of the telephone, and from other users when
    /// they are this user's. To be called before the first statement.
    static void claimFiles();

    /// Has @p call called before each transaction that changes something, on its thread and with
    /// the adapter's lock held, when the file is still as it was. It may read the database over
    /// another connection alone. Empty for nothing.
    void callBeforeChange(std::function<void()> call);

    /// Copies the database, as its last commit left it, into the file @p path, which must be empty.
    /// False, and a log line, when that is not whole.
    [[nodiscard]] static bool copyDatabase(const std::string& path);

    /// Whether the file @p path is a database that can be read from its first page to its last.
    /// Rolls back what an unfinished transaction left there. An empty file is sound.
    [[nodiscard]] static bool isSound(const std::string& path);

    /**
     * Counts the rows of @p table that match, as getRowCount does, but reports a count that failed:
     * 0 when @p count is true, 1 when it is not known. For whoever decides an insert by it.
     */
    [[nodiscard]] int countRows(const std::string& table, PairList& andList, std::string& count);

    /// Whether there is a table of this name, which may be missing: unlike the others, this logs
    /// nothing then.
    [[nodiscard]] bool isTableKnown(const std::string& table);

    /// Whether the column stores some texts as other ones: as a column of numbers it makes 49 of
    /// "0049". False also when it can't be asked for.
    [[nodiscard]] bool changesTexts(const std::string& table, const std::string& column);

    /// Appends the columns of @p table to @p names. False when it can't be read.
    [[nodiscard]] bool readColumnNames(const std::string& table, std::vector<std::string>& names);

    /// Calls @p visit with each row of a statement that reads, under the lock, and keeps none of
    /// them. 1 when the statement failed, which is in the log.
    int forEachRow(const std::string& sql,
                   const std::function<void(const std::vector<std::string>&)>& visit);

    /// Whether @p table is there and can be read. Prepares nothing unless it is missing, which is
    /// logged.
    [[nodiscard]] bool isTableThere(const std::string& table);

    /**
     * Whether @p table has no rows, for whoever needs no more of their count: 0 when @p isEmpty is
     * true or false, 1 when it is not known, and @p isEmpty is true then. Logs what countRows()
     * does.
     */
    [[nodiscard]] int lookForRows(const std::string& table, bool& isEmpty);

    /// Whether @p table can be counted and has no rows.
    [[nodiscard]] bool isKnownToBeEmpty(const std::string& table);

    /// Whether there is an index named @p index. @p table plays no part: kept on purpose, since
    /// names of indices are unique in a database.
    bool indexExists(std::string table, std::string index);

    /// Renames a table that has rows. 1 when it has none or is missing, else a raw SQLite code.
    int alterTableName(std::string oldName, std::string newName);
    /// Renames a table. Views keep the old name, and a view that names a missing table does not
    /// make it fail. Raw SQLite code.
    int renameTable(const std::string& oldName, const std::string& newName);
    /// @p wanted, with a number after it if the database has something of that name. Empty when the
    /// database can't be read.
    [[nodiscard]] std::string freeTableName(const std::string& wanted);

    /// Copies all rows, less the columns named in @p excludedColumns, by column name. 1 when @p
    /// from can't be read, else a raw SQLite code.
    int copyDataOfTableToAnother(std::string from, std::string to,
                                 std::vector<std::string> excludedColumns);

    /**
     * Writes the contacts of all users to the file @p path of the telephone: a header line and a
     * line for each contact, values between double quotes with XML escapes undone, blank ones left
     * out. When the contacts can't be read, an older file stays; without one the header is written
     * all the same. False when there is no new file, which is logged.
     */
    bool createContactsCSV(const std::string& path);

    /// The text " WHERE …" of the conditions, empty for none. Empties the lists.
    std::string concatWhereCondition(PairList& andList);
    std::string concatWhereCondition(PairList& andList, PairList& orList);
    std::string concatWhereCondition(PairList& andList, PairList& orList, PairList& notList);

    /// Frees what is kept of the file's pages and of statements and is not in use, for this
    /// connection alone.
    void releaseMemory();

    /// The prepared statements that are kept. For statistics and tests, with the lock held.
    [[nodiscard]] StatementCache& statementCache() { return m_statements; }

    /// Whether the contents of requests may stand in the log; one flag for the process.
    static void setWhetherRequestContentShowableOnTheAurelTrace(bool showable);
    static bool getWhetherRequestContentShowableOnTheAurelTrace();

protected:
    int m_type;  ///< kind of database; anything but SqliteAdapterType serves nothing

private:
    static constexpr int NoAdapterType = 0;
    static constexpr int SqliteAdapterType = 1;
    /// Room for a usual statement, so that its text does not grow, and move, on its way.
    static constexpr std::size_t StatementSize = 256;

    explicit DatabaseAdapter(int type);
    void constructorActions();
    static void makeMissingFileForOwnerAlone(const std::string& path);
    /// Has statements of @p db end when the work of their thread is interrupted.
    static void endWhenInterrupted(sqlite3* db);
    void openDatabase();
    /// The connection, null when it is not open. It was opened without SQLite's own mutex, so each
    /// way into SQLite comes through here: builds with assertions end where the lock is not held.
    [[nodiscard]] sqlite3* connection() const {
        assert(m_owner == std::this_thread::get_id());
        return m_db;
    }
    void noteLocked();
    /// Closes the connection, with the lock held; the handle stays when SQLite refuses.
    int closeDatabase(const char* failureFormat);
    bool isInTransaction() const;
    /// Runs @p sql from the cache if it may be kept. The failure's text goes to m_lastError.
    int runWithoutRows(const std::string& sql);
    int execute(const std::string& sql, int (*callback)(void*, int, char**, char**),
                void* argument);
    /// Runs @p sql from destructors too: an exception of the log becomes a failure.
    int executeWithoutRaising(const std::string& sql) noexcept;
    void takeBackWhatIsLeftOpen() noexcept;
    /// What a statement means for @p scope: called with the lock held, before and after it.
    void beginWatched(ChangeScope& scope);
    void endWatched(ChangeScope& scope, const std::string& sql);
    /// lookForOthers() with the lock held, waiting for other processes as a statement does.
    bool compareDataVersion(ChangeListeners& listeners);
    /// SQLite's number for what it has read of the file, which moves by one at each commit of this
    /// connection, and when a statement finds that another process has committed. Asking it costs
    /// nothing of the file, so it shows when the file has to be asked.
    unsigned stateOfPages() const;
    bool hasFileMoved() const;
    const char* errorText() const;
    /// Whether @p statement is prepared; if not, logs why.
    [[nodiscard]] bool isReady(const Statement& statement, const std::string& sql);
    void logStatementError(const std::string& sql);
    /// Logs that @p sql failed with @p error, and once at the level of failures that the file is
    /// damaged, when the failure was that.
    void tellFailure(const char* error, const std::string& sql);
    std::string failureForLog(const std::string& words, const std::string& sql);
    /// Logs the failure that the step result @p code reports, if any. Ends the run of @p statement.
    void logFailedStep(Statement& statement, int code, const std::string& sql);

    int insertShared(const std::string& table, const std::vector<std::string>& columns,
                     const std::vector<std::string>& values, long long* rowId);
    /// As lookForRows(), for an update: what another process has removed since the last one counts
    /// as there, since an update that finds no row has the same result.
    int lookBeforeUpdate(const std::string& table, bool& isEmpty);
    std::string countStatement(const std::string& table, PairList& andList);
    /// Runs @p sql, which is @p shown in the log if it fails.
    bool readRowCount(const std::string& sql, const std::string& shown, std::string& count);
    int collectRows(const std::string& sql, Rows& rows, bool stopAtFailedPrepare,
                    const char* countFormat);
    /// @p sql as it may stand in the log. Call it only when the level is logged.
    std::string forLog(const std::string& sql);
    /// What reads the columns of a table in its order, without a log entry of its own.
    MaskedStatement::ColumnsOf columnsInOrder();

    std::unique_ptr<ChangeNotice> m_changeNotice;
    StatementCache m_statements;  ///< under the lock; goes after the connection was closed
    sqlite3* m_db = nullptr;
    pthread_mutexattr_t m_mutexAttr{};
    pthread_mutex_t m_mutex{};
    std::atomic<std::thread::id> m_owner{};  ///< who has the mutex
    int m_depth = 0;                         ///< how often
    /// A table and its rows, as a deletion of this transaction has left it.
    struct Counted {
        std::string table;
        int rows = 0;  ///< 0 when they are not known
    };

    const std::function<bool(Rows&)>* m_drain = nullptr;  ///< under the lock; not owned
    Counted m_counted;                   ///< under the lock; forgotten by each other statement
    /// Those that an update has found rows in, until a statement that may remove some; under the
    /// lock.
    std::set<std::string> m_tablesWithRows;
    bool m_isCommitHeld = false;         ///< under the lock
    bool m_isLeftOpen = false;    ///< a transaction has ended and SQLite has not: under the lock
    char* m_lastError = nullptr;  ///< allocated by SQLite, freed through freeError
    bool m_damageIsTold = false;

    // For listeners to changes, under the lock. Not used without one.
    sqlite3_stmt* m_dataVersionQuery = nullptr;
    std::optional<int> m_dataVersion;  ///< at the last look
    unsigned m_stateOfPages = 0;       ///< after the last look or own transaction
    bool m_isFileStrange = false;      ///< at the last look: moved away, or it can't be read
    int m_droppedTables = 0;
    int m_changesBefore = 0;  ///< when the transaction began

    static std::atomic<bool> m_isRequestContentShowableOnTheAurelTrace;
};

#endif
