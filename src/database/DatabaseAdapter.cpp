// The connection, its lock, and the way of a statement without rows. Queries, rows, values, files
// and changes have units of their own; all of them reach SQLite through connection(), which checks
// that the caller holds the lock.
//
// Nothing here throws while a transaction ends: even without free memory, the transaction must end
// and the lock must be released.

#include "database/DatabaseAdapter.h"

#include <sqlite3.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <iterator>

#include "GPALSleep.h"
#include "Log.h"
#include "Progress.h"
#include "Storage.h"
#include "Tally.h"
#include "Work.h"
#include "database/AdapterGuards.h"
#include "database/ChangeNotice.h"
#include "database/ChangeScope.h"
#include "database/Statement.h"

namespace {

constexpr unsigned SecondsAfterFailedClose = 5;

// Two processes often share one database. Without a wait, each commit of one would make statements
// of the other fail.
constexpr const char* WaitForOtherProcesses = "PRAGMA busy_timeout=5000;";
constexpr const char* UsualJournal = "PRAGMA journal_mode=DELETE;";

// Built once and not for each call: even without free memory, a transaction must begin and end.
const std::string BeginStatement = "BEGIN TRANSACTION;";
const std::string BeginWriteStatement = "BEGIN IMMEDIATE TRANSACTION;";
const std::string EndStatement = "END TRANSACTION;";
const std::string RollBackStatement = "ROLLBACK TRANSACTION;";

/// Whether a table that has rows certainly still has some after @p sql.
bool keepsRows(const std::string& sql) {
    static constexpr const char* verbs[] = {"UPDATE ", "INSERT ", "BEGIN ", "END "};
    return std::any_of(std::begin(verbs), std::end(verbs),
                       [&sql](const char* verb) { return sql.rfind(verb, 0) == 0; });
}

/// Whether another program has set the database to write-ahead logging (WAL). Then a reset would
/// leave the second file, and no journal would announce a change. The header is read through
/// SQLite's own descriptor: to close another descriptor of the file would release all locks that
/// the process has on it.
bool hasWriteAheadLog(sqlite3* db) {
    constexpr sqlite3_int64 placeOfForm = 18;
    constexpr char writeAhead = 2;
    char form = 0;
    sqlite3_file* file = nullptr;
    return sqlite3_file_control(db, "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK &&
           file->pMethods != nullptr &&
           file->pMethods->xRead(file, &form, 1, placeOfForm) == SQLITE_OK && form == writeAhead;
}

}  // namespace

int sqliteCallBackForRows(void* flag, int, char**, char**) {
    if (flag != nullptr) {
        *static_cast<unsigned char*>(flag) = 1;
    }
    return 0;
}

DatabaseAdapter::DatabaseAdapter() : DatabaseAdapter(SqliteAdapterType) {
    // The object is constructed at this point, so an exception from here on still closes the
    // connection.
    AdapterLock lock(*this);
    openDatabase();
}

DatabaseAdapter& DatabaseAdapter::none() {
    // Never destroyed: threads that run while the process ends may still use it.
    static DatabaseAdapter* const adapter = new DatabaseAdapter(NoAdapterType);
    return *adapter;
}

DatabaseAdapter::DatabaseAdapter(int type)
    : m_type(type), m_changeNotice(std::make_unique<ChangeNotice>()) {
    constructorActions();
}

DatabaseAdapter::~DatabaseAdapter() {
    if (m_type == SqliteAdapterType) {
        AdapterLock lock(*this);
        if (m_lastError != nullptr) {
            freeError();
        }
        closeDatabase("~DatabaseAdapter() : sqlite3_close() error occured: %s\n");
    }
    pthread_mutex_destroy(&m_mutex);
    pthread_mutexattr_destroy(&m_mutexAttr);
}

void DatabaseAdapter::constructorActions() {
    pthread_mutexattr_init(&m_mutexAttr);
    const int result = pthread_mutexattr_settype(&m_mutexAttr, PTHREAD_MUTEX_RECURSIVE);
    if (result != 0) {
        DAS_LOG(3, "Error calling pthread_mutexattr_settype: %d\n", result);
    }
    pthread_mutex_init(&m_mutex, &m_mutexAttr);
}

void DatabaseAdapter::openDatabase() {
    const std::string path = databasePath();
    claimFiles();
    makeMissingFileForOwnerAlone(path);
    // The adapter's lock protects the connection, so SQLite's own mutex is not needed.
    if (sqlite3_open_v2(path.c_str(), &m_db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                        m_changeNotice->name()) != SQLITE_OK) {
        DAS_LOG(3, "DatabaseAdapter( ): sqlite3_open() error occured: %s\n", errorText());
        closeDatabase("DatabaseAdapter( ): sqlite3_close() error occured: %s\n");
        return;
    }
    (void)actualSQLiteCommandExecution(WaitForOtherProcesses, nullptr, nullptr);
    endWhenInterrupted(connection());
    if (hasWriteAheadLog(connection())) {
        (void)actualSQLiteCommandExecution(UsualJournal, nullptr, nullptr);
        DAS_LOG(2, "The database %s was in WAL mode, which %s", path.c_str(),
                hasWriteAheadLog(connection()) ? "another program keeps: an upgrade has no copy"
                                               : "ends");
    }
    // If a batch was interrupted, a commit would store it without the missing rows.
    const auto isHeld = [](void* adapter) {
        const bool held = static_cast<DatabaseAdapter*>(adapter)->m_isCommitHeld;
        const bool isRefused = held || Work::isInterrupted();
        if (!isRefused) {
            Tally::add(Tally::Commits);
        }
        return isRefused ? 1 : 0;
    };
    (void)sqlite3_commit_hook(connection(), isHeld, this);
}

int DatabaseAdapter::closeDatabase(const char* failureFormat) {
    m_statements.clear();
    sqlite3_finalize(m_dataVersionQuery);
    m_dataVersionQuery = nullptr;
    const int code = sqlite3_close(connection());
    if (code == SQLITE_OK) {
        m_db = nullptr;
    } else {
        DAS_LOG(3, failureFormat, errorText());
    }
    return code;
}

void DatabaseAdapter::releaseMemory() {
    const AdapterLock lock(*this);
    m_statements.clear();
    if (sqlite3* const db = connection()) {
        (void)sqlite3_db_release_memory(db);
    }
}

int DatabaseAdapter::getAdapterType() {
    return m_type;
}

void DatabaseAdapter::take_sema4() {
    const int result = pthread_mutex_lock(&m_mutex);
    if (result != 0) {
        DAS_LOG(3, "Error calling pthread_mutex_lock: %d\n", result);
    }
    noteLocked();
    if (m_isLeftOpen) {
        takeBackWhatIsLeftOpen();
    }
}

void DatabaseAdapter::noteLocked() {
    ++m_depth;
    m_owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
}

void DatabaseAdapter::give_sema4() {
    if (--m_depth == 0) {
        m_owner.store({}, std::memory_order_relaxed);
    }
    const int result = pthread_mutex_unlock(&m_mutex);
    if (result != 0) {
        DAS_LOG(3, "Error calling pthread_mutex_unlock: %d\n", result);
    }
}

int DatabaseAdapter::executeNonQuery(const std::string& sql) {
    AdapterLock lock(*this);
    m_counted.rows = 0;
    ChangeScope* const scope = ChangeScope::heard();
    if (scope != nullptr) {
        beginWatched(*scope);
    }
    const int code = actualSQLiteCommandExecution(sql, nullptr, nullptr);
    if (scope != nullptr && code == SQLITE_OK && sql != RollBackStatement) {
        endWatched(*scope, sql);
    }
    return code;
}

int DatabaseAdapter::actualSQLiteCommandExecution(const std::string& sql,
                                                  int (*callback)(void*, int, char**, char**),
                                                  void* argument) {
    if (m_type != SqliteAdapterType) {
        return 1;  // the adapter without a database has already logged this
    }
    if (m_lastError != nullptr) {
        freeError();
    }
    if (!keepsRows(sql)) {
        m_tablesWithRows.clear();
    }
    int code = SQLITE_MISUSE;
    if (connection() == nullptr) {
        m_lastError = sqlite3_mprintf("%s", errorText());
    } else {
        code = callback == nullptr ? runWithoutRows(sql) : execute(sql, callback, argument);
    }
    Progress::beat();
    if (m_lastError != nullptr) {
        tellFailure(m_lastError, sql);
    }
    return code;
}

int DatabaseAdapter::runWithoutRows(const std::string& sql) {
    Statement statement(m_statements, connection(), sql, Statement::Unless::Kept);
    if (!statement.isKept()) {
        return execute(sql, nullptr, nullptr);
    }
    int code = statement.step();
    while (code == SQLITE_ROW) {
        code = statement.step();
    }
    if (code == SQLITE_DONE) {
        return SQLITE_OK;
    }
    m_lastError = sqlite3_mprintf("%s", errorText());
    return code;
}

int DatabaseAdapter::execute(const std::string& sql, int (*callback)(void*, int, char**, char**),
                             void* argument) {
    const int code = sqlite3_exec(connection(), sql.c_str(), callback, argument, &m_lastError);
    if (sql != BeginStatement && sql != BeginWriteStatement && sql != EndStatement) {
        m_statements.clear();  // the statements in the string may have changed tables
    }
    return code;
}

int DatabaseAdapter::beginTransaction() {
    take_sema4();
    return executeWithoutRaising(BeginStatement);
}

int DatabaseAdapter::beginWriteTransaction() {
    take_sema4();
    return executeWithoutRaising(BeginWriteStatement);
}

int DatabaseAdapter::endTransaction() {
    const int code = executeWithoutRaising(EndStatement);
    if (code != SQLITE_OK && isInTransaction()) {
        // When another process reads, a commit can fail and leave the transaction open. Later
        // changes would then be acknowledged without being on the disk, and no other process could
        // read. So it is rolled back.
        rollBack();
    }
    give_sema4();
    return code;
}

void DatabaseAdapter::rollBack() noexcept {
    (void)executeWithoutRaising(RollBackStatement);
    m_isLeftOpen = isInTransaction();
}

bool DatabaseAdapter::isInTransaction() const {
    return connection() != nullptr && sqlite3_get_autocommit(connection()) == 0;
}

int DatabaseAdapter::executeWithoutRaising(const std::string& sql) noexcept {
    try {
        return executeNonQuery(sql);
    } catch (const std::exception&) {
        return SQLITE_NOMEM;  // the statement failed, and there was no memory for its log message
    }
}

void DatabaseAdapter::takeBackWhatIsLeftOpen() noexcept {
    // Not through an AdapterLock: releasing that lock calls this function.
    if (isInTransaction()) {
        (void)sqlite3_exec(connection(), RollBackStatement.c_str(), nullptr, nullptr, nullptr);
        m_statements.clear();
        m_tablesWithRows.clear();
    }
    m_isLeftOpen = isInTransaction();
}

std::string DatabaseAdapter::getError() {
    std::string text = "NULL";
    AdapterLock lock(*this);
    if (m_lastError != nullptr) {
        text = m_lastError;
    }
    return text;
}

int DatabaseAdapter::freeError() {
    if (m_lastError == nullptr) {
        return 1;
    }
    sqlite3_free(m_lastError);
    m_lastError = nullptr;
    return 0;
}

int DatabaseAdapter::convertSQLiteStatusToAdapterStatus(int code) const {
    constexpr int outOfResources = 2;
    constexpr int diskError = 3;
    switch (code) {
        case SQLITE_OK:
            return 0;
        case SQLITE_NOMEM:
        // Reported as lack of resources: kept on purpose, clients show one message for all of
        // these.
        case SQLITE_IOERR:
        case SQLITE_FULL:
            return outOfResources;
        case SQLITE_CANTOPEN:
            return diskError;
        default:
            return 1;
    }
}

void DatabaseAdapter::removeDbFile() {
    if (m_type == SqliteAdapterType) {
        AdapterLock lock(*this);
        if (closeDatabase(
                "DatabaseAdapter::removeDbFile() : sqlite3_close() error occured: %s\n") ==
            SQLITE_OK) {
            DAS_LOG(5, "Successfully closed database connection\n");
        } else {
            GPALSleep::secSleep(SecondsAfterFailedClose);
        }
    }
    (void)std::remove(databasePath().c_str());    // a file that does not exist counts as removed
    // The file must not reappear after a power failure.
    (void)Storage::syncFolderOf(databasePath());
}

void DatabaseAdapter::callBeforeChange(std::function<void()> call) {
    AdapterLock lock(*this);
    m_changeNotice->callBefore = std::move(call);
}
