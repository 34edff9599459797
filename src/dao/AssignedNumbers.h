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
