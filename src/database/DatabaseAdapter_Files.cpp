// The files of the database: where they are, and whole copies of them.

#include <fcntl.h>
#include <sqlite3.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <cstring>

#include "OwnFiles.h"
#include "Work.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "Log.h"

namespace {

/// In steps of SQLite's virtual machine; this many take some tens of microseconds.
constexpr int StepsBetweenLooks = 10000;
constexpr int PagesBetweenLooks = 4096;
constexpr int MostLinks = 40;  // the same limit as in the kernel

std::string namedPath() {
    const char* directory = std::getenv("DB_PATH");
    return directory != nullptr ? std::string(directory) + "/phone.db" : "phone.db";
}

/// A separate connection for a scope.
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

std::string DatabaseAdapter::databasePath() {
    std::string path = namedPath();
    char target[PATH_MAX];
    ssize_t length = 0;
    for (int links = 0; links < MostLinks && length >= 0; ++links) {
        length = ::readlink(path.c_str(), target, sizeof(target));
        if (length > 0) {
            // 0 if there is no slash.
            const auto folder = target[0] == '/' ? 0 : path.rfind('/') + 1;
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

/// SQLite would create the file readable for all users. The journal gets the permissions of the
/// file.
void DatabaseAdapter::makeMissingFileForOwnerAlone(const std::string& path) {
    const int file = ::open(path.c_str(), O_CREAT | O_EXCL | O_RDWR | O_CLOEXEC, 0600);
    if (file >= 0) {
        ::close(file);
    }
}

void DatabaseAdapter::endWhenInterrupted(sqlite3* db) {
    const auto isInterrupted = [](void*) { return Work::isInterrupted() ? 1 : 0; };
    sqlite3_progress_handler(db, StepsBetweenLooks, isInterrupted, nullptr);
}

bool DatabaseAdapter::copyDatabase(const std::string& path) {
    Connection from(databasePath(), SQLITE_OPEN_READONLY);
    Connection to(path, SQLITE_OPEN_READWRITE);
    if (!from.isOpen() || !to.isOpen()) {
        DAS_LOG(2, "copyDatabase() sqlite3_open() error occured: %s",
                sqlite3_errmsg((from.isOpen() ? to : from).handle()));
        return false;
    }
    // The copy is used only if it is complete, so a journal of its own would only take space.
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
    endWhenInterrupted(file.handle());
    bool sound = false;
    const auto look = [](void* out, int, char** cells, char**) {
        *static_cast<bool*>(out) = cells[0] != nullptr && std::strcmp(cells[0], "ok") == 0;
        return 0;
    };
    return sqlite3_exec(file.handle(), "PRAGMA quick_check(1);", look, &sound, nullptr) ==
               SQLITE_OK &&
           sound;
}

bool DatabaseAdapter::isReadOnly() {
    const AdapterLock lock(*this);
    return connection() != nullptr && sqlite3_db_readonly(connection(), "main") == 1;
}
