#ifndef EXECUTABLE_H
#define EXECUTABLE_H

class Context;

/**
 * What the framework can start, stop and wake by a timer.
 *
 * The order of the virtual operations is part of the contract between the framework and the
 * libraries that it loads.
 */
class Executable {
public:
    virtual ~Executable();

    /// Called once, before any other operation. @p context outlives the object; it is not owned.
    virtual void init(Context& context) = 0;

    /// Called before the framework ends. The object is deleted afterwards.
    virtual void shutdown() = 0;

    /// Called when the timer numbered @p timerId has run out. Does nothing unless overridden.
    virtual void timerEvent(int timerId);
};

#endif
