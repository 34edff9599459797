#ifndef FAKESERVICE_H
#define FAKESERVICE_H

#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "ClientUtils.h"
#include "DataAccessServiceIfc.h"
#include "Executable.h"
#include "InvokerResponse.h"

using Texts = std::vector<std::string>;

inline std::string text(bool flag) {
    return flag ? "true" : "false";
}

/// Writes down each call with its arguments and gives the result that the test has set.
class FakeService : public Executable, public DataAccessServiceIfc {
public:
    void init(Context&) override {}
    void shutdown() override {}

    std::string processRequest(const char* message, int length) override {
        note("processRequest", {message, std::to_string(length)});
        return "answer";
    }
    bool deleteFile(std::string a, std::string b) override { return note("deleteFile", {a, b}); }
    bool renameFile(std::string a, std::string b) override { return note("renameFile", {a, b}); }
    bool moveFile(std::string a, std::string b) override { return note("moveFile", {a, b}); }
    bool readDirectoryTree(std::string directory, bool dir, bool sub, bool file,
                           DirectoryList* directories, DirectoryList* files) override {
        return list("readDirectoryTree", {directory, text(dir), text(sub), text(file)},
                    *directories, *files);
    }
    bool readDirectory(std::string directory, bool dir, bool sub, bool file,
                       DirectoryList* directories, DirectoryList* files) override {
        return list("readDirectory", {directory, text(dir), text(sub), text(file)}, *directories,
                    *files);
    }
    bool setProfile(std::string profile) override { return note("setProfile", {profile}); }
    bool factoryReset() override { return note("factoryReset"); }
    bool exportData(std::string schema, eUserCategory user, std::string path) override {
        return note("exportData", {schema, std::to_string(user), path});
    }
    bool importData(std::string schema, std::string path) override {
        return note("importData", {schema, path});
    }
    bool importData(std::string schema, eUserCategory user, std::string path) override {
        return note("importData", {schema, std::to_string(user), path});
    }
    bool exportUserData(std::map<std::string, std::string>& values, bool isBase) override {
        return change("exportUserData", values, text(isBase));
    }
    bool importUserData(std::map<std::string, std::string>& values, bool isBase) override {
        return change("importUserData", values, text(isBase));
    }
    bool migrateUserData(std::map<std::string, std::string>& values) override {
        return change("migrateUserData", values, "");
    }
    void clearMobileUserdata() override { note("clearMobileUserdata"); }
    void clearMobileUserDLSdata() override { note("clearMobileUserDLSdata"); }
    void copyBaseDataToVisitor() override { note("copyBaseDataToVisitor"); }
    bool createPhonenumberIndices() override { return note("createPhonenumberIndices"); }
    void constructorActions() override {}
    bool invokeACMSFactoryReset(bool create) override {
        return note("invokeACMSFactoryReset", {text(create)});
    }
    void addListener(DASListenerIfc* listener) override {
        note("addListener");
        listeners.push_back(listener);
    }
    DatabaseAdapter* getAdapter() override { return nullptr; }
    DAOFactory* getDAOFactory() override { return nullptr; }
    void deleteVisitorUserPassword() override { note("deleteVisitorUserPassword"); }
    void deleteUcCredentials() override { note("deleteUcCredentials"); }
    void checkDatabaseNeedsChange(eSwType from, eSwType to, const std::string& version) override {
        note("checkDatabaseNeedsChange", {std::to_string(from), std::to_string(to), version});
    }

    Texts calls;
    bool result = true;
    bool isThrowing = false;
    std::vector<DASListenerIfc*> listeners;

private:
    bool note(const std::string& name, const Texts& arguments = {}) {
        calls.push_back(name + "(" + ClientUtils::join(arguments, ",") + ")");
        if (isThrowing) {
            throw std::out_of_range("no such row");
        }
        return result;
    }
    bool list(const std::string& name, const Texts& arguments, DirectoryList& directories,
              DirectoryList& files) {
        directories = {{arguments[0], {}}};
        files = {{arguments[0], {"a.mp3"}}};
        return note(name, arguments);
    }
    bool change(const std::string& name, std::map<std::string, std::string>& values,
                const std::string& isBase) {
        const std::string known = values.empty() ? "nothing" : values.begin()->second;
        values["new"] = "said \"so\"";
        return note(name, {known, isBase});
    }
};

/// Writes down what becomes of the reply path, in order.
class FakeResponse : public InvokerResponse {
public:
    FakeResponse(std::string protocol, Texts& events)
        : m_protocol(std::move(protocol)), m_events(events) {}
    ~FakeResponse() override { m_events.push_back("deleted"); }
    std::string getProtocol() const override { return m_protocol; }
    std::string getSender() const override { return "sender 7"; }
    void setReply(const std::string& reply) override { m_events.push_back(reply); }

private:
    const std::string m_protocol;
    Texts& m_events;
};

#endif
