#ifndef GENERALCONFIGURATIONDAO_H
#define GENERALCONFIGURATIONDAO_H

#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "dao/DataAccessObject.h"

// The parser callbacks of this class; the user data is the DataAccessObject.
void GeneralConfigurationDAOXmlStartElement(void* dao, const char* name, const char** attributes);
void GeneralConfigurationDAOXmlEndElement(void* dao, const char* name);
void GeneralConfigurationDAOXmlCharacterDataHandler(void* dao, const char* text, int length);

/**
 * Settings: the schemas that are stored as rows of name and value in GENERAL_CONFIG.
 *
 * A row belongs to a schema and to a context: "base", "visitor", or blank for the telephone itself.
 * If a request names no context, a device item gets the blank context, and any other item the
 * context of the current user. If a request names a context, it is used, even for a device item.
 *
 * A cache for the whole process holds how many rows each context and item has. It saves a statement
 * for each written item. Reads, writes and deletes through this class keep it up to date; code that
 * changes the table in another way must call clearStaticCaches afterwards. Entries change under the
 * adapter's lock, so they follow the order of the changes to the table. If the cache becomes large,
 * it is emptied.
 */
class GeneralConfigurationDAO : public DataAccessObject {
public:
    /// @p adapter is not owned and may be null.
    explicit GeneralConfigurationDAO(DatabaseAdapter* adapter);
    ~GeneralConfigurationDAO() override = default;

    void handleRequest(const char* text, int length) override;

    /**
     * The items as elements with the items' names, in the order of the query. A read with a context
     * has one Context element around all items. A read without one has a Context element around
     * neighbouring items of the same user; a readall_request has one around each item of a user.
     * Items of the device have no Context element.
     */
    std::string responseData() override;

    /// Creates the table. Also empties the cache, in any case: a caller that creates the table
    /// knows it as missing or empty.
    int createTable() override;

    using DataAccessObject::copyBaseDataToVisitor;
    using DataAccessObject::deleteContextData;
    using DataAccessObject::deleteUcCredentials;
    using DataAccessObject::deleteVisitorUserPassword;

    // The rows of users, in all schemas at once. Each operation empties the cache.

    /// Deletes the user's settings. Their readers then use defaults of their own.
    int initialiseMobilityUserData(const std::string& context) override;
    int copyBaseDataToVisitor() override;
    int deleteContextData(const std::string& context) override;
    int deleteVisitorUserPassword() override;
    int deleteUcCredentials() override;

    /// Inserts items. An item that exists fails and keeps its value; the other items are still
    /// written.
    int writeRequest() override;
    /// Changes items, inserting those that are missing.
    int updateRequest() override;
    /// Reads items by name, or all items of the schema; in the context that the request names, or
    /// in all contexts if it names none.
    int readRequest() override;
    /// Reads all items of the schema in all contexts, whatever the request names.
    int readAllRequest();
    /**
     * Deletes items by name: an element "Name" names the item by its content, any other element by
     * its own name. 1 if the request has no item or the table is empty.
     *
     * Kept on purpose, clients rely on it: the rows of every user go, while only the cache entry of
     * one context goes; and of several names all but the first go in every schema.
     */
    int deleteRequest();

    /// Counts the rows of the table; 0 always, a failure looks like "0".
    virtual int getRowCount(std::string& count);
    /**
     * Counts the rows of one item, from the cache if it is known there.
     *
     * @param name    item, escaped
     * @param context its context, escaped; empty for the device
     * @param count   receives the number; empty if it is not known, and nothing is cached then
     * @return the status stored with a cached count, which is 1 for a row that a read brought; else
     *         0, or 1 when the count failed
     */
    virtual int getRowCountForItemWithContextInSchema(const std::string& name,
                                                      const std::string& context,
                                                      std::string& count);

    /// Empties the cache. Any thread may call.
    static void clearStaticCaches();

    // Parser events.
    void startElement(std::string_view name, const char** attributes);
    void endElement(std::string_view name);

private:
    enum class ParseState { None, Reason, ResultCols, Item };

    /// One item of the request; all texts escaped.
    struct Item {
        std::string name;
        std::shared_ptr<const std::string> context;  ///< of the Context around it; empty outside
        std::string value;
    };

    /// The user whose row an item is about, escaped. If the item has a Context around it, it is the
    /// user of that Context. Otherwise it is blank for data of the telephone, and the current user
    /// for all other items.
    std::string contextOf(const Item& item, const std::string& name);
    /// Schema and item together: the key of a row in the cache of counts.
    std::string cacheKey(const std::string& name) const;
    PairList itemConditions(const std::string& name, const std::string& context) const;
    /// Stores all items of the request in one transaction. If @p overwrite is false, an item that
    /// has a row fails.
    int storeItems(bool overwrite);
    int storeItem(const Item& item, bool overwrite);
    int insertItem(const Item& item, const std::string& context);
    int updateItem(const Item& item, const std::string& context);
    int readItems(const std::vector<std::string>& columns, const PairList& conditions,
                  bool fillCache);
    /// Stores in the cache that each row just read exists, so that a later write need not count it.
    void fileCounts(const Rows& rows) const;
    void appendRows(std::string& body, const Rows& rows);
    template <typename Change>
    int changeTable(Change change);

    ParseState m_parseState = ParseState::None;
    std::shared_ptr<const std::string> m_itemContext;  ///< of the open Context, escaped
    std::string m_schema;       ///< escaped; m_schemaName has it as it was sent
    std::string m_resultCols;   ///< names of items with blanks between them, escaped
    std::string m_openContext;  ///< of the body of an answer
    std::list<Item> m_items;    ///< a list: it needs no memory in a read, and never copies its
                                ///< items in a long write
};

#endif
