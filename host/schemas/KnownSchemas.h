#ifndef KNOWNSCHEMAS_H
#define KNOWNSCHEMAS_H

#include <string>
#include <vector>

/// The schemas as a client sees them. The objects of the service write the table at build time, so
/// nothing must be updated by hand. Commands, completion, the contracts and the reading of answers
/// go by it. So das needs no service to know a schema, and a command line is checked before one is
/// started.
namespace KnownSchemas {

/// A column of the table. Defaults are plain text, as a client sends them.
struct Column {
    std::string name;
    std::string type;                   ///< in SQL
    std::vector<std::string> defaults;  ///< one value for all default rows, or one for each
};

/// The form of a row in answers to reads of whole rows.
struct AnswerForm {
    std::vector<std::string> columns;                 ///< in order, including the list of calls
    std::vector<std::vector<std::string>> itemForms;  ///< the possible columns of an item of the
                                                      ///< list
};

/// One schema. If several share a table, each has the rows that it shows.
struct Entry {
    std::string name;
    std::string table;
    std::vector<std::string> reasons;
    std::string users;                      ///< which users its rows belong to, in words
    std::vector<std::string> key;           ///< columns of the primary key
    std::vector<std::string> defaultRows;   ///< numbers of the default rows; also ranges such as "1
                                            ///< to 16"
    bool hasDataFile = false;               ///< whether there is an export and an import
    std::vector<Column> columns;            ///< of the table, in order
    std::vector<std::string> elements;      ///< elements of a row in requests; empty if any name is
                                            ///< allowed
    std::vector<std::string> itemElements;  ///< elements of an item in a row's list; empty if there
                                            ///< is no list
    std::vector<AnswerForm> answerForms;    ///< the possible forms of a row; empty for settings

    bool has(const std::string& reason) const;
};

/// Every schema, in the order in which the service tries them. The first call reads the table,
/// which takes milliseconds and some hundred kilobytes.
const std::vector<Entry>& all();

/// The schema of that name, compared exactly, or null.
const Entry* find(const std::string& name);

/// The names of all schemas in the same order, without the table.
std::vector<std::string> names();

}  // namespace KnownSchemas

#endif
