#include "DASUtilsStrings.h"

namespace DASUtilsStrings {

// User contexts, and texts in database form
const std::string UserContextBase = "base";
const std::string UserContextVisitor = "visitor";
const std::string EmptyDBString = "''";

// Columns that most tables share
const std::string UserContextTagName = "UserContext";
const std::string IdTagName = "Id";

// Types of columns
const std::string columnTypeText = "TEXT";
const std::string columnTypeInteger = "INTEGER";

// Reasons of requests
const std::string ReadRequest = "read_request";
const std::string WriteRequest = "write_request";
const std::string UpdateRequest = "update_request";
const std::string DeleteRequest = "delete_request";

// Reasons of responses
const std::string ReadResponse = "read_response";
const std::string WriteResponse = "write_response";
const std::string UpdateResponse = "update_response";
const std::string DeleteResponse = "delete_response";
const std::string FailureResponse = "failure";

// Tags of a row in requests and responses
const std::string xmlEntryStartTag = "<Entry>";
const std::string xmlEntryEndTag = "</Entry>";

// Schemas of the plain tables
const std::string AbbreviatedDiallingSchema = "AbbreviatedDialling";
const std::string BCASettingsSchema = "BCASettings";
const std::string CanonicalLookUpSchema = "CanonicalLookUp";
const std::string ConfigLockDownSchema = "ConfigLockDown";
const std::string DeflectKeyDestinationsSchema = "DeflectKeyDestinations";
const std::string FeatureKeysSchema = "FeatureKeys";
const std::string FeatureKeySettingsSchema = "FeatureKeySettings";
const std::string FeatureToggleKeySettingsSchema = "FeatureToggleKeySettings";
const std::string LineKeySettingsSchema = "LineKeySettings";
const std::string LocalFunctionLockDownSchema = "LocalFunctionLockDown";
const std::string RepertoryDiallingSchema = "RepertoryDialling";
const std::string SelectedDiallingSchema = "SelectedDialling";
const std::string StartApplicationSchema = "StartApplication";
const std::string StartApplicationFixedKeysSchema = "StartApplicationFixedKeys";
const std::string FixedKeysSchema = "FixedKeys";

// Schemas with a class of their own
const std::string BluetoothBlacklistedSchema = "BluetoothBlacklisted";
const std::string BluetoothTrustedSchema = "BluetoothTrusted";
const std::string CallGroupSchema = "CallGroup";
const std::string CallLogSettingsSchema = "CallLogSettings";
const std::string CallLogSchema = "CallLog";
const std::string CallLogAndPhoneBookSchema = "CallLogAndPhoneBook";
const std::string CodecSettingsSchema = "CodecSettings";
const std::string HeadsetPrioritiesSchema = "HeadsetPriorities";
const std::string DialPlanEntriesSchema = "DialPlanEntries";
const std::string DistinctiveRingingSchema = "DistinctiveRinging";
const std::string DssKeySettingsSchema = "DssKeySettings";
const std::string FileDownloadSettingsSchema = "FileDownloadSettings";
const std::string ForwardingKeyDestinationsSchema = "ForwardingKeyDestinations";
const std::string AnalyticsSchema = "Analytics";
const std::string PhoneBookSchema = "PhoneBook";
const std::string StimulusKeySettingsSchema = "StimulusKeySettings";
const std::string SRTPEncryptionSettingsSchema = "SRTPEncryptionSettings";
const std::string CertificateKeysSchema = "CertificateKeys";
const std::string CertificatesSchema = "Certificates";
const std::string ConversationsSchema = "Conversations";

// Schemas in the general configuration table
const std::string AudioSettingsSchema = "AudioSettings";
const std::string BluetoothSettingsSchema = "BluetoothSettings";
const std::string CanonicalDialSchema = "CanonicalDial";
const std::string CertificatePolicySchema = "CertificatePolicy";
const std::string ClockSettingsSchema = "ClockSettings";
const std::string DiagnosticsSchema = "Diagnostics";
const std::string DialPlanOverviewSchema = "DialPlanOverview";
const std::string DirectorySchema = "Directory";
const std::string DisplaySettingsSchema = "DisplaySettings";
const std::string DlsSettingsSchema = "DlsSettings";
const std::string DssSettingsSchema = "DssSettings";
const std::string IceSettingsSchema = "IceSettings";
const std::string InstrumentationSettingsSchema = "InstrumentationSettings";
const std::string InventorySchema = "Inventory";
const std::string QfaBaseSettingsSchema = "QfaBaseSettings";
const std::string QfaFeatureStatesSchema = "QfaFeatureStates";
const std::string LocaleSchema = "Locale";
const std::string MobilitySettingsSchema = "MobilitySettings";
const std::string MultilineSettingsSchema = "MultilineSettings";
const std::string AcmsSettingsSchema = "AcmsSettings";
const std::string PasswordPolicySchema = "PasswordPolicy";
const std::string PasswordsSchema = "Passwords";
const std::string PhysicalInterfaceSettingsSchema = "PhysicalInterfaceSettings";
const std::string QoSReportSettingsSchema = "QoSReportSettings";
const std::string SipBaseSettingsSchema = "SipBaseSettings";
const std::string SipFeatureAccessSchema = "SipFeatureAccess";
const std::string SipFeatureStatesSchema = "SipFeatureStates";
const std::string SipPermissionsSchema = "SipPermissions";
const std::string SipPreferencesSchema = "SipPreferences";
const std::string SnmpSettingsSchema = "SnmpSettings";
const std::string TransportSettingsSchema = "TransportSettings";
const std::string SecuritySettingsSchema = "SecuritySettings";
const std::string CallRecordingSettingsSchema = "CallRecordingSettings";
const std::string Dot1xSettingsSchema = "Dot1xSettings";
const std::string EWSSettingsSchema = "EWSSettings";
const std::string BroadsoftSettingsSchema = "BroadsoftSettings";
const std::string WSISettingsSchema = "WSISettings";
const std::string QuillbaseUCSettingsSchema = "QuillbaseUCSettings";
const std::string CPESettingsSchema = "CPESettings";
const std::string UnitTestGenConfigTableSchema = "UnitTestGenConfigTable";
const std::string WebmSettingsSchema = "WebmSettings";
const std::string DirectVideoSettingsSchema = "DirectVideoSettings";
const std::string DoorOpenerSettingsSchema = "DoorOpenerSettings";
const std::string RingCentralSettingsSchema = "RingCentralSettings";
const std::string SCEPSettingsSchema = "SCEPSettings";

// Tables
const std::string AbbreviatedDiallingTableName = "ABBREVIATED_DIALLING";
const std::string BCASettingsTableName = "BCA_SETTINGS";
const std::string CanonicalLookUpTableName = "CANONICAL_LOOK_UP";
const std::string ConfigLockDownTableName = "CONFIG_LOCK_DOWN";
const std::string DeflectKeyDestinationsTableName = "DEFLECT_KEY_DESTINATIONS";
const std::string FeatureKeysTableName = "FEATURE_KEYS";
const std::string FeatureKeySettingsTableName = "FEATURE_KEY_SETTINGS";
const std::string FeatureToggleKeySettingsTableName = "FEATURE_TOGGLE_KEY_SETTINGS";
const std::string LineKeySettingsTableName = "LINE_KEY_SETTINGS";
const std::string LocalFunctionLockDownTableName = "LOCAL_FUNCTION_LOCK_DOWN";
const std::string RepertoryDiallingTableName = "REPERTORY_DIALLING";
const std::string SelectedDiallingTableName = "SELECTED_DIALLING";
const std::string StartApplicationTableName = "START_APPLICATION";
const std::string StartApplicationFixedKeysTableName = "START_APPLICATION_FIXED_KEYS";
const std::string FixedKeysTableName = "FIXED_KEYS";
const std::string CallGroupTableName = "CallGroup";
const std::string CallLogTableName = "CALL_LOG";
const std::string CodecSettingsTableName = "CODEC_SETTINGS";
const std::string ConversationsTableName = "CONVERSATIONS";
const std::string HeadsetPrioritiesTableName = "HEADSET_PRIORITIES";
const std::string DialPlanEntriesTableName = "DIAL_PLAN_ENTRIES";
const std::string DistinctiveRingingTableName = "DISTINCTIVE_RINGING";
const std::string DssKeySettingsTableName = "DSS_KEY_SETTINGS";
const std::string ForwardingKeyDestinationsTableName = "FORWARDING_KEY_DESTINATIONS";
const std::string AnalyticsTableName = "ANALYTICS";
const std::string PhoneBookTableName = "PHONE_BOOK";
const std::string StimulusKeySettingsTableName = "STIMULUS_KEY_SETTINGS";
const std::string SrtpEncryptionSettingsTableName = "SRTP_ENCRYPTION_SETTINGS";
const std::string CertificatesTableName = "CERTIFICATES";
const std::string CertificateKeysTableName = "CERTIFICATE_KEYS";
const std::string BluetoothTrustedTableName = "BLUETOOTH_TRUSTED";
const std::string BluetoothBlacklistedTableName = "BLUETOOTH_BLACKLISTED";
const std::string FileDownloadSettingsTableName = "FILEDOWNLOAD_SETTINGS";
const std::string FileDownloadSettingsEncTableName = "FILEDOWNLOAD_SETTINGS_ENC";
const std::string GeneralConfigTableName = "GENERAL_CONFIG";

// Columns of the plain tables
const std::string DialUriTagName = "DialUri";
const std::string DialDescriptionTagName = "DialDescription";
const std::string BcaLabelTagName = "BcaLabel";
const std::string BcaPrimaryTagName = "BcaPrimary";
const std::string BcaSipUriTagName = "BcaSipUri";
const std::string BcaSipRealmTagName = "BcaSipRealm";
const std::string BcaSipUserIdTagName = "BcaSipUserId";
const std::string BcaSipPasswordTagName = "BcaSipPassword";
const std::string BcaNoOfAppearancesTagName = "BcaNoOfAppearances";
const std::string BcaRingingTagName = "BcaRinging";
const std::string BcaRingingDelayTagName = "BcaRingingDelay";
const std::string BcaSubscriptionTargetTagName = "BcaSubscriptionTarget";
const std::string LocalCodeColumnName = "LocalCode";
const std::string InternationalCodeColumnName = "InternationalCode";
const std::string ConfigLockDownTagName = "ConfigLockDown";
const std::string DeflectDialNumberTagName = "DeflectDialNumber";
const std::string FunctionTagName = "Function";
const std::string LockedTagName = "Locked";
const std::string LabelTagName = "Label";
const std::string LocalTagName = "Local";
const std::string FunctionalityTagName = "Functionality";
const std::string FeatureToggleCodeTagName = "FeatureToggleCode";
const std::string FeatureToggleDescriptionTagName = "FeatureToggleDescription";
const std::string PrimaryLineTagName = "PrimaryLine";
const std::string LineSipURITagName = "LineSipURI";
const std::string LineSipRealmTagName = "LineSipRealm";
const std::string LineSipUserIdTagName = "LineSipUserId";
const std::string LineSipPasswordTagName = "LineSipPassword";
const std::string LineShortDescriptionTagName = "LineShortDescription";
const std::string RingingLineTagName = "RingingLine";
const std::string RingingLineDelayTagName = "RingingLineDelay";
const std::string LineRankingTagName = "LineRanking";
const std::string LineSharedTypeTagName = "LineSharedType";
const std::string LineHotLineWarmLineTagName = "LineHotLineWarmLine";
const std::string HotWarmLineDialNumberTagName = "HotWarmLineDialNumber";
const std::string HotWarmLineDestinationActiveTagName = "HotWarmLineDestinationActive";
const std::string HiddenLineTagName = "HiddenLine";
const std::string LineOverviewPositionTagName = "LineOverviewPosition";
const std::string IntrusionAllowedTagName = "IntrusionAllowed";
const std::string LineSipPasswordEncTagName = "LineSipPasswordEnc";
const std::string LineXsiUsername = "LineXsiUsername";
const std::string LineAudibleAlertTagName = "LineAudibleAlert";
const std::string LineVisualAlertTagName = "LineVisualAlert";
const std::string LineSubscriptionTargetTagName = "LineSubscriptionTarget";
const std::string LocalFunctionLockDownTagName = "LocalFunctionLockDown";
const std::string RepertoryDialNumberTagName = "RepertoryDialNumber";
const std::string SelectedDialNumberTagName = "SelectedDialNumber";
const std::string ApplicationNameTagName = "ApplicationName";

// Columns of the DSS key table
const std::string DssSipUriTagName = "DssSipUri";
const std::string DssSipRealmTagName = "DssSipRealm";
const std::string DssSipUserIdTagName = "DssSipUserId";
const std::string DssSipPasswordTagName = "DssSipPassword";
const std::string DssShortDescriptionTagName = "DssShortDescription";
const std::string DssRingingTagName = "DssRinging";
const std::string DssRingingDelayTagName = "DssRingingDelay";
const std::string DssMonitorOnlyTagName = "DssMonitorOnly";
const std::string DssSipPasswordEncTagName = "DssSipPasswordEnc";

// Columns of the phone book
const std::string PhonebookUniqueIDTagName = "UniqueID";
const std::string PhonebookSurnameTagName = "Surname";
const std::string PhonebookFirstnameTagName = "Firstname";
const std::string PhonebookOfficeTagName = "Office";
const std::string PhonebookMobileTagName = "Mobile";
const std::string PhonebookPrivateTagName = "Private";
const std::string PhonebookEmailTagName = "Email";
const std::string PhonebookCallGroupTagName = "CallGroup";
const std::string PhonebookDefaultNumberTagName = "DefaultNumber";
const std::string PhonebookCompanyTagName = "Company";
const std::string PhonebookOffice2TagName = "Office2";
const std::string PhonebookAddressTagName = "Address";
const std::string PhonebookAddress2TagName = "Address2";
const std::string PhonebookJobFunctionTagName = "JobFunction";
const std::string PhonebookVoiceDialTagName = "VoiceDial";
const std::string PhonebookPictureTagName = "Picture";
const std::string PhonebookExternalIDTagName = "ExternalID";
const std::string PhonebookContactSourceTagName = "ContactSource";
const std::string PhonebookSpeedDialIDTagName = "SpeedDialID";

}  // namespace DASUtilsStrings
