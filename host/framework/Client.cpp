// Clients are found by name and not by pointer: a reply may come when its client has gone. The list
// does not keep a client alive; whoever finds one holds it for as long as it is used.

#include "framework/Client.h"

#include <sstream>

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

// A client that is about to go waits in remove() for the mutex; its weak pointer is empty by then.
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

std::string lineOf(const Method& method, ProtocolAdapter& adapter) {
    std::ostringstream line;
    adapter.encode(method, line);
    return line.str();
}
