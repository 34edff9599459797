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

/// A descriptor of the file @p path, made empty, that no started program inherits. The caller
/// closes it.
int openOutput(const std::string& path);

/// Microseconds that all threads of @p process have run so far; 0 is this process.
double processorTimeOf(pid_t process);

/// Microseconds of a clock that only goes on.
double now();

/// Of an even number of values the larger of the two in the middle. @p values are not empty.
double median(std::vector<double> values);

/// Throws, for a measurement that can't go on has no figure.
[[noreturn]] void fail(const std::string& words);
void require(bool condition, const std::string& words);

}  // namespace Bench

#endif
