#pragma once
// Where the renderer talks to the user: one stream (stderr in the command),
// every line prefixed with the program name. Warnings and errors always
// appear; notes and the progress bar are the chatter that --quiet silences.
//
// Every message line goes out through here, and the text is made safe for a
// terminal on the way: names, paths and values the user typed may hold
// control characters, which are shown as escapes ("\n", "\t", "\x1b") rather
// than acted on.

#include <cstdio>
#include <string>
#include <string_view>

inline constexpr const char* kProgramName = "fenwoldrine-render";

class Diagnostics {
public:
    Diagnostics(std::FILE* stream, bool quiet) : out(stream), silent(quiet) {}

    // "fenwoldrine-render: warning: <text>"
    void warning(const std::string& text);
    // "fenwoldrine-render: <text>", unless quiet.
    void note(const std::string& text);
    // "fenwoldrine-render: <text>", always: the failure the command ends with.
    void error(const std::string& text);

    bool quiet() const { return silent; }
    std::FILE* stream() const { return out; }
    int warningCount() const { return warnings; }

private:
    void line(const char* kind, const std::string& text);

    std::FILE* out;
    bool silent;
    int warnings = 0;
};

// text with control characters (C0, DEL, C1) and bytes that are not UTF-8
// written as escapes, so it prints as one inert line.
std::string printable(std::string_view text);
