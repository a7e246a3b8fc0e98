#pragma once
// A one-line progress bar on a terminal, redrawn in place only when the
// shown percentage moves.

#include <cstdint>
#include <cstdio>

class ProgressBar {
public:
    static constexpr double kMinimumSeconds = 5.0;  // shorter renders show no bar
    static constexpr int32_t kWidth = 40;

    // A bar over total units; draws nothing unless enabled.
    ProgressBar(std::FILE* stream, int64_t total, bool enabled);
    ~ProgressBar();

    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void update(int64_t done);
    // Draws 100% and ends the line.
    void finish();

    // Whether a render of this length should show a bar: stream is a
    // terminal, not quiet and longer than kMinimumSeconds.
    static bool wanted(std::FILE* stream, bool quiet, int64_t frames, double sampleRate);

private:
    void draw(int32_t percent);

    std::FILE* out;
    int64_t total;
    bool enabled;
    bool finished = false;
    int32_t shown = -1;
};
