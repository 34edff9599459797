// SQLite numbers a new row after the highest existing number. So one row with the highest possible
// number would prevent all later inserts. Numbers that a client chooses are therefore kept below a
// limit.

#include "dao/AssignedNumbers.h"

#include <algorithm>

#include "ClientUtils.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"

namespace {

const std::string NewNumber = "NULL";

/// Whether @p number, even without its quotes, has too few characters to exceed the limit. A number
/// with an exponent may be short and still exceed it.
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
    // SQLite itself decides which number the string stands for.
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
    // Assigned numbers only grow, except when a full disk rolls the transaction back. The earlier
    // entries are lost then, and their numbers are assigned again. They must not replace the rows
    // that have these numbers now.
    if (number <= m_highest) {
        std::replace_if(
            m_numbers.begin(), m_numbers.end(), [number](long long n) { return n >= number; }, 0);
    }
    m_numbers[entry] = number;
    m_highest = number;
}
