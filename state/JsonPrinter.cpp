#include "state/JsonPrinter.h"

#include <cjson/cJSON.h>

#include <charconv>
#include <climits>
#include <cmath>
#include <cstddef>

namespace {

constexpr double kEpsilon = 2.220446049250313e-16;

// std::to_chars formats exactly as printf does in the "C" locale, whatever
// locale the host application has installed, so a ',' decimal separator can
// never leak into saved state.
std::string formatDouble(double value, std::chars_format format, int precision) {
    char buffer[400];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value, format, precision);
    if (result.ec != std::errc()) return "null";
    return std::string(buffer, result.ptr);
}

std::string formatInt(int value) {
    char buffer[16];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    return std::string(buffer, result.ptr);
}

void appendEscaped(std::string& out, const char* text) {
    static constexpr char hexDigits[] = "0123456789abcdef";

    out += '"';
    if (text != nullptr) {
        for (const char* p = text; *p != '\0'; ++p) {
            const auto c = static_cast<unsigned char>(*p);
            switch (c) {
                case '"':
                    out += "\\\"";
                    break;
                case '\\':
                    out += "\\\\";
                    break;
                case '\b':
                    out += "\\b";
                    break;
                case '\f':
                    out += "\\f";
                    break;
                case '\n':
                    out += "\\n";
                    break;
                case '\r':
                    out += "\\r";
                    break;
                case '\t':
                    out += "\\t";
                    break;
                default:
                    if (c < 0x20) {
                        out += "\\u00";
                        out += hexDigits[c >> 4];
                        out += hexDigits[c & 0x0f];
                    } else {
                        // Bytes from 0x20 up, including UTF-8 sequences, go out as they are.
                        out += static_cast<char>(c);
                    }
                    break;
            }
        }
    }
    out += '"';
}

void appendIndent(std::string& out, std::size_t depth) {
    out.append(depth, '\t');
}

bool appendValue(std::string& out, const cJSON* item, std::size_t depth, bool formatted);

bool appendArray(std::string& out, const cJSON* item, std::size_t depth, bool formatted) {
    out += '[';
    for (const cJSON* child = item->child; child != nullptr; child = child->next) {
        if (!appendValue(out, child, depth + 1, formatted)) return false;
        if (child->next != nullptr) out += formatted ? ", " : ",";
    }
    out += ']';
    return true;
}

bool appendObject(std::string& out, const cJSON* item, std::size_t depth, bool formatted) {
    const std::size_t innerDepth = depth + 1;

    out += '{';
    if (formatted) out += '\n';

    for (const cJSON* child = item->child; child != nullptr; child = child->next) {
        if (formatted) appendIndent(out, innerDepth);

        appendEscaped(out, child->string);
        out += ':';
        if (formatted) out += '\t';

        if (!appendValue(out, child, innerDepth, formatted)) return false;

        if (child->next != nullptr) out += ',';
        if (formatted) out += '\n';
    }

    if (formatted) appendIndent(out, depth);
    out += '}';
    return true;
}

// Returns false for a tree that cannot be printed (an item of unknown type or
// raw text that is missing), so the caller can give up on the whole tree.
bool appendValue(std::string& out, const cJSON* item, std::size_t depth, bool formatted) {
    switch (item->type & 0xff) {
        case cJSON_NULL:
            out += "null";
            return true;
        case cJSON_False:
            out += "false";
            return true;
        case cJSON_True:
            out += "true";
            return true;
        case cJSON_Number:
            out += printJsonNumber(item->valuedouble);
            return true;
        case cJSON_String:
            appendEscaped(out, item->valuestring);
            return true;
        case cJSON_Raw:
            if (item->valuestring == nullptr) return false;
            out += item->valuestring;
            return true;
        case cJSON_Array:
            return appendArray(out, item, depth, formatted);
        case cJSON_Object:
            return appendObject(out, item, depth, formatted);
        default:
            return false;
    }
}

}  // namespace

std::string printJsonNumber(double value) {
    if (std::isnan(value) || std::isinf(value)) return "null";

    if (value == 0.0) return "0";

    const double magnitude = std::fabs(value);

    if (value >= static_cast<double>(INT_MIN) && value <= static_cast<double>(INT_MAX)) {
        const int integer = static_cast<int>(value);
        if (std::fabs(static_cast<double>(integer) - value) <= kEpsilon) return formatInt(integer);
    }

    if (std::fabs(std::floor(value) - value) <= kEpsilon && magnitude < 1.0e60)
        return formatDouble(value, std::chars_format::fixed, 0);

    if (magnitude < 1.0e-6 || magnitude > 1.0e9) return formatDouble(value, std::chars_format::scientific, 6);

    return formatDouble(value, std::chars_format::fixed, 10);
}

std::string printJson(const cJSON* item, bool formatted) {
    if (item == nullptr) return {};

    std::string out;
    if (!appendValue(out, item, 0, formatted)) return {};
    return out;
}
