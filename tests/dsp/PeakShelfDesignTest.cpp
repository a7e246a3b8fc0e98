// Peaks and shelves against their closed forms: centre gain, asymptotes,
// exact inverses where a cut mirrors a boost, and the shape facts the
// controls promise.

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "DesignTestSupport.h"
#include "dsp/BandDesign.h"
#include "dsp/SubtypeNames.h"

using designtest::bandDb;

namespace {

constexpr double kBandHz = 1000.0;
// Far from the band: three decades away a second-order peak is within a
// few thousandths of a dB of flat.
constexpr double kFarBelowHz = 1.0, kFarAboveHz = 1.0e6;
constexpr double kTightDb = 1e-9;  // closed forms evaluated in double
constexpr double kFarDb = 0.02;

BandShape peak(int32_t subtype, float gain, float q, float shift = 0.0f) {
    BandShape s = designtest::shapeOf(kEnginePeak, subtype, float(kBandHz), gain, q);
    s.shift = shift;
    return s;
}

BandShape shelf(int32_t type, int32_t subtype, float gain, float q = 0.707f, float shift = 0.0f) {
    BandShape s = peak(subtype, gain, q, shift);
    s.type = type;
    return s;
}

// |H(f)| * |H'(f)| of two shapes, in dB, at a set of frequencies around the band.
void expectInverse(const BandShape& boost, const BandShape& cut) {
    for (double hz : {20.0, 300.0, 999.0, 1000.0, 1500.0, 9000.0, 20000.0})
        EXPECT_NEAR(bandDb(boost, hz) + bandDb(cut, hz), 0.0, 1e-9) << hz << " Hz";
}

}  // namespace

// Points of each design where its closed form fixes the level: the centre
// gain, the far asymptotes, the tilt's pivot and the flat cases.
TEST(PeakShelfDesign, LevelsAtTheFrequenciesTheirClosedFormsFix) {
    constexpr double kInf = std::numeric_limits<double>::infinity();
    const auto typed = [](int32_t type, BandShape s) { return s.type = type, s; };
    const struct {
        const char* name;
        BandShape shape;
        double hz, lowDb, highDb;
    } rows[] = {
        {"listen band-pass centre", typed(kEngineListenBandPass, peak(kPeakKestrawn, 12, 2)), kBandHz, 12 - 1e-9, 12 + 1e-9},
        {"listen band-pass low", typed(kEngineListenBandPass, peak(kPeakKestrawn, 12, 2)), 10, -kInf, -30},
        {"listen band-pass high", typed(kEngineListenBandPass, peak(kPeakKestrawn, 12, 2)), 1e5, -kInf, -30},
        {"notch centre", typed(kEngineNotch, peak(0, 0, 0.7f)), kBandHz, -kInf, -200},
        {"notch far", typed(kEngineNotch, peak(0, 0, 0.7f)), kFarAboveHz, -kFarDb, kFarDb},
        {"all-pass low", typed(kEngineAllPass, peak(0, 0, 0.7f)), 10, -kTightDb, kTightDb},
        {"all-pass centre", typed(kEngineAllPass, peak(0, 0, 0.7f)), kBandHz, -kTightDb, kTightDb},
        {"all-pass high", typed(kEngineAllPass, peak(0, 0, 0.7f)), 30000, -kTightDb, kTightDb},
        {"110 flat", peak(kPeak110, 0, 1), kBandHz, -1e-6, 1e-6},
        {"110 far", peak(kPeak110, 12, 1), kFarAboveHz, -kFarDb, kFarDb},
        {"110 boost", peak(kPeak110, 18, 1), kBandHz, 6, kInf},
        {"110 cut", peak(kPeak110, -18, 1), kBandHz, -kInf, -6},
        {"flat top centre", peak(kPeakFlatTop, 12, 1), kBandHz, 12 - 1e-9, 12 + 1e-9},
        {"soft flat top far", peak(kPeakFlatTop, 12, 1, 100), kFarAboveHz, -kFarDb, kFarDb},
        {"first-order high shelf top", shelf(kEngineHighShelf, kShelfFirstOrder, 6), kFarAboveHz, 5.99, 6.01},
        {"first-order high shelf bottom", shelf(kEngineHighShelf, kShelfFirstOrder, 6), kFarBelowHz, -0.01, 0.01},
        {"first-order low shelf bottom", shelf(kEngineLowShelf, kShelfFirstOrder, -6), kFarBelowHz, -6.01, -5.99},
        {"first-order low shelf top", shelf(kEngineLowShelf, kShelfFirstOrder, -6), kFarAboveHz, -0.01, 0.01},
        // Tilt pivots on the band frequency with a span of twice the gain.
        {"high tilt pivot", shelf(kEngineHighShelf, kShelfTilt, 4), kBandHz, -kTightDb, kTightDb},
        {"high tilt top", shelf(kEngineHighShelf, kShelfTilt, 4), kFarAboveHz, 3.99, 4.01},
        {"high tilt bottom", shelf(kEngineHighShelf, kShelfTilt, 4), kFarBelowHz, -4.01, -3.99},
        {"low tilt bottom", shelf(kEngineLowShelf, kShelfTilt, 4), kFarBelowHz, 3.99, 4.01},
        {"low tilt top", shelf(kEngineLowShelf, kShelfTilt, 4), kFarAboveHz, -4.01, -3.99},
        // At 0 dB a shelf is flat whatever Q and spread say.
        {"flat shelf low", shelf(kEngineLowShelf, kShelfKestrawn, 0, 5, 60), 50, -kTightDb, kTightDb},
        {"flat shelf corner", shelf(kEngineLowShelf, kShelfKestrawn, 0, 5, 60), kBandHz, -kTightDb, kTightDb},
        {"unknown shelf subtype", shelf(kEngineLowShelf, 12, 9), 20, -kTightDb, kTightDb},
        {"unknown shelf subtype", shelf(kEngineLowShelf, 12, 9), 20000, -kTightDb, kTightDb},
    };
    for (const auto& row : rows) {
        const double db = bandDb(row.shape, row.hz);
        EXPECT_GE(db, row.lowDb) << row.name;
        EXPECT_LE(db, row.highDb) << row.name;
    }
}

TEST(PeakDesign, StandardPathSubtypesReachTheirGainAtTheCentreAndUnityFarAway) {
    // "110" rewrites its amplitude, so it alone is left out of this promise.
    for (int32_t sub : {kPeakKestrawn, kPeakOx1, kPeakOx2, kPeakOx3, kPeakOx4, kPeak550, kPeak88, kPeak32,
                        kPeakEE, kPeakButterworth}) {
        for (float gain : {-15.0f, -3.0f, 0.5f, 6.0f, 18.0f}) {
            for (float q : {0.3f, 1.0f, 4.0f}) {
                const BandShape s = peak(sub, gain, q);
                EXPECT_NEAR(bandDb(s, kBandHz), gain, 1e-6) << "subtype " << sub;
                EXPECT_NEAR(bandDb(s, kFarBelowHz), 0.0, kFarDb) << "subtype " << sub;
                EXPECT_NEAR(bandDb(s, kFarAboveHz), 0.0, kFarDb) << "subtype " << sub;
            }
        }
    }
}

TEST(PeakDesign, SymmetricLawsMakeTheCutTheExactInverseOfTheBoost) {
    for (int32_t sub : {kPeakKestrawn, kPeak550}) {
        expectInverse(peak(sub, 9.0f, 2.0f), peak(sub, -9.0f, 2.0f));
        expectInverse(peak(sub, 9.0f, 2.0f, 40.0f), peak(sub, -9.0f, 2.0f, 40.0f));
    }
}

TEST(PeakDesign, KestrawnLinkTendsToTheKnobQAsTheGainVanishesAndShiftChangesTheWidth) {
    EXPECT_NEAR(displayQOf(peak(kPeakKestrawn, 0.0f, 2.0f)), 2.0, kTightDb);
    EXPECT_NEAR(displayQOf(peak(kPeakKestrawn, 0.01f, 2.0f)), displayQOf(peak(kPeakKestrawn, 0.0f, 2.0f)), 0.01);
    // The link depends only on the size of the gain.
    EXPECT_NEAR(displayQOf(peak(kPeakKestrawn, 12.0f, 2.0f)), displayQOf(peak(kPeakKestrawn, -12.0f, 2.0f)),
                kTightDb);
    const double neutral = displayQOf(peak(kPeakKestrawn, 12.0f, 2.0f, 0.0f));
    EXPECT_NE(displayQOf(peak(kPeakKestrawn, 12.0f, 2.0f, 50.0f)), neutral);
    EXPECT_NE(displayQOf(peak(kPeakKestrawn, 12.0f, 2.0f, -50.0f)), neutral);
}

TEST(PeakDesign, FlatBandsOfTheOxModelsReportQOfOne) {
    for (int32_t sub : {kPeakOx1, kPeakOx2, kPeakOx4}) EXPECT_EQ(displayQOf(peak(sub, 0.0f, 3.0f)), 1.0);
    // The piecewise laws join where their pieces meet, at twice and half the
    // linear centre gain (about +/-6 dB), to the three digits of their constants.
    const float sixDb = float(40.0 * std::log10(std::sqrt(2.0)));
    for (int32_t sub : {kPeakOx1, kPeakOx2, kPeakOx4}) {
        for (float edge : {sixDb, -sixDb}) {
            const double below = displayQOf(peak(sub, edge - 1e-3f, 3.0f));
            const double above = displayQOf(peak(sub, edge + 1e-3f, 3.0f));
            EXPECT_NEAR(below, above, 2e-3 * above) << "subtype " << sub << " at " << edge << " dB";
        }
    }
}

TEST(PeakDesign, EEAndPlainDisplayQ) {
    const double a = std::pow(10.0, 12.0 / 40.0);
    EXPECT_NEAR(displayQOf(peak(kPeakEE, 12.0f, 2.0f)), 2.0 / a, 1e-6);
    // A zero-gain peak reaches unity at the centre, and so has b1 = a1.
    SectionSet set{};
    designBand(peak(kPeakKestrawn, 0.0f, 1.3f), false, &set);
    EXPECT_DOUBLE_EQ(set.section[0].b1, set.section[0].a1);
}

TEST(PeakDesign, The110ModelClampsItsGainAtEighteenDecibels) {
    EXPECT_NEAR(bandDb(peak(kPeak110, 24.0f, 1.0f), kBandHz), bandDb(peak(kPeak110, 18.0f, 1.0f), kBandHz), 1e-6);
}

TEST(PeakDesign, FlatTopIsSymmetricAndSofteningFlattensTheTop) {
    const BandShape soft = peak(kPeakFlatTop, 12.0f, 1.0f, 100.0f);
    for (double ratio : {1.1, 1.5, 3.0})
        EXPECT_NEAR(bandDb(soft, kBandHz * ratio), bandDb(soft, kBandHz / ratio), 1e-9) << ratio;
    // Within a tenth of the band frequency the softened top moves less.
    const double sharpDrop = bandDb(peak(kPeakFlatTop, 12.0f, 1.0f, 0.0f), kBandHz) -
                             bandDb(peak(kPeakFlatTop, 12.0f, 1.0f, 0.0f), kBandHz * 1.1);
    const double softDrop = std::fabs(bandDb(soft, kBandHz) - bandDb(soft, kBandHz * 1.1));
    EXPECT_LT(softDrop, sharpDrop);
}

TEST(ShelfDesign, KestrawnShelvesHaveTheirGainOnOneSideAndUnityOnTheOther) {
    for (float gain : {-18.0f, -4.0f, 4.0f, 18.0f}) {
        for (float q : {0.4f, 0.707f, 2.0f}) {
            const BandShape high = shelf(kEngineHighShelf, kShelfKestrawn, gain, q);
            const BandShape low = shelf(kEngineLowShelf, kShelfKestrawn, gain, q);
            EXPECT_NEAR(bandDb(high, kFarAboveHz), gain, kFarDb);
            EXPECT_NEAR(bandDb(high, kFarBelowHz), 0.0, kFarDb);
            EXPECT_NEAR(bandDb(low, kFarBelowHz), gain, kFarDb);
            EXPECT_NEAR(bandDb(low, kFarAboveHz), 0.0, kFarDb);
        }
    }
}

TEST(ShelfDesign, KestrawnShelfCutIsTheExactInverseOfTheBoost) {
    for (int32_t type : {kEngineLowShelf, kEngineHighShelf}) {
        expectInverse(shelf(type, kShelfKestrawn, 7.5f, 1.8f, 30.0f), shelf(type, kShelfKestrawn, -7.5f, 1.8f, 30.0f));
        expectInverse(shelf(type, kShelfFirstOrder, 7.5f), shelf(type, kShelfFirstOrder, -7.5f));
    }
}

TEST(ShelfDesign, KestrawnShelfQAndSpread) {
    // Below 0.707 the corner spread is ignored.
    for (double hz : {200.0, 1000.0, 4000.0})
        EXPECT_NEAR(bandDb(shelf(kEngineHighShelf, kShelfKestrawn, 9.0f, 0.5f, 80.0f), hz),
                    bandDb(shelf(kEngineHighShelf, kShelfKestrawn, 9.0f, 0.5f, 0.0f), hz), kTightDb);
    // Above 0.707, spreading the corners changes the curve near the corner.
    EXPECT_GT(std::fabs(bandDb(shelf(kEngineHighShelf, kShelfKestrawn, 12.0f, 3.0f, 80.0f), kBandHz) -
                        bandDb(shelf(kEngineHighShelf, kShelfKestrawn, 12.0f, 3.0f, 0.0f), kBandHz)),
              0.1);
}
