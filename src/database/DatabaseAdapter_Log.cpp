// What the log shows of statements.

#include <sqlite3.h>

#include "Log.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "database/MaskedStatement.h"
#include "database/Statement.h"

std::atomic<bool> DatabaseAdapter::m_isRequestContentShowableOnTheAurelTrace{true};

const char* DatabaseAdapter::errorText() const {
    sqlite3* const db = connection();
    return db != nullptr ? sqlite3_errmsg(db) : "no open database";
}

bool DatabaseAdapter::isReady(const Statement& statement, const std::string& sql) {
    if (!statement.isPrepared()) {
        logStatementError(sql);
    }
    return statement.isPrepared();
}

void DatabaseAdapter::logStatementError(const std::string& sql) {
    tellFailure(errorText(), sql);
}

void DatabaseAdapter::tellFailure(const char* error, const std::string& sql) {
    sqlite3* const db = connection();
    const int code = db != nullptr ? sqlite3_errcode(db) : SQLITE_OK;
    const bool isNewDamage = !m_damageIsTold && (code == SQLITE_CORRUPT || code == SQLITE_NOTADB);
    if (!isNewDamage && !loggingOnAppUni("DataAccessService", 3)) {
        return;
    }
    const std::string words = error;  // a copy: SQLite drops the message when the columns are read
    DAS_LOG(3, "%s", failureForLog(words, sql).c_str());
    if (isNewDamage) {
        m_damageIsTold = true;
        // Only the part before the first quote: the rest may hold secret values.
        DAS_LOG(2, "The database %s is damaged: %s, at '%s'", databasePath().c_str(), words.c_str(),
                sql.substr(0, sql.find('\'')).c_str());
    }
}

std::string DatabaseAdapter::failureForLog(const std::string& words, const std::string& sql) {
    const MaskedStatement statement(sql, columnsInOrder());
    return "SQLite: ERROR '" + statement.error(words) + "' handling request '" +
           statement.text(LoggedText::FailureSize) + "'";
}

std::string DatabaseAdapter::forLog(const std::string& sql) {
    return MaskedStatement(sql, columnsInOrder()).text();
}

MaskedStatement::ColumnsOf DatabaseAdapter::columnsInOrder() {
    return [this](const std::string& table) {
        const std::string sql = "SELECT * FROM " + table + ";";
        AdapterLock lock(*this);
        return Statement(connection(), sql).columnNames();
    };
}

void DatabaseAdapter::logFailedStep(Statement& statement, int code, const std::string& sql) {
    const bool isFailure = code != SQLITE_ROW && code != SQLITE_DONE;
    if (isFailure && statement.isPrepared() && !statement.isEmpty()) {
        (void)statement.reset();  // sets the error message of the failed step
        logStatementError(sql);
    }
}

void DatabaseAdapter::setWhetherRequestContentShowableOnTheAurelTrace(bool showable) {
    m_isRequestContentShowableOnTheAurelTrace = showable;
}

bool DatabaseAdapter::getWhetherRequestContentShowableOnTheAurelTrace() {
    return m_isRequestContentShowableOnTheAurelTrace;
}
