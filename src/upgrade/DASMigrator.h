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
 * caller's thread, before requests are served. A failure is only logged, and the run goes
 * on. All operations are static; those that take the service reach adapter and factory through it,
 * anew each time, since a step may replace both.
 */
class DASMigrator {
public:
    /// Rows of the call log by the number of their first call, then by category.
    using DuplicateRows = std::map<std::string, std::map<std::string, std::vector<CallLogRow>>>;

    // The driver ----------------------------------------------------------------------------------

    /// Runs all steps in their order; where the process is about to end, those that it has begun.
    /// std::out_of_range may pass through from a table that is not
    /// as any release left it; the caches of the settings are cleared all the same.
    static void checkAndMigrateDatabase(DataAccessServiceIfc* service);
    /// The change of protocol: saves what names the telephone, resets it and stores that again.
    static void checkAndMigrateQFADatabase(DataAccessServiceIfc* service);
    /// Whether the database is older than user mobility.
    static bool dbIsPreMobility(DataAccessServiceIfc* service);
    /// Brings a database from before user mobility up to it: keys, downloads and settings get
    /// users. The mark that it is done is set last, so that a start which is cut off tries again.
    static void migrateToMobilityDatabase(DataAccessServiceIfc* service);

    // What the steps share ------------------------------------------------------------------------

    /// The object of @p schema. Never null: without a factory it is one that refuses everything.
    static std::unique_ptr<DataAccessObject> createDao(DAOFactory* factory,
                                                       const std::string& schema);
    static std::unique_ptr<DataAccessObject> createDao(DataAccessServiceIfc* service,
                                                       const std::string& schema);
    /// Makes the table of @p schema through its object.
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
    /// Compares the column names of an object with its table: 0 nothing to do, 1 equal, of another
    /// number, or brought to the object's columns, else failed. Only a column that changed its name
    /// is work here: kept on purpose, missing ones have steps of their own.
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
    /// Orders texts by the numbers that they begin with.
    static bool compareStringsAsIntegers(std::string first, std::string second);

    /// The columns of a table next to those of the object of @p schema.
    static TableForm formOf(DataAccessServiceIfc* service, const std::string& schema,
                            const std::string& table);

    /**
     * Brings a table into the columns of its object, rows kept, in one transaction that is rolled
     * back whole on any failure. A missing table is made with its default rows. Cells go by name: a
     * NULL and a missing column take the default, a missing user context takes base. A column that
     * the object does not have goes, named in the log. Indices and the numbering of an
     * AUTOINCREMENT key are carried over.
     *
     * @return whether something was changed
     */
    static bool rebuildIntoDaoColumns(DataAccessServiceIfc* service, const std::string& schema,
                                      const std::string& table);

    /// The same for a table of other columns, or of the same in another order; any other stays as
    /// it is.
    static void bringIntoOrder(DataAccessServiceIfc* service, const std::string& schema,
                               const std::string& table);

    /// The same for each table, and inserts the default rows that it lacks.
    static void rebuildAndFill(DataAccessServiceIfc* service, const std::string& schema,
                               const std::string& table);

    // Tables --------------------------------------------------------------------------------------

    /// Gives @p table a user context. With @p visitorRows the visitor gets default rows if it has
    /// no rows; @p columns is how many columns the table has when that is done.
    static void migrateTableForMobility(DataAccessServiceIfc* service, const std::string& table,
                                        const std::string& schema, bool visitorRows, int columns);
    static void migratePhoneBookTable(DataAccessServiceIfc* service);
    static void migrateLineKeySettingsTable(DataAccessServiceIfc* service);
    static void migrateBcaSettingsTable(DataAccessServiceIfc* service);
    static void migrateDSSKeySettingsTable(DataAccessServiceIfc* service);
    static void migrateDSSKeySettingsTableForMonitorOnly(DataAccessServiceIfc* service);
    /// Brings the table into its columns and adds the keys that it lacks. The counts serve the log.
    static void migrateStimulusKeySettingsTable(DataAccessServiceIfc* service, int columnCount,
                                                int rowCount);
    /// Moves fixed keys, which older releases had among the programmable ones, to their own table.
    static void migrateFeatureKeysTable(DataAccessServiceIfc* service);
    /// Adds fixed keys that are missing, and gives those without a function that of the hardware.
    static void migrateFixedKeysTable(DataAccessServiceIfc* service);
    /// Moves the applications of fixed keys to their own table.
    static void migrateStartAppKeysTable(DataAccessServiceIfc* service);
    /// Move destinations of keys away from ids that default rows need, and insert these.
    static void moveBusyLamps(DataAccessServiceIfc* service);
    static void moveKey32(DataAccessServiceIfc* service);
    static void migrateFeatureKeysTableForDefaultRows(DataAccessServiceIfc* service);
    static void migrateFixedAndFeatureKeysTableForDefaultColumns(DataAccessServiceIfc* service);
    /// Gives devices without a user to base.
    static void migrateBluetoothTrustedDevices(DataAccessServiceIfc* service);
    /// Sets cells that are NULL to the default of their column; blank ones are a choice and stay.
    static void dbCheckAndMigrateLineKeySettingsDefaults(DataAccessServiceIfc* service);
    /// Adds the default rows of keys that came with later hardware.
    static void addDefaultRowsToExistingTablesWhereMissing(DataAccessServiceIfc* service);

    // Settings ------------------------------------------------------------------------------------

    /// Copies a setting to another name or context. If the new one is there, it stays unless
    /// @p copyOverExisting says otherwise. The old row goes, if it may, when the new one is there.
    static void dbMigrate(DataAccessServiceIfc* service, const std::string& schema,
                          const std::string& oldItemName, const std::string& newItemName,
                          const std::string& oldUserContext, const std::string& newUserContext,
                          bool copyOverExisting, bool deleteOldRow);
    /// The same from the device to the base user, without overwriting.
    static void dbMigrateDeviceToUser(DataAccessServiceIfc* service, const std::string& schema,
                                      const std::string& oldItemName,
                                      const std::string& newItemName, bool deleteOldRow);
    /// The same from the base user to the device; the old row stays, other software reads it.
    static void dbMigrateUserToDevice(DataAccessServiceIfc* service, std::string schema,
                                      std::string oldItemName, std::string newItemName);
    /// Moves all items of the item move table.
    static void migrateMovedItems(DataAccessServiceIfc* service);
    /// Renames the items of the door openers to their names of today, or back to the older ones.
    static void dbMigrateDoorOpenerSettings(DataAccessServiceIfc* service, bool upgrade);
    /// Renames them back, for older software that is about to be installed.
    static void downgradeDoorOpenerSettings(DataAccessServiceIfc* service);
    /// Makes the table of settings. An empty one of an older form is dropped and made anew.
    static void createGeneralConfigTable(DataAccessServiceIfc* service);
    /// Brings the table of settings from before user mobility into the form of today. False when a
    /// failure left it as it was, so that the next start has to try again.
    static bool migrateGeneralConfigTable(DataAccessServiceIfc* service,
                                          const std::vector<std::string>& columns);
    /// Gives the table of settings its key, if it lacks it: doubled rows go, NULLs become blank.
    static void normalizeGeneralConfigTable(DataAccessServiceIfc* service);
    /// The same for a table whose columns stand in another order, and only for such a one: settings
    /// are inserted by position from the first step on. The table must be there.
    static void orderGeneralConfigColumns(DataAccessServiceIfc* service);
    /// Gives each setting of the device the blank context; rows that are then doubled go.
    static void validateDeviceItems(DataAccessServiceIfc* service);
    /// Logs the items in their order and changes nothing: their key fixes the order.
    static void checkTransportSettingsOrder(DataAccessServiceIfc* service);
    /// Deletes settings that no release uses any more.
    static void deleteCallbackItems(DataAccessServiceIfc* service);
    /// Inserts the settings of network access, both or none; only where the schema has no row.
    static void migrateDot1xSettings(DataAccessServiceIfc* service);
    static bool checkDot1xSettings(DataAccessServiceIfc* service);
    /// Inserts the policy of WLAN certificates on hardware that has WLAN.
    static void migrateWlanSettings(DataAccessServiceIfc* service);
    /// Gives a setting of the device to the current user.
    static void migrateFeatureToCurrentUser(DataAccessServiceIfc* service, std::string name);
    /// Cuts emergency numbers at the last character that can't be dialled.
    static void migrateWrongEmergencyNumber(DataAccessServiceIfc* service,
                                            const std::vector<std::string>* columns);
    /// Applies the file of values that an image brings, once, and removes it.
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

    /// Splits rows of several numbers and joins doubled ones. Gives the number of rows it treated.
    static int callLogTableChecker(DataAccessServiceIfc* service);
    /// Brings a call log of other columns, or of the same in another order, to those of today: the
    /// repair reads whole rows. A missing one stays missing. Whether rows can be read so.
    static bool bringCallLogIntoOrder(DataAccessServiceIfc* service);
    /// Fills @p rows with the calls that may have to be split, and @p idsToSplit with the numbers
    /// of those that have to.
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
    /// Drops the table, which refers to rows that a repair has changed; the next read makes it.
    static void dropConversationsTable(DataAccessServiceIfc* service);
    /// Whether contacts are doubled: more than 0 when there is a group of them.
    static int readPhoneBookDuplicateRows(DataAccessServiceIfc* service);
    static void deleteDuplicateItemsFromPhoneBook(DataAccessServiceIfc* service);
    /// Deletes conversations whose contact or call is gone, or whose call is of another log.
    static void conversationsTableCleanup(DataAccessServiceIfc* service);
    /// Removes the "+" from numbers that have no digit.
    static void phonebookTableCleanup(DataAccessServiceIfc* service);
    /// Empties the table if the software before was of the older protocol, whose ringers differ.
    static void distinctiveRingerTableCleanup(DataAccessServiceIfc* service);
    /// Brings a phone book with columns that this release does not know into those of today.
    static void checkValidityOfPhoneBookTable(DataAccessServiceIfc* service);
    /// Makes the phone book anew with its rows, but without the columns named in @p leftOut. One
    /// transaction: when a row can't be copied, the book stays as it was, and the log says so.
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
    /// Takes the next occurrence of @p item from @p reply, which it consumes. False when there is
    /// none.
    static bool getValueFromReply(std::string& reply, const std::string& item, std::string& value,
                                  std::string& context);
};

#endif
