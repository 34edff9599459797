// The walks over all schemas that hold a user's data.

#include <memory>

#include "DASUtilsStrings.h"
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

/// Calls @p work with the object of each schema of the list.
template <typename Work>
void walkVisitorData(DAOFactory& factory, Work work) {
    for (const std::string* schema : VisitorDataSchemaList) {
        const std::unique_ptr<DataAccessObject> dao(factory.createDAOInstance(*schema));
        work(*schema, *dao);
    }
}

/// Calls an operation of the object of @p schema.
void callOn(DAOFactory& factory, const std::string& schema, int (DataAccessObject::*operation)()) {
    const std::unique_ptr<DataAccessObject> dao(factory.createDAOInstance(schema));
    (void)(dao.get()->*operation)();  // a failure is in the log, nobody waits for it
}

}  // namespace

void DAOFactory::copyQFABaseDataToVisitor() {
    walkVisitorData(*this, [](const std::string& schema, DataAccessObject& dao) {
        if (schema == CallGroupSchema) {
            (void)dao.insertDefaultRows(UserContextVisitor);
        } else {
            (void)dao.copyBaseDataToVisitor();
        }
    });
}

void DAOFactory::deleteQFAVisitorData() {
    walkVisitorData(*this, [](const std::string&, DataAccessObject& dao) {
        (void)dao.deleteContextData("'visitor'");
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
