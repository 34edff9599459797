#ifndef ROWNUMBERS_H
#define ROWNUMBERS_H

class DatabaseAdapter;

/// The numbers of contacts, calls, conversations and dial plan entries, which the database assigns.
namespace RowNumbers {

/**
 * Gives each row whose number is above AssignedNumbers::Highest a new number, and updates the
 * conversations that refer to it. The next assigned number then follows the highest row: after
 * SQLite's highest number no row could be added.
 *
 * A table is one transaction. On a failure it stays as it was, which is in the log. Works on tables
 * of older forms too, and leaves alone those that are missing.
 */
void limit(DatabaseAdapter& adapter);

}  // namespace RowNumbers

#endif
