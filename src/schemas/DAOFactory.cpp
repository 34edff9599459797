// The schemas in the order in which they are tried. The order matters where the name of one schema
// contains that of another. Everything else about a schema is in its class.

#include "schemas/DAOFactory.h"

#include <algorithm>
#include <iterator>

#include "DASUtilsStrings.h"
#include "calls/CallLogDAO.h"
#include "calls/ConversationsDAO.h"
#include "contacts/CallGroupDAO.h"
#include "contacts/PhonebookDAO.h"
#include "dao/DataAccessObject.h"
#include "dao/NULLDataAccessObject.h"
#include "settings/GeneralConfigurationDAO.h"
#include "tables/CertificateMgmtDAO.h"
#include "tables/CodecSettingsDAO.h"
#include "tables/DeviceTables.h"
#include "tables/HeadsetPrioritiesDAO.h"
#include "tables/StimulusKeySettingsDAO.h"
#include "tables/UserTables.h"

namespace {

using namespace DASUtilsStrings;

using Maker = DataAccessObject* (*)(DatabaseAdapter*, const std::string& schema);

/// How a string is compared with the schema of a row.
enum class Match { Equal, Contains };

struct ClassRow {
    const std::string* schema;
    Match match;
    Maker make;
};

template <typename Dao>
DataAccessObject* make(DatabaseAdapter* adapter, const std::string&) {
    return new Dao(adapter);
}

/// For a class that serves several tables.
template <typename Dao>
DataAccessObject* makeForSchema(DatabaseAdapter* adapter, const std::string& schema) {
    return new Dao(adapter, schema);
}

/// Schemas with a class of their own, in the order in which they are tried, after the plain
/// tables.
const ClassRow ClassRows[] = {
    {&BluetoothBlacklistedSchema, Match::Equal, makeForSchema<BluetoothDAO>},
    {&BluetoothTrustedSchema, Match::Equal, makeForSchema<BluetoothDAO>},
    {&CallGroupSchema, Match::Equal, make<CallGroupDAO>},
    // Before the call log: this name contains that of the call log.
    {&CallLogSettingsSchema, Match::Equal, make<GeneralConfigurationDAO>},
    {&CallLogSchema, Match::Contains, make<CallLogDAO>},
    {&CodecSettingsSchema, Match::Equal, make<CodecSettingsDAO>},
    {&HeadsetPrioritiesSchema, Match::Equal, make<HeadsetPrioritiesDAO>},
    {&DialPlanEntriesSchema, Match::Equal, make<DialPlanEntriesDAO>},
    {&DistinctiveRingingSchema, Match::Equal, make<DistinctiveRingingDAO>},
    {&DssKeySettingsSchema, Match::Equal, make<DssKeySettingsDAO>},
    {&FileDownloadSettingsSchema, Match::Equal, make<FileDownloadSettingsDAO>},
    {&ForwardingKeyDestinationsSchema, Match::Equal, make<ForwardingKeyDestinationsDAO>},
    {&AnalyticsSchema, Match::Equal, make<AnalyticsDAO>},
    {&PhoneBookSchema, Match::Equal, make<PhonebookDAO>},
    {&StimulusKeySettingsSchema, Match::Equal, make<StimulusKeySettingsDAO>},
    {&SRTPEncryptionSettingsSchema, Match::Equal, make<SRTPEncryptionSettingsDAO>},
    {&CertificateKeysSchema, Match::Equal, makeForSchema<CertificateMgmtDAO>},
    {&CertificatesSchema, Match::Equal, makeForSchema<CertificateMgmtDAO>},
    {&ConversationsSchema, Match::Equal, make<ConversationsDAO>},
};

/// Schemas that are rows of the general configuration table; tried last.
const std::string* const SettingsSchemas[] = {
    &AudioSettingsSchema,
    &BluetoothSettingsSchema,
    &CanonicalDialSchema,
    &CertificatePolicySchema,
    &ClockSettingsSchema,
    &DiagnosticsSchema,
    &DialPlanOverviewSchema,
    &DirectorySchema,
    &DisplaySettingsSchema,
    &DlsSettingsSchema,
    &DssSettingsSchema,
    &IceSettingsSchema,
    &InstrumentationSettingsSchema,
    &InventorySchema,
    &QfaBaseSettingsSchema,
    &QfaFeatureStatesSchema,
    &LocaleSchema,
    &MobilitySettingsSchema,
    &MultilineSettingsSchema,
    &AcmsSettingsSchema,
    &PasswordPolicySchema,
    &PasswordsSchema,
    &PhysicalInterfaceSettingsSchema,
    &QoSReportSettingsSchema,
    &SipBaseSettingsSchema,
    &SipFeatureAccessSchema,
    &SipFeatureStatesSchema,
    &SipPermissionsSchema,
    &SipPreferencesSchema,
    &SnmpSettingsSchema,
    &TransportSettingsSchema,
    &SecuritySettingsSchema,
    &CallRecordingSettingsSchema,
    &Dot1xSettingsSchema,
    &EWSSettingsSchema,
    &BroadsoftSettingsSchema,
    &WSISettingsSchema,
    &QuillbaseUCSettingsSchema,
    &CPESettingsSchema,
    &UnitTestGenConfigTableSchema,
    &WebmSettingsSchema,
    &DirectVideoSettingsSchema,
    &DoorOpenerSettingsSchema,
    &RingCentralSettingsSchema,
    &SCEPSettingsSchema,
};

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
    if (holdsSettings(schema)) {
        return new GeneralConfigurationDAO(m_dbAdapter);
    }
    return new NULLDataAccessObject(schema);
}

bool DAOFactory::holdsSettings(const std::string& schema) {
    return schema == CallLogSettingsSchema ||
           std::any_of(std::begin(SettingsSchemas), std::end(SettingsSchemas),
                       [&](const std::string* each) { return *each == schema; });
}

std::vector<std::string> DAOFactory::schemas() {
    std::vector<std::string> all = PlainTables::schemas();
    for (const ClassRow& row : ClassRows) {
        const auto found = row.match == Match::Equal ? std::vector<std::string>{*row.schema}
                                                     : CallLogDAO::schemas();
        all.insert(all.end(), found.begin(), found.end());
    }
    for (const std::string* settings : SettingsSchemas) {
        all.push_back(*settings);
    }
    return all;
}

std::string DAOFactory::getDefaultFeatureKeyData() {
    return PlainTables::defaultKeyData(m_hardware);
}
