#include "tools/render/ParamAssignment.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <numeric>
#include <optional>

#include "core/Plug.h"
#include "session/ValueText.h"
#include "tools/render/ParamDisplay.h"
#include "tools/render/RenderError.h"

namespace {

constexpr size_t kSuggestions = 3;
constexpr double kKilo = 1000.0;
// Relative slack on range checks: the table stores its limits as floats.
constexpr double kRangeSlack = 1e-6;

std::string_view trim(std::string_view s) {
    while (!s.empty() && std::isspace(uint8_t(s.front()))) s.remove_prefix(1);
    while (!s.empty() && std::isspace(uint8_t(s.back()))) s.remove_suffix(1);
    return s;
}

char lower(char c) {
    return char(std::tolower(uint8_t(c)));
}

bool sameText(std::string_view a, std::string_view b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return lower(x) == lower(y);
           });
}

// Position of text among the words, or -1.
int32_t wordIndex(const ChoiceWords& choices, std::string_view text) {
    for (int32_t k = 0; k < choices.count; ++k)
        if (sameText(choices.words[k], text)) return k;
    return -1;
}

bool isWholeNumberRow(const ParamRow& row) {
    return row.curve == kCurveInt || row.curve == kCurveBool;
}

std::string quoted(std::string_view s) {
    std::string q(1, '\'');
    q.append(s);
    q.push_back('\'');
    return q;
}

}  // namespace

size_t editDistance(std::string_view a, std::string_view b) {
    std::vector<size_t> previous(b.size() + 1), current(b.size() + 1);
    std::iota(previous.begin(), previous.end(), size_t(0));
    for (size_t i = 1; i <= a.size(); ++i) {
        current[0] = i;
        for (size_t j = 1; j <= b.size(); ++j) {
            const size_t substitute = previous[j - 1] + (lower(a[i - 1]) == lower(b[j - 1]) ? 0 : 1);
            current[j] = std::min({previous[j] + 1, current[j - 1] + 1, substitute});
        }
        std::swap(previous, current);
    }
    return previous[b.size()];
}

ParamAssignment::ParamAssignment(Plug& effect) : fx(effect) {
    names.reserve(kNumParams);
    for (int32_t i = 0; i < kNumParams; ++i) {
        char text[kParamTextSize] = {};
        fx.getParameterName(i, text);
        names.emplace_back(text);
    }
}

int32_t ParamAssignment::findParameter(std::string_view name) const {
    const std::string_view wanted = trim(name);
    for (size_t i = 0; i < names.size(); ++i)
        if (sameText(names[i], wanted)) return int32_t(i);
    return -1;
}

std::vector<std::string> ParamAssignment::nearestNames(std::string_view name, size_t count) const {
    const std::string_view wanted = trim(name);
    std::vector<std::pair<size_t, size_t>> ranked;  // (distance, index)
    ranked.reserve(names.size());
    for (size_t i = 0; i < names.size(); ++i) ranked.emplace_back(editDistance(wanted, names[i]), i);
    const size_t n = std::min(count, ranked.size());
    std::partial_sort(ranked.begin(), ranked.begin() + std::ptrdiff_t(n), ranked.end());
    std::vector<std::string> nearest;
    for (size_t k = 0; k < n; ++k) nearest.push_back(names[ranked[k].second]);
    return nearest;
}

double ParamAssignment::unitFactor(int32_t index, std::string_view unit) const {
    if (unit.empty()) return 1.0;
    const std::string shown = shownUnit(fx, index);
    if (!shown.empty() && sameText(unit, shown)) return 1.0;
    if (shown == "Hz" && sameText(unit, "kHz")) return kKilo;
    throw usageError(nameOf(index) + " does not take " + quoted(unit) +
                     (shown.empty() ? std::string(" (it has no unit)") : " (its unit is " + shown + ")"));
}

std::string ParamAssignment::expectation(int32_t index) const {
    const ChoiceWords choices = choiceWordsOf(fx, index);
    if (choices.empty()) {
        const std::string unit = shownUnit(fx, index);
        if (isChannelLevel(index)) return "give decibels, or - for silence";
        return unit.empty() ? "give a number" : "give a number in " + unit;
    }
    std::string list;
    if (bandFieldOf(index) == kFieldSubtype) {
        // The names depend on the band's Type; say which Type they belong to.
        const int32_t type = bandParam(bandIndexOf(index), kFieldType);
        list = "a subtype of " + shownValue(fx, type, fx.getParameter(type)) + ": ";
    }
    for (int32_t k = 0; k < choices.count; ++k) {
        if (k) list += ", ";
        list += choices.words[k];
    }
    return "choose " + list + ", or a whole number";
}

ParsedValue ParamAssignment::parseValue(int32_t index, std::string_view raw) const {
    const ParamRow* row = fx.getRow(index);
    if (!row) throw usageError("no parameter has index " + std::to_string(index));
    const std::string& name = nameOf(index);
    const std::string_view text = trim(raw);
    if (text.empty()) throw usageError("no value given for " + name + "; " + expectation(index));

    const ChoiceWords choices = choiceWordsOf(fx, index);
    auto notAValue = [&] {
        return usageError(quoted(text) + " is not a value of " + name + "; " + expectation(index));
    };
    auto byWord = [&](int32_t k) {
        return ParsedValue{float(fx.displayToNorm(index, double(choices.first + k))), {}};
    };
    if (const int32_t k = wordIndex(choices, text); k >= 0) return byWord(k);

    const bool frequency = shownUnit(fx, index) == "Hz";
    const std::optional<ValueReading> number = readValueText(text, frequency);
    const bool level = isChannelLevel(index);
    double shown = 0.0;   // the value in the unit the user sees
    bool silence = false;  // a channel level of nothing
    if (number) {
        const double factor = unitFactor(index, number->rest);
        if (const int32_t k = wordIndex(choices, number->written); k >= 0 && factor == 1.0 && !number->kilo)
            return byWord(k);
        shown = number->value * factor;
    } else if (level) {
        // "-" is how the effect shows silence; "-inf" means the same.
        std::string_view word = text;
        if (word.size() > 2 && sameText(word.substr(word.size() - 2), "dB"))
            word = trim(word.substr(0, word.size() - 2));
        if (!sameText(word, "-") && !sameText(word, "-inf")) throw notAValue();
        silence = true;
    } else {
        throw notAValue();
    }
    if (isWholeNumberRow(*row) && shown != std::floor(shown)) throw notAValue();

    // The range as shown; a negative Scale turns the band gains round.
    const double x = level ? (silence ? 0.0 : std::pow(10.0, shown / 20.0)) : shown;
    double lo = level ? double(row->min) : fx.normToDisplay(index, 0.0);
    double hi = level ? double(row->max) : fx.normToDisplay(index, 1.0);
    std::string loText = shownValue(fx, index, 0.0);
    std::string hiText = shownValue(fx, index, 1.0);
    if (lo > hi) {
        std::swap(lo, hi);
        std::swap(loText, hiText);
    }
    const double slack = kRangeSlack * std::max({1.0, std::fabs(lo), std::fabs(hi)});
    const bool outside = x < lo - slack || x > hi + slack;
    ParsedValue result;
    result.norm = float(fx.displayToNorm(index, std::clamp(x, lo, hi)));
    if (outside)
        result.warning = name + ": " + std::string(text) + " is outside the range " + loText + " .. " + hiText +
                         "; clamped to " + shownValue(fx, index, result.norm);
    return result;
}

std::string ParamAssignment::apply(std::string_view assignment) {
    const size_t eq = assignment.find('=');
    if (eq == std::string_view::npos)
        throw usageError("--set expects NAME=VALUE, got " + quoted(assignment));
    const std::string_view name = trim(assignment.substr(0, eq));
    if (name.empty()) throw usageError("--set " + quoted(assignment) + " names no parameter");

    const int32_t index = findParameter(name);
    if (index < 0) {
        std::string message = "unknown parameter " + quoted(name);
        const std::vector<std::string> nearest = nearestNames(name, kSuggestions);
        for (size_t k = 0; k < nearest.size(); ++k) {
            message += k == 0 ? "; did you mean " : (k + 1 == nearest.size() ? " or " : ", ");
            message += quoted(nearest[k]);
        }
        if (!nearest.empty()) message += "?";
        throw usageError(message + " (--list-params lists them all)");
    }

    const ParsedValue value = parseValue(index, assignment.substr(eq + 1));
    fx.setParameter(index, value.norm);
    return value.warning;
}
