// Presets and banks as the editor handles them: the menu of programs and
// files, loading under the flags, files that round-trip, files that fail,
// and the default bank a new instance starts from.

#include <gtest/gtest.h>

#include <cjson/cJSON.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "TestHost.h"
#include "session/PlugEd.h"
#include "state/Alerts.h"
#include "state/GlobalSettings.h"
#include "state/PresetFiles.h"

namespace fs = std::filesystem;

namespace {

// A value as the user sees it: dB, Hz, the row's choices.
double shownOf(Plug& fx, int32_t index) {
    return fx.normToDisplay(index, fx.getParameter(index));
}

void rename(Plug& fx, const char* name) {
    std::vector<char> text(name, name + std::strlen(name) + 1);
    fx.setProgramName(text.data());
}

std::vector<float> valuesOf(Plug& fx) {
    std::vector<float> v(kNumParams);
    for (int32_t i = 0; i < kNumParams; ++i) v[size_t(i)] = fx.getParameter(i);
    return v;
}

std::string presetFolder() {
    fs::create_directories(presetFolderPath());
    return presetFolderPath();
}

// A preset with a high shelf of `gain` dB and a kIRLength of `irLength`.
void writePreset(const std::string& path, double gain, double irLength, const char* name) {
    auto fx = makePlug(2);
    setShown(*fx, bandParam(0, kFieldState), kBandOn);
    setShown(*fx, bandParam(0, kFieldType), kTypeHighShelf);
    setShown(*fx, bandParam(0, kFieldGain), gain);
    setShown(*fx, kIRLength, irLength);
    rename(*fx, name);
    ASSERT_TRUE(PlugEd::of(*fx)->savePreset(path));
}

// A preset folder of a shelf, and two more in a subfolder.
void writeFolder() {
    const std::string folder = presetFolder();
    writePreset(folder + "Air.fwi", 2.0, 3, "Air");
    fs::create_directories(folder + "Mastering");
    writePreset(folder + "Mastering/10 Dark.fwi", -2.0, 3, "Dark");
    writePreset(folder + "Mastering/2 Bright.fwi", 1.0, 3, "Bright");
}

}  // namespace

TEST(PresetMenu, ProgramsInUseThenASeparatorThenTheFolder) {
    writeFolder();

    auto fx = makePlug(2);
    PlugEd& ed = *PlugEd::of(*fx);
    ed.rebuildPresetMenu();
    // A fresh instance: every program unused, shown as one blank entry.
    EXPECT_EQ(menuText(ed.getPresetMenu()), " \n-\nAir\nMastering/\n  2 Bright\n  10 Dark\n");

    fx->setProgram(2);
    rename(*fx, "Vocal bus");
    ed.rebuildPresetMenu();
    EXPECT_EQ(menuText(ed.getPresetMenu()), " \n \nVocal bus\n-\nAir\nMastering/\n  2 Bright\n  10 Dark\n");
}

TEST(PresetMenu, ChoosingAProgramAFileOrABanksProgramLoadsIt) {
    writeFolder();

    auto fx = makePlug(2);
    PlugEd& ed = *PlugEd::of(*fx);
    ed.rebuildPresetMenu();
    const cJSON* root = ed.getPresetRoot();
    // Positions: program 0, the separator, "Air", "Mastering".
    ed.applyMenuPreset(root, 2);
    EXPECT_NEAR(shownOf(*fx, bandParam(0, kFieldGain)), 2.0, 1e-4);
    EXPECT_STREQ(fx->programStore().program(0).name, "Air");

    const cJSON* mastering = cJSON_GetArrayItem(root, 3);
    ed.applyMenuPreset(mastering, 0);
    EXPECT_NEAR(shownOf(*fx, bandParam(0, kFieldGain)), 1.0, 1e-4);
    EXPECT_TRUE(ed.canPresetNext());
    EXPECT_FALSE(ed.canPresetPrev());
    ed.presetNext();
    EXPECT_NEAR(shownOf(*fx, bandParam(0, kFieldGain)), -2.0, 1e-4);
    EXPECT_STREQ(fx->programStore().program(0).name, "10 Dark");
    EXPECT_FALSE(ed.canPresetNext());
    ed.presetPrev();
    EXPECT_NEAR(shownOf(*fx, bandParam(0, kFieldGain)), 1.0, 1e-4);

    ed.applyMenuPreset(root, 0);  // a program of the instance
    EXPECT_EQ(fx->getProgram(), 0);
}

TEST(PresetMenu, ABanksProgramLeavesMidiInputAsItWas) {
    const std::string path = presetFolder() + "Live.fwb";
    {
        auto maker = makePlug(2);
        rename(*maker, "Lift");
        setShown(*maker, kGain, 2.0);
        ASSERT_TRUE(PlugEd::of(*maker)->saveBank(path));
    }
    GlobalSettings::instance().setValue("MIDI Disabled", 1);  // the older switch says off
    for (const int32_t midiInput : {0, 1}) {
        auto fx = makePlug(2);
        PlugEd& ed = *PlugEd::of(*fx);
        ed.setLoadingFlags(kLoadEQ | kLoadDSP | kLoadUI);
        fx->uiSettings().setValue("Misc", "MIDI Input", midiInput);
        ed.rebuildPresetMenu();
        const cJSON* bank = cJSON_GetObjectItem(ed.getPresetRoot(), "Live");
        int32_t lift = 0;  // the bank's programs are listed by name
        for (const cJSON* p = bank ? bank->child : nullptr; p && std::strcmp(p->string, "Lift") != 0; p = p->next) ++lift;
        ed.applyMenuPreset(bank, lift);
        EXPECT_NEAR(fx->getRealValue(kGain), 2.0, 1e-4);
        EXPECT_EQ(ed.getUiSetting("Misc", "MIDI Input"), midiInput);
    }
    GlobalSettings::instance().setValue("MIDI Disabled", 0);
    fs::remove(path);
}

TEST(PresetFilesTest, APresetRoundTripsAndHonoursTheLoadingFlags) {
    const std::string path = presetFolder() + "tilt.fwi";
    writePreset(path, 3.0, 6, "Tilt");

    auto target = makePlug(2);
    PlugEd& ed = *PlugEd::of(*target);
    ASSERT_TRUE(ed.loadPreset(path));
    EXPECT_NEAR(shownOf(*target, bandParam(0, kFieldGain)), 3.0, 1e-4);
    EXPECT_FLOAT_EQ(target->getRealValue(kIRLength), 6.0f);
    EXPECT_STREQ(target->programStore().program(0).name, "Tilt");

    // EQ only: the DSP part of the file is left at its default.
    auto eqOnly = makePlug(2);
    PlugEd::of(*eqOnly)->setLoadingFlag(kGUIPresetDSP, false);
    ASSERT_TRUE(PlugEd::of(*eqOnly)->loadPreset(path));
    EXPECT_NEAR(shownOf(*eqOnly, bandParam(0, kFieldGain)), 3.0, 1e-4);
    EXPECT_EQ(eqOnly->getParameter(kIRLength), eqOnly->getDefaultNorm(kIRLength));
    // The flags are the user's: another instance reads them too.
    auto other = makePlug(2);
    EXPECT_EQ(PlugEd::of(*other)->getLoadingFlags() & kLoadDSP, 0u);
    PlugEd::of(*other)->setLoadingFlag(kGUIPresetDSP, true);
    EXPECT_NE(PlugEd::of(*eqOnly)->getLoadingFlags() & kLoadDSP, 0u);
}

TEST(PresetFilesTest, ABankOfTwentyProgramsRoundTrips) {
    const std::string path = presetFolder() + "session.fwb";
    auto source = makePlug(2);
    for (int32_t p = 0; p < kNumPrograms; ++p) {
        source->setProgram(p);
        rename(*source, ("Program " + std::to_string(p + 1)).c_str());
        setShown(*source, bandParam(p % kNumBands, kFieldState), kBandOn);
        setShown(*source, bandParam(p % kNumBands, kFieldGain), -6.0 + 0.5 * p);
        setShown(*source, bandParam(p % kNumBands, kFieldFrequency), 50.0 * (p + 1));
    }
    source->setProgram(7);
    ASSERT_TRUE(PlugEd::of(*source)->saveBank(path));

    auto target = makePlug(2);
    ASSERT_TRUE(PlugEd::of(*target)->loadBank(path));
    EXPECT_EQ(target->getProgram(), 7);
    for (int32_t p = 0; p < kNumPrograms; ++p) {
        EXPECT_STREQ(target->programStore().program(p).name, source->programStore().program(p).name);
        for (int32_t i = 0; i < kNumParams; ++i)
            ASSERT_EQ(target->programStore().program(p).values[i], source->programStore().program(p).values[i])
                << p << "/" << i;
    }
    EXPECT_EQ(valuesOf(*target), valuesOf(*source));
}

TEST(PresetFilesTest, FilesThatCannotBeReadOrWrittenAlertAndChangeNothing) {
    Alerts::instance().takeAll();
    auto fx = makePlug(2);
    setShown(*fx, kGain, 2.0);
    rename(*fx, "Keep");
    const std::vector<float> before = valuesOf(*fx);
    PlugEd& ed = *PlugEd::of(*fx);

    EXPECT_FALSE(ed.loadPreset(presetFolder() + "missing.fwi"));
    EXPECT_FALSE(ed.loadBank(presetFolder() + "missing.fwb"));
    EXPECT_FALSE(ed.savePreset("/proc/no-such-place/out.fwi"));
    EXPECT_EQ(valuesOf(*fx), before);
    EXPECT_STREQ(fx->programStore().program(0).name, "Keep");
    const std::vector<Alerts::Alert> alerts = Alerts::instance().takeAll();
    ASSERT_EQ(alerts.size(), 3u);
    EXPECT_NE(alerts[0].text.find("Failed to read from file " + presetFolder() + "missing.fwi"), std::string::npos);
    EXPECT_NE(alerts[2].text.find("Failed to write to file /proc/no-such-place/out.fwi"), std::string::npos);
    EXPECT_NE(alerts[2].text.find("Your data has not been saved"), std::string::npos);
}

TEST(PresetFilesTest, ANewInstanceStartsFromTheDefaultBankOrTheFactoryBank) {
    std::string factory;
    const std::string defaults = defaultBankPath(&factory);
    fs::create_directories(fs::path(defaults).parent_path());
    {
        auto maker = makePlug(2);
        maker->setProgram(4);
        rename(*maker, "Factory four");
        setShown(*maker, kGain, -3.0);
        void* data = nullptr;
        const int32_t size = maker->getChunk(&data, false);
        ASSERT_TRUE(writeWholeFile(factory, data, size_t(size)));
    }
    {
        auto fresh = makePlug(2);
        EXPECT_STREQ(fresh->programStore().program(4).name, "Factory four");
        EXPECT_EQ(fresh->getProgram(), 4);
        EXPECT_FLOAT_EQ(fresh->getRealValue(kGain), -3.0f);
    }
    {
        auto maker = makePlug(2);
        rename(*maker, "My default");
        void* data = nullptr;
        const int32_t size = maker->getChunk(&data, false);
        ASSERT_TRUE(writeWholeFile(defaults, data, size_t(size)));
    }
    // The default bank now stands before the factory bank.
    auto fresh = makePlug(2);
    EXPECT_STREQ(fresh->programStore().program(4).name, "My default");
    EXPECT_EQ(fresh->getProgram(), 4);
    // The run's later instances start from the shipped programs again.
    fs::remove(defaults);
    fs::remove(factory);
}
