#include "tools/render/Progress.h"

#include <unistd.h>

#include <algorithm>

#include "tools/render/Diagnostics.h"

ProgressBar::ProgressBar(std::FILE* stream, int64_t totalUnits, bool on)
    : out(stream), total(std::max<int64_t>(totalUnits, 1)), enabled(on && stream != nullptr) {}

ProgressBar::~ProgressBar() {
    // A render that stopped early leaves the bar where it was and ends its line.
    if (enabled && !finished && shown >= 0) std::fputc('\n', out);
}

bool ProgressBar::wanted(std::FILE* stream, bool quiet, int64_t frames, double sampleRate) {
    if (quiet || !stream || sampleRate <= 0.0) return false;
    if (double(frames) <= kMinimumSeconds * sampleRate) return false;
    return isatty(fileno(stream)) != 0;
}

void ProgressBar::update(int64_t done) {
    if (!enabled || finished) return;
    const int32_t percent = int32_t(std::clamp<int64_t>(done * 100 / total, 0, 100));
    if (percent != shown) draw(percent);
}

void ProgressBar::finish() {
    if (!enabled || finished) return;
    if (shown != 100) draw(100);
    std::fputc('\n', out);
    std::fflush(out);
    finished = true;
}

void ProgressBar::draw(int32_t percent) {
    shown = percent;
    const int32_t filled = percent * kWidth / 100;
    char bar[kWidth + 1];
    for (int32_t k = 0; k < kWidth; ++k) bar[k] = k < filled ? '#' : '.';
    bar[kWidth] = 0;
    std::fprintf(out, "\r%s: [%s] %3d%%", kProgramName, bar, percent);
    std::fflush(out);
}
