#ifndef TABLEDOCUMENT_H
#define TABLEDOCUMENT_H

#include <string>
#include <vector>

/// A schema as docs/tables.md describes it, which a test holds equal to the code.
struct Subject {
    std::string schema;
    std::string table;
    std::vector<std::string> reasons;
    std::vector<std::string> columns;
    std::string key;  ///< the element that names a row; the item's name for settings
    bool isOfUsers = false;
    bool hasDataFile = false;

    bool isSettings() const { return table == "GENERAL_CONFIG"; }
    /// Whether conditions of an update stand in a Select.
    bool hasSelect() const { return table == "PHONE_BOOK" || table == "CallGroup"; }
};

/// All schemas of the document.
std::vector<Subject> documentedSubjects();

#endif
