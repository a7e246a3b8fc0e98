#include "formats/lv2/ttl/TurtleText.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <limits>

namespace lv2ttl {

std::string turtleDecimal(float value, bool* replaced) {
    bool changed = false;
    if (std::isnan(value)) {
        value = 0.0f;
        changed = true;
    } else if (std::isinf(value)) {
        value = std::copysign(std::numeric_limits<float>::max(), value);
        changed = true;
    }
    if (value == 0.0f) value = 0.0f;  // no "-0.0"
    if (replaced) *replaced = changed;

    // to_chars never looks at the locale; fixed notation with the shortest
    // round-trip digits is at most 39 digits before the point for a float,
    // and 45 after it for the smallest subnormal.
    char digits[96];
    const auto result = std::to_chars(digits, digits + sizeof digits, value, std::chars_format::fixed);
    std::string text(digits, result.ptr);
    if (text.find('.') == std::string::npos) text.append(".0");
    return text;
}

std::string turtleString(std::string_view text) {
    std::string quoted;
    quoted.reserve(text.size() + 2);
    quoted.push_back('"');
    for (const char c : text) {
        switch (c) {
            case '"': quoted.append("\\\""); break;
            case '\\': quoted.append("\\\\"); break;
            case '\n': quoted.append("\\n"); break;
            case '\r': quoted.append("\\r"); break;
            case '\t': quoted.append("\\t"); break;
            default:
                if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) {
                    char escape[8];
                    std::snprintf(escape, sizeof escape, "\\u%04X", unsigned(static_cast<unsigned char>(c)));
                    quoted.append(escape);
                } else {
                    quoted.push_back(c);  // UTF-8 passes through as it is
                }
        }
    }
    quoted.push_back('"');
    return quoted;
}

TurtleText& TurtleText::operator<<(int value) {
    char digits[16];
    const auto result = std::to_chars(digits, digits + sizeof digits, value);
    out.append(digits, result.ptr);
    return *this;
}

}  // namespace lv2ttl
