#pragma once
// Channel slots in the effect's own order: pairs first, so that slots 2p and
// 2p+1 are always a true left and right whatever order the host uses.

#include <cstdint>
#include <vector>

struct ChannelSlot {
    int32_t hostIndex;
    const char* label;    // plain label: "Left", "Center", ...
    const char* msLabel;  // label while the pair is coded as mid and side
};

// The slot table of a standard layout for 1..8 channels, with host indices in
// the film order of the host format (L C R ...); empty for other counts.
std::vector<ChannelSlot> standardChannelLayout(int32_t channels);

// Name of the standard layout for a channel count ("mono", "stereo", "lcr",
// "lcrs", "5.0", "5.1", "7.0", "7.1"), or nullptr.
const char* channelLayoutName(int32_t channels);
