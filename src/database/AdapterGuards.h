#ifndef ADAPTERGUARDS_H
#define ADAPTERGUARDS_H

#include <functional>

#include "DASTypes.h"

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
 * A transaction for a scope. It begins at construction and is ended once: committed, rolled back,
 * or ended by the destructor, which never rolls back. Since beginning takes the adapter's lock even
 * when SQLite refuses, ending is due also when the begin failed. Transactions do not nest, but in
 * a whole one that says so.
 */
class TransactionGuard {
public:
    /// AtFirstWrite is what a transaction usually is: others may write until it does. AtOnce is for
    /// one that writes by what it has read: a begin that fails then means that nothing is to be
    /// written.
    enum class Locks { AtFirstWrite, AtOnce };

    /// @p adapter must outlive this object; not owned.
    explicit TransactionGuard(DatabaseAdapter& adapter, Locks locks = Locks::AtFirstWrite);
    ~TransactionGuard();
    TransactionGuard(const TransactionGuard&) = delete;
    TransactionGuard& operator=(const TransactionGuard&) = delete;

    /// Raw SQLite code of the begin, 0 for success.
    [[nodiscard]] int beginResult() const { return m_beginResult; }

    /// From now on nothing is committed but by end(). When the disk is full SQLite takes the
    /// transaction back by itself, and what follows would be stored alone.
    void holdCommits();

    /// Commits and releases the lock; what can't be committed is rolled back. Raw SQLite code; 0
    /// without action when already ended.
    int end();

    /// Takes everything back and releases the lock; for rebuilds of tables alone.
    void rollBack();

private:
    DatabaseAdapter& m_adapter;
    bool m_isInner;  ///< it stands in a runWholeWithInner() and is a part of that
    int m_beginResult;
    bool m_open = true;
};

/**
 * Holds the adapter's lock, and has rows that are read handed over in pieces, so that a large
 * result is never in memory as a whole. Drains do not nest.
 */
class RowDrain {
public:
    /// Gets the rows that were read so far and empties the list. False ends the read, which fails.
    using Take = std::function<bool(Rows& rows)>;

    /// What was read last stays with the caller of the read. @p adapter and @p take must outlive
    /// this object; not owned.
    RowDrain(DatabaseAdapter& adapter, const Take& take);
    RowDrain(DatabaseAdapter& adapter, Take&& take) = delete;
    ~RowDrain();
    RowDrain(const RowDrain&) = delete;
    RowDrain& operator=(const RowDrain&) = delete;

private:
    AdapterLock m_lock;
    DatabaseAdapter& m_adapter;
};

/// Runs @p read, which reads into @p rows, and hands all rows to @p take, in pieces. The result of
/// the read, 1 when @p take has ended it.
[[nodiscard]] int readInPieces(DatabaseAdapter& adapter, Rows& rows,
                               const std::function<int()>& read, const RowDrain::Take& take);

/**
 * As long as it lives, the statements of this thread wait for other processes five seconds in all,
 * which is how long one alone waits: what comes after a wait without success fails at once. Without
 * it each statement of a request would wait anew. An object inside of another changes nothing.
 */
class OneWait {
public:
    OneWait();
    ~OneWait();
    OneWait(const OneWait&) = delete;
    OneWait& operator=(const OneWait&) = delete;

    /// Whether this thread may still sleep for @p microseconds, which count then.
    [[nodiscard]] static bool takes(int microseconds);

private:
    const bool m_isOutermost;
};

/// Runs @p work in a transaction of its own. It is committed when @p work returns true; it is
/// rolled back whole when it returns false, throws, or can't be committed. For rebuilds of tables.
/// False unless it was committed.
[[nodiscard]] bool runWholeOrNot(
    DatabaseAdapter& adapter, const std::function<bool()>& work,
    TransactionGuard::Locks locks = TransactionGuard::Locks::AtFirstWrite);

/// The same for @p work that returns 0 for success and is not called when the transaction can't
/// begin. 0 when it was committed, else the result of @p work or the raw SQLite code of the begin
/// or the commit.
[[nodiscard]] int runWhole(DatabaseAdapter& adapter, const std::function<int()>& work,
                           TransactionGuard::Locks locks);

/// As runWhole() with a lock at once, for @p work that has transactions of its own: they become
/// parts of this one, and when one of them is rolled back all of it is, with the result
/// SQLITE_ABORT.
[[nodiscard]] int runWholeWithInner(DatabaseAdapter& adapter, const std::function<int()>& work);

#endif
