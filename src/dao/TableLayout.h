#ifndef TABLELAYOUT_H
#define TABLELAYOUT_H

#include <string>
#include <vector>

#include "DASTypes.h"
#include "XmlHandler.h"
#include "dao/DASUtils.h"

/**
 * Describes a table for its generic objects, as data. An object lives for one request only, so the
 * description is made once for each schema and shared. It never changes afterwards.
 */
struct TableLayout {
    std::string schema;                  ///< the name in requests and answers
    std::string table;                   ///< the name in SQL
    bool skipFirstColumn = false;        ///< the first column never reaches a client
    bool hasDefaultRowsPerUser = false;  ///< re-initialising a user inserts the user's default rows
                                         ///< again
    std::vector<DASUtils::ColumnInfo> columns;
    std::vector<std::string> defaultRowIds;  ///< of the rows that the table has from the start
    std::string constraint = {};             ///< of the table, after its columns; empty for none
    bool hasDataFiles = false;  ///< its rows can be written to a file and read from one

    /// A description of columns without defaults: their names and types.
    static TableLayout of(const std::string& schema, const std::string& table,
                          const PairList& columns);
    /// A description of a user's keys: the columns of user and row, followed by the others.
    static TableLayout ofKeys(const std::string& schema, const std::string& table,
                              const std::vector<std::string>& rowIds);
};

/// How a class with its own parser callbacks reads a request, and what it logs for a damaged one.
/// The parser is written in C and calls plain functions, so each class has three functions that
/// forward to the object.
struct RequestParser {
    XmlStartHandler start;  ///< the user data of all three is the DataAccessObject
    XmlEndHandler end;
    XmlCharacterHandler characters;
    const char* logComponent;
    const char* failureFormat;  ///< with one %s for the text of the request
};

/// One reason that a class serves, and the operation that serves it. A class lists its reasons in
/// such rows, and DataAccessObject::dispatch runs the one that a request asks for.
template <typename Dao>
struct ReasonOperation {
    const std::string* reason;
    int (Dao::*run)();            ///< 0 for success; anything else is answered as a failure
    const std::string* response;  ///< the reason of the answer
};

#endif
