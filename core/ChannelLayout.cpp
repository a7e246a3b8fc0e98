#include "core/ChannelLayout.h"

#include <cstddef>

namespace {

constexpr ChannelSlot kMono[] = {{0, "Mono", "Mono"}};
constexpr ChannelSlot kStereo[] = {{0, "Left", "Mid"}, {1, "Right", "Side"}};
constexpr ChannelSlot kLCR[] = {{0, "Left", "Mid"}, {2, "Right", "Side"}, {1, "Center", "Center"}};
constexpr ChannelSlot kLCRS[] = {{0, "Left", "Mid"}, {2, "Right", "Side"}, {1, "Center", "Center"},
                                 {3, "Surr", "Surr"}};
constexpr ChannelSlot k50[] = {{0, "Left", "Mid"}, {2, "Right", "Side"}, {3, "Ls", "Mid s"},
                               {4, "Rs", "Side s"}, {1, "Center", "Center"}};
constexpr ChannelSlot k51[] = {{0, "Left", "Mid"},     {2, "Right", "Side"},     {3, "Ls", "Mid s"},
                               {4, "Rs", "Side s"},     {1, "Center", "Center"}, {5, "LFE", "LFE"}};
constexpr ChannelSlot k70[] = {{0, "Left", "Mid"},  {2, "Right", "Side"},  {3, "Ls", "Mid s"},
                               {4, "Rs", "Side s"}, {5, "Lc", "Mid c"},    {6, "Rc", "Side c"},
                               {1, "Center", "Center"}};
constexpr ChannelSlot k71[] = {{0, "Left", "Mid"},  {2, "Right", "Side"}, {3, "Ls", "Mid s"},
                               {4, "Rs", "Side s"}, {5, "Lc", "Mid c"},   {6, "Rc", "Side c"},
                               {1, "Center", "Center"}, {7, "LFE", "LFE"}};

template <size_t N>
std::vector<ChannelSlot> listOf(const ChannelSlot (&slots)[N]) {
    return std::vector<ChannelSlot>(slots, slots + N);
}

}  // namespace

std::vector<ChannelSlot> standardChannelLayout(int32_t channels) {
    switch (channels) {
        case 1: return listOf(kMono);
        case 2: return listOf(kStereo);
        case 3: return listOf(kLCR);
        case 4: return listOf(kLCRS);
        case 5: return listOf(k50);
        case 6: return listOf(k51);
        case 7: return listOf(k70);
        case 8: return listOf(k71);
        default: return {};
    }
}

const char* channelLayoutName(int32_t channels) {
    static constexpr const char* kNames[] = {"mono", "stereo", "lcr", "lcrs", "5.0", "5.1", "7.0", "7.1"};
    return (channels >= 1 && channels <= 8) ? kNames[channels - 1] : nullptr;
}
