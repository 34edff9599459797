// Finds out for listeners to changes when this connection committed rows, and when another process
// did.

#include <sqlite3.h>

#include "database/AdapterGuards.h"
#include "database/ChangeScope.h"
#include "database/DatabaseAdapter.h"

namespace {

constexpr const char* DataVersionQuery = "PRAGMA data_version;";
constexpr const char* DropStatement = "DROP TABLE ";
constexpr int NeverSeen = -1;  // SQLite's own values begin at 1
// In milliseconds; the wait that is set when the database is opened.
constexpr int UsualWait = 5000;

/// Whether a failure shows a fault of the file, and not only a state that passes.
bool isAboutFile(int code) {
    switch (code & 0xff) {
        case SQLITE_BUSY:
        case SQLITE_LOCKED:
        case SQLITE_INTERRUPT:
        case SQLITE_NOMEM:
            return false;
        default:
            return true;
    }
}

/// Within a scope, statements of a connection do not wait for other processes.
class NoWait {
public:
    explicit NoWait(sqlite3* db) : m_db(db) { (void)sqlite3_busy_timeout(m_db, 0); }
    ~NoWait() { (void)sqlite3_busy_timeout(m_db, UsualWait); }
    NoWait(const NoWait&) = delete;
    NoWait& operator=(const NoWait&) = delete;

private:
    sqlite3* const m_db;
};

}  // namespace

int DatabaseAdapter::changes() const {
    // SQLite counts the rows of a deletion without conditions, but not those of a dropped table.
    sqlite3* const db = connection();
    return (db != nullptr ? sqlite3_total_changes(db) : 0) + m_droppedTables;
}

void DatabaseAdapter::beginWatched(ChangeScope& scope) {
    if (connection() != nullptr && !isInTransaction()) {
        if (stateOfPages() != m_stateOfPages) {
            (void)compareDataVersion(scope.listeners());
        }
        m_changesBefore = changes();
        scope.begin(*this);
    }
}

void DatabaseAdapter::endWatched(ChangeScope& scope, const std::string& sql) {
    m_droppedTables += sql.rfind(DropStatement, 0) == 0 ? 1 : 0;
    if (isInTransaction()) {
        return;
    }
    const bool hasCommitted = changes() != m_changesBefore;
    const unsigned ownState = m_stateOfPages + (hasCommitted ? 1U : 0U);
    if (stateOfPages() == ownState) {
        m_stateOfPages = ownState;
    } else {
        // A committed request is answered without waiting for another process. If the file can't be
        // read now, the next call reports a change once more, so none is lost.
        const NoWait noWait(connection());
        if (!compareDataVersion(scope.listeners()) && hasCommitted) {
            scope.listeners().notify({});
        }
    }
    if (hasCommitted) {
        scope.committed(*this);
    }
}

unsigned DatabaseAdapter::stateOfPages() const {
    unsigned version = 0;
    (void)sqlite3_file_control(connection(), "main", SQLITE_FCNTL_DATA_VERSION, &version);
    return version;
}

bool DatabaseAdapter::hasFileMoved() const {
    int hasMoved = 0;
    return sqlite3_file_control(connection(), "main", SQLITE_FCNTL_HAS_MOVED, &hasMoved) ==
               SQLITE_OK &&
           hasMoved != 0;
}

bool DatabaseAdapter::compareDataVersion(ChangeListeners& listeners) {
    int code = SQLITE_OK;
    if (m_dataVersionQuery == nullptr) {
        code = sqlite3_prepare_v2(connection(), DataVersionQuery, -1, &m_dataVersionQuery, nullptr);
    }
    if (code == SQLITE_OK) {
        code = sqlite3_step(m_dataVersionQuery);
    }
    const int version = code == SQLITE_ROW ? sqlite3_column_int(m_dataVersionQuery, 0) : 0;
    (void)sqlite3_reset(m_dataVersionQuery);
    if (code != SQLITE_ROW && !isAboutFile(code)) {
        return false;
    }
    const bool wasStrange = m_isFileStrange;
    m_isFileStrange = code != SQLITE_ROW || hasFileMoved();
    const bool isOfOthers = code == SQLITE_ROW && m_dataVersion && *m_dataVersion != version;
    if (code == SQLITE_ROW) {
        m_dataVersion = version;
        m_stateOfPages = stateOfPages();
    }
    if (isOfOthers || (m_isFileStrange && !wasStrange)) {
        listeners.notify({});
    }
    return true;
}

bool DatabaseAdapter::lookForOthers(ChangeListeners& listeners) {
    if (pthread_mutex_trylock(&m_mutex) != 0) {
        return false;
    }
    noteLocked();
    bool isDone = true;
    // During a transaction of this thread no other process can commit.
    if (connection() != nullptr && !isInTransaction()) {
        const NoWait noWait(connection());
        isDone = compareDataVersion(listeners);
        if (!isDone && !m_dataVersion) {
            // The first look has failed, so the next one reports a change.
            m_dataVersion = NeverSeen;
        }
    }
    give_sema4();
    return isDone;
}
