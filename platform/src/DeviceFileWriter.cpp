// A file is written under another name in the same folder and then renamed. So a reader, and the
// next start after a power failure, finds either the old file or the complete new one.

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <vector>

#include "DeviceFile.h"
#include "DevicePlace.h"
#include "FileKind.h"
#include "Log.h"
#include "OwnFiles.h"

namespace {

/// Size of the buffer for data that is not written yet.
constexpr std::size_t BufferSize = 65536;

const char* const TemporaryMark = ".new-";

/// How many temporary names this process has used.
std::atomic<unsigned> temporaryNames{0};

/// A temporary name for @p name that no other writer uses and no one can predict.
std::string temporaryNameFor(const std::string& name) {
    unsigned long long random = 0;
    // Without random bytes, an existing file of this name makes the write fail, because it is
    // opened with O_EXCL.
    [[maybe_unused]] const ssize_t taken = ::getrandom(&random, sizeof(random), GRND_NONBLOCK);
    char end[64];
    (void)std::snprintf(end, sizeof(end), "%s%d-%u-%llx", TemporaryMark, ::getpid(),
                        temporaryNames++, random);
    return name + end;
}

/// Whether the writer of the file @p name has ended; @p owner is the part after the temporary mark
/// in the name. A writer holds a lock on its file, which the system releases when the process ends.
bool isAbandoned(int folder, const char* name, const char* owner) {
    int process = 0;
    unsigned number = 0;
    struct stat status {};
    if (std::sscanf(owner, "%d-%u", &process, &number) != 2 ||
        ::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISREG(status.st_mode) ||
        status.st_uid != ::geteuid()) {
        return false;
    }
    if (process == ::getpid()) {
        return number >= temporaryNames;  // left by an earlier process with that number
    }
    const Descriptor file(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    return file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

struct DirectoryCloser {
    void operator()(DIR* stream) const { ::closedir(stream); }
};

/// Removes files next to @p name that interrupted processes have left, since they may contain
/// settings.
void removeAbandoned(const Descriptor& folder, const std::string& name) {
    const std::string start = name + TemporaryMark;
    // Not by std::filesystem: its directory iterator ends the process if memory is short.
    const int listed = ::openat(folder.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    const std::unique_ptr<DIR, DirectoryCloser> stream(listed >= 0 ? ::fdopendir(listed) : nullptr);
    std::vector<std::string> abandoned;
    while (const dirent* entry = stream != nullptr ? ::readdir(stream.get()) : nullptr) {
        if (std::strncmp(entry->d_name, start.c_str(), start.size()) == 0 &&
            isAbandoned(folder.get(), entry->d_name, entry->d_name + start.size())) {
            abandoned.emplace_back(entry->d_name);
        }
    }
    for (const std::string& each : abandoned) {
        (void)::unlinkat(folder.get(), each.c_str(), 0);
    }
}

/// Whether a new file may replace what @p target names, if anything.
bool isReplaceable(const DevicePlace::Target& target, const std::string& path) {
    struct stat older {};
    const int folder = target.folder.get();
    const char* const name = target.name.c_str();
    if (OwnFiles::has(folder, target.name)) {
        errno = FileKind::refuseOwn("write", path);
        return false;
    }
    if (::fstatat(folder, name, &older, AT_SYMLINK_NOFOLLOW) != 0) {
        return errno == ENOENT;
    }
    if (S_ISLNK(older.st_mode)) {
        return true;
    }
    errno = FileKind::refusal(older, "write", path);
    return errno == 0 && ::faccessat(folder, name, W_OK, 0) == 0;
}

}  // namespace

struct DeviceFileWriter::Place {
    DevicePlace::Target target;
    std::string temporary;  ///< empty if no temporary file exists any more
    Descriptor file;

    explicit Place(DevicePlace::Target where)
        : target(std::move(where)),
          temporary(temporaryNameFor(target.name)),
          file(::openat(target.folder.get(), temporary.c_str(),
                        O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, RightsOfOwner)) {
        // Where the file system has no locks, no one will check for one.
        (void)::flock(file.get(), LOCK_EX | LOCK_NB);
    }
    ~Place() {
        if (file.isOpen() && !temporary.empty()) {
            (void)::unlinkat(target.folder.get(), temporary.c_str(), 0);
        }
    }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;
};

DeviceFileWriter::DeviceFileWriter(const std::string& path) : m_path(path) {
    DevicePlace::Target target = DevicePlace::target(path);
    if (target.folder.isOpen() && isReplaceable(target, path)) {
        removeAbandoned(target.folder, target.name);
        m_place = std::make_unique<Place>(std::move(target));
    }
    if (m_place != nullptr && !m_place->file.isOpen()) {
        m_place.reset();
    }
    m_good = isOpen();
}

DeviceFileWriter::~DeviceFileWriter() = default;

void DeviceFileWriter::write(std::string_view text) {
    m_buffer += text;
    if (m_buffer.size() >= BufferSize) {
        (void)flush();  // a failure is stored
    }
}

bool DeviceFileWriter::flush() {
    std::size_t written = 0;
    while (m_good && isOpen() && written < m_buffer.size()) {
        const ssize_t count =
            ::write(m_place->file.get(), m_buffer.data() + written, m_buffer.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            fail("write");
        }
    }
    m_buffer.clear();
    return m_good;
}

bool DeviceFileWriter::finish(mode_t mode) {
    if (flush() && isOpen() && !replaceTarget(mode)) {
        fail("replace");
    }
    m_place.reset();
    return m_good;
}

// The contents must be on the disk before the name: otherwise a power failure could leave an empty
// file.
bool DeviceFileWriter::replaceTarget(mode_t mode) {
    const int folder = m_place->target.folder.get();
    if (::fchmod(m_place->file.get(), mode) != 0 || ::fsync(m_place->file.get()) != 0 ||
        ::renameat(folder, m_place->temporary.c_str(), folder, m_place->target.name.c_str()) != 0) {
        return false;
    }
    m_place->temporary.clear();
    // If this fails, the file has its new name nevertheless.
    (void)DevicePlace::syncNames(m_place->target.folder);
    return true;
}

void DeviceFileWriter::fail(const char* action) {
    DAS_LOG(2, "Cannot %s %s: %s", action, m_path.c_str(), std::strerror(errno));
    m_good = false;
}
