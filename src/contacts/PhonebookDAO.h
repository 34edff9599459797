#ifndef PHONEBOOKDAO_H
#define PHONEBOOKDAO_H

#include <string>
#include <vector>

#include "contacts/ContactFields.h"
#include "dao/ListDAO.h"

// The parser callbacks of the phone book; the user data is the PhonebookDAO.
void PhonebookDAOXmlStartElement(void* dao, const char* name, const char** attributes);
void PhonebookDAOXmlEndElement(void* dao, const char* name);
void PhonebookDAOXmlCharacterDataHandler(void* dao, const char* text, int length);

/**
 * The phone book: the personal contacts of base user and visitor, in the table PHONE_BOOK.
 *
 * A contact is a row of twenty columns: the user, a number that is unique over all users, and
 * eighteen texts. In requests and answers each column but the user is an element of its name; only
 * the call group travels as "Group". SurnameLike and FirstnameLike search for a part of a name.
 *
 * The int results are 0 for success. They are also 1 if a value of the request may not become part
 * of a statement, because it has the wrong form; the statement does not run then.
 */
class PhonebookDAO : public ListDAO {
public:
    PhonebookDAO();
    /// @p adapter is not owned and may be null.
    explicit PhonebookDAO(DatabaseAdapter* adapter);
    /// Creates the table at once, without the columns named in @p columnsToSkip.
    PhonebookDAO(DatabaseAdapter* adapter, std::vector<std::string> columnsToSkip);
    ~PhonebookDAO() override = default;

    void handleRequest(const char* text, int length) override;
    std::string responseData() override;

    int createTable() override;
    /**
     * Replaces one user's contacts by those of a file of the same form; users and numbers in the
     * file are ignored. The contacts are removed before the file is opened: kept on purpose, an
     * import that names no file is how management empties the book. 1 when the file did not open.
     */
    int importDataForUser(const std::string& location, eUserCategory category) override;
    using DataAccessObject::deleteVisitorPhonebook;
    int deleteVisitorPhonebook() override;
    /// Creates those indices for the searches that are missing. Always 0.
    int createPhonenumberIndices() override;

    /**
     * Stores the entries of the request, two or more in one transaction. Each stored entry keeps
     * its number, so that a second run replaces it. -1 if there is no entry or if the disk is more
     * than 90 % full, else the adapter status of the last entry.
     */
    int writeRequest() override;
    /// Sets the values of Entry in all contacts that Select names, whichever user they belong to:
    /// kept on purpose, a number names one contact. 1 if Select names nothing.
    int updateRequest() override;
    int readRequest() override;

    /**
     * Stores one line of a data file as a new row: XML escapes are undone, a picture's path is cut
     * to the name, missing values are blank, and a blank number is replaced by a new one. Returns a
     * raw SQLite code. More values than columns throw std::out_of_range.
     */
    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override;

    /// Whether @p tag is one of @p tags. Exact comparison.
    bool tagIsInVector(std::string tag, std::vector<std::string>& tags);
    /// Creates the table without the columns named; the user can't be left out.
    int createTable(std::vector<std::string> columnsToSkip);

    int rowCountRequest();
    /// Deletes the user's contacts that the entry describes; all of them if there is no entry. 1
    /// for a pattern.
    int deleteRequest();
    /// Finds contacts of which any field of the entry matches. It uses only the row limit, no
    /// offset.
    int searchPhoneNumberRequest();
    int searchByExternalIdRequest();

    // Parser events.
    void startElement(const char* name, const char** attributes);
    void endElement(const char* name);

private:
    /// Writes. If the first run fails, it creates a missing table and runs once more. If the
    /// transaction could not begin, there is no second run, since it would wait as long again.
    int writeWithTable();
    /// Stores all contacts of the request; two or more in one transaction. -1 if it has none.
    int insertContacts();
    /// Stores one contact. 1 if it contains a search pattern, or if its number may not be stored.
    int insertContact(std::size_t index);
    /// The common part of both searches, which differ in their names and in their log line.
    int search(const char* logLine);
    /// Conditions from user and entries.
    int buildParams(PairList& params) const;
    /// Notes for listeners what an update has changed: the single contact that it names, or
    /// nothing.
    void noteUpdate();
    /// Prepares columns, paging and conditions of a read. 1 if one of them may not enter a
    /// statement.
    int buildReadQuery(PairList& params);
    /// Reads the words of ResultCols as they were sent. columnsToRead() returns them as columns,
    /// because one column has another name than its element.
    void extractResultColumns();
    std::vector<std::string> columnsToRead() const;

    ContactFields m_fields;
};

#endif
