#ifndef PHONEBOOKDAO_H
#define PHONEBOOKDAO_H

#include <array>
#include <deque>
#include <string>
#include <utility>
#include <vector>

#include "contacts/ContactColumns.h"
#include "dao/AssignedNumbers.h"
#include "dao/DataAccessObject.h"
#include "dao/ListRequest.h"

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
 * The int results are 0 for success; 1 also when a text of the request has not the form that it
 * must have in a statement, which is not run then.
 */
class PhonebookDAO : public DataAccessObject {
public:
    PhonebookDAO();
    /// @p adapter is not owned and may be null.
    explicit PhonebookDAO(DatabaseAdapter* adapter);
    /// Creates the table at once, without the columns named in @p columnsToSkip.
    PhonebookDAO(DatabaseAdapter* adapter, std::vector<std::string> columnsToSkip);
    ~PhonebookDAO() override;

    void handleRequest(const char* text, int length) override;
    std::string schemaName() override;
    std::string responseData() override;

    int createTable() override;
    /// Deletes all contacts of the user; 1 when the whole table is empty.
    int initialiseMobilityUserData(const std::string& context) override;
    using DataAccessObject::copyBaseDataToVisitor;
    int copyBaseDataToVisitor() override;
    using DataAccessObject::deleteContextData;
    int deleteContextData(const std::string& context) override;

    /// 0 always: a file that can't be written is in the log.
    int exportData(PairList& conditions, std::string& location) override;
    /// Adds the contacts of a file, whose fields are the twenty columns in order; fields that are
    /// missing at the end of a line are blank. 0 whatever the file held, 1 when it did not open.
    int importData(std::string& location) override;
    /**
     * Replaces one user's contacts by those of a file of the same form; its users and numbers are
     * left aside. The contacts are removed before the file is opened: kept on purpose, an import
     * that names no file is how management empties the book. 1 when the file did not open.
     */
    int importDataForUser(const std::string& location, eUserCategory category) override;
    using DataAccessObject::deleteVisitorPhonebook;
    int deleteVisitorPhonebook() override;
    /// Makes the indices that the searches use, those that are missing. 0 always.
    int createPhonenumberIndices() override;

    /**
     * Stores the entries of the request, two or more in one transaction. Each one that was stored
     * keeps its number, so that a second run replaces it. -1 without an entry and on a disk that is
     * more than 90 % full, else the adapter status of the last entry.
     */
    int writeRequest() override;
    /// Sets the values of Entry in all contacts that Select names, of whichever user: kept on
    /// purpose, a number names one contact. 1 when Select names nothing.
    int updateRequest() override;
    int readRequest() override;

    /**
     * Stores one line of a data file as a new row: XML escapes are undone, a picture's path is cut
     * to the name, columns without a value are blank, a blank number is assigned. A raw SQLite
     * code. More values than columns throw std::out_of_range.
     */
    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override;

    /// Whether @p tag is one of @p tags. Exact comparison.
    bool tagIsInVector(std::string tag, std::vector<std::string>& tags);
    /// Creates the table without the columns named; the user can't be left out.
    int createTable(std::vector<std::string> columnsToSkip);

    int rowCountRequest();
    /// Deletes the user's contacts that the entry describes, all without an entry. 1 for a pattern.
    int deleteRequest();
    /// Contacts of which any field of the entry matches. Only the row limit counts, no offset.
    int searchPhoneNumberRequest();
    int searchByExternalIdRequest();

    // Parser events.
    void startElement(const char* name, const char** attributes);
    void characters(const char* text, int length);
    void endElement(const char* name);

private:
    static constexpr std::size_t FieldCount = ContactColumns::Count - 1;  ///< all but the user

    /// A field of the request. Fields that were not sent take no memory: a book of contacts may
    /// come in one request.
    struct Field {
        std::string text;         ///< escaped for SQL
        unsigned char place = 0;  ///< of its column, among those but the user
        bool isPattern = false;   ///< LIKE and a quoted pattern, from an element "…Like"
        bool inEntry = false;     ///< or in a Select
    };
    /// By place; an empty one where none was sent.
    using Fields = std::array<const Field*, FieldCount>;
    /// Where the fields of an entry begin and end.
    using Stretch = std::pair<std::size_t, std::size_t>;

    int writeWithTable();
    int insertContacts();
    int insertContact(std::size_t index);
    void addField(std::size_t place, std::string text, bool isPattern);
    /// Of a field that was sent twice, the last.
    Fields fieldsOf(const Stretch& entry) const;
    /// Those of the last entry, and what follows it.
    Fields lastFields() const;
    int search(const char* logLine);
    /// Conditions from user and entries. The test whether a field counts looks at the first entry,
    /// and the value is that of the last: kept on purpose, with one entry they agree.
    int buildParams(PairList& params) const;
    void noteUpdate();
    int buildReadQuery(PairList& params);
    void extractResultColumns();
    std::vector<std::string> columnsToRead() const;

    ListRequest m_request;
    std::deque<Field> m_fields;       ///< all that were sent, in order
    std::size_t m_selected = 0;       ///< how many of them are conditions
    std::size_t m_entryBegin = 0;     ///< of the entry in progress, or the last one
    std::vector<Stretch> m_contacts;  ///< the entries that ended
    AssignedNumbers m_numbers;
    std::string m_count;
    long long m_lastNumber = 0;
};

#endif
