#ifndef STATEMENTRECORD_H
#define STATEMENTRECORD_H

#include <functional>
#include <string>
#include <vector>

struct sqlite3;

/// What a connection does, as SQLite itself sees it. One thread; one recording at a time.
namespace StatementRecord {

/// Prepares SQLite for recordings. Call it before SQLite is used for the first time.
void install();

/// The connection that was opened last; null before the first.
sqlite3* lastOpened();

/**
 * What @p work does on @p db, in order: "run TEXT" for a statement that runs, "error TEXT" for
 * SQLite's report of a failure, and "prepare ACTION NAME" for each authorisation when a statement
 * is prepared, which also shows statements that never run.
 */
std::vector<std::string> of(sqlite3* db, const std::function<void()>& work);

/// The same for the connection that @p work opens, from its opening on.
std::vector<std::string> ofNextConnection(const std::function<void()>& work);

/// The statements of a recording: those that ran, those that failed, and those that were only
/// prepared, which are counted as reads of a table's columns.
std::vector<std::string> statementsIn(const std::vector<std::string>& record);

}  // namespace StatementRecord

#endif
