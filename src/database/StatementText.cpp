// This is no parser: it finds string literals, and stops at everything that could make something
// else look like a literal (comments, other quotes, parameters, a second statement). Stopping costs
// one prepare; a wrong guess would bind a value to the wrong place.

#include "database/StatementText.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace {

bool isNameCharacter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_' || c == '$' ||
           static_cast<unsigned char>(c) >= 0x80;
}

/// What ends a run of plain characters. Besides literals, names and the end of the statement, these
/// are parameters, comments and other quotes; a string with one of these is not cached.
constexpr std::string_view SpecialCharacters = "'\";?:@#`[/-";

constexpr std::array<bool, 256> placesOf(std::string_view characters) {
    std::array<bool, 256> isThere{};
    for (const char c : characters) {
        isThere[static_cast<unsigned char>(c)] = true;
    }
    return isThere;
}

bool isSpecial(char c) {
    static constexpr std::array<bool, 256> isThere = placesOf(SpecialCharacters);
    return isThere[static_cast<unsigned char>(c)];
}

bool hasKnownVerb(const std::string& sql) {
    static constexpr std::array<const char*, 7> verbs = {
        "SELECT ", "INSERT ", "UPDATE ", "DELETE ", "BEGIN ", "END ", "ROLLBACK "};
    return std::any_of(verbs.begin(), verbs.end(),
                       [&sql](const char* verb) { return sql.rfind(verb, 0) == 0; });
}

}  // namespace

StatementText::StatementText(const std::string& sql)
    : m_sql(sql),
      // SQLite would stop reading at a NUL.
      m_isCacheable(sql.size() <= MaximumSize && hasKnownVerb(sql) &&
                    sql.find('\0') == std::string::npos && takeApart()) {}

bool StatementText::takeApart() {
    m_key.reserve(m_sql.size());
    for (std::size_t place = 0; place < m_sql.size();) {
        const auto begin = m_sql.begin() + static_cast<std::ptrdiff_t>(place);
        const auto special = std::find_if(begin, m_sql.end(), isSpecial);
        m_key.append(begin, special);
        if (special == m_sql.end()) {
            break;
        }
        place = static_cast<std::size_t>(special - m_sql.begin());
        const char c = *special;
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
                return false;
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
    if (end == std::string::npos) {
        return false;
    }
    literal.length = end - literal.begin;
    if (m_literals.empty()) {
        const auto rest = m_sql.begin() + static_cast<std::ptrdiff_t>(end);
        m_literals.reserve(1 + static_cast<std::size_t>(std::count(rest, m_sql.end(), '\'')) / 2);
    }
    m_literals.push_back(literal);
    m_key += '?';
    place = end + 1;
    return true;
}

bool StatementText::takeName(std::size_t& place, char end) {
    const std::size_t last = m_sql.find(end, place + 1);
    if (last == std::string::npos) {
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
            ++place;  // a doubled quote stands for one
        }
    }
    return value;
}
