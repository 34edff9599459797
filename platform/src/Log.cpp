// Entries are written completely and in order in all cases. Without memory, at least the beginning
// of the line is written. If the reader of standard error has stopped, the log waits for it once,
// not for each line.

#include "Log.h"

#include "Tally.h"

#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <iterator>
#include <mutex>
#include <string_view>
#include <utility>

namespace {

constexpr int DefaultLevel = 2;
constexpr int LevelUnread = INT_MIN;
constexpr int LongestWaitForReader = 2000;  // in milliseconds

/// Failures are logged at these levels by default, and may contain text of a client. They are cut,
/// so that no client can fill the log.
constexpr int HighestFailureLevel = 3;
constexpr std::size_t LongestFailure = 8192;

std::atomic<int> currentLevel{LevelUnread};

struct Destination {
    std::mutex mutex;  ///< held while an entry is written, so that lines do not mix
    Log::Sink sink;    ///< empty: standard error
};

/// Never destroyed: destructors of other libraries may still log when the process ends.
Destination& output() {
    static Destination* const instance = new Destination;
    return *instance;
}

int levelOfEnvironment() {
    const char* text = std::getenv("DAS_LOG");
    if (text == nullptr) {
        return DefaultLevel;
    }
    char* end = nullptr;
    const long number = std::strtol(text, &end, 10);
    return end == text ? DefaultLevel : static_cast<int>(std::clamp<long>(number, 0, INT_MAX));
}

int readLevel() {
    int expected = LevelUnread;
    const int fromEnvironment = levelOfEnvironment();
    // Another thread may have set a level meanwhile; that level stays.
    return currentLevel.compare_exchange_strong(expected, fromEnvironment) ? fromEnvironment
                                                                           : expected;
}

std::string formatted(const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    char small[512];
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started it
    const int length = std::vsnprintf(small, sizeof small, format, arguments);
    std::string message;
    if (length < 0) {
        message = format;  // could not be formatted, but the format string still says what happened
    } else if (static_cast<std::size_t>(length) < sizeof small) {
        message.assign(small, static_cast<std::size_t>(length));
    } else {
        message.resize(static_cast<std::size_t>(length));
        std::vsnprintf(message.data(), message.size() + 1, format, again);
    }
    va_end(again);
    return message;
}

/// Cuts a message that is too long for a failure, not inside a UTF-8 character, and adds how many
/// bytes were cut.
void cutFailure(std::string& message) {
    if (message.size() <= LongestFailure) {
        return;
    }
    std::size_t size = LongestFailure;
    for (int i = 0; i < 3 && (static_cast<unsigned char>(message[size]) & 0xc0) == 0x80; ++i) {
        --size;
    }
    const std::size_t rest = message.size() - size;
    message.resize(size);
    message += "... and " + std::to_string(rest) + " more bytes";
}

/// Whether standard error accepts more. If its reader has stopped, this waits once; further lines
/// are dropped until it reads again.
bool isWritable() {
    static std::atomic<int> patience{LongestWaitForReader};
    pollfd error{STDERR_FILENO, POLLOUT, 0};
    int ready = 0;
    while ((ready = poll(&error, 1, patience)) < 0 && errno == EINTR) {
    }
    patience = ready == 0 ? 0 : LongestWaitForReader;
    return ready != 0;
}

/// Call with the log's lock held.
void writeWhole(std::string line) {
    static bool isCut = false;  // the reader has stopped in the middle of a line
    line.insert(0, isCut ? "\n" : "");
    std::size_t done = 0;
    while (done < line.size() && isWritable()) {
        // The size that a writable pipe accepts at once.
        const std::size_t piece = std::min<std::size_t>(line.size() - done, PIPE_BUF);
        const ssize_t written = write(STDERR_FILENO, line.data() + done, piece);
        if (written > 0) {
            done += static_cast<std::size_t>(written);
        } else if (written == 0 || errno != EINTR) {
            return;  // nowhere to log it
        }
        isCut = done < line.size();
    }
}

void handOver(const Log::Entry& entry) {
    Destination& out = output();
    const std::lock_guard<std::mutex> lock(out.mutex);
    if (out.sink) {
        out.sink(entry);
    } else {
        Log::write(entry);
    }
}

/// Whether standard error is the stream that "JOURNAL_STREAM" names, which the journal reads.
bool standardErrorIsTheJournal() {
    const char* const stream = std::getenv("JOURNAL_STREAM");
    struct stat status {};
    return stream != nullptr && fstat(STDERR_FILENO, &status) == 0 &&
           std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

/// The priority of syslog that a level of the telephone stands for.
int priorityOf(int level) {
    constexpr int error = 3;
    constexpr int byLevel[] = {2, 2, error, 4, 5, 6};
    constexpr int debug = 7;
    const auto index = static_cast<std::size_t>(std::max(level, 0));
    return index < std::size(byLevel) ? byLevel[index] : debug;
}

void appendVisible(std::string& line, char character) {
    static const char digits[] = "0123456789abcdef";
    const unsigned char byte = static_cast<unsigned char>(character);
    if (character == '\n') {
        line += "\\n";
    } else if (byte < 0x20 || byte == 0x7f) {
        line += "\\x";
        line += digits[byte >> 4];
        line += digits[byte & 0xf];
    } else {
        line += character;
    }
}

/// Line feeds at the end are dropped.
std::string& appendVisible(std::string& line, const std::string& message) {
    const std::size_t last = message.find_last_not_of('\n');
    const std::size_t length = last == std::string::npos ? 0 : last + 1;
    for (std::size_t i = 0; i < length; ++i) {
        appendVisible(line, message[i]);
    }
    return line;
}

/// The source of an entry. A source file stands for its unit: "src/upgrade/DASMigrator_Keys.cpp"
/// becomes "./src/DASMigrator". Allocates no memory.
struct Origin {
    Origin(const char* writer, const char* file, int lineOfFile)
        : component(writer != nullptr ? writer : ""),
          source(file != nullptr ? file : ""),
          line(lineOfFile) {
        constexpr std::string_view ending = ".cpp";
        std::string_view path = source;
        if (path.size() < ending.size() || path.substr(path.size() - ending.size()) != ending) {
            return;
        }
        const bool isOfPlatform = path.find("platform/src/") != std::string_view::npos;
        path.remove_prefix(path.rfind('/') + 1);
        path = path.substr(0, path.find_first_of("_."));
        (void)std::snprintf(unit, sizeof unit, "%s%.*s",
                            isOfPlatform ? "./platform/src/" : "./src/",
                            static_cast<int>(path.size()), path.data());
        source = unit;
    }
    Origin(const Origin&) = delete;
    Origin& operator=(const Origin&) = delete;

    const char* component;
    const char* source;
    int line;
    char unit[64] = "";
};

/// What can be written without memory: the beginning of the line.
void writeBare(const Origin& origin, int level, const char* format, va_list arguments) noexcept {
    char text[512];
    const int head = std::snprintf(text, sizeof text / 2, "%d %s %s:%d ", level, origin.component,
                                   origin.source, origin.line);
    char* const message = text + std::clamp(head, 0, static_cast<int>(sizeof text / 2) - 1);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): the caller has started it
    (void)std::vsnprintf(message, static_cast<std::size_t>(std::end(text) - message), format,
                         arguments);
    char* const end = text + std::strlen(text);
    std::replace_if(
        message, end, [](char each) { return each >= 0 && each < ' '; }, ' ');
    *end = '\n';
    (void)!::write(STDERR_FILENO, text, static_cast<std::size_t>(end - text) + 1);
}

}  // namespace

bool loggingOnAppUni(const char* /*component*/, int level) {
    return level <= Log::level();
}

void logAppUni(const char* component, const char* sourceFile, int level, int line,
               const char* format, ...) {
    if (level > Log::level() || format == nullptr) {
        return;
    }
    if (level <= HighestFailureLevel) {
        Tally::add(Tally::LoggedFailures);
    }
    const int errorBefore = errno;  // callers may use errno after logging a failure
    const Origin origin(component, sourceFile, line);
    va_list arguments;
    va_start(arguments, format);
    va_list again;
    va_copy(again, arguments);
    try {
        std::string message = formatted(format, arguments);
        if (level <= HighestFailureLevel) {
            cutFailure(message);
        }
        handOver({level, origin.component, origin.source, line, std::move(message)});
    } catch (const std::exception&) {
        // Callers that log in the middle of a failure must be able to continue.
        writeBare(origin, level, format, again);
    }
    va_end(again);
    va_end(arguments);
    errno = errorBefore;
}

namespace Log {

int level() {
    const int known = currentLevel.load(std::memory_order_relaxed);
    return known != LevelUnread ? known : readLevel();
}

void setLevel(int level) {
    currentLevel.store(level, std::memory_order_relaxed);
}

void setSink(Sink sink) {
    const std::lock_guard<std::mutex> lock(output().mutex);
    output().sink = std::move(sink);
}

void write(const Entry& entry) {
    static const bool isJournal = standardErrorIsTheJournal();
    const std::string line = toLine(entry) + '\n';
    writeWhole(isJournal ? "<" + std::to_string(priorityOf(entry.level)) + ">" + line : line);
}

std::string toLine(const Entry& entry) {
    std::string line = std::to_string(entry.level);
    line.reserve(entry.component.size() + entry.source.size() + entry.message.size() + 32);
    line.append(" ").append(entry.component).append(" ").append(entry.source);
    line.append(":").append(std::to_string(entry.line)).append(" ");
    return appendVisible(line, entry.message);
}

}  // namespace Log
