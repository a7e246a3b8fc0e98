// How parameter values are shown: units, choices, notes and number formats.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "TestHost.h"

namespace {

constexpr double kUnset = -1000.0;

// One value of one row as the effect shows it. `by` says what `value` is:
// 'n' a normalised value, 'r' a real value, 'c' none (the row's current
// value). Scale and shift are set first when given; `simple` is the
// "Number format" UI setting's second choice.
struct FormatCase {
    int32_t index;
    char by;
    double value;
    const char* text;
    double scale = kUnset, shift = kUnset;
    bool musical = false, simple = false;
};

TEST(ParamFormat, EveryKindOfRowShowsInItsOwnUnit) {
    const FormatCase cases[] = {
        {kBand1Gain, 'n', 1.0, "18.00 dB"},
        {kBand1Gain, 'n', 0.5, "0.00 dB"},
        {kBand1Gain, 'n', 1.0, "-18.00 dB", -18.0},  // the gain follows the scale
        {kBand1Frequency, 'r', 440, "440.0 Hz"},
        {kBand1Frequency, 'r', 12000, "12000 Hz"},
        {kBand1Frequency, 'r', 440, "880.0 Hz", kUnset, 200.0},  // and the frequency the shift
        // Notes with octave and cents.
        {kBand1Frequency, 'r', 440.0, "A4+0", kUnset, kUnset, true},
        {kBand1Frequency, 'r', 880.0, "A5+0", kUnset, kUnset, true},
        {kBand1Frequency, 'r', 261.63, "C4+0", kUnset, kUnset, true},  // middle C within a cent
        {kBand1Frequency, 'r', 445.0, "A4+20", kUnset, kUnset, true},  // +19.6 cents
        {kBand1Frequency, 'r', 435.0, "A4-20", kUnset, kUnset, true},
        {kBand1Frequency, 'r', 453.0, "A#4-50", kUnset, kUnset, true},  // +50.4 cents is nearer A#
        {kBand1Frequency, 'r', 27.5, "A0+0", kUnset, kUnset, true},
        {kGain, 'n', 0.5, "0.00 dB", kUnset, kUnset, true},  // rows not in hertz ignore the flag
        // Choices and counts in their own words.
        {kDPlusLen, 'n', 0.0, "Off"},
        {kDPlusLen, 'r', 6, "512"},
        {kIRLength, 'r', 8, "262144"},
        {kIRLength, 'c', 0, "8192"},
        {kIRPad, 'r', 3, "8"},
        {kBypass, 'n', 1.0, "On"},
        {kBypass, 'n', 0.0, "Off"},
        {kBand1Slope, 'n', 0.5, "24 dB"},
        {kBand1State, 'r', 2, "2 Off/Byp/On"},
        // Channel levels in decibels, or a dash for silence.
        {kChannel1Level, 'c', 0, "0.0"},
        {kChannel1Level, 'n', 1.0, "18.1"},  // level 8
        {kChannel1Level, 'n', 0.0, "-"},
        {kGain, 'c', 0, "0.00 dB"},
        {kFShift, 'c', 0, "100 %"},
        {kBand1Q, 'c', 0, "0.71 Q"},
        {kBand1Q, 'n', 1.0, "50.00 Q"},
        {kIRWindowParam, 'c', 0, "0.50 "},
        // Simple numbers are shorter.
        {kBand1Gain, 'n', 1.0, "18.0 dB", kUnset, kUnset, false, true},
        {kBand1Frequency, 'r', 440, "440 Hz", kUnset, kUnset, false, true},
        {kBand1Frequency, 'r', 12000, "12.0 kHz", kUnset, kUnset, false, true},
        {kGain, 'c', 0, "0.0 dB", kUnset, kUnset, false, true},
        {kBand1Q, 'c', 0, "0.71 Q", kUnset, kUnset, false, true},
    };
    for (const FormatCase& c : cases) {
        SCOPED_TRACE(testing::Message() << "row " << c.index << " " << c.by << " " << c.value);
        auto fx = makePlug(2);
        if (c.simple) {
            fx->uiSettings().setValue("Misc", "Number format", 1);
            fx->reloadUISettings();
        }
        if (c.scale != kUnset) setShown(*fx, kScale, c.scale);
        if (c.shift != kUnset) setShown(*fx, kFShift, c.shift);
        char text[kParamTextSize] = {};
        if (c.by == 'c')
            fx->getParameterDisplay(c.index, text);
        else
            fx->formatParameter(c.index, c.by == 'n' ? float(c.value) : float(curveToNorm(*fx->getRow(c.index), c.value)),
                                text, c.musical);
        EXPECT_STREQ(text, c.text);
    }
}

TEST(ParamFormat, ShownValuesParseBackThroughScaleAndShiftAndLabelsNameTheUnit) {
    auto fx = makePlug(2);
    setShown(*fx, kScale, 12.0);
    EXPECT_NEAR(fx->displayToNorm(kBand1Gain, 6.0), 0.75, 1e-6);
    setShown(*fx, kScale, 0.0);
    EXPECT_NEAR(fx->displayToNorm(kBand1Gain, 6.0), 0.5, 1e-6);  // a zero scale reads as 0 dB
    setShown(*fx, kFShift, 200.0);
    EXPECT_NEAR(fx->normToDisplay(kBand1Frequency, fx->displayToNorm(kBand1Frequency, 3000.0)), 3000.0, 0.01);

    char label[kParamTextSize] = "x";
    fx->getParameterLabel(kChannel1Level, label);
    EXPECT_STREQ(label, "dB");
    fx->getParameterLabel(kIRLength, label);
    EXPECT_STREQ(label, "samples");
    std::strcpy(label, "kept");
    fx->getParameterLabel(kGain, label);
    EXPECT_STREQ(label, "kept");
}

}  // namespace
