#ifndef REQUESTLIMITS_H
#define REQUESTLIMITS_H

#include <cstddef>
#include <string>

/**
 * Counts what a request holds. What goes beyond a limit ends the parse and is logged at level 2;
 * the request is a failure then, and nothing of it is stored. Each request of a client takes memory
 * and time of all others, so both must follow from what it may hold.
 */
class RequestLimits {
public:
    static constexpr std::size_t Entries = 10000;
    static constexpr std::size_t Items = 10000;  ///< of settings
    /// Names in ResultCols, in a deletion, and values of one row or search. A statement with a
    /// thousand alternatives is beyond what SQLite takes.
    static constexpr std::size_t Names = 900;
    /// Bytes of a schema or context, which enter the statement of each row.
    static constexpr std::size_t NameBytes = 4096;

    /// Each of these counts one thing more, or looks at how many there are. They return nothing:
    /// the parse goes on to its next event and asks isExceeded() once at its end.
    void addEntry() { check(++m_entries, Entries, "Entry elements"); }
    void checkItems(std::size_t count) { check(count, Items, "items of settings"); }
    void checkValues(std::size_t count) { check(count, Names, "values in one row"); }
    void checkDeletion(std::size_t count) { check(count, Names, "names in a deletion"); }
    void checkName(const std::string& name) {
        check(name.size(), NameBytes, "bytes in the name of a schema or context");
    }
    /// @p resultCols is the text of ResultCols, names with blanks between them.
    void checkColumns(const std::string& resultCols);

    [[nodiscard]] bool isExceeded() const { return m_isExceeded; }

private:
    void check(std::size_t count, std::size_t limit, const char* what);

    std::size_t m_entries = 0;
    bool m_isExceeded = false;
};

#endif
