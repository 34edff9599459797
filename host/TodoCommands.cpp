#include "Command.h"
std::unique_ptr<Command> makeShellCommand() {
    return nullptr;
}
std::unique_ptr<Command> makeTraceCommand() {
    return nullptr;
}
