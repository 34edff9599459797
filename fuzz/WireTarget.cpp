// What a client of the host sends: lines of either protocol.

#include <cstring>
#include <deque>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <sstream>

#include "Method.h"
#include "Stage.h"
#include "Target.h"
#include "framework/Client.h"
#include "framework/Dispatcher.h"
#include "framework/HostContext.h"
#include "framework/HostFramework.h"
#include "framework/HostServices.h"
#include "service/DASInvoker.h"
#include "service/DASListenerProxy.h"
#include "wire/LineCutter.h"

namespace {

constexpr std::size_t LineLimit = 2048;
constexpr std::size_t Chunk = 61;  // so that lines come in pieces

/// A client that looks at what it is sent.
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
        services.enter(context);
        invoker.initInvoker(&framework);
        stage.setContext(context);
    }

    HostFramework framework;
    HostServices services;
    HostContext context;
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

void takeWire(std::string_view input) {
    // Listeners can't be taken out of a service.
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
