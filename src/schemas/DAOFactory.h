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
    /// @p adapter goes to each object; not owned, may be null. The model is asked for here, once.
    explicit DAOFactory(DatabaseAdapter* adapter);
    virtual ~DAOFactory();
    DAOFactory(const DAOFactory&) = delete;
    DAOFactory& operator=(const DAOFactory&) = delete;

    /// A new object for @p schema, compared exactly; never null, a schema that no class serves gets
    /// a NULLDataAccessObject. The caller deletes it.
    DataAccessObject* createDAOInstance(std::string schema);

    /// Whether @p schema is one of those that are rows of the general configuration table.
    static bool holdsSettings(const std::string& schema);

    /// All schemas that are served, in the order in which they are tried.
    static std::vector<std::string> schemas();

    /// The default keys of this model, for each "ID:FUNCTION:LABEL;".
    std::string getDefaultFeatureKeyData();

    // The data of the two users. Each walks or names schemas and works through their objects; a
    // failure of one is in the log and the walk goes on, but for the copy.

    /// Gives the visitor copies of the base user's rows, and default call groups. False, and a log
    /// line, when a schema failed: the walk ends there, and that schema and those after it keep
    /// what the visitor had.
    [[nodiscard]] bool copyQFABaseDataToVisitor();
    /// Wipes the visitor's rows; his call groups go back to their defaults.
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
