// A statement is read token by token, only as far as needed to know which column each value belongs
// to. The log must never hold a password and must stay readable, so masking all values or no value
// is not possible. What the reader does not understand, it masks.

#include "database/MaskedStatement.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "Secrets.h"

namespace {

using LoggedText::Stretch;
using LoggedText::Stretches;

constexpr std::string_view MaskedValue = "'*****'";
/// Columns of a row that holds one setting.
constexpr std::string_view NameColumn = "Name";
constexpr std::string_view ValueColumn = "Value";
/// A literal without content is no secret.
constexpr std::size_t BlankSize = 2;

struct Token {
    enum Kind { End, Name, Number, Literal, Sign } kind;
    std::size_t begin;
    std::string_view text;
};

bool isLetter(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_' ||
           static_cast<unsigned char>(c) >= 0x80;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// The tokens of a statement. The service writes no comments in statements, so none are known.
class Tokens {
public:
    explicit Tokens(std::string_view sql) : m_sql(sql) {}

    Token next() {
        m_place = std::min(m_sql.find_first_not_of(" \t\r\n", m_place), m_sql.size());
        const std::size_t begin = m_place;
        if (begin == m_sql.size()) {
            return {Token::End, begin, {}};
        }
        const Token::Kind kind = skip(m_sql[begin]);
        return {kind, begin, m_sql.substr(begin, m_place - begin)};
    }

private:
    /// Skips the token that begins with @p first.
    Token::Kind skip(char first) {
        if (first == '\'') {
            skipQuoted(first);
            return Token::Literal;
        }
        if (first == '"' || first == '`') {
            skipQuoted(first);
            return Token::Name;
        }
        if (isLetter(first) || isDigit(first)) {
            skipWord();
            return isDigit(first) ? Token::Number : Token::Name;
        }
        constexpr std::string_view comparing = "<>=!";
        const std::size_t size =
            comparing.find(first) != std::string_view::npos
                ? std::min(m_sql.find_first_not_of(comparing, m_place), m_sql.size()) - m_place
                : 1;
        m_place += size;
        return Token::Sign;
    }

    /// A doubled quote belongs to the content. If the closing quote is missing, the rest of the
    /// string is the token.
    void skipQuoted(char quote) {
        do {
            m_place = m_sql.find(quote, m_place + 1);
            if (m_place == std::string_view::npos) {
                m_place = m_sql.size();
                return;
            }
            ++m_place;
        } while (m_place < m_sql.size() && m_sql[m_place] == quote);
    }

    /// Dots belong to the word; in a column's name only the part after the last dot counts.
    void skipWord() {
        const auto isPart = [](char c) {
            return isLetter(c) || isDigit(c) || c == '.' || c == '$';
        };
        while (m_place < m_sql.size() && isPart(m_sql[m_place])) {
            ++m_place;
        }
    }

    std::string_view m_sql;
    std::size_t m_place = 0;
};

std::string_view withoutQuotes(std::string_view text) {
    return text.size() < BlankSize ? std::string_view() : text.substr(1, text.size() - BlankSize);
}

/// The column's name without table and quotes.
std::string_view columnOf(std::string_view name) {
    if (!name.empty() && (name.front() == '"' || name.front() == '`')) {
        return withoutQuotes(name);
    }
    return name.substr(name.rfind('.') + 1);  // without a dot the whole name
}

/// What a key word says about the values that follow it.
enum class Word { Column, Table, Values, Set, Compares, Begins };

struct KeyWord {
    std::string_view word;
    Word meaning;
};

constexpr KeyWord KeyWords[] = {
    {"INTO", Word::Table},    {"VALUES", Word::Values}, {"SET", Word::Set},
    {"LIKE", Word::Compares}, {"GLOB", Word::Compares}, {"IS", Word::Compares},
    {"IN", Word::Compares},   {"NOT", Word::Compares},  {"BETWEEN", Word::Compares},
    {"SELECT", Word::Begins}, {"FROM", Word::Begins},   {"WHERE", Word::Begins},
    {"AND", Word::Begins},    {"OR", Word::Begins},     {"ON", Word::Begins},
    {"ORDER", Word::Begins},  {"GROUP", Word::Begins},  {"HAVING", Word::Begins},
    {"LIMIT", Word::Begins},  {"UNION", Word::Begins},  {"JOIN", Word::Begins},
};

Word meaningOf(std::string_view word) {
    const auto isSame = [word](const KeyWord& key) {
        return key.word.size() == word.size() &&
               std::equal(word.begin(), word.end(), key.word.begin(), [](char letter, char upper) {
                   return letter == upper || letter == upper - 'A' + 'a';
               });
    };
    const auto* const found = std::find_if(std::begin(KeyWords), std::end(KeyWords), isSame);
    return found != std::end(KeyWords) ? found->meaning : Word::Column;
}

/// Walks through a statement and decides for each value which column it belongs to.
class SecretFinder {
public:
    SecretFinder(std::string_view sql, const MaskedStatement::ColumnsOf& columnsOf)
        : m_tokens(sql), m_columnsOf(columnsOf) {}

    Stretches find() {
        for (Token token = m_tokens.next(); token.kind != Token::End; token = m_tokens.next()) {
            if (token.kind == Token::Sign) {
                takeSign(token.text.front());
            } else if (token.kind == Token::Name) {
                takeName(token.text);
            } else if (m_clause == Clause::Values) {
                takeCell(token);
            } else {
                takeOperand(token);
            }
        }
        settle(m_clause != Clause::Values);
        return std::move(m_secrets);
    }

private:
    enum class Clause { Other, Table, Values, Set };

    /// When a value is masked. This is known only at the end of its row or its conditions.
    enum class When { Always, InSecretRow, WithoutOrder };

    struct Value {
        Stretch stretch;
        When when;
    };

    void takeSign(char sign) {
        const bool isCellList = m_clause == Clause::Values && m_depth == 1;
        if (sign == '(') {
            ++m_depth;
            m_cell = m_depth == 1 ? 0 : m_cell;
        } else if (sign == ')') {
            if (isCellList) {
                settle(m_columns.size() == m_cell + 1);
            }
            endOperands(m_depth);
            --m_depth;
        } else if (sign == ',') {
            m_cell += isCellList ? 1 : 0;
            endOperands(m_depth);
        } else if (sign == ';') {
            settle(true);
            m_clause = Clause::Other;
            m_compared = {};
        } else if (!m_named.empty()) {
            beginOperands();
        }
        m_named = {};
    }

    void takeName(std::string_view name) {
        const Word meaning = meaningOf(name);
        if (meaning == Word::Column) {
            takeColumn(columnOf(name));
            return;
        }
        if (meaning == Word::Compares) {
            beginOperands();
            return;
        }
        m_compared = {};
        m_named = {};
        if (meaning == Word::Table) {
            m_clause = Clause::Table;
            m_table.clear();
            m_columns.clear();
        } else if (meaning == Word::Values) {
            m_clause = Clause::Values;
            m_columns = m_columns.empty() ? m_columnsOf(m_table) : m_columns;
        } else if (meaning == Word::Set) {
            m_clause = Clause::Set;
        } else {
            m_clause = Clause::Other;
        }
    }
    void takeColumn(std::string_view name) {
        if (m_clause == Clause::Table && m_depth == 1) {
            m_columns.emplace_back(name);
        } else if (m_clause == Clause::Table && m_table.empty()) {
            m_table = name;
        }
        m_isAfterPasswordName = false;  // NULL in the place of a value
        m_named = name;
    }

    /// Handles a value of an insert.
    void takeCell(const Token& token) {
        const std::string_view column =
            m_cell < m_columns.size() ? std::string_view(m_columns[m_cell]) : std::string_view();
        const std::string_view content = contentOf(token);
        const bool isSecret = Secrets::isSecret(column) || m_isAfterPasswordName;
        m_isAfterPasswordName = !m_isAfterPasswordName && Secrets::isKnownPassword(content);
        m_isSecretRow = m_isSecretRow || (column == NameColumn && Secrets::isSecret(content));
        if (content.empty()) {
            return;
        }
        if (isSecret || column == ValueColumn) {
            keep(token, isSecret ? When::Always : When::InSecretRow);
        } else if (token.kind == Token::Literal) {
            keep(token, When::WithoutOrder);
        }
    }

    /// Handles a value that is assigned to a column or compared with one. If a row is found by the
    /// name of a secret, each assigned value is masked, even a blank one: kept on purpose.
    void takeOperand(const Token& token) {
        const std::string_view content = contentOf(token);
        const bool isAssigned = m_clause == Clause::Set;
        m_isSecretRow = m_isSecretRow || (m_compared == NameColumn && Secrets::isSecret(content)) ||
                        (!isAssigned && Secrets::isKnownPassword(content));
        if (m_compared.empty() || (content.empty() && !isAssigned)) {
            return;
        }
        if (Secrets::isSecret(m_compared)) {
            keep(token, When::Always);
        } else if (isAssigned || m_compared == ValueColumn) {
            keep(token, When::InSecretRow);
        }
    }

    static std::string_view contentOf(const Token& token) {
        return token.kind == Token::Literal ? withoutQuotes(token.text) : token.text;
    }

    void keep(const Token& token, When when) {
        m_values.push_back({{token.begin, token.text.size()}, when});
    }

    void beginOperands() {
        if (!m_named.empty()) {
            m_compared = m_named;
            m_operandDepth = m_depth;
            m_named = {};
        }
    }

    /// Called at a comma or a closing bracket of @p depth.
    void endOperands(int depth) {
        if (depth <= m_operandDepth) {
            m_compared = {};
        }
    }

    /// Decides about the values since the last call.
    void settle(bool isOrderKnown) {
        for (const Value& value : m_values) {
            const bool isMasked = value.when == When::Always || !isOrderKnown ||
                                  (value.when == When::InSecretRow && m_isSecretRow);
            if (isMasked) {
                m_secrets.push_back(value.stretch);
            }
        }
        m_values.clear();
        m_isSecretRow = false;
        m_isAfterPasswordName = false;
    }

    Tokens m_tokens;
    const MaskedStatement::ColumnsOf& m_columnsOf;
    Clause m_clause = Clause::Other;
    int m_depth = 0;
    std::string m_table;
    std::vector<std::string> m_columns;
    std::size_t m_cell = 0;
    std::string_view m_named;     ///< the column before the current token
    std::string_view m_compared;  ///< the column that the current values belong to
    int m_operandDepth = 0;
    bool m_isAfterPasswordName = false;
    bool m_isSecretRow = false;
    std::vector<Value> m_values;
    Stretches m_secrets;
};

}  // namespace

MaskedStatement::MaskedStatement(std::string_view sql, const ColumnsOf& columnsOf)
    : m_sql(sql), m_secrets(SecretFinder(sql, columnsOf).find()) {}

std::string MaskedStatement::text(std::size_t limit) const {
    return LoggedText::masked(m_sql, m_secrets, MaskedValue, limit);
}

std::string MaskedStatement::error(std::string_view words) const {
    if (words.size() > LoggedText::FailureSize) {
        words = words.substr(0, words.find('"'));  // without the long token after it
    }
    for (const Stretch& secret : m_secrets) {
        const std::size_t place = words.find(m_sql.substr(secret.begin, secret.size));
        if (place != std::string_view::npos) {  // SQLite's message repeats at most one token
            return LoggedText::masked(words, {{place, secret.size}}, MaskedValue,
                                      LoggedText::FailureSize);
        }
    }
    return LoggedText::masked(words, {}, MaskedValue, LoggedText::FailureSize);
}
