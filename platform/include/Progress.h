#ifndef PROGRESS_H
#define PROGRESS_H

#include <cstddef>
#include <functional>

/// How far a long piece of work has come, for whoever shows it to people. Any thread may report.
namespace Progress {

/// Gets how much is done of how much.
using Sink = std::function<void(std::size_t done, std::size_t total)>;

/// Sends all reports to @p sink, which is called by one thread at a time; an empty one ends that.
void setSink(Sink sink);

/// Whether there is a sink. Guards the making of a report.
bool isWatched();

/// Tells the sink, if there is one. @p total is not 0.
void report(std::size_t done, std::size_t total);

}  // namespace Progress

#endif
