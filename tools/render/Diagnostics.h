#pragma once
// Where the renderer talks to the user: one stream (stderr in the command),
// every line prefixed with the program name. Warnings always appear; notes
// and the progress bar are the chatter that --quiet silences.

#include <cstdio>
#include <string>

inline constexpr const char* kProgramName = "fenwoldrine-render";

class Diagnostics {
public:
    Diagnostics(std::FILE* stream, bool quiet) : out(stream), silent(quiet) {}

    // "fenwoldrine-render: warning: <text>"
    void warning(const std::string& text);
    // "fenwoldrine-render: <text>", unless quiet.
    void note(const std::string& text);

    bool quiet() const { return silent; }
    std::FILE* stream() const { return out; }
    int warningCount() const { return warnings; }

private:
    std::FILE* out;
    bool silent;
    int warnings = 0;
};
