// The parameter table, its name table and the checked accessors of the effect.

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <set>
#include <string>

#include "TestHost.h"
#include "core/ParameterNameTable.h"

namespace {

// What the rows promise beyond their literal values: unique names (a host
// addresses parameters by them) and every band starting as the same
// switched-off peak.
TEST(ParamTable, NamesAreUniqueAndBandsStartAlike) {
    const ParamRow* t = staticParamTable();
    std::set<std::string> names;
    for (int32_t i = 0; i < kNumParams; ++i) names.insert(t[i].name);
    EXPECT_EQ(names.size(), size_t(kNumParams));
    for (int32_t b = 0; b < kNumBands; ++b)
        for (const int32_t field : {kFieldState, kFieldType, kFieldGroups, kFieldFrequency})
            EXPECT_EQ(t[bandParam(b, field)].value, t[bandParam(0, field)].value) << b << " " << field;
}

// The editor's tag table names every parameter at its index and adds the
// editor's own tags after them; the effect's table knows none of those.
TEST(ParameterNameTable, NamesFollowIndicesAndTheEditorsTagsComeAfter) {
    EXPECT_EQ(ParameterNameTable::instance().valueOf("kGUIEQGraph"), -1);
    const ParameterNameTable& names = editorTagTable();
    for (int32_t i = 0; i < kNumParams; ++i) EXPECT_EQ(names.valueOf(names.nameAt(i).c_str()), i);
    EXPECT_EQ(names.valueOf("kNumParams"), kNumParams);
    EXPECT_GT(names.valueOf("kGUIEQGraph"), kNumParams);
    EXPECT_STREQ(names.nameOf(kGUIClip), "kGUIClip");
    EXPECT_EQ(names.nameOf(-5), nullptr);
    EXPECT_EQ(names.valueOf("kGUIRoutingMatrix"), -1);
}

TEST(ParameterNameTable, ParsesRunningValuesBlanksAndEmptyItems) {
    const ParameterNameTable t(" kA=3, kB ,kC=10,,kD extra words, kE");
    ASSERT_EQ(t.size(), 5u);
    EXPECT_EQ(t.valueOf("kA"), 3);
    EXPECT_EQ(t.valueOf("kB"), 4);
    EXPECT_EQ(t.valueOf("kC"), 10);
    EXPECT_EQ(t.valueOf("kD"), 11);  // cut at the first blank
    EXPECT_EQ(t.valueOf("kE"), 12);
    EXPECT_EQ(t.positionOf(11), 3);
    const ParameterNameTable empty(nullptr);
    EXPECT_EQ(empty.size(), 0u);
}

TEST(PlugParameters, GroupsComeFromTheNames) {
    auto fx = makePlug(2);
    EXPECT_EQ(fx->getParameterGroup(kGain), 0);
    EXPECT_EQ(fx->getParameterGroup(kChannel1Level), 1);
    EXPECT_EQ(fx->getParameterGroup(kChannel8Solo), 8);
    EXPECT_EQ(fx->getParameterGroup(kBand1State), 9);
    EXPECT_EQ(fx->getParameterGroup(kBand32Phase), 40);
    ASSERT_EQ(fx->getParameterGroupCount(), 40);
    EXPECT_STREQ(fx->getParameterGroupName(0), "Channel 1");
    EXPECT_STREQ(fx->getParameterGroupName(8), "Band 1");
    EXPECT_STREQ(fx->getParameterGroupName(39), "Band 32");
    EXPECT_STREQ(fx->getParameterGroupName(40), "");
}

TEST(PlugParameters, OutOfRangeIndicesGiveNeutralResults) {
    auto fx = makePlug(2);
    for (int32_t i : {-1, 367, 1000}) {
        EXPECT_EQ(fx->getParameter(i), 0.0f);
        EXPECT_EQ(fx->getRealValue(i), 0.0f);
        EXPECT_EQ(fx->getDefaultNorm(i), 0.0f);
        EXPECT_EQ(fx->getParameterCurve(i), -1);
        EXPECT_EQ(fx->getParameterMin(i), 0.0f);
        EXPECT_EQ(fx->getParameterMax(i), 1.0f);
        EXPECT_EQ(fx->getParameterStepCount(i), 0);
        EXPECT_EQ(fx->getParameterStepSize(i), 1);
        EXPECT_EQ(fx->snapParameter(i, 0.3f, false), 0.3f);
        EXPECT_EQ(fx->getParameterGroup(i), 0);
        char text[kParamTextSize] = "unchanged";
        fx->getParameterName(i, text);
        EXPECT_STREQ(text, "unchanged");
        fx->setParameter(i, 0.7f);  // must not write anywhere
    }
    EXPECT_EQ(fx->getParameter(kBypass), 0.0f);
}

TEST(PlugParameters, WritesKeepNormAndRealValueInStepAndAreClamped) {
    auto fx = makePlug(2);
    fx->setParameter(kMode, 0.5f);
    EXPECT_EQ(fx->getRealValue(kMode), 1.0f);  // FIR
    fx->setParameter(kGain, 1.5f);
    EXPECT_EQ(fx->getRealValue(kGain), 36.0f);
    fx->setParameter(kBypass, 0.99f);
    EXPECT_EQ(fx->getRealValue(kBypass), 0.0f);
    fx->setParameter(kGain, std::nanf(""));  // a NaN from a host has no place on the travel
    EXPECT_EQ(fx->getRealValue(kGain), 36.0f);
    // The write lands in the current program and the current A/B slot too.
    fx->setParameter(kBand2Q, 0.25f);
    EXPECT_EQ(fx->programStore().program(0).values[kBand2Q], 0.25f);
    EXPECT_EQ(fx->programStore().slot(0).values[kBand2Q], 0.25f);
    EXPECT_EQ(fx->programStore().program(1).values[kBand2Q], fx->getDefaultNorm(kBand2Q));
}

TEST(PlugParameters, SteppedRowsSnapAndContinuousOnesAreLeftAlone) {
    auto fx = makePlug(2);
    // IR length has nine steps, 0 to 8. From a fraction of the range: floor(0 + 8*0.55) = 4, shown as its norm.
    EXPECT_FLOAT_EQ(fx->snapParameter(kIRLength, 0.55f, false), 4.0f / 9.0f);
    // From a norm: the real value 4 as a fraction of the range.
    EXPECT_FLOAT_EQ(fx->snapParameter(kIRLength, 4.0f / 9.0f + 0.01f, true), 4.0f / 8.0f);
    EXPECT_EQ(fx->snapParameter(kGain, 0.37f, false), 0.37f);  // continuous rows are left alone
    // A stepped row's step count matches what snapping across its travel
    // gives (its distinct values, or one more), and the slope's values lie a
    // step size apart; a continuous row has no steps.
    for (const int32_t row : {kIRLength, kBand1Slope}) {
        std::set<float> values;
        for (int32_t i = 0; i <= 1000; ++i) values.insert(fx->snapParameter(row, float(i) / 1000.0f, true));
        const int32_t steps = fx->getParameterStepCount(row);
        EXPECT_TRUE(int32_t(values.size()) == steps || int32_t(values.size()) == steps + 1) << row << ": " << steps;
    }
    const float lowest = staticParamTable()[kBand1Slope].min;
    fx->setParameter(kBand1Slope, fx->snapParameter(kBand1Slope, 0.3f, true));
    EXPECT_EQ(std::fmod(fx->getRealValue(kBand1Slope) - lowest, float(fx->getParameterStepSize(kBand1Slope))), 0.0f);
    EXPECT_EQ(fx->getParameterStepCount(kGain), 0);
}

TEST(PlugParameters, LockedParametersIgnoreWrites) {
    auto fx = makePlug(2);
    fx->setParameterLocked(0, kBand4Gain, true);
    fx->setParameter(kBand4Gain, 0.9f);
    EXPECT_EQ(fx->getParameter(kBand4Gain), fx->getDefaultNorm(kBand4Gain));
    fx->setParameter(kBand4Q, 0.9f);  // its neighbour is free
    EXPECT_EQ(fx->getParameter(kBand4Q), 0.9f);
    fx->setProgram(1);  // locks are per program
    fx->setParameter(kBand4Gain, 0.9f);
    EXPECT_EQ(fx->getParameter(kBand4Gain), 0.9f);
    fx->setParameterLocked(0, 400, true);  // indices outside the table are never locked
}

TEST(PlugParameters, FrequencyLimitsMoveNormsNotFrequencies) {
    auto fx = makePlug(2);
    setShown(*fx, kBand1Frequency, 1000.0);
    const float before = fx->getRealValue(kBand1Frequency);
    const float normBefore = fx->getParameter(kBand1Frequency);
    fx->updateFrequencyLimits();
    EXPECT_EQ(fx->getRealValue(kBand1Frequency), before);
    EXPECT_EQ(fx->getParameter(kBand1Frequency), normBefore);  // limits unchanged at the standard range

    // Programs made on the extended range keep their real frequency on the standard one.
    const float rate = 48000.0f;
    const double extMax = (rate - 100.0) / 2.0;
    const double n = std::log(1000.0 / 5.0) / std::log(extMax / 5.0);
    fx->setParameter(kBand2Frequency, float(n));
    fx->remapBandFrequencies(10, 22000, 5, float(extMax), -1, true, false);
    const float stored = fx->programStore().program(0).values[kBand2Frequency];
    EXPECT_NEAR(10.0 * std::exp(stored * std::log(2200.0)), 1000.0, 0.05);
    // A frequency the new range cannot hold is cut to its edge.
    fx->setParameter(kBand3Frequency, 1.0f);  // 23950 Hz on the extended range
    fx->remapBandFrequencies(10, 22000, 5, float(extMax), 0, false, false);
    EXPECT_EQ(fx->programStore().program(0).values[kBand3Frequency], 1.0f);
    // There and back again leaves the default 80 Hz where it was.
    const float original = fx->programStore().program(0).values[kBand4Frequency];
    fx->remapBandFrequencies(5, float(extMax), 10, 22000, -1, true, false);
    EXPECT_NE(fx->programStore().program(0).values[kBand4Frequency], original);
    fx->remapBandFrequencies(10, 22000, 5, float(extMax), -1, true, false);
    EXPECT_NEAR(fx->programStore().program(0).values[kBand4Frequency], original, 1e-6);
}

}  // namespace
