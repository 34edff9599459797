#ifndef LOGGING_H
#define LOGGING_H

#include "Log.h"

/**
 * Writes a log entry whose arguments are only made when the entry is written. A source unit that
 * uses it names itself by two constants: LogComponent and LogSource.
 */
#define DAS_LOG(level, ...)                                                     \
    do {                                                                        \
        if (loggingOnAppUni(LogComponent, (level))) {                           \
            logAppUni(LogComponent, LogSource, (level), __LINE__, __VA_ARGS__); \
        }                                                                       \
    } while (false)

#endif
