// The file is opened by a URI, since only a URI can forbid all writing. If it were opened in the
// usual way, SQLite would roll a remaining journal back into the file that is to be examined.
// SQLite refuses to read such a file without the rollback, so that is done in a copy.

#include "framework/DatabaseFile.h"

#include <fcntl.h>
#include <sqlite3.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdlib>
#include <system_error>
#include <thread>
#include <utility>

#include "framework/PrivateFolder.h"
#include "framework/ServiceFiles.h"
#include "terminal/Descriptor.h"

namespace {

constexpr std::chrono::milliseconds Patience(5000);
const char* const TablesSql = "SELECT count(*) FROM sqlite_master";

/// The lock that SQLite takes for a reader. No process can roll a journal back, nor change the
/// file, as long as the object lives.
class ReaderLock {
public:
    explicit ReaderLock(const std::string& path)
        : m_file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK)) {
        const auto end = std::chrono::steady_clock::now() + Patience;
        constexpr std::chrono::milliseconds pause(20);
        while (!isTaken() && isHeldByOther() && std::chrono::steady_clock::now() < end) {
            std::this_thread::sleep_for(pause);
        }
    }

    int error() const { return m_error; }
    bool isHeldByOther() const { return m_error == EAGAIN || m_error == EACCES; }

private:
    bool isTaken() {
        // The bytes that SQLite's file format sets aside for readers. A lock of the descriptor:
        // the usual kind would be lost as soon as the copy closes its own.
        struct flock bytes {};
        bytes.l_type = F_RDLCK;
        bytes.l_whence = SEEK_SET;
        bytes.l_start = 0x40000002;
        bytes.l_len = 510;
        const bool isDone = m_file.isOpen() && fcntl(m_file.number(), F_OFD_SETLK, &bytes) == 0;
        m_error = isDone ? 0 : errno;
        return isDone;
    }

    const Descriptor m_file;
    int m_error = 0;
};

/// Escapes the characters of a file name that a URI can't contain.
std::string inUri(const std::string& path) {
    std::string text;
    for (const char character : path) {
        const char* const digits = "0123456789ABCDEF";
        const auto byte = static_cast<unsigned char>(character);
        const bool isPlain = character != '%' && character != '?' && character != '#';
        text += isPlain ? std::string(1, character)
                        : std::string("%") + digits[byte >> 4] + digits[byte & 0xf];
    }
    return text;
}

/// By the header of the file: two bytes, at this place, say how it is read and written.
bool isInWalMode(const std::string& path) {
    constexpr off_t place = 18;
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    char version[2] = {};
    return file.isOpen() && ::pread(file.number(), version, sizeof version, place) == 2 &&
           version[0] == 2 && version[1] == 2;
}

}  // namespace

DatabaseFile::DatabaseFile() = default;

DatabaseFile::~DatabaseFile() {
    close();
}

std::string DatabaseFile::pathOfService() {
    const char* const place = std::getenv("DB_PATH");
    return place == nullptr ? "phone.db" : std::string(place) + "/phone.db";
}

bool DatabaseFile::open(const std::string& named) {
    const std::string path = ServiceFiles::targetOf(named);
    const auto isThere = [&](const char* ending) { return ServiceFiles::isThere(path + ending); };
    struct stat status {};
    if (stat(path.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
        m_error = "is no file";  // SQLite would wait for a writer if this were a pipe
        return false;
    }
    // SQLite makes files next to a database in WAL mode, also to read it.
    if (isInWalMode(path) && !isThere("-shm")) {
        return isThere("-wal") ? openCopy(path)
                               : tryOpen(path, "?immutable=1", SQLITE_OPEN_READONLY);
    }
    if (tryOpen(path, "?mode=ro", SQLITE_OPEN_READONLY)) {
        return true;
    }
    const bool isRefused = m_code == SQLITE_READONLY || m_code == SQLITE_CANTOPEN;
    return isRefused && (isThere("-journal") || isThere("-wal")) && openCopy(path);
}

bool DatabaseFile::tryOpen(const std::string& path, const char* options, int flags) {
    close();
    const std::string uri = "file:" + inUri(path) + options;
    const int result = sqlite3_open_v2(uri.c_str(), &m_database, flags | SQLITE_OPEN_URI, nullptr);
    if (result != SQLITE_OK) {
        return fail(result, sqlite3_errstr(result));
    }
    sqlite3_busy_timeout(m_database, static_cast<int>(Patience.count()));
    Rows rows;
    if (!query(TablesSql, rows)) {
        return false;
    }
    m_error.clear();  // of an attempt before this one
    m_code = SQLITE_OK;
    return true;
}

bool DatabaseFile::openCopy(const std::string& path) {
    close();
    m_copy = std::make_unique<PrivateFolder>("das-database-");
    const std::string copy = m_copy->part(ServiceFiles::Database);
    const ReaderLock lock(path);
    if (lock.isHeldByOther()) {
        return fail(SQLITE_BUSY, sqlite3_errstr(SQLITE_BUSY));
    }
    int error = m_copy->error() != 0 ? m_copy->error() : lock.error();
    for (const char* const ending : {"", "-journal", "-wal"}) {
        if (error == 0 && ServiceFiles::isThere(path + ending)) {
            error = ServiceFiles::copy(path + ending, copy + ending);
        }
    }
    if (error != 0) {
        return fail(SQLITE_CANTOPEN, "its journal needs a copy of it, which can't be made: " +
                                         std::generic_category().message(error));
    }
    return tryOpen(copy, "?mode=rw", SQLITE_OPEN_READWRITE);
}

void DatabaseFile::close() {
    sqlite3_close(m_database);
    m_database = nullptr;
}

bool DatabaseFile::fail(int code, const std::string& words) {
    m_code = code & 0xff;  // without SQLite's detail
    m_isBusy = m_isBusy || m_code == SQLITE_BUSY;
    m_error = words;
    return false;
}

std::string DatabaseFile::advice() const {
    switch (m_code) {
        case SQLITE_BUSY:
            return "another process is changing it: try again when that has ended";
        case SQLITE_CANTOPEN:
        case SQLITE_READONLY:
            return "see to the rights of the file and of its folder, and to the space in TMPDIR";
        default:
            return {};
    }
}

bool DatabaseFile::copyTo(const std::string& path) {
    sqlite3* target = nullptr;
    int result = sqlite3_open_v2(path.c_str(), &target, SQLITE_OPEN_READWRITE, nullptr);
    // All pages in one step: a copy in parts would start again at each commit of a host.
    sqlite3_backup* const backup =
        result == SQLITE_OK ? sqlite3_backup_init(target, "main", m_database, "main") : nullptr;
    if (backup != nullptr) {
        (void)sqlite3_backup_step(backup, -1);
        result = sqlite3_backup_finish(backup);
    } else {
        result = sqlite3_errcode(target);
    }
    if (result != SQLITE_OK) {
        (void)fail(result, sqlite3_errstr(result));
    }
    const int closed = sqlite3_close(target);
    return result == SQLITE_OK && closed == SQLITE_OK;
}

bool DatabaseFile::query(const std::string& sql, Rows& rows) {
    std::vector<Cells> found;
    const bool isDone = query(sql, found);
    for (Cells& cells : found) {
        std::vector<std::string> row;
        for (auto& cell : cells) {
            row.push_back(std::move(cell).value_or(""));
        }
        rows.push_back(std::move(row));
    }
    return isDone;
}

bool DatabaseFile::query(const std::string& sql, std::vector<Cells>& rows) {
    sqlite3_stmt* prepared = nullptr;
    int result = sqlite3_prepare_v2(m_database, sql.c_str(), -1, &prepared, nullptr);
    const std::unique_ptr<sqlite3_stmt, int (*)(sqlite3_stmt*)> statement(prepared,
                                                                          sqlite3_finalize);
    while (result == SQLITE_OK && (result = sqlite3_step(prepared)) == SQLITE_ROW) {
        Cells row;
        for (int i = 0; i < sqlite3_column_count(prepared); ++i) {
            const auto* const text =
                reinterpret_cast<const char*>(sqlite3_column_text(prepared, i));
            row.emplace_back();
            if (text != nullptr) {
                row.back().emplace(text,
                                   static_cast<std::size_t>(sqlite3_column_bytes(prepared, i)));
            }
        }
        rows.push_back(std::move(row));
        result = SQLITE_OK;
    }
    return result == SQLITE_DONE || fail(result, sqlite3_errmsg(m_database));
}
