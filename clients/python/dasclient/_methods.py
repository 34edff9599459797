"""The remote methods. scripts/contracts writes this file from the table of the host."""

#: Methods that are carried out without an answer.
ONE_WAY = frozenset((
    "clearMobileUserdata", "clearMobileUserDLSdata", "copyBaseDataToVisitor",
    "deleteVisitorUserPassword", "deleteUcCredentials"))

#: All remote methods. One that is not known is never answered.
METHODS = ONE_WAY | frozenset((
    "processRequest", "deleteFile", "renameFile", "moveFile", "readDirectoryTree",
    "readDirectory", "setProfile", "factoryReset", "invokeACMSFactoryReset", "exportData",
    "importData", "importDataForUser", "createPhonenumberIndices", "migrateUserData",
    "checkDatabaseNeedsChange", "exportUserData", "importUserData", "AddListener",
    "AddStatusListener", "AddLogListener", "AddChangeListener", "LastFailures", "ImportText",
    "ExportText", "Statistics"))
