#ifndef SERVICETEST_H
#define SERVICETEST_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "Context.h"
#include "DASTypes.h"
#include "LogCapture.h"
#include "MessageRecord.h"
#include "service/DataAccessService.h"

/// A context with the services that a test puts in; none at first.
class TestContext : public Context {
public:
    Executable* findService(const std::string& name) override {
        const auto found = services.find(name);
        return found != services.end() ? found->second : nullptr;
    }

    std::map<std::string, Executable*> services;  ///< not owned
};

/// A test with a database folder and a device root of its own, and a log that is kept.
class PlaceTest : public ::testing::Test {
protected:
    PlaceTest() {
        std::string name = (scratchFolder() / "das-XXXXXX").string();
        m_place = ::mkdtemp(name.data());
        for (const char* folder : {"db", "root/data", "root/tmp", "root/Aurel_Deploy"}) {
            std::filesystem::create_directories(m_place / folder);
        }
        ::setenv("DB_PATH", (m_place / "db").c_str(), 1);
        ::setenv("DAS_ROOT", (m_place / "root").c_str(), 1);
        for (const char* name_ : {"DAS_HARDWARE", "DAS_DISK_USAGE"}) {
            ::unsetenv(name_);
        }
    }
    ~PlaceTest() override { std::filesystem::remove_all(m_place); }

    std::filesystem::path place() const { return m_place; }
    std::filesystem::path database() const { return m_place / "db" / "phone.db"; }
    /// Where a path of the device stands on this machine.
    std::filesystem::path onDevice(const std::string& path) const {
        return m_place / "root" / path.substr(1);
    }

    void writeFile(const std::filesystem::path& path, const std::string& text) const {
        std::ofstream(path, std::ios::binary) << text;
    }
    std::string readFile(const std::filesystem::path& path) const {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }

    /// Runs a statement over a connection of its own; a failure fails the test.
    Rows sql(const std::string& statement) const {
        sqlite3* db = nullptr;
        Rows rows;
        EXPECT_EQ(sqlite3_open(database().c_str(), &db), SQLITE_OK);
        sqlite3_busy_timeout(db, 5000);
        char* error = nullptr;
        const auto collect = [](void* out, int count, char** cells, char**) {
            auto& row = static_cast<Rows*>(out)->emplace_back();
            for (int i = 0; i < count; ++i) {
                row.emplace_back(cells[i] != nullptr ? cells[i] : "");
            }
            return 0;
        };
        EXPECT_EQ(sqlite3_exec(db, statement.c_str(), collect, &rows, &error), SQLITE_OK)
            << statement << ": " << (error != nullptr ? error : "");
        sqlite3_free(error);
        sqlite3_close(db);
        return rows;
    }
    /// The one cell of a statement that gives one.
    std::string cell(const std::string& statement) const {
        const Rows rows = sql(statement);
        return rows.size() == 1 && rows[0].size() == 1 ? rows[0][0] : "not one cell";
    }

    LogCapture m_log;

private:
    /// In memory where that can be had: a start makes all tables, and a disk waits for each.
    static std::filesystem::path scratchFolder() {
        const char* const memory = "/dev/shm";
        return ::access(memory, W_OK) == 0 ? memory : std::filesystem::temp_directory_path();
    }

    std::filesystem::path m_place;
};

namespace xml {

using Fields = std::vector<std::pair<std::string, std::string>>;

const char* const Header = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";

inline std::string element(const std::string& name, const std::string& content) {
    return "<" + name + ">" + content + "</" + name + ">";
}

/// Elements of the fields; values as they are, so that a test can send markup.
inline std::string elements(const Fields& fields) {
    std::string text;
    for (const auto& [name, value] : fields) {
        text += element(name, value);
    }
    return text;
}

inline std::string entry(const Fields& fields) {
    return element("Entry", elements(fields));
}

inline std::string context(const std::string& user, const std::string& content) {
    return "<Context currentUser=\"" + user + "\">" + content + "</Context>";
}

inline std::string message(const std::string& schema, const std::string& reason,
                           const std::string& body = {}) {
    return Header + ("<Schema name=\"" + schema + "\">") + element("ReasonForMessage", reason) +
           body + "</Schema>";
}

/// The texts of the elements @p name in @p answer, with a "|" between them.
inline std::string valuesOf(const std::string& answer, const std::string& name) {
    const std::string start = "<" + name + ">";
    std::string values;
    for (auto at = answer.find(start); at != std::string::npos; at = answer.find(start, at)) {
        at += start.size();
        values += (values.empty() ? "" : "|") + answer.substr(at, answer.find("</", at) - at);
    }
    return values;
}

inline std::string reasonOf(const std::string& answer) {
    return valuesOf(answer, "ReasonForMessage");
}

/// What @p answer has behind its reason.
inline std::string dataOf(const std::string& answer) {
    const auto begin = answer.find("</ReasonForMessage>") + 19;
    return answer.substr(begin, answer.rfind("</Schema>") - begin);
}

}  // namespace xml

/// A test with a service that has been started.
class ServiceTest : public PlaceTest {
protected:
    void SetUp() override { start(); }

    /// Ends the service, if there is one, and starts another on the same database.
    void start() {
        m_service.reset();
        m_service = std::make_unique<DataAccessService>();
        m_service->init(m_context);
    }
    void stop() { m_service.reset(); }

    DataAccessService& service() { return *m_service; }

    std::string send(const std::string& message) {
        std::string answer = m_service->processRequest(message);
        recordMessage(message, answer);
        return answer;
    }
    std::string send(const std::string& schema, const std::string& reason,
                     const std::string& body = {}) {
        return send(xml::message(schema, reason, body));
    }

    TestContext m_context;
    std::unique_ptr<DataAccessService> m_service;
};

#endif
