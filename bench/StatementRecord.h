#ifndef STATEMENTRECORD_H
#define STATEMENTRECORD_H

#include <functional>
#include <string>
#include <vector>

struct sqlite3;

/// What a connection does, as SQLite itself sees it. One thread; one recording at a time.
namespace StatementRecord {

/// Prepares SQLite for records. Before the first use of SQLite in the process.
void install();

/// The connection that was opened last; null before the first.
sqlite3* lastOpened();

/**
 * What @p work does on @p db, in order: "run TEXT" for a statement that runs, "error TEXT" for what
 * SQLite reports of one that fails, and "prepare ACTION NAME" for each right that a statement asks
 * for when it is prepared, which shows also those that are never run.
 */
std::vector<std::string> of(sqlite3* db, const std::function<void()>& work);

/// The same for the connection that @p work opens, from its opening on.
std::vector<std::string> ofNextConnection(const std::function<void()>& work);

/// The statements of a record: those that ran, those that failed, and those that were prepared
/// only, which are taken for a question for a table's columns.
std::vector<std::string> statementsIn(const std::vector<std::string>& record);

}  // namespace StatementRecord

#endif
