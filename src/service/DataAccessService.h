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
    /// A service without a database; opens the telephone's data directory for its group.
    DataAccessService();
    ~DataAccessService() override;
    DataAccessService(const DataAccessService&) = delete;
    DataAccessService& operator=(const DataAccessService&) = delete;

    /// Opens the database, brings it up to date and marks the service as ready. Reports no failure:
    /// what went wrong is in the log, and requests then fail one by one.
    void init(Context& context) override;
    void shutdown() override;  ///< does nothing: stopping is the destructor
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

    /// The same for a text that knows its length.
    std::string processRequest(const std::string& message);

    /// Serialises requests and profile changes. Whoever holds it sends requests by answer().
    Semaphore& requestTurn() { return m_requestSema; }
    /// processRequest() for a caller that holds requestTurn().
    std::string answer(const std::string& message);

    /// Keeps @p factory in place of the one that is held, which is deleted. Takes ownership; null
    /// is allowed. The one that is held already stays. Older adapters and DAO factories are
    /// gone: requests are refused until constructorActions.
    void setDbFactory(DbFactoryIfc* factory);

    /// Translates management tags; null before the end of init. Owned by the service.
    ACMSTagMapper* getACMSTagMapper();

    /// Reads and writes what management tags stand for; null before the end of init. Owned by the
    /// service.
    const MobilityMigrator* getMobilityMigrator() const { return m_mobilityMigratorInUse; }

    /// Stores the framework's context; not owned.
    void registerContext(Context& context);

    /// Whether @p profile is "base" or "visitor", exactly.
    bool isValidProfile(const std::string& profile) const;

    /**
     * Makes @p profile the current user.
     *
     * @return whether listeners are to be told: true for a change, and for a visitor who comes
     * again, since a guest may follow a guest; false for base again and for an invalid text, which
     *         changes nothing
     */
    bool setCurrentUser(const std::string& profile);

    /// Notifies each listener, in the order of registration, of the current user.
    void notifyListenersOfProfileChange() const;

    // The version gate.

    /// Parses "V1 R8.7.111" into its four numbers; parts that are missing keep what they held.
    static void getVersionElements(unsigned* version, unsigned* release, unsigned* minor,
                                   unsigned* build, std::string text);
    /// Whether @p first is the higher version or, with @p orEqual, the same.
    static bool isNewVersionHigher(const std::string& first, const std::string& second,
                                   bool orEqual);
    /// Takes the speed dial column out of the phone book for software of @p type that can't read
    /// it.
    void deleteSpeedDialFromPhonebook(eSwType type, const std::string& newVersion);
    /// Stores the door opener settings under the names that older software of @p type reads.
    void downgradeDoorOpenerSettings(eSwType type, const std::string& newVersion);

    // Parts of the file operations.

    /// Places @p position on the directory to walk next: the first that begins with @p prefix, else
    /// the second of the list. False without one. The walk goes by the same rule.
    static bool findNextUnexploredDir(std::vector<std::string>* unexplored,
                                      std::vector<std::string>::iterator& position,
                                      std::string prefix);
    /// Whether a ringtone's file is in use as a distinctive ringer, which is why it may not move.
    bool isDistinctiveRingerFile(const std::string& path);
    /// Notifies the deployment server that a ringtone or screensaver changed; nothing for other
    /// paths.
    void notifyDLS(const std::string& path);

    /**
     * Asks the context for the management service and keeps what it gives. Whether there is one:
     * when the context has none, one that was found earlier still counts.
     */
    bool findACMS();

    /// Writes the contacts of all users to "/tmp/VX_contacts.csv", or to the file @p path of the
    /// telephone, and sends web management the status of that.
    void saveContactsToCSV();
    void saveContactsToCSV(const std::string& path);

    /// Whether the file @p path of the telephone can be opened for reading.
    bool doesFileExist(const std::string& path);

    /// Sends web management the status of the contacts file @p path, by whether it is there.
    void notifyWBM(const std::string& path);

private:
    void notifyOfContacts(const std::string& path, bool isWritten);
    /// Whom to hand a status item; null, and a log line, when there is no management service.
    LocalMgmtIfc* managementForStatus();
    /// Last step of the start: settles the user. Without @p isUserRead nothing of the visitor is
    /// deleted.
    void initInternal(bool isUserRead);
    /// Brings the database up to date; what it throws is in the log.
    void migrateDatabase();
    /// Takes the stored user; a blank one leaves base. False when it could not be read.
    bool settleCurrentUser();
    /// Prepares the data of a user who is about to become current. False, and a log line, when the
    /// visitor can't have his.
    bool prepareProfile(const std::string& profile);
    /// Runs an operation of the DAO factory; a missing one is logged.
    void onFactory(const char* method, const std::function<void(DAOFactory&)>& operation);
    std::string answer(const char* message, int length);
    bool answerServiceWord(const char* message, std::string& answer);
    std::string answerTraceWord(bool set, const char* message);
    std::string answerXml(const char* message, int length);
    std::unique_ptr<DataAccessObject> refuse(const std::string& schema, const char* message);
    /// An object for @p schema with the current user; null, and a log line, without a factory.
    std::unique_ptr<DataAccessObject> createDao(const std::string& schema);
    /// Lets @p work do something with an object for @p schema. False before the end of init and
    /// without a factory; a result of @p work that is not 0 is in the log alone.
    bool onTable(const char* operation, const std::string& schema,
                 const std::function<int(DataAccessObject&)>& work);
    /// The same for an import, which listeners hear of. @p context is blank for all users.
    bool importTable(const char* method, const std::string& schema, const std::string& context,
                     const std::function<int(DataAccessObject&)>& work);
    std::string currentUser() const;
    /// Runs @p work, which stores rows and says whether all of them were, as one transaction, and
    /// counts what it did.
    DASImported importAsOne(
        const DASImport& what,
        const std::function<bool(DatabaseAdapter&, DataAccessObject&, DASImported&)>& work);

    ChangeListeners m_changes;  ///< outlives the adapters, which a reset replaces

    /// Held by a reset, and while factories are exchanged; no request waits for it. It comes before
    /// the adapter's lock. Recursive, since one reset is a part of the other.
    std::recursive_mutex m_resetMutex;
    UpgradeCopy m_upgradeCopy;  ///< releases its lock after the database, so before it here
    std::unique_ptr<DbFactoryIfc> m_dbFactory;
    std::atomic<DatabaseAdapter*> m_dbAdapter{nullptr};  ///< owned by m_dbFactory
    std::atomic<DAOFactory*> m_daoFactory{nullptr};      ///< the last of m_daoFactories
    /// Those that a reset replaced stay: a request may still run on them.
    std::vector<std::unique_ptr<DAOFactory>> m_daoFactories;
    std::unique_ptr<ACMSTagMapper> m_acmsTagMapper;
    std::unique_ptr<MobilityMigrator> m_mobilityMigrator;
    std::atomic<MobilityMigrator*> m_mobilityMigratorInUse{
        nullptr};  ///< null before the end of init
    std::atomic<bool> m_initialised{false};
    std::atomic<bool> m_basicMobility{false};  ///< as the start found it
    mutable std::mutex m_currentUserMutex;
    std::string m_currentUser;
    Semaphore m_directorySema;
    Semaphore m_requestSema;
    mutable std::mutex m_listenersMutex;
    std::vector<DASListenerIfc*> m_listeners;         ///< not owned
    std::atomic<Context*> m_context{nullptr};         ///< not owned
    std::atomic<LocalMgmtIfc*> m_localMgmt{nullptr};  ///< what findACMS found; not owned
};

#endif
