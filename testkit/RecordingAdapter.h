#ifndef RECORDINGADAPTER_H
#define RECORDINGADAPTER_H

#include <chrono>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <vector>

#include "DbFactoryIfc.h"
#include "database/AdapterGuards.h"
#include "database/DatabaseAdapter.h"
#include "testkit/ServiceTest.h"

/// An adapter that records its statements, and can return results in their place. Counts by
/// countRows are not recorded.
class RecordingAdapter : public DatabaseAdapter {
public:
    int actualSQLiteCommandExecution(const std::string& sql,
                                     int (*callback)(void*, int, char**, char**),
                                     void* argument) override {
        const int code = note(sql);
        return code != 0 ? code
                         : DatabaseAdapter::actualSQLiteCommandExecution(sql, callback, argument);
    }
    int executeSQLQuery(const std::string& sql, Rows& rows) override {
        return note(sql) != 0 ? 1 : DatabaseAdapter::executeSQLQuery(sql, rows);
    }
    int executeActualSearchQuery(const std::string& sql, Rows& rows) override {
        return note(sql) != 0 ? 1 : DatabaseAdapter::executeActualSearchQuery(sql, rows);
    }
    int getRowCount(const std::string& sql, std::string& count) override {
        count = "0";
        return note(sql) != 0 ? 0 : DatabaseAdapter::getRowCount(sql, count);
    }
    using DatabaseAdapter::getRowCount;
    /// Records the values as well, after the statement.
    int executeWithValues(const std::string& sql, const std::vector<std::string>& values) override {
        std::string noted = sql;
        for (const std::string& value : values) {
            noted += " " + value;
        }
        const int code = note(noted);
        return code != 0 ? code : DatabaseAdapter::executeWithValues(sql, values);
    }

    /// How many statements contain @p part.
    int count(const std::string& part) const {
        int found = 0;
        for (const std::string& sql : statements) {
            found += sql.find(part) != std::string::npos ? 1 : 0;
        }
        return found;
    }

    std::vector<std::string> statements;
    /// Called before each statement. If it returns another value than 0, this becomes the result,
    /// and the statement does not run.
    std::function<int(const std::string&)> intercept;

private:
    int note(const std::string& sql) {
        statements.push_back(sql);
        return intercept ? intercept(sql) : 0;
    }
};

/// Returns @p code for the @p nth statement that contains @p part.
inline std::function<int(const std::string&)> failing(std::string part, int nth, int code) {
    return [part = std::move(part), nth, code](const std::string& sql) mutable {
        return sql.find(part) != std::string::npos && --nth == 0 ? code : 0;
    };
}

/// Whether another thread can get the adapter's lock, which the calling thread must not hold. If
/// the lock was kept by mistake, it is released, so that the test can continue.
inline bool lockIsFree(DatabaseAdapter& adapter) {
    auto other = std::async(std::launch::async, [&adapter] { AdapterLock lock(adapter); });
    const bool free = other.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    if (!free) {
        adapter.give_sema4();
    }
    return free;
}

/// From now on a locked database is an immediate failure.
inline void waitForNobody(DatabaseAdapter& adapter) {
    EXPECT_EQ(adapter.executeNonQuery("PRAGMA busy_timeout=0;"), 0);
}

/// Locks a test's database like another process: no other connection can read or write, unless
/// @p begin locks less.
class Blocker {
public:
    explicit Blocker(const std::filesystem::path& database, const char* begin = "BEGIN EXCLUSIVE")
        : m_db(database) {
        EXPECT_EQ(m_db.run(begin), "");
    }

private:
    const Sql m_db;
};

/// A test for an adapter on an empty database.
class AdapterTest : public PlaceTest {
protected:
    RecordingAdapter m_adapter;
};

/// A test for a started service whose adapter records.
class RecordedServiceTest : public ServiceTest {
protected:
    void SetUp() override {
        ServiceTest::SetUp();
        service().setDbFactory(new Factory(m_adapter));
        service().constructorActions();
    }

    /// Starts another service on the same database; @p intercept is called from its first statement
    /// on.
    void restart(std::function<int(const std::string&)> intercept) {
        m_phone.start(new Factory(m_adapter, std::move(intercept)));
    }

    RecordingAdapter* m_adapter = nullptr;  ///< owned by the service, as long as it runs

private:
    class Factory : public DbFactoryIfc {
    public:
        explicit Factory(RecordingAdapter*& made,
                         std::function<int(const std::string&)> intercept = {})
            : m_made(made), m_intercept(std::move(intercept)) {}
        DatabaseAdapterIfc* createDatabase() override {
            m_owned = std::make_unique<RecordingAdapter>();
            m_owned->intercept = m_intercept;
            return m_made = m_owned.get();
        }
        void destroyDatabase() override { m_owned.reset(); }

    private:
        RecordingAdapter*& m_made;
        std::function<int(const std::string&)> m_intercept;
        std::unique_ptr<RecordingAdapter> m_owned;
    };
};

#endif
