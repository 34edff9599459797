#ifndef THREADABLE_H
#define THREADABLE_H

/// What the framework can give a thread of its own.
/// The framework makes the thread and owns the object. The body must come to an end by itself when
/// the service is shut down.
class Threadable {
public:
    virtual ~Threadable();

    /// The body of that thread; it returns when the work is done.
    virtual void run() = 0;
};

#endif
