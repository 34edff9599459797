#include "database/DatabaseAdapter.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>

#include "GPALSleep.h"
#include "Log.h"
#include "OwnFiles.h"
#include "Progress.h"
#include "Storage.h"
#include "Tally.h"
#include "Work.h"
#include "database/AdapterGuards.h"
#include "database/ChangeNotice.h"
#include "database/ChangeScope.h"
#include "database/Statement.h"

namespace {

constexpr int AdapterSuccess = 0;
constexpr int AdapterFailure = 1;
constexpr int AdapterOutOfResources = 2;
constexpr int AdapterDiskError = 3;

/// By raw SQLite code. An I/O error and a full disk count as lack of resources: kept on purpose,
/// clients show one text for all three.
constexpr int AdapterStatus[] = {
    AdapterSuccess,         // SQLITE_OK
    AdapterFailure,         // SQLITE_ERROR
    AdapterFailure,         // SQLITE_INTERNAL
    AdapterFailure,         // SQLITE_PERM
    AdapterFailure,         // SQLITE_ABORT
    AdapterFailure,         // SQLITE_BUSY
    AdapterFailure,         // SQLITE_LOCKED
    AdapterOutOfResources,  // SQLITE_NOMEM
    AdapterFailure,         // SQLITE_READONLY
    AdapterFailure,         // SQLITE_INTERRUPT
    AdapterOutOfResources,  // SQLITE_IOERR
    AdapterFailure,         // SQLITE_CORRUPT
    AdapterFailure,         // SQLITE_NOTFOUND
    AdapterOutOfResources,  // SQLITE_FULL
    AdapterDiskError,       // SQLITE_CANTOPEN
};

constexpr unsigned SecondsAfterFailedClose = 5;
constexpr int PagesBetweenLooks = 4096;

// Two processes on one database are ordinary; without a wait each commit of one fails the other.
constexpr const char* WaitForOtherProcesses = "PRAGMA busy_timeout=5000;";
/// Steps of SQLite's machine, some tens of microseconds.
constexpr int StepsBetweenLooks = 10000;
constexpr const char* UsualJournal = "PRAGMA journal_mode=DELETE;";

// Made once: where memory is short, a transaction must still begin and end.
const std::string BeginStatement = "BEGIN TRANSACTION;";
const std::string BeginWriteStatement = "BEGIN IMMEDIATE TRANSACTION;";
const std::string EndStatement = "END TRANSACTION;";
const std::string RollBackStatement = "ROLLBACK TRANSACTION;";

constexpr int MostLinks = 40;  // as the kernel

std::string namedPath() {
    const char* directory = std::getenv("DB_PATH");
    return directory != nullptr ? std::string(directory) + "/phone.db" : "phone.db";
}

/// SQLite would make the file readable for all; its journal takes the rights of the file.
void makeMissingFileForOwnerAlone(const std::string& path) {
    const int file = ::open(path.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
    if (file >= 0) {
        ::close(file);
    }
}

/// Whether another program has set the file to take changes by way of a log beside it (WAL): a
/// reset would leave that second file, and no journal would tell that a change begins. Read through
/// SQLite's own descriptor, since closing another would end the locks of the process.
bool hasWriteAheadLog(sqlite3* db) {
    constexpr sqlite3_int64 placeOfForm = 18;
    constexpr char writeAhead = 2;
    char form = 0;
    sqlite3_file* file = nullptr;
    return sqlite3_file_control(db, "main", SQLITE_FCNTL_FILE_POINTER, &file) == SQLITE_OK &&
           file->pMethods != nullptr &&
           file->pMethods->xRead(file, &form, 1, placeOfForm) == SQLITE_OK && form == writeAhead;
}

/// A connection of its own for a scope.
class Connection {
public:
    Connection(const std::string& path, int flags)
        : m_isOpen(sqlite3_open_v2(path.c_str(), &m_db, flags, nullptr) == SQLITE_OK) {}
    ~Connection() { (void)sqlite3_close(m_db); }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;

    [[nodiscard]] bool isOpen() const { return m_isOpen; }
    [[nodiscard]] sqlite3* handle() const { return m_db; }

private:
    sqlite3* m_db = nullptr;
    bool m_isOpen;
};

}  // namespace

int sqliteCallBackForRows(void* flag, int, char**, char**) {
    if (flag != nullptr) {
        *static_cast<unsigned char*>(flag) = 1;
    }
    return 0;
}

std::string DatabaseAdapter::databasePath() {
    std::string path = namedPath();
    char target[PATH_MAX];
    ssize_t length = 0;
    for (int links = 0; links < MostLinks && length >= 0; ++links) {
        length = ::readlink(path.c_str(), target, sizeof(target));
        if (length > 0) {
            const auto folder = target[0] == '/' ? 0 : path.rfind('/') + 1;  // 0 without one
            path.replace(folder, std::string::npos, target, static_cast<std::size_t>(length));
        }
    }
    return path;
}

void DatabaseAdapter::claimFiles() {
    const std::string path = databasePath();
    OwnFiles::add(namedPath());
    for (const char* suffix : {"", "-journal", "-wal", "-shm"}) {
        OwnFiles::claim(path + suffix);
    }
}

DatabaseAdapter::DatabaseAdapter() : DatabaseAdapter(SqliteAdapterType) {
    // The object is made by now: an exception from here on still closes the connection.
    AdapterLock lock(*this);
    openDatabase();
}

DatabaseAdapter& DatabaseAdapter::none() {
    // Never destroyed: what outlives the end of the process may still hold it.
    static DatabaseAdapter* const adapter = new DatabaseAdapter(SqliteAdapterType);
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
    // The adapter's lock protects the connection, so SQLite needs no mutex of its own for it.
    if (sqlite3_open_v2(path.c_str(), &m_db,
                        SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX,
                        m_changeNotice->name()) != SQLITE_OK) {
        DAS_LOG(3, "DatabaseAdapter( ): sqlite3_open() error occured: %s\n", errorText());
        closeDatabase("DatabaseAdapter( ): sqlite3_close() error occured: %s\n");
        return;
    }
    (void)actualSQLiteCommandExecution(WaitForOtherProcesses, nullptr, nullptr);
    const auto isInterrupted = [](void*) { return Work::isInterrupted() ? 1 : 0; };
    sqlite3_progress_handler(m_db, StepsBetweenLooks, isInterrupted, nullptr);
    if (hasWriteAheadLog(m_db)) {
        (void)actualSQLiteCommandExecution(UsualJournal, nullptr, nullptr);
        DAS_LOG(2, "The database %s was in WAL mode, which %s", path.c_str(),
                hasWriteAheadLog(m_db) ? "another program keeps: an upgrade has no copy" : "ends");
    }
    // An interrupted batch must not be committed without the rows that are missing.
    const auto isHeld = [](void* adapter) {
        const bool held = static_cast<DatabaseAdapter*>(adapter)->m_isCommitHeld;
        const bool isRefused = held || Work::isInterrupted();
        if (!isRefused) {
            Tally::add(Tally::Commits);
        }
        return isRefused ? 1 : 0;
    };
    (void)sqlite3_commit_hook(m_db, isHeld, this);
}

int DatabaseAdapter::closeDatabase(const char* failureFormat) {
    m_statements.clear();
    sqlite3_finalize(m_dataVersionQuery);
    m_dataVersionQuery = nullptr;
    const int code = sqlite3_close(m_db);
    if (code == SQLITE_OK) {
        m_db = nullptr;
    } else {
        DAS_LOG(3, failureFormat, errorText());
    }
    return code;
}

int DatabaseAdapter::getAdapterType() {
    return m_type;
}

void DatabaseAdapter::take_sema4() {
    const int result = pthread_mutex_lock(&m_mutex);
    if (result != 0) {
        DAS_LOG(3, "Error calling pthread_mutex_lock: %d\n", result);
    }
    if (m_isLeftOpen) {
        takeBackWhatIsLeftOpen();
    }
}

void DatabaseAdapter::give_sema4() {
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
    if (m_lastError != nullptr) {
        freeError();
    }
    if (m_db == nullptr) {
        m_lastError = sqlite3_mprintf("%s", errorText());
    }
    const int code = m_db == nullptr       ? SQLITE_MISUSE
                     : callback == nullptr ? runWithoutRows(sql)
                                           : execute(sql, callback, argument);
    Progress::beat();
    if (m_lastError != nullptr) {
        tellFailure(m_lastError, sql);
    }
    return code;
}

int DatabaseAdapter::runWithoutRows(const std::string& sql) {
    Statement statement(m_statements, m_db, sql, Statement::Unless::Kept);
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
    const int code = sqlite3_exec(m_db, sql.c_str(), callback, argument, &m_lastError);
    if (sql != BeginStatement && sql != BeginWriteStatement && sql != EndStatement) {
        m_statements.clear();  // the text may have changed tables
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
        // A commit that meets a reader stays open: what comes next would be told as done and not
        // be on the disk, and no other process could read.
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
    return m_db != nullptr && sqlite3_get_autocommit(m_db) == 0;
}

int DatabaseAdapter::executeWithoutRaising(const std::string& sql) noexcept {
    try {
        return executeNonQuery(sql);
    } catch (const std::exception&) {
        return SQLITE_NOMEM;  // it failed, and there was no memory for the words of the log
    }
}

void DatabaseAdapter::takeBackWhatIsLeftOpen() noexcept {
    // Not by way of the lock, which brought us here.
    if (isInTransaction()) {
        (void)sqlite3_exec(m_db, RollBackStatement.c_str(), nullptr, nullptr, nullptr);
        m_statements.clear();
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
    constexpr int known = static_cast<int>(sizeof(AdapterStatus) / sizeof(AdapterStatus[0]));
    return code >= 0 && code < known ? AdapterStatus[code] : AdapterFailure;
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
    (void)std::remove(databasePath().c_str());    // a file that is not there is as good as removed
    (void)Storage::syncFolderOf(databasePath());  // it must not be there again after a power cut
}

void DatabaseAdapter::callBeforeChange(std::function<void()> call) {
    AdapterLock lock(*this);
    m_changeNotice->callBefore = std::move(call);
}

bool DatabaseAdapter::copyDatabase(const std::string& path) {
    Connection from(databasePath(), SQLITE_OPEN_READONLY);
    Connection to(path, SQLITE_OPEN_READWRITE);
    if (!from.isOpen() || !to.isOpen()) {
        DAS_LOG(2, "copyDatabase() sqlite3_open() error occured: %s",
                sqlite3_errmsg((from.isOpen() ? to : from).handle()));
        return false;
    }
    // The file counts when it is whole alone: a journal of its own would only take room.
    (void)sqlite3_exec(to.handle(), "PRAGMA journal_mode=OFF;", nullptr, nullptr, nullptr);
    sqlite3_backup* backup = sqlite3_backup_init(to.handle(), "main", from.handle(), "main");
    int code = backup != nullptr ? SQLITE_OK : SQLITE_ERROR;
    while (code == SQLITE_OK && !Work::isInterrupted()) {
        code = sqlite3_backup_step(backup, PagesBetweenLooks);
    }
    if (sqlite3_backup_finish(backup) != SQLITE_OK || code != SQLITE_DONE) {
        DAS_LOG(2, "copyDatabase() error occured: %s", sqlite3_errmsg(to.handle()));
        return false;
    }
    return true;
}

bool DatabaseAdapter::isSound(const std::string& path) {
    const Connection file(path, SQLITE_OPEN_READWRITE);
    const auto isInterrupted = [](void*) { return Work::isInterrupted() ? 1 : 0; };
    sqlite3_progress_handler(file.handle(), StepsBetweenLooks, isInterrupted, nullptr);
    bool sound = false;
    const auto look = [](void* out, int, char** cells, char**) {
        *static_cast<bool*>(out) = cells[0] != nullptr && std::strcmp(cells[0], "ok") == 0;
        return 0;
    };
    return sqlite3_exec(file.handle(), "PRAGMA quick_check(1);", look, &sound, nullptr) ==
               SQLITE_OK &&
           sound;
}

std::string DatabaseAdapter::countStatement(const std::string& table, PairList& andList) {
    std::string sql = "SELECT COUNT(*) FROM " + table;
    sql += concatWhereCondition(andList);
    DAS_LOG(6, "%s", forLog(sql).c_str());
    return sql;
}

int DatabaseAdapter::getRowCount(std::string table, PairList& andList, std::string& count) {
    return getRowCount(countStatement(table, andList), count);
}

int DatabaseAdapter::getRowCount(const std::string& sql, std::string& count) {
    // Success in every case, kept on purpose: a table that is missing counts as empty and is made.
    (void)readRowCount(sql, count);
    return 0;
}

int DatabaseAdapter::countRows(const std::string& table, PairList& andList, std::string& count) {
    return readRowCount(countStatement(table, andList), count) ? 0 : 1;
}

bool DatabaseAdapter::isKnownToBeEmpty(const std::string& table) {
    PairList all;
    std::string count;
    return countRows(table, all, count) == 0 && count == "0";
}

bool DatabaseAdapter::readRowCount(const std::string& sql, std::string& count) {
    count = "0";
    AdapterLock lock(*this);
    Statement statement(m_statements, m_db, sql);
    if (!statement.isPrepared()) {
        logStatementError(sql);
    }
    const int code = statement.step();
    if (code != SQLITE_ROW) {
        logFailedStep(statement, code, sql);
        return false;
    }
    if (!statement.isNull(0)) {
        count = statement.text(0);
        DAS_LOG(6, "row count:%s", count.c_str());
    }
    return true;
}
