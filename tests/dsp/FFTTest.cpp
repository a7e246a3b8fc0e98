#include "dsp/FFT.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

namespace {

using namespace std::complex_literals;
using Data = std::vector<double>;
using Exact = std::complex<long double>;
constexpr long double kTwoPi = 6.283185307179586476925286766559L;

// Uniform in [-1, 1).
Data noise(size_t n, uint32_t seed) {
    std::mt19937_64 gen(seed);
    Data d(n);
    for (double& v : d) v = double(gen() >> 11) * 0x1p-52 - 1.0;
    return d;
}

// exp(sign 2 pi i k / m) for k < m, in long double.
std::vector<Exact> roots(size_t m, int sign) {
    std::vector<Exact> r(m);
    for (size_t k = 0; k < m; ++k) r[k] = std::polar(1.0L, sign * kTwoPi * (long double)k / (long double)m);
    return r;
}

// The oracle: bin k of the m-point DFT of interleaved x, summed directly.
Exact naiveBin(const Data& x, size_t k, const std::vector<Exact>& root) {
    const size_t m = root.size();
    Exact s = 0;
    for (size_t j = 0; j < m; ++j) s += Exact(x[2 * j], x[2 * j + 1]) * root[(j * k) & (m - 1)];
    return s;
}

// sqrt(sum |a - b|^2 / sum |b|^2) over the given bins.
double relativeRms(const Data& got, const std::vector<Exact>& want, const std::vector<size_t>& bins) {
    long double err = 0, ref = 0;
    for (size_t i = 0; i < bins.size(); ++i) {
        const size_t k = bins[i];
        err += std::norm(Exact(got[2 * k], got[2 * k + 1]) - want[i]);
        ref += std::norm(want[i]);
    }
    return double(std::sqrt(err / ref));
}

// Tables for the processor's best kernels, or for the SSE2 ones, which the
// environment variable selects when the first prepare runs.
FftTables tablesFor(int32_t n, bool narrow) {
    const char* kNarrow = "FENWOLDRINE_FFT_NARROW";
    const bool wasSet = std::getenv(kNarrow) != nullptr;
    if (narrow) setenv(kNarrow, "1", 1);
    FftTables t(n);
    if (narrow && !wasSet) unsetenv(kNarrow);
    return t;
}

// Rounding error of a correct transform grows like log2 m; a wrong twiddle
// or a misplaced index gives errors of order one.
double tolerance(int log2m) { return 6e-17 * (2 + log2m); }

}  // namespace

// Every size from 2 to 1024 points against the full naive DFT, both signs;
// 8192 and 32768 points (whose outer passes use the compact twiddle layout)
// on 64 random bins. Both kernel sets, and both the natural pair and the
// pair that leaves the order bit-reversed between them (the forward's
// output read, the inverse's input written, at reversed indices).
TEST(FFT, MatchesNaiveDftBothSigns) {
    for (bool reversed : {false, true})
    for (bool narrow : {false, true}) {
        const FftTables tables = tablesFor(2 << 15, narrow);
        std::mt19937 pick(7);
        for (int p = 1; p <= 15; ++p) {
            if (p > 10 && p != 13 && p != 15) continue;
            const size_t m = size_t(1) << p;
            std::vector<size_t> bins;
            if (p <= 10) {
                for (size_t k = 0; k < m; ++k) bins.push_back(k);
            } else {
                for (int i = 0; i < 64; ++i) bins.push_back(pick() & (m - 1));
            }
            for (int sign : {-1, +1}) {
                const Data x = noise(2 * m, uint32_t(p * 10 + sign + 1));
                auto at = [&](size_t k) {
                    size_t r = 0;
                    for (int b = 0; b < p; ++b) r |= ((k >> b) & 1) << (p - 1 - b);
                    return reversed ? r : k;
                };
                Data y = x;
                if (!reversed) {
                    (sign < 0 ? fftForward : fftInverse)(y.data(), int32_t(2 * m), tables);
                } else if (sign < 0) {
                    fftForwardToReversed(y.data(), int32_t(2 * m), tables);
                    const Data raw = y;
                    for (size_t k = 0; k < m; ++k) y[2 * k] = raw[2 * at(k)], y[2 * k + 1] = raw[2 * at(k) + 1];
                } else {
                    for (size_t k = 0; k < m; ++k) y[2 * at(k)] = x[2 * k], y[2 * at(k) + 1] = x[2 * k + 1];
                    fftInverseFromReversed(y.data(), int32_t(2 * m), tables);
                }
                const std::vector<Exact> root = roots(m, sign);
                std::vector<Exact> want;
                for (size_t k : bins) want.push_back(naiveBin(x, k, root));
                EXPECT_LT(relativeRms(y, want, bins), tolerance(p))
                    << m << " points, sign " << sign << ", narrow " << narrow << ", reversed " << reversed;
            }
        }
    }
}

// Large sizes up to 4,194,304 points: inverse(forward(x)) / m returns x,
// Parseval holds, and a sum of two tones lands on exactly its two bins.
TEST(FFT, LargeSizesRoundTripAndTones) {
    FftTables tables(8388608);
    for (int p : {12, 16, 17, 20, 22}) {
        const size_t m = size_t(1) << p;
        const int32_t n = int32_t(2 * m);
        const Data x = noise(2 * m, uint32_t(p));
        Data y = x;
        fftForward(y.data(), n, tables);
        long double energyIn = 0, energyOut = 0;
        for (size_t i = 0; i < 2 * m; ++i) {
            energyIn += (long double)x[i] * x[i];
            energyOut += (long double)y[i] * y[i];
        }
        EXPECT_NEAR(double(energyOut / (energyIn * m)), 1.0, 1e-13) << m;
        fftInverse(y.data(), n, tables);
        long double err = 0;
        for (size_t i = 0; i < 2 * m; ++i) {
            const long double e = (long double)y[i] / m - x[i];
            err += e * e;
        }
        EXPECT_LT(double(std::sqrt(err / energyIn)), tolerance(p)) << m;

        // x[j] = 2 exp(2 pi i 3 j / m) - 0.5i exp(2 pi i f j / m): X = 2m at
        // bin 3, -0.5i m at bin f, zero elsewhere.
        const size_t f = m / 3;
        const auto tone = [m](size_t k) { return std::polar(1.0, double(kTwoPi * (long double)k / m)); };
        Data t(2 * m);
        for (size_t j = 0; j < m; ++j) {
            const std::complex<double> v = 2.0 * tone((3 * j) % m) - 0.5i * tone((f * j) % m);
            t[2 * j] = v.real();
            t[2 * j + 1] = v.imag();
        }
        fftForward(t.data(), n, tables);
        t[6] -= 2.0 * double(m);
        t[2 * f + 1] += 0.5 * double(m);
        double worst = 0;
        for (double v : t) worst = std::max(worst, std::abs(v));
        EXPECT_LT(worst / double(m), tolerance(p)) << m;
    }
}

// The analyser's transform against a naive real DFT with the positive
// exponent, in its packing: a[0] bin 0, a[1] bin 4096, then (re, im) pairs.
TEST(FFT, RealTransformPackingAndSign) {
    FftTables tables(kRealFftLength);
    const size_t n = kRealFftLength;
    const Data x = noise(n, 99);
    Data y = x;
    realFft8192(y.data(), tables);
    const std::vector<Exact> root = roots(n, +1);
    long double err = 0, ref = 0;
    for (size_t k = 0; k <= n / 2; ++k) {
        Exact s = 0;
        for (size_t j = 0; j < n; ++j) s += (long double)x[j] * root[(j * k) & (n - 1)];
        Exact got;
        if (k == 0)
            got = Exact(y[0], 0);
        else if (k == n / 2)
            got = Exact(y[1], 0);
        else
            got = Exact(y[2 * k], y[2 * k + 1]);
        err += std::norm(got - s);
        ref += std::norm(s);
    }
    EXPECT_LT(double(std::sqrt(err / ref)), tolerance(13));
}

// Sums and multiples go through unchanged: F(2x - 3y) = 2F(x) - 3F(y).
TEST(FFT, TableLimitsAndGrowth) {
    const Data x = noise(1 << 13, 5);
    FftTables none;
    FftTables small(1024);
    for (int32_t n : {2048, 8192}) {
        Data y = x;
        fftForward(y.data(), n, small);
        fftInverse(y.data(), n, none);
        EXPECT_EQ(y, x) << n;
    }
    for (int32_t n : {0, 2, 6, 96, 1000, -8}) {
        Data y = x;
        fftForward(y.data(), n, small);
        EXPECT_EQ(y, x) << n;
    }
    Data y = x;
    realFft8192(y.data(), small);
    EXPECT_EQ(y, x);

    FftTables grown(64);
    for (int32_t n : {100, 4096, 1 << 15, 100}) grown.prepare(n);
    EXPECT_EQ(grown.capacity(), 1 << 15);
    FftTables once(1 << 15);
    for (int32_t n = 4; n <= (1 << 13); n *= 2) {
        Data a(x.begin(), x.begin() + n), b = a;
        fftForward(a.data(), n, grown);
        fftForward(b.data(), n, once);
        EXPECT_EQ(a, b) << n;
    }
}

// Threads sharing one const table get what a lone caller gets.
TEST(FFT, ConcurrentCallersShareTables) {
    const FftTables tables(1 << 16);
    const Data x = noise(1 << 16, 11);
    Data serial = x;
    fftForward(serial.data(), 1 << 16, tables);
    std::vector<Data> results(2, x);
    std::vector<std::thread> threads;
    for (Data& r : results)
        threads.emplace_back([&, out = &r] {
            for (int i = 0; i < 4; ++i) {
                *out = x;
                fftForward(out->data(), 1 << 16, tables);
            }
        });
    for (std::thread& t : threads) t.join();
    for (const Data& r : results) EXPECT_EQ(r, serial);
}
