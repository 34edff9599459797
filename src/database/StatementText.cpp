// This is no parser: it finds string literals and gives up on everything that could make one look
// like something else (comments, other quotes, parameters, a second statement). To give up costs
// one prepare; a wrong guess would bind a value to the wrong place.

#include "database/StatementText.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace {

bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '$' ||
           static_cast<unsigned char>(c) >= 0x80;
}

bool hasKnownVerb(const std::string& sql) {
    static constexpr std::array<const char*, 7> verbs = {
        "SELECT ", "INSERT ", "UPDATE ", "DELETE ", "BEGIN ", "END ", "ROLLBACK "};
    return std::any_of(verbs.begin(), verbs.end(),
                       [&sql](const char* verb) { return sql.rfind(verb, 0) == 0; });
}

}  // namespace

StatementText::StatementText(const std::string& sql)
    : m_sql(sql), m_isCacheable(sql.size() <= MaximumSize && hasKnownVerb(sql) && takeApart()) {}

bool StatementText::takeApart() {
    m_key.reserve(m_sql.size());
    m_literals.reserve(static_cast<std::size_t>(std::count(m_sql.begin(), m_sql.end(), '\'')) / 2);
    for (std::size_t place = 0; place < m_sql.size();) {
        const char c = m_sql[place];
        switch (c) {
            case '\'':
                if (!takeLiteral(place)) {
                    return false;
                }
                break;
            case '"':
                if (!takeName(place, c)) {
                    return false;
                }
                break;
            case ';':
                // A second statement after the first would not be run.
                return m_sql.find_first_not_of(" ;", place) == std::string::npos;
            // Parameters of its own, comments, other quotes, and a NUL, where SQLite stops reading.
            case '?':
            case ':':
            case '@':
            case '#':
            case '`':
            case '[':
            case '\0':
                return false;
            case '/':
            case '-':
                if (place + 1 < m_sql.size() &&
                    (m_sql[place + 1] == '*' || m_sql[place + 1] == c)) {
                    return false;
                }
                m_key += c;
                ++place;
                break;
            default:
                m_key += c;
                ++place;
        }
    }
    return true;
}

bool StatementText::takeLiteral(std::size_t& place) {
    // x'00' is a blob.
    if (place > 0 && isNameCharacter(m_sql[place - 1])) {
        return false;
    }
    Literal literal{place + 1, 0, false};
    std::size_t end = m_sql.find('\'', literal.begin);
    while (end != std::string::npos && end + 1 < m_sql.size() && m_sql[end + 1] == '\'') {
        literal.hasDoubledQuotes = true;
        end = m_sql.find('\'', end + 2);
    }
    if (end == std::string::npos || m_sql.find('\0', literal.begin) < end) {
        return false;
    }
    literal.length = end - literal.begin;
    m_literals.push_back(literal);
    m_key += '?';
    place = end + 1;
    return true;
}

bool StatementText::takeName(std::size_t& place, char end) {
    const std::size_t last = m_sql.find(end, place + 1);
    if (last == std::string::npos || m_sql.find('\0', place) < last) {
        return false;
    }
    m_key.append(m_sql, place, last + 1 - place);
    place = last + 1;
    return true;
}

std::string StatementText::unquoted(const Literal& literal) const {
    std::string value;
    value.reserve(literal.length);
    for (std::size_t place = 0; place < literal.length; ++place) {
        const char c = m_sql[literal.begin + place];
        value += c;
        if (c == '\'') {
            ++place;  // of the two one stays
        }
    }
    return value;
}
