#ifndef DAS_CLIENT_H
#define DAS_CLIENT_H

// A client of the data access service: one header, the standard library and sockets.
//
//     das::Client client;                       // DAS_SOCKET, else /run/das/das.sock
//     for (const das::Row& row : client.read("PhoneBook", {"Surname", "Office"}))
//         std::cout << row.at("Surname") << "\n";
//
// A client is for one thread. It throws das::Error if the host is not there, does not answer in
// time or refuses a request; the error has the words of the host.

#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace das {

using Error = std::runtime_error;

/// Values by their names: the columns of a record, the parameters of a message.
using Row = std::map<std::string, std::string>;

/// A parameter of a method.
struct Parameter {
    Parameter(const char* key, const std::string& text) : json(quoted(key) + ":" + quoted(text)) {}
    Parameter(const char* key, const char* text) : Parameter(key, std::string(text)) {}
    Parameter(const char* key, int number) : json(quoted(key) + ":" + std::to_string(number)) {}
    Parameter(const char* key, bool truth) : json(quoted(key) + (truth ? ":true" : ":false")) {}

    /// @p text as a JSON string.
    static std::string quoted(const std::string& text) {
        std::string json = "\"";
        for (const char each : text) {
            char code[8] = {each};
            if (static_cast<unsigned char>(each) < 0x20 || each == '"' || each == '\\') {
                std::snprintf(code, sizeof code, "\\u%04x", each);
            }
            json += code;
        }
        return json + '"';
    }

    std::string json;  // name and value
};

/// @p text as it may stand between two tags, where a bare carriage return becomes a line feed.
inline std::string escaped(const std::string& text) {
    std::string xml;
    for (const char each : text) {
        const bool isMarkup = std::strchr("&<>\"\r", each) != nullptr && each != '\0';
        xml += isMarkup ? "&#" + std::to_string(each) + ";" : std::string(1, each);
    }
    return xml;
}

inline std::string element(const std::string& name, const std::string& text) {
    return "<" + name + ">" + escaped(text) + "</" + name + ">";
}

class Client {
public:
    /// Connects to the host at @p path; without one, to DAS_SOCKET or the usual place. A call fails
    /// if the host is silent for @p milliseconds: a minute, for large imports; 0 is no limit.
    explicit Client(const std::string& path = {}, int milliseconds = 60000)
        : Client(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        const char* const set = std::getenv("DAS_SOCKET");
        m_path = !path.empty() ? path : set != nullptr && *set != '\0' ? set : "/run/das/das.sock";
        const timeval limit{milliseconds / 1000, milliseconds % 1000 * 1000};
        sockaddr_un address{AF_UNIX, {}};
        errno = ENAMETOOLONG;  // of a path that fills the address
        failIf(m_path.copy(address.sun_path, sizeof address.sun_path) == sizeof address.sun_path ||
               ::setsockopt(m_socket, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit) != 0 ||
               ::setsockopt(m_socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit) != 0 ||
               ::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0);
    }
    ~Client() { ::close(m_socket); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// The out parameters of a method; numbers and truth values as their text. A one-way method has
    /// none: its call returns once the host has carried it out, and throws if the host refuses it.
    Row call(const std::string& method, const std::vector<Parameter>& in = {}) {
        const std::string id = std::to_string(++m_calls), after = "-" + id;
        // One-way methods and unknown ones are not answered. Since the host handles messages in
        // order, the answer to a second one comes first then, and says how the call went.
        const std::string second = method == "processRequest" ? "" : message(after, "LastFailures");
        send(message(id, method, in) + second);
        for (;;) {
            Message heard = receive();
            if (heard.count("error") > 0) {
                throw Error(method + ": " + heard["error"]["message"] + " (no UTF-8, over 8 MiB?)");
            }
            const bool isSecond = heard[""]["id"] == after;
            if (isSecond && heard["result"]["HasFailed"] == "true") {
                throw Error(method + ": " + heard["result"]["Words"]);
            }
            if (isSecond || heard[""]["id"] == id) {
                return isSecond ? Row() : heard["result"];
            }
        }
    }

    /// The answer to an XML request, which may be that of a failure.
    std::string request(const std::string& xml) {
        const auto length = static_cast<int>(xml.size());
        return call("processRequest", {{"Request", xml}, {"RequestLength", length}})["Response"];
    }

    /// The answer to a request of @p reason; @p body stands after the reason.
    std::string request(const std::string& schema, const std::string& reason,
                        const std::string& body, const std::string& context = "base") {
        const std::string answer =
            request("<?xml version=\"1.0\" encoding=\"utf-8\"?><Schema name=\"" + escaped(schema) +
                    "\">" + element("ReasonForMessage", reason) + "<Context currentUser=\"" +
                    escaped(context) + "\">" + body + "</Context></Schema>");
        const std::size_t place = answer.find("<ReasonForMessage>");  // none in "failure" alone
        if (answer.rfind("<ReasonForMessage>failure<", place) == place) {
            throw refusal(schema + ": " + reason);
        }
        return answer;
    }

    /// The records of a schema with entries. Values stand unescaped in answers, so they are cut by
    /// @p columns, and no value hides another record.
    std::vector<Row> read(const std::string& schema, const std::vector<std::string>& columns,
                          const std::string& context = "base") {
        std::string names;
        for (const std::string& each : columns) {
            names += (names.empty() ? "" : " ") + each;
        }
        names = element("ResultCols", names);
        return rowsOf(request(schema, "read_request", names, context), columns);
    }

    /// From now on wait() reports the changes of @p schemas: names joined by commas, blank for all.
    void listen(const std::string& schemas = {}) {
        if (call("AddChangeListener", {{"Schemas", schemas}})["Acknowledge"] == "false") {
            throw refusal("AddChangeListener");
        }
    }

    /// Waits at most @p milliseconds for a change, or without end, and calls @p report for each
    /// one: Schema, Context, Reason and Id. All four are blank when everything may have changed.
    std::size_t wait(const std::function<void(const Row&)>& report, int milliseconds = -1) {
        pollfd waiting{m_socket, POLLIN, 0};
        while (m_changes.empty() && (m_received.find('\n') != std::string::npos ||
                                     ::poll(&waiting, 1, milliseconds) > 0)) {
            (void)receive();
        }
        const std::vector<Row> changes = std::exchange(m_changes, {});
        std::for_each(changes.begin(), changes.end(), report);
        return changes.size();
    }

    /// The records of @p answer to a request that named @p columns, in that order, in ResultCols.
    static std::vector<Row> rowsOf(const std::string& answer,
                                   const std::vector<std::string>& columns) {
        if (columns.empty()) {
            throw Error("name the columns to read");
        }
        const std::string begin = "<Entry><" + columns.front() + ">";
        const std::string end = "</" + columns.back() + "></Entry>";
        const std::string first = "</" + columns.front() + "><";  // a last value may hold marks
        const std::size_t last = answer.rfind(end);
        std::vector<Row> rows;
        for (std::size_t place = answer.find(begin); place < last;) {
            place += begin.size();
            rows.emplace_back();
            for (auto each = columns.begin(); each != columns.end(); ++each) {
                const bool isLast = each + 1 == columns.end();
                const std::string mark = isLast ? end + begin : "</" + *each + "><" + each[1] + ">";
                const auto next = isLast ? answer.rfind(mark, answer.find(first, place)) + 1 : 0;
                const auto stop = std::max(std::min(answer.find(mark, place), last) + 1, next) - 1;
                rows.back()[*each] = answer.substr(place, stop - place);
                place = std::min(stop + (isLast ? end : mark).size(), last);
            }
        }
        return rows;
    }

private:
    /// The members of a message by the object that holds them; blank is the message itself.
    using Message = std::map<std::string, Row>;

    explicit Client(int socket) : m_socket(socket) {}

    void failIf(bool hasFailed) const {
        if (hasFailed) {
            throw Error(m_path + ": " +
                        (errno == EAGAIN ? "no answer in time" : std::strerror(errno)));
        }
    }

    /// What has failed, and what the host has logged of the call before this one.
    Error refusal(const std::string& what) {
        const std::string words = call("LastFailures")["Words"];
        return Error(what + " failed" + (words.empty() ? "" : ": ") + words);
    }

    static std::string message(const std::string& id, const std::string& method,
                               const std::vector<Parameter>& in = {}) {
        std::string line = R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":)" +
                           Parameter::quoted(method) + R"(,"params":{)";
        for (const Parameter& each : in) {
            line += (line.back() == '{' ? "" : ",") + each.json;
        }
        return line + "}}\n";
    }

    /// Why not all could be sent is left to receive(): a host that closes says it before.
    void send(const std::string& lines) const {
        for (std::size_t sent = 0; sent < lines.size();) {
            const auto count = ::send(m_socket, &lines[sent], lines.size() - sent, MSG_NOSIGNAL);
            if (count < 0 && errno != EINTR) {
                ::shutdown(m_socket, SHUT_WR);  // no other line may follow a part of one
                return;
            }
            sent += count < 0 ? 0 : static_cast<std::size_t>(count);
        }
    }

    Message receive() {
        std::size_t end = 0;
        for (std::size_t looked = 0; (end = m_received.find('\n', looked)) == std::string::npos;) {
            looked = m_received.size();
            char bytes[65536];
            const ssize_t count = ::recv(m_socket, bytes, sizeof bytes, 0);
            if (count == 0) {
                throw Error(m_path + ": the host has closed the connection");
            }
            failIf(count < 0 && errno != EINTR);
            m_received.append(bytes, count < 0 ? 0 : static_cast<std::size_t>(count));
        }
        Message heard = parsed(m_received.substr(0, end));
        m_received.erase(0, end + 1);
        if (heard[""]["method"] == "Changed") {
            m_changes.push_back(heard["params"]);  // for wait()
        }
        return heard;
    }

    /// Takes apart a message as the host writes it: two levels, without blanks and lists.
    static Message parsed(const std::string& json) {
        Message message;
        std::string object, name, text;
        bool isQuoted = false;
        for (std::size_t place = 1; place < json.size(); ++place) {
            const char each = json[place];
            if (each == '"') {
                isQuoted = !isQuoted;
            } else if (isQuoted || std::strchr("{:,}", each) == nullptr) {
                text += each == '\\' ? unescaped(json, place) : each;
            } else if (each == ':') {
                name = std::exchange(text, "");
            } else {
                if (!name.empty()) {
                    message[object][name] = std::exchange(text, "");
                }
                object = each == '{' ? name : each == ',' ? object : "";
                name.clear();
            }
        }
        return message;
    }

    /// The character whose escape begins at @p place, which moves to its end.
    static char unescaped(const std::string& json, std::size_t& place) {
        const char letter = json.at(++place);
        if (letter == 'u') {  // a control character; all others stand as UTF-8
            place += 4;
            return static_cast<char>(std::stoi(json.substr(place - 3, 4), nullptr, 16));
        }
        const std::size_t found = std::string("bfnrt").find(letter);
        return found < 5 ? "\b\f\n\r\t"[found] : letter;
    }

    std::string m_path;
    int m_socket, m_calls = 0;
    std::string m_received;
    std::vector<Row> m_changes;
};

}  // namespace das

#endif
