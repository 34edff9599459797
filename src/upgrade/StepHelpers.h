#ifndef STEPHELPERS_H
#define STEPHELPERS_H

#include <string>
#include <vector>

#include "DASTypes.h"

class DataAccessServiceIfc;
class DatabaseAdapter;

/// What several migration steps need: rows of settings, counts, passwords, the software that ran
/// previously.
namespace StepHelpers {

/// The four cells of a row of settings, by their places.
enum SettingCell : std::size_t { SchemaCell, ContextCell, NameCell, ValueCell };

/// The columns of the table of settings, by the places above.
const std::vector<std::string>& settingsColumns();

/// The conditions that name one setting; unescaped strings.
PairList settingConditions(const std::string& schema, const std::string& context,
                           const std::string& name);

/// Reads cells of the matching settings. Returns the raw result of the query.
int readSettings(DataAccessServiceIfc* service, const std::vector<std::string>& columns,
                 const PairList& conditions, Rows& rows);

/// Whether a matching setting exists. True also if this can't be found out, because a default must
/// not replace an existing value.
bool maySettingBePresent(DataAccessServiceIfc* service, PairList conditions);

/// Inserts a setting, or replaces the one with the same key. The strings are unescaped and may hold
/// any byte. Returns an adapter status.
int insertSetting(DatabaseAdapter& adapter, const std::string& schema, const std::string& context,
                  const std::string& name, const std::string& value);

/// The word for @p value in log lines.
constexpr const char* yesNo(bool value) {
    return value ? "true" : "false";
}

/// Number of rows of @p table; 0 also if they can't be counted.
long rowsOf(DataAccessServiceIfc* service, const std::string& table);

/// Whether both tables can be counted and have the same number of rows.
[[nodiscard]] bool haveEqualCounts(DatabaseAdapter& adapter, const std::string& one,
                                   const std::string& other);

/// Runs a statement whose failure is only logged.
void execute(DataAccessServiceIfc* service, const std::string& sql);

/// Columns of @p table, in their order; none for a missing table.
std::vector<std::string> columnsOf(DatabaseAdapter& adapter, const std::string& table);

/// Whether @p columns has @p name, in any case, as in SQL.
bool hasColumn(const std::vector<std::string>& columns, const std::string& name);

/// Logs each of @p columns of @p table that is not in @p kept, with the number of values that are
/// lost.
void logGivenUpColumns(DatabaseAdapter& adapter, const std::string& table,
                       const std::vector<std::string>& columns,
                       const std::vector<std::string>& kept);

/// Runs statements in their order, up to the first that fails. Returns whether all ran.
[[nodiscard]] bool runAll(DatabaseAdapter& adapter, const std::vector<std::string>& statements);

/// Encrypts @p plain. False, and a log line, when a text that is not blank could not be encrypted.
[[nodiscard]] bool encrypt(const std::string& plain, std::string& encrypted);

/// Whether the software that ran before this start used the older protocol.
bool olderProtocolRan();

/// Removes the files that earlier software used to move rows, since they may hold passwords.
void removeMigrationFiles();

}  // namespace StepHelpers

#endif
