#pragma once
// Literals for the generated Turtle: numbers that read back as the exact
// float they came from whatever the locale, and quoted strings.

#include <string>
#include <string_view>

namespace lv2ttl {

// A float as a Turtle decimal: the shortest digits that read back as the
// same float, in plain notation, always with a '.' ("20000.0", "-0.5",
// "0.707"). A value that no decimal can hold becomes the nearest one that
// can (NaN 0.0, an infinity the largest finite float of its sign) and sets
// *replaced; otherwise *replaced is cleared.
std::string turtleDecimal(float value, bool* replaced = nullptr);

// A string as a quoted Turtle literal, with the characters the grammar
// does not take bare escaped.
std::string turtleString(std::string_view text);

// Appends to a string piece by piece.
class TurtleText {
public:
    TurtleText& operator<<(std::string_view text) {
        out.append(text);
        return *this;
    }
    TurtleText& operator<<(char c) {
        out.push_back(c);
        return *this;
    }
    TurtleText& operator<<(int value);

    const std::string& str() const { return out; }
    std::string take() { return std::move(out); }

private:
    std::string out;
};

}  // namespace lv2ttl
