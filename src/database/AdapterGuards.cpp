#include "database/AdapterGuards.h"

#include <algorithm>
#include <utility>

#include "database/DatabaseAdapter.h"

namespace {

constexpr long LongestWait = 5000000;  // in microseconds, as the adapter sets for a statement
constexpr long WaitOfEachStatement = -1;

thread_local long s_waitLeft = WaitOfEachStatement;

}  // namespace

AdapterLock::AdapterLock(DatabaseAdapter& adapter) : m_adapter(adapter) {
    m_adapter.take_sema4();
}

AdapterLock::~AdapterLock() {
    m_adapter.give_sema4();
}

RowDrain::RowDrain(DatabaseAdapter& adapter, Take take) : m_lock(adapter), m_adapter(adapter) {
    m_adapter.drainRows(std::move(take));
}

RowDrain::~RowDrain() {
    m_adapter.drainRows({});
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
      m_beginResult(locks == Locks::AtOnce ? adapter.beginWriteTransaction()
                                           : adapter.beginTransaction()) {}

TransactionGuard::~TransactionGuard() {
    // A failed commit has been logged by the adapter; a destructor has nobody to tell.
    (void)end();
}

void TransactionGuard::holdCommits() {
    m_adapter.holdCommits(true);
}

int TransactionGuard::end() {
    if (!m_open) {
        return 0;
    }
    m_open = false;
    m_adapter.holdCommits(false);
    return m_adapter.endTransaction();
}

void TransactionGuard::rollBack() {
    if (!m_open) {
        return;
    }
    m_open = false;
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
