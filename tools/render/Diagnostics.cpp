#include "tools/render/Diagnostics.h"

#include <cstdint>

namespace {

void appendHex(std::string& out, uint8_t byte) {
    constexpr char kDigits[] = "0123456789abcdef";
    out += "\\x";
    out += kDigits[byte >> 4];
    out += kDigits[byte & 0xF];
}

// Length of the well-formed UTF-8 sequence starting text[at] (2 to 4), or 0.
size_t sequenceLength(std::string_view text, size_t at) {
    const uint8_t lead = uint8_t(text[at]);
    size_t n = 0;
    uint32_t code = 0;
    if (lead >= 0xC2 && lead <= 0xDF) {
        n = 2;
        code = lead & 0x1F;
    } else if (lead >= 0xE0 && lead <= 0xEF) {
        n = 3;
        code = lead & 0x0F;
    } else if (lead >= 0xF0 && lead <= 0xF4) {
        n = 4;
        code = lead & 0x07;
    } else {
        return 0;
    }
    if (at + n > text.size()) return 0;
    for (size_t k = 1; k < n; ++k) {
        const uint8_t b = uint8_t(text[at + k]);
        if ((b & 0xC0) != 0x80) return 0;
        code = (code << 6) | (b & 0x3F);
    }
    const bool overlong = (n == 3 && code < 0x800) || (n == 4 && code < 0x10000);
    const bool surrogate = code >= 0xD800 && code <= 0xDFFF;
    const bool c1 = code >= 0x80 && code <= 0x9F;  // terminals may act on these too
    if (overlong || surrogate || c1 || code > 0x10FFFF) return 0;
    return n;
}

}  // namespace

std::string printable(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t at = 0; at < text.size();) {
        const uint8_t byte = uint8_t(text[at]);
        if (byte >= 0x20 && byte < 0x7F) {
            out += char(byte);
            ++at;
            continue;
        }
        if (byte >= 0x80) {
            if (const size_t n = sequenceLength(text, at)) {
                out.append(text.substr(at, n));
                at += n;
                continue;
            }
        }
        switch (byte) {
            case '\n': out += "\\n"; break;
            case '\t': out += "\\t"; break;
            case '\r': out += "\\r"; break;
            default: appendHex(out, byte); break;
        }
        ++at;
    }
    return out;
}

void Diagnostics::line(const char* kind, const std::string& text) {
    if (out) std::fprintf(out, "%s: %s%s\n", kProgramName, kind, printable(text).c_str());
}

void Diagnostics::warning(const std::string& text) {
    ++warnings;
    line("warning: ", text);
}

void Diagnostics::note(const std::string& text) {
    if (!silent) line("", text);
}

void Diagnostics::error(const std::string& text) {
    line("", text);
}
