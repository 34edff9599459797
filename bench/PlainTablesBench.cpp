// The generic tables, by the example of the feature keys: 177 keys for each of two users.

#include "Bench.h"

namespace {

using namespace Bench;

const std::vector<Tags> keyTags = tagsOf({"Id", "Function", "Locked", "Label", "Local"});

const char* const schema = "FeatureKeys";
const char* const countAll = "SELECT COUNT(*) FROM FEATURE_KEYS";

void makeTable(DataAccessService& service) {
    (void)service.processRequest(message(schema, "read_request", ""));
}

Operation readOneRow() {
    Operation operation;
    operation.name = "PlainTables/ReadOneRow";
    operation.limit = {1.5, 0, 1.5};
    operation.prepare = makeTable;
    operation.request = [](int) { return message(schema, "read_request", "<Id>100</Id>"); };
    operation.statements = [](int) {
        return Texts{countAll,
                     "SELECT * FROM FEATURE_KEYS WHERE UserContext = 'base' AND Id = 100;"};
    };
    operation.floor = [](FloorDatabase& db, const Texts& sql) {
        (void)db.count(sql[0]);
        return readAnswer(schema, db.rows(sql[1]), keyTags, 1);
    };
    return operation;
}

const Registration registration({readOneRow()});

}  // namespace
