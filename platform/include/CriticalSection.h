#ifndef CRITICALSECTION_H
#define CRITICALSECTION_H

class Semaphore;

/// Holds a semaphore from construction to the end of the scope, even if an exception is thrown. A
/// semaphore has no owning thread: if it is never released, it stays taken for all.
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
