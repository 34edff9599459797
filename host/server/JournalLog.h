#ifndef JOURNALLOG_H
#define JOURNALLOG_H

#include "server/Datagram.h"

/**
 * Hands the log to the system's journal, as long as it lives, when standard error leads there: each
 * entry with its parts as fields of their own. What the journal does not take, and everything when
 * standard error leads elsewhere, is written to standard error as a line.
 */
class JournalLog {
public:
    JournalLog();
    ~JournalLog();
    JournalLog(const JournalLog&) = delete;
    JournalLog& operator=(const JournalLog&) = delete;

private:
    Datagram m_journal;
    bool m_isInUse = false;
};

#endif
