#pragma once
// Messages for the user from any thread (a file that could not be read or
// written), queued here and shown by whichever editor's idle comes first, or
// by a command-line host on its error stream. Failed file access is the one
// thing the effect reports to a person.

#include <mutex>
#include <string>
#include <utility>
#include <vector>

class Alerts {
public:
    struct Alert {
        std::string title;
        std::string text;
    };

    static Alerts& instance();

    // Any thread: appends one message.
    void push(const std::string& title, const std::string& text);
    // Takes every queued message, oldest first, leaving the queue empty.
    std::vector<Alert> takeAll();
    bool empty();

private:
    std::mutex queueLock;
    std::vector<Alert> queue;
};

// Queues the file access message for `path`. A mode with "w" speaks of
// writing and saving, any other of reading and loading. Unless `force` is
// set, only the first such message of the process is queued.
void fileAccessAlert(const std::string& path, const char* mode, bool force);
