// Types that only a few columns have are defined here and not in the table of columns, so that each
// row of that table stays readable.

#include "contacts/ContactColumns.h"

#include <strings.h>

#include <algorithm>

const std::string ContactColumns::NumberType = "INTEGER PRIMARY KEY AUTOINCREMENT";
const std::string ContactColumns::SurnameType = "TEXT NOT NULL";
const std::string ContactColumns::GroupElement = "Group";

bool ContactColumns::isColumn(const std::string& name) {
    return std::any_of(std::begin(All), std::end(All), [&](const Column& column) {
        return ::strcasecmp(column.name->c_str(), name.c_str()) == 0;
    });
}

const std::vector<std::string>& ContactColumns::elements() {
    static const std::vector<std::string> names = [] {
        std::vector<std::string> all;
        for (const Column& column : All) {
            if (column.element != nullptr) {
                all.push_back(*column.element);
            }
        }
        return all;
    }();
    return names;
}
