#ifndef ASSIGNEDNUMBERS_H
#define ASSIGNEDNUMBERS_H

#include <cstddef>
#include <string>
#include <vector>

class DatabaseAdapter;

/**
 * The numbers that the database gave to the entries of a write. A write that failed runs once more,
 * and an entry that the first run stored has to replace its row then, not add a second one.
 */
class AssignedNumbers {
public:
    /// The highest number that a client may choose, the highest that each of them can hold exactly.
    /// The database numbers on from the highest row, so one at SQLite's highest number would end
    /// its table: no row could be added any more.
    static constexpr long long Highest = 9007199254740991;

    /// The key of a table whose rows the database numbers.
    struct Key {
        const std::string& table;
        const std::string& column;
    };
    /// Whether a client may store a row under @p number, as it stands in the statement: it is at
    /// most Highest, no number, or that of a row that is there. False, with a line in the log, also
    /// when this can't be asked.
    [[nodiscard]] static bool mayBeStored(DatabaseAdapter& adapter, const Key& key,
                                          const std::string& number);
    /// The number of a row of a data file, @p text, as it stands in the statement: NULL, so that
    /// the database gives it a new one, for a blank one and for one that may not be stored.
    [[nodiscard]] static std::string ofFile(DatabaseAdapter& adapter, const Key& key,
                                            const std::string& text);

    /// Value of the number column for an entry that was sent without a number, in database form:
    /// the one that it was stored under, or NULL, so that the database gives it one.
    std::string valueOf(std::size_t entry) const;

    /// Keeps the number that such an entry was stored under.
    void keep(std::size_t entry, long long number);

private:
    std::vector<long long> m_numbers;  ///< by entry; 0 for none
    long long m_highest = 0;           ///< of those that were ever kept
};

#endif
