// Values are bound and not written into the SQL string: the rows hold the user's own data, which
// may contain bytes that no SQL string can.

#include "dao/NamedRows.h"

#include <algorithm>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "dao/DASUtils.h"
#include "dao/DataAccessObject.h"
#include "database/DatabaseAdapter.h"

using DASUtilsStrings::UserContextTagName;

const std::string& NamedRows::keyOf(const DataAccessObject& dao) {
    const auto& columns = dao.columns();
    return columns[columns.front().name == UserContextTagName ? 1 : 0].name;
}

NamedRows::NamedRows(DatabaseAdapter& adapter, const DataAccessObject& dao, const std::string& user,
                     const std::vector<std::string>& names)
    : m_adapter(adapter), m_dao(dao), m_user(user), m_names(names) {
    for (const auto& column : dao.columns()) {
        m_hasUser = m_hasUser || column.name == UserContextTagName;
        m_isNumbered = m_isNumbered || (column.name == keyOf(dao) &&
                                        column.type.rfind("INTEGER PRIMARY KEY", 0) == 0);
    }
    const auto key = std::find(names.begin(), names.end(), keyOf(dao));
    m_keyPlace = key == names.end() ? NoPlace : static_cast<std::size_t>(key - names.begin());
}

NamedRows::Outcome NamedRows::store(const std::vector<std::string>& cells) {
    if (!hasKey(cells) && !m_isNumbered) {
        return Outcome::Failed;
    }
    switch (hasKey(cells) ? ownerOf(cells[m_keyPlace]) : Owner::None) {
        case Owner::User:
            return change(cells) ? Outcome::Changed : Outcome::Failed;
        case Owner::OtherUser:
            return Outcome::OfOtherUser;
        case Owner::None:
            return add(cells) ? Outcome::Added : Outcome::Failed;
        default:
            return Outcome::Failed;
    }
}

/// Looked up before each row and not once for all rows: an earlier row of the same import may have
/// taken the key.
NamedRows::Owner NamedRows::ownerOf(const std::string& key) const {
    Rows rows;
    const std::string sql = "SELECT " + (m_hasUser ? UserContextTagName : "''") + " FROM " +
                            m_dao.tableName() + " WHERE " + keyOf(m_dao) + " = " +
                            DASUtils::escapeAndQuote(key) + ";";
    if (m_adapter.executeSQLQuery(sql, rows) != 0) {
        return Owner::Unknown;
    }
    const bool isOfUser = std::any_of(rows.begin(), rows.end(), [this](const auto& row) {
        return !m_hasUser || row.at(0) == m_user;
    });
    // If clients choose the keys, each user may have a row with the same key. Assigned numbers are
    // unique over all users.
    const bool isOfOther = !rows.empty() && m_isNumbered;
    return isOfUser ? Owner::User : isOfOther ? Owner::OtherUser : Owner::None;
}

bool NamedRows::change(const std::vector<std::string>& cells) {
    std::string sql;
    std::vector<std::string> values;
    for (std::size_t place = 0; place < m_names.size(); ++place) {
        if (place != m_keyPlace) {
            sql += (sql.empty() ? "" : ", ") + m_names[place] + " = ?";
            values.push_back(cells[place]);
        }
    }
    if (values.empty()) {
        return true;
    }
    sql = "UPDATE " + m_dao.tableName() + " SET " + sql + " WHERE " + keyOf(m_dao) + " = ?";
    values.push_back(cells[m_keyPlace]);
    if (m_hasUser) {
        sql += " AND " + UserContextTagName + " = ?";
        values.push_back(m_user);
    }
    return m_adapter.executeWithValues(sql + ";", values) == 0;
}

bool NamedRows::add(const std::vector<std::string>& cells) {
    std::vector<std::string> columns;
    std::vector<std::string> values;
    for (const auto& column : m_dao.columns()) {
        const auto named = std::find(m_names.begin(), m_names.end(), column.name);
        const bool isNamed = named != m_names.end();
        std::string value = isNamed ? cells[static_cast<std::size_t>(named - m_names.begin())]
                            : column.name == UserContextTagName ? m_user
                                                                : column.defaults.front();
        if (column.name == keyOf(m_dao) && value.empty()) {
            continue;  // the database assigns a number
        }
        columns.push_back(column.name);
        values.push_back(std::move(value));
    }
    std::string places;
    for (std::size_t place = 0; place < values.size(); ++place) {
        places += place == 0 ? "?" : ", ?";
    }
    return m_adapter.executeWithValues("INSERT INTO " + m_dao.tableName() + " (" +
                                           ClientUtils::join(columns, ", ") + ") VALUES (" +
                                           places + ");",
                                       values) == 0;
}
