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

/// An adapter that keeps the statements it is given, and may answer some of them by itself. Counts
/// that go by countRows are not seen.
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
    /// Keeps the values as well, after the statement.
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
    /// Asked before each statement: what is not 0 is its result, and it does not run.
    std::function<int(const std::string&)> intercept;

private:
    int note(const std::string& sql) {
        statements.push_back(sql);
        return intercept ? intercept(sql) : 0;
    }
};

/// Answers the @p nth statement that contains @p part with @p code.
inline std::function<int(const std::string&)> failing(std::string part, int nth, int code) {
    return [part = std::move(part), nth, code](const std::string& sql) mutable {
        return sql.find(part) != std::string::npos && --nth == 0 ? code : 0;
    };
}

/// Whether another thread gets the adapter's lock, which the calling thread must not hold. A lock
/// that this thread kept is released, so that the test can go on.
inline bool lockIsFree(DatabaseAdapter& adapter) {
    auto other = std::async(std::launch::async, [&adapter] { AdapterLock lock(adapter); });
    const bool free = other.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
    if (!free) {
        adapter.give_sema4();
    }
    return free;
}

/// From here on a locked database is a failure at once.
inline void waitForNobody(DatabaseAdapter& adapter) {
    EXPECT_EQ(adapter.executeNonQuery("PRAGMA busy_timeout=0;"), 0);
}

/// Holds the database of a test like another process: no one else can read or write, or @p begin
/// says less.
class Blocker {
public:
    explicit Blocker(const std::filesystem::path& database, const char* begin = "BEGIN EXCLUSIVE")
        : m_db(database) {
        EXPECT_EQ(m_db.run(begin), "");
    }

private:
    const Sql m_db;
};

/// A test of an adapter on an empty database.
class AdapterTest : public PlaceTest {
protected:
    RecordingAdapter m_adapter;
};

/// A test of a started service whose adapter records.
class RecordedServiceTest : public ServiceTest {
protected:
    void SetUp() override {
        ServiceTest::SetUp();
        service().setDbFactory(new Factory(m_adapter));
        service().constructorActions();
    }

    /// Starts another service on the same database, whose statements @p intercept sees from the
    /// first.
    void restart(std::function<int(const std::string&)> intercept) {
        m_phone.start(new Factory(m_adapter, std::move(intercept)));
    }

    RecordingAdapter* m_adapter = nullptr;  ///< the service's, as long as it runs

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
