// From the band rows of the table to the settings of the band objects: the
// scale and frequency shift, on/off, types, the group bits that choose the
// channels, and what AutoListen puts in place of a band's own settings.

#include <gtest/gtest.h>

#include "TestHost.h"
#include "core/BandMapping.h"
#include "dsp/AnalogueSection.h"

namespace {

// The band object the effect runs for band b on channel c.
const EQ& object(Plug& fx, int32_t b, int32_t c) { return *fx.getBank().getBandAt(b, c); }

}  // namespace

TEST(BandMapping, GainFollowsScaleAndFrequencyFollowsShift) {
    auto fx = makePlug(2);
    setReal(*fx, bandParam(0, kFieldState), kBandOn);
    setReal(*fx, bandParam(0, kFieldGain), 0.5);
    setReal(*fx, bandParam(0, kFieldFrequency), 1000.0);
    setReal(*fx, kScale, 12.0);
    setReal(*fx, kFShift, 150.0);
    const EQ& s = object(*fx, 0, 0);
    EXPECT_EQ(s.getState(), 0);
    EXPECT_EQ(s.getType(), kEnginePeak);
    EXPECT_NEAR(s.getGain(), 6.0f, 1e-5);
    EXPECT_NEAR(s.getFrequency(), 1500.0f, 0.01f);
    // The shifted frequency stays inside the limits of the rate.
    setReal(*fx, bandParam(0, kFieldFrequency), 20000.0);
    EXPECT_LE(object(*fx, 0, 0).getFrequency(), fx->getMaxFrequency());
}

TEST(BandMapping, OnlyTheOnStateIsLiveAndPassFiltersCarryNoGain) {
    auto fx = makePlug(2);
    setReal(*fx, bandParam(3, kFieldGain), 0.5);
    for (int32_t state : {kBandOff, kBandBypassed}) {
        setReal(*fx, bandParam(3, kFieldState), state);
        EXPECT_EQ(object(*fx, 3, 0).getState(), 1);
    }
    setReal(*fx, bandParam(3, kFieldState), kBandOn);
    setReal(*fx, bandParam(3, kFieldType), kTypeHPF);
    setReal(*fx, bandParam(3, kFieldSlope), 48.0);
    const EQ& s = object(*fx, 3, 1);
    EXPECT_EQ(s.getType(), kEngineHighPass);
    EXPECT_EQ(s.getGain(), 0.0f);
    EXPECT_EQ(s.getSlope(), 8);
    setReal(*fx, bandParam(3, kFieldType), kTypeLowShelf);
    EXPECT_EQ(s.getSlope(), 2);
    EXPECT_EQ(s.getType(), kEngineLowShelf);
    // Outside the grid there is no object.
    EXPECT_EQ(fx->getBank().getBandAt(32, 0), nullptr);
    EXPECT_EQ(fx->getBank().getBandAt(3, 2), nullptr);
}

TEST(BandMapping, AutoListenHearsOneBandThroughItsListeningType) {
    float table[kNumBands][kNumBandFields];
    for (int32_t b = 0; b < kNumBands; ++b)
        for (int32_t f = 0; f < kNumBandFields; ++f) table[b][f] = staticParamTable()[bandParam(b, f)].value;
    auto set = [&](int32_t band, int32_t field, float v) { table[band][field] = v; };
    set(2, kFieldState, kBandBypassed);
    set(2, kFieldType, kTypeLowShelf);
    set(2, kFieldGain, 0.25f);
    set(2, kFieldQ, 9.0f);
    set(5, kFieldState, kBandOn);

    BandMappingContext context;
    context.scale = 24.0f;
    context.listenBand = 2;
    const BandShape heard = mapBandShape(table[2], 2, context);
    EXPECT_EQ(heard.state, 0);  // heard although bypassed
    EXPECT_EQ(heard.type, kEngineLowPass);
    EXPECT_FLOAT_EQ(heard.gain, 6.0f);  // "Correct" keeps the gain
    EXPECT_FLOAT_EQ(heard.q, 4.0f);     // pass filters never ring harder than Q 4

    const BandShape silent = mapBandShape(table[5], 5, context);
    EXPECT_EQ(silent.state, 1);
    EXPECT_EQ(silent.type, kEngineFlat);

    set(2, kFieldType, kTypeNotch);
    context.listenQMode = 1;
    const BandShape notch = mapBandShape(table[2], 2, context);
    EXPECT_EQ(notch.type, kEngineListenBandPass);
    EXPECT_EQ(notch.subtype, 0);
    EXPECT_EQ(notch.gain, 0.0f);
    EXPECT_FLOAT_EQ(notch.q, 12.0f);
    context.listenGainMode = 1;
    EXPECT_FLOAT_EQ(mapBandShape(table[2], 2, context).gain, 12.0f);
    EXPECT_EQ(engineTypeFor(7, false), kEngineFlat);
    // Not listened to, a notch band is the notch it is.
    context.listenBand = -1;
    set(2, kFieldState, kBandOn);
    EXPECT_EQ(mapBandShape(table[2], 2, context).type, kEngineNotch);
}
