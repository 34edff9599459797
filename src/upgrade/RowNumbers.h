#ifndef ROWNUMBERS_H
#define ROWNUMBERS_H

class DatabaseAdapter;

/// The numbers of contacts, calls, conversations and dial plan entries, which the database assigns.
namespace RowNumbers {

/**
 * Gives each row whose number is above AssignedNumbers::Highest a new one, and lets the
 * conversations follow that name it. The numbering of the table goes back to its highest row: one
 * at SQLite's highest number let no row be added any more.
 *
 * A table is one transaction. On a failure it stays as it was, which is in the log. Works on tables
 * of older forms too, and leaves alone those that are missing.
 */
void limit(DatabaseAdapter& adapter);

}  // namespace RowNumbers

#endif
