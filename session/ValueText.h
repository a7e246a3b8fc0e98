#pragma once
// Values typed as text, read the way the editor's text entry reads them, for
// every place that takes a value from a person (the editor's fields, the
// renderer's --set).
//
// A number may use a comma for the point. A "k" straight after the digits
// means thousands and stands for the point: "3k" is 3000, "1k5" is 1500,
// "2.5k" is 2500. Frequencies may also be written as notes: a letter a to g,
// an optional "#", the octave (which may be negative) and optional cents
// after "+" or "-": "a4" is 440 Hz, "c#5+20" is 20 cents above C#5.
// Whatever follows the number or note (a unit, say) is handed back for the
// caller to judge.

#include <optional>
#include <string_view>

struct ValueReading {
    double value = 0.0;       // the number, thousands and notes worked out
    std::string_view written;  // the text of the number or note itself
    std::string_view rest;     // what follows it, blanks trimmed
    bool kilo = false;         // a "k" multiplied it
    bool note = false;         // it was read as a note
};

// Reads a number, and for a frequency also a note, at the start of text
// (blanks around it ignored; a leading "+" allowed). Nothing when the text
// does not start with one or the number is not finite.
std::optional<ValueReading> readValueText(std::string_view text, bool frequency);

// The frequency of a note written as above: the whole text must be the note.
std::optional<double> noteFrequency(std::string_view text);

// What a value typed into a field asks for: a value in the units the field
// shows, the field's default, or nothing at all.
struct TypedValue {
    enum Kind { kValue, kDefault, kIgnored };
    Kind kind = kIgnored;
    double value = 0.0;
};

// Reads text typed into a value field. A number as readValueText reads it
// (and, in a frequency field, a note); a unit after it starting with "k"
// ("1.5 kHz") means thousands. Text that holds no number and no "0"
// (letters alone, or nothing) asks for the default; other unreadable text
// is ignored. In note mode only a note is taken: text without one is
// ignored.
TypedValue readTypedValue(std::string_view text, bool frequency, bool noteMode);
