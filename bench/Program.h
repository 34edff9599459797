#ifndef PROGRAM_H
#define PROGRAM_H

#include <sys/types.h>

#include <array>
#include <string>
#include <vector>

namespace Bench {

/// Descriptors that become standard input, output and error of a program; below 0 it shares ours.
using Streams = std::array<int, 3>;

/// Starts @p command, whose first word is the path of a program. The caller waits for its end.
pid_t startProgram(const std::vector<std::string>& command, const Streams& streams);

/// A descriptor of the file @p path, emptied, which started programs do not inherit. The caller
/// closes it.
int openOutput(const std::string& path);

/// Microseconds that all threads of @p process have run so far; 0 is this process.
double processorTimeOf(pid_t process);

/// Microseconds of a clock that never goes back.
double now();

/// If the number of values is even, the larger of the two in the middle. @p values must not be
/// empty.
double median(std::vector<double> values);

/// Throws, because a measurement that can't continue has no result.
[[noreturn]] void fail(const std::string& words);
void require(bool condition, const std::string& words);

}  // namespace Bench

#endif
