// --set values: names, units, choice words, subtypes and clamping, checked
// on a real effect through the renderer's host.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "core/Plug.h"
#include "tools/render/ChannelOrder.h"
#include "tools/render/EffectHost.h"
#include "tools/render/ParamAssignment.h"
#include "tools/render/RenderError.h"

namespace {

class ParamAssignmentTest : public ::testing::Test {
protected:
    ParamAssignmentTest() : host(2, fileChannelLayout(2), 48000.0, 512), fx(host.effect()), params(fx) {}

    // Applies an assignment and returns the real value the effect then holds.
    double set(const std::string& assignment, std::string* warning = nullptr) {
        const std::string w = params.apply(assignment);
        if (warning) *warning = w;
        const int32_t i = params.findParameter(assignment.substr(0, assignment.find('=')));
        return fx.getRealValue(i);
    }

    // The message of the usage error apply throws, or "" when it does not.
    std::string failure(const std::string& assignment) {
        try {
            params.apply(assignment);
        } catch (const RenderError& e) {
            EXPECT_EQ(e.status(), ExitStatus::kUsage);
            return e.what();
        }
        return "";
    }

    EffectHost host;
    Plug& fx;
    ParamAssignment params;
};

}  // namespace

TEST_F(ParamAssignmentTest, NamesMatchWithoutCaseOrSurroundingBlanks) {
    EXPECT_EQ(params.findParameter("Gain"), kGain);
    EXPECT_EQ(params.findParameter("  band1 FREQUENCY "), int32_t(kBand1Frequency));
    EXPECT_EQ(params.findParameter("Channel 2 Mute"), int32_t(kChannel2Mute));
    EXPECT_EQ(params.findParameter("Band1Frequency"), -1);
    EXPECT_EQ(params.nameOf(kBand32Phase), "Band32 Phase");
}

TEST_F(ParamAssignmentTest, UnknownNamesSuggestTheNearest) {
    const std::vector<std::string> near = params.nearestNames("band1 frequncy", 3);
    ASSERT_EQ(near.size(), 3u);
    EXPECT_EQ(near[0], "Band1 Frequency");
    const std::string message = failure("Gian=3");
    EXPECT_NE(message.find("unknown parameter 'Gian'"), std::string::npos);
    EXPECT_NE(message.find("did you mean 'Gain'"), std::string::npos);
    EXPECT_EQ(editDistance("Scale", "sCALE"), 0u);
    EXPECT_EQ(editDistance("Shift", "Shfit"), 2u);
    EXPECT_EQ(editDistance("", "Mode"), 4u);
}

TEST_F(ParamAssignmentTest, NumbersTakeTheUnitTheParameterShows) {
    EXPECT_NEAR(set("Gain=-6"), -6.0, 1e-5);
    EXPECT_NEAR(set("Gain=+4.5 dB"), 4.5, 1e-5);
    EXPECT_NEAR(set("Gain = -3db"), -3.0, 1e-5);
    EXPECT_NEAR(set("Band1 Frequency=1.5kHz"), 1500.0, 0.01);
    EXPECT_NEAR(set("Band1 Frequency=440 Hz"), 440.0, 0.01);
    EXPECT_NEAR(set("Band1 Q=2 Q"), 2.0, 1e-5);
    EXPECT_NEAR(set("Shift=150%"), 150.0, 1e-3);
    EXPECT_NE(failure("Gain=3 Hz").find("Gain does not take 'Hz' (its unit is dB)"), std::string::npos);
    EXPECT_NE(failure("Band2 Gain=3 kHz").find("does not take"), std::string::npos);
    EXPECT_NE(failure("MS State=3 dB").find("it has no unit"), std::string::npos);
}

TEST_F(ParamAssignmentTest, BandValuesAreReadAfterScaleAndShift) {
    // Band gains are shown times Scale (18 dB by default) and frequencies times Shift.
    set("Band1 Gain=9");
    EXPECT_NEAR(fx.getRealValue(kBand1Gain), 0.5, 1e-5);
    set("Scale=-12");
    set("Band2 Gain=6 dB");
    EXPECT_NEAR(fx.getRealValue(kBand2Gain), -0.5, 1e-5);
    set("Shift=200");
    set("Band3 Frequency=1000");
    EXPECT_NEAR(fx.getRealValue(kBand3Frequency), 500.0, 0.01);
}

TEST_F(ParamAssignmentTest, ChoiceWordsMatchWithoutCase) {
    EXPECT_EQ(set("Mode=FIR"), 1.0);
    EXPECT_EQ(set("Mode=iir"), 0.0);
    EXPECT_EQ(set("IRPhase=linear"), 0.0);
    EXPECT_EQ(set("IRPhase=Full Minimum"), 1.0);
    EXPECT_EQ(set("IRWindow=KAISER"), 10.0);
    EXPECT_EQ(set("IRLength=1024"), 0.0);
    EXPECT_EQ(set("IRLength=16384 samples"), 4.0);
    EXPECT_EQ(set("Band4 State=Byp"), double(kBandBypassed));
    EXPECT_EQ(set("Band4 Type=HSh"), double(kTypeHighShelf));
    EXPECT_EQ(set("Channel 3 Mute=On"), 1.0);
    EXPECT_EQ(set("Channel 3 Phase=inv"), 1.0);
    EXPECT_EQ(set("D+Len=Off"), 0.0);
    EXPECT_EQ(set("D+Len=64"), 3.0);
}

TEST_F(ParamAssignmentTest, ChoiceRowsAlsoTakeTheirRealValue) {
    EXPECT_EQ(set("Mode=1"), 1.0);
    EXPECT_EQ(set("IRPhase=3"), 3.0);
    EXPECT_EQ(set("IRLength=2"), 2.0);  // no word "2": the real value, 4096 samples
    EXPECT_EQ(set("Band1 Groups=17"), 17.0);
    EXPECT_NE(failure("Mode=0.5").find("choose IIR, FIR, or a whole number"), std::string::npos);
    EXPECT_NE(failure("Mode=Turbo").find("'Turbo' is not a value of Mode"), std::string::npos);
}

TEST_F(ParamAssignmentTest, SubtypeWordsFollowTheBandType) {
    set("Band5 Type=HSh");
    EXPECT_EQ(set("Band5 Subtype=First Order"), 7.0);  // 1-based
    EXPECT_EQ(set("Band5 Subtype=kestrawn"), 1.0);
    set("Band6 Type=HPF");
    EXPECT_EQ(set("Band6 Subtype=Butterworth"), 3.0);
    EXPECT_NE(failure("Band6 Subtype=First Order").find("choose a subtype of HPF: Kestrawn, Coincident"), std::string::npos);
    set("Band7 Type=Peak");
    EXPECT_EQ(set("Band7 Subtype=Butterworth"), 13.0);
}

TEST_F(ParamAssignmentTest, ChannelLevelsAreDecibels) {
    EXPECT_NEAR(set("Channel 1 Level=-6"), std::pow(10.0, -6.0 / 20.0), 1e-5);
    EXPECT_NEAR(set("Channel 2 Level=0 dB"), 1.0, 1e-5);
    EXPECT_EQ(set("Channel 3 Level=-"), 0.0);
    EXPECT_EQ(set("Channel 4 Level=-inf dB"), 0.0);
    EXPECT_NE(failure("Channel 4 Level=loud").find("give decibels"), std::string::npos);
}

TEST_F(ParamAssignmentTest, OutOfRangeValuesClampWithAWarningNamingTheRange) {
    std::string warning;
    EXPECT_NEAR(set("Gain=50", &warning), 36.0, 1e-5);
    EXPECT_EQ(warning, "Gain: 50 is outside the range -36.00 dB .. 36.00 dB; clamped to 36.00 dB");
    EXPECT_NEAR(set("Band1 Frequency=5 Hz", &warning), 10.0, 1e-3);
    EXPECT_NE(warning.find("10.0 Hz .. 22000 Hz"), std::string::npos);
    EXPECT_NEAR(set("Channel 1 Level=30 dB", &warning), 8.0, 1e-5);
    EXPECT_NE(warning.find("- .. 18.1 dB"), std::string::npos);
    EXPECT_EQ(set("Mode=7", &warning), 1.0);
    EXPECT_NE(warning.find("IIR .. FIR"), std::string::npos);
    // Scale turned negative reverses the band gain range; it still reads low to high.
    set("Scale=-10");
    EXPECT_NEAR(set("Band1 Gain=-20", &warning), 1.0, 1e-5);
    EXPECT_NE(warning.find("-10.00 dB .. 10.00 dB"), std::string::npos);
    // The limits themselves are in range.
    EXPECT_NEAR(set("Band1 Q=0.1", &warning), 0.1, 1e-6);
    EXPECT_EQ(warning, "");
    EXPECT_NEAR(set("Gain=-36", &warning), -36.0, 1e-5);
    EXPECT_EQ(warning, "");
}

TEST_F(ParamAssignmentTest, MalformedAssignmentsAreRefused) {
    EXPECT_NE(failure("Gain").find("expects NAME=VALUE"), std::string::npos);
    EXPECT_NE(failure("=3").find("names no parameter"), std::string::npos);
    EXPECT_NE(failure("Gain=").find("no value given for Gain"), std::string::npos);
    EXPECT_NE(failure("Gain=loud").find("'loud' is not a value of Gain; give a number in dB"), std::string::npos);
    EXPECT_NE(failure("Gain=nan").find("not a value"), std::string::npos);
    EXPECT_NE(failure("Gain=1;5").find("does not take ';5'"), std::string::npos);
}

// Values typed as in the editor's text entry: commas, "k" for thousands and
// for the point, notes for frequencies.
TEST_F(ParamAssignmentTest, ValuesReadAsTheEditorReadsThem) {
    struct Row {
        const char* assignment;
        double real;  // the value the effect then holds; NAN when refused
        const char* message;  // a fragment of the refusal or of the clamping warning
    };
    const Row rows[] = {
        {"Band1 Frequency=3k", 3000.0, ""},          {"Band1 Frequency=1k5", 1500.0, ""},
        {"Band1 Frequency=2,5kHz", 2500.0, ""},      {"Band1 Frequency=2.5k Hz", 2500.0, ""},
        {"Band1 Frequency=1,5 kHz", 1500.0, ""},     {"Band1 Frequency=12k25", 12250.0, ""},
        {"Band1 Frequency=a4", 440.0, ""},           {"Band1 Frequency=A4 Hz", 440.0, ""},
        {"Band1 Frequency=c5", 523.2511, ""},        {"Band1 Frequency=c#5+20", 560.8067, ""},
        {"Band1 Frequency=e2-50", 80.0609, ""},      {"Band1 Frequency=g#3", 207.6523, ""},
        {"Band1 Frequency=a-1", 13.75, ""},          {"Band1 Frequency=a-2", 10.0, "outside the range"},
        {"Band1 Frequency=40k", 22000.0, "outside"}, {"Gain=-1,5", -1.5, ""},
        {"Gain=+2,25 dB", 2.25, ""},                 {"Band1 Q=0,7", 0.7, ""},
        {"Gain=1k", 36.0, "outside the range"},      {"Mode=1k", 1.0, "outside the range"},
        {"Band1 Frequency=h4", NAN, "'h4' is not a value of Band1 Frequency"},
        {"Band1 Frequency=a", NAN, "not a value"},   {"Band1 Frequency=c#5+", NAN, "not a value"},
        {"Gain=a4", NAN, "not a value of Gain"},     {"Gain=3kHz", NAN, "Gain does not take 'Hz'"},
        {"Band1 Frequency=1k5k", NAN, "does not take 'k'"}, {"Band1 Frequency=3 k", NAN, "does not take 'k'"},
    };
    for (const Row& row : rows) {
        SCOPED_TRACE(row.assignment);
        if (std::isnan(row.real)) {
            EXPECT_NE(failure(row.assignment).find(row.message), std::string::npos) << failure(row.assignment);
            continue;
        }
        std::string warning;
        EXPECT_NEAR(set(row.assignment, &warning), row.real, 1e-5 * std::max(1.0, std::fabs(row.real)));
        EXPECT_NE(warning.find(row.message), std::string::npos) << warning;
        if (!*row.message) {
            EXPECT_EQ(warning, "");
        }
    }
}
