// Lines that a client sends to the host, in either protocol.

#include <cstring>
#include <deque>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Method.h"
#include "Stage.h"
#include "Target.h"
#include "framework/AccessCheck.h"
#include "framework/AccessRules.h"
#include "framework/Client.h"
#include "framework/Dispatcher.h"
#include "framework/HostFramework.h"
#include "framework/HostServices.h"
#include "service/DASInvoker.h"
#include "service/DASListenerProxy.h"
#include "wire/LineCutter.h"

namespace {

constexpr std::size_t LineLimit = 2048;
constexpr std::string_view AccessMark = "#access\n";  // begins an input with access rules
constexpr std::size_t Chunk = 61;  // so that lines come in pieces

/// A client that checks what is sent to it.
class CheckingClient : public Client {
public:
    using Client::Client;

    void sendLine(std::string line) override {
        require(line.find('\n') == std::string::npos, "an answer of two lines");
        require(line.front() == '<' ? isXml(line) : nlohmann::json::accept(line),
                "an answer that its reader can't read");
    }

private:
    static bool isXml(const std::string& line) {
        XmlAdapter adapter;
        Method method;
        std::istringstream stream(line);
        return adapter.decode(stream, method);
    }
};

/// A host without its socket.
struct Host {
    Host() : framework([] { return std::make_unique<DASListenerProxy>(); }), services(framework) {
        invoker.initInvoker(&framework);
        stage.setContext(services);
    }

    HostFramework framework;
    HostServices services;
    DASInvoker invoker;
    Stage stage;
};

std::unique_ptr<Host> host;

void handleLines(LineCutter& cutter, Dispatcher& dispatcher,
                 const std::shared_ptr<Client>& client) {
    std::string_view line;
    for (auto found = cutter.next(line); found != LineCutter::Found::Nothing;
         found = cutter.next(line)) {
        if (found == LineCutter::Found::TooLong) {
            dispatcher.refuse(line, *client);
            return;
        }
        dispatcher.handle(line, client);
    }
}

}  // namespace

void beginWire() {
    host = std::make_unique<Host>();
}

/// The input has access rules and a request to check by them, instead of lines of a client.
void takeAccessFile(std::string_view input) {
    const auto resolve = [](bool /*isGroup*/, const std::string& name) {
        return name == "x" ? std::optional<id_t>(1) : std::nullopt;
    };
    AccessRules rules;
    std::string error;
    const std::size_t end = std::min(input.find('<'), input.size());
    const bool isRead = rules.parse(input.substr(0, end), resolve, error);
    require(isRead || !error.empty(), "rules that are refused without a reason");
    const std::string request(input.substr(end));
    Method call("processRequest");
    call.addStringParameter("Request", request, Parameter::in);
    call.addIntParameter("RequestLength", static_cast<int>(request.size()), Parameter::in);
    const AccessCheck check(call, rules.rightsOf({1, 1, 1, {1}}));
    const RequestLook look = RequestLook::of(request, static_cast<int>(request.size()));
    require(look == RequestLook::parsed(request, static_cast<int>(request.size())),
            "the quick look at a request differs from its parse");
    require(look.isClear || !check.isAllowed() || rules.rightsOf({1, 1, 1, {1}}).may(Methods::All),
            "a request with two meanings is allowed");
    require(!AccessCheck(call, ClientRights()).isAllowed() ||
                look.kind == RequestLook::Kind::Harmless,
            "a request is allowed without a rule");
}

void takeWire(std::string_view input) {
    if (input.rfind(AccessMark, 0) == 0) {
        takeAccessFile(input.substr(AccessMark.size()));
        return;
    }
    // Listeners can't be removed from a service, so each counts as this many inputs.
    constexpr int weightOfListener = 40;
    const bool hasListener = input.find("Listener") != std::string_view::npos;
    Dispatcher dispatcher(host->stage.service(), host->invoker, host->framework);
    const auto client = std::make_shared<CheckingClient>(host->framework.clients());
    LineCutter cutter(LineLimit);
    while (!input.empty()) {
        const LineCutter::Room room = cutter.room();
        const std::size_t size = std::min({room.size, Chunk, input.size()});
        std::memcpy(room.begin, input.data(), size);
        cutter.filled(size);
        input.remove_prefix(size);
        handleLines(cutter, dispatcher, client);
    }
    host->stage.restore(hasListener ? weightOfListener : 1);
}
