// The words by which advice is found are fixed: those in SQLite's messages and in the service's
// log.

#include "framework/FailureWords.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

constexpr int LevelOfFailures = 2;
constexpr std::size_t LongestText = 400;

const std::string Refusal = "not allowed; the access rules of the host must give the right ";

const char* const NoDatabase = "'no open database'";
const char* const Closed = "the telephone was reset, and its database is closed";

const std::pair<const char*, const char*> Advice[] = {
    {NoDatabase, "start the service with the folder of phone.db, by --db or DB_PATH"},
    {Closed, "restart the host"},
    {"file is not a database", "das check finds out more"},
    {"malformed", "das check finds out more"},
    {"disk I/O error", "see to the disk and how full it is; das check looks at the file"},
    {"readonly database", "see to the rights of phone.db and of its folder"},
    {"is full", "make space on the disk"},
    {"Out of disk space", "make space on the disk"},
    {"is locked", "another process is at work on it: --socket takes the way through its host"},
    {"no such table", "the first request to a schema makes its table, as das read does"},
    {"no such column", "das check names the columns that are missing"},
};

/// What is logged at the level of failures so that people see it, although all went as it should:
/// an item that was never set, and what an upgrade leaves out or changes by its rules.
const char* const NoFailures[] = {" - results empty",
                                  "was in WAL mode, which ends",
                                  "those of one key are doubled, and the last counts",
                                  "are given up, since a later one has their type",
                                  " is given up with its values: ",
                                  "An upgrade was cut off: the database is as it was before"};

bool isNoFailure(const std::string& message) {
    return std::any_of(std::begin(NoFailures), std::end(NoFailures),
                       [&](const char* words) { return message.find(words) != std::string::npos; });
}

}  // namespace

FailureWords FailureWords::ofRefusal(const std::string& rights) {
    FailureWords words;
    words.m_text = Refusal + rights;
    words.m_hasFailed = true;
    return words;
}

bool FailureWords::isRefusal() const {
    return m_text.rfind(Refusal, 0) == 0;
}

void FailureWords::setClosed() {
    if (m_text.empty() || m_text.find(NoDatabase) != std::string::npos) {
        m_text = Closed;
        m_hasFailed = true;
    }
}

void FailureWords::add(const Log::Entry& entry) {
    if (isNoFailure(entry.message)) {
        return;
    }
    // Other entries that are no failures are logged at that level too, for example for a row of a
    // file with missing fields.
    const bool isError = entry.message.find("ERROR") != std::string::npos ||
                         entry.message.find("rror") != std::string::npos;
    if (entry.level > (isError ? HighestLevel : LevelOfFailures)) {
        return;
    }
    m_hasFailed = m_hasFailed || entry.level <= LevelOfFailures;
    std::string words = entry.message.substr(0, entry.message.find_last_not_of('\n') + 1);
    // If several statements fail with the same error, it is shown only with the first one.
    const std::string error = words.substr(0, words.find("' handling request '"));
    if (m_text.find(error) != std::string::npos) {
        return;
    }
    if (m_text.empty() && words.size() >= LongestText) {
        words = words.substr(0, LongestText - 4) + "...";  // SQLite's message comes first
    }
    if (m_text.size() + words.size() < LongestText) {
        m_text += (m_text.empty() ? "" : "; ") + words;
    }
}

std::string FailureWords::adviceFor(const std::string& text) {
    for (const auto& [words, advice] : Advice) {
        if (text.find(words) != std::string::npos) {
            return advice;
        }
    }
    return {};
}
