#ifndef DAOFACTORY_H
#define DAOFACTORY_H

#include <string>

#include "PlainTables.h"

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

    /// A new object for @p schema, compared exactly; never null, a schema that nobody serves gets a
    /// NULLDataAccessObject. The caller deletes it.
    DataAccessObject* createDAOInstance(std::string schema);

    /// The default keys of this model, for each "ID:FUNCTION:LABEL;".
    std::string getDefaultFeatureKeyData();

private:
    DatabaseAdapter* m_dbAdapter;  // not owned
    const KeyHardware m_hardware;
};

#endif
