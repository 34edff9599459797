#ifndef THREADABLE_H
#define THREADABLE_H

/// An object that the framework can run in a thread of its own. The framework creates the thread
/// and owns the object. run() must return by itself when the service is shut down.
class Threadable {
public:
    virtual ~Threadable();

    /// The function of that thread; it returns when the work is done.
    virtual void run() = 0;
};

#endif
