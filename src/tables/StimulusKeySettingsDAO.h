#ifndef STIMULUSKEYSETTINGSDAO_H
#define STIMULUSKEYSETTINGSDAO_H

#include <string>

#include "dao/DataAccessObject.h"

// The parser callbacks of this class; the user data is the DataAccessObject.
void StimulusKeySettingsDAOXmlStartElement(void* dao, const char* name, const char** attributes);
void StimulusKeySettingsDAOXmlEndElement(void* dao, const char* name);
void StimulusKeySettingsDAOXmlCharacterDataHandler(void* dao, const char* text, int length);

/**
 * What each programmable key sends beyond its plain function: a feature code, a DTMF sequence, the
 * target of a busy lamp, a URL, a call centre link. One row for each key and user.
 *
 * The first request makes all rows; from then on they are only updated, never written or deleted.
 */
class StimulusKeySettingsDAO : public DataAccessObject {
public:
    /// A column after the context and the id of the key.
    struct Column {
        const char* name;
        const std::string* type;
        const char* defaultText;    ///< in a default row
        const char* initialisedTo;  ///< when the rows of a user are re-initialised
    };
    static const Column Columns[22];

    StimulusKeySettingsDAO();
    /// @p adapter is not owned and may be null.
    explicit StimulusKeySettingsDAO(DatabaseAdapter* adapter);
    ~StimulusKeySettingsDAO() override = default;

    /// Refuses a damaged request, makes a table that has no rows, and serves the reason.
    void handleRequest(const char* text, int length) override;

    /// 0, or 1 with the reason in the log.
    int createTable() override;

    /// Sets all keys of one user, plain text, to the values of a re-initialised user at once. No
    /// row is added.
    int initialiseMobilityUserData(const std::string& context) override;

    /// Updates the rows of the request, from two on in one transaction. An entry without an "Id"
    /// gives 1, a key that is not there changes nothing. The first failure is the result, and the
    /// other rows are still written.
    int updateRequest() override;

    /// Counts the rows of the table; 0 always, a failure looks like "0".
    virtual int getRowCount(std::string& count);

private:
    static const std::shared_ptr<const TableLayout>& layoutOfTable();
    /// Changes one key of the user in force. A raw SQLite code; 1 for an entry without an "Id".
    int updateRow(const DASUtils::RowData& row);
};

#endif
