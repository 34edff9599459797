#ifndef DATAACCESSSERVICE_H
#define DATAACCESSSERVICE_H

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "DASChangeListenerIfc.h"
#include "DASTextIfc.h"
#include "DataAccessServiceIfc.h"
#include "DbFactoryIfc.h"
#include "Semaphore.h"
#include "Service.h"
#include "database/ChangeListeners.h"
#include "upgrade/UpgradeCopy.h"

class ACMSTagMapper;
class DataAccessObject;
class MobilityMigrator;
class LocalMgmtIfc;

/**
 * The service: it owns the database and routes each request to an object that lives for it.
 *
 * All work runs on the caller's thread. One semaphore serialises requests and profile changes; the
 * adapter's lock comes after it. Other operations rely on the adapter's lock alone, since some of
 * them send requests themselves. A request before the end of init, or after a reset, is refused
 * with a well-formed answer.
 */
class DataAccessService : public Service,
                          public DataAccessServiceIfc,
                          public DASTextIfc,
                          public DASChangeSourceIfc {
public:
    /// Constructs a service without a database, and gives the group access to the telephone's data
    /// directory.
    DataAccessService();
    ~DataAccessService() override;
    DataAccessService(const DataAccessService&) = delete;
    DataAccessService& operator=(const DataAccessService&) = delete;

    /// Opens the database, upgrades it and marks the service as ready. It reports no failure:
    /// failures are logged, and later requests then fail one by one.
    void init(Context& context) override;
    void shutdown() override;  ///< does nothing: the destructor stops the service
    void run() override;       ///< does nothing: the service has no thread of its own

    std::string processRequest(const char* message, int length) override;
    bool deleteFile(std::string path, std::string filename) override;
    bool renameFile(std::string oldName, std::string newName) override;
    bool moveFile(std::string oldName, std::string newName) override;
    bool readDirectoryTree(std::string directory, bool dirRead, bool subDirRead, bool fileRead,
                           DirectoryList* directories, DirectoryList* files) override;
    bool readDirectory(std::string directory, bool dirRead, bool subDirRead, bool fileRead,
                       DirectoryList* directories, DirectoryList* files) override;
    bool setProfile(std::string profile) override;
    bool factoryReset() override;
    bool exportData(std::string schema, eUserCategory category, std::string location) override;
    bool importData(std::string schema, std::string location) override;
    bool importData(std::string schema, eUserCategory category, std::string location) override;
    bool exportUserData(std::map<std::string, std::string>& values, bool base) override;
    bool importUserData(std::map<std::string, std::string>& values, bool base) override;
    bool migrateUserData(std::map<std::string, std::string>& values) override;
    void clearMobileUserdata() override;
    void clearMobileUserDLSdata() override;
    void copyBaseDataToVisitor() override;
    bool createPhonenumberIndices() override;
    void constructorActions() override;
    bool invokeACMSFactoryReset(bool enableCreateDb) override;
    void addListener(DASListenerIfc* listener) override;
    DatabaseAdapter* getAdapter() override;
    DAOFactory* getDAOFactory() override;
    void deleteVisitorUserPassword() override;
    void deleteUcCredentials() override;
    void checkDatabaseNeedsChange(eSwType currentType, eSwType newType,
                                  const std::string& newVersion) override;

    DASImported importText(const DASImport& what, const std::string& text) override;
    DASImported importRows(const DASImport& what, const std::vector<std::string>& names,
                           const Rows& rows) override;
    DASExported exportText(const std::string& schema, const std::string& user) override;
    void addChangeListener(DASChangeListenerIfc* listener) override;
    void removeChangeListener(DASChangeListenerIfc* listener) override;
    bool lookForOthers() override;

    /// The same for a string with its length.
    std::string processRequest(const std::string& message);

    /// Serialises requests and profile changes. A caller that holds it sends requests by answer().
    Semaphore& requestTurn() { return m_requestSema; }
    /// processRequest() for a caller that holds requestTurn().
    std::string answer(const std::string& message);

    /// Replaces the factory by @p factory and deletes the old one. Takes ownership; null is
    /// allowed. If it is the same factory, nothing happens. The old adapters and DAO factories are
    /// deleted, so requests are refused until constructorActions.
    void setDbFactory(DbFactoryIfc* factory);

    /// Translates management tags; null before the end of init. Owned by the service.
    ACMSTagMapper* getACMSTagMapper();

    /// Reads and writes the values that management tags name; null before the end of init. Owned by
    /// the service.
    const MobilityMigrator* getMobilityMigrator() const { return m_mobilityMigratorInUse; }

    /// Stores the framework's context; not owned.
    void registerContext(Context& context);

    /// Whether @p profile is "base" or "visitor", exactly.
    bool isValidProfile(const std::string& profile) const;

    /**
     * Makes @p profile the current user.
     *
     * @return whether listeners must be called: true for a change, and for a visitor after a
     *         visitor, who may be another person; false for base after base and for an invalid
     *         profile, which
     *         changes nothing
     */
    bool setCurrentUser(const std::string& profile);

    /// Notifies each listener, in the order of registration, of the current user.
    void notifyListenersOfProfileChange() const;

    // The version gate.

    /// Parses "V1 R8.7.111" into its four numbers. If a part is missing, its number does not
    /// change.
    static void getVersionElements(unsigned* version, unsigned* release, unsigned* minor,
                                   unsigned* build, std::string text);
    /// Whether @p first is the higher version or, with @p orEqual, the same.
    static bool isNewVersionHigher(const std::string& first, const std::string& second,
                                   bool orEqual);
    /// Removes the speed dial column from the phone book, if software of @p type can't read it.
    void deleteSpeedDialFromPhonebook(eSwType type, const std::string& newVersion);
    /// Stores the door opener settings under the names that older software of @p type reads.
    void downgradeDoorOpenerSettings(eSwType type, const std::string& newVersion);

    // Parts of the file operations.

    /// Moves @p position to the directory to walk next: the first one that begins with @p prefix,
    /// else the second of the list. False if no directory is left. Both steps of the walk use this
    /// rule.
    static bool findNextUnexploredDir(std::vector<std::string>* unexplored,
                                      std::vector<std::string>::iterator& position,
                                      std::string prefix);
    /// Whether a ringtone's file is in use as a distinctive ringer. Such a file may not be moved.
    bool isDistinctiveRingerFile(const std::string& path);
    /// Notifies the deployment server that a ringtone or screensaver changed; nothing for other
    /// paths.
    void notifyDLS(const std::string& path);

    /**
     * Asks the context for the management service and stores it. Returns whether there is one: if
     * the context has none now, the one found earlier still counts.
     */
    bool findACMS();

    /// Writes the contacts of all users to "/tmp/VX_contacts.csv", or to the file @p path of the
    /// telephone, and sends the resulting status to web management.
    void saveContactsToCSV();
    void saveContactsToCSV(const std::string& path);

    /// Whether the file @p path of the telephone can be opened for reading.
    bool doesFileExist(const std::string& path);

    /// Sends web management the status of the contacts file @p path, which depends on whether the
    /// file exists.
    void notifyWBM(const std::string& path);

private:
    void notifyOfContacts(const std::string& path, bool isWritten);
    /// The receiver of a status item; null, with a log line, if there is no management service.
    LocalMgmtIfc* managementForStatus();
    /// Last step of the start: sets the user. If @p isUserRead is false, no data of the visitor is
    /// deleted.
    void initInternal(bool isUserRead);
    /// Upgrades the database; an exception is logged.
    void migrateDatabase();
    /// Sets the stored user; if it is blank, base stays the user. False if it could not be read.
    bool settleCurrentUser();
    /// Prepares the data of the next user. False, with a log line, if the visitor's data could not
    /// be prepared.
    bool prepareProfile(const std::string& profile);
    /// Runs an operation of the DAO factory; if there is no factory, this is logged.
    void onFactory(const char* method, const std::function<void(DAOFactory&)>& operation);
    std::string answer(const char* message, int length);
    bool answerServiceWord(const char* message, std::string& answer);
    std::string answerTraceWord(bool set, const char* message);
    std::string answerXml(const char* message, int length);
    std::unique_ptr<DataAccessObject> refuse(const std::string& schema, const char* message);
    /// An object for @p schema with the current user; null, and a log line, without a factory.
    std::unique_ptr<DataAccessObject> createDao(const std::string& schema);
    /// Runs @p work with an object for @p schema. False before the end of init and without a
    /// factory. If the result of @p work is not 0, it is only logged.
    bool onTable(const char* operation, const std::string& schema,
                 const std::function<int(DataAccessObject&)>& work);
    /// The same for an import, which is reported to listeners. @p context is blank for all users.
    bool importTable(const char* method, const std::string& schema, const std::string& context,
                     const std::function<int(DataAccessObject&)>& work);
    std::string currentUser() const;
    /// Runs @p work as one transaction, and counts the changes. @p work stores rows and returns
    /// whether all of them were stored.
    DASImported importAsOne(
        const DASImport& what,
        const std::function<bool(DatabaseAdapter&, DataAccessObject&, DASImported&)>& work);

    ChangeListeners m_changes;  ///< lives longer than the adapters, because a reset replaces them

    /// Held during a reset and while factories are exchanged; no request waits for it. It comes
    /// before the adapter's lock. It is recursive, because one kind of reset calls the other.
    std::recursive_mutex m_resetMutex;
    UpgradeCopy m_upgradeCopy;  ///< declared before the database, because its lock must be released
                                ///< after the database is closed
    std::unique_ptr<DbFactoryIfc> m_dbFactory;
    std::atomic<DatabaseAdapter*> m_dbAdapter{nullptr};  ///< owned by m_dbFactory
    std::atomic<DAOFactory*> m_daoFactory{nullptr};      ///< the last of m_daoFactories
    /// Factories that a reset has replaced stay, because a request may still use them.
    std::vector<std::unique_ptr<DAOFactory>> m_daoFactories;
    std::unique_ptr<ACMSTagMapper> m_acmsTagMapper;
    std::unique_ptr<MobilityMigrator> m_mobilityMigrator;
    std::atomic<MobilityMigrator*> m_mobilityMigratorInUse{
        nullptr};  ///< null before the end of init
    std::atomic<bool> m_initialised{false};
    std::atomic<bool> m_basicMobility{false};  ///< as it was at the start
    mutable std::mutex m_currentUserMutex;
    std::string m_currentUser;
    Semaphore m_directorySema;
    Semaphore m_requestSema;
    mutable std::mutex m_listenersMutex;
    std::vector<DASListenerIfc*> m_listeners;         ///< not owned
    std::atomic<Context*> m_context{nullptr};         ///< not owned
    std::atomic<LocalMgmtIfc*> m_localMgmt{nullptr};  ///< the service that findACMS found; not
                                                      ///< owned
};

#endif
