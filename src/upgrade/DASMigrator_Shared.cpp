// What the steps share: objects of tables, default rows, columns, rows of settings.

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "ClientUtils.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Log.h"
#include "dao/DASUtils.h"
#include "dao/DataAccessObject.h"
#include "dao/NULLDataAccessObject.h"
#include "database/DatabaseAdapter.h"
#include "schemas/DAOFactory.h"
#include "settings/GeneralConfigurationDAO.h"
#include "upgrade/DASMigrator.h"
#include "upgrade/StepHelpers.h"
#include "upgrade/TableRebuild.h"

namespace {

using namespace DASUtilsStrings;

bool hasTable(DataAccessObject& dao, const std::string& schema) {
    if (dao.getDatabaseAdapter() == nullptr) {
        DAS_LOG(2, "No table for schema '%s'", schema.c_str());
    }
    return dao.getDatabaseAdapter() != nullptr;
}

}  // namespace

std::unique_ptr<DataAccessObject> DASMigrator::createDao(DAOFactory* factory,
                                                         const std::string& schema) {
    if (factory == nullptr) {
        return std::make_unique<NULLDataAccessObject>(schema);
    }
    return std::unique_ptr<DataAccessObject>(factory->createDAOInstance(schema));
}

std::unique_ptr<DataAccessObject> DASMigrator::createDao(DataAccessServiceIfc* service,
                                                         const std::string& schema) {
    return createDao(service != nullptr ? service->getDAOFactory() : nullptr, schema);
}

void DASMigrator::createTable(DataAccessServiceIfc* service, const std::string& schema) {
    const auto dao = createDao(service, schema);
    if (hasTable(*dao, schema)) {
        (void)dao->createTable();  // fails if the table exists, which is fine
    }
}

void DASMigrator::createTableAndDefaultRows(DataAccessServiceIfc* service,
                                            const std::string& schema) {
    const auto dao = createDao(service, schema);
    if (!hasTable(*dao, schema)) {
        return;
    }
    const int created = dao->createTable();
    if (DASUtils::mayInsertDefaultRows(*dao->getDatabaseAdapter(), dao->tableName(), created)) {
        (void)dao->insertDefaultRows(true);  // a failure is in the log
    }
}

void DASMigrator::migrateTableByAddingMissingDefaultLines(DataAccessServiceIfc* service,
                                                          const std::string& schema) {
    DAS_LOG(5, "migrateTableByAddingMissingDefaultLines %s", schema.c_str());
    const auto dao = createDao(service, schema);
    (void)dao->createTable();            // fails if the table exists, which is fine
    (void)dao->insertDefaultRows(true);  // a failure is in the log
}

bool DASMigrator::columnExists(DataAccessServiceIfc* service, const std::string& table,
                               const std::string& column) {
    std::vector<std::string> names;
    if (service->getAdapter()->getColumnNames(table, names) != 1 || names.empty()) {
        DAS_LOG(3, "columnExists(): Error getting the column names for %s", table.c_str());
        return false;
    }
    const bool exists = DASUtils::columnIsInColumnList(column, names);
    DAS_LOG(5, "columnExists(%s, %s): rv=%s", table.c_str(), column.c_str(), exists ? "Y" : "N");
    return exists;
}

void DASMigrator::addColumnToTable(DataAccessServiceIfc* service, const std::string& table,
                                   const std::string& column, const std::string& columnType,
                                   bool initDefaultVal) {
    DAS_LOG(5, "addColumnToTable(table %s, column %s, type %s, initDefaultVal %s)", table.c_str(),
            column.c_str(), columnType.c_str(), initDefaultVal ? "true" : "false");
    if (columnExists(service, table, column)) {
        DAS_LOG(5, "addColumnToTable: %s already exists", column.c_str());
        return;
    }
    DAS_LOG(5, "addColumnToTable: %s does not exist, adding to %s", column.c_str(), table.c_str());
    if (service->getAdapter()->addColumn(table, column, columnType, initDefaultVal) != 0) {
        DAS_LOG(2, "The column %s cannot be added to the table", column.c_str());
    }
}

bool DASMigrator::isRowPresent(DataAccessServiceIfc* service, const std::string& table,
                               const std::string& column, const std::string& value) {
    PairList conditions = {{column, value}};
    std::string count = "0";
    service->getAdapter()->getRowCount(table, conditions, count);
    DAS_LOG(5, "isRowPresent checking in %s, for %s %s, row count =  %s", table.c_str(),
            column.c_str(), value.c_str(), count.c_str());
    return count != "0";
}

int DASMigrator::DAOCompatibilityWithDb(DataAccessServiceIfc* service, const std::string& schema,
                                        const std::string& table) {
    if (service->getDAOFactory() == nullptr) {
        DAS_LOG(2, "DAOCompatibilityWithDb failed: Cannot create DAO");
        return 1;
    }
    PairList daoColumns;
    createDao(service, schema)->buildColumnNameList(daoColumns);
    std::vector<std::string> names;
    (void)service->getAdapter()->getColumnNames(table, names);
    if (daoColumns.size() != names.size() || daoColumns.empty()) {
        return 1;
    }
    for (const auto& [column, type] : daoColumns) {
        if (!DASUtils::columnIsInColumnList(column, names)) {
            std::printf("xx - int DASMigrator::DAOCompatibilityWithDb -> not present %s -- %s\n",
                        column.c_str(), type.c_str());
            return DASUtils::updateTableInDatabase(service->getAdapter(), table, daoColumns);
        }
    }
    return 1;
}

std::string DASMigrator::getVobRoot() {
    const char* root = std::getenv("VOBROOT");
    return root != nullptr ? root : "";
}

void DASMigrator::updateGeneralConfigTable(DataAccessServiceIfc* service,
                                           const std::vector<std::string>& columns,
                                           const std::string& filePath) {
    DatabaseAdapter* adapter = service != nullptr ? service->getAdapter() : nullptr;
    if (!DASUtils::updateItemsInTableWithValuesFromFile(adapter, GeneralConfigTableName, columns,
                                                        filePath)) {
        DAS_LOG(2, "Not every value of %s is applied", filePath.c_str());
    }
    GeneralConfigurationDAO::clearStaticCaches();
}

void DASMigrator::insertGeneralConfigRow(DataAccessServiceIfc* service,
                                         const std::vector<std::string>& values) {
    std::vector<std::string> row = values;
    if (service->getAdapter()->insert(GeneralConfigTableName, row, nullptr) != 0) {
        // The same message for every row: kept on purpose, people search the log for it.
        DAS_LOG(2, "Failed to insert NameMasterSource into %s", GeneralConfigTableName.c_str());
    }
}

std::string DASMigrator::readAllFromSchema(DAOFactory* factory, const std::string& schema) {
    const auto dao = createDao(factory, schema);
    const std::string request = std::string(DataAccessObject::xmlHeaderTag) +
                                DataAccessObject::xmlSchemaStart + schema +
                                "\"><ReasonForMessage>readall_request</ReasonForMessage></Schema>";
    dao->handleRequest(request.c_str(), static_cast<int>(request.size()));
    return dao->getResponseMsg();
}

bool DASMigrator::compareStringsAsIntegers(std::string first, std::string second) {
    return ClientUtils::stoi(first) < ClientUtils::stoi(second);
}

TableForm DASMigrator::formOf(DataAccessServiceIfc* service, const std::string& schema,
                              const std::string& table) {
    DatabaseAdapter& adapter = *service->getAdapter();
    return {adapter, *createDao(service, schema), StepHelpers::columnsOf(adapter, table)};
}
