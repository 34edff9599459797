#ifndef ASSIGNEDNUMBERS_H
#define ASSIGNEDNUMBERS_H

#include <cstddef>
#include <string>
#include <vector>

class DatabaseAdapter;

/**
 * The numbers that the database assigned to the entries of a write. A failed write is run a second
 * time. An entry that the first run stored must then replace its row instead of adding a second
 * one.
 */
class AssignedNumbers {
public:
    /// The highest number that a client may choose; every client can represent numbers up to it
    /// exactly. The database numbers new rows from the highest one on. So after a row with SQLite's
    /// highest number, no row could be added.
    static constexpr long long Highest = 9007199254740991;

    /// The key of a table whose rows the database numbers.
    struct Key {
        const std::string& table;
        const std::string& column;
    };
    /// Whether a client may store a row under @p number (in the form of the statement): it is at
    /// most Highest, or not a number, or the number of an existing row. False, with a log line,
    /// also when this can't be found out.
    [[nodiscard]] static bool mayBeStored(DatabaseAdapter& adapter, const Key& key,
                                          const std::string& number);
    /// The number of a row of a data file, in the form of the statement. NULL if @p text is blank
    /// or may not be stored, so that the database assigns a new number.
    [[nodiscard]] static std::string ofFile(DatabaseAdapter& adapter, const Key& key,
                                            const std::string& text);

    /// The value of the number column for an entry that was sent without a number, in database
    /// form: the number under which an earlier run stored it, or NULL, so that the database assigns
    /// one.
    std::string valueOf(std::size_t entry) const;

    /// Stores the number under which this entry was inserted.
    void keep(std::size_t entry, long long number);

private:
    std::vector<long long> m_numbers;  ///< by entry; 0 if it has none
    long long m_highest = 0;           ///< the highest number ever stored here
};

#endif
