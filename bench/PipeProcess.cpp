#include "PipeProcess.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <ctime>
#include <stdexcept>

namespace Bench {

namespace {

constexpr std::size_t PieceSize = 64 * 1024;

void require(bool condition, const std::string& words) {
    if (!condition) {
        throw std::runtime_error(words);
    }
}

}  // namespace

PipeProcess::PipeProcess(const std::vector<std::string>& command, const std::string& log)
    : m_name(command[0] + ", whose log is " + log) {
    int input[2];
    int output[2];
    require(pipe2(input, O_CLOEXEC) == 0 && pipe2(output, O_CLOEXEC) == 0, "no pipe can be made");
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input[0], STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, log.c_str(), O_WRONLY | O_CREAT,
                                     0600);
    const int error =
        posix_spawn(&m_process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(input[0]);
    close(output[1]);
    m_input = input[1];
    m_output = output[0];
    require(error == 0, m_name + " can't be started");
}

PipeProcess::~PipeProcess() {
    close(m_input);
    close(m_output);
    waitpid(m_process, nullptr, 0);
}

void PipeProcess::exchange(const std::string& line, std::string& answer) {
    for (std::size_t sent = 0; sent < line.size();) {
        const ssize_t count = write(m_input, line.data() + sent, line.size() - sent);
        require(count > 0, "no input is read by " + m_name);
        sent += static_cast<std::size_t>(count);
    }
    answer.clear();
    do {
        const std::size_t size = answer.size();
        answer.resize(size + PieceSize);
        const ssize_t count = read(m_output, answer.data() + size, PieceSize);
        require(count > 0, "no answer of " + m_name);
        answer.resize(size + static_cast<std::size_t>(count));
    } while (answer.back() != '\n');
}

double PipeProcess::processorTime() const {
    clockid_t clock{};
    timespec time{};
    require(clock_getcpuclockid(m_process, &clock) == 0 && clock_gettime(clock, &time) == 0,
            "no processor time of " + m_name);
    return static_cast<double>(time.tv_sec) * 1e6 + static_cast<double>(time.tv_nsec) * 1e-3;
}

double PipeProcess::now() {
    return std::chrono::duration<double, std::micro>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace Bench
