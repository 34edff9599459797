#ifndef WORK_H
#define WORK_H

/**
 * Whether the process that work is done in goes on. The process says so, and long work asks. Any
 * thread may call.
 *
 * A library is a guest in its process: until somebody calls set(), everything goes on.
 */
namespace Work {

enum class State {
    GoesOn,
    Ends,          ///< what is in work may be finished, but nothing long is to begin any more
    IsInterrupted  ///< what is in work ends now: statements fail, and nothing is committed
};

void set(State state);

/// Whether the process is about to end. To be asked before each step of a start, and where a start
/// waits for another process.
[[nodiscard]] bool isEnding();

/// Whether work is to be left unfinished. To be asked between two entries, lines or tables.
[[nodiscard]] bool isInterrupted();

}  // namespace Work

#endif
