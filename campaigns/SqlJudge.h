#ifndef SQLJUDGE_H
#define SQLJUDGE_H

#include <set>
#include <string>
#include <utility>
#include <vector>

struct sqlite3;

/**
 * Watches the service's accesses to its database from SQLite's side: what each statement may touch,
 * as reported when it is compiled, and how many statements a string contains. The linker puts it
 * before SQLite, so the service needs no hook for it. One thread only.
 */
class SqlJudge {
public:
    /// An access of a statement: an action code of SQLite with its table, function or pragma.
    using Act = std::pair<int, std::string>;

    /// From now on each connection that is opened is watched.
    static void install();
    /// The connection that was opened last; not owned.
    static sqlite3* connection();

    /// Drops earlier records, and continues to watch.
    static void begin();
    static void end();

    static const std::set<Act>& acts();
    /// Tables of which a row was inserted, changed or deleted.
    static const std::set<std::string>& changedTables();
    /// Strings that contained more than one statement, a comment or an open quote, or that ran two
    /// statements.
    static const std::vector<std::string>& badTexts();
    /// How many texts have been looked at since install().
    static long long texts();

    static std::string nameOf(const Act& act);
};

#endif
