#ifndef CODECSETTINGSDAO_H
#define CODECSETTINGSDAO_H

#include <string>

#include "dao/KeyedTableDAO.h"

// The parser callbacks of this class; the user data is the DataAccessObject.
void CodecSettingsDAOXmlStartElement(void* dao, const char* name, const char** attributes);
void CodecSettingsDAOXmlEndElement(void* dao, const char* name);
void CodecSettingsDAOXmlCharacterDataHandler(void* dao, const char* text, int length);

/**
 * The audio codecs in the order in which they are preferred, 1 first.
 *
 * Each request first repairs the table. A table with no rows, or with more than four, is created
 * again with the four defaults. A table of three rows without OPUS is from before OPUS: the ranks
 * move down by one and OPUS gets the first. Any other table does not change.
 */
class CodecSettingsDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit CodecSettingsDAO(DatabaseAdapter* adapter);
    ~CodecSettingsDAO() override = default;

    using KeyedTableDAO::insertDefaultRows;
    /// Inserts the default rows from the index @p first on, replacing existing ones; there are
    /// four. 0, or the status of the first insert that failed.
    virtual int insertDefaultRows(unsigned int first);
    /// Moves the ranks 1 to @p count down by one, so that rank 1 is free. 0, or the raw SQLite code
    /// of the first statement that failed.
    virtual int increaseAllOtherRanks(unsigned int count);

protected:
    DASUtils::TableState checkTable() override;

private:
    int moveRanks(unsigned int count);
    /// Moves the ranks and inserts OPUS, together or not at all; a failure is logged.
    void addOpus();
    /// Whether the table has the three codecs from before OPUS.
    bool lacksOpus();
};

#endif
