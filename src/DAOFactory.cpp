#include "DAOFactory.h"

#include "DASUtilsStrings.h"
#include "DataAccessObject.h"
#include "NULLDataAccessObject.h"

namespace {

using namespace DASUtilsStrings;

using Maker = DataAccessObject* (*)(DatabaseAdapter*, const std::string& schema);

/// How a text is compared with the schema of a row.
enum class Match { Equal, Contains };

struct ClassRow {
    const std::string* schema;
    Match match;
    Maker make;
};

/// Schemas with a class of their own, in the order in which they are tried, behind the plain
/// tables.
const std::vector<ClassRow> ClassRows = {};

bool matches(const ClassRow& row, const std::string& schema) {
    return row.match == Match::Equal ? schema == *row.schema
                                     : schema.find(*row.schema) != std::string::npos;
}

}  // namespace

DAOFactory::DAOFactory(DatabaseAdapter* adapter)
    : m_dbAdapter(adapter), m_hardware(KeyHardware::ofThisDevice()) {}

DAOFactory::~DAOFactory() = default;

DataAccessObject* DAOFactory::createDAOInstance(std::string schema) {
    if (auto layout = PlainTables::layoutOf(schema, m_hardware)) {
        return new DataAccessObject(m_dbAdapter, std::move(layout));
    }
    for (const ClassRow& row : ClassRows) {
        if (matches(row, schema)) {
            return row.make(m_dbAdapter, schema);
        }
    }
    return new NULLDataAccessObject(schema);
}

std::string DAOFactory::getDefaultFeatureKeyData() {
    return PlainTables::defaultKeyData(m_hardware);
}
