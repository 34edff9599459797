#include "RaceHost.h"

#include <stdexcept>

#include "Calls.h"
#include "service/DASListenerProxy.h"

namespace {

const char* const NotAllowed = "<FailureMessage>not allowed</FailureMessage>";

/// How many messages of this thread have reached the service.
thread_local long reachedByThread = 0;

/// A client that drops what is sent to it.
class RaceClient : public Client {
public:
    RaceClient(Clients& clients, ClientRights rights)
        : Client(clients), m_rights(std::move(rights)) {}
    void sendLine(std::string) override {}
    const ClientRights* rights() const override { return &m_rights; }

private:
    const ClientRights m_rights;
};

/// Whether @p answer says that the call is not allowed.
bool isRefusal(const std::optional<Method>& answer, bool isRequest) {
    bool isDone = true;
    return answer && (isRequest ? Calls::responseIn(*answer).find(NotAllowed) != std::string::npos
                                : answer->getBoolParameter("Acknowledge", isDone) && !isDone);
}

}  // namespace

void CountingInvoker::handleMessage(Executable* service, const char* message, int length,
                                    InvokerResponse* response) {
    ++reached;
    ++reachedByThread;
    m_invoker.handleMessage(service, message, length, response);
}

RaceHost::RaceHost(DataAccessService& service, const std::filesystem::path& folder)
    : m_framework([] { return std::make_unique<DASListenerProxy>(); }),
      m_dispatcher(service, m_invoker, m_framework) {
    m_invoker.initInvoker(&m_framework);
    std::string error;
    for (const RaceCalls::Role& role : RaceCalls::roles()) {
        Door& door = *m_doors.emplace_back(std::make_unique<Door>());
        door.path = folder / ("socket" + std::to_string(m_doors.size()));
        const auto none = [](bool, const std::string&) { return std::optional<id_t>(); };
        if (!door.rules.parse(role.rules(), none, error) ||
            !door.socket.open(door.path, true, error)) {
            throw std::runtime_error(error);
        }
        door.invoker.initInvoker(&m_framework);
        door.dispatcher = std::make_unique<Dispatcher>(service, door.invoker, m_framework);
        door.dispatcher->setRules(door.rules);
        door.server = std::make_unique<SocketServer>(door.socket.release(), *door.dispatcher,
                                                     m_framework.clients());
    }
}

RaceHost::~RaceHost() {
    m_framework.endChanges();
}

std::shared_ptr<Client> RaceHost::makeClient(std::size_t role) {
    return std::make_shared<RaceClient>(m_framework.clients(), m_doors[role]->rules.rightsOf({}));
}

std::optional<Method> RaceHost::call(const std::shared_ptr<Client>& client, std::size_t role,
                                     const RaceCalls::Call& call, std::string& wrong) {
    const long before = reachedByThread;
    auto answer = m_dispatcher.call(call.method, client);
    const std::string name = call.method.getName();
    const bool hasReached = reachedByThread != before;
    const bool isAllowed = RaceCalls::roles()[role].may(call.rights, call.schema);
    if (answer.has_value() == call.isOneWay) {
        wrong = name + " was " + (call.isOneWay ? "" : "not ") + "answered";
    } else if (hasReached && !isAllowed) {
        wrong = name + " of " + call.schema + " is refused and has reached the service";
    } else if (!hasReached && isAllowed && name != "AddListener") {
        wrong = name + " of " + call.schema + " is allowed and has not reached the service";
    } else if (!isAllowed && !call.isOneWay && !isRefusal(answer, name == "processRequest")) {
        wrong = name + " of " + call.schema + " is answered as if it were allowed";
    }
    return answer;
}
