#ifndef ADAPTERGUARDS_H
#define ADAPTERGUARDS_H

#include <functional>

#include "DASTypes.h"

class DatabaseAdapter;

/// Holds the adapter's lock for a scope. Declare it before a Statement, so that it is destroyed
/// after the Statement.
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
 * or ended by the destructor, which never rolls back. beginTransaction() takes the adapter's lock
 * even when SQLite refuses the begin. So the transaction must be ended after a failed begin too.
 * Transactions do not nest, except inside runWholeWithInner().
 */
class TransactionGuard {
public:
    /// AtFirstWrite is the usual kind: other connections may write until this transaction writes.
    /// AtOnce locks the file at the begin, for a transaction whose writes depend on what it has
    /// read. If that begin fails, nothing may be written.
    enum class Locks { AtFirstWrite, AtOnce };

    /// @p adapter must outlive this object; not owned.
    explicit TransactionGuard(DatabaseAdapter& adapter, Locks locks = Locks::AtFirstWrite);
    ~TransactionGuard();
    TransactionGuard(const TransactionGuard&) = delete;
    TransactionGuard& operator=(const TransactionGuard&) = delete;

    /// Raw SQLite code of the begin, 0 for success.
    [[nodiscard]] int beginResult() const { return m_beginResult; }

    /// From now on only end() commits. When the disk is full, SQLite rolls the transaction back by
    /// itself. Without this hold, each later statement would then be committed alone.
    void holdCommits();

    /// Commits and releases the lock. If the commit fails, the transaction is rolled back. Returns
    /// the raw SQLite code; 0, without any action, if the transaction has already ended.
    int end();

    /// Rolls back and releases the lock. Only for rebuilds of tables.
    void rollBack();

private:
    DatabaseAdapter& m_adapter;
    bool m_isInner;  ///< the transaction is a part of a runWholeWithInner()
    int m_beginResult;
    bool m_open = true;
};

/**
 * Holds the adapter's lock, and passes rows on in pieces while they are read, so that a large
 * result is never in memory as a whole. Drains do not nest.
 */
class RowDrain {
public:
    /// Receives the rows that were read so far and empties the list. If it returns false, the read
    /// ends and fails.
    using Take = std::function<bool(Rows& rows)>;

    /// The caller of the read passes on the last piece itself. @p adapter and @p take must outlive
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

/// Runs @p read, which reads into @p rows, and passes all rows to @p take in pieces. Returns the
/// result of the read, or 1 if @p take ended the read.
[[nodiscard]] int readInPieces(DatabaseAdapter& adapter, Rows& rows,
                               const std::function<int()>& read, const RowDrain::Take& take);

/**
 * While this object lives, the statements of this thread wait for other processes five seconds in
 * total, as long as one statement alone would wait. After a wait without success, later statements
 * fail at once. Without this object each statement of a request would wait five seconds again. An
 * object inside another one changes nothing.
 */
class OneWait {
public:
    OneWait();
    ~OneWait();
    OneWait(const OneWait&) = delete;
    OneWait& operator=(const OneWait&) = delete;

    /// Whether this thread may sleep for another @p microseconds. If so, they are counted.
    [[nodiscard]] static bool takes(int microseconds);

private:
    const bool m_isOutermost;
};

/// Runs @p work in a transaction of its own. It is committed when @p work returns true; it is
/// rolled back whole when it returns false, throws, or can't be committed. For rebuilds of tables.
/// Returns true only if it was committed.
[[nodiscard]] bool runWholeOrNot(
    DatabaseAdapter& adapter, const std::function<bool()>& work,
    TransactionGuard::Locks locks = TransactionGuard::Locks::AtFirstWrite);

/// Like runWholeOrNot(), but @p work returns 0 for success and is not called if the transaction
/// can't begin. Returns 0 if it was committed, else the result of @p work or the raw SQLite code of
/// the begin or the commit.
[[nodiscard]] int runWhole(DatabaseAdapter& adapter, const std::function<int()>& work,
                           TransactionGuard::Locks locks);

/// Like runWhole(), but locks the file at the begin, and @p work may begin transactions of its own,
/// which become parts of this one. If one of them is rolled back, the whole transaction is rolled
/// back, and the result is SQLITE_ABORT.
[[nodiscard]] int runWholeWithInner(DatabaseAdapter& adapter, const std::function<int()>& work);

#endif
