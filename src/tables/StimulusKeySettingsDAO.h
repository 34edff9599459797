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
 * The first request creates all rows. After that they are only updated, never written or deleted.
 */
class StimulusKeySettingsDAO : public DataAccessObject {
public:
    /// A column after the context and the id of the key.
    struct Column {
        const char* name;
        const std::string* type;
        const char* defaultText;    ///< its value in a default row
        const char* initialisedTo;  ///< its value after the rows of a user are re-initialised
    };
    static const Column Columns[22];

    StimulusKeySettingsDAO();
    /// @p adapter is not owned and may be null.
    explicit StimulusKeySettingsDAO(DatabaseAdapter* adapter);
    ~StimulusKeySettingsDAO() override = default;

    /// Refuses a damaged request, creates a table that has no rows, and runs the operation of the
    /// reason.
    void handleRequest(const char* text, int length) override;

    /// 0, or 1 after logging the reason.
    int createTable() override;

    /// Sets all keys of one user (an unescaped string) to the re-initialised values at once. No row
    /// is added.
    int initialiseMobilityUserData(const std::string& context) override;

    /// Updates the rows of the request; two or more in one transaction. An entry without an "Id"
    /// returns 1, an unknown key changes nothing. The result is the first failure; the other rows
    /// are still written.
    int updateRequest() override;

    /// Counts the rows of the table. Always 0; a failure looks like "0".
    virtual int getRowCount(std::string& count);

private:
    static const std::shared_ptr<const TableLayout>& layoutOfTable();
    /// Changes one key of the current user. Returns a raw SQLite code; 1 for an entry without an
    /// "Id".
    int updateRow(const DASUtils::RowData& row);
};

#endif
