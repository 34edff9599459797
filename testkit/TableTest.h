#ifndef TABLETEST_H
#define TABLETEST_H

#include <string>

#include "database/DatabaseAdapter.h"
#include "schemas/DAOFactory.h"
#include "testkit/ServiceTest.h"

/// A test of tables by requests, with their rows as strings. The tables that the start has created
/// are dropped, except the settings, so the first request to each table creates it.
class TableTest : public ServiceTest {
protected:
    void SetUp() override {
        ServiceTest::SetUp();
        for (const auto& row : sql("SELECT name FROM sqlite_master WHERE type = 'table' AND name "
                                   "NOT IN ('GENERAL_CONFIG', 'sqlite_sequence')")) {
            sql("DROP TABLE " + row[0]);
        }
        service().constructorActions();  // a new connection, which has not cached them
        m_log.clear();
    }
    /// The reason of the answer to a request.
    std::string reasonOf(const std::string& schema, const std::string& reason,
                         const std::string& body = {}) {
        return xml::reasonOf(send(schema, reason, body));
    }
    /// The part of the answer to a read after its reason.
    std::string dataOf(const std::string& schema, const std::string& body = {}) {
        return xml::dataOf(send(schema, "read_request", body));
    }
    /// The rows of a query's result, each as "cell|cell;".
    std::string rowsOf(const std::string& query) const {
        std::string text;
        for (const auto& row : sql(query)) {
            for (std::size_t i = 0; i < row.size(); ++i) {
                text += (i > 0 ? "|" : "") + row[i];
            }
            text += ";";
        }
        return text;
    }
    template <typename Dao = DataAccessObject>
    std::unique_ptr<Dao> dao(const std::string& schema) {
        return std::unique_ptr<Dao>(
            dynamic_cast<Dao*>(service().getDAOFactory()->createDAOInstance(schema)));
    }
};

#endif
