#include "formats/lv2/PortLayout.h"

#include <cctype>
#include <cstring>

#include "core/ChannelLayout.h"
#include "core/ParamTable.h"

namespace lv2ports {

std::string pluginUri(int32_t channels) {
    const char* name = channelLayoutName(channels);
    if (!name) return {};
    std::string uri = kUriPrefix;
    uri.append(name);
    return uri;
}

int32_t channelsOfUri(const char* uri) {
    if (!uri) return 0;
    for (int32_t channels = 1; channels <= kLayoutCount; ++channels) {
        if (pluginUri(channels) == uri) return channels;
    }
    return 0;
}

std::string parameterSymbol(int32_t index) {
    if (!isParamIndex(index)) return {};
    const char* name = staticParamTable()[index].name;
    std::string symbol;
    bool gap = false;
    for (const char* p = name; *p; ++p) {
        const auto c = static_cast<unsigned char>(*p);
        if (std::isalnum(c)) {
            if (gap && !symbol.empty()) symbol.push_back('_');
            symbol.push_back(static_cast<char>(std::tolower(c)));
            gap = false;
        } else {
            gap = true;
        }
    }
    // A symbol may not start with a digit.
    if (symbol.empty() || std::isdigit(static_cast<unsigned char>(symbol[0]))) symbol.insert(0, "p_");
    return symbol;
}

}  // namespace lv2ports
