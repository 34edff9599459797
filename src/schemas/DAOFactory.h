#ifndef DAOFACTORY_H
#define DAOFACTORY_H

#include <string>
#include <vector>

#include "tables/PlainTables.h"

class DataAccessObject;
class DatabaseAdapter;

/// Turns the name of a schema into an object that serves it. Lives as long as the service.
class DAOFactory {
public:
    /// Each object gets @p adapter, which is not owned and may be null. The hardware model is read
    /// here, once.
    explicit DAOFactory(DatabaseAdapter* adapter);
    virtual ~DAOFactory();
    DAOFactory(const DAOFactory&) = delete;
    DAOFactory& operator=(const DAOFactory&) = delete;

    /// Creates an object for @p schema; the name is compared exactly. Never null: an unknown schema
    /// gets a NULLDataAccessObject. The caller deletes the object.
    DataAccessObject* createDAOInstance(std::string schema);

    /// Whether @p schema is one of those that are rows of the general configuration table.
    static bool holdsSettings(const std::string& schema);

    /// All schemas that are served, in the order in which they are tried.
    static std::vector<std::string> schemas();

    /// The default keys of this model, in the form "ID:FUNCTION:LABEL;" for each key.
    std::string getDefaultFeatureKeyData();

    // The data of the two users. Each operation walks through schemas and works through their
    // objects. If one object fails, this is logged and the walk continues, except in the copy.

    /// Gives the visitor copies of the base user's rows, and default call groups. False, with a log
    /// line, if a schema failed. The walk ends there: in that schema and the later ones the
    /// visitor's rows do not change.
    [[nodiscard]] bool copyQFABaseDataToVisitor();
    /// Deletes the visitor's rows and resets the visitor's call groups to their defaults.
    void deleteQFAVisitorData();
    /// Deletes the visitor's phone book and call log.
    void deleteQFAVisitorDLSdata();
    /// Deletes the visitor's phone book, call log and user password.
    void clearQFAMobileUserdata();
    void deleteVisitorPhonebook();
    void deleteVisitorCallLog();
    void deleteVisitorUserPassword();
    void deleteUcCredentials();

    /// These two do nothing: kept on purpose, the flows of another protocol call them.
    void initialiseSIPMobilityUserData(const std::string& context);
    void copySIPBaseDataToVisitor();

private:
    DatabaseAdapter* m_dbAdapter;  // not owned
    const KeyHardware m_hardware;
};

#endif
