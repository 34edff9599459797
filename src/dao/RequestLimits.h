#ifndef REQUESTLIMITS_H
#define REQUESTLIMITS_H

#include <cstddef>
#include <string>

/**
 * Counts the contents of a request. If a limit is exceeded, the parse ends, this is logged at level
 * 2, the request fails, and none of it is stored. Each request uses memory and time that all other
 * clients need, so its contents must be limited.
 */
class RequestLimits {
public:
    static constexpr std::size_t Entries = 10000;
    static constexpr std::size_t Items = 10000;  ///< of settings
    /// Names in ResultCols or in a deletion, and values of one row or search. SQLite refuses a
    /// statement with a thousand alternatives.
    static constexpr std::size_t Names = 900;
    /// Bytes of a schema or context. Both are part of the statement of each row.
    static constexpr std::size_t NameBytes = 4096;

    /// Each of these counts one more item, or checks a number of items. They return nothing: the
    /// parse continues, and its owner calls isExceeded() once at the end.
    void addEntry() { check(++m_entries, Entries, "Entry elements"); }
    void checkItems(std::size_t count) { check(count, Items, "items of settings"); }
    void checkValues(std::size_t count) { check(count, Names, "values in one row"); }
    void checkDeletion(std::size_t count) { check(count, Names, "names in a deletion"); }
    void checkName(const std::string& name) {
        check(name.size(), NameBytes, "bytes in the name of a schema or context");
    }
    /// @p resultCols is the content of ResultCols: names with blanks between them.
    void checkColumns(const std::string& resultCols);

    [[nodiscard]] bool isExceeded() const { return m_isExceeded; }

private:
    void check(std::size_t count, std::size_t limit, const char* what);

    std::size_t m_entries = 0;
    bool m_isExceeded = false;
};

#endif
