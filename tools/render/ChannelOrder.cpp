#include "tools/render/ChannelOrder.h"

#include <algorithm>

namespace {

// Conventional interleaving of each channel count, index = count - 1.
const std::vector<std::vector<std::string_view>>& fileOrders() {
    static const std::vector<std::vector<std::string_view>> orders = {
        {"Mono"},
        {"Left", "Right"},
        {"Left", "Right", "Center"},
        {"Left", "Right", "Center", "Surr"},
        {"Left", "Right", "Center", "Ls", "Rs"},
        {"Left", "Right", "Center", "LFE", "Ls", "Rs"},
        {"Left", "Right", "Center", "Ls", "Rs", "Lc", "Rc"},
        {"Left", "Right", "Center", "LFE", "Ls", "Rs", "Lc", "Rc"},
    };
    return orders;
}

}  // namespace

std::vector<std::string_view> fileChannelLabels(int32_t channels) {
    if (channels < 1 || channels > int32_t(fileOrders().size())) return {};
    return fileOrders()[size_t(channels - 1)];
}

std::vector<ChannelSlot> fileChannelLayout(int32_t channels) {
    const std::vector<std::string_view> labels = fileChannelLabels(channels);
    std::vector<ChannelSlot> slots = standardChannelLayout(channels);
    if (labels.empty() || slots.size() != labels.size()) return {};
    for (ChannelSlot& slot : slots) {
        const auto at = std::find(labels.begin(), labels.end(), std::string_view(slot.label ? slot.label : ""));
        if (at == labels.end()) return {};  // a layout this table does not know
        slot.hostIndex = int32_t(at - labels.begin());
    }
    return slots;
}
