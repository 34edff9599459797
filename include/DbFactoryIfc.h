#ifndef DBFACTORYIFC_H
#define DBFACTORYIFC_H

class DatabaseAdapterIfc;

/// Creates, owns and destroys the adapter of a service.
class DbFactoryIfc {
public:
    virtual ~DbFactoryIfc() = default;

    /**
     * Makes an adapter, which opens the database.
     *
     * @return the adapter, never null, also when the database could not be opened. The factory owns
     *         it. Called again it makes another one; the former stays valid until destroyDatabase,
     *         since a request may still run on it.
     */
    virtual DatabaseAdapterIfc* createDatabase() = 0;

    /// Deletes all adapters that this factory has made. Does nothing when there are no adapters.
    virtual void destroyDatabase() = 0;
};

#endif
