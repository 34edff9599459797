#include "dao/CsvFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <stdexcept>

#include "ClientUtils.h"
#include "Progress.h"
#include "Storage.h"
#include "Work.h"
#include "dao/DASUtils.h"
#include "database/Logging.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/CsvFile";

const std::string DeployDirectory = "/Aurel_Deploy/";
constexpr mode_t ModeForOwnerAlone = 0600;
constexpr mode_t ModeByUmask = 0666;
constexpr mode_t PermissionBits = 07777;

/// What gathers in memory before it is written.
constexpr std::size_t BufferSize = 65536;

bool isForOwnerAlone(const std::string& path) {
    return path.compare(0, DeployDirectory.size(), DeployDirectory) == 0;
}

const char* const TemporaryMark = ".new-";

/// How many temporary names this process has taken.
std::atomic<unsigned> temporaryNames{0};

/// A name beside @p place that no other writer has.
std::string temporaryNameFor(const std::string& place) {
    return place + TemporaryMark + std::to_string(::getpid()) + "-" +
           std::to_string(temporaryNames++);
}

/// Whether nobody writes the file @p path, whose name says @p owner, behind the temporary mark. Who
/// writes holds a lock on it, which goes with the process.
bool isAbandoned(const std::string& path, const std::string& owner) {
    int process = 0;
    unsigned number = 0;
    if (std::sscanf(owner.c_str(), "%d-%u", &process, &number) != 2) {
        return false;
    }
    if (process == ::getpid()) {
        return number >= temporaryNames;  // of an earlier process of that number
    }
    const int file = ::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    const bool isFree = file >= 0 && ::flock(file, LOCK_EX | LOCK_NB) == 0;
    if (file >= 0) {
        ::close(file);
    }
    return isFree;
}

struct DirectoryCloser {
    void operator()(DIR* stream) const { ::closedir(stream); }
};

/// Removes what processes that were cut off have left beside @p place: it may hold settings.
void removeAbandoned(const std::string& place) {
    const auto slash = place.rfind('/') + 1;  // 0 without one
    const std::string folder = slash == 0 ? "." : place.substr(0, slash);
    const std::string start = place.substr(slash) + TemporaryMark;
    // Not by std::filesystem, whose way through a folder ends the process where memory is short.
    const std::unique_ptr<DIR, DirectoryCloser> stream(::opendir(folder.c_str()));
    std::vector<std::string> abandoned;
    while (const dirent* entry = stream != nullptr ? ::readdir(stream.get()) : nullptr) {
        const std::string path = place.substr(0, slash) + entry->d_name;
        if (std::strncmp(entry->d_name, start.c_str(), start.size()) == 0 &&
            isAbandoned(path, entry->d_name + start.size())) {
            abandoned.push_back(path);
        }
    }
    for (const std::string& path : abandoned) {
        (void)::unlink(path.c_str());
    }
}

/// Seldom enough to cost nothing, often enough for a bar that moves.
constexpr std::size_t LinesBetweenReports = 50;

}  // namespace

CsvWriter::CsvWriter(const std::string& path, Target target) : m_path(path), m_target(target) {
    open(Storage::devicePath(path));
}

CsvWriter::~CsvWriter() {
    close();
}

void CsvWriter::open(const std::string& place) {
    struct stat older {};
    const bool exists = ::lstat(place.c_str(), &older) == 0;
    if (exists && !S_ISREG(older.st_mode)) {
        m_target = Target::Truncated;
    }
    const int flags = O_WRONLY | O_CREAT | O_CLOEXEC;
    const mode_t mode = isForOwnerAlone(m_path) ? ModeForOwnerAlone : ModeByUmask;
    if (m_target == Target::Truncated) {
        m_file = ::open(place.c_str(), flags | O_TRUNC, mode);
    } else if (!place.empty() && (!exists || ::access(place.c_str(), W_OK) == 0)) {
        removeAbandoned(place);
        m_temporary = temporaryNameFor(place);
        m_file = ::open(m_temporary.c_str(), flags | O_EXCL, mode);
        (void)::flock(m_file, LOCK_EX | LOCK_NB);  // where there are no locks, none will be asked
    }
    if (!isOpen()) {
        m_good = false;
        m_temporary.clear();
    } else if (exists && S_ISREG(older.st_mode)) {
        (void)::fchmod(m_file, mode == ModeForOwnerAlone ? mode : older.st_mode & PermissionBits);
    }
}

void CsvWriter::writeLine(const std::string& text) {
    m_buffer += text;
    endLine();
}

void CsvWriter::writeRow(const std::vector<std::string>& values) {
    bool first = true;
    for (const std::string& value : values) {
        if (!first) {
            m_buffer += ',';
        }
        first = false;
        if (value.find(',') == std::string::npos) {
            m_buffer += value;
        } else {
            m_buffer += DASUtils::escapeReservedCharacter(value, ',', '\\');
        }
    }
    endLine();
}

void CsvWriter::endLine() {
    m_buffer += '\n';
    if (m_target == Target::Truncated || m_buffer.size() >= BufferSize) {
        flush();
    }
}

void CsvWriter::flush() {
    std::size_t written = 0;
    while (m_good && written < m_buffer.size()) {
        const ssize_t count = ::write(m_file, m_buffer.data() + written, m_buffer.size() - written);
        if (count >= 0) {
            written += static_cast<std::size_t>(count);
        } else if (errno != EINTR) {
            fail("write");
        }
    }
    m_buffer.clear();
}

bool CsvWriter::finish() {
    flush();
    if (m_good && !m_temporary.empty() && !replaceTarget()) {
        fail("replace");
    }
    close();
    return m_good;
}

// The contents must be on the disk before the name is: a power cut would leave an empty file.
bool CsvWriter::replaceTarget() {
    const std::string place = Storage::devicePath(m_path);
    if (::fsync(m_file) != 0 || std::rename(m_temporary.c_str(), place.c_str()) != 0) {
        return false;
    }
    m_temporary.clear();
    (void)Storage::syncFolderOf(place);  // where it can't, the name is there all the same
    return true;
}

void CsvWriter::fail(const char* action) {
    DAS_LOG(2, "Cannot %s %s: %s", action, m_path.c_str(), std::strerror(errno));
    m_good = false;
}

void CsvWriter::close() {
    if (isOpen()) {
        (void)::close(m_file);
        m_file = -1;
    }
    if (!m_temporary.empty()) {
        (void)::unlink(m_temporary.c_str());
        m_temporary.clear();
    }
}

CsvReader::CsvReader(const std::string& path, Comments comments)
    : m_path(path), m_comments(comments), m_open(false) {
    const std::string place = Storage::devicePath(path);
    struct stat status {};
    const bool exists = ::stat(place.c_str(), &status) == 0;
    if (!exists || !S_ISDIR(status.st_mode)) {
        Storage::openToRead(m_stream, path);
        m_open = m_stream.is_open();
        m_size = S_ISREG(status.st_mode) ? static_cast<std::size_t>(status.st_size) : 0;
    }
}

bool CsvReader::readLine(std::string& line) {
    if (!std::getline(m_stream, line)) {
        return false;
    }
    ++m_line;
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return true;
}

bool CsvReader::readFields(std::vector<std::string>& fields) {
    while (m_open && m_stream.good()) {
        const bool isComment = m_comments == Comments::AreSkipped && m_stream.peek() == '#';
        ++m_line;
        if (ClientUtils::readLineFromCsvFileAndParse(m_stream, fields) && !isComment &&
            !fields.empty()) {
            return true;
        }
    }
    return false;
}

std::size_t CsvReader::forEachRow(const std::function<int(std::vector<std::string>&)>& store) {
    std::size_t failures = 0;
    std::vector<std::string> fields;
    while (!Work::isInterrupted() && readFields(fields)) {
        const std::size_t count = fields.size();  // who stores them may change them
        try {
            failures += store(fields) != 0 ? 1 : 0;
        } catch (const std::out_of_range&) {
            DAS_LOG(2, "%s: line %zu is not stored: its %zu fields are not those of the table",
                    m_path.c_str(), m_line, count);
            ++failures;
        }
        if (m_line % LinesBetweenReports == 0) {
            reportProgress();
        }
    }
    reportProgress();
    if (m_stream.bad()) {
        // Streams take lack of memory, and a disk that can't be read, for an end of the file.
        DAS_LOG(2, "%s: reading ended early, behind line %zu", m_path.c_str(), m_line);
        ++failures;
    }
    return failures;
}

void CsvReader::reportProgress() {
    if (m_size > 0 && Progress::isWatched()) {
        const auto place = m_stream.rdbuf()->pubseekoff(0, std::ios::cur, std::ios::in);
        const auto done = static_cast<std::size_t>(std::max<std::streamoff>(place, 0));
        Progress::report({"import", m_line, done, m_size});
    }
}
