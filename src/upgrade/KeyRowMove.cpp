// Rows move inside the database, by statements over both tables. No value becomes part of a
// statement's string, so no value can break the move.

#include "upgrade/KeyRowMove.h"

#include "ClientUtils.h"
#include "dao/DASUtils.h"
#include "database/DatabaseAdapter.h"

KeyRowMove::KeyRowMove(DatabaseAdapter& adapter, std::string from, std::string to,
                       std::vector<std::string> columns)
    : m_adapter(adapter),
      m_from(std::move(from)),
      m_to(std::move(to)),
      m_columns(std::move(columns)) {}

std::string KeyRowMove::oneOf(const std::vector<std::string>& ids) {
    std::vector<std::string> quoted;
    for (const std::string& id : ids) {
        quoted.push_back(DASUtils::convertToDBFormat(id));
    }
    return " IN (" + ClientUtils::join(quoted, ", ") + ")";
}

std::string KeyRowMove::hasValue() const {
    return "COALESCE(" + m_from + "." + m_columns.front() + ", '') NOT IN ('', '0')";
}

std::string KeyRowMove::rowsMeant(const std::vector<std::string>& ids, Rows which) const {
    return m_from + ".Id" + oneOf(ids) + (which == Rows::WithValue ? " AND " + hasValue() : "");
}

bool KeyRowMove::run(const std::string& sql) const {
    return m_adapter.executeNonQuery(sql) == 0;
}

bool KeyRowMove::copy(const std::vector<std::string>& ids, Rows which) const {
    const std::string columns = ClientUtils::join(m_columns, ", ");
    const std::string sameKey =
        m_from + ".UserContext = " + m_to + ".UserContext AND " + m_from + ".Id = " + m_to + ".Id";
    const std::string source = " FROM " + m_from + " WHERE " + sameKey + " AND " + hasValue();
    return run("UPDATE " + m_to + " SET (" + columns + ") = (SELECT " + columns + source +
               ") WHERE Id" + oneOf(ids) + " AND EXISTS (SELECT 1" + source + ");") &&
           run("INSERT INTO " + m_to + " (UserContext, Id, " + columns +
               ") SELECT UserContext, Id, " + columns + " FROM " + m_from + " WHERE " +
               rowsMeant(ids, which) + " AND NOT EXISTS (SELECT 1 FROM " + m_to + " WHERE " +
               sameKey + ");");
}

bool KeyRowMove::move(const std::vector<std::string>& ids, Rows which) const {
    return copy(ids, which) &&
           run("DELETE FROM " + m_from + " WHERE " + rowsMeant(ids, which) + ";");
}
