// A line is a row: values are joined by commas, and only a comma within a value is escaped. The
// format is older than this software, and files of all releases have to be read.

#include "dao/CsvFile.h"

#include <stdexcept>

#include "ClientUtils.h"
#include "Log.h"
#include "Progress.h"
#include "Work.h"
#include "dao/DASUtils.h"

namespace {

/// Rare enough to cost nothing, frequent enough for a moving progress bar.
constexpr std::size_t LinesBetweenReports = 50;

}  // namespace

void CsvWriter::writeLine(const std::string& text) {
    m_file.write(text);
    m_file.write("\n");
}

void CsvWriter::writeRow(const std::vector<std::string>& values) {
    m_row.clear();
    appendRow(m_row, values);
    m_row += '\n';
    m_file.write(m_row);
}

void CsvWriter::appendRow(std::string& text, const std::vector<std::string>& values) {
    bool first = true;
    for (const std::string& value : values) {
        if (!first) {
            text += ',';
        }
        first = false;
        if (value.find(',') == std::string::npos) {
            text += value;
        } else {
            text += DASUtils::escapeReservedCharacter(value, ',', '\\');
        }
    }
}

CsvReader::CsvReader(const std::string& path, Comments comments)
    : m_path(path),
      m_comments(comments),
      m_file(std::in_place, path),
      m_text(""),
      m_textStream(nullptr),
      m_stream(*m_file) {}

CsvReader::CsvReader(const std::string& name, std::string_view text)
    : m_path(name),
      m_comments(Comments::AreData),
      m_text(text),
      m_textStream(&m_text),
      m_stream(m_textStream) {}

bool CsvReader::next(std::string& line) {
    ++m_line;
    const ClientUtils::Line read = ClientUtils::readLine(m_stream, line);
    if (read == ClientUtils::Line::TooLong) {
        DAS_LOG(2, "%s: line %zu is not stored: it has more than %zu bytes", m_path.c_str(), m_line,
                ClientUtils::LongestLine);
        ++m_tooLong;
    }
    return read == ClientUtils::Line::Read;
}

bool CsvReader::readLine(std::string& line) {
    if (!next(line)) {
        return false;
    }
    if (!line.empty() && line.back() == '\r') {
        line.pop_back();
    }
    return true;
}

bool CsvReader::readFields(std::vector<std::string>& fields) {
    std::string line;
    while (m_stream.good()) {
        const bool isRead = next(line);
        const bool isComment =
            m_comments == Comments::AreSkipped && !line.empty() && line.front() == '#';
        ClientUtils::splitString(line, fields);
        if (isRead && !isComment && !fields.empty()) {
            return true;
        }
    }
    return false;
}

std::size_t CsvReader::forEachRow(const std::function<int(std::vector<std::string>&)>& store) {
    std::size_t failures = 0;
    std::vector<std::string> fields;
    while (!Work::isInterrupted() && readFields(fields)) {
        ++m_rows;
        // The function that stores the fields may change them.
        const std::size_t count = fields.size();
        try {
            failures += store(fields) != 0 ? 1 : 0;
        } catch (const std::out_of_range&) {
            DAS_LOG(2, "%s: line %zu is not stored: its %zu fields are not those of the table",
                    m_path.c_str(), m_line, count);
            ++failures;
        }
        Progress::beat();
        if (m_line % LinesBetweenReports == 0) {
            reportProgress();
        }
    }
    reportProgress();
    if (m_stream.bad()) {
        // Streams report lack of memory, or an unreadable disk, as the end of the file.
        DAS_LOG(2, "%s: reading ended early, behind line %zu", m_path.c_str(), m_line);
        ++failures;
    }
    return failures + m_tooLong;
}

void CsvReader::reportProgress() {
    const std::size_t size = m_file ? m_file->size() : m_text.size();
    if (size > 0 && Progress::isWatched()) {
        Progress::report({"import", m_line, m_file ? m_file->position() : m_text.position(), size});
    }
}
