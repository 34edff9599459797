#ifndef CALLGROUPDAO_H
#define CALLGROUPDAO_H

#include <functional>
#include <string>
#include <vector>

#include "dao/ListDAO.h"

// The parser callbacks of the call groups; the user data is the CallGroupDAO.
void CallGroupDAOXmlStartElement(void* dao, const char* name, const char** attributes);
void CallGroupDAOXmlEndElement(void* dao, const char* name);
void CallGroupDAOXmlCharacterDataHandler(void* dao, const char* text, int length);

/**
 * The call groups: sixteen for each user, in the table CallGroup. A contact names one by its
 * number.
 *
 * Every user has all sixteen from the start. Requests change their names and ring tones alone;
 * nothing adds or removes one, so a write and a delete are refused as unknown reasons.
 */
class CallGroupDAO : public ListDAO {
public:
    CallGroupDAO();
    /// @p adapter is not owned and may be null.
    explicit CallGroupDAO(DatabaseAdapter* adapter);
    ~CallGroupDAO() override = default;

    void handleRequest(const char* text, int length) override;
    std::string responseData() override;

    using DataAccessObject::insertDefaultRows;
    /// Inserts the groups of both users, all or none. Status of the first insert that failed, or 1
    /// when they could not be stored.
    int insertDefaultRows() override;
    /// The same, but with @p onlyMissing a table that has rows is not changed.
    int insertDefaultRows(bool onlyMissing) override;
    /**
     * Replaces the groups of one user by sixteen blank ones, in one transaction, so that a second
     * visitor has sixteen as well. Makes a missing table with the groups of both users. When the
     * old ones can't be removed none are inserted.
     */
    int insertDefaultRows(const std::string& context) override;
    /// Blanks names and ring tones of one user; the groups stay.
    int initialiseMobilityUserData(const std::string& context) override;

    /// Sets the groups that the lines of a file name: user, number, name and ring tone. 0 whatever
    /// the file held, 1 when it did not open.
    int importData(std::string& location) override;
    /// The same for one user; users in the lines are ignored. The visitor's groups are set only if
    /// the telephone serves visitors, otherwise those of base. 1 if the file could not be opened.
    int importDataForUser(const std::string& location, eUserCategory category) override;

    /// Sets name and ring tone of those groups of the user that Select names; of all sixteen if it
    /// names none.
    int updateRequest() override;
    int readRequest() override;

    /// Sets the group that one line of a data file names; XML escapes are undone. 0 also when there
    /// is no such group. Fewer values than columns throw std::out_of_range.
    int updateItemInTable(const std::string& table, std::vector<std::string>& names,
                          std::vector<std::string>& values) override;

    /// Counts the groups of all users. 0 always; a failure looks like "0".
    int getRowCount(std::string& count);
    int rowCountRequest();
    /// Blanks the user's sixteen groups. Status of the last one.
    int resetRequest();

    // Parser events.
    void startElement(const char* name, const char** attributes);
    void endElement(const char* name);

private:
    /// Creates a missing table with the groups of both users, together or not at all. True if it
    /// was created by this call.
    bool createMissingGroups();
    /// The number of the group that the request names; blank for none.
    std::string numberOfGroup() const;
    int insertTogether(const std::function<int()>& insert);
    /// Inserts all groups of the users, which are in database form. The first failure ends it.
    int insertGroupsOf(const std::vector<std::string>& contexts);
    int insertGroup(const std::string& context, const std::string& number);
    /// Select pairs, entry pairs and the user, in this order.
    PairList readConditions() const;
};

#endif
