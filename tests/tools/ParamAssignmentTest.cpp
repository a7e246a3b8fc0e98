// --set values on a real effect through the renderer's host: names, units,
// choice words, subtypes, channel levels, clamping and the editor's ways of
// typing numbers. The rows run in order on one instance, so a row may change
// what later rows read (Scale, Shift, a band's Type).

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "core/Plug.h"
#include "tools/render/ChannelOrder.h"
#include "tools/render/EffectHost.h"
#include "tools/render/ParamAssignment.h"
#include "tools/render/RenderError.h"

TEST(ParamAssignment, EachRowSetsItsRealValueOrIsRefused) {
    struct Row {
        const char* assignment;
        double real;          // the value the effect then holds; NAN when refused
        const char* message;  // a fragment of the refusal or of the clamping warning; "" for no warning
    };
    const double kMinus6 = std::pow(10.0, -6.0 / 20.0);
    const Row rows[] = {
        // Names match without case or surrounding blanks; unknown ones suggest the nearest.
        {"  band1 FREQUENCY =440 Hz", 440.0, ""}, {"Gian=3", NAN, "unknown parameter 'Gian'; did you mean 'Gain'"},
        {"Band1Frequency=3", NAN, "unknown parameter"}, {"Band1 Frequncy=3", NAN, "did you mean 'Band1 Frequency'"},
        // Numbers in the unit shown.
        {"Gain=-6", -6.0, ""}, {"Gain=+4.5 dB", 4.5, ""},
        {"Gain = -3db", -3.0, ""}, {"Band1 Frequency=1.5kHz", 1500.0, ""},
        {"Band1 Q=2 Q", 2.0, ""}, {"Gain=3 Hz", NAN, "Gain does not take 'Hz' (its unit is dB)"},
        {"Band2 Gain=3 kHz", NAN, "does not take"}, {"MS State=3 dB", NAN, "it has no unit"},
        // Band gains are shown times Scale (18 dB by default).
        {"Band1 Gain=9", 0.5, ""},
        // Choice words in any case, or the real value as a whole number.
        {"Mode=FIR", 1.0, ""}, {"Mode=iir", 0.0, ""},
        {"Mode=1", 1.0, ""}, {"IRPhase=linear", 0.0, ""},
        {"IRPhase=Full Minimum", 1.0, ""}, {"IRPhase=3", 3.0, ""},
        {"IRWindow=KAISER", 10.0, ""}, {"IRLength=16384 samples", 4.0, ""},
        {"IRLength=1024", 0.0, ""},
        {"IRLength=2", 2.0, ""},  // no word "2": the real value, 4096 samples
        {"Band1 Groups=17", 17.0, ""}, {"Band4 State=Byp", double(kBandBypassed), ""},
        {"Band4 Type=HSh", double(kTypeHighShelf), ""}, {"Channel 3 Mute=On", 1.0, ""},
        {"Channel 3 Phase=inv", 1.0, ""}, {"D+Len=Off", 0.0, ""},
        {"D+Len=64", 3.0, ""}, {"Mode=0.5", NAN, "choose IIR, FIR, or a whole number"},
        {"Mode=Turbo", NAN, "'Turbo' is not a value of Mode"},
        // Subtype words follow the band's type; the real value is 1-based.
        {"Band5 Type=HSh", double(kTypeHighShelf), ""}, {"Band5 Subtype=First Order", 7.0, ""},
        {"Band5 Subtype=kestrawn", 1.0, ""}, {"Band6 Type=HPF", double(kTypeHPF), ""},
        {"Band6 Subtype=Butterworth", 3.0, ""},
        {"Band6 Subtype=First Order", NAN, "choose a subtype of HPF: Kestrawn, Coincident"},
        {"Band7 Type=Peak", double(kTypePeak), ""}, {"Band7 Subtype=Butterworth", 13.0, ""},
        // Channel levels are decibels.
        {"Channel 1 Level=-6", kMinus6, ""}, {"Channel 2 Level=0 dB", 1.0, ""},
        {"Channel 3 Level=-", 0.0, ""}, {"Channel 4 Level=-inf dB", 0.0, ""},
        {"Channel 4 Level=loud", NAN, "give decibels"},
        // Out of range: clamped, with a warning naming the range; the limits themselves are in range.
        {"Gain=50", 36.0, "Gain: 50 is outside the range -36.00 dB .. 36.00 dB; clamped to 36.00 dB"},
        {"Gain=-36", -36.0, ""}, {"Band1 Frequency=5 Hz", 10.0, "10.0 Hz .. 22000 Hz"},
        {"Band1 Q=0.1", 0.1, ""}, {"Channel 1 Level=30 dB", 8.0, "- .. 18.1 dB"},
        {"Mode=7", 1.0, "IIR .. FIR"},
        // Malformed assignments.
        {"Gain", NAN, "expects NAME=VALUE"}, {"=3", NAN, "names no parameter"},
        {"Gain=", NAN, "no value given for Gain"},
        {"Gain=loud", NAN, "'loud' is not a value of Gain; give a number in dB"}, {"Gain=nan", NAN, "not a value"},
        {"Gain=1;5", NAN, "does not take ';5'"},
        // Numbers as the editor's text entry reads them: commas, "k", notes.
        {"Band1 Frequency=3k", 3000.0, ""}, {"Band1 Frequency=1k5", 1500.0, ""},
        {"Band1 Frequency=2,5kHz", 2500.0, ""}, {"Band1 Frequency=2.5k Hz", 2500.0, ""},
        {"Band1 Frequency=1,5 kHz", 1500.0, ""}, {"Band1 Frequency=12k25", 12250.0, ""},
        {"Band1 Frequency=a4", 440.0, ""}, {"Band1 Frequency=A4 Hz", 440.0, ""},
        {"Band1 Frequency=c5", 523.2511, ""}, {"Band1 Frequency=c#5+20", 560.8067, ""},
        {"Band1 Frequency=e2-50", 80.0609, ""}, {"Band1 Frequency=g#3", 207.6523, ""},
        {"Band1 Frequency=a-1", 13.75, ""}, {"Band1 Frequency=a-2", 10.0, "outside the range"},
        {"Band1 Frequency=40k", 22000.0, "outside"}, {"Gain=-1,5", -1.5, ""},
        {"Gain=+2,25 dB", 2.25, ""}, {"Band1 Q=0,7", 0.7, ""},
        {"Gain=1k", 36.0, "outside the range"}, {"Mode=1k", 1.0, "outside the range"},
        {"Band1 Frequency=h4", NAN, "'h4' is not a value of Band1 Frequency"},
        {"Band1 Frequency=a", NAN, "not a value"}, {"Band1 Frequency=c#5+", NAN, "not a value"},
        {"Gain=a4", NAN, "not a value of Gain"}, {"Gain=3kHz", NAN, "Gain does not take 'Hz'"},
        {"Band1 Frequency=1k5k", NAN, "does not take 'k'"}, {"Band1 Frequency=3 k", NAN, "does not take 'k'"},
        // Band values are read after Scale and Shift; a negative Scale
        // reverses the band gain range, which still reads low to high.
        {"Scale=-12", -12.0, ""}, {"Band2 Gain=6 dB", -0.5, ""},
        {"Scale=-10", -10.0, ""}, {"Band1 Gain=-20", 1.0, "-10.00 dB .. 10.00 dB"},
        {"Shift=150%", 150.0, ""}, {"Shift=200", 200.0, ""},
        {"Band3 Frequency=1000", 500.0, ""},
    };
    EffectHost host(2, fileChannelLayout(2), 48000.0, 512);
    Plug& fx = host.effect();
    ParamAssignment params(fx);
    for (const Row& row : rows) {
        SCOPED_TRACE(row.assignment);
        std::string warning;
        try {
            warning = params.apply(row.assignment);
        } catch (const RenderError& e) {
            EXPECT_EQ(e.status(), ExitStatus::kUsage);
            EXPECT_TRUE(std::isnan(row.real)) << e.what();
            EXPECT_NE(std::string(e.what()).find(row.message), std::string::npos) << e.what();
            continue;
        }
        if (std::isnan(row.real)) {
            ADD_FAILURE() << "accepted";
            continue;
        }
        const std::string name(row.assignment, std::string_view(row.assignment).find('='));
        const double real = fx.getRealValue(params.findParameter(name));
        EXPECT_NEAR(real, row.real, 1e-5 * std::max(1.0, std::fabs(row.real)));
        EXPECT_NE(warning.find(row.message), std::string::npos) << warning;
        if (!*row.message) {
            EXPECT_EQ(warning, "");
        }
    }
}
