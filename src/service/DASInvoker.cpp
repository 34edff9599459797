#include "service/DASInvoker.h"

#include <algorithm>
#include <exception>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "AurelProtocols.h"
#include "ClientUtils.h"
#include "DASListenerIfc.h"
#include "DASUtilsStrings.h"
#include "DataAccessServiceIfc.h"
#include "Executable.h"
#include "FrameworkContext.h"
#include "InvokerResponse.h"
#include "Method.h"
#include "ProtocolAdapter.h"
#include "Proxy.h"
#include "Secrets.h"
#include "Serializer.h"
#include "database/LoggedText.h"
#include "database/Logging.h"
#include "service/DataAccessService.h"
#include "service/MobilityMigrator.h"

namespace {

constexpr const char* LogComponent = "DASInvoker";
constexpr const char* LogSource = "./src/DASInvoker";

const char* const responseName = "Response";
const char* const acknowledgeName = "Acknowledge";

/// One message on its way: where it came from, what was read of it, and what the call gave.
struct Exchange {
    DataAccessServiceIfc& service;
    FrameworkContext& context;
    const InvokerResponse& response;
    const Method& request;
    Method& reply;
    bool isXml;

    bool isComplete = false;           ///< whether every in parameter was there
    std::vector<std::string> texts{};  ///< in parameters, those of one type in their order
    std::vector<int> numbers{};
    std::vector<bool> flags{};

    std::string answer{};
    std::map<std::string, std::string> values{};
    DirectoryList directories{};
    DirectoryList files{};

    /// The map that the first text holds; empty when it holds none, and the call goes on.
    std::map<std::string, std::string>& readValues() {
        (void)Serializer::deserialize(texts[0], values);
        return values;
    }
};

struct InParameter {
    const char* name;
    Parameter::Type type;
};

/// How a file method is spoken over the XML protocol: one parameter that holds a text in XML.
struct XmlForm {
    const char* parameter;
    bool (*read)(const std::string& xml, Exchange& exchange);
    const char* incompleteWord;  ///< the acknowledgement when something is missing
};

/// A row of the dispatch table.
struct RemoteMethod {
    const char* name;
    std::vector<InParameter> in;
    bool (*call)(Exchange& exchange);
    void (*answer)(Exchange& exchange, bool done);  ///< null: a one-way method
    const XmlForm* xmlForm;                         ///< null: one form for every protocol
};

// ---- Reading

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

const XmlForm fileSelection{"FileSelection", readFileSelection, "ERROR_General"};
/// Moving reads the same parameter as renaming: kept on purpose, the two share one shape.
const XmlForm fileRename{"FileRename", readFileRename, "ERROR_General"};
const XmlForm directorySelection{"DirectorySelection", readDirectorySelection, "ERROR_WrongData"};

// ---- Answering

void answerText(Exchange& exchange, bool /*done*/) {
    exchange.reply.addStringParameter(responseName, std::move(exchange.answer), Parameter::out);
}

void answerNothing(Exchange& /*exchange*/, bool /*done*/) {}

void acknowledge(Exchange& exchange, bool done) {
    exchange.reply.addBoolParameter(acknowledgeName, done, Parameter::out);
}

/// The values as the log shows them, with secrets masked. What a tag leads to is known to this library's service alone.
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
        std::string text =
            Serializer::serialize(Secrets::areHidden() ? withoutSecrets(exchange) : exchange.values);
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
    exchange.reply.addStringParameter(acknowledgeName, done ? "SUCCESS" : failed, Parameter::out);
}

void acknowledgeFileChange(Exchange& exchange, bool done) {
    acknowledgeFile(exchange, fileSelection, done);
}

void acknowledgeDirectory(Exchange& exchange, bool done) {
    acknowledgeFile(exchange, directorySelection, done);
    if (done) {
        exchange.reply.addXMLParameter("DirectoryTree",
                                       DASInvoker::constructDirectoryTreeResponse(
                                           exchange.directories.begin(), &exchange.directories,
                                           &exchange.files, exchange.texts[0]),
                                       Parameter::out);
    }
}

// ---- Calling

eUserCategory toCategory(int number) {
    return static_cast<eUserCategory>(number);
}

/// A call of an operation that gives no result.
template <void (DataAccessServiceIfc::*operation)()>
bool callOneWay(Exchange& exchange) {
    (exchange.service.*operation)();
    return true;
}

using DirectoryOperation = bool (DataAccessServiceIfc::*)(std::string, bool, bool, bool,
                                                          DirectoryList*, DirectoryList*);

/// The flags come as directories, files, subdirectories; the service takes the last two the other
/// way round.
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

bool callProcessRequest(Exchange& exchange) {
    exchange.answer =
        exchange.service.processRequest(exchange.texts[0].c_str(), exchange.numbers[0]);
    return true;
}

bool callExportData(Exchange& exchange) {
    return exchange.service.exportData(exchange.texts[0], toCategory(exchange.numbers[0]),
                                       exchange.texts[1]);
}

bool callImportData(Exchange& exchange) {
    return exchange.service.importData(exchange.texts[0], exchange.texts[1]);
}

bool callImportDataForUser(Exchange& exchange) {
    return exchange.service.importData(exchange.texts[0], toCategory(exchange.numbers[0]),
                                       exchange.texts[1]);
}

bool callCreatePhonenumberIndices(Exchange& exchange) {
    // Acknowledged whatever the service says: kept on purpose, a search works without the indices.
    (void)exchange.service.createPhonenumberIndices();
    return true;
}

bool callCheckDatabaseNeedsChange(Exchange& exchange) {
    exchange.service.checkDatabaseNeedsChange(static_cast<eSwType>(exchange.numbers[0]),
                                              static_cast<eSwType>(exchange.numbers[1]),
                                              exchange.texts[0]);
    return true;
}

constexpr auto String = Parameter::Type::String;
constexpr auto Int = Parameter::Type::Int;
constexpr auto Bool = Parameter::Type::Bool;
using Ifc = DataAccessServiceIfc;

const std::vector<InParameter> twoNames{{"OldFileName", String}, {"NewFileName", String}};
const std::vector<InParameter> directoryFlags{
    {"Directory", String}, {"DirReading", Bool}, {"FileReading", Bool}, {"SubDirReading", Bool}};

const RemoteMethod remoteMethods[] = {
    {"processRequest",
     {{"Request", String}, {"RequestLength", Int}},
     callProcessRequest,
     answerText,
     nullptr},
    {"deleteFile",
     {{"directory", String}, {"name", String}},
     callFile<&Ifc::deleteFile>,
     acknowledgeFileChange,
     &fileSelection},
    {"renameFile", twoNames, callFile<&Ifc::renameFile>, acknowledgeFileChange, &fileRename},
    {"moveFile", twoNames, callFile<&Ifc::moveFile>, acknowledgeFileChange, &fileRename},
    {"readDirectoryTree", directoryFlags, callDirectory<&Ifc::readDirectoryTree>,
     acknowledgeDirectory, &directorySelection},
    {"readDirectory", directoryFlags, callDirectory<&Ifc::readDirectory>, acknowledgeDirectory,
     &directorySelection},
    {"setProfile",
     {{"NewProfile", String}},
     [](Exchange& x) { return x.service.setProfile(x.texts[0]); },
     acknowledge,
     nullptr},
    {"factoryReset",
     {},
     [](Exchange& x) { return x.service.factoryReset(); },
     acknowledge,
     nullptr},
    {"invokeACMSFactoryReset",
     {{"EnableCreateDb", Bool}},
     [](Exchange& x) { return x.service.invokeACMSFactoryReset(x.flags[0]); },
     acknowledge,
     nullptr},
    {"exportData",
     {{"schemaName", String}, {"userToExportFor", Int}, {"filePathAndName", String}},
     callExportData,
     acknowledge,
     nullptr},
    {"importData",
     {{"schemaName", String}, {"filePathAndName", String}},
     callImportData,
     acknowledge,
     nullptr},
    {"importDataForUser",
     {{"schemaName", String}, {"userToImportFor", Int}, {"filePathAndName", String}},
     callImportDataForUser,
     acknowledge,
     nullptr},
    {"createPhonenumberIndices", {}, callCreatePhonenumberIndices, acknowledge, nullptr},
    {"migrateUserData",
     {{"baseValues", String}},
     [](Exchange& x) { return x.service.migrateUserData(x.readValues()); },
     acknowledge,
     nullptr},
    {"clearMobileUserdata", {}, callOneWay<&Ifc::clearMobileUserdata>, nullptr, nullptr},
    {"clearMobileUserDLSdata", {}, callOneWay<&Ifc::clearMobileUserDLSdata>, nullptr, nullptr},
    {"copyBaseDataToVisitor", {}, callOneWay<&Ifc::copyBaseDataToVisitor>, nullptr, nullptr},
    {"deleteVisitorUserPassword",
     {},
     callOneWay<&Ifc::deleteVisitorUserPassword>,
     nullptr,
     nullptr},
    {"deleteUcCredentials", {}, callOneWay<&Ifc::deleteUcCredentials>, nullptr, nullptr},
    {"checkDatabaseNeedsChange",
     {{"currentSwType", Int}, {"newSwType", Int}, {"newSwVersion", String}},
     callCheckDatabaseNeedsChange,
     acknowledge,
     nullptr},
    {"exportUserData",
     {{"newValues", String}, {"isBase", Bool}},
     [](Exchange& x) { return x.service.exportUserData(x.readValues(), x.flags[0]); },
     acknowledgeValues,
     nullptr},
    {"importUserData",
     {{"newValues", String}, {"isBase", Bool}},
     [](Exchange& x) { return x.service.importUserData(x.readValues(), x.flags[0]); },
     acknowledge,
     nullptr},
    {"AddListener", {}, callAddListener, answerNothing, nullptr},
};

const RemoteMethod* findRemoteMethod(const std::string& name) {
    const auto found =
        std::find_if(std::begin(remoteMethods), std::end(remoteMethods),
                     [&](const RemoteMethod& method) { return method.name == name; });
    return found != std::end(remoteMethods) ? &*found : nullptr;
}

void fail(Method& reply) {
    reply = Method(reply.getName());
    reply.addStringParameter(responseName, DASUtilsStrings::FailureResponse, Parameter::out);
}

/// Calls what @p method stands for and fills the reply. False when no reply is to be sent.
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

/// What a message asks of the service. False when no reply is to be sent.
bool dispatch(Executable* executable, FrameworkContext& context, const InvokerResponse& response,
              const Method& request, Method& reply) {
    auto* const service = dynamic_cast<DataAccessServiceIfc*>(executable);
    if (service == nullptr) {
        DAS_LOG(2, "No data access service for \"%s\"", request.getName().c_str());
        fail(reply);
        return true;
    }
    const RemoteMethod* const method = findRemoteMethod(request.getName());
    if (method == nullptr) {
        DAS_LOG(2, "Unknown messageType = \"%s\"\n", request.getName().c_str());
        return false;
    }
    Exchange exchange{*service, context, response,
                      request,  reply,   response.getProtocol() == AurelProtocols::SERVICE_XML};
    return perform(*method, exchange);
}

/// Writes a listing. The places of the paths are looked up once, not for each subdirectory anew.
class DirectoryTreeText {
public:
    DirectoryTreeText(const DirectoryList& directories, const DirectoryList& files)
        : m_hasDirectories(!directories.empty()) {
        for (const auto& entry : directories) {
            m_directories.emplace(entry.first, &entry);  // the first one of a path counts
        }
        for (const auto& entry : files) {
            m_files[entry.first].push_back(&entry);
        }
    }

    void write(const DirectoryList::value_type* entry, const std::string& name, std::string& text) {
        DAS_LOG(5, "constructDirectoryTreeResponse");
        const std::string& directory = m_hasDirectories ? entry->first : name;
        open(directory, text);
        text += "<subdirectory>";
        if (m_hasDirectories) {
            writeSubdirectories(*entry, name, text);
        }
        text += "</subdirectory><filelist>";
        writeFiles(directory, text);
        text += "</filelist></directorytree>";
    }

private:
    using Entry = DirectoryList::value_type;

    static void open(const std::string& directory, std::string& text) {
        text.append("<directorytree name=\"").append(directory).append("\">");
    }

    void writeSubdirectories(const Entry& entry, const std::string& name, std::string& text) {
        for (const std::string& subdirectory : entry.second) {
            const auto found = m_directories.find(subdirectory);
            if (found != m_directories.end()) {
                write(found->second, name, text);
            } else {
                open(subdirectory, text);  // never closed: kept on purpose, its readers expect it
            }
        }
    }

    void writeFiles(const std::string& directory, std::string& text) const {
        const auto found = m_files.find(directory);
        if (found == m_files.end()) {
            return;
        }
        for (const Entry* const entry : found->second) {
            for (const std::string& file : entry->second) {
                text.append("<fileinfo directory=\"").append(directory);
                text.append("\" name=\"").append(file).append("\" />");
            }
        }
    }

    const bool m_hasDirectories;
    std::unordered_map<std::string_view, const Entry*> m_directories;
    std::unordered_map<std::string_view, std::vector<const Entry*>> m_files;
};

/// The text between the next two double quotes from @p position on, which then stands behind them.
bool cutQuoted(const std::string& text, std::size_t& position, std::string_view& quoted) {
    const std::size_t open = text.find('"', position);
    const std::size_t close = open == std::string::npos ? open : text.find('"', open + 1);
    if (close == std::string::npos) {
        return false;
    }
    quoted = std::string_view(text).substr(open + 1, close - open - 1);
    position = close + 1;
    return true;
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
    std::istringstream in(size > 0 ? std::string(message, size) : std::string());
    if (adapter->decode(in, request)) {
        reply.setName(request.getName());
        if (!dispatch(executable, *m_frameworkContext, *response, request, reply)) {
            return;
        }
    }
    std::ostringstream out;
    adapter->encode(reply, out);
    response->setReply(out.str());
}

bool DASInvoker::extractParamFromXMLString(const std::string& xml, const std::string& name,
                                           std::string& value) {
    DAS_LOG(5, "extractParamFromXMLString");
    std::size_t position = xml.find(name);
    if (position == std::string::npos) {
        DAS_LOG(5, "extractParamFromXMLString parameter:(%s) not found in: (%s).\n", name.c_str(),
                LoggedText::request(xml).c_str());
        return false;
    }
    std::string_view quoted;
    if (!cutQuoted(xml, position, quoted)) {
        return false;
    }
    value = quoted;
    DAS_LOG(5, "extractParamFromXMLString parameter:(%s) value was: (%s).\n", name.c_str(),
            value.c_str());
    return true;
}

int DASInvoker::parsePathFilename(int position, const std::string& xml, std::string& path) {
    std::size_t place = static_cast<std::size_t>(position);
    std::string_view quoted;
    if (position < 0 || !cutQuoted(xml, place, quoted)) {
        return -1;
    }
    path = quoted;
    if (path.empty() || path.back() != '/') {
        path += '/';
    }
    if (!cutQuoted(xml, place, quoted)) {
        return -1;
    }
    path += quoted;
    return static_cast<int>(place);
}

std::string DASInvoker::constructDirectoryTreeResponse(DirectoryList::const_iterator entry,
                                                       const DirectoryList* directories,
                                                       const DirectoryList* files,
                                                       const std::string& name) {
    std::string text;
    const auto* const first = directories->empty() ? nullptr : &*entry;
    DirectoryTreeText(*directories, *files).write(first, name, text);
    return text;
}
