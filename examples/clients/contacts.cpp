// Prints the current user and how many contacts he has, now and at each change of the user, until
// the host ends. Usage: das_example_contacts SOCKET
//
// Built by itself: g++ -std=c++17 contacts.cpp -o contacts, with the package nlohmann-json3-dev.
//
// Each message is one line of JSON, and so is each answer. What a listener hears has no id.

#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <iostream>
#include <nlohmann/json.hpp>
#include <string>

namespace {

using Json = nlohmann::json;

class Service {
public:
    Service() : m_socket(::socket(AF_UNIX, SOCK_STREAM, 0)) {}
    ~Service() { ::close(m_socket); }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;

    /// False when nobody listens there; errno tells why.
    bool connect(const std::string& path) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (path.size() >= sizeof(address.sun_path)) {
            errno = ENAMETOOLONG;
            return false;
        }
        path.copy(address.sun_path, path.size());
        return ::connect(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof(address)) ==
               0;
    }

    /// The out parameters of a remote method; null when the host has ended.
    Json call(const std::string& method, const Json& params) {
        const Json request = {
            {"jsonrpc", "2.0"}, {"id", ++m_calls}, {"method", method}, {"params", params}};
        if (!send(request.dump() + "\n")) {
            return nullptr;
        }
        for (Json heard = receive(); !heard.is_null(); heard = receive()) {
            if (heard.value("id", Json()) == m_calls) {
                return heard.value("result", Json());
            }
            m_hasChanged = true;  // heard in front of the answer
        }
        return nullptr;
    }

    std::string request(const std::string& text) {
        const Json result =
            call("processRequest", {{"Request", text}, {"RequestLength", text.size()}});
        return result.is_null() ? "" : result.value("Response", "");
    }

    /// Waits for the next change of the user. False when the host has ended.
    bool waitForChange() {
        const bool wasHeard = m_hasChanged;
        m_hasChanged = false;
        return wasHeard || !receive().is_null();
    }

private:
    bool send(const std::string& line) const {
        for (std::size_t sent = 0; sent < line.size();) {
            const auto count =
                ::send(m_socket, line.data() + sent, line.size() - sent, MSG_NOSIGNAL);
            if (count < 0) {
                return false;
            }
            sent += static_cast<std::size_t>(count);
        }
        return true;
    }

    /// The next message; null when the host has ended.
    Json receive() {
        std::size_t end = m_received.find('\n');
        while (end == std::string::npos) {
            char part[4096];
            const auto count = ::recv(m_socket, part, sizeof(part), 0);
            if (count <= 0) {
                return nullptr;
            }
            m_received.append(part, static_cast<std::size_t>(count));
            end = m_received.find('\n');
        }
        const std::string line = m_received.substr(0, end);
        m_received.erase(0, end + 1);
        return Json::parse(line, nullptr, false);
    }

    int m_socket;
    int m_calls = 0;
    bool m_hasChanged = false;
    std::string m_received;
};

std::string countOf(const std::string& answer) {
    const std::size_t begin = answer.find("<count>");
    return begin == std::string::npos
               ? "no"
               : answer.substr(begin + 7, answer.find("</count>") - begin - 7);
}

}  // namespace

int main(int argc, char** argv) {
    Service service;
    if (argc != 2 || !service.connect(argv[1])) {
        std::cerr << "das_example_contacts: "
                  << (argc != 2 ? "needs a socket" : std::strerror(errno)) << "\n";
        return 2;
    }
    service.call("AddListener", Json::object());
    do {
        const std::string user = service.request("getCurrentUser");
        const std::string answer = service.request(
            "<Schema name=\"PhoneBook\"><ReasonForMessage>rowcount_request</ReasonForMessage>"
            "</Schema>");
        std::cout << user << " has " << countOf(answer) << " contacts" << std::endl;
    } while (service.waitForChange());
    return 0;
}
