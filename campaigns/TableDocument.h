#ifndef TABLEDOCUMENT_H
#define TABLEDOCUMENT_H

#include <string>
#include <vector>

/// A schema as docs/tables.md describes it. A test checks that this page agrees with the code.
struct Subject {
    std::string schema;
    std::string table;
    std::vector<std::string> reasons;
    std::vector<std::string> columns;
    std::string key;  ///< the element that identifies a row; for settings the item's name
    bool isOfUsers = false;
    bool hasDataFile = false;

    bool isSettings() const { return table == "GENERAL_CONFIG"; }
    /// Whether the conditions of an update are in a Select.
    bool hasSelect() const { return table == "PHONE_BOOK" || table == "CallGroup"; }
};

/// All schemas in the document.
std::vector<Subject> documentedSubjects();

#endif
