#pragma once
// The one kind of failure the renderer reports: a message for the user and
// the exit status the command ends with.

#include <stdexcept>
#include <string>

// Exit statuses of fenwoldrine-render.
enum class ExitStatus : int {
    kSuccess = 0,
    kWriteFailure = 1,  // the output could not be written; nothing is left behind
    kUsage = 2,         // bad command line, parameter, value or input file
};

class RenderError : public std::runtime_error {
public:
    RenderError(ExitStatus status, const std::string& message) : std::runtime_error(message), exitStatus(status) {}
    ExitStatus status() const { return exitStatus; }

private:
    ExitStatus exitStatus;
};

// Shorthands for the two statuses a failure can carry.
inline RenderError usageError(const std::string& message) {
    return RenderError(ExitStatus::kUsage, message);
}
inline RenderError writeError(const std::string& message) {
    return RenderError(ExitStatus::kWriteFailure, message);
}
