#ifndef DBFACTORY_H
#define DBFACTORY_H

#include <memory>
#include <vector>

#include "DbFactoryIfc.h"
#include "database/DatabaseAdapter.h"

/// Makes the adapter over SQLite.
class DbFactory : public DbFactoryIfc {
public:
    DbFactory();
    ~DbFactory() override;
    DbFactory(const DbFactory&) = delete;
    DbFactory& operator=(const DbFactory&) = delete;

    /// The previous adapter of this factory is kept until destroyDatabase(), because other threads
    /// may still use it.
    DatabaseAdapter* createDatabase() override;
    void destroyDatabase() override;

private:
    std::unique_ptr<DatabaseAdapter> m_adapter;
    std::vector<std::unique_ptr<DatabaseAdapter>> m_retired;
};

#endif
