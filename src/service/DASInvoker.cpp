// Remote methods: a table has the parameters, the operation and the form of the answer of each one.
// If a message lacks a parameter, the call is not made, and the answer says so.

#define DAS_LOG_COMPONENT "DASInvoker"

#include "service/DASInvoker.h"

#include <algorithm>
#include <exception>
#include <map>

#include "AurelProtocols.h"
#include "ClientUtils.h"
#include "DASListenerIfc.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Executable.h"
#include "FrameworkContext.h"
#include "InvokerResponse.h"
#include "Log.h"
#include "Method.h"
#include "ProtocolAdapter.h"
#include "Proxy.h"
#include "Secrets.h"
#include "Serializer.h"
#include "service/DataAccessService.h"
#include "service/MessageStreams.h"
#include "service/MobilityMigrator.h"

namespace {

const char* const ResponseName = "Response";
const char* const AcknowledgeName = "Acknowledge";

/// The state of one message: its origin, the parameters read from it, and the result of the call.
struct Exchange {
    DataAccessServiceIfc& service;
    FrameworkContext& context;
    const InvokerResponse& response;
    const Method& request;
    Method& reply;
    bool isXml;
    bool isComplete = false;           ///< whether every in parameter was there
    std::vector<std::string> texts{};  ///< in parameters, in the order of their type
    std::vector<int> numbers{};
    std::vector<bool> flags{};
    std::string answer{};
    std::map<std::string, std::string> values{};
    DirectoryList directories{};
    DirectoryList files{};

    /// The map in the first string; empty if the string is not a map, and the call continues.
    std::map<std::string, std::string>& readValues() {
        (void)Serializer::deserialize(texts[0], values);
        return values;
    }
};

struct InParameter {
    const char* name;
    Parameter::Type type;
};

/// The form of a file method in the XML protocol: one parameter that holds a string in XML.
struct XmlForm {
    const char* parameter;
    bool (*read)(const std::string& xml, Exchange& exchange);
    const char* incompleteWord;  ///< the acknowledgement if a parameter is missing
};

/// A row of the dispatch table.
struct RemoteMethod {
    const char* name;
    std::vector<InParameter> in;
    bool (*call)(Exchange& exchange);
    void (*answer)(Exchange& exchange, bool done) = nullptr;  ///< null: a one-way method
    const XmlForm* xmlForm = nullptr;                         ///< null: one form for every protocol
};

/// Appends the parameter @p name to @p values if @p getter finds it.
template <typename Value, typename List>
bool append(const Method& request, bool (Method::*getter)(const std::string&, Value&) const,
            const char* name, List& values) {
    Value value{};
    const bool found = (request.*getter)(name, value);
    values.push_back(std::move(value));
    return found;
}

bool readParameter(Exchange& exchange, const InParameter& in) {
    switch (in.type) {
        case Parameter::Type::Int:
            return append(exchange.request, &Method::getIntParameter, in.name, exchange.numbers);
        case Parameter::Type::Bool:
            return append(exchange.request, &Method::getBoolParameter, in.name, exchange.flags);
        default:
            return append(exchange.request, &Method::getStringParameter, in.name, exchange.texts);
    }
}

bool readXmlForm(Exchange& exchange, const XmlForm& form) {
    std::string xml;
    return exchange.request.getXMLParameter(form.parameter, xml) && form.read(xml, exchange);
}

bool readParameters(Exchange& exchange, const RemoteMethod& method) {
    if (method.xmlForm != nullptr && exchange.isXml) {
        return readXmlForm(exchange, *method.xmlForm);
    }
    return std::all_of(method.in.begin(), method.in.end(),
                       [&](const InParameter& in) { return readParameter(exchange, in); });
}

bool readFileSelection(const std::string& xml, Exchange& exchange) {
    exchange.texts.resize(2);
    return DASInvoker::extractParamFromXMLString(xml, "directory", exchange.texts[0]) &&
           DASInvoker::extractParamFromXMLString(xml, "name", exchange.texts[1]);
}

bool readFileRename(const std::string& xml, Exchange& exchange) {
    exchange.texts.resize(2);
    int position = 0;
    return (position = DASInvoker::parsePathFilename(1, xml, exchange.texts[0])) != -1 &&
           DASInvoker::parsePathFilename(position, xml, exchange.texts[1]) != -1;
}

bool readDirectorySelection(const std::string& xml, Exchange& exchange) {
    static constexpr const char* flagNames[] = {"dirread", "fileread", "subdir"};
    exchange.texts.resize(1);
    const auto readFlag = [&](const char* name) {
        std::string flag;
        const bool found = DASInvoker::extractParamFromXMLString(xml, name, flag);
        exchange.flags.push_back(ClientUtils::stob(flag));
        return found;
    };
    return DASInvoker::extractParamFromXMLString(xml, "directory name", exchange.texts[0]) &&
           std::all_of(std::begin(flagNames), std::end(flagNames), readFlag);
}

const XmlForm FileSelectionForm{"FileSelection", readFileSelection, "ERROR_General"};
/// A move and a rename read the same parameter: kept on purpose, both have the same form.
const XmlForm FileRenameForm{"FileRename", readFileRename, "ERROR_General"};
const XmlForm DirectorySelectionForm{"DirectorySelection", readDirectorySelection,
                                     "ERROR_WrongData"};

void answerText(Exchange& exchange, bool /*done*/) {
    exchange.reply.addStringParameter(ResponseName, std::move(exchange.answer), Parameter::out);
}

void acknowledge(Exchange& exchange, bool done) {
    exchange.reply.addBoolParameter(AcknowledgeName, done, Parameter::out);
}

/// The values for the log, with secrets masked. Only this library's own service knows which item a
/// tag names, and so whether it is a secret.
std::map<std::string, std::string> withoutSecrets(const Exchange& exchange) {
    const auto* const service = dynamic_cast<const DataAccessService*>(&exchange.service);
    const MobilityMigrator* const migrator =
        service != nullptr ? service->getMobilityMigrator() : nullptr;
    std::map<std::string, std::string> values = exchange.values;
    for (auto& [tag, value] : values) {
        const bool isSecret =
            Secrets::isSecret(tag) || (migrator != nullptr && migrator->leadsToSecret(tag));
        if (isSecret && !value.empty()) {
            value = Secrets::Mask;
        }
    }
    return values;
}

void acknowledgeValues(Exchange& exchange, bool done) {
    acknowledge(exchange, done);
    if (done) {
        std::string text = Serializer::serialize(Secrets::areHidden() ? withoutSecrets(exchange)
                                                                      : exchange.values);
        DAS_LOG(5, "newValues %s", Serializer::serialize(withoutSecrets(exchange)).c_str());
        exchange.reply.addStringParameter("readValues", std::move(text), Parameter::inout);
    }
}

void acknowledgeFile(Exchange& exchange, const XmlForm& form, bool done) {
    if (!exchange.isXml) {
        acknowledge(exchange, done);
        return;
    }
    const char* const failed = exchange.isComplete ? "ERROR_General" : form.incompleteWord;
    exchange.reply.addStringParameter(AcknowledgeName, done ? "SUCCESS" : failed, Parameter::out);
}

void acknowledgeFileChange(Exchange& exchange, bool done) {
    acknowledgeFile(exchange, FileSelectionForm, done);
}

void acknowledgeDirectory(Exchange& exchange, bool done) {
    acknowledgeFile(exchange, DirectorySelectionForm, done);
    if (done) {
        exchange.reply.addXMLParameter("DirectoryTree",
                                       DASInvoker::constructDirectoryTreeResponse(
                                           exchange.directories.begin(), &exchange.directories,
                                           &exchange.files, exchange.texts[0]),
                                       Parameter::out);
    }
}

// ---- Calling

/// Calls an operation without a result.
template <void (DataAccessServiceIfc::*operation)()>
bool callOneWay(Exchange& exchange) {
    (exchange.service.*operation)();
    return true;
}

using DirectoryOperation = bool (DataAccessServiceIfc::*)(std::string, bool, bool, bool,
                                                          DirectoryList*, DirectoryList*);

/// The parameters come as directories, files, subdirectories; the service has the last two in the
/// other order.
template <DirectoryOperation operation>
bool callDirectory(Exchange& exchange) {
    const std::vector<bool>& flags = exchange.flags;
    return (exchange.service.*operation)(exchange.texts[0], flags[0], flags[2], flags[1],
                                         &exchange.directories, &exchange.files);
}

template <bool (DataAccessServiceIfc::*operation)(std::string, std::string)>
bool callFile(Exchange& exchange) {
    return (exchange.service.*operation)(exchange.texts[0], exchange.texts[1]);
}

bool callAddListener(Exchange& exchange) {
    Proxy* const proxy =
        exchange.context.findProxy("DASListenerIfc", exchange.response.getSender());
    exchange.service.addListener(dynamic_cast<DASListenerIfc*>(proxy));
    return true;
}

constexpr auto String = Parameter::Type::String;
constexpr auto Int = Parameter::Type::Int;
constexpr auto Bool = Parameter::Type::Bool;
using Ifc = DataAccessServiceIfc;

const std::vector<InParameter> TwoNames{{"OldFileName", String}, {"NewFileName", String}};
const std::vector<InParameter> DirectoryFlags{
    {"Directory", String}, {"DirReading", Bool}, {"FileReading", Bool}, {"SubDirReading", Bool}};

const RemoteMethod RemoteMethods[] = {
    {"processRequest",
     {{"Request", String}, {"RequestLength", Int}},
     [](Exchange& x) {
         x.answer = x.service.processRequest(x.texts[0].c_str(), x.numbers[0]);
         return true;
     },
     answerText},
    {"deleteFile",
     {{"directory", String}, {"name", String}},
     callFile<&Ifc::deleteFile>,
     acknowledgeFileChange,
     &FileSelectionForm},
    {"renameFile", TwoNames, callFile<&Ifc::renameFile>, acknowledgeFileChange, &FileRenameForm},
    {"moveFile", TwoNames, callFile<&Ifc::moveFile>, acknowledgeFileChange, &FileRenameForm},
    {"readDirectoryTree", DirectoryFlags, callDirectory<&Ifc::readDirectoryTree>,
     acknowledgeDirectory, &DirectorySelectionForm},
    {"readDirectory", DirectoryFlags, callDirectory<&Ifc::readDirectory>, acknowledgeDirectory,
     &DirectorySelectionForm},
    {"setProfile",
     {{"NewProfile", String}},
     [](Exchange& x) { return x.service.setProfile(x.texts[0]); },
     acknowledge},
    {"factoryReset", {}, [](Exchange& x) { return x.service.factoryReset(); }, acknowledge},
    {"invokeACMSFactoryReset",
     {{"EnableCreateDb", Bool}},
     [](Exchange& x) { return x.service.invokeACMSFactoryReset(x.flags[0]); },
     acknowledge},
    {"exportData",
     {{"schemaName", String}, {"userToExportFor", Int}, {"filePathAndName", String}},
     [](Exchange& x) {
         return x.service.exportData(x.texts[0], static_cast<eUserCategory>(x.numbers[0]),
                                     x.texts[1]);
     },
     acknowledge},
    {"importData",
     {{"schemaName", String}, {"filePathAndName", String}},
     [](Exchange& x) { return x.service.importData(x.texts[0], x.texts[1]); },
     acknowledge},
    {"importDataForUser",
     {{"schemaName", String}, {"userToImportFor", Int}, {"filePathAndName", String}},
     [](Exchange& x) {
         return x.service.importData(x.texts[0], static_cast<eUserCategory>(x.numbers[0]),
                                     x.texts[1]);
     },
     acknowledge},
    {"createPhonenumberIndices",
     {},
     [](Exchange& x) {
         // Acknowledged whatever the result is: kept on purpose, searches work without the indices.
         (void)x.service.createPhonenumberIndices();
         return true;
     },
     acknowledge},
    {"migrateUserData",
     {{"baseValues", String}},
     [](Exchange& x) { return x.service.migrateUserData(x.readValues()); },
     acknowledge},
    {"clearMobileUserdata", {}, callOneWay<&Ifc::clearMobileUserdata>},
    {"clearMobileUserDLSdata", {}, callOneWay<&Ifc::clearMobileUserDLSdata>},
    {"copyBaseDataToVisitor", {}, callOneWay<&Ifc::copyBaseDataToVisitor>},
    {"deleteVisitorUserPassword", {}, callOneWay<&Ifc::deleteVisitorUserPassword>},
    {"deleteUcCredentials", {}, callOneWay<&Ifc::deleteUcCredentials>},
    {"checkDatabaseNeedsChange",
     {{"currentSwType", Int}, {"newSwType", Int}, {"newSwVersion", String}},
     [](Exchange& x) {
         x.service.checkDatabaseNeedsChange(static_cast<eSwType>(x.numbers[0]),
                                            static_cast<eSwType>(x.numbers[1]), x.texts[0]);
         return true;
     },
     acknowledge},
    {"exportUserData",
     {{"newValues", String}, {"isBase", Bool}},
     [](Exchange& x) { return x.service.exportUserData(x.readValues(), x.flags[0]); },
     acknowledgeValues},
    {"importUserData",
     {{"newValues", String}, {"isBase", Bool}},
     [](Exchange& x) { return x.service.importUserData(x.readValues(), x.flags[0]); },
     acknowledge},
    {"AddListener", {}, callAddListener, [](Exchange&, bool) {}},
};

void fail(Method& reply) {
    reply = Method(reply.getName());
    reply.addStringParameter(ResponseName, DASUtilsStrings::FailureResponse, Parameter::out);
}

/// Makes the call of @p method and fills the reply. False if no reply is to be sent.
bool perform(const RemoteMethod& method, Exchange& exchange) {
    try {
        exchange.isComplete = readParameters(exchange, method);
        const bool done = exchange.isComplete && method.call(exchange);
        if (method.answer != nullptr) {
            method.answer(exchange, done);
        }
    } catch (const std::exception& failure) {
        DAS_LOG(2, "%s ended with an exception: %s", method.name, failure.what());
        fail(exchange.reply);
    }
    return method.answer != nullptr;
}

/// Handles one message. False if no reply is to be sent.
bool dispatch(Executable* executable, FrameworkContext& context, const InvokerResponse& response,
              const Method& request, Method& reply) {
    auto* const service = dynamic_cast<DataAccessServiceIfc*>(executable);
    if (service == nullptr) {
        DAS_LOG(2, "No data access service for \"%s\"", request.getName().c_str());
        fail(reply);
        return true;
    }
    const auto* const method =
        std::find_if(std::begin(RemoteMethods), std::end(RemoteMethods),
                     [&](const RemoteMethod& each) { return each.name == request.getName(); });
    if (method == std::end(RemoteMethods)) {
        DAS_LOG(2, "Unknown messageType = \"%s\"\n", request.getName().c_str());
        return false;
    }
    Exchange exchange{*service, context, response,
                      request,  reply,   response.getProtocol() == AurelProtocols::SERVICE_XML};
    return perform(*method, exchange);
}

}  // namespace

void DASInvoker::handleMessage(Executable* executable, const char* message, int length,
                               InvokerResponse* response) {
    const std::unique_ptr<InvokerResponse> owner(response);
    if (response == nullptr) {
        DAS_LOG(2, "A message without a way back is dropped");
        return;
    }
    const std::string protocol = response->getProtocol();
    ProtocolAdapter* const adapter =
        m_frameworkContext != nullptr ? m_frameworkContext->findProtocolAdapter(protocol) : nullptr;
    if (adapter == nullptr) {
        DAS_LOG(2, "Could not find PA for \"%s\"\n", protocol.c_str());
        return;
    }
    Method request;
    Method reply;
    const std::size_t size = message != nullptr && length > 0 ? static_cast<unsigned>(length) : 0;
    static MessageStreams streams;
    const MessageStreams::Lent in(streams, size > 0 ? std::string(message, size) : std::string());
    if (adapter->decode(*in, request)) {
        reply.setName(request.getName());
        if (!dispatch(executable, *m_frameworkContext, *response, request, reply)) {
            return;
        }
    }
    const MessageStreams::Lent out(streams, {});
    adapter->encode(reply, *out);
    response->setReply((*out).str());
}
