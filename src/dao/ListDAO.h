#ifndef LISTDAO_H
#define LISTDAO_H

#include <functional>
#include <string>
#include <vector>

#include "dao/AssignedNumbers.h"
#include "dao/DataAccessObject.h"
#include "dao/ListRequest.h"

/**
 * The frame of the tables that clients see as lists: contacts, call groups, calls and
 * conversations.
 *
 * Their requests have the elements of ListRequest, and a client can ask how many rows there are.
 * During a request, a row keeps the number that the database assigned to it: if a write fails half
 * way, it runs once more and must replace the rows that the first run stored.
 */
class ListDAO : public DataAccessObject {
public:
    /// Deletes all rows of the user; 1 if the whole table is empty.
    int initialiseMobilityUserData(const std::string& context) override;
    /// Always 0: if the file can't be written, this is only logged.
    int exportData(PairList& conditions, std::string& location) override;
    /// Adds the rows of a file, whose fields are the columns in the order of the table. Fields that
    /// are missing at the end of a line are blank. Returns 0 whatever the file contained, 1 if it
    /// could not be opened.
    int importData(std::string& location) override;

    /// Parser event, called through the callbacks.
    void characters(const char* text, int length) { m_request.addCharacters(text, length); }

protected:
    /// @p fields are the elements of a row in requests; not owned.
    ListDAO(DatabaseAdapter* adapter, std::shared_ptr<const TableLayout> layout,
            const std::vector<std::string>& fields);

    /// Parses the words of ResultCols. False if they, or the paging, may not become part of a
    /// statement.
    [[nodiscard]] bool takeReadWords();
    /// Whether an entry may be stored under the number @p number, which a client chose and which is
    /// in its form for a statement. If there are listeners, finds out whose row it replaces.
    bool mayStore(const AssignedNumbers::Key& key, const std::string& number);
    /// Notes for listeners that the entry with the index @p entry was stored as m_lastNumber, and
    /// keeps that number if the database assigned it (@p isAssigned). Returns @p result, the result
    /// of the insert.
    int noteStored(std::size_t entry, bool isAssigned, int result);
    /// Deletes the rows that each entry describes, or runs once if there is no entry. @p conditions
    /// makes the conditions of an entry; @p numbers has the number that each entry names. Returns
    /// the result of the last delete. Entries without a number search all rows, so their count is
    /// limited; 1 if there are too many.
    int deleteEntries(const std::vector<std::string>& numbers,
                      const std::function<void(PairList&, unsigned)>& conditions);

    /// The reason for counting rows, which only lists have, and the reason of its answer.
    static const std::string RowCountRequest;
    static const std::string RowCountResponse;

    ListRequest m_request;
    AssignedNumbers m_numbers;
    std::string m_count;         ///< the number that answers a count
    long long m_lastNumber = 0;  ///< number of the row that was stored last

private:
    bool m_replacesOthers = false;  ///< the current entry replaces a row of another user
};

#endif
