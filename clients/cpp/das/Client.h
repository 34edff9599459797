#ifndef DAS_CLIENT_H
#define DAS_CLIENT_H

// A client of the data access service: one header, the standard library and sockets.
//
//     das::Client client;                       // DAS_SOCKET, else /run/das/das.sock
//     for (const das::Row& row : client.read("PhoneBook", {"Surname", "Office"}))
//         std::cout << row.at("Surname") << "\n";
//
// A client is for one thread. It throws das::Error if the host is not there or refuses a request.

#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
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
    Parameter(const char* parameter, const std::string& text)
        : name(parameter), json(quoted(text)) {}
    Parameter(const char* parameter, const char* text) : Parameter(parameter, std::string(text)) {}
    Parameter(const char* parameter, int number) : name(parameter), json(std::to_string(number)) {}
    Parameter(const char* parameter, bool truth) : name(parameter), json(truth ? "true" : "false") {}

    /// @p text as a JSON string.
    static std::string quoted(const std::string& text) {
        static const char digits[] = "0123456789abcdef";
        std::string json = "\"";
        for (const char each : text) {
            const auto byte = static_cast<unsigned char>(each);
            if (byte < 0x20) {
                (json += "\\u00") += {digits[byte >> 4], digits[byte & 0xf]};
            } else {
                (json += each == '"' || each == '\\' ? "\\" : "") += each;
            }
        }
        return json + '"';
    }

    std::string name, json;
};

/// @p text as it may stand between two tags.
inline std::string escaped(const std::string& text) {
    std::string xml;
    for (const char each : text) {
        const bool isMarkup = std::strchr("&<>\"", each) != nullptr && each != '\0';
        xml += isMarkup ? "&#" + std::to_string(each) + ";" : std::string(1, each);
    }
    return xml;
}

inline std::string element(const std::string& name, const std::string& text) {
    return "<" + name + ">" + escaped(text) + "</" + name + ">";
}

class Client {
public:
    /// Connects to the host at @p path; without one, to DAS_SOCKET or the usual place.
    explicit Client(const std::string& path = {}) : m_path(path) {
        const char* const usual = std::getenv("DAS_SOCKET");
        if (m_path.empty()) {
            m_path = usual == nullptr || *usual == '\0' ? "/run/das/das.sock" : usual;
        }
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (m_path.copy(address.sun_path, sizeof address.sun_path) == sizeof address.sun_path) {
            throw Error(m_path + ": the path is too long for a socket");
        }
        m_socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        if (::connect(m_socket, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
            const std::string why = std::strerror(errno);
            ::close(m_socket);
            throw Error(m_path + ": " + why);
        }
    }
    ~Client() { ::close(m_socket); }
    Client(const Client&) = delete;
    Client& operator=(const Client&) = delete;

    /// The out parameters of a method; numbers and truth values as their text.
    Row call(const std::string& method, const std::vector<Parameter>& in = {}) {
        const std::string id = std::to_string(++m_calls);
        std::string line = R"({"jsonrpc":"2.0","id":)" + id + R"(,"method":")" + method +
                           R"(","params":{)";
        for (std::size_t i = 0; i < in.size(); ++i) {
            line += (i > 0 ? "," : "") + Parameter::quoted(in[i].name) + ":" + in[i].json;
        }
        send(line + "}}\n");
        Row heard = receive();
        for (; heard["id"] != id; heard = receive()) {
            keep(heard);
        }
        return part(heard, "result.");
    }

    /// The answer to an XML request, which may be that of a failure.
    std::string request(const std::string& xml) {
        return call("processRequest", {{"Request", xml},
                                       {"RequestLength", static_cast<int>(xml.size())}})["Response"];
    }

    /// The answer to a request of @p reason; @p body stands after the reason.
    std::string request(const std::string& schema, const std::string& reason,
                        const std::string& body, const std::string& context = "base") {
        const std::string answer =
            request("<?xml version=\"1.0\" encoding=\"utf-8\"?><Schema name=\"" + escaped(schema) +
                    "\">" + element("ReasonForMessage", reason) + "<Context currentUser=\"" +
                    escaped(context) + "\">" + body + "</Context></Schema>");
        if (answer == "failure" || between(answer, "<ReasonForMessage>") == "failure") {
            const std::string why = between(answer, "<FailureMessage>");
            throw Error(schema + ": " + reason + " failed " + why);
        }
        return answer;
    }

    /// The records of a schema with entries. Values stand unescaped in answers, so they are cut by
    /// @p columns, and no value hides another record.
    std::vector<Row> read(const std::string& schema, const std::vector<std::string>& columns,
                          const std::string& context = "base") {
        std::string names = columns.front();
        std::for_each(columns.begin() + 1, columns.end(), [&](auto& each) { names += " " + each; });
        const std::string asked = element("ResultCols", names);
        return rowsOf(request(schema, "read_request", asked, context), columns);
    }

    /// From now on wait() reports the changes of @p schemas: names joined by commas, blank for all.
    void listen(const std::string& schemas = {}) {
        if (call("AddChangeListener", {{"Schemas", schemas}})["Acknowledge"] == "false") {
            throw Error(m_path + ": the host does not report changes to this user");
        }
    }

    /// Waits at most @p milliseconds for a change, or without end, and calls @p report for each that
    /// has come: Schema, Context, Reason and Id. All four are blank when everything may have changed.
    std::size_t wait(const std::function<void(const Row&)>& report, int milliseconds = -1) {
        pollfd waiting{m_socket, POLLIN, 0};
        while (m_changes.empty() && (m_received.find('\n') != std::string::npos ||
                                     ::poll(&waiting, 1, milliseconds) > 0)) {
            keep(receive());
        }
        const std::vector<Row> changes = std::exchange(m_changes, {});
        std::for_each(changes.begin(), changes.end(), report);
        return changes.size();
    }

    /// The records of @p answer to a request that named @p columns, in that order, in ResultCols.
    static std::vector<Row> rowsOf(const std::string& answer,
                                   const std::vector<std::string>& columns) {
        std::vector<Row> rows;
        const std::string begin = "<Entry><" + columns.front() + ">";
        const std::string end = "</" + columns.back() + "></Entry>";
        std::size_t place = answer.find(begin);
        while (place != std::string::npos) {
            place += begin.size();
            const std::size_t next = answer.find(end + begin, place);
            const std::size_t stop = std::min(next, answer.rfind(end));
            rows.push_back(cut(answer.substr(place, stop - place), columns));
            place = next == std::string::npos ? next : next + end.size();
        }
        return rows;
    }

private:
    void failIf(bool hasFailed) const {
        if (hasFailed) {
            throw Error(m_path + ": " + std::strerror(errno));
        }
    }

    static std::string between(const std::string& text, const std::string& begin) {
        const std::size_t first = text.find(begin);
        const std::size_t start = first + begin.size();
        return first == std::string::npos ? "" : text.substr(start, text.find("</", start) - start);
    }

    static Row cut(std::string text, const std::vector<std::string>& columns) {
        Row row;
        for (std::size_t i = 0; i + 1 < columns.size(); ++i) {
            const std::string end = "</" + columns[i] + "><" + columns[i + 1] + ">";
            const std::size_t place = text.find(end);
            row[columns[i]] = text.substr(0, place);
            text.erase(0, place == std::string::npos ? text.size() : place + end.size());
        }
        row[columns.back()] = text;
        return row;
    }

    static Row part(const Row& all, const std::string& prefix) {
        Row some;
        for (const auto& [name, value] : all) {
            if (name.compare(0, prefix.size(), prefix) == 0) {
                some[name.substr(prefix.size())] = value;
            }
        }
        return some;
    }

    void keep(Row heard) {
        if (heard["method"] == "Changed") {
            m_changes.push_back(part(heard, "params."));
        }
    }

    void send(const std::string& line) const {
        for (std::size_t sent = 0; sent < line.size();) {
            const auto count = ::send(m_socket, &line[sent], line.size() - sent, MSG_NOSIGNAL);
            failIf(count < 0 && errno != EINTR);
            sent += count < 0 ? 0 : static_cast<std::size_t>(count);
        }
    }

    /// The next message, flat: the parameter P of a result as "result.P".
    Row receive() {
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
        const std::string line = m_received.substr(0, end);
        m_received.erase(0, end + 1);
        std::size_t place = 0;
        Row flat;
        readObject(line, place, "", flat);
        return flat;
    }

    /// Reads the object at @p place, as the host writes them: without blanks and lists.
    static void readObject(const std::string& json, std::size_t& place, const std::string& prefix,
                           Row& flat) {
        while (place < json.size() && json[place] != '}') {
            if (json[++place] != '"') {  // after the brace or comma
                continue;
            }
            const std::string name = prefix + readString(json, place);
            ++place;  // the colon
            if (json.compare(place, 1, "{") == 0) {
                readObject(json, place, name + ".", flat);
            } else if (json.compare(place, 1, "\"") == 0) {
                flat[name] = readString(json, place);
            } else {
                const std::size_t end = json.find_first_of(",}", place);
                flat[name] = json.substr(place, end - place);
                place = std::min(end, json.size());
            }
        }
        ++place;
    }

    static std::string readString(const std::string& json, std::size_t& place) {
        std::string text;
        for (++place; place < json.size() && json[place] != '"'; ++place) {
            if (json[place] != '\\') {
                text += json[place];
            } else if (json[++place] != 'u') {
                const std::size_t letter = std::string("bfnrt").find(json[place]);
                text += letter < 5 ? "\b\f\n\r\t"[letter] : json[place];
            } else {
                // Of a control character; all others stand as UTF-8.
                text += static_cast<char>(std::stoi(json.substr(place + 1, 4), nullptr, 16));
                place += 4;
            }
        }
        ++place;
        return text;
    }

    std::string m_path;
    int m_socket, m_calls = 0;
    std::string m_received;
    std::vector<Row> m_changes;
};

}  // namespace das

#endif
