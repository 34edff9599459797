#include "dao/AssignedNumbers.h"

#include <algorithm>

#include "ClientUtils.h"

std::string AssignedNumbers::valueOf(std::size_t entry) const {
    const bool isStored = entry < m_numbers.size() && m_numbers[entry] != 0;
    return isStored ? ClientUtils::int64tos(m_numbers[entry]) : "NULL";
}

void AssignedNumbers::keep(std::size_t entry, long long number) {
    m_numbers.resize(std::max(m_numbers.size(), entry + 1));
    if (m_numbers[entry] == number) {
        return;
    }
    // Numbers only grow, unless a full disk took the transaction back: then the entries whose
    // numbers are given anew were lost with it, and must not replace those that have them now.
    if (number <= m_highest) {
        std::replace_if(
            m_numbers.begin(), m_numbers.end(), [number](long long n) { return n >= number; }, 0);
    }
    m_numbers[entry] = number;
    m_highest = number;
}
