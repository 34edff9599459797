#ifndef CRITICALSECTION_H
#define CRITICALSECTION_H

class Semaphore;

/// Holds a semaphore from construction to the end of the scope, also when an exception leaves it.
/// It must end on the same path on which it was made: a semaphore belongs to no thread, so one that
/// is never given stays taken for all.
class CriticalSection {
public:
    /// Waits for @p semaphore, which must outlive this object; not owned.
    explicit CriticalSection(Semaphore& semaphore);
    ~CriticalSection();
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

private:
    Semaphore& m_semaphore;
};

#endif
