#ifndef ADAPTERGUARDS_H
#define ADAPTERGUARDS_H

class DatabaseAdapter;

/// Holds the adapter's lock for a scope. Declare it before a Statement, so that it goes last.
class AdapterLock {
public:
    /// Waits for the lock of @p adapter, which must outlive this object; not owned.
    explicit AdapterLock(DatabaseAdapter& adapter);
    ~AdapterLock();
    AdapterLock(const AdapterLock&) = delete;
    AdapterLock& operator=(const AdapterLock&) = delete;

private:
    DatabaseAdapter& m_adapter;
};

/**
 * A transaction for a scope. It begins at construction and is ended once: by end(), by rollBack(),
 * or by the destructor, which ends it and never rolls back. Since beginning takes the adapter's
 * lock even when SQLite refuses, ending is due also when the begin failed. Transactions do not
 * nest.
 */
class TransactionGuard {
public:
    /// @p adapter must outlive this object; not owned.
    explicit TransactionGuard(DatabaseAdapter& adapter);
    ~TransactionGuard();
    TransactionGuard(const TransactionGuard&) = delete;
    TransactionGuard& operator=(const TransactionGuard&) = delete;

    /// Raw SQLite code of the begin, 0 for success.
    [[nodiscard]] int beginResult() const { return m_beginResult; }

    /// Commits and releases the lock. Raw SQLite code; 0 without action when already ended.
    int end();

    /// Takes everything back and releases the lock; for rebuilds of tables alone.
    void rollBack();

    /// Commits like end(), and takes everything back when that fails; for rebuilds of tables alone.
    [[nodiscard]] int endOrRollBack();

private:
    DatabaseAdapter& m_adapter;
    int m_beginResult;
    bool m_open = true;
};

#endif
