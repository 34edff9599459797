#include "PipeProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Program.h"
#include "terminal/Descriptor.h"

namespace Bench {

namespace {

constexpr std::size_t PieceSize = 64 * 1024;

}  // namespace

PipeProcess::PipeProcess(const std::vector<std::string>& command, const std::string& log)
    : m_name(command[0] + ", whose log is " + log) {
    int input[2];
    int output[2];
    require(pipe2(input, O_CLOEXEC) == 0 && pipe2(output, O_CLOEXEC) == 0, "no pipe can be made");
    // This process closes the program's ends, because only then each side notices when the other
    // one ends.
    const Descriptor inputOfProgram(input[0]);
    const Descriptor outputOfProgram(output[1]);
    const Descriptor errors(openOutput(log));
    m_process = startProgram(command, {input[0], output[1], errors.number()});
    m_input = input[1];
    m_output = output[0];
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
    return processorTimeOf(m_process);
}

}  // namespace Bench
