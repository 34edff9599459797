#ifndef CONVERSATIONSDAO_H
#define CONVERSATIONSDAO_H

#include <array>
#include <string>
#include <vector>

#include "contacts/ConversationsTable.h"
#include "dao/AssignedNumbers.h"
#include "dao/ListRequest.h"

// The parser callbacks of the conversations; the user data is the ConversationsDAO.
void ConversationsDAOXmlStartElement(void* dao, const char* name, const char** attributes);
void ConversationsDAOXmlEndElement(void* dao, const char* name);
void ConversationsDAOXmlCharacterDataHandler(void* dao, const char* text, int length);

/**
 * The conversations: which contact of the phone book belongs to which row of the call log, in the
 * table CONVERSATIONS. Contacts and calls that are named here disappear from the ordinary lists.
 * They are shown here as one list, newest call first.
 *
 * Nothing asks whether the contact and the call exist: a row that names a missing one is stored,
 * and is left out of the joined list.
 *
 * The int results are 0 for success. They are also 1 if a value of the request may not become part
 * of a statement, because it has the wrong form; the statement does not run then.
 */
class ConversationsDAO : public ConversationsTable {
public:
    /// @p adapter is not owned and may be null.
    explicit ConversationsDAO(DatabaseAdapter* adapter);
    ~ConversationsDAO() override = default;

    void handleRequest(const char* text, int length) override;
    std::string schemaName() override;
    std::string responseData() override;

    int initialiseMobilityUserData(const std::string& context) override;

    int exportData(PairList& conditions, std::string& location) override;
    int importData(std::string& location) override;

    /**
     * Stores the entries of the request in one transaction. Each stored entry keeps its number, so
     * that a second run replaces it. Returns the result of the last entry, 0 without any.
     */
    int writeRequest() override;
    /// Reads the rows themselves or, with ResultCols, the contacts and calls that they join.
    int readRequest() override;

    /// Stores one line of a data file as a new row: XML escapes are undone, and a blank number is
    /// replaced by a new one. Returns a raw SQLite code.
    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override;

    /// Deletes the user's conversations that each entry describes; all of them if there is no
    /// entry. Returns the result of the last delete; 1 if the whole table is empty.
    virtual int deleteRequest();

    /// Appends the conditions on the user and from the entry at @p index; only on the user if there
    /// is no entry.
    void fillupSearchParams(PairList& params, unsigned index) const;

    // Parser events.
    void startElement(const char* name, const char** attributes);
    void endElement(const char* name);

private:
    static constexpr std::size_t FieldCount = 3;  ///< columns of the table without the user

    /// One row of a request; texts are escaped for SQL.
    using Entry = std::array<std::string, FieldCount>;

    int writeWithTable();
    int writeEntry(std::size_t index);
    /// Reads conversations together with their calls and contacts. Missing tables are created
    /// first, since a join with a missing table would fail.
    int readJoined();
    /// A plain answer shows the columns of the table except the user; a joined answer shows those
    /// that ResultCols names.
    static void appendPlainRows(std::string& body, const Rows& rows);
    void appendJoinedRows(std::string& body, const Rows& rows) const;

    Entry m_entry;  ///< the current entry
    std::vector<Entry> m_entries;
};

#endif
