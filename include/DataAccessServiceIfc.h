#ifndef DATAACCESSSERVICEIFC_H
#define DATAACCESSSERVICEIFC_H

#include <map>
#include <string>

#include "DASTypes.h"

class DAOFactory;
class DASListenerIfc;
class DatabaseAdapter;

/**
 * The operations that the data access service offers to other services.
 *
 * Paths are those of the telephone. A bool is true if the operation was carried out; each operation
 * describes what else it means. Any thread may call. The order of the operations is part of the
 * binary contract.
 */
class DataAccessServiceIfc {
public:
    virtual ~DataAccessServiceIfc() = default;

    /**
     * Answers one request: a service word such as "getCurrentUser", or an XML request that names a
     * schema and a reason. One request at a time is served, others wait.
     *
     * @param message the request, ended by a zero byte
     * @param length  how many bytes of it the XML parser reads
     * @return the answer of a service word, or the response in XML, in every case; cell values
     *         and contexts stand in it as they are stored. An exception of the standard
     *         library may pass through, with everything released.
     */
    virtual std::string processRequest(const char* message, int length) = 0;

    /// Deletes a file from a directory of ringtones, screensavers or images; false for any other
    /// directory.
    virtual bool deleteFile(std::string path, std::string filename) = 0;

    /// Deprecated form of moveFile, which a visitor may use only towards a path with "/visitor".
    virtual bool renameFile(std::string oldName, std::string newName) = 0;

    /// Moves a file. False if the move failed or the file is a ringer in use.
    virtual bool moveFile(std::string oldName, std::string newName) = 0;

    /// Deprecated form of readDirectory, for the base user alone.
    virtual bool readDirectoryTree(std::string directory, bool dirRead, bool subDirRead,
                                   bool fileRead, DirectoryList* directories,
                                   DirectoryList* files) = 0;

    /**
     * Lists a directory.
     *
     * @param dirRead     whether @p directories gets the directory itself
     * @param subDirRead  whether the tree below is walked; needs @p dirRead, else false
     * @param fileRead    whether @p files gets the files and links of each directory
     * @param directories each directory with the full paths of its subdirectories; appended to
     * @param files       each directory with the names of its files; appended to
     */
    virtual bool readDirectory(std::string directory, bool dirRead, bool subDirRead, bool fileRead,
                               DirectoryList* directories, DirectoryList* files) = 0;

    /**
     * Changes the telephone's user to "base" or "visitor" and notifies the listeners. Makes the
     * service accept requests again, also after a reset. False if @p profile is any other string.
     */
    virtual bool setProfile(std::string profile) = 0;

    /// Removes the database. Requests are refused until a profile change or a new start. Always
    /// true.
    virtual bool factoryReset() = 0;

    /// Writes the table of @p schema to the file @p location, for one user or for all.
    virtual bool exportData(std::string schema, eUserCategory category, std::string location) = 0;

    /// Reads the file @p location into the table of @p schema. True when the service is ready.
    virtual bool importData(std::string schema, std::string location) = 0;

    /// Replaces one user's rows in the table of @p schema by those of the file @p location.
    virtual bool importData(std::string schema, eUserCategory category, std::string location) = 0;

    /// Fills in the values of @p values, whose keys are management tags, from base or visitor data.
    virtual bool exportUserData(std::map<std::string, std::string>& values, bool base) = 0;

    /// Writes the values of @p values, whose keys are management tags, to base or visitor data.
    virtual bool importUserData(std::map<std::string, std::string>& values, bool base) = 0;

    /// Makes the visitor the current user, and writes @p values to base data.
    virtual bool migrateUserData(std::map<std::string, std::string>& values) = 0;

    /// Deletes the visitor's rows and resets the visitor's call groups to their defaults.
    virtual void clearMobileUserdata() = 0;

    /// Deletes the visitor's phone book and call log.
    virtual void clearMobileUserDLSdata() = 0;

    /// Replaces the visitor's rows by copies of the base rows, without the user password.
    virtual void copyBaseDataToVisitor() = 0;

    /// Creates the indices for a search by number. Always true.
    virtual bool createPhonenumberIndices() = 0;

    /// Creates the adapter and the DAO factory. After that, getAdapter and getDAOFactory return new
    /// objects.
    virtual void constructorActions() = 0;

    /**
     * Resets the telephone's data.
     *
     * @param enableCreateDb true: a new database is created at once, and the result is true. false:
     *                       the management service is notified too, the service stays closed, and
     *                       the result is false. Also false if there is no management service.
     */
    virtual bool invokeACMSFactoryReset(bool enableCreateDb) = 0;

    /// Adds a listener at the end of the list; not owned, must outlive the service. Null is stored
    /// but never called. Listeners can't be removed.
    virtual void addListener(DASListenerIfc* listener) = 0;

    /// The adapter in use; null before constructorActions. Owned by the service; a reset replaces
    /// it.
    virtual DatabaseAdapter* getAdapter() = 0;

    /// The DAO factory in use; null before constructorActions. Owned by the service; a reset
    /// replaces it.
    virtual DAOFactory* getDAOFactory() = 0;

    /// Deletes the password and login state that the visitor has set.
    virtual void deleteVisitorUserPassword() = 0;

    /// Deletes the visitor's credentials for unified communications.
    virtual void deleteUcCredentials() = 0;

    /**
     * Prepares the database for another software version, whose users could not read newer columns.
     *
     * @param currentType kind of software that runs now
     * @param newType     kind of software that is to run
     * @param newVersion  its version, such as "V1 R8.7.111"
     */
    virtual void checkDatabaseNeedsChange(eSwType currentType, eSwType newType,
                                          const std::string& newVersion) = 0;
};

#endif
