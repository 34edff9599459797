#ifndef SQLJUDGE_H
#define SQLJUDGE_H

#include <set>
#include <string>
#include <utility>
#include <vector>

struct sqlite3;

/**
 * Watches what the service does with its database, from SQLite's side: what each statement may
 * touch, as the compiler of statements sees it, and how many statements a text holds. It is linked
 * in front of SQLite, so the service needs no hook for it. One thread.
 */
class SqlJudge {
public:
    /// What a statement wants to do: an action code of SQLite with its table, function or pragma.
    using Act = std::pair<int, std::string>;

    /// From now on each connection that is opened is watched.
    static void install();
    /// The connection that was opened last; not owned.
    static sqlite3* connection();

    /// Forgets what was seen, and looks on.
    static void begin();
    static void end();

    static const std::set<Act>& acts();
    /// Tables of which a row was inserted, changed or deleted.
    static const std::set<std::string>& changedTables();
    /// Texts that held more than one statement, a comment or an open quote, or that ran two.
    static const std::vector<std::string>& badTexts();
    /// How many texts have been looked at since install().
    static long long texts();

    static std::string nameOf(const Act& act);
};

#endif
