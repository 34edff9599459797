// The generic tables; the example is the feature keys, with 177 keys for each of two users.

#include "Bench.h"
#include "tables/PlainTables.h"

namespace {

using namespace Bench;

const std::vector<Tags> keyTags = tagsOf({"Id", "Function", "Locked", "Label", "Local"});

const char* const schema = "FeatureKeys";
const std::string countAll = "SELECT COUNT(*) FROM FEATURE_KEYS";
const char* const lookForRow = "SELECT COUNT(*) FROM (SELECT 1 FROM FEATURE_KEYS LIMIT 1)";
const char* const readUser = "SELECT * FROM FEATURE_KEYS WHERE UserContext = 'base';";

void makeTable(DataAccessService& service) {
    (void)service.processRequest(message(schema, "read_request", ""));
}

/// A read whose rows are the result of @p select.
Operation readOperation(const std::string& name, const std::string& body,
                        const std::string& select) {
    Operation operation;
    operation.name = "PlainTables/" + name;
    operation.prepare = makeTable;
    operation.request = [=](int) { return message(schema, "read_request", body); };
    operation.statements = [=](int) { return Texts{lookForRow, select}; };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        (void)db.count(sql[0]);
        return readAnswer(schema, db.rows(sql[1]), keyTags, 1);
    };
    return operation;
}

Operation updateOneRow() {
    Operation operation;
    operation.name = "PlainTables/UpdateOneRow";
    operation.prepare = makeTable;
    operation.request = [](int round) {
        return message(schema, "update_request",
                       "<Id>100</Id><Label>Label " + std::to_string(round) + "</Label>");
    };
    operation.statements = [](int round) {
        const std::string row = " WHERE UserContext = 'base' AND Id = 100";
        return Texts{
            lookForRow, countAll + row, lookForRow,
            "UPDATE FEATURE_KEYS SET Label = 'Label " + std::to_string(round) + "'" + row + ";"};
    };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        for (std::size_t i = 0; i < 3; ++i) {
            (void)db.count(sql[i]);
        }
        db.run(sql[3]);
        return plainAnswer(schema, "update_response");
    };
    return operation;
}

Texts firstRequestStatements() {
    Texts texts = {lookForRow,
                   "CREATE TABLE FEATURE_KEYS (UserContext TEXT, Id TEXT, Function TEXT, "
                   "Locked TEXT, Label TEXT, Local TEXT);",
                   "BEGIN IMMEDIATE TRANSACTION;", lookForRow};
    for (const std::string& id : PlainTables::allKeys()) {
        for (const char* user : {"'base'", "'visitor'"}) {
            texts.push_back(std::string("INSERT OR REPLACE INTO FEATURE_KEYS VALUES (") + user +
                            ", '" + id + "', '0', 'false', '', 'false');");
        }
    }
    texts.insert(texts.end(), {"END TRANSACTION;", lookForRow, readUser});
    return texts;
}

Operation firstRequest() {
    Operation operation = readOperation("FirstRequestOnMissingTable", "", readUser);
    operation.reset = [](int) { return Texts{"DROP TABLE FEATURE_KEYS;"}; };
    operation.statements = [](int) { return firstRequestStatements(); };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        for (std::size_t i = 0; i + 1 < sql.size(); ++i) {
            if (sql[i] == sql.front()) {
                (void)db.count(sql[i]);
            } else {
                db.run(sql[i]);
            }
        }
        return readAnswer(schema, db.rows(sql.back()), keyTags, 1);
    };
    return operation;
}

const Registration registration(
    {readOperation("ReadOneRow", "<Id>100</Id>",
                   "SELECT * FROM FEATURE_KEYS WHERE UserContext = 'base' AND Id = 100;"),
     readOperation("Read177Of354Rows", "", readUser), updateOneRow(), firstRequest()});

}  // namespace
