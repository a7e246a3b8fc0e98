#pragma once
// How the renderer shows parameter values to the user: through the effect's
// own formatting, with choice rows shown by their words. Shared by the
// parameter listing and the messages of --set.

#include <cstdint>
#include <string>

class Plug;

// The words a row's values can be given as. For most choice rows these are
// the effect's choice words, word k standing for real value first + k; for a
// band's Subtype they are the subtype names of the band's current Type,
// starting at 1. Empty (count 0) for continuous rows.
struct ChoiceWords {
    const char* const* words = nullptr;
    int32_t count = 0;
    int32_t first = 0;

    bool empty() const { return count == 0 || words == nullptr; }
    // The word for a real value, or nullptr.
    const char* wordFor(int32_t real) const;
};

ChoiceWords choiceWordsOf(Plug& fx, int32_t index);

// The unit a row's value is shown in: "dB", "Hz", "%", "Q", "samples"; empty
// for choices and plain numbers.
std::string shownUnit(Plug& fx, int32_t index);

// The value at norm as shown: the choice word when there is one for it, else
// the effect's formatting (channel levels carry " dB"; "-" is silence).
std::string shownValue(Plug& fx, int32_t index, double norm);

// The real value a row has at norm, on its curve.
double realValueAt(Plug& fx, int32_t index, double norm);
