#include "DatabaseAdapter.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "AdapterGuards.h"
#include "GPALSleep.h"
#include "Logging.h"
#include "Statement.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DatabaseAdapter";

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

// Two processes on one database are ordinary; without a wait each commit of one fails the other.
constexpr const char* WaitForOtherProcesses = "PRAGMA busy_timeout=5000;";

std::string databasePath() {
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

}  // namespace

std::atomic<bool> DatabaseAdapter::m_isRequestContentShowableOnTheAurelTrace{true};

int sqliteCallBackForRows(void* flag, int, char**, char**) {
    if (flag != nullptr) {
        *static_cast<unsigned char*>(flag) = 1;
    }
    return 0;
}

DatabaseAdapter::DatabaseAdapter() : m_type(SqliteAdapterType) {
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
    AdapterLock lock(*this);
    openDatabase();
}

void DatabaseAdapter::openDatabase() {
    const std::string path = databasePath();
    makeMissingFileForOwnerAlone(path);
    if (sqlite3_open(path.c_str(), &m_db) != SQLITE_OK) {
        DAS_LOG(3, "DatabaseAdapter( ): sqlite3_open() error occured: %s\n", errorText());
        closeDatabase("DatabaseAdapter( ): sqlite3_close() error occured: %s\n");
        return;
    }
    (void)actualSQLiteCommandExecution(WaitForOtherProcesses, nullptr, nullptr);
}

int DatabaseAdapter::closeDatabase(const char* failureFormat) {
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
}

void DatabaseAdapter::give_sema4() {
    const int result = pthread_mutex_unlock(&m_mutex);
    if (result != 0) {
        DAS_LOG(3, "Error calling pthread_mutex_unlock: %d\n", result);
    }
}

int DatabaseAdapter::executeNonQuery(const std::string& sql) {
    AdapterLock lock(*this);
    return actualSQLiteCommandExecution(sql, nullptr, nullptr);
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
    const int code = m_db != nullptr
                         ? sqlite3_exec(m_db, sql.c_str(), callback, argument, &m_lastError)
                         : SQLITE_MISUSE;
    if (m_lastError != nullptr) {
        DAS_LOG(3, "SQLite: ERROR '%s' handling request '%s'", m_lastError, sql.c_str());
    }
    return code;
}

int DatabaseAdapter::beginTransaction() {
    take_sema4();
    return executeNonQuery("BEGIN TRANSACTION;");
}

int DatabaseAdapter::beginWriteTransaction() {
    take_sema4();
    return executeNonQuery("BEGIN IMMEDIATE TRANSACTION;");
}

int DatabaseAdapter::endTransaction() {
    const int code = executeNonQuery("END TRANSACTION;");
    if (code != SQLITE_OK && m_db != nullptr && sqlite3_get_autocommit(m_db) == 0) {
        // A commit that meets a reader stays open: what comes next would be told as done and not
        // be on the disk, and no other process could read.
        (void)executeNonQuery("ROLLBACK TRANSACTION;");
    }
    give_sema4();
    return code;
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

const char* DatabaseAdapter::errorText() const {
    return m_db != nullptr ? sqlite3_errmsg(m_db) : "no open database";
}

void DatabaseAdapter::logStatementError(const std::string& sql) const {
    DAS_LOG(3, "SQLite: ERROR '%s' handling request '%s'", errorText(), sql.c_str());
}

void DatabaseAdapter::logFailedStep(Statement& statement, int code, const std::string& sql) const {
    const bool isFailure = code != SQLITE_ROW && code != SQLITE_DONE;
    if (isFailure && statement.isPrepared() && !statement.isEmpty()) {
        (void)statement.reset();  // brings the words of the failed step
        logStatementError(sql);
    }
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
    (void)std::remove(databasePath().c_str());  // a file that is not there is as good as removed
}

std::string DatabaseAdapter::countStatement(const std::string& table, PairList& andList) {
    std::string sql = "SELECT COUNT(*) FROM " + table;
    sql += concatWhereCondition(andList);
    DAS_LOG(6, "%s", sql.c_str());
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
    Statement statement(m_db, sql);
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

void DatabaseAdapter::setWhetherRequestContentShowableOnTheAurelTrace(bool showable) {
    m_isRequestContentShowableOnTheAurelTrace = showable;
}

bool DatabaseAdapter::getWhetherRequestContentShowableOnTheAurelTrace() {
    return m_isRequestContentShowableOnTheAurelTrace;
}
