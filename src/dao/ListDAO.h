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
 * Rows that the database numbers keep their number for the time of a request: a write that failed
 * half way is run once more, and must replace what the first run stored.
 */
class ListDAO : public DataAccessObject {
public:
    /// Deletes all rows of the user; 1 when the whole table is empty.
    int initialiseMobilityUserData(const std::string& context) override;
    /// 0 always: a file that can't be written is in the log.
    int exportData(PairList& conditions, std::string& location) override;
    /// Adds the rows of a file, whose fields are the columns in the order of the table; fields that
    /// are missing at the end of a line are blank. 0 whatever it held, 1 when it did not open.
    int importData(std::string& location) override;

    /// Parser event, called through the callbacks.
    void characters(const char* text, int length) { m_request.addCharacters(text, length); }

protected:
    /// @p fields are the elements of a row in requests; not owned.
    ListDAO(DatabaseAdapter* adapter, std::shared_ptr<const TableLayout> layout,
            const std::vector<std::string>& fields);

    /// Takes the words of ResultCols. False when they, or the paging, may not enter a statement.
    [[nodiscard]] bool takeReadWords();
    /// Whether an entry may be stored under @p number, which a client chose, as it stands in the
    /// statement. Looks for listeners whose row it will replace.
    bool mayStore(const AssignedNumbers::Key& key, const std::string& number);
    /// Notes for listeners that the entry at @p entry was stored as m_lastNumber, and keeps that
    /// number if the database gave it (@p isAssigned). Returns @p result, that of the insert.
    int noteStored(std::size_t entry, bool isAssigned, int result);
    /// Deletes the rows that each entry describes, or once without an entry: @p conditions makes
    /// the conditions of an entry, @p numbers has the number that each names. The result of the
    /// last delete; 1 when more of them name no number than may, since these look at all rows.
    int deleteEntries(const std::vector<std::string>& numbers,
                      const std::function<void(PairList&, unsigned)>& conditions);

    /// A reason of lists alone, and that of its answer.
    static const std::string RowCountRequest;
    static const std::string RowCountResponse;

    ListRequest m_request;
    AssignedNumbers m_numbers;
    std::string m_count;         ///< answer to a count
    long long m_lastNumber = 0;  ///< of the row that was stored last

private:
    bool m_replacesOthers = false;  ///< the row of the entry in work is another user's
};

#endif
