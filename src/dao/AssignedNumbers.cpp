// SQLite gives a new row the number after the highest one, so a single row at the end of the range
// would stop the table for good: numbers that a client assigns are held below.

#include "dao/AssignedNumbers.h"

#include <algorithm>

#include "ClientUtils.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"

namespace {

const std::string NewNumber = "NULL";

/// Whether @p number has too few characters to be above the highest number, also without its
/// quotes. One with an exponent may be short.
bool isSurelyLow(const std::string& number) {
    constexpr std::size_t digitsOfLowNumber = 15;
    return number.size() <= digitsOfLowNumber && number.find_first_of("eE") == std::string::npos;
}

}  // namespace

bool AssignedNumbers::mayBeStored(DatabaseAdapter& adapter, const Key& key,
                                  const std::string& number) {
    if (isSurelyLow(number)) {
        return true;
    }
    // SQLite itself decides what number the text is.
    Rows rows;
    const bool isAsked = adapter.executeSQLQuery("SELECT CAST(" + number + " AS NUMERIC) > " +
                                                     ClientUtils::int64tos(Highest) +
                                                     " AND NOT EXISTS (SELECT 1 FROM " + key.table +
                                                     " WHERE " + key.column + " = " + number + ");",
                                                 rows) == 0;
    const bool mayBe = isAsked && rows.at(0).at(0) == "0";
    if (!mayBe) {
        DAS_LOG(2, "No new row of %s may have the number %s, which is above %lld",
                key.table.c_str(), number.c_str(), Highest);
    }
    return mayBe;
}

std::string AssignedNumbers::ofFile(DatabaseAdapter& adapter, const Key& key,
                                    const std::string& text) {
    const std::string number = DASUtils::escapeAndQuote(text);
    return text.empty() || !mayBeStored(adapter, key, number) ? NewNumber : number;
}

std::string AssignedNumbers::valueOf(std::size_t entry) const {
    const bool isStored = entry < m_numbers.size() && m_numbers[entry] != 0;
    return isStored ? ClientUtils::int64tos(m_numbers[entry]) : NewNumber;
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
