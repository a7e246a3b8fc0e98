// The band object and the design dispatch: setters and dirtiness, the
// bypass rule, the final frequency scaling and the knob mask.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "DesignTestSupport.h"
#include "dsp/EQ.h"
#include "dsp/SubtypeNames.h"

namespace {

// The band object with a do-nothing running filter: what is tested here is
// the settings side alone.
class SettingsOnlyBand final : public EQ {
public:
    void clearState() override { ++clears; }
    void resetCoefficients(bool) override {}
    void processDouble(double*, int32_t) noexcept override {}
    void processFloat(float*, int32_t) noexcept override {}
    int32_t getCoefficients(DigitalSection*) const override { return 0; }
    double magnitudeAt(double, double*) const override { return 1.0; }
    void responseAt(double, double* re, double* im) const override { *re = 1.0, *im = 0.0; }
    void setCoefficients(const DigitalSection*, int32_t) override {}
    void rebuild() override { dirty = 0; }
    int clears = 0;
};

}  // namespace

TEST(BandObject, SettersMarkDirtyOnlyOnARealChange) {
    SettingsOnlyBand band;
    band.rebuild();
    EXPECT_FALSE(band.setGain(band.getGain()));
    EXPECT_FALSE(band.isDirty());
    EXPECT_TRUE(band.setGain(3.0f));
    EXPECT_TRUE(band.isDirty());
    band.rebuild();
    EXPECT_TRUE(band.setParallel(true));
    EXPECT_TRUE(band.isDirty());
    band.rebuild();
    band.setSampleRate(band.getSampleRate());
    EXPECT_FALSE(band.isDirty());
    EXPECT_EQ(band.clears, 1);  // the rate setter always clears the filter
    band.setSampleRate(96000.0f);
    EXPECT_TRUE(band.isDirty());
}

TEST(BandObject, PreviousTypeFollowsOnlyRealTypeChanges) {
    SettingsOnlyBand band;
    band.setType(kEngineLowShelf);
    band.setType(kEngineHighPass);
    EXPECT_EQ(band.getPreviousType(), kEngineLowShelf);
    band.rebuild();
    EXPECT_FALSE(band.setType(kEngineHighPass));
    EXPECT_EQ(band.getPreviousType(), kEngineLowShelf);
    EXPECT_FALSE(band.isDirty());
    // The knob mask and label can look back at the previous type.
    band.setSubtype(kShelfKestrawn);
    EXPECT_STREQ(band.shiftLabel(true), "SHIFT");
    EXPECT_STREQ(band.shiftLabel(false), "");
}

TEST(BandObject, BypassedBandIsUnscaledIdentityUnlessStateIsIgnored) {
    SettingsOnlyBand band;
    band.setType(kEnginePeak);
    band.setGain(6.0f);
    band.setQ(1.0f);
    band.setFrequency(2000.0f);
    band.setState(1);
    SectionSet set{};
    band.design(&set, false);
    ASSERT_EQ(set.count, 1);
    EXPECT_EQ(std::memcmp(&set.section[0], &kIdentitySection, sizeof(AnalogueSection)), 0);
    band.design(&set, true);
    EXPECT_NEAR(designtest::toDb(std::abs(analogueResponse(set.section, set.count, 2000.0))), 6.0, 1e-6);
    band.design(nullptr, true);  // nothing happens
}

TEST(BandObject, NotchStoresItsQUnscaledUntilTheFrequencyScaling) {
    SettingsOnlyBand band;
    band.setType(kEngineNotch);
    band.setQ(0.7f);
    band.setFrequency(100.0f);
    SectionSet set{};
    band.design(&set, false);
    ASSERT_EQ(set.count, 1);
    EXPECT_NEAR(set.section[0].a1, 100.0 / double(0.7f), 1e-9);
    EXPECT_NEAR(set.section[0].a0, 1.0e4, 1e-9);
    EXPECT_EQ(set.section[0].b1, 0.0);
}

TEST(BandObject, UnknownTypeDesignsNothingAndQDisplayIsPlainOutsidePeaks) {
    SettingsOnlyBand band;
    band.setType(42);
    SectionSet set{};
    band.design(&set, false);
    EXPECT_EQ(set.count, 0);
    band.setType(kEngineHighPass);
    band.setQ(3.3f);
    for (int32_t sub = 0; sub < kPassSubtypeCount; ++sub) {
        band.setSubtype(sub);
        EXPECT_FLOAT_EQ(float(band.displayQ()), 3.3f);
    }
}

TEST(BandObject, ShiftKnobHasALabelExactlyWhenTheBandHasAShiftKnob) {
    for (int32_t type = 0; type <= kEngineAllPass; ++type) {
        for (int32_t sub = 0; sub < 20; ++sub) {
            const bool hasKnob = (controlMaskOf(type, sub) & kControlShift) != 0;
            EXPECT_EQ(hasKnob, std::strlen(shiftLabelOf(type, sub)) > 0) << type << "/" << sub;
            EXPECT_TRUE(controlMaskOf(type, sub) & kControlFrequency);
        }
    }
}

