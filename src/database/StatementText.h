#ifndef STATEMENTTEXT_H
#define STATEMENTTEXT_H

#include <cstddef>
#include <string>
#include <vector>

/**
 * The text of a statement with a parameter in place of each of its string literals, so that
 * statements that differ in their values alone share one prepared statement.
 *
 * It is not parsed as SQL. What this class does not know for certain is left as it is: such a text
 * is run without the cache.
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

    /// Whether the statement may be kept: one of at most MaximumSize bytes that reads or writes
    /// rows, or that begins or ends a transaction. Others may change tables, which ends what is
    /// kept.
    [[nodiscard]] bool isCacheable() const { return m_isCacheable; }

    /// The text with "?" for each literal; empty unless it is cacheable.
    [[nodiscard]] const std::string& key() const { return m_key; }

    /// The literals in their order, one for each "?".
    [[nodiscard]] const std::vector<Literal>& literals() const { return m_literals; }

    /// The value of a literal that has doubled quotes.
    [[nodiscard]] std::string unquoted(const Literal& literal) const;

    /// A longer text is not kept: it is rare, and the memory of its statement would be held.
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
