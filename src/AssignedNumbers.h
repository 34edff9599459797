#ifndef ASSIGNEDNUMBERS_H
#define ASSIGNEDNUMBERS_H

#include <cstddef>
#include <string>
#include <vector>

/**
 * The numbers that the database gave to the entries of a write. A write that failed runs once more,
 * and an entry that the first run stored has to replace its row then, not add a second one.
 */
class AssignedNumbers {
public:
    /// Value of the number column for an entry, in database form: the number that was @p sent,
    /// escaped, else the one that the entry got, or NULL, so that the database gives it one.
    std::string valueOf(std::size_t entry, const std::string& sent) const;

    /// Keeps the number that an entry was stored under.
    void keep(std::size_t entry, long long number);

private:
    std::vector<long long> m_numbers;
    long long m_highest = 0;
};

#endif
