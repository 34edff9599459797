// The guards keep what a thread is doing (its outer transaction, the one wait of its request) in
// thread-local variables. The interfaces between the guards have fixed signatures, so no parameter
// could carry it.

#include "database/AdapterGuards.h"

#include <sqlite3.h>

#include <algorithm>
#include <utility>

#include "database/DatabaseAdapter.h"

namespace {

constexpr long LongestWait = 5000000;  // in microseconds, as the adapter sets for a statement
constexpr long WaitOfEachStatement = -1;

thread_local long s_waitLeft = WaitOfEachStatement;

/// A transaction that includes the transactions of inner calls on the same thread.
struct Outer {
    const DatabaseAdapter* adapter;
    bool isRolledBack;
};
thread_local Outer* s_outer = nullptr;

bool isInner(const DatabaseAdapter& adapter) {
    return s_outer != nullptr && s_outer->adapter == &adapter;
}

}  // namespace

AdapterLock::AdapterLock(DatabaseAdapter& adapter) : m_adapter(adapter) {
    m_adapter.take_sema4();
}

AdapterLock::~AdapterLock() {
    m_adapter.give_sema4();
}

RowDrain::RowDrain(DatabaseAdapter& adapter, const Take& take)
    : m_lock(adapter), m_adapter(adapter) {
    m_adapter.drainRows(&take);
}

RowDrain::~RowDrain() {
    m_adapter.drainRows(nullptr);
}

int readInPieces(DatabaseAdapter& adapter, Rows& rows, const std::function<int()>& read,
                 const RowDrain::Take& take) {
    int result = 0;
    {
        const RowDrain drain(adapter, take);
        result = read();
    }
    return result == 0 && !rows.empty() && !take(rows) ? 1 : result;
}

TransactionGuard::TransactionGuard(DatabaseAdapter& adapter, Locks locks)
    : m_adapter(adapter),
      m_isInner(isInner(adapter)),
      m_beginResult(m_isInner                ? 0
                    : locks == Locks::AtOnce ? adapter.beginWriteTransaction()
                                             : adapter.beginTransaction()) {}

TransactionGuard::~TransactionGuard() {
    // A failed commit has been logged by the adapter; a destructor has no caller to report to.
    (void)end();
}

void TransactionGuard::holdCommits() {
    if (!m_isInner) {
        m_adapter.holdCommits(true);
    }
}

int TransactionGuard::end() {
    if (!m_open) {
        return 0;
    }
    m_open = false;
    if (m_isInner) {
        return s_outer->isRolledBack ? SQLITE_ABORT : 0;
    }
    m_adapter.holdCommits(false);
    return m_adapter.endTransaction();
}

void TransactionGuard::rollBack() {
    if (!m_open) {
        return;
    }
    m_open = false;
    if (m_isInner) {
        s_outer->isRolledBack = true;
        return;
    }
    m_adapter.holdCommits(false);
    m_adapter.rollBack();
    m_adapter.give_sema4();
}

OneWait::OneWait() : m_isOutermost(s_waitLeft == WaitOfEachStatement) {
    if (m_isOutermost) {
        s_waitLeft = LongestWait;
    }
}

OneWait::~OneWait() {
    if (m_isOutermost) {
        s_waitLeft = WaitOfEachStatement;
    }
}

bool OneWait::takes(int microseconds) {
    if (s_waitLeft == WaitOfEachStatement) {
        return true;
    }
    s_waitLeft = std::max(s_waitLeft - microseconds, 0L);
    return s_waitLeft > 0;
}

bool runWholeOrNot(DatabaseAdapter& adapter, const std::function<bool()>& work,
                   TransactionGuard::Locks locks) {
    return runWhole(
               adapter, [&work] { return work() ? 0 : 1; }, locks) == 0;
}

int runWhole(DatabaseAdapter& adapter, const std::function<int()>& work,
             TransactionGuard::Locks locks) {
    TransactionGuard transaction(adapter, locks);
    int result = transaction.beginResult();
    try {
        if (result == 0) {
            transaction.holdCommits();
            result = work();
            if (result == 0) {
                return transaction.end();
            }
        }
    } catch (...) {
        transaction.rollBack();
        throw;
    }
    transaction.rollBack();
    return result;
}

int runWholeWithInner(DatabaseAdapter& adapter, const std::function<int()>& work) {
    Outer outer{&adapter, false};
    const auto workWithInner = [&] {
        // While this scope lives, the transaction of runWhole() is the outer one; it is no inner
        // one itself.
        struct Scope {
            explicit Scope(Outer& outer) { s_outer = &outer; }
            ~Scope() { s_outer = nullptr; }
            Scope(const Scope&) = delete;
            Scope& operator=(const Scope&) = delete;
        } const scope(outer);
        const int result = work();
        return result == 0 && outer.isRolledBack ? SQLITE_ABORT : result;
    };
    return runWhole(adapter, workWithInner, TransactionGuard::Locks::AtOnce);
}
