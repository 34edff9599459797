#ifndef ACMSTAGMAPPER_H
#define ACMSTAGMAPPER_H

#include <map>
#include <string>
#include <utility>

/**
 * Translates the flat tags of the configuration management service to schema and item. The table is
 * read once, from the file "/Aurel_Deploy/DasTagMappings.csv" of the telephone's image; without a
 * readable file it is empty. Any thread may call.
 */
class ACMSTagMapper {
public:
    /// Reads the file. A line that can't be used is skipped, because the other tags must work
    /// nevertheless.
    ACMSTagMapper();

    /// Reads the file into the table. A later line of the same tag replaces an earlier one.
    void createTable();

    /// Looks @p acmsTag up by exact comparison. If it is not found, false, and both strings do not
    /// change.
    bool findDASTags(const std::string& acmsTag, std::string& schema, std::string& dasTag) const;

private:
    std::map<std::string, std::pair<std::string, std::string>> m_tags;
};

#endif
