// Closed-form biquads against the analogue sections they realise, evaluated
// here with plain complex arithmetic: exact gains at DC, at Nyquist and
// where a design promises them, a bounded distance elsewhere, poles inside
// the unit circle. Then the least-squares solver against hand-solved systems.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <initializer_list>
#include <limits>
#include <numbers>

#include "dsp/DigitalDesign.h"
#include "dsp/LeastSquares.h"

namespace {

using Complex = std::complex<double>;
constexpr double kPi = std::numbers::pi;
constexpr double kExactDb = 1e-8;    // closed forms, rounding only
constexpr double kTopOfBand = 0.95;  // deviations are checked from 20 Hz to this fraction of Nyquist

// (b0 + b1 z^-1 + b2 z^-2) / (1 + a1 z^-1 + a2 z^-2) at z = e^(j 2 pi hz / fs).
Complex digitalAt(const DigitalSection& s, double hz, double fs) {
    const Complex z1 = std::polar(1.0, -2.0 * kPi * hz / fs);
    return (s.b0 + s.b1 * z1 + s.b2 * z1 * z1) / (1.0 + s.a1 * z1 + s.a2 * z1 * z1);
}

// A working section (radians per second) at s = j 2 pi hz; b0 = a0 = 0 is
// the first-order form (b2 s + b1) / (a2 s + a1).
Complex analogueAt(const AnalogueSection& a, double hz) {
    const Complex s(0.0, 2.0 * kPi * hz);
    if (a.b0 == 0.0 && a.a0 == 0.0) return (a.b2 * s + a.b1) / (a.a2 * s + a.a1);
    return (a.b2 * s * s + a.b1 * s + a.b0) / (a.a2 * s * s + a.a1 * s + a.a0);
}

double db(Complex h) { return 20.0 * std::log10(std::abs(h)); }

// Largest root of z^2 + a1 z + a2 in size.
double rootRadius(double a1, double a2) {
    const Complex root = std::sqrt(Complex(a1 * a1 - 4.0 * a2));
    return std::max(std::abs((-a1 + root) / 2.0), std::abs((-a1 - root) / 2.0));
}

// Largest |dB difference| on a fine log grid from fromHz to the top of the band.
double worstDb(const DigitalSection& d, const AnalogueSection& a, double fs, double fromHz = 20.0) {
    double worst = 0.0;
    for (double hz = fromHz; hz <= kTopOfBand * fs / 2.0; hz *= 1.005)
        worst = std::max(worst, std::fabs(db(digitalAt(d, hz, fs)) - db(analogueAt(a, hz))));
    return worst;
}

// DC and Nyquist meet the analogue section's, and the poles are inside.
void expectEndsAndStable(const DigitalSection& d, const AnalogueSection& a, double fs, double nyquistDb = kExactDb) {
    if (std::abs(analogueAt(a, 0.0)) > 0.0) {
        EXPECT_NEAR(db(digitalAt(d, 0.0, fs)), db(analogueAt(a, 0.0)), kExactDb);
    } else {
        EXPECT_NEAR(std::abs(digitalAt(d, 0.0, fs)), 0.0, 1e-12);
    }
    EXPECT_NEAR(db(digitalAt(d, fs / 2.0, fs)), db(analogueAt(a, fs / 2.0)), nyquistDb);
    EXPECT_LT(rootRadius(d.a1, d.a2), 1.0);
}

// (s^2 + w0 sqrt(g)/Q s + w0^2) / (s^2 + w0/(Q sqrt(g)) s + w0^2): gain g at f0.
AnalogueSection analoguePeak(double gainDb, double f0, double q) {
    const double g = std::pow(10.0, gainDb / 20.0), w0 = 2.0 * kPi * f0;
    return {1.0, w0 * std::sqrt(g) / q, w0 * w0, 1.0, w0 / (q * std::sqrt(g)), w0 * w0};
}

}  // namespace

TEST(DigitalPeak, MeetsCentreBandEdgeAndNyquistAndStaysNearTheAnaloguePeak) {
    for (double fs : {44100.0, 48000.0, 96000.0}) {
        for (double gain : {-18.0, -6.0, 0.5, 6.0, 18.0}) {
            for (double f0 : {100.0, 1000.0, 10000.0, 16000.0}) {
                for (double q : {0.3, 1.0, 4.0}) {
                    SCOPED_TRACE(testing::Message() << fs << " Hz, " << gain << " dB at " << f0 << ", Q " << q);
                    const DigitalSection d = digitalPeak(gain, f0, q, fs);
                    const AnalogueSection a = analoguePeak(gain, f0, q);
                    expectEndsAndStable(d, a, fs);
                    EXPECT_NEAR(db(digitalAt(d, f0, fs)), gain, kExactDb);
                    // Half the dB gain where (1 - x^2)^2 = x^2 / Q^2, below f0.
                    const double edge = f0 * (std::sqrt(4.0 * q * q + 1.0) - 1.0) / (2.0 * q);
                    ASSERT_NEAR(db(analogueAt(a, edge)), gain / 2.0, kExactDb);
                    EXPECT_NEAR(db(digitalAt(d, edge, fs)), gain / 2.0, kExactDb);
                    // Low in the band the warping is negligible.
                    EXPECT_LT(worstDb(d, a, fs), f0 <= fs / 400.0 ? 0.01 : 1.25);
                }
            }
        }
    }
}

TEST(DigitalPeak, AboveNyquistASkirtRemains) {
    constexpr double fs = 44100.0;
    for (double gain : {-12.0, 12.0}) {  // a cut skirt must cut
        for (double f0 : {23000.0, 30000.0, 60000.0}) {
            const DigitalSection d = digitalPeak(gain, f0, 1.0, fs);
            expectEndsAndStable(d, analoguePeak(gain, f0, 1.0), fs);
            EXPECT_EQ(d.b2, 0.0);
            EXPECT_EQ(d.a2, 0.0);
            EXPECT_LT(worstDb(d, analoguePeak(gain, f0, 1.0), fs), 1.0);
        }
    }
}

TEST(DigitalFirstOrder, ShelvesBothWaysMeetDcAndNyquistAndAnAllPassStaysFlat) {
    constexpr double fs = 48000.0;
    for (double f : {100.0, 3000.0, 15000.0}) {
        for (auto [high, low] : {std::pair{4.0, 1.0}, {0.25, 1.0}, {2.0, 0.5}, {1.0, 0.0}}) {
            const double wc = 2.0 * kPi * f;
            const AnalogueSection a{high, low * wc, 0.0, 1.0, wc, 0.0};  // (high s + low wc) / (s + wc)
            const DigitalSection d = digitalFirstOrder(f, high, low, fs);
            expectEndsAndStable(d, a, fs);
            EXPECT_EQ(d.b2, 0.0);
            EXPECT_LT(worstDb(d, a, fs), f <= 100.0 ? 0.001 : 0.75) << f << " " << high << " " << low;
        }
        // Gains equal in size leave the corner undetermined; the pole must stay inside.
        const DigitalSection allPass = digitalFirstOrder(f, -1.0, 1.0, fs);
        EXPECT_NEAR(std::abs(digitalAt(allPass, 5000.0, fs)), 1.0, 1e-12);
        EXPECT_LT(std::fabs(allPass.a1), 1.0);
    }
}

TEST(DigitalPass, LowAndHighPassMeetDcAndNyquistAndStayNearTheAnalogue) {
    constexpr double fs = 48000.0;
    for (double f0 : {100.0, 1000.0, 10000.0, 18000.0}) {
        for (double q : {0.3, 0.5, std::numbers::sqrt2 / 2.0, 1.0, 3.0, 10.0}) {
            SCOPED_TRACE(testing::Message() << f0 << " Hz, Q " << q);
            const double w0 = 2.0 * kPi * f0;
            const AnalogueSection lowPass{0.0, 0.0, w0 * w0, 1.0, w0 / q, w0 * w0};
            const AnalogueSection highPass{1.0, 0.0, 0.0, 1.0, w0 / q, w0 * w0};
            const DigitalSection lp = digitalLowPass(f0, q, fs), hp = digitalHighPass(f0, q, fs);
            expectEndsAndStable(lp, lowPass, fs, 1e-4);  // the nudge keeping G off 1
            EXPECT_LT(worstDb(lp, lowPass, fs), 1.25);
            expectEndsAndStable(hp, highPass, fs);
            // One free damping cannot undo the warping of a high corner, whose
            // low asymptote drops (12 dB at 18 kHz): low corners only.
            if (f0 <= 1000.0) {
                EXPECT_LT(worstDb(hp, highPass, fs), 0.1);
            }
        }
    }
    // At a middle corner the fitted damping holds the pass band and the
    // octave below to 0.2 dB (the analogue damping alone misses by 0.25).
    for (double q : {0.5, 0.707, 1.0, 3.0}) {
        const double f0 = 3000.0, w0 = 2.0 * kPi * f0;
        const AnalogueSection highPass{1.0, 0.0, 0.0, 1.0, w0 / q, w0 * w0};
        EXPECT_LT(worstDb(digitalHighPass(f0, q, fs), highPass, fs, f0 / 2.0), 0.2) << q;
    }
}

TEST(DigitalGeneral, ShelvesRisingToNyquistAreDesignedInvertedAndMeetBothEnds) {
    for (double fs : {44100.0, 48000.0, 96000.0}) {
        for (bool high : {false, true}) {
            for (double gain : {-12.0, -3.0, 3.0, 12.0}) {
                for (double f : {100.0, 1000.0, 8000.0}) {
                    for (double q : {0.5, 0.707, 2.0}) {
                        SCOPED_TRACE(testing::Message() << fs << (high ? " high " : " low ") << gain << " " << f);
                        // Second-order shelves of gain A^2 about the corner w.
                        const double amp = std::pow(10.0, gain / 40.0), w = 2.0 * kPi * f, k = std::sqrt(amp) / q;
                        const AnalogueSection a =
                            high ? AnalogueSection{amp * amp, amp * k * w, amp * w * w, 1.0, k * w, amp * w * w}
                                 : AnalogueSection{amp, amp * k * w, amp * amp * w * w, amp, k * w, w * w};
                        DigitalSection d{};
                        const bool inverted = digitalGeneral(a, fs, &d);
                        EXPECT_EQ(inverted, high == (gain > 0.0));
                        if (inverted) d = {1.0 / d.b0, d.a1 / d.b0, d.a2 / d.b0, d.b1 / d.b0, d.b2 / d.b0};
                        expectEndsAndStable(d, a, fs);
                        EXPECT_LT(rootRadius(d.b1 / d.b0, d.b2 / d.b0), 1.0);  // so its inverse is stable too
                        EXPECT_LT(worstDb(d, a, fs), f <= 1000.0 ? 0.025 : 1.7);
                    }
                }
            }
        }
    }
}

TEST(DigitalGeneral, AnAllPassComesOutFlatAndPolesAboveNyquistFallBackToFirstOrder) {
    constexpr double fs = 48000.0;
    for (double f : {100.0, 5000.0, 20000.0}) {
        // Flat magnitude: the damping fit meets two opposite columns and a
        // zero right-hand side, and must leave the dampings as they are.
        const double w = 2.0 * kPi * f;
        DigitalSection d{};
        EXPECT_FALSE(digitalGeneral(AnalogueSection{1.0, -w / 3.0, w * w, 1.0, w / 3.0, w * w}, fs, &d));
        for (double hz : {20.0, f, 0.9 * fs / 2.0}) EXPECT_NEAR(std::abs(digitalAt(d, hz, fs)), 1.0, 1e-9);
        EXPECT_LT(rootRadius(d.a1, d.a2), 1.0);
    }
    // A falling section, and a rising one without extrema whose inverse
    // would have its poles in band: both first-order designs of themselves.
    const double w40 = 2.0 * kPi * 40000.0, w30 = 2.0 * kPi * 30000.0;
    for (const AnalogueSection& s : {AnalogueSection{0.5, 0.8 * w40, w40 * w40, 1.0, 1.4 * w40, w40 * w40},
                                     AnalogueSection{4.0, 4.0 * w30, w30 * w30, 1.0, 2.0 * w30, w30 * w30}}) {
        DigitalSection d{};
        EXPECT_FALSE(digitalGeneral(s, fs, &d));
        EXPECT_EQ(d.b2, 0.0);
        EXPECT_EQ(d.a2, 0.0);
        EXPECT_NEAR(std::abs(digitalAt(d, 0.0, fs)), 1.0, 1e-12);
        EXPECT_LT(std::fabs(d.a1), 1.0);
    }
}

TEST(BilinearSection, MapsThePrewarpFrequencyAndDcExactlyInBothForms) {
    constexpr double fs = 44100.0;
    const double w = 2.0 * kPi * 3000.0;
    for (const AnalogueSection& a : {AnalogueSection{0.5, 0.3 * w, 2.0 * w * w, 1.0, 0.9 * w, w * w},
                                     AnalogueSection{2.0, 0.5 * w, 0.0, 1.0, w, 0.0}}) {
        for (double prewarp : {1000.0, 3000.0, 0.45 * fs}) {
            const DigitalSection d = bilinearSection(a, prewarp, fs);
            EXPECT_LT(std::abs(digitalAt(d, prewarp, fs) - analogueAt(a, prewarp)), 1e-12);
            EXPECT_LT(std::abs(digitalAt(d, 0.0, fs) - analogueAt(a, 0.0)), 1e-12);
            EXPECT_LT(rootRadius(d.a1, d.a2), 1.0);
        }
    }
}

TEST(DigitalDesign, NonFiniteInputsReturnWithoutTrappingOrHanging) {
    for (double x : {std::numeric_limits<double>::quiet_NaN(), std::numeric_limits<double>::infinity()}) {
        digitalPeak(x, 1000.0, 1.0, 48000.0);
        digitalPeak(6.0, x, 1.0, 48000.0);
        digitalLowPass(1000.0, x, 48000.0);
        digitalHighPass(x, 1.0, 48000.0);
        digitalFirstOrder(1000.0, x, 1.0, 48000.0);
        DigitalSection d{};
        digitalGeneral(AnalogueSection{1.0, x, 4.0, 1.0, 1.0, 1.0}, 48000.0, &d);
        bilinearSection(AnalogueSection{1.0, 1.0, 1.0, 1.0, x, 1.0}, 1000.0, 48000.0);
    }
    EXPECT_TRUE(std::isfinite(digitalPeak(6.0, 1000.0, 1.0, 48000.0).a1));
}

TEST(LeastSquares, MatchesSystemsSolvedByHand) {
    double x[4] = {};
    const auto expectSolution = [&](std::initializer_list<double> expected) {
        int i = 0;
        for (double e : expected) EXPECT_NEAR(x[i++], e, 1e-12 * std::max(1.0, std::fabs(e)));
    };
    // Line through (0,1), (1,2), (2,2), (3,4): [4 6; 6 14] [a b]' = [9 18]'.
    const double line[] = {1, 0, 1, 1, 1, 2, 1, 3}, ys[] = {1, 2, 2, 4};
    solveLeastSquares(line, 4, 2, ys, x);
    expectSolution({0.9, 0.9});
    // Rank one, A = u (1, 2) with u = (1, 1, 1): A x = u (u.b) / 3 = 2u, and
    // the least-norm x with x0 + 2 x1 = 2 is (0.4, 0.8).
    const double rankOne[] = {1, 2, 1, 2, 1, 2}, b3[] = {1, 2, 3};
    solveLeastSquares(rankOne, 3, 2, b3, x);
    expectSolution({0.4, 0.8});
    // A singular value 1e-7 of the largest counts as zero; 1e-5 does not.
    const double tiny[] = {1, 0, 0, 1e-7, 0, 0}, small[] = {1, 0, 0, 1e-5, 0, 0}, b11[] = {1, 1, 0};
    solveLeastSquares(tiny, 3, 2, b11, x);
    expectSolution({1.0, 0.0});
    solveLeastSquares(small, 3, 2, b11, x);
    expectSolution({1.0, 1e5});
    // Square: A (1, -2, 3, 0.5)' row by row.
    const double square[] = {4, 1, 0, 2, 1, 3, 1, 0, 0, 1, 5, 1, 2, 0, 1, 6};
    const double products[] = {3, -2, 13.5, 8};
    solveLeastSquares(square, 4, 4, products, x);
    expectSolution({1.0, -2.0, 3.0, 0.5});
    // NaN in the matrix ends the decomposition within its sweep limit.
    const double poisoned[] = {1, std::numeric_limits<double>::quiet_NaN(), 1, 2};
    solveLeastSquares(poisoned, 2, 2, b11, x);
}
