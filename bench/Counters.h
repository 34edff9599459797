#ifndef COUNTERS_H
#define COUNTERS_H

#include <functional>
#include <string>

/**
 * What work costs, counted and not timed, so that it does not depend on what else the machine does.
 * A program that links this has its `operator new` and its syncs counted. One thread counts at a
 * time; what other threads take is counted with it.
 */
namespace Bench {

struct Counts {
    long long allocations = 0;  ///< by `operator new`: SQLite's own and expat's are not among them
    long long peakBytes = 0;    ///< most bytes of these at once, above those that were there before
    long long syncs = 0;        ///< fsync and fdatasync
};

/// Runs @p work once. Under callgrind the instructions of it are written to its file, under the
/// description @p name; without it this costs nothing.
Counts countsOf(const std::string& name, const std::function<void()>& work);

}  // namespace Bench

#endif
