#include "service/DASInvoker.h"

#include <gmock/gmock.h>

#include <istream>
#include <ostream>

#include "AurelProtocols.h"
#include "ClientUtils.h"
#include "FakeService.h"
#include "FrameworkContext.h"
#include "Method.h"
#include "ProtocolAdapter.h"
#include "ProxyRequest.h"
#include "service/DASListenerProxy.h"
#include "testkit/LogCapture.h"

namespace {

/// Parameters in the tests: type, blank, name=value; "s" is a string, "i" an int, "b" a bool, "x" a
/// text in XML.
void add(Method& method, const std::string& parameter, Parameter::directions direction) {
    const std::size_t sign = parameter.find('=');
    const std::string name = parameter.substr(2, sign - 2);
    const std::string value = parameter.substr(sign + 1);
    switch (parameter[0]) {
        case 's':
            return method.addStringParameter(name, value, direction);
        case 'i':
            return method.addIntParameter(name, ClientUtils::stoi(value), direction);
        case 'b':
            return method.addBoolParameter(name, value == "true", direction);
        default:
            return method.addXMLParameter(name, value, direction);
    }
}

Method call(const std::string& name, const Texts& parameters) {
    Method method(name);
    for (const std::string& parameter : parameters) {
        add(method, parameter, Parameter::in);
    }
    return method;
}

std::string toText(const Parameter& parameter) {
    static const std::map<Parameter::Type, std::string> types{{Parameter::Type::String, "s "},
                                                              {Parameter::Type::Int, "i "},
                                                              {Parameter::Type::Bool, "b "},
                                                              {Parameter::Type::Xml, "x "}};
    const bool isBool = parameter.type == Parameter::Type::Bool;
    const std::string value = isBool ? text(parameter.flag) : parameter.text;
    return (parameter.direction == Parameter::inout ? "inout " : "") + types.at(parameter.type) +
           parameter.name + "=" + value;
}

/// Gives what the test wants decoded, and encodes a method as "name: parameter, parameter".
class FakeAdapter : public ProtocolAdapter {
public:
    bool decode(std::istream& stream, Method& method) override {
        received.assign(std::istreambuf_iterator<char>(stream), {});
        method = request;
        return isDecodable;
    }
    void encode(const Method& method, std::ostream& stream) override {
        Texts parameters;
        for (const Parameter& parameter : method.parameters()) {
            EXPECT_NE(parameter.direction, Parameter::in);
            parameters.push_back(toText(parameter));
        }
        stream << method.getName() << ": " << ClientUtils::join(parameters, ", ");
    }

    std::string received;
    Method request;
    bool isDecodable = true;
};

class DASInvokerTest : public ::testing::Test, public FrameworkContext {
protected:
    DASInvokerTest() { m_invoker.initInvoker(this); }

    ProtocolAdapter* findProtocolAdapter(const std::string& name) override {
        return name == AurelProtocols::SERVICE_XML || name == AurelProtocols::SERVICE_JSON
                   ? &m_adapter
                   : nullptr;
    }
    Proxy* findProxy(const std::string& interface, const std::string& sender) override {
        m_proxyAskedFor = interface + " of " + sender;
        return m_proxy;
    }

    /// What became of the reply path while the message was handled, in order.
    Texts handle(const Method& request,
                 const std::string& protocol = AurelProtocols::SERVICE_JSON) {
        Texts events;
        m_adapter.request = request;
        m_service.calls.clear();
        m_invoker.handleMessage(m_executable, "message and more", 7,
                                new FakeResponse(protocol, events));
        return events;
    }
    static Texts replied(const std::string& reply) { return {reply, "deleted"}; }

    LogCapture m_log;
    FakeAdapter m_adapter;
    FakeService m_service;
    Executable* m_executable = &m_service;
    Proxy* m_proxy = nullptr;
    std::string m_proxyAskedFor;
    DASInvoker m_invoker;
};

struct Row {
    std::string protocol;
    std::string method;
    Texts in;
    std::string call;
    std::string onTrue;
    std::string onFalse;
    std::string onMissing;
};

const std::string Xml = AurelProtocols::SERVICE_XML;
const std::string Json = AurelProtocols::SERVICE_JSON;
const std::string Yes = "b Acknowledge=true";
const std::string No = "b Acknowledge=false";
const std::string Success = "s Acknowledge=SUCCESS";
const std::string General = "s Acknowledge=ERROR_General";
const std::string WrongData = "s Acknowledge=ERROR_WrongData";
const std::string Tree =
    ", x DirectoryTree=<directorytree name=\"/d\"><subdirectory></subdirectory><filelist>"
    "<fileinfo directory=\"/d\" name=\"a.mp3\" /></filelist></directorytree>";
const std::string Rename = "x FileRename=<FileRename a=\"/o\" b=\"f\" c=\"/n/\" d=\"g\"/>";
const std::string Selection =
    "x DirectorySelection=<D directory name=\"/d\" dirread=\"true\" fileread=\"0\" subdir=\"1\"/>";
const Texts Directory{"s Directory=/d", "b DirReading=true", "b FileReading=false",
                      "b SubDirReading=true"};
const Texts Names{"s OldFileName=/o/f", "s NewFileName=/n/g"};
const Texts Values{"s newValues={\"k\":\"v\"}", "b isBase=true"};
const std::string ReadValues = ", inout s readValues={\"k\":\"v\",\"new\":\"said \\\"so\\\"\"}";

const Row Methods[] = {
    {Json,
     "processRequest",
     {"s Request=getCurrentUser", "i RequestLength=14"},
     "processRequest(getCurrentUser,14)",
     "s Response=answer",
     "s Response=answer",
     "s Response="},
    {Json, "deleteFile", {"s directory=/d", "s name=f"}, "deleteFile(/d,f)", Yes, No, No},
    {Xml,
     "deleteFile",
     {"x FileSelection=<F directory=\"/d\" name=\"f\"/>"},
     "deleteFile(/d,f)",
     Success,
     General,
     General},
    {Json, "renameFile", Names, "renameFile(/o/f,/n/g)", Yes, No, No},
    {Xml, "renameFile", {Rename}, "renameFile(/o/f,/n/g)", Success, General, General},
    {Json, "moveFile", Names, "moveFile(/o/f,/n/g)", Yes, No, No},
    {Xml, "moveFile", {Rename}, "moveFile(/o/f,/n/g)", Success, General, General},
    {Json, "readDirectoryTree", Directory, "readDirectoryTree(/d,true,true,false)", Yes + Tree, No,
     No},
    {Xml,
     "readDirectoryTree",
     {Selection},
     "readDirectoryTree(/d,true,true,false)",
     Success + Tree,
     General,
     WrongData},
    {Json, "readDirectory", Directory, "readDirectory(/d,true,true,false)", Yes + Tree, No, No},
    {Xml,
     "readDirectory",
     {Selection},
     "readDirectory(/d,true,true,false)",
     Success + Tree,
     General,
     WrongData},
    {Xml, "setProfile", {"s NewProfile=visitor"}, "setProfile(visitor)", Yes, No, No},
    {Json, "factoryReset", {}, "factoryReset()", Yes, No, ""},
    {Json,
     "invokeACMSFactoryReset",
     {"b EnableCreateDb=true"},
     "invokeACMSFactoryReset(true)",
     Yes,
     No,
     No},
    {Json,
     "exportData",
     {"s schemaName=PhoneBook", "i userToExportFor=-3", "s filePathAndName=/f"},
     "exportData(PhoneBook,-3,/f)",
     Yes,
     No,
     No},
    {Json,
     "importData",
     {"s schemaName=PhoneBook", "s filePathAndName=/f"},
     "importData(PhoneBook,/f)",
     Yes,
     No,
     No},
    {Json,
     "importDataForUser",
     {"s schemaName=PhoneBook", "i userToImportFor=1", "s filePathAndName=/f"},
     "importData(PhoneBook,1,/f)",
     Yes,
     No,
     No},
    {Json, "createPhonenumberIndices", {}, "createPhonenumberIndices()", Yes, Yes, ""},
    {Json, "migrateUserData", {"s baseValues={\"k\":\"v\"}"}, "migrateUserData(v,)", Yes, No, No},
    {Json, "clearMobileUserdata", {}, "clearMobileUserdata()", "", "", ""},
    {Json, "clearMobileUserDLSdata", {}, "clearMobileUserDLSdata()", "", "", ""},
    {Xml, "copyBaseDataToVisitor", {}, "copyBaseDataToVisitor()", "", "", ""},
    {Json, "deleteVisitorUserPassword", {}, "deleteVisitorUserPassword()", "", "", ""},
    {Json, "deleteUcCredentials", {}, "deleteUcCredentials()", "", "", ""},
    {Json,
     "checkDatabaseNeedsChange",
     {"i currentSwType=1", "i newSwType=2", "s newSwVersion=V1 R8.7.111"},
     "checkDatabaseNeedsChange(1,2,V1 R8.7.111)",
     Yes,
     Yes,
     No},
    {Json, "exportUserData", Values, "exportUserData(v,true)", Yes + ReadValues, No, No},
    {Json, "importUserData", Values, "importUserData(v,true)", Yes, No, No},
};

/// The reply of a row; a one-way method has none.
Texts replyOf(const Row& row, const std::string& parameters) {
    return row.onTrue.empty() ? Texts{"deleted"} : Texts{row.method + ": " + parameters, "deleted"};
}

TEST_F(DASInvokerTest, EachMethodCallsItsOperationAndAnswersWhatCameOfIt) {
    for (const Row& row : Methods) {
        SCOPED_TRACE(row.method + " over " + row.protocol);
        for (const bool result : {true, false}) {
            m_service.result = result;
            EXPECT_EQ(handle(call(row.method, row.in), row.protocol),
                      replyOf(row, result ? row.onTrue : row.onFalse));
            EXPECT_EQ(m_service.calls, Texts{row.call});
        }
    }
    EXPECT_EQ(m_adapter.received, "message");
    EXPECT_TRUE(m_log.has(5, "newValues {\"k\":\"v\",\"new\":\"said"));
}

TEST_F(DASInvokerTest, AMissingParameterAndOneOfAnotherTypeCallNothing) {
    for (const Row& row : Methods) {
        for (std::size_t i = 0; i < row.in.size(); ++i) {
            SCOPED_TRACE(row.method + " over " + row.protocol + " without " + row.in[i]);
            Texts without = row.in;
            without.erase(without.begin() + static_cast<std::ptrdiff_t>(i));
            Texts mistyped = row.in;
            mistyped[i][0] = row.in[i][0] == 'b' ? 's' : 'b';
            for (const Texts& in : {without, mistyped}) {
                EXPECT_EQ(handle(call(row.method, in), row.protocol), replyOf(row, row.onMissing));
                EXPECT_EQ(m_service.calls, Texts{});
            }
        }
    }
}

TEST_F(DASInvokerTest, WithoutAServiceEveryMethodFails) {
    m_executable = nullptr;
    for (const char* const name : {"setProfile", "clearMobileUserdata", "AddListener", "fly"}) {
        EXPECT_EQ(handle(Method(name)), replied(std::string(name) + ": s Response=failure"));
    }
    DASListenerProxy stranger;
    m_executable = &stranger;
    EXPECT_EQ(handle(Method("setProfile")), replied("setProfile: s Response=failure"));
}

TEST_F(DASInvokerTest, AnExceptionIsLoggedAndAnsweredAsFailure) {
    m_service.isThrowing = true;
    for (const Row& row : Methods) {
        SCOPED_TRACE(row.method);
        m_log.clear();
        EXPECT_EQ(handle(call(row.method, row.in), row.protocol),
                  replyOf(row, "s Response=failure"));
        EXPECT_TRUE(m_log.has(2, row.method + " ended with an exception: no such row"));
    }
}

TEST_F(DASInvokerTest, WhatCannotBeHandledIsDroppedOrAnsweredWithoutAName) {
    EXPECT_EQ(handle(Method("fly")), Texts{"deleted"});
    EXPECT_TRUE(m_log.has(2, "Unknown messageType = \"fly\"\n"));
    EXPECT_EQ(handle(Method("setProfile"), "CARRIER_PIGEON"), Texts{"deleted"});
    EXPECT_TRUE(m_log.has(2, "Could not find PA for \"CARRIER_PIGEON\"\n"));
    EXPECT_EQ(m_log.entries().back().component, "DASInvoker");
    m_adapter.isDecodable = false;
    EXPECT_EQ(handle(Method("setProfile")), replied(": "));
    EXPECT_EQ(m_service.calls, Texts{});
    DASInvoker().handleMessage(&m_service, nullptr, -1, nullptr);
    Texts events;
    DASInvoker().handleMessage(&m_service, "x", 1, new FakeResponse(Json, events));
    EXPECT_EQ(events, Texts{"deleted"}) << "an invoker without a framework";
}

TEST_F(DASInvokerTest, AListenerOfTheSenderIsAdded) {
    DASListenerProxy proxy;
    m_proxy = &proxy;
    EXPECT_EQ(handle(Method("AddListener")), replied("AddListener: "));
    EXPECT_EQ(m_proxyAskedFor, "DASListenerIfc of sender 7");
    m_proxy = nullptr;
    EXPECT_EQ(handle(Method("AddListener")), replied("AddListener: "));
    EXPECT_THAT(m_service.listeners, ::testing::ElementsAre(&proxy, nullptr));
}

TEST_F(DASInvokerTest, ValuesThatAreNoMapOfStringsCountAsAnEmptyMap) {
    for (const char* const values : {"", "[]", "{\"k\":1}", "{\"k\":"}) {
        handle(call("importUserData", {std::string("s newValues=") + values, "b isBase=false"}));
        EXPECT_EQ(m_service.calls, Texts{"importUserData(nothing,false)"}) << values;
    }
}

TEST_F(DASInvokerTest, TextsOfFilesOverXmlAreReadByTheirQuotes) {
    struct {
        const char* method;
        const char* parameter;
        const char* calls;
    } const rows[] = {
        {"deleteFile", "x FileSelection=<F directory=\"/d\" name=\"\"/>", "deleteFile(/d,)"},
        {"deleteFile", "x FileSelection=<F name=\"f\" directory=\"/d\"/>", "deleteFile(/d,f)"},
        {"deleteFile", "x FileSelection=<F directory name=\"/d\" name=\"f\"/>",
         "deleteFile(/d,/d)"},
        {"deleteFile", "x FileSelection=<F directory=\"/d\" name=\"f/>", ""},
        {"renameFile", "x FileRename=<F a=\"/o/\" b=\"f\" c=\"\" d=\"g\"/>", "renameFile(/o/f,/g)"},
        {"renameFile", "x FileRename=<F a=\"/o\" b=\"f\" c=\"/n\"/>", ""},
        {"renameFile", "x FileRename=\"/o\"f\"/n\"g\"", ""},
        {"renameFile", "x FileRename=", ""},
        {"moveFile", "x FileMove=<F a=\"/o\" b=\"f\" c=\"/n\" d=\"g\"/>", ""},
        {"readDirectory",
         "x DirectorySelection=<D directory name=\"/d\" dirread=\"TRUE\" fileread=\"1\""
         " subdir=\"yes\"/>",
         "readDirectory(/d,true,false,true)"},
    };
    for (const auto& row : rows) {
        handle(call(row.method, {row.parameter}), Xml);
        EXPECT_EQ(m_service.calls, *row.calls == 0 ? Texts{} : Texts{row.calls}) << row.parameter;
    }
}

TEST_F(DASInvokerTest, PathsAreParsedFromAPositionOn) {
    const std::string xml = "<F a=\"/o\" b=\"f\" c=\"/n/\" d=\"g\"/>";
    std::string path;
    const int second = DASInvoker::parsePathFilename(1, xml, path);
    EXPECT_EQ(path, "/o/f");
    EXPECT_EQ(xml.substr(static_cast<std::size_t>(second)), " c=\"/n/\" d=\"g\"/>");
    EXPECT_GT(DASInvoker::parsePathFilename(second, xml, path), second);
    EXPECT_EQ(path, "/n/g");
    for (const int bad : {-1, second + 10, 1000}) {
        EXPECT_EQ(DASInvoker::parsePathFilename(bad, xml, path), -1) << bad;
    }
}

TEST_F(DASInvokerTest, DirectoryTextsShowWhatWasListed) {
    const auto show = [](const DirectoryList& directories, const DirectoryList& files) {
        return DASInvoker::constructDirectoryTreeResponse(directories.begin(), &directories, &files,
                                                          "/asked");
    };
    EXPECT_EQ(show({}, {{"/asked", {"a", "b"}}, {"/other", {"c"}}}),
              "<directorytree name=\"/asked\"><subdirectory></subdirectory><filelist>"
              "<fileinfo directory=\"/asked\" name=\"a\" />"
              "<fileinfo directory=\"/asked\" name=\"b\" /></filelist></directorytree>");
    EXPECT_EQ(show({{"/d", {"/d/leaf", "/d/sub"}}, {"/d/sub", {}}, {"/d/sub", {"/not this"}}},
                   {{"/d/sub", {"a"}}, {"/asked", {"x"}}, {"/d/sub", {"a"}}}),
              "<directorytree name=\"/d\"><subdirectory>"
              "<directorytree name=\"/d/leaf\">"
              "<directorytree name=\"/d/sub\"><subdirectory></subdirectory><filelist>"
              "<fileinfo directory=\"/d/sub\" name=\"a\" />"
              "<fileinfo directory=\"/d/sub\" name=\"a\" /></filelist></directorytree>"
              "</subdirectory><filelist></filelist></directorytree>");
}

TEST_F(DASInvokerTest, AProxySendsEachChangeToItsPeer) {
    struct : ProxyRequest {
        void send(const Method& method) override {
            EXPECT_EQ(method.getType(), 0);
            EXPECT_TRUE(method.parameters().empty());
            sent.push_back(method.getName());
        }
        Texts sent;
    } request;
    DASListenerProxy proxy;
    proxy.profileChangedToBase();
    EXPECT_TRUE(m_log.has(2, "ProfileChangedToBase")) << "nothing to send it by yet";
    proxy.initProxy(request);
    proxy.profileChangedToVisitor();
    proxy.profileChangedToBase();
    EXPECT_EQ(request.sent, (Texts{"ProfileChangedToVisitor", "ProfileChangedToBase"}));
}

}  // namespace
