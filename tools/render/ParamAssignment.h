#pragma once
// --set NAME=VALUE: finds a parameter by the name the host sees and turns a
// value written the way the effect shows it into the normalised value the
// effect takes.
//
// Names match without regard to case or surrounding blanks. Values are
// numbers in the unit shown (band gains in dB after Scale, band frequencies
// in Hz after Shift, channel levels in dB), optionally followed by that unit
// ("dB", "Hz", "kHz", "%", "Q", "samples"), or one of the row's choice words
// in any case; choice rows also take their real value as a whole number.
// Numbers are read as the editor's text entry reads them (session/ValueText):
// "2,5" is 2.5, "3k" is 3000, "1k5" is 1500, and frequencies may be notes
// ("a4" is 440 Hz, "c#5+20" twenty cents above C#5).
// Values outside the range shown are clamped, with a warning.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class Plug;

struct ParsedValue {
    float norm = 0.0f;
    std::string warning;  // set when the value was clamped into the range
};

class ParamAssignment {
public:
    explicit ParamAssignment(Plug& effect);

    // Index of the parameter with this name, or -1.
    int32_t findParameter(std::string_view name) const;
    // Up to count names nearest to name by case-insensitive edit distance,
    // nearest first (ties in index order).
    std::vector<std::string> nearestNames(std::string_view name, size_t count) const;
    // The normalised value for a value text of parameter index, read in the
    // effect's present state (Scale, Shift, the band's Type). Throws a usage
    // error when the text is not a value of the parameter.
    ParsedValue parseValue(int32_t index, std::string_view text) const;
    // Parses "NAME=VALUE" and sets the parameter on the effect. Returns the
    // clamping warning, or an empty text. Throws a usage error for an unknown
    // name (with suggestions) or a bad value.
    std::string apply(std::string_view assignment);

    const std::string& nameOf(int32_t index) const { return names[size_t(index)]; }

private:
    double unitFactor(int32_t index, std::string_view unit) const;
    std::string expectation(int32_t index) const;

    Plug& fx;
    std::vector<std::string> names;
};

// Levenshtein distance between two texts, ignoring ASCII case.
size_t editDistance(std::string_view a, std::string_view b);
