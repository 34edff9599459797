// The walks over all schemas that hold a user's data.

#define DAS_LOG_SOURCE "./src/DAOFactory_Users"

#include <memory>

#include "DASUtilsStrings.h"
#include "Log.h"
#include "dao/DataAccessObject.h"
#include "schemas/DAOFactory.h"

namespace {

using namespace DASUtilsStrings;

/// Schemas with rows per user, in the order of the walks.
const std::string* const VisitorDataSchemaList[] = {&AbbreviatedDiallingSchema,
                                                    &AnalyticsSchema,
                                                    &BCASettingsSchema,
                                                    &BluetoothBlacklistedSchema,
                                                    &CanonicalLookUpSchema,
                                                    &CallGroupSchema,
                                                    &ConfigLockDownSchema,
                                                    &DeflectKeyDestinationsSchema,
                                                    &DssKeySettingsSchema,
                                                    &FeatureKeysSchema,
                                                    &FeatureToggleKeySettingsSchema,
                                                    &ForwardingKeyDestinationsSchema,
                                                    &LineKeySettingsSchema,
                                                    &LocalFunctionLockDownSchema,
                                                    &RepertoryDiallingSchema,
                                                    &SelectedDiallingSchema,
                                                    &UnitTestGenConfigTableSchema,
                                                    &StimulusKeySettingsSchema,
                                                    &FeatureKeySettingsSchema,
                                                    &FixedKeysSchema,
                                                    &StartApplicationFixedKeysSchema};

/// Calls @p work with the object of each schema of the list, until it returns false. Returns the
/// schema for which it did, or null.
template <typename Work>
const std::string* walkVisitorData(DAOFactory& factory, Work work) {
    for (const std::string* schema : VisitorDataSchemaList) {
        const std::unique_ptr<DataAccessObject> dao(factory.createDAOInstance(*schema));
        if (!work(*schema, *dao)) {
            return schema;
        }
    }
    return nullptr;
}

/// Calls an operation of the object of @p schema.
void callOn(DAOFactory& factory, const std::string& schema, int (DataAccessObject::*operation)()) {
    const std::unique_ptr<DataAccessObject> dao(factory.createDAOInstance(schema));
    (void)(dao.get()->*operation)();  // a failure is logged, and no caller needs it
}

}  // namespace

bool DAOFactory::copyQFABaseDataToVisitor() {
    const auto copy = [](const std::string& schema, DataAccessObject& dao) {
        return (schema == CallGroupSchema ? dao.insertDefaultRows(UserContextVisitor)
                                          : dao.copyBaseDataToVisitor()) == 0;
    };
    const std::string* const failed = walkVisitorData(*this, copy);
    if (failed != nullptr) {
        DAS_LOG(2,
                "The visitor's data of schema '%s' can't be replaced by the base user's: it and "
                "the schemas after it stay as they are. Try again when the database can be written",
                failed->c_str());
    }
    return failed == nullptr;
}

void DAOFactory::deleteQFAVisitorData() {
    (void)walkVisitorData(*this, [](const std::string&, DataAccessObject& dao) {
        (void)dao.deleteContextData("'visitor'");
        return true;
    });
    const std::unique_ptr<DataAccessObject> callGroups(createDAOInstance(CallGroupSchema));
    (void)callGroups->insertDefaultRows(UserContextVisitor);
}

void DAOFactory::deleteQFAVisitorDLSdata() {
    deleteVisitorPhonebook();
    deleteVisitorCallLog();
}

void DAOFactory::clearQFAMobileUserdata() {
    deleteVisitorPhonebook();
    deleteVisitorCallLog();
    deleteVisitorUserPassword();
}

void DAOFactory::deleteVisitorPhonebook() {
    callOn(*this, PhoneBookSchema, &DataAccessObject::deleteVisitorPhonebook);
}

void DAOFactory::deleteVisitorCallLog() {
    callOn(*this, CallLogSchema, &DataAccessObject::deleteVisitorCallLog);
}

void DAOFactory::deleteVisitorUserPassword() {
    callOn(*this, UnitTestGenConfigTableSchema, &DataAccessObject::deleteVisitorUserPassword);
}

void DAOFactory::deleteUcCredentials() {
    callOn(*this, UnitTestGenConfigTableSchema, &DataAccessObject::deleteUcCredentials);
}

void DAOFactory::initialiseSIPMobilityUserData(const std::string&) {}

void DAOFactory::copySIPBaseDataToVisitor() {}
