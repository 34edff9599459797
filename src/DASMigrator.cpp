#include "DASMigrator.h"

#include <memory>

#include "DAOFactory.h"
#include "DASUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessObject.h"
#include "DataAccessServiceIfc.h"
#include "GeneralConfigurationDAO.h"
#include "Logging.h"

namespace {

constexpr const char* LogComponent = "DataAccessService";
constexpr const char* LogSource = "./src/DASMigrator";

/// An object for the table of @p schema; null, and a log line, when there is none to be had.
std::unique_ptr<DataAccessObject> createDao(DataAccessServiceIfc* service,
                                            const std::string& schema) {
    DAOFactory* factory = service != nullptr ? service->getDAOFactory() : nullptr;
    std::unique_ptr<DataAccessObject> dao;
    if (factory != nullptr) {
        dao.reset(factory->createDAOInstance(schema));
    }
    if (dao == nullptr || dao->getDatabaseAdapter() == nullptr) {
        DAS_LOG(2, "No table for schema '%s'", schema.c_str());
        return nullptr;
    }
    return dao;
}

}  // namespace

void DASMigrator::createTable(DataAccessServiceIfc* service, const std::string& schema) {
    if (const auto dao = createDao(service, schema)) {
        (void)dao->createTable();  // a table that is there already is in the log
    }
}

void DASMigrator::createTableAndDefaultRows(DataAccessServiceIfc* service,
                                            const std::string& schema) {
    const auto dao = createDao(service, schema);
    if (dao == nullptr) {
        return;
    }
    if (DASUtils::mayInsertDefaultRows(*dao->getDatabaseAdapter(), dao->tableName(),
                                       dao->createTable())) {
        (void)dao->insertDefaultRows();  // what fails is in the log
    }
}

void DASMigrator::updateGeneralConfigTable(DataAccessServiceIfc* service,
                                           const std::vector<std::string>& columns,
                                           const std::string& filePath) {
    DatabaseAdapter* adapter = service != nullptr ? service->getAdapter() : nullptr;
    if (!DASUtils::updateItemsInTableWithValuesFromFile(
            adapter, DASUtilsStrings::GeneralConfigTableName, columns, filePath)) {
        DAS_LOG(2, "Not every value of %s is applied", filePath.c_str());
    }
    GeneralConfigurationDAO::clearStaticCaches();
}
