#include "state/JsonPrinter.h"

#include <cjson/cJSON.h>

#include <charconv>
#include <climits>
#include <cmath>
#include <cstddef>
#include <string_view>

namespace {

constexpr double kEpsilon = 2.220446049250313e-16;

// The text of a number is written into a buffer this large, and appended
// from there: a state document holds thousands of numbers.
constexpr std::size_t kNumberText = 400;

// std::to_chars formats exactly as printf does in the "C" locale, whatever
// locale the host application has installed, so a ',' decimal separator can
// never leak into saved state. Returns the text's length.
std::size_t formatDouble(char* buffer, double value, std::chars_format format, int precision) {
    const auto result = std::to_chars(buffer, buffer + kNumberText, value, format, precision);
    if (result.ec != std::errc()) return std::string_view("null").copy(buffer, 4);
    return std::size_t(result.ptr - buffer);
}

std::size_t formatInt(char* buffer, int value) {
    return std::size_t(std::to_chars(buffer, buffer + kNumberText, value).ptr - buffer);
}

std::size_t numberText(char* buffer, double value) {
    if (std::isnan(value) || std::isinf(value)) return std::string_view("null").copy(buffer, 4);

    if (value == 0.0) return std::string_view("0").copy(buffer, 1);

    const double magnitude = std::fabs(value);

    if (value >= static_cast<double>(INT_MIN) && value <= static_cast<double>(INT_MAX)) {
        const int integer = static_cast<int>(value);
        if (std::fabs(static_cast<double>(integer) - value) <= kEpsilon) return formatInt(buffer, integer);
    }

    if (std::fabs(std::floor(value) - value) <= kEpsilon && magnitude < 1.0e60)
        return formatDouble(buffer, value, std::chars_format::fixed, 0);

    if (magnitude < 1.0e-6 || magnitude > 1.0e9) return formatDouble(buffer, value, std::chars_format::scientific, 6);

    return formatDouble(buffer, value, std::chars_format::fixed, 10);
}

void appendEscaped(std::string& out, const char* text) {
    static constexpr char hexDigits[] = "0123456789abcdef";

    out += '"';
    if (text != nullptr) {
        for (const char* p = text; *p != '\0'; ++p) {
            // A run of bytes that go out as they are, in one piece.
            const char* run = p;
            while (static_cast<unsigned char>(*run) >= 0x20 && *run != '"' && *run != '\\') ++run;
            if (run != p) {
                out.append(p, std::size_t(run - p));
                p = run;
                if (*p == '\0') break;
            }
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
        case cJSON_Number: {
            char buffer[kNumberText];
            out.append(buffer, numberText(buffer, item->valuedouble));
            return true;
        }
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
    char buffer[kNumberText];
    return std::string(buffer, numberText(buffer, value));
}

std::string printJson(const cJSON* item, bool formatted) {
    if (item == nullptr) return {};

    std::string out;
    if (!appendValue(out, item, 0, formatted)) return {};
    return out;
}
