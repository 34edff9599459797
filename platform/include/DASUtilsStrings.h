#ifndef DASUTILSSTRINGS_H
#define DASUTILSSTRINGS_H

#include <string>

/**
 * The strings that the telephone's services share: schemas, tables, columns and reasons.
 *
 * Each constant is defined once, in the platform library, and is ready before the start-up tables
 * of a library that is loaded after it. Tables of other units hold the constants' addresses.
 */
namespace DASUtilsStrings {

// User contexts, and texts in database form
/// The owner of the telephone, and a user who has logged on to it for a while. EmptyDBString is a
/// blank value as it stands in a statement: two quotes.
extern const std::string UserContextBase;
extern const std::string UserContextVisitor;
extern const std::string EmptyDBString;

// Columns that most tables share
/// The user of a row, and the identifier of a row among those of its user. In most
/// tables of users they are the first two columns.
extern const std::string UserContextTagName;
extern const std::string IdTagName;

// Types of columns
/// Nearly all columns are texts: the service stores what clients send and never counts with it.
extern const std::string columnTypeText;
extern const std::string columnTypeInteger;

// Reasons of requests
/// What a client wants. Reasons are compared exactly; which of them a schema serves is up to the
/// class of its table. Counting rows is a reason of lists alone (ListDAO).
extern const std::string ReadRequest;
extern const std::string WriteRequest;
extern const std::string UpdateRequest;
extern const std::string DeleteRequest;

// Reasons of responses
/// A success is answered by the response of the same word. FailureResponse is the answer to
/// everything else, whatever the reason was.
extern const std::string ReadResponse;
extern const std::string WriteResponse;
extern const std::string UpdateResponse;
extern const std::string DeleteResponse;
extern const std::string FailureResponse;

// Tags of a row in requests and responses
/// A request for lists or keyed rows may hold several of them.
extern const std::string xmlEntryStartTag;
extern const std::string xmlEntryEndTag;

// Schemas of the plain tables
/// Each has a table of its own, which a generic DataAccessObject serves by its description in
/// src/tables/PlainTables.cpp.
extern const std::string AbbreviatedDiallingSchema;
extern const std::string BCASettingsSchema;
extern const std::string CanonicalLookUpSchema;
extern const std::string ConfigLockDownSchema;
extern const std::string DeflectKeyDestinationsSchema;
extern const std::string FeatureKeysSchema;
extern const std::string FeatureKeySettingsSchema;
extern const std::string FeatureToggleKeySettingsSchema;
extern const std::string LineKeySettingsSchema;
extern const std::string LocalFunctionLockDownSchema;
extern const std::string RepertoryDiallingSchema;
extern const std::string SelectedDiallingSchema;
extern const std::string StartApplicationSchema;
extern const std::string StartApplicationFixedKeysSchema;
extern const std::string FixedKeysSchema;

// Schemas with a class of their own
/// Their tables follow rules that no description has words for, so each goes to a class. Two or
/// more schemas may look at one table, as those of the call log do.
extern const std::string BluetoothBlacklistedSchema;
extern const std::string BluetoothTrustedSchema;
extern const std::string CallGroupSchema;
extern const std::string CallLogSettingsSchema;
extern const std::string CallLogSchema;
extern const std::string CallLogAndPhoneBookSchema;
extern const std::string CodecSettingsSchema;
extern const std::string HeadsetPrioritiesSchema;
extern const std::string DialPlanEntriesSchema;
extern const std::string DistinctiveRingingSchema;
extern const std::string DssKeySettingsSchema;
extern const std::string FileDownloadSettingsSchema;
extern const std::string ForwardingKeyDestinationsSchema;
extern const std::string AnalyticsSchema;
extern const std::string PhoneBookSchema;
extern const std::string StimulusKeySettingsSchema;
extern const std::string SRTPEncryptionSettingsSchema;
extern const std::string CertificateKeysSchema;
extern const std::string CertificatesSchema;
extern const std::string ConversationsSchema;

// Schemas in the general configuration table
/// All share one table, whose rows are (schema, user, name, value): a new setting needs no column.
/// Which settings there are is up to the clients.
extern const std::string AudioSettingsSchema;
extern const std::string BluetoothSettingsSchema;
extern const std::string CanonicalDialSchema;
extern const std::string CertificatePolicySchema;
extern const std::string ClockSettingsSchema;
extern const std::string DiagnosticsSchema;
extern const std::string DialPlanOverviewSchema;
extern const std::string DirectorySchema;
extern const std::string DisplaySettingsSchema;
extern const std::string DlsSettingsSchema;
extern const std::string DssSettingsSchema;
extern const std::string IceSettingsSchema;
extern const std::string InstrumentationSettingsSchema;
extern const std::string InventorySchema;
extern const std::string QfaBaseSettingsSchema;
extern const std::string QfaFeatureStatesSchema;
extern const std::string LocaleSchema;
extern const std::string MobilitySettingsSchema;
extern const std::string MultilineSettingsSchema;
extern const std::string AcmsSettingsSchema;
extern const std::string PasswordPolicySchema;
extern const std::string PasswordsSchema;
extern const std::string PhysicalInterfaceSettingsSchema;
extern const std::string QoSReportSettingsSchema;
extern const std::string SipBaseSettingsSchema;
extern const std::string SipFeatureAccessSchema;
extern const std::string SipFeatureStatesSchema;
extern const std::string SipPermissionsSchema;
extern const std::string SipPreferencesSchema;
extern const std::string SnmpSettingsSchema;
extern const std::string TransportSettingsSchema;
extern const std::string SecuritySettingsSchema;
extern const std::string CallRecordingSettingsSchema;
extern const std::string Dot1xSettingsSchema;
extern const std::string EWSSettingsSchema;
extern const std::string BroadsoftSettingsSchema;
extern const std::string WSISettingsSchema;
extern const std::string QuillbaseUCSettingsSchema;
extern const std::string CPESettingsSchema;
extern const std::string UnitTestGenConfigTableSchema;
extern const std::string WebmSettingsSchema;
extern const std::string DirectVideoSettingsSchema;
extern const std::string DoorOpenerSettingsSchema;
extern const std::string RingCentralSettingsSchema;
extern const std::string SCEPSettingsSchema;

// Tables
/// The names stand in databases in the field and never change; a
/// table that gets a new form is upgraded under its name.
extern const std::string AbbreviatedDiallingTableName;
extern const std::string BCASettingsTableName;
extern const std::string CanonicalLookUpTableName;
extern const std::string ConfigLockDownTableName;
extern const std::string DeflectKeyDestinationsTableName;
extern const std::string FeatureKeysTableName;
extern const std::string FeatureKeySettingsTableName;
extern const std::string FeatureToggleKeySettingsTableName;
extern const std::string LineKeySettingsTableName;
extern const std::string LocalFunctionLockDownTableName;
extern const std::string RepertoryDiallingTableName;
extern const std::string SelectedDiallingTableName;
extern const std::string StartApplicationTableName;
extern const std::string StartApplicationFixedKeysTableName;
extern const std::string FixedKeysTableName;
extern const std::string CallGroupTableName;
extern const std::string CallLogTableName;
extern const std::string CodecSettingsTableName;
extern const std::string ConversationsTableName;
extern const std::string HeadsetPrioritiesTableName;
extern const std::string DialPlanEntriesTableName;
extern const std::string DistinctiveRingingTableName;
extern const std::string DssKeySettingsTableName;
extern const std::string ForwardingKeyDestinationsTableName;
extern const std::string AnalyticsTableName;
extern const std::string PhoneBookTableName;
extern const std::string StimulusKeySettingsTableName;
extern const std::string SrtpEncryptionSettingsTableName;
extern const std::string CertificatesTableName;
extern const std::string CertificateKeysTableName;
extern const std::string BluetoothTrustedTableName;
extern const std::string BluetoothBlacklistedTableName;
extern const std::string FileDownloadSettingsTableName;
extern const std::string FileDownloadSettingsEncTableName;
extern const std::string GeneralConfigTableName;

// Columns of the plain tables
/// They are elements of requests and answers as well, under the same name.
extern const std::string DialUriTagName;
extern const std::string DialDescriptionTagName;
extern const std::string BcaLabelTagName;
extern const std::string BcaPrimaryTagName;
extern const std::string BcaSipUriTagName;
extern const std::string BcaSipRealmTagName;
extern const std::string BcaSipUserIdTagName;
extern const std::string BcaSipPasswordTagName;
extern const std::string BcaNoOfAppearancesTagName;
extern const std::string BcaRingingTagName;
extern const std::string BcaRingingDelayTagName;
extern const std::string BcaSubscriptionTargetTagName;
extern const std::string LocalCodeColumnName;
extern const std::string InternationalCodeColumnName;
extern const std::string ConfigLockDownTagName;
extern const std::string DeflectDialNumberTagName;
extern const std::string FunctionTagName;
extern const std::string LockedTagName;
extern const std::string LabelTagName;
extern const std::string LocalTagName;
extern const std::string FunctionalityTagName;
extern const std::string FeatureToggleCodeTagName;
extern const std::string FeatureToggleDescriptionTagName;
extern const std::string PrimaryLineTagName;
extern const std::string LineSipURITagName;
extern const std::string LineSipRealmTagName;
extern const std::string LineSipUserIdTagName;
extern const std::string LineSipPasswordTagName;
extern const std::string LineShortDescriptionTagName;
extern const std::string RingingLineTagName;
extern const std::string RingingLineDelayTagName;
extern const std::string LineRankingTagName;
extern const std::string LineSharedTypeTagName;
extern const std::string LineHotLineWarmLineTagName;
extern const std::string HotWarmLineDialNumberTagName;
extern const std::string HotWarmLineDestinationActiveTagName;
extern const std::string HiddenLineTagName;
extern const std::string LineOverviewPositionTagName;
extern const std::string IntrusionAllowedTagName;
extern const std::string LineSipPasswordEncTagName;
extern const std::string LineXsiUsername;
extern const std::string LineAudibleAlertTagName;
extern const std::string LineVisualAlertTagName;
extern const std::string LineSubscriptionTargetTagName;
extern const std::string LocalFunctionLockDownTagName;
extern const std::string RepertoryDialNumberTagName;
extern const std::string SelectedDialNumberTagName;
extern const std::string ApplicationNameTagName;

// Columns of the DSS key table
/// The password stands in two columns: the plain one is from before passwords were encrypted.
extern const std::string DssSipUriTagName;
extern const std::string DssSipRealmTagName;
extern const std::string DssSipUserIdTagName;
extern const std::string DssSipPasswordTagName;
extern const std::string DssShortDescriptionTagName;
extern const std::string DssRingingTagName;
extern const std::string DssRingingDelayTagName;
extern const std::string DssMonitorOnlyTagName;
extern const std::string DssSipPasswordEncTagName;

// Columns of the phone book
/// In the order of the table. What travels under which name is settled by ContactColumns.
extern const std::string PhonebookUniqueIDTagName;
extern const std::string PhonebookSurnameTagName;
extern const std::string PhonebookFirstnameTagName;
extern const std::string PhonebookOfficeTagName;
extern const std::string PhonebookMobileTagName;
extern const std::string PhonebookPrivateTagName;
extern const std::string PhonebookEmailTagName;
extern const std::string PhonebookCallGroupTagName;
extern const std::string PhonebookDefaultNumberTagName;
extern const std::string PhonebookCompanyTagName;
extern const std::string PhonebookOffice2TagName;
extern const std::string PhonebookAddressTagName;
extern const std::string PhonebookAddress2TagName;
extern const std::string PhonebookJobFunctionTagName;
extern const std::string PhonebookVoiceDialTagName;
extern const std::string PhonebookPictureTagName;
extern const std::string PhonebookExternalIDTagName;
extern const std::string PhonebookContactSourceTagName;
extern const std::string PhonebookSpeedDialIDTagName;

}  // namespace DASUtilsStrings

#endif
