#include "HostProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

#include "Method.h"
#include "Place.h"

namespace Bench {

HostProcess::HostProcess(std::vector<std::string> arguments, const std::string& socket)
    : m_socket(socket) {
    arguments[0] = folderOfProgram() / arguments[0];
    arguments.push_back(socket);
    std::vector<char*> pointers;
    for (const std::string& argument : arguments) {
        pointers.push_back(const_cast<char*>(argument.c_str()));
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, (m_socket + ".log").c_str(),
                                     O_WRONLY | O_CREAT, 0600);
    const int error =
        posix_spawn(&m_process, pointers[0], &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) {
        fail(arguments[0] + " can't be started");
    }
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
        // between the making of the file and the first listen
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

double processorTimeOf(pid_t process) {
    clockid_t clock{};
    timespec time{};
    if (clock_getcpuclockid(process, &clock) != 0 || clock_gettime(clock, &time) != 0) {
        fail("no processor time of process " + std::to_string(process));
    }
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

double now() {
    return std::chrono::duration<double, std::micro>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

double median(std::vector<double> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

void fail(const std::string& words) {
    throw std::runtime_error(words);
}

}  // namespace Bench
