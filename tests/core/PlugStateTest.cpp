// The state an instance saves and restores: chunks, the document's shapes,
// older documents, damaged ones, and the rules of the preset state.

#include <gtest/gtest.h>

#include <cjson/cJSON.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "CoreRun.h"
#include "session/PlugEd.h"
#include "state/GlobalSettings.h"
#include "state/PresetFiles.h"

namespace {

// The document text of the full state (plain chunk).
std::string documentOf(Plug& fx, bool preset = false) {
    const int32_t level = fx.getCompressionLevel();
    fx.setCompressionLevel(0);
    fx.markChunkStale();
    const std::vector<uint8_t> chunk = chunkOf(fx, preset);
    fx.setCompressionLevel(level);
    return std::string(reinterpret_cast<const char*>(chunk.data()));
}

void applyText(Plug& fx, const std::string& text, bool preset = false) {
    std::vector<char> bytes(text.begin(), text.end());
    bytes.push_back(0);
    fx.setChunk(bytes.data(), int32_t(bytes.size()), preset);
}

// A state that uses every part of the document.
void buildRichState(Plug& fx) {
    fx.setProgram(3);
    char name[] = "Air lift";
    fx.setProgramName(name);
    setReal(fx, bandParam(0, kFieldState), kBandOn);
    setReal(fx, bandParam(0, kFieldType), kTypeHighShelf);
    setReal(fx, bandParam(0, kFieldGain), 2.5);
    setReal(fx, bandParam(0, kFieldFrequency), 12000.0);
    setReal(fx, kGain, -1.5);
    fx.setParameterLocked(5, kGain, true);
    const int32_t order[] = {0, 4, 1, -1};
    fx.setBandOrder(3, order, 4);
    fx.setAutoGain(3, 1);
    fx.switchABSlot(2);  // slot A keeps program 3's band order and auto gain
    fx.setAutoGain(3, 2);
    setReal(fx, bandParam(1, kFieldState), kBandOn);
    setReal(fx, bandParam(1, kFieldGain), -3.0);
    setReal(fx, bandParam(1, kFieldQ), 2.0);
    fx.setRenderSetting(2, 3.0f);
    fx.setGroupMask(1, 3);
    fx.setGroupName(2, "Surrounds");
    fx.setInstanceName("Master bus", true);
    fx.uiSettings().setValue("Graph", "Range", 5);
    PlugEd::of(fx)->setLastABSlot(1);
}

}  // namespace

// ---------------------------------------------------------------------------
// Round trips

TEST(StateRoundTrip, AFreshInstanceGivesBackTheSameChunkPlainAndCompressed) {
    for (const int32_t level : {0, 9}) {
        auto saved = makePlug(4);
        buildRichState(*saved);
        saved->setCompressionLevel(level);
        const std::vector<uint8_t> chunk = chunkOf(*saved);

        auto restored = makePlug(4);
        restored->setCompressionLevel(level);
        restored->setChunk(const_cast<uint8_t*>(chunk.data()), int32_t(chunk.size()), false);
        EXPECT_EQ(chunkOf(*restored), chunk) << "level " << level;

        // The chunk is rebuilt from what the instance now runs: the live
        // program, slot and parameters are the saved ones.
        EXPECT_EQ(restored->getProgram(), 3);
        EXPECT_EQ(restored->getABSlot(), 2);
        EXPECT_EQ(restored->programStore().bandOrder(3)[0], -1);  // slot C's band order came with it
        for (int32_t i = 0; i < kNumParams; ++i)
            ASSERT_EQ(restored->getParameter(i), saved->getParameter(i)) << "parameter " << i;
        // Slot A still holds what it had when slot C was chosen.
        restored->switchABSlot(0);
        EXPECT_EQ(restored->programStore().bandOrder(3)[1], 4);
        EXPECT_EQ(restored->programStore().autoGain(3), 1);
        EXPECT_NEAR(restored->getRealValue(kGain), -1.5, 1e-5);  // the curve in float
    }
}

// A document of another frequency range moves no band: a full state with a
// band at 7 Hz, which only the extended range reaches, restored into a new
// instance; a default bank saved on the extended range, heard in a new
// instance; and an extended preset loaded into one program of a standard
// instance, beside another program.
TEST(StateRoundTrip, DocumentsOfAnotherRangeMoveNoBand) {
    const int32_t frequency = bandParam(0, kFieldFrequency);
    auto extendedMaker = [&](double hz) {
        auto fx = makePlug(2);
        fx->uiSettings().setValue("Misc", "Extended Frequencies", 1);
        fx->reloadUISettings();
        setReal(*fx, frequency, hz);
        return fx;
    };
    const std::string text = documentOf(*extendedMaker(7.0));
    EXPECT_NE(text.find("\"minFreq\":\t5"), std::string::npos);
    auto restored = makePlug(2);
    applyText(*restored, text);
    EXPECT_NEAR(restored->getRealValue(frequency), 7.0, 1e-3);
    EXPECT_EQ(documentOf(*restored), text);

    ASSERT_TRUE(PlugEd::of(*extendedMaker(1000.0))->saveStateAsDefault());
    EXPECT_NEAR(makePlug(2)->getRealValue(frequency), 1000.0, 0.01);
    std::filesystem::remove(defaultBankPath(nullptr));

    const std::string preset = documentOf(*extendedMaker(2000.0), true);
    auto fx = makePlug(2);
    fx->setProgram(1);
    setReal(*fx, frequency, 1000.0);
    fx->setProgram(0);
    applyText(*fx, preset, true);
    EXPECT_NEAR(fx->getRealValue(frequency), 2000.0, 0.01);
    fx->setProgram(1);
    EXPECT_NEAR(fx->getRealValue(frequency), 1000.0, 0.01);
}

// Names of surround groups come back from a state restored before the host's
// first resume with the layout, as a renderer or an LV2 host restores.
TEST(StateRoundTrip, SurroundGroupNamesComeBackWhenRestoredBeforeResume) {
    auto saved = makePlug(6);
    saved->setGroupName(0, "Fronts");
    saved->setGroupName(4, "Rears");
    const std::string text = documentOf(*saved);
    for (const bool resumedFirst : {false, true}) {
        auto fx = PlugEd::createEffect(nullptr);
        fx->setNumInputs(6);
        fx->setNumOutputs(6);
        fx->setChannelLayout(standardChannelLayout(6));
        fx->setSampleRate(48000.0f);
        if (resumedFirst) fx->resume();
        applyText(*fx, text);
        fx->resume();
        int32_t count = 0;
        const std::string* names = fx->groupNamesOf(&count);
        ASSERT_EQ(count, 6);
        EXPECT_EQ(names[0], "Fronts") << resumedFirst;
        EXPECT_EQ(names[1], "2") << resumedFirst;
        EXPECT_EQ(names[4], "Rears") << resumedFirst;
    }
}

// ---------------------------------------------------------------------------
// Chunks

TEST(StateChunk, AnUnchangedStateHandsBackTheCachedSessionEvenAfterAPresetRequest) {
    auto fx = makePlug(2);
    fx->setCompressionLevel(0);
    void* first = nullptr;
    void* second = nullptr;
    const int32_t size = fx->getChunk(&first, false);
    const std::vector<uint8_t> full(static_cast<uint8_t*>(first), static_cast<uint8_t*>(first) + size);
    EXPECT_NE(chunkOf(*fx, true), full);
    // Nothing changed: the full request hands back the session, not the
    // preset made in between.
    EXPECT_FALSE(fx->isChunkStale());
    EXPECT_EQ(fx->getChunk(&second, false), size);
    EXPECT_EQ(first, second);
    setReal(*fx, kGain, 1.0);
    EXPECT_TRUE(fx->isChunkStale());
    EXPECT_NE(chunkOf(*fx), full);
}

// ---------------------------------------------------------------------------
// Damaged chunks

TEST(StateDamage, ChunksThatDoNotParseLeaveTheStateAsItWas) {
    auto fx = makePlug(2);
    setReal(*fx, kGain, -2.0);
    setReal(*fx, bandParam(3, kFieldState), kBandOn);
    fx->setCompressionLevel(9);
    const std::vector<uint8_t> good = chunkOf(*fx);
    const std::string before = documentOf(*fx);

    std::vector<uint8_t> flipped = good;
    for (size_t i = 10; i < flipped.size(); i += 7) flipped[i] ^= 0x5A;  // stream errors
    const std::string badJson = "{\"presets\": [ {\"name\": \"x\" ";
    std::vector<std::vector<uint8_t>> damaged = {
        std::vector<uint8_t>(good.begin(), good.begin() + good.size() / 2),  // truncated stream
        flipped, {'Z', 'I', 'P', ' '}, {'Z', 'I', 'P'}, std::vector<uint8_t>(badJson.begin(), badJson.end()), {0},
        {0xFF, 0xFE, 0x00, 0x7B}};
    for (size_t k = 0; k < damaged.size(); ++k)
        for (const bool preset : {false, true}) {
            std::vector<uint8_t>& bytes = damaged[k];
            EXPECT_EQ(fx->setChunk(bytes.data(), int32_t(bytes.size()), preset), int32_t(bytes.size()));
            EXPECT_EQ(documentOf(*fx), before) << "damaged chunk " << k << (preset ? " as a preset" : "");
        }
    EXPECT_EQ(fx->setChunk(nullptr, 100, false), 0);
    EXPECT_EQ(documentOf(*fx), before);
}

TEST(StateDamage, WrongTypesReadAsZeroOrEmpty) {
    auto fx = makePlug(2);
    fx->setParameterLocked(0, kGain, true);
    applyText(*fx, "not json");  // a failed full state still clears the lock words
    EXPECT_EQ(fx->programStore().lockWord(0, kGain / 32), 0u);
    setReal(*fx, kGain, 3.0);
    const float gainBefore = fx->getParameter(kGain);
    applyText(*fx, R"({"presets": 5, "ab": "x", "renderParams": {"a": 1}, "routing": [1],
                      "settings": 3, "uiprefs": [], "minFreq": "low", "zla": true})");
    EXPECT_EQ(fx->getParameter(kGain), gainBefore);  // no program was read

    applyText(*fx, R"({"presets": [{"name": 12, "parameters": {"kGain": "loud", "kBand1Gain": 0.75},
                                    "bandOrder": "x", "lockArray": [true, -5, 1e99], "autoGain": []}]})");
    EXPECT_STREQ(fx->programStore().program(0).name, "");
    EXPECT_EQ(fx->getParameter(kGain), 0.0f);
    EXPECT_EQ(fx->getParameter(bandParam(0, kFieldGain)), 0.75f);
    EXPECT_EQ(fx->programStore().lockWord(0, 0), 0u);
    EXPECT_EQ(fx->programStore().lockWord(0, 2), 0xFFFFFFFFu);
}

// ---------------------------------------------------------------------------
// Keys, defaults and older documents

TEST(StateKeys, ParameterNamesAreExactWhileDocumentKeysIgnoreCase) {
    auto fx = makePlug(2);
    applyText(*fx, R"({"PRESETS": [{"parameters": {"kgain": 0.9, "kBand1Gain": 0.25, "kNoSuchThing": 0.5,
                      "kGUIEQGraph": 0.5, "kNumParams": 0.5, "kBand2Gain": 7, "kBand3Gain": -1}}],
                      "AB": [{"parameters": {"kScale": 0.1}}]})");
    EXPECT_EQ(fx->getParameter(kGain), fx->getDefaultNorm(kGain));
    EXPECT_EQ(fx->getParameter(bandParam(0, kFieldGain)), 0.25f);
    EXPECT_EQ(fx->getParameter(bandParam(1, kFieldGain)), 1.0f);  // values live on 0..1
    EXPECT_EQ(fx->getParameter(bandParam(2, kFieldGain)), 0.0f);
    EXPECT_EQ(fx->programStore().slot(0).values[kScale], 0.1f);
}

TEST(StateKeys, DifferenceFormWritesOnlyWhatDiffers) {
    auto fx = makePlug(2);
    const std::string fresh = documentOf(*fx);
    EXPECT_NE(fresh.find("\"parameters\":\t\"default\""), std::string::npos);

    // Under 1e-9 from the default counts as the default.
    fx->setParameter(kGain, fx->getDefaultNorm(kGain) + 1e-12f);
    const std::string tiny = documentOf(*fx);
    EXPECT_EQ(tiny.find("\"kGain\""), std::string::npos);

    setReal(*fx, kGain, 6.0);
    cJSON* root = cJSON_Parse(documentOf(*fx).c_str());
    const cJSON* parameters = cJSON_GetObjectItem(cJSON_GetArrayItem(cJSON_GetObjectItem(root, "presets"), 0),
                                                  "parameters");
    ASSERT_TRUE(cJSON_IsObject(parameters));
    EXPECT_EQ(cJSON_GetArraySize(parameters), 1);
    // Ten decimals: within half a unit of the tenth.
    EXPECT_NEAR(cJSON_GetObjectItem(parameters, "kGain")->valuedouble, double(fx->getParameter(kGain)), 5e-11);
    cJSON_Delete(root);

    applyText(*fx, R"({"presets": [{"parameters": "default"}]})");
    EXPECT_EQ(fx->getParameter(kGain), fx->getDefaultNorm(kGain));
}

TEST(StateMigration, OlderDocumentsGetTheirDocumentedDefaults) {
    auto fx = makePlug(2);
    // No zla: the older alignment, and it is not written again. A range
    // needs both bounds: one alone keeps the standard range.
    applyText(*fx, R"({"presets": [], "minFreq": 5})");
    EXPECT_TRUE(fx->isLegacyAlignment());
    EXPECT_EQ(documentOf(*fx).find("\"zla\""), std::string::npos);
    EXPECT_EQ(documentOf(*fx).find("minFreq"), std::string::npos);
    EXPECT_FLOAT_EQ(fx->getMinFrequency(), 10.0f);
    EXPECT_FLOAT_EQ(fx->getMaxFrequency(), 22000.0f);

    // No presets: a document of one program, the current one.
    fx->setProgram(4);
    applyText(*fx, R"({"name": "Single", "parameters": {"kBand1Gain": 0.6}, "zla": true})");
    EXPECT_STREQ(fx->programStore().program(4).name, "Single");
    EXPECT_EQ(fx->getParameter(bandParam(0, kFieldGain)), 0.6f);
    EXPECT_EQ(fx->getParameter(kGain), fx->getDefaultNorm(kGain));
    EXPECT_FALSE(fx->isLegacyAlignment());

    // MIDI input of an older document comes from the global switch.
    GlobalSettings::instance().setValue("MIDI Disabled", 0);
    applyText(*fx, R"({"uiprefs": {"Misc": {"Number format": {"value": 1}}}})");
    EXPECT_EQ(PlugEd::of(*fx)->getUiSetting("Misc", "MIDI Input"), 1);
    EXPECT_EQ(PlugEd::of(*fx)->getUiSetting("Misc", "Number format"), 1);
    applyText(*fx, R"({"uiprefs": {"Misc": {"MIDI Input": {"value": 0}}}})");
    EXPECT_EQ(PlugEd::of(*fx)->getUiSetting("Misc", "MIDI Input"), 0);
}

TEST(StateMigration, ShortAndLongListsTouchOnlyWhatTheyHold) {
    auto fx = makePlug(2);
    const int32_t order[] = {5, 6, 7, 8, -1};
    fx->setBandOrder(1, order, 5);
    applyText(*fx, R"({"presets": [{}, {"bandOrder": [9, 2]}]})");
    EXPECT_EQ(fx->programStore().bandOrder(1)[0], 9);
    EXPECT_EQ(fx->programStore().bandOrder(1)[1], 2);
    EXPECT_EQ(fx->programStore().bandOrder(1)[2], 7);  // beyond the document's entries

    std::string many = R"({"presets": [)";
    for (int32_t p = 0; p < 25; ++p) many += std::string(p ? "," : "") + "{\"name\": \"P" + std::to_string(p) + "\"}";
    many += R"(], "ab": [)";
    for (int32_t s = 0; s < 10; ++s) many += std::string(s ? "," : "") + "{\"parameters\": {\"kGain\": 0.5}}";
    many += "]}";
    applyText(*fx, many);
    EXPECT_STREQ(fx->programStore().program(19).name, "P19");
    EXPECT_EQ(fx->programStore().slot(7).values[kGain], 0.5f);
}

// ---------------------------------------------------------------------------
// Preset state

TEST(PresetState, HoldsOnlyTheCurrentProgramsPartsTheFlagsAllow) {
    auto fx = makePlug(2);
    setReal(*fx, kGain, 4.0);
    setReal(*fx, kIRLength, 5.0);
    fx->setLoadingFlags(kLoadDSP);
    const std::string dspOnly = documentOf(*fx, true);
    cJSON* root = cJSON_Parse(dspOnly.c_str());
    ASSERT_NE(root, nullptr);
    const cJSON* parameters = cJSON_GetObjectItem(root, "parameters");
    EXPECT_NE(cJSON_GetObjectItem(parameters, "kIRLength"), nullptr);
    EXPECT_EQ(cJSON_GetObjectItem(parameters, "kGain"), nullptr);
    for (const char* key : {"bandOrder", "zla", "presets"}) EXPECT_EQ(cJSON_GetObjectItem(root, key), nullptr) << key;
    EXPECT_EQ(cJSON_GetObjectItem(cJSON_GetObjectItem(root, "settings"), "currentAB"), nullptr);
    cJSON_Delete(root);

    // Applied with both parts, the EQ part absent from it falls to defaults.
    fx->setLoadingFlags(kLoadEQ | kLoadDSP | kLoadUI);
    applyText(*fx, dspOnly, true);
    EXPECT_EQ(fx->getParameter(kGain), fx->getDefaultNorm(kGain));
    EXPECT_FLOAT_EQ(fx->getRealValue(kIRLength), 5.0f);
}

TEST(PresetState, EachFlagLoadsItsPartAndLeavesTheOtherAsItWas) {
    auto source = makePlug(2);
    setReal(*source, kGain, -4.0);
    setReal(*source, kIRLength, 6.0);
    const std::string preset = documentOf(*source, true);  // IIR, Gain -4 dB, IRLength 6
    EXPECT_NE(preset.find("\"kIRLength\""), std::string::npos);

    // flags, then what program 3 shows after the preset: Gain, Mode, IRLength.
    struct Case { uint32_t flags; float gain, mode, irLength; };
    for (const Case c : {Case{kLoadEQ, -4.0f, 1.0f, 2.0f}, Case{kLoadDSP, 3.0f, 0.0f, 6.0f},
                         Case{kLoadEQ | kLoadDSP, -4.0f, 0.0f, 6.0f}}) {
        auto target = makePlug(2);
        target->setProgram(2);
        setReal(*target, kGain, 3.0);
        setReal(*target, kMode, 1.0);  // FIR
        setReal(*target, kIRLength, 2.0);
        target->setLoadingFlags(c.flags);
        applyText(*target, preset, true);
        EXPECT_EQ(target->getProgram(), 2);
        EXPECT_NEAR(target->getRealValue(kGain), c.gain, 1e-4) << c.flags;
        EXPECT_FLOAT_EQ(target->getRealValue(kMode), c.mode) << c.flags;
        EXPECT_FLOAT_EQ(target->getRealValue(kIRLength), c.irLength) << c.flags;
    }
}

// ---------------------------------------------------------------------------
// Programs and slots

TEST(ProgramsAndSlots, InstanceNameIsTakenOnlyBeforeAudioRuns) {
    auto fx = makePlug(2);
    applyText(*fx, R"({"instanceName": "Drums"})");
    EXPECT_STREQ(fx->getInstanceName(), "Drums");
    float silence[64] = {};
    float* io[2] = {silence, silence};
    fx->processReplacing(io, io, 64);
    applyText(*fx, R"({"instanceName": "Vocals"})");
    EXPECT_STREQ(fx->getInstanceName(), "Drums");
}

TEST(StateMigration, EachTopLevelKeyLeftOutGivesItsDocumentedReading) {
    // A full document of a state that differs from a fresh instance in every
    // part, applied with one key left out to an instance that differs again.
    auto source = makePlug(4);
    buildRichState(*source);
    source->uiSettings().setValue("Misc", "MIDI Input", 1);
    const std::string full = documentOf(*source);

    auto prepared = [] {
        auto fx = makePlug(4);
        fx->setRenderSetting(0, 1.0f);
        fx->setGroupMask(0, 9);
        fx->setInstanceName("Before", true);
        fx->uiSettings().setValue("Graph", "Range", 1);
        fx->uiSettings().setValue("Misc", "MIDI Input", 1);
        return fx;
    };
    auto without = [&](const char* key) {
        cJSON* root = cJSON_Parse(full.c_str());
        cJSON_DeleteItemFromObjectCaseSensitive(root, key);
        auto fx = prepared();
        char* text = cJSON_PrintUnformatted(root);
        applyText(*fx, text);
        cJSON_free(text);
        cJSON_Delete(root);
        return fx;
    };

    EXPECT_STREQ(without("presets")->programStore().program(3).name, "-");  // read as a single program: 3 untouched
    {
        auto fx = without("ab");
        for (int32_t s = 0; s < kNumABSlots; ++s)  // every slot holds the live state
            EXPECT_EQ(fx->programStore().slot(s).values[kGain], fx->getParameter(kGain)) << s;
    }
    EXPECT_TRUE(without("zla")->isLegacyAlignment());
    EXPECT_EQ(without("renderParams")->getRenderSetting(0), 1.0f);  // kept
    EXPECT_EQ(without("routing")->getGroupMask(0), 9);
    EXPECT_STREQ(without("instanceName")->getInstanceName(), "Before");
    {
        auto fx = without("settings");
        EXPECT_EQ(fx->getProgram(), 0);  // no current program or slot from the document
        EXPECT_EQ(fx->getABSlot(), 0);
    }
    {
        // Without UI settings the instance keeps its own, MIDI Input too,
        // whatever the older global switch says.
        GlobalSettings::instance().setValue("MIDI Disabled", 1);
        auto fx = without("uiprefs");
        EXPECT_EQ(PlugEd::of(*fx)->getUiSetting("Graph", "Range"), 1);
        EXPECT_EQ(PlugEd::of(*fx)->getUiSetting("Misc", "MIDI Input"), 1);
    }
    // And with nothing left out, all of it arrives.
    auto all = prepared();
    applyText(*all, full);
    EXPECT_EQ(documentOf(*all), full);
}
