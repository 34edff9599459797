#ifndef TABLEFACTS_H
#define TABLEFACTS_H

#include <string>
#include <vector>

class DAOFactory;
class DatabaseAdapter;

/// What a column is called, its type in SQL, and its value in the default rows: one text for all of
/// them, or one for each in their order.
/// These are the same facts as those of KnownSchemas, on the other side of the build: a program
/// that is linked with the service writes them, and das reads what was written.
struct ColumnFacts {
    std::string name;
    std::string type;
    std::vector<std::string> defaults;
};

/// How a row stands in answers to reads of whole rows: its elements in order, and the forms that an
/// item of its list may have.
struct AnswerFormFacts {
    std::vector<std::string> columns;
    std::vector<std::vector<std::string>> itemForms;
};

/// One schema, as the objects of the service themselves describe it.
struct SchemaFacts {
    std::string name;
    std::string table;
    std::vector<std::string> reasons;       ///< of its requests
    std::string users;                      ///< whose rows there are, in words
    std::vector<std::string> key;           ///< columns of the primary key; none for most tables
    std::vector<std::string> defaultRows;   ///< numbers of the default rows, and ranges "1 to 16"
    bool hasDataFile = false;               ///< whether there is an export and an import
    std::vector<ColumnFacts> columns;       ///< of the table, in order
    std::vector<std::string> elements;      ///< of a row in requests; none where any name will do
    std::vector<std::string> itemElements;  ///< of an item in a row's list; none without a list
    std::vector<AnswerFormFacts> answerForms;  ///< those that a row may have; none for settings
};

/**
 * Asks the service's objects for all that can be known of @p schemas.
 *
 * Makes the tables in the database of @p adapter, writes to the telephone's "/tmp", and takes the
 * log for itself meanwhile: for a place made for the purpose.
 *
 * @return the facts in the order of the schemas; one that is not served has no reasons
 */
std::vector<SchemaFacts> collectFacts(const std::vector<std::string>& schemas, DAOFactory& factory,
                                      DatabaseAdapter& adapter);

#endif
