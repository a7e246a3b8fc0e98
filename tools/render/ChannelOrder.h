#pragma once
// Channel order of audio files against the effect's slots. Files interleave
// their channels in the conventional order (L R C LFE Ls Rs Lc Rc and its
// shorter forms); the effect's standard layouts name host channels in film
// order (L C R ...). The renderer hands the effect the standard slots with
// each host index replaced by the file position of the slot's label, so the
// effect reads and writes the file's channels directly.

#include <cstdint>
#include <string_view>
#include <vector>

#include "core/ChannelLayout.h"

// Labels of the channels of a file with 1..8 channels, in file order, using
// the effect's label words ("Left", "Center", "LFE", "Surr", "Mono", ...);
// empty for other counts.
std::vector<std::string_view> fileChannelLabels(int32_t channels);

// The effect's standard slots for the count with host indices that are file
// positions; empty for counts without a standard layout.
std::vector<ChannelSlot> fileChannelLayout(int32_t channels);
