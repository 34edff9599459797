#ifndef PIPEPROCESS_H
#define PIPEPROCESS_H

#include <sys/types.h>

#include <string>
#include <vector>

namespace Bench {

/// A program that answers each line of its standard input by a line on its standard output. It is
/// stopped with the object.
class PipeProcess {
public:
    /// @p log gets its standard error.
    PipeProcess(const std::vector<std::string>& command, const std::string& log);
    ~PipeProcess();
    PipeProcess(const PipeProcess&) = delete;
    PipeProcess& operator=(const PipeProcess&) = delete;

    /// Sends @p line, which ends with a line feed, and waits for the answer with its own.
    void exchange(const std::string& line, std::string& answer);

    /// Microseconds that all threads of the program have run so far.
    double processorTime() const;

private:
    const std::string m_name;
    pid_t m_process = 0;
    int m_input = -1;
    int m_output = -1;
};

}  // namespace Bench

#endif
