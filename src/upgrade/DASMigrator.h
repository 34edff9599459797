#ifndef DASMIGRATOR_H
#define DASMIGRATOR_H

#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "DASTypes.h"

class CallLogRow;
class DAOFactory;
class DataAccessObject;
class DataAccessServiceIfc;
class DatabaseAdapter;
struct TableForm;

/**
 * Brings the database up to what the running software expects.
 *
 * No version is stored: at every start each step looks at the database itself and decides whether
 * it has work to do; a step that finds its change made does nothing. Everything runs on the
 * caller's thread, before requests are served. A failure is only logged, and the run goes on. All
 * operations are static. Those with the service as a parameter ask it for adapter and factory each
 * time, since a step may replace both.
 */
class DASMigrator {
public:
    /// Rows of the call log by the number of their first call, then by category.
    using DuplicateRows = std::map<std::string, std::map<std::string, std::vector<CallLogRow>>>;

    // The driver ----------------------------------------------------------------------------------

    /// Runs all steps in their order. If the process is about to end, no new step begins.
    /// std::out_of_range may pass through if a table has a form that no release made; even then the
    /// caches of the settings are cleared.
    static void checkAndMigrateDatabase(DataAccessServiceIfc* service);
    /// The change of protocol: saves the values that identify the telephone, resets the database
    /// and stores these values again.
    static void checkAndMigrateQFADatabase(DataAccessServiceIfc* service);
    /// Whether the database is older than user mobility.
    static bool dbIsPreMobility(DataAccessServiceIfc* service);
    /// Upgrades a database from before user mobility: keys, downloads and settings get users. The
    /// mark that this is done is set last, so that an interrupted start tries again.
    static void migrateToMobilityDatabase(DataAccessServiceIfc* service);

    // What the steps share ------------------------------------------------------------------------

    /// The object of @p schema. Never null: without a factory it is an object that refuses
    /// everything.
    static std::unique_ptr<DataAccessObject> createDao(DAOFactory* factory,
                                                       const std::string& schema);
    static std::unique_ptr<DataAccessObject> createDao(DataAccessServiceIfc* service,
                                                       const std::string& schema);
    /// Creates the table of @p schema through its object.
    static void createTable(DataAccessServiceIfc* service, const std::string& schema);
    /// The same, and inserts the default rows of both users if the table is new or known to be
    /// empty.
    static void createTableAndDefaultRows(DataAccessServiceIfc* service, const std::string& schema);
    /// The same, but inserts only default rows that are missing.
    static void migrateTableByAddingMissingDefaultLines(DataAccessServiceIfc* service,
                                                        const std::string& schema);
    /// Whether @p table has @p column; false also when the table can't be read.
    static bool columnExists(DataAccessServiceIfc* service, const std::string& table,
                             const std::string& column);
    static void addColumnToTable(DataAccessServiceIfc* service, const std::string& table,
                                 const std::string& column, const std::string& columnType,
                                 bool initDefaultVal);
    /// Whether a row holds @p value, in database form, in @p column.
    static bool isRowPresent(DataAccessServiceIfc* service, const std::string& table,
                             const std::string& column, const std::string& value);
    /// Compares the column names of an object with those of its table. 0 if there is nothing to do;
    /// 1 if they are equal, differ in number, or were changed to the object's columns; else it
    /// failed. Only a renamed column is changed here: kept on purpose, missing columns have steps
    /// of their own.
    static int DAOCompatibilityWithDb(DataAccessServiceIfc* service, const std::string& schema,
                                      const std::string& table);
    /// Value of "VOBROOT" of the environment, empty when unset.
    static std::string getVobRoot();
    /// Applies a file of settings to GENERAL_CONFIG, as DASUtils does, and empties their cache.
    static void updateGeneralConfigTable(DataAccessServiceIfc* service,
                                         const std::vector<std::string>& columns,
                                         const std::string& filePath);
    /// Inserts a row of settings, values in database form.
    static void insertGeneralConfigRow(DataAccessServiceIfc* service,
                                       const std::vector<std::string>& values);
    /// The response to a readall_request for @p schema.
    static std::string readAllFromSchema(DAOFactory* factory, const std::string& schema);
    /// Orders strings by the numbers that they begin with.
    static bool compareStringsAsIntegers(std::string first, std::string second);

    /// The columns of a table compared with those of the object of @p schema.
    static TableForm formOf(DataAccessServiceIfc* service, const std::string& schema,
                            const std::string& table);

    /**
     * Rebuilds a table with the columns of its object and keeps the rows, in one transaction; any
     * failure rolls back all of it. A missing table is created with its default rows. Cells are
     * copied by column name: a NULL and a missing column get the default, a missing user context
     * becomes base. A column that the object does not have is dropped, and the log names it.
     * Indices and the numbering of an AUTOINCREMENT key are kept.
     *
     * @return whether something was changed
     */
    static bool rebuildIntoDaoColumns(DataAccessServiceIfc* service, const std::string& schema,
                                      const std::string& table);

    /// The same for a table that has other columns, or the same ones in another order. Any other
    /// table does not change.
    static void bringIntoOrder(DataAccessServiceIfc* service, const std::string& schema,
                               const std::string& table);

    /// The same for each table; also inserts missing default rows.
    static void rebuildAndFill(DataAccessServiceIfc* service, const std::string& schema,
                               const std::string& table);

    // Tables --------------------------------------------------------------------------------------

    /// Adds a user context to @p table. With @p visitorRows, the visitor gets default rows if it
    /// has none yet. @p columns is the number of columns that the table has afterwards.
    static void migrateTableForMobility(DataAccessServiceIfc* service, const std::string& table,
                                        const std::string& schema, bool visitorRows, int columns);
    static void migratePhoneBookTable(DataAccessServiceIfc* service);
    static void migrateLineKeySettingsTable(DataAccessServiceIfc* service);
    static void migrateBcaSettingsTable(DataAccessServiceIfc* service);
    static void migrateDSSKeySettingsTable(DataAccessServiceIfc* service);
    static void migrateDSSKeySettingsTableForMonitorOnly(DataAccessServiceIfc* service);
    /// Rebuilds the table with its columns and adds missing keys. The counts are only logged.
    static void migrateStimulusKeySettingsTable(DataAccessServiceIfc* service, int columnCount,
                                                int rowCount);
    /// Moves fixed keys to their own table; older releases stored them among the programmable ones.
    static void migrateFeatureKeysTable(DataAccessServiceIfc* service);
    /// Adds missing fixed keys, and gives those without a function the function of the hardware.
    static void migrateFixedKeysTable(DataAccessServiceIfc* service);
    /// Moves the applications of fixed keys to their own table.
    static void migrateStartAppKeysTable(DataAccessServiceIfc* service);
    /// Move key destinations away from ids that default rows need, and insert these default rows.
    static void moveBusyLamps(DataAccessServiceIfc* service);
    static void moveKey32(DataAccessServiceIfc* service);
    static void migrateFeatureKeysTableForDefaultRows(DataAccessServiceIfc* service);
    static void migrateFixedAndFeatureKeysTableForDefaultColumns(DataAccessServiceIfc* service);
    /// Assigns devices without a user to base.
    static void migrateBluetoothTrustedDevices(DataAccessServiceIfc* service);
    /// Replaces NULL in cells by the default of their column. A blank cell is a user's choice and
    /// stays.
    static void dbCheckAndMigrateLineKeySettingsDefaults(DataAccessServiceIfc* service);
    /// Adds the default rows of keys that only later hardware has.
    static void addDefaultRowsToExistingTablesWhereMissing(DataAccessServiceIfc* service);

    // Settings ------------------------------------------------------------------------------------

    /// Copies a setting to another name or context. If the new setting exists, it stays unless
    /// @p copyOverExisting is set. If the old row may be deleted, it is deleted once the new one
    /// exists.
    static void dbMigrate(DataAccessServiceIfc* service, const std::string& schema,
                          const std::string& oldItemName, const std::string& newItemName,
                          const std::string& oldUserContext, const std::string& newUserContext,
                          bool copyOverExisting, bool deleteOldRow);
    /// The same from the device to the base user; never overwrites.
    static void dbMigrateDeviceToUser(DataAccessServiceIfc* service, const std::string& schema,
                                      const std::string& oldItemName,
                                      const std::string& newItemName, bool deleteOldRow);
    /// The same from the base user to the device. The old row stays, since other software reads it.
    static void dbMigrateUserToDevice(DataAccessServiceIfc* service, std::string schema,
                                      std::string oldItemName, std::string newItemName);
    /// Moves all items of the item move table.
    static void migrateMovedItems(DataAccessServiceIfc* service);
    /// Gives the items of the door openers their current names, or their older names.
    static void dbMigrateDoorOpenerSettings(DataAccessServiceIfc* service, bool upgrade);
    /// Gives them their older names, for older software that is about to be installed.
    static void downgradeDoorOpenerSettings(DataAccessServiceIfc* service);
    /// Creates the table of settings. An empty table of an older form is dropped and created again.
    static void createGeneralConfigTable(DataAccessServiceIfc* service);
    /// Upgrades the table of settings from before user mobility to the current form. If it fails,
    /// false, and the table does not change, so that the next start tries again.
    static bool migrateGeneralConfigTable(DataAccessServiceIfc* service,
                                          const std::vector<std::string>& columns);
    /// Adds the key to the table of settings if it is missing: duplicate rows are deleted, NULLs
    /// become blank.
    static void normalizeGeneralConfigTable(DataAccessServiceIfc* service);
    /// The same for a table whose columns have another order, and only for such a one: from the
    /// first step on, settings are inserted by position. The table must exist.
    static void orderGeneralConfigColumns(DataAccessServiceIfc* service);
    /// Gives each setting of the device the blank context; rows that become duplicates are deleted.
    static void validateDeviceItems(DataAccessServiceIfc* service);
    /// Logs the items in their order and changes nothing, since their key determines the order.
    static void checkTransportSettingsOrder(DataAccessServiceIfc* service);
    /// Deletes settings that no release uses any more.
    static void deleteCallbackItems(DataAccessServiceIfc* service);
    /// Inserts the settings of network access, both or none, and only if the schema has no row.
    static void migrateDot1xSettings(DataAccessServiceIfc* service);
    static bool checkDot1xSettings(DataAccessServiceIfc* service);
    /// Inserts the policy of WLAN certificates on hardware that has WLAN.
    static void migrateWlanSettings(DataAccessServiceIfc* service);
    /// Moves a setting of the device to the current user.
    static void migrateFeatureToCurrentUser(DataAccessServiceIfc* service, std::string name);
    /// Cuts emergency numbers at the last character that can't be dialled.
    static void migrateWrongEmergencyNumber(DataAccessServiceIfc* service,
                                            const std::vector<std::string>* columns);
    /// Applies the file of values that an image contains, once, and removes the file.
    static void applyUpdateValuesFile(DataAccessServiceIfc* service);
    static bool isGeneralConfigRowPresentByName(DataAccessServiceIfc* service,
                                                const std::string& name,
                                                const std::string& context);
    static void readGeneralConfigByName(DataAccessServiceIfc* service, const std::string& name,
                                        const std::string& context, Rows& rows);
    static bool isGeneralConfigItemNonBlank(DataAccessServiceIfc* service, const std::string& name,
                                            const std::string& context);
    static std::vector<std::string> createGeneralConfigRow(const std::string& schema,
                                                           const std::string& context,
                                                           const std::string& name,
                                                           const std::string& value);

    // Repairs -------------------------------------------------------------------------------------

    /// Splits rows of several numbers and joins duplicates. Returns the number of rows that it
    /// handled.
    static int callLogTableChecker(DataAccessServiceIfc* service);
    /// Rebuilds a call log that has other columns, or the same in another order, since the repair
    /// reads whole rows by position. A missing table stays missing. Returns whether rows can be
    /// read by position.
    static bool bringCallLogIntoOrder(DataAccessServiceIfc* service);
    /// Fills @p rows with the calls that may have to be split, and @p idsToSplit with the numbers
    /// of the rows that must be split.
    static void readCallLogRowsWithMoreThanOneNumberOnARow(DataAccessServiceIfc* service,
                                                           std::map<std::string, CallLogRow>& rows,
                                                           std::vector<std::string>& idsToSplit);
    static void checkCallLogRowForMoreThanOneNumber(const CallLogRow& row,
                                                    std::vector<std::string>& idsToSplit);
    static void insertUniqueValue(std::vector<std::string>& values, const std::string& value);
    static void fixDuplicateNumbersFoundInARow(DataAccessServiceIfc* service,
                                               std::map<std::string, CallLogRow>& rows,
                                               std::vector<std::string>& idsToSplit);
    static void readCallLogRowsWithDuplicateRowsPerCategory(DataAccessServiceIfc* service,
                                                            DuplicateRows& duplicates);
    static void normalizeDuplicateRowData(DuplicateRows& duplicates);
    static std::vector<std::string> consolidateDuplicateRows(DuplicateRows& duplicates);
    static void consolidateDuplicateCategoryForASingleNumber(
        std::map<std::string, std::vector<CallLogRow>>& categories,
        std::vector<std::string>& idsToRemove);
    static void commitConsolidatedRowData(DataAccessServiceIfc* service, DuplicateRows& duplicates);
    static void removeRows(DataAccessServiceIfc* service, const std::vector<std::string>& ids);
    static void printDuplicateRowData(DuplicateRows& duplicates);
    /// Drops the table, because it refers to rows that a repair has changed. The next read creates
    /// it again.
    static void dropConversationsTable(DataAccessServiceIfc* service);
    /// Whether there are duplicate contacts: more than 0 if a group of them was found.
    static int readPhoneBookDuplicateRows(DataAccessServiceIfc* service);
    static void deleteDuplicateItemsFromPhoneBook(DataAccessServiceIfc* service);
    /// Deletes conversations whose contact or call no longer exists, or whose call belongs to
    /// another log.
    static void conversationsTableCleanup(DataAccessServiceIfc* service);
    /// Removes the "+" from numbers that have no digit.
    static void phonebookTableCleanup(DataAccessServiceIfc* service);
    /// Empties the table if the previous software used the older protocol, whose ringers differ.
    static void distinctiveRingerTableCleanup(DataAccessServiceIfc* service);
    /// Rebuilds a phone book that has columns unknown to this release.
    static void checkValidityOfPhoneBookTable(DataAccessServiceIfc* service);
    /// Rebuilds the phone book with its rows, but without the columns named in @p leftOut. This is
    /// one transaction: if a row can't be copied, the phone book does not change, and the failure
    /// is logged.
    static bool rebuildPhoneBook(DataAccessServiceIfc* service,
                                 const std::vector<std::string>& leftOut);
    static std::string buildPhonebookTableCleanupQuery(const std::string& column,
                                                       const std::string& character);

    // Protocol and passwords ----------------------------------------------------------------------

    /// Derives the modes of secure calls from the settings that older software used for them.
    static void upgradeFromV3ToWebRTC(DataAccessServiceIfc* service);
    static void addMissingAesToSrtpEncryptionTable(DataAccessServiceIfc* service, int rowCount);
    static bool addAesRow(DataAccessServiceIfc* service, const std::string& method,
                          const std::string& first, const std::string& rank);
    static void migrateEncryptedData(DAOFactory* factory, DatabaseAdapter* adapter);
    static void replaceExistingRowWithEncrypted(DatabaseAdapter* adapter, const std::string& schema,
                                                const std::string& reply, const std::string& item);
    static void migrateToEncryptedPasswordsForKeySettings(DataAccessServiceIfc* service,
                                                          const std::string& table, int position,
                                                          const std::string& plainTag,
                                                          const std::string& encryptedTag);
    static void migrateToEncryptedFTPPass(DataAccessServiceIfc* service);
    static void migrateFtpSettingsTable(DataAccessServiceIfc* service);
    static std::vector<std::string> constructColumns(const std::string& schema,
                                                     const std::string& context,
                                                     const std::string& name,
                                                     const std::string& value);
    /// Extracts the next occurrence of @p item from @p reply, and removes the part read so far.
    /// False if there is no further occurrence.
    static bool getValueFromReply(std::string& reply, const std::string& item, std::string& value,
                                  std::string& context);
};

#endif
