#include "tools/render/ParamDisplay.h"

#include <cmath>

#include "core/Plug.h"

const char* ChoiceWords::wordFor(int32_t real) const {
    const int32_t k = real - first;
    return (words && k >= 0 && k < count) ? words[k] : nullptr;
}

ChoiceWords choiceWordsOf(Plug& fx, int32_t index) {
    ChoiceWords c;
    if (bandFieldOf(index) == kFieldSubtype) {
        const int32_t band = bandIndexOf(index);
        const int32_t type = int32_t(fx.getRealValue(bandParam(band, kFieldType)));
        c.words = subtypeNames(engineTypeOf(type), &c.count);
        c.first = 1;
        if (!c.words) c.count = 0;
        return c;
    }
    c.words = choiceWords(index, &c.count, &c.first);
    if (!c.words) c.count = 0;
    return c;
}

std::string shownUnit(Plug& fx, int32_t index) {
    const ParamRow* row = fx.getRow(index);
    if (!row) return {};
    char label[kParamTextSize] = {};
    fx.getParameterLabel(index, label);
    if (label[0]) return label;
    if (!choiceWordsOf(fx, index).empty() || bandFieldOf(index) == kFieldSubtype) return {};
    return row->unit;
}

double realValueAt(Plug& fx, int32_t index, double norm) {
    const ParamRow* row = fx.getRow(index);
    return row ? curveToReal(*row, norm) : 0.0;
}

std::string shownValue(Plug& fx, int32_t index, double norm) {
    const ChoiceWords choices = choiceWordsOf(fx, index);
    if (!choices.empty()) {
        const double real = realValueAt(fx, index, norm);
        if (const char* word = choices.wordFor(int32_t(std::floor(real + 0.5)))) return word;
    }
    char text[kParamTextSize] = {};
    fx.formatParameter(index, float(norm), text, false);
    std::string shown(text);
    while (!shown.empty() && shown.back() == ' ') shown.pop_back();
    if (isChannelLevel(index) && shown != "-") shown += " dB";
    return shown;
}
