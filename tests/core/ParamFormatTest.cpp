// How parameter values are shown: units, choices, notes and number formats.

#include <gtest/gtest.h>

#include <string>

#include "TestHost.h"

namespace {

std::string shown(Plug& fx, int32_t index, float norm, bool musical = false) {
    char text[kParamTextSize] = {};
    fx.formatParameter(index, norm, text, musical);
    return text;
}

std::string current(Plug& fx, int32_t index) {
    char text[kParamTextSize] = {};
    fx.getParameterDisplay(index, text);
    return text;
}

float normOf(Plug& fx, int32_t index, double real) {
    return float(curveToNorm(*fx.getRow(index), real));
}

// Settings with chosen values for the keys a test names; defaults otherwise.
class ChosenSettings : public SettingsAccess {
public:
    int32_t globalValue(const char* name) const override {
        if (std::string(name) == "Solo Mode") return soloMode;
        if (std::string(name) == "Clip threshold") return clipThreshold;
        return StoredSettings().globalValue(name);
    }
    int32_t uiValue(const char* category, const char* key) const override {
        if (std::string(key) == "Number format") return numberFormat;
        return StoredSettings().uiValue(category, key);
    }
    int32_t soloMode = 0, clipThreshold = 0, numberFormat = 0;
};

TEST(ParamFormat, BandGainFollowsTheScale) {
    auto fx = makePlug(2);
    EXPECT_EQ(shown(*fx, kBand1Gain, 1.0f), "18.00 dB");
    EXPECT_EQ(shown(*fx, kBand1Gain, 0.5f), "0.00 dB");
    setShown(*fx, kScale, -18.0);
    EXPECT_EQ(shown(*fx, kBand1Gain, 1.0f), "-18.00 dB");
    // The shown value and the parsed value agree through the scale.
    setShown(*fx, kScale, 12.0);
    EXPECT_NEAR(fx->displayToNorm(kBand1Gain, 6.0), 0.75, 1e-6);
    setShown(*fx, kScale, 0.0);
    EXPECT_NEAR(fx->displayToNorm(kBand1Gain, 6.0), 0.5, 1e-6);  // a zero scale reads as 0 dB
}

TEST(ParamFormat, BandFrequencyFollowsTheShift) {
    auto fx = makePlug(2);
    EXPECT_EQ(shown(*fx, kBand1Frequency, normOf(*fx, kBand1Frequency, 440)), "440.0 Hz");
    EXPECT_EQ(shown(*fx, kBand1Frequency, normOf(*fx, kBand1Frequency, 12000)), "12000 Hz");
    setShown(*fx, kFShift, 200.0);
    EXPECT_EQ(shown(*fx, kBand1Frequency, normOf(*fx, kBand1Frequency, 440)), "880.0 Hz");
    EXPECT_NEAR(fx->normToDisplay(kBand1Frequency, fx->displayToNorm(kBand1Frequency, 3000.0)), 3000.0, 0.01);
}

TEST(ParamFormat, NotesAreNamedWithOctaveAndCents) {
    auto fx = makePlug(2);
    auto note = [&](double hz) { return shown(*fx, kBand1Frequency, normOf(*fx, kBand1Frequency, hz), true); };
    EXPECT_EQ(note(440.0), "A4+0");
    EXPECT_EQ(note(880.0), "A5+0");
    EXPECT_EQ(note(261.63), "C4+0");  // middle C within a cent
    EXPECT_EQ(note(445.0), "A4+20");  // +19.6 cents
    EXPECT_EQ(note(435.0), "A4-20");
    EXPECT_EQ(note(453.0), "A#4-50");  // +50.4 cents is nearer A#
    EXPECT_EQ(note(27.5), "A0+0");
    // Rows not in hertz ignore the musical flag.
    EXPECT_EQ(shown(*fx, kGain, 0.5f, true), "0.00 dB");
}

TEST(ParamFormat, ChoicesAndCountsUseTheirOwnWords) {
    auto fx = makePlug(2);
    EXPECT_EQ(shown(*fx, kDPlusLen, 0.0f), "Off");
    EXPECT_EQ(shown(*fx, kDPlusLen, normOf(*fx, kDPlusLen, 6)), "512");
    EXPECT_EQ(shown(*fx, kIRLength, normOf(*fx, kIRLength, 8)), "262144");
    EXPECT_EQ(shown(*fx, kIRLength, fx->getDefaultNorm(kIRLength)), "8192");
    EXPECT_EQ(shown(*fx, kIRPad, normOf(*fx, kIRPad, 3)), "8");
    EXPECT_EQ(shown(*fx, kBypass, 1.0f), "On");
    EXPECT_EQ(shown(*fx, kBypass, 0.0f), "Off");
    EXPECT_EQ(shown(*fx, kBand1Slope, 0.5f), "24 dB");
    EXPECT_EQ(shown(*fx, kBand1State, normOf(*fx, kBand1State, 2)), "2 Off/Byp/On");
}

TEST(ParamFormat, ChannelLevelShowsDecibelsOrADash) {
    auto fx = makePlug(2);
    EXPECT_EQ(current(*fx, kChannel1Level), "0.0");
    EXPECT_EQ(shown(*fx, kChannel1Level, 1.0f), "18.1");  // level 8
    EXPECT_EQ(shown(*fx, kChannel1Level, 0.0f), "-");
    char label[kParamTextSize] = "x";
    fx->getParameterLabel(kChannel1Level, label);
    EXPECT_STREQ(label, "dB");
    fx->getParameterLabel(kIRLength, label);
    EXPECT_STREQ(label, "samples");
    std::strcpy(label, "kept");
    fx->getParameterLabel(kGain, label);
    EXPECT_STREQ(label, "kept");
}

TEST(ParamFormat, OtherUnitsInPreciseForm) {
    auto fx = makePlug(2);
    EXPECT_EQ(current(*fx, kGain), "0.00 dB");
    EXPECT_EQ(current(*fx, kFShift), "100 %");
    EXPECT_EQ(current(*fx, kBand1Q), "0.71 Q");
    EXPECT_EQ(shown(*fx, kBand1Q, 1.0f), "50.00 Q");
    EXPECT_EQ(current(*fx, kIRWindowParam), "0.50 ");
}

TEST(ParamFormat, SimpleNumbersAreShorter) {
    ChosenSettings simple;
    simple.numberFormat = 1;
    auto fx = makePlug(2);
    fx->setSettingsSource(&simple);
    EXPECT_EQ(shown(*fx, kBand1Gain, 1.0f), "18.0 dB");
    EXPECT_EQ(shown(*fx, kBand1Frequency, normOf(*fx, kBand1Frequency, 440)), "440 Hz");
    EXPECT_EQ(shown(*fx, kBand1Frequency, normOf(*fx, kBand1Frequency, 12000)), "12.0 kHz");
    EXPECT_EQ(current(*fx, kGain), "0.0 dB");
    EXPECT_EQ(current(*fx, kBand1Q), "0.71 Q");
}

}  // namespace
