#include "HostProcess.h"

#include <sys/wait.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "Method.h"
#include "Place.h"
#include "terminal/Descriptor.h"

namespace Bench {

HostProcess::HostProcess(std::vector<std::string> arguments, const std::string& socket)
    : m_socket(socket) {
    arguments[0] = folderOfProgram() / arguments[0];
    arguments.push_back(socket);
    const Descriptor errors(openOutput(m_socket + ".log"));
    m_process = startProgram(arguments, {-1, -1, errors.number()});
    while (!std::filesystem::exists(socket)) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

HostProcess::~HostProcess() {
    kill(m_process, SIGTERM);
    waitpid(m_process, nullptr, 0);
}

std::unique_ptr<SocketConnection> HostProcess::connect() const {
    for (int attempt = 0; attempt < 1000; ++attempt) {
        auto connection = std::make_unique<SocketConnection>();
        std::string error;
        if (connection->open(m_socket, error)) {
            return connection;
        }
        // the file is created shortly before the socket listens
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    fail("no connection to " + m_socket);
}

double HostProcess::processorTime() const {
    return processorTimeOf(m_process);
}

long HostProcess::kilobytes(const char* name) const {
    std::ifstream status("/proc/" + std::to_string(m_process) + "/status");
    std::string word;
    while (status >> word && word != name) {
    }
    long size = 0;
    status >> size;
    return size;
}

std::string ask(SocketConnection& connection, const std::string& message) {
    Method answer;
    std::string text;
    if (!connection.call(Connection::requestOf(message), answer) ||
        !answer.getStringParameter("Response", text)) {
        fail("no answer to " + message);
    }
    return text;
}

void exchangeLines(SocketConnection& connection, const std::string& line, std::string& answer) {
    if (!connection.sendLine(line) || !connection.readLine(answer)) {
        fail("no answer");
    }
}

std::string lineOf(const std::string& message) {
    return SocketConnection::toCall(Connection::requestOf(message));
}

}  // namespace Bench
