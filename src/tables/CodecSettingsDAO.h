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
 * Each request repairs the table before it is served. A table without rows is made anew with the
 * four defaults, and so is one of more than four rows. One of three rows without OPUS is from
 * before OPUS: the ranks move down by one and OPUS takes the first. Any other table is left as it
 * is.
 */
class CodecSettingsDAO : public KeyedTableDAO {
public:
    /// @p adapter is not owned and may be null.
    explicit CodecSettingsDAO(DatabaseAdapter* adapter);
    ~CodecSettingsDAO() override = default;

    using KeyedTableDAO::insertDefaultRows;
    /// Inserts the default rows from the place @p first on, in place of those that are there; from
    /// 4 on there are no more. 0, or the status of the first insert that failed.
    virtual int insertDefaultRows(unsigned int first);
    /// Moves the ranks 1 to @p count down by one, so that rank 1 is free. Raw SQLite code of the
    /// first statement that failed, or 0.
    virtual int increaseAllOtherRanks(unsigned int count);

protected:
    DASUtils::TableState checkTable() override;

private:
    int moveRanks(unsigned int count);
    /// Moves the ranks and inserts OPUS, together or not at all; a failure is in the log.
    void addOpus();
    /// Whether the table has the three codecs from before OPUS.
    bool lacksOpus();
};

#endif
