#ifndef STATEMENTTEXT_H
#define STATEMENTTEXT_H

#include <cstddef>
#include <string>
#include <vector>

/**
 * The text of a statement with a parameter in place of each of its string literals, so that
 * statements that differ in their values alone share one prepared statement.
 *
 * It is not parsed as SQL. If this class is not certain about a string, it leaves it unchanged, and
 * the statement runs without the cache.
 */
class StatementText {
public:
    /// A literal inside the text: the place after its first quote, and its length up to the last.
    struct Literal {
        std::size_t begin;
        std::size_t length;
        bool hasDoubledQuotes;
    };

    /// Takes @p sql apart; @p sql must outlive this object.
    explicit StatementText(const std::string& sql);

    /// Whether the statement may be cached: it has at most MaximumSize bytes and reads or writes
    /// rows, or begins or ends a transaction. Other statements may change tables, which makes
    /// cached statements invalid.
    [[nodiscard]] bool isCacheable() const { return m_isCacheable; }

    /// The string with "?" for each literal; empty if it is not cacheable.
    [[nodiscard]] const std::string& key() const { return m_key; }

    /// The literals in their order, one for each "?".
    [[nodiscard]] const std::vector<Literal>& literals() const { return m_literals; }

    /// The value of a literal that has doubled quotes.
    [[nodiscard]] std::string unquoted(const Literal& literal) const;

    /// A longer statement is not cached: it is rare, and its statement would occupy memory.
    static constexpr std::size_t MaximumSize = 8 * 1024;

private:
    [[nodiscard]] bool takeApart();
    [[nodiscard]] bool takeLiteral(std::size_t& place);
    [[nodiscard]] bool takeName(std::size_t& place, char end);

    const std::string& m_sql;
    std::string m_key;
    std::vector<Literal> m_literals;
    bool m_isCacheable;
};

#endif
