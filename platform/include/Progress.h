#ifndef PROGRESS_H
#define PROGRESS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

/// The progress of long work, for code that shows it to people. Any thread may report. The work
/// does not know where the reports go: to a line on a terminal, to the service manager, or nowhere.
/// There is one sink for the process.
namespace Progress {

struct Report {
    std::string step;   ///< the current step, in words
    std::size_t rows;   ///< finished rows; 0 if rows are not counted
    std::size_t done;   ///< in any unit
    std::size_t total;  ///< in the same unit, not 0; the work is over when done equals total
};

using Sink = std::function<void(const Report& report)>;

/// Sends all reports to @p sink, which is called by one thread at a time; an empty one stops this.
void setSink(Sink sink);

/// Whether there is a sink. Check it before building a report.
bool isWatched();

/// Calls the sink, if there is one, on the thread that works. So a sink that waits delays the work.
void report(const Report& report);

/// Call it when a part of the work is done: a statement, a row, a line, a directory. Costs next to
/// nothing.
void beat();

/// The number of beats so far. If it is the same at two calls, there was no progress in between.
std::uint64_t beats();

}  // namespace Progress

#endif
