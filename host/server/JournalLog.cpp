#include "server/JournalLog.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <iterator>

#include "Log.h"

namespace {

constexpr const char* UsualSocket = "/run/systemd/journal/socket";

/// Whether "JOURNAL_STREAM", which names the stream that the journal reads, is standard error.
bool standardErrorIsTheJournal() {
    const char* const stream = std::getenv("JOURNAL_STREAM");
    struct stat status {};
    return stream != nullptr && fstat(STDERR_FILENO, &status) == 0 &&
           std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino) == stream;
}

std::string journalSocket() {
    const char* const name = std::getenv("DAS_JOURNAL_SOCKET");
    return name == nullptr ? UsualSocket : name;
}

/// The priority of syslog that a level of the telephone stands for.
int priorityOf(int level) {
    constexpr int error = 3;
    constexpr int byLevel[] = {2, 2, error, 4, 5, 6};
    constexpr int debug = 7;
    const auto index = static_cast<std::size_t>(level < 0 ? 0 : level);
    return index < std::size(byLevel) ? byLevel[index] : debug;
}

/// A line feed would end the field, and let a message forge others: no text has one any more.
std::string field(const char* name, const std::string& text) {
    return std::string(name) + "=" + Log::visible(text) + "\n";
}

std::string fieldsOf(const Log::Entry& entry) {
    return field("MESSAGE", entry.message) +
           field("PRIORITY", std::to_string(priorityOf(entry.level))) +
           field("SYSLOG_IDENTIFIER", "das") + field("CODE_FILE", entry.source) +
           field("CODE_LINE", std::to_string(entry.line)) +
           field("DAS_COMPONENT", entry.component) +
           field("DAS_LEVEL", std::to_string(entry.level));
}

}  // namespace

JournalLog::JournalLog() : m_journal(journalSocket()), m_isInUse(standardErrorIsTheJournal()) {
    if (m_isInUse) {
        Log::setOutput([this](const Log::Entry& entry) { return m_journal.send(fieldsOf(entry)); });
    }
}

JournalLog::~JournalLog() {
    if (m_isInUse) {
        Log::setOutput({});
    }
}
