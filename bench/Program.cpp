#include "Program.h"

#include <fcntl.h>
#include <spawn.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <ctime>
#include <stdexcept>

namespace Bench {

pid_t startProgram(const std::vector<std::string>& command, const Streams& streams) {
    std::vector<char*> arguments;
    for (const std::string& argument : command) {
        arguments.push_back(const_cast<char*>(argument.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (int stream = STDIN_FILENO; stream <= STDERR_FILENO; ++stream) {
        const int descriptor = streams[static_cast<std::size_t>(stream)];
        if (descriptor >= 0) {
            posix_spawn_file_actions_adddup2(&actions, descriptor, stream);
        }
    }
    pid_t process = 0;
    const int error =
        posix_spawn(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    require(error == 0, command[0] + " can't be started");
    return process;
}

int openOutput(const std::string& path) {
    return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
}

double processorTimeOf(pid_t process) {
    clockid_t clock{};
    timespec time{};
    require(clock_getcpuclockid(process, &clock) == 0 && clock_gettime(clock, &time) == 0,
            "no processor time of process " + std::to_string(process));
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

void require(bool condition, const std::string& words) {
    if (!condition) {
        fail(words);
    }
}

}  // namespace Bench
