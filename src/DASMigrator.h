#ifndef DASMIGRATOR_H
#define DASMIGRATOR_H

#include <string>
#include <vector>

class DataAccessServiceIfc;

/**
 * Makes and changes tables on the service's behalf, through its adapter and its DAO factory.
 *
 * There is no state: each operation is given the service, asks it anew for what it needs, and
 * reports by the log alone.
 */
class DASMigrator {
public:
    /// Makes the table of @p schema, unless it is there.
    static void createTable(DataAccessServiceIfc* service, const std::string& schema);

    /// Makes the table of @p schema and fills it with its default rows if it is new or empty.
    static void createTableAndDefaultRows(DataAccessServiceIfc* service, const std::string& schema);

    /// Applies a file of settings to GENERAL_CONFIG, as DASUtils does, and empties their cache.
    static void updateGeneralConfigTable(DataAccessServiceIfc* service,
                                         const std::vector<std::string>& columns,
                                         const std::string& filePath);
};

#endif
