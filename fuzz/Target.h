#ifndef TARGET_H
#define TARGET_H

#include <string_view>

/**
 * An entry point for data from outside, for a fuzzer and for tests that repeat its findings. An
 * input must leave no effects, so that the next one begins with the same state.
 */
struct Target {
    const char* name;

    /// Called once, before the inputs.
    void (*begin)();

    /// Handles one input. If something forbidden happens, the process ends with a message.
    void (*take)(std::string_view input);
};

/// The target of that name, or null.
const Target* findTarget(std::string_view name);

/// The names of all targets, with blanks between them.
const char* targetNames();

/// Ends the process with the message @p what, unless @p holds.
void require(bool holds, const char* what);

// The targets; each has its own source.
void beginRequests();
void takeRequest(std::string_view input);
void beginWire();
void takeWire(std::string_view input);
void beginDataFiles();
void takeDataFile(std::string_view input);
void beginDeviceFiles();
void takeDeviceFile(std::string_view input);
void beginCallTimes();
void takeCallTimes(std::string_view input);
void beginDatabase();
void takeDatabase(std::string_view input);

#endif
