#include "session/ValueText.h"

#include <cctype>
#include <charconv>
#include <cmath>
#include <string>

namespace {

constexpr double kKilo = 1000.0;
constexpr double kConcertA = 440.0;
constexpr int kConcertOctave = 4;

bool isBlank(char c) {
    return std::isspace(static_cast<unsigned char>(c)) != 0;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

std::string_view trim(std::string_view s) {
    while (!s.empty() && isBlank(s.front())) s.remove_prefix(1);
    while (!s.empty() && isBlank(s.back())) s.remove_suffix(1);
    return s;
}

// Reads a double from the whole of text; nothing if any of it is left over.
std::optional<double> wholeNumber(std::string_view text) {
    double x = 0.0;
    const auto [stop, ec] = std::from_chars(text.data(), text.data() + text.size(), x);
    if (ec != std::errc() || stop != text.data() + text.size() || text.empty()) return std::nullopt;
    return x;
}

// Semitones above A of the same octave number, for the letters a to g.
int semitonesFromA(char letter) {
    constexpr int kSemitones[] = {0, 2, 3, 5, 7, 8, 10};
    return kSemitones[letter - 'a'];
}

struct NoteText {
    double hz = 0.0;
    size_t length = 0;  // characters the note takes
};

// A note at the start of text.
std::optional<NoteText> readNote(std::string_view text) {
    size_t at = 0;
    if (text.empty()) return std::nullopt;
    const char letter = char(std::tolower(static_cast<unsigned char>(text[0])));
    if (letter < 'a' || letter > 'g') return std::nullopt;
    ++at;
    int sharp = 0;
    if (at < text.size() && text[at] == '#') {
        sharp = 1;
        ++at;
    }
    bool below = false;
    if (at < text.size() && text[at] == '-') {
        below = true;
        ++at;
    }
    const size_t octaveStart = at;
    while (at < text.size() && isDigit(text[at])) ++at;
    if (at == octaveStart || at - octaveStart > 2) return std::nullopt;
    int octave = 0;
    std::from_chars(text.data() + octaveStart, text.data() + at, octave);
    if (below) octave = -octave;
    // The octave number changes at C: c to g lie below the A of their octave number.
    if (letter >= 'c') --octave;

    double cents = 0.0;
    if (at < text.size() && (text[at] == '+' || text[at] == '-')) {
        const bool down = text[at] == '-';
        size_t end = at + 1;
        while (end < text.size() && (isDigit(text[end]) || text[end] == '.')) ++end;
        const std::optional<double> c = wholeNumber(text.substr(at + 1, end - at - 1));
        if (!c) return std::nullopt;
        cents = down ? -*c : *c;
        at = end;
    }
    const double hz = kConcertA * std::exp2(double(semitonesFromA(letter) + sharp) / 12.0 + cents / 1200.0 +
                                            double(octave - kConcertOctave));
    if (!std::isfinite(hz)) return std::nullopt;
    return NoteText{hz, at};
}

}  // namespace

std::optional<double> noteFrequency(std::string_view text) {
    const std::optional<NoteText> n = readNote(trim(text));
    if (!n || n->length != trim(text).size()) return std::nullopt;
    return n->hz;
}

std::optional<ValueReading> readValueText(std::string_view raw, bool frequency) {
    const std::string_view text = trim(raw);
    ValueReading reading;
    if (frequency) {
        if (const std::optional<NoteText> n = readNote(text)) {
            reading.value = n->hz;
            reading.written = text.substr(0, n->length);
            reading.rest = trim(text.substr(n->length));
            reading.note = true;
            return reading;
        }
    }

    size_t start = 0;
    if (!text.empty() && text[0] == '+') start = 1;
    // The same text with commas as points: positions stay those of the original.
    std::string number(text.substr(start));
    for (char& c : number)
        if (c == ',') c = '.';

    double x = 0.0;
    const char* begin = number.data();
    const char* end = begin + number.size();
    const auto [stop, ec] = std::from_chars(begin, end, x);
    if (ec != std::errc() || stop == begin) return std::nullopt;
    size_t used = size_t(stop - begin);

    if (used < number.size() && (number[used] == 'k' || number[used] == 'K')) {
        const std::string_view digits(begin, used);
        const bool plain = digits.find_first_of(".eE") == std::string_view::npos;
        size_t after = used + 1;
        // "1k5": the k is the point.
        if (plain && after < number.size() && isDigit(number[after])) {
            while (after < number.size() && isDigit(number[after])) ++after;
            const std::optional<double> joined =
                wholeNumber(std::string(digits) + "." + number.substr(used + 1, after - used - 1));
            if (!joined) return std::nullopt;
            x = *joined;
        }
        x *= kKilo;
        used = after;
        reading.kilo = true;
    }
    if (!std::isfinite(x)) return std::nullopt;
    reading.value = x;
    reading.written = text.substr(start, used);
    reading.rest = trim(text.substr(start + used));
    return reading;
}

TypedValue readTypedValue(std::string_view text, bool frequency, bool noteMode) {
    const std::optional<ValueReading> reading = readValueText(text, frequency || noteMode);
    if (noteMode) {
        if (!reading || !reading->note) return {};
        return {TypedValue::kValue, reading->value};
    }
    if (!reading) {
        if (text.find('0') != std::string_view::npos) return {};
        return {TypedValue::kDefault, 0.0};
    }
    double value = reading->value;
    if (frequency && !reading->kilo && !reading->note && !reading->rest.empty() &&
        (reading->rest[0] == 'k' || reading->rest[0] == 'K'))
        value *= kKilo;
    return {TypedValue::kValue, value};
}
