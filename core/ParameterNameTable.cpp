#include "core/ParameterNameTable.h"

#include <cstdlib>
#include <cstring>

#include "core/ParamEnum.h"

#define FW_TEXT_ITEM(name) #name ","
#define FW_TEXT_ITEM_AT(name, value) #name "=" #value ","
const char* const kParameterEnumText = FW_PARAMETER_LIST(FW_TEXT_ITEM, FW_TEXT_ITEM_AT);
#undef FW_TEXT_ITEM
#undef FW_TEXT_ITEM_AT

namespace {
constexpr size_t kMaxNameLength = 255;
}

const ParameterNameTable& ParameterNameTable::instance() {
    static const ParameterNameTable table(kParameterEnumText);
    return table;
}

ParameterNameTable::ParameterNameTable(const char* text) {
    int32_t running = -1;
    const char* p = text ? text : "";
    while (*p) {
        const char* end = std::strchr(p, ',');
        if (!end) end = p + std::strlen(p);
        const std::string item(p, end);
        p = *end ? end + 1 : end;

        // The name is the first run of characters above the blank.
        size_t start = 0;
        while (start < item.size() && uint8_t(item[start]) <= ' ') ++start;
        size_t stop = start;
        while (stop < item.size() && uint8_t(item[stop]) > ' ' && item[stop] != '=' &&
               stop - start < kMaxNameLength)
            ++stop;
        if (stop == start) continue;  // an empty item, such as after a trailing comma

        const size_t eq = item.find('=');
        running = eq != std::string::npos ? int32_t(std::strtol(item.c_str() + eq + 1, nullptr, 10)) : running + 1;
        names.emplace_back(item.substr(start, stop - start));
        values.push_back(running);
    }
}

int32_t ParameterNameTable::positionOf(int32_t value) const {
    for (size_t k = 0; k < values.size(); ++k)
        if (values[k] == value) return int32_t(k);
    return -1;
}

const char* ParameterNameTable::nameOf(int32_t value) const {
    const int32_t k = positionOf(value);
    return k < 0 ? nullptr : names[size_t(k)].c_str();
}

int32_t ParameterNameTable::valueOf(const char* name) const {
    if (!name) return -1;
    for (size_t k = 0; k < names.size(); ++k)
        if (names[k] == name) return values[k];
    return -1;
}
