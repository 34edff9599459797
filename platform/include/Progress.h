#ifndef PROGRESS_H
#define PROGRESS_H

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

/// How far a long piece of work has come, for whoever shows it to people. Any thread may report.
/// The work knows nothing of who watches: a line on a terminal, the service manager, or no one. One
/// sink for the process.
namespace Progress {

struct Report {
    std::string step;   ///< what is done at the moment, in words
    std::size_t rows;   ///< rows that are done; 0 where rows are not counted
    std::size_t done;   ///< in any unit
    std::size_t total;  ///< in the same unit, not 0; the work is over when all is done
};

using Sink = std::function<void(const Report& report)>;

/// Sends all reports to @p sink, which is called by one thread at a time; an empty one ends that.
void setSink(Sink sink);

/// Whether there is a sink. Guards the making of a report.
bool isWatched();

/// Notifies the sink, if there is one.
/// Called on the thread that works, so a sink that waits holds up the work.
void report(const Report& report);

/// Says that work goes on: a statement, a row, a line, a directory is done. Costs next to nothing.
void beat();

/// Changes with each beat: whoever sees the same number again knows that nothing went on.
std::uint64_t beats();

}  // namespace Progress

#endif
