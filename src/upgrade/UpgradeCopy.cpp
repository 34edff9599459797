// Under its name the copy is either complete or missing. It is written under another name, synced
// and renamed, and then its folder is synced, all before the first change of the database. Each
// later step relies on that order.

#include "upgrade/UpgradeCopy.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>

#include "Log.h"
#include "OwnFiles.h"
#include "Storage.h"
#include "Tally.h"
#include "Work.h"
#include "database/DatabaseAdapter.h"

namespace {

constexpr std::chrono::seconds Patience{30};
constexpr int MillisecondsBetweenTries = 10;
constexpr mode_t RightsOfOwner = 0600;

std::string copyPath() {
    return DatabaseAdapter::databasePath() + ".before-upgrade";
}

/// A copy that is still being written; it is never restored.
std::string partPath() {
    return copyPath() + ".part";
}

/// Where the used list of values is set aside; a path of the telephone.
std::string usedFile() {
    return std::string(UpgradeCopy::UpdateValuesFile) + ".used";
}

std::string folderPath() {
    const std::string path = DatabaseAdapter::databasePath();
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? "." : path.substr(0, slash + 1);
}

int openFolder() {
    return ::open(folderPath().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
}

bool hasContents(const std::string& path) {
    struct stat status {};
    return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0;
}

bool succeeded(int result, const char* operation, const std::string& path) {
    if (result != 0) {
        DAS_LOG(2, "%s of '%s' failed with error [%s]", operation, path.c_str(),
                std::strerror(errno));
    }
    return result == 0;
}

/// Removes the file. Returns whether there is no such file any more.
bool removed(const std::string& path) {
    // A read-only file system refuses to remove even a missing file.
    const bool isGone = ::unlink(path.c_str()) == 0 || errno == ENOENT ||
                        (errno == EROFS && ::access(path.c_str(), F_OK) != 0);
    return succeeded(isGone ? 0 : -1, "removal", path);
}

void removeUsed() {
    const int error = Storage::removeFile(usedFile());
    errno = error;
    (void)succeeded(error == 0 || error == ENOENT ? 0 : -1, "removal", usedFile());
}

bool synced(int file, const std::string& path) {
    const bool done = succeeded(file >= 0 ? ::fsync(file) : -1, "sync", path);
    if (file >= 0) {
        ::close(file);
    }
    return done;
}

/// New and removed names in the folder must be on the disk before the next step.
bool folderSynced() {
    return succeeded(Storage::syncFolderOf(DatabaseAdapter::databasePath()) ? 0 : -1, "sync",
                     folderPath());
}

/// Gives @p to the owner and the permissions of the file @p from, so that the programs that could
/// open the one can open the other.
void handOverRights(const struct stat& from, const std::string& to) {
    struct stat now {};
    // No call is made if nothing changes: a hardened service may not be allowed to change owners at
    // all.
    const bool isOwned =
        ::stat(to.c_str(), &now) == 0 && now.st_uid == from.st_uid && now.st_gid == from.st_gid;
    if (isOwned || succeeded(::chown(to.c_str(), from.st_uid, from.st_gid), "chown", to)) {
        (void)succeeded(::chmod(to.c_str(), from.st_mode & 07777U), "chmod", to);
    }
}

bool madeForOwnerAlone(const std::string& path) {
    const int file = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, RightsOfOwner);
    const bool made = succeeded(file >= 0 ? ::fchmod(file, RightsOfOwner) : -1, "making", path);
    if (file >= 0) {
        ::close(file);
    }
    return made;
}

/// Makes the copy. Under its final name it is complete and on the disk, or it does not exist.
bool madeCopy() {
    const std::string part = partPath();
    return removed(part) && madeForOwnerAlone(part) && DatabaseAdapter::copyDatabase(part) &&
           synced(::open(part.c_str(), O_RDWR | O_CLOEXEC), part) &&
           succeeded(std::rename(part.c_str(), copyPath().c_str()), "renaming", part) &&
           folderSynced();
}

}  // namespace

UpgradeCopy::~UpgradeCopy() {
    if (m_folder >= 0) {
        ::close(m_folder);
    }
}

bool UpgradeCopy::lock(int operation) const {
    return ::flock(m_folder, operation | LOCK_NB) == 0;
}

/// Whether this process has the database for itself. If the lock is not free in time, the start
/// goes on without it and deletes the copy, so that a later restore cannot overwrite its changes.
bool UpgradeCopy::lockWithPatience() {
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (std::chrono::steady_clock::now() < end && !Work::isEnding()) {
        if (lock(LOCK_EX)) {
            return true;
        }
        if (errno != EWOULDBLOCK) {
            DAS_LOG(2, "No lock on '%s': [%s]", folderPath().c_str(), std::strerror(errno));
            return false;
        }
        // If a copy exists while others hold a shared lock, its start was interrupted just now. One
        // of the waiting starts gets the exclusive lock.
        if (lock(LOCK_SH)) {
            if (!hasContents(copyPath())) {
                return false;
            }
            (void)lock(LOCK_UN);
        }
        (void)::poll(nullptr, 0, MillisecondsBetweenTries);
    }
    if (Work::isEnding()) {
        return false;
    }
    DAS_LOG(2, "Another start holds the database for too long, this one goes on beside it");
    remove();
    return false;
}

void UpgradeCopy::begin() {
    DatabaseAdapter::claimFiles();
    OwnFiles::claim(copyPath());
    OwnFiles::claim(partPath());
    if (m_folder < 0) {
        m_folder = openFolder();
    }
    if (m_folder < 0 || !lockWithPatience()) {
        return;
    }
    putBack();
    // A copy that could not be restored is still the oldest state.
    m_isTried = hasContents(copyPath());
    m_isUnderWay = m_isTried || hasContents(DatabaseAdapter::databasePath());
}

/// A power failure after any of these steps leaves either the copy, or its complete content, under
/// the right name.
void UpgradeCopy::putBack() {
    const std::string copy = copyPath();
    const std::string database = DatabaseAdapter::databasePath();
    (void)removed(partPath());
    if (!hasContents(copy)) {
        remove();
        return;
    }
    struct stat before {};
    const bool wasThere = ::stat(database.c_str(), &before) == 0;
    if (Storage::exists(usedFile()) && !Storage::exists(UpdateValuesFile)) {
        const bool isRenamed = Storage::renameFile(usedFile(), UpdateValuesFile);
        (void)succeeded(isRenamed ? 0 : -1, "renaming", usedFile());
    }
    const bool isWorse = !DatabaseAdapter::isSound(copy) && hasContents(database) &&
                         DatabaseAdapter::isSound(database);
    if (Work::isInterrupted()) {
        return;  // the copy could not be read completely; the next start tries again
    }
    if (isWorse) {
        DAS_LOG(2, "The copy '%s' is damaged and is not put back", copy.c_str());
        remove();
        return;
    }
    // A journal must go before the file that it belongs to is replaced: SQLite would roll it back
    // into the restored copy.
    if (removed(database + "-journal") && removed(database + "-wal") && folderSynced() &&
        succeeded(std::rename(copy.c_str(), database.c_str()), "renaming", copy)) {
        if (wasThere) {
            handOverRights(before, database);
        }
        (void)folderSynced();
        removeUsed();
        DAS_LOG(2, "An upgrade was cut off: the database is as it was before");
    } else {
        DAS_LOG(2, "An upgrade was cut off and goes on from there");
    }
}

void UpgradeCopy::watch(DatabaseAdapter* adapter) {
    if (m_isUnderWay && adapter != nullptr) {
        adapter->callBeforeChange([this] { make(); });
    }
}

void UpgradeCopy::make() {
    if (!m_isUnderWay || m_isTried.exchange(true)) {
        return;
    }
    Tally::set(Tally::UpgradeChanges, 1);
    bool isMade = false;
    try {
        isMade = madeCopy();
    } catch (const std::exception& error) {
        DAS_LOG(2, "The copy of the database ended early: %s", error.what());
    }
    if (isMade) {
        DAS_LOG(5, "The database is kept as '%s' while it is upgraded", copyPath().c_str());
    } else {
        DAS_LOG(2, "The database is upgraded without a copy of what it was");
        remove();
    }
}

void UpgradeCopy::remove() {
    const std::string copy = copyPath();
    (void)removed(partPath());
    if (!removed(copy) && !succeeded(::truncate(copy.c_str(), 0), "emptying", copy)) {
        DAS_LOG(2, "The next start will put back '%s'", copy.c_str());
    }
    if (Storage::exists(usedFile())) {
        (void)folderSynced();  // if the copy exists again, it needs the list
        removeUsed();
    }
}

void UpgradeCopy::prepareForReset() {
    if (m_isUnderWay) {
        make();
    } else {
        remove();
    }
}

void UpgradeCopy::end() {
    if (m_isUnderWay && ::access(copyPath().c_str(), F_OK) == 0) {
        // The last journal must be gone from the disk before the copy is. Otherwise SQLite could
        // roll the database back by one step, and the result would be neither the old nor the new
        // state.
        (void)folderSynced();
        remove();
        (void)folderSynced();
        DAS_LOG(5, "The upgrade has ended, the copy of the database is removed");
    }
    m_isUnderWay = false;
    const auto end = std::chrono::steady_clock::now() + Patience;
    while (m_folder >= 0 && !Work::isEnding() && !lock(LOCK_SH) && errno == EWOULDBLOCK &&
           std::chrono::steady_clock::now() < end) {
        (void)::poll(nullptr, 0, MillisecondsBetweenTries);
    }
}

int UpgradeCopy::removeUsedFile() {
    const bool isGone = hasContents(copyPath()) ? Storage::renameFile(UpdateValuesFile, usedFile())
                                                : Storage::removeFile(UpdateValuesFile) == 0;
    return isGone ? 0 : -1;
}
