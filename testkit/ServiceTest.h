#ifndef SERVICETEST_H
#define SERVICETEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>

#include <filesystem>
#include <string>
#include <vector>

#include "DASTypes.h"
#include "testkit/LogCapture.h"
#include "testkit/MessageRecord.h"
#include "testkit/Messages.h"
#include "testkit/Phone.h"
#include "testkit/Place.h"
#include "testkit/Sql.h"

/// A test with its own database folder and device root, which captures the log.
class PlaceTest : public ::testing::Test {
protected:
    std::filesystem::path place() const { return m_place.folder(); }
    std::filesystem::path database() const { return m_place.database(); }
    std::filesystem::path onDevice(const std::string& path) const { return m_place.onDevice(path); }

    /// Runs a statement over a separate connection; a failure fails the test.
    Rows sql(const std::string& statement) const {
        std::string error;
        const Rows rows = Sql(database()).rows(statement, &error);
        EXPECT_EQ(error, "") << statement;
        return rows;
    }
    /// The single cell in the result of a statement.
    std::string cell(const std::string& statement) const {
        const Rows rows = sql(statement);
        return rows.size() == 1 && rows[0].size() == 1 ? rows[0][0] : "not one cell";
    }

    /// All cells in the result of a statement, with a bar after each.
    std::string joined(const std::string& statement) const {
        std::string text;
        for (const auto& row : sql(statement)) {
            for (const std::string& each : row) {
                text += each + "|";
            }
        }
        return text;
    }
    /// Runs the SQL file @p name of tests/databases/.
    void load(const std::string& name) const {
        sql(readFile(std::filesystem::path(DAS_DATABASES_DIR) / (name + ".sql")));
    }

    LogCapture m_log;

private:
    const ScratchPlace m_place;
};

/// A test with a service that has been started.
class ServiceTest : public PlaceTest {
protected:
    void SetUp() override { start(); }

    /// Stops the service, if it runs, and starts another one on the same database.
    void start() { m_phone.start(); }
    void stop() { m_phone.stop(); }

    DataAccessService& service() { return m_phone.service(); }

    std::string send(const std::string& message) {
        std::string answer = service().processRequest(message);
        recordMessage(message, answer);
        return answer;
    }
    std::string send(const std::string& schema, const std::string& reason,
                     const std::string& body = {}) {
        return send(xml::message(schema, reason, body));
    }

    Phone m_phone;
    TestContext& m_context = m_phone.context;
};

#endif
