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
 * Settings: every schema that lives as rows of name and value in GENERAL_CONFIG.
 *
 * A row belongs to a schema and to a context: "base", "visitor", or blank for the telephone itself.
 * Where a request names no context, a device item has a blank one and any other item that of the
 * current user; a context that is named wins, also for a device item.
 *
 * What is known of rows is kept in a cache for the whole process: for each context and item, how
 * many rows there are. It saves a statement an item in a write. Reads, writes and deletes through
 * this class keep it; whoever changes the table in another way calls clearStaticCaches afterwards.
 * Its entries change under the adapter's lock, so that they follow the table's order. It forgets
 * everything when it becomes large.
 */
class GeneralConfigurationDAO : public DataAccessObject {
public:
    /// @p adapter is not owned and may be null.
    explicit GeneralConfigurationDAO(DatabaseAdapter* adapter);
    ~GeneralConfigurationDAO() override = default;

    void handleRequest(const char* text, int length) override;

    /**
     * The items as elements that are named like them, in the order of the query. Of a read with a
     * context, all stand in one Context element; of one without, neighbours of the same user share
     * one; of readall_request, each item of a user has its own. Items of the device stand in none.
     */
    std::string responseData() override;

    /// Makes the table. Empties the cache in any case: whoever makes it has a table without rows.
    int createTable() override;

    using DataAccessObject::copyBaseDataToVisitor;
    using DataAccessObject::deleteContextData;
    using DataAccessObject::deleteUcCredentials;
    using DataAccessObject::deleteVisitorUserPassword;

    // The rows of users, in all schemas at once; each empties the cache.

    /// Deletes the user's settings: their readers fall back on defaults of their own.
    int initialiseMobilityUserData(const std::string& context) override;
    int copyBaseDataToVisitor() override;
    int deleteContextData(const std::string& context) override;
    int deleteVisitorUserPassword() override;
    int deleteUcCredentials() override;

    /// Inserts items. One that is there fails and keeps its value; the others are still written.
    int writeRequest() override;
    /// Changes items, inserting those that are missing.
    int updateRequest() override;
    /// Reads items by name, or all of the schema; of one context if the request names one, else of
    /// all.
    int readRequest() override;
    /// Reads all items of the schema in all contexts, whatever the request names.
    int readAllRequest();
    /**
     * Deletes items by name: an element "Name" with a text stands for the item of that name, any
     * other for itself. 1 without an item and on an empty table.
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
     * @param count   takes the number; empty when it can't be told, and nothing is cached then
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

    /// The user whose row an item is about, escaped: that of the Context around it. Without one,
    /// blank for data of the telephone, and the current user for all other items.
    std::string contextOf(const Item& item, const std::string& name);
    /// Schema and item together, as the cache of counts knows a row.
    std::string cacheKey(const std::string& name) const;
    PairList itemConditions(const std::string& name, const std::string& context) const;
    /// Stores all items of the request in one transaction. With @p overwrite false, an item that
    /// has a row fails.
    int storeItems(bool overwrite);
    int storeItem(const Item& item, bool overwrite);
    int insertItem(const Item& item, const std::string& context);
    int updateItem(const Item& item, const std::string& context);
    int readItems(const std::vector<std::string>& columns, const PairList& conditions,
                  bool fillCache);
    /// Remembers for each row that was read that it is there, so that a later write need not ask.
    void fileCounts(const Rows& rows) const;
    void appendRows(std::string& body, const Rows& rows);
    template <typename Change>
    int changeTable(Change change);

    ParseState m_parseState = ParseState::None;
    std::shared_ptr<const std::string> m_itemContext;  ///< of the open Context, escaped
    std::string m_schema;       ///< escaped; m_schemaName has it as it was sent
    std::string m_resultCols;   ///< names of items with blanks between them, escaped
    std::string m_openContext;  ///< of the body of an answer
    std::list<Item> m_items;    ///< takes nothing in a read, and nothing twice in a long write
};

#endif
