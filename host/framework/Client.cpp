// Clients are found by name and not by pointer, because a reply may come after its client has
// disconnected. The list does not keep a client alive; a caller of find() holds a reference as long
// as it uses the client.

#include "framework/Client.h"

#include <sstream>
#include <utility>

#include "ProtocolAdapter.h"

std::string Clients::add(Client& client) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::string name = std::to_string(++m_last);
    m_clients.emplace(name, &client);
    return name;
}

void Clients::remove(const std::string& name) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_clients.erase(name);
}

// A client that is being destroyed waits in remove() for the mutex; its weak pointer is empty by
// then.
std::shared_ptr<Client> Clients::find(const std::string& name) const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_clients.find(name);
    return found == m_clients.end() ? nullptr : found->second->weak_from_this().lock();
}

std::vector<std::shared_ptr<Client>> Clients::all() const {
    std::vector<std::shared_ptr<Client>> clients;
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (const auto& [name, client] : m_clients) {
        if (auto held = client->weak_from_this().lock()) {
            clients.push_back(std::move(held));
        }
    }
    return clients;
}

void Client::hearChanges(std::shared_ptr<ChangeView> view) {
    const std::lock_guard<std::mutex> lock(m_changesMutex);
    m_earlierChanges += m_changes.take();
    m_changes = ChangePlace(std::move(view));
}

void Client::sendChanges() {
    std::istringstream lines(takeChanges());
    for (std::string line; std::getline(lines, line);) {
        sendLine(std::move(line));
    }
}

std::string Client::takeChanges() {
    const std::lock_guard<std::mutex> lock(m_changesMutex);
    std::string lines = m_changes.take();
    return m_earlierChanges.empty() ? lines
                                    : std::exchange(m_earlierChanges, {}) + std::move(lines);
}

std::string Client::standInOfChanges() const {
    const std::lock_guard<std::mutex> lock(m_changesMutex);
    return m_changes.standIn();
}

std::string lineOf(const Method& method, ProtocolAdapter& adapter) {
    std::ostringstream line;
    adapter.encode(method, line);
    return line.str();
}
