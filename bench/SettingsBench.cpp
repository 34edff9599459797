// Settings: a schema with 100 items of one user, all of them in the service's cache. And the check
// of the telephone's own settings at a start.

#include <map>

#include "Bench.h"
#include "dao/GenConfigDeviceDataItems.h"
#include "database/DatabaseAdapter.h"
#include "upgrade/DASMigrator.h"

namespace {

using namespace Bench;

constexpr int itemCount = 100;

const char* const schema = "AudioSettings";
const Tags tagsOfOneItem("Item50");

std::string itemName(int item) {
    return "Item" + std::to_string(item);
}

/// A different value of the same length in each round.
std::string valueOf(int item, int round) {
    return std::to_string(1000000 + round) + "-" + std::to_string(item);
}

std::string itemElement(int item, int round) {
    const Tags tags(itemName(item));
    return tags.start + valueOf(item, round) + tags.end;
}

std::string allItems(int round) {
    std::string items;
    for (int item = 0; item < itemCount; ++item) {
        items += itemElement(item, round);
    }
    return items;
}

void makeItems(DataAccessService& service) {
    (void)service.processRequest(message(schema, "write_request", allItems(0)));
}

/// A transaction with one statement for each item.
Texts updateStatements(const RequestFields& request) {
    Texts sql = {"BEGIN IMMEDIATE TRANSACTION;"};
    for (const auto& [item, value] : request.leaves) {
        sql.push_back("UPDATE GENERAL_CONFIG SET Value = " + quoted(value) +
                      " WHERE Schema = " + quoted(request.schema) +
                      " AND UserContext = 'base' AND Name = " + quoted(item) + ";");
    }
    sql.emplace_back("END TRANSACTION;");
    return sql;
}

/// An update of the items from @p first on.
Operation update(const char* name, int first, int count) {
    Operation operation;
    operation.name = name;
    operation.prepare = makeItems;
    operation.request = [first, count](int round) {
        std::string items;
        for (int item = first; item < first + count; ++item) {
            items += itemElement(item, round);
        }
        return message(schema, "update_request", items);
    };
    operation.statementsOf = updateStatements;
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        for (const std::string& statement : sql) {
            db.run(statement);
        }
        return plainAnswer(schema, "update_response");
    };
    return operation;
}

/// A read of one item with @p body in the request: @p select is the statement up to the item's
/// name, and @p valueCell the place of the value in its row.
Operation readOneItem(const char* name, const char* body, const char* select,
                      std::size_t valueCell) {
    Operation operation;
    operation.name = name;
    operation.prepare = makeItems;
    operation.request = [body](int) { return message(schema, "read_request", body); };
    operation.statementsOf = [select](const RequestFields& request) {
        return Texts{select + quoted(request.value("ResultCols")) + ";"};
    };
    operation.floor = [valueCell](FloorDatabase& db, const Texts& sql) {
        std::string items = "<Context currentUser=\"base\">";
        for (const auto& row : db.rows(sql[0])) {
            items += tagsOfOneItem.start;
            items += row[valueCell];
            items += tagsOfOneItem.end;
        }
        return message(schema, "read_response", items += "</Context>");
    };
    return operation;
}

// The check of device items at a start --------------------------------------------------------

constexpr int deviceSchemas = 10;
constexpr int deviceItemsOfSchema = 50;
constexpr int settingsOfStart = 2000;

std::string deviceSchema(int number) {
    return "Device" + std::to_string(number);
}

/// A quarter of the settings are correct device items. The list of device items stays for the rest
/// of the program, because no other operation uses these schemas.
void makeDeviceItems(DataAccessService& service) {
    std::map<std::string, GenConfigDeviceDataItems::SchemaItem> items;
    for (int item = 0; item < deviceSchemas * deviceItemsOfSchema; ++item) {
        items[deviceSchema(item % deviceSchemas)].included.push_back(itemName(item));
    }
    GenConfigDeviceDataItems::initialiseDeviceItemMap(items);
    DatabaseAdapter& adapter = *service.getAdapter();
    (void)adapter.executeNonQuery("BEGIN;");
    for (int item = 0; item < settingsOfStart; ++item) {
        const bool isDevice = item < deviceSchemas * deviceItemsOfSchema;
        (void)adapter.executeNonQuery(
            "INSERT INTO GENERAL_CONFIG VALUES ('" + deviceSchema(item % deviceSchemas) + "', '" +
            (isDevice ? "" : "base") + "', '" + itemName(item) + "', '" + valueOf(item, 0) + "');");
    }
    (void)adapter.executeNonQuery("END;");
}

/// Only one read for each schema: if the settings are correct, a start writes nothing.
Texts readsOfDeviceItems() {
    std::map<std::string, std::string> reads;
    for (int schema_ = 0; schema_ < deviceSchemas; ++schema_) {
        std::string names;
        for (int item = schema_; item < deviceSchemas * deviceItemsOfSchema;
             item += deviceSchemas) {
            names += (names.empty() ? "'" : ", '") + itemName(item) + "'";
        }
        reads[deviceSchema(schema_)] =
            "SELECT Schema, UserContext, Name, Value FROM GENERAL_CONFIG WHERE Schema = '" +
            deviceSchema(schema_) + "' AND Name IN (" + names +
            ") ORDER BY Schema ASC, Name ASC, UserContext NOT IN ('', 'base'), UserContext ASC;";
    }
    Texts sql = {"BEGIN TRANSACTION;",
                 "SELECT rowid, Schema, Name FROM GENERAL_CONFIG WHERE UserContext IS NULL;",
                 "END TRANSACTION;"};
    for (const auto& [name, read] : reads) {
        sql.push_back(read);
    }
    return sql;
}

Operation checkDeviceItems() {
    Operation operation;
    operation.name = "Settings/CheckDeviceItems";
    operation.prepare = makeDeviceItems;
    operation.request = [](int) { return std::string(); };
    operation.statements = [](int) { return readsOfDeviceItems(); };
    operation.service = [](DataAccessService& service, const std::string&) {
        DASMigrator::validateDeviceItems(&service);
        return std::string();
    };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        for (const std::string& statement : sql) {
            (void)db.rows(statement);
        }
        return std::string();
    };
    return operation;
}

const Registration registration({
    checkDeviceItems(),
    update("Settings/Update100Items", 0, itemCount),
    update("Settings/UpdateOneItem", 50, 1),
    readOneItem("Settings/ReadOneItem", "<ResultCols>Item50</ResultCols>",
                "SELECT UserContext, Name, Value FROM GENERAL_CONFIG WHERE Schema = "
                "'AudioSettings' AND Name = ",
                2),
    readOneItem("Settings/ReadOneItemOfUser",
                "<Context currentUser=\"base\"></Context><ResultCols>Item50</ResultCols>",
                "SELECT Name, Value FROM GENERAL_CONFIG WHERE Schema = 'AudioSettings' AND "
                "UserContext = 'base' AND Name = ",
                1),
});

}  // namespace
