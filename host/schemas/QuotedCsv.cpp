// A quoted field may contain line ends, so a file can't be split into lines first. The reader goes
// through the text once and counts lines, because a person must find the line that is refused.

#include "schemas/QuotedCsv.h"

#include <algorithm>

bool QuotedCsv::next(std::size_t most, std::vector<std::string>& fields) {
    fields.clear();
    m_error.clear();
    m_count = 0;
    while (!m_rest.empty() && isAtLineEnd()) {
        skipLineEnd();
    }
    m_line = m_nextLine;
    if (m_rest.empty()) {
        return false;
    }
    std::string field;
    do {
        if (!takeField(field)) {
            return false;
        }
        if (++m_count <= most) {
            fields.push_back(field);
        }
        if (m_rest.empty() || isAtLineEnd()) {
            skipLineEnd();
            return true;
        }
        m_rest.remove_prefix(1);  // the comma
    } while (true);
}

bool QuotedCsv::isAtLineEnd() const {
    return m_rest.substr(0, 1) == "\n" || m_rest.substr(0, 2) == "\r\n";
}

void QuotedCsv::skipLineEnd() {
    const std::size_t end = std::min(m_rest.find('\n'), m_rest.size() - (m_rest.empty() ? 0 : 1));
    m_rest.remove_prefix(m_rest.empty() ? 0 : end + 1);
    ++m_nextLine;
}

bool QuotedCsv::takeField(std::string& field) {
    field.clear();
    if (m_rest.substr(0, 1) != "\"") {
        takePlain(field);
        return true;
    }
    return takeQuoted(field);
}

void QuotedCsv::takePlain(std::string& field) {
    std::size_t end = std::min(m_rest.find_first_of(",\n"), m_rest.size());
    if (end < m_rest.size() && m_rest[end] == '\n' && end > 0 && m_rest[end - 1] == '\r') {
        --end;
    }
    field = m_rest.substr(0, end);
    m_rest.remove_prefix(end);
}

bool QuotedCsv::takeQuoted(std::string& field) {
    for (std::size_t place = 1; place < m_rest.size(); ++place) {
        if (m_rest[place] != '"') {
            m_nextLine += m_rest[place] == '\n' ? 1 : 0;
            field += m_rest[place];
        } else if (m_rest.substr(place + 1, 1) == "\"") {
            field += m_rest[++place];
        } else {
            m_rest.remove_prefix(place + 1);
            if (m_rest.empty() || m_rest.front() == ',' || isAtLineEnd()) {
                return true;
            }
            m_error = "text follows a quoted value";
            return false;
        }
    }
    m_error = "a quote is not closed";
    return false;
}
