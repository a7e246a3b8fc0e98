// The factory bank as the build makes it from resources/factory-bank.txt:
// its programs and names, the preset files beside it, what each program does
// to a signal, and how fenwoldrine-bankgen fails and repeats itself.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <random>
#include <sstream>

#include "TestHost.h"
#include "ToolTestSupport.h"

namespace fs = std::filesystem;

namespace {

constexpr int32_t kPrograms = 20;
const std::string kFactory = FW_FACTORY_DIR;
const std::string kBankFile = kFactory + "/Factory Bank.fwi";

std::string slurp(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

void spill(const std::string& path, const std::string& text) {
    std::ofstream(path, std::ios::binary) << text;
}

std::string trimmed(const std::string& s) {
    const size_t a = s.find_first_not_of(" \t\r");
    const size_t b = s.find_last_not_of(" \t\r");
    return a == std::string::npos ? "" : s.substr(a, b - a + 1);
}

// The program names of the source, in order, read straight from the text.
std::vector<std::string> sourceNames() {
    std::istringstream in(slurp(FW_FACTORY_SOURCE));
    std::vector<std::string> names;
    for (std::string line; std::getline(in, line);) {
        const std::string t = trimmed(line);
        if (t.size() > 2 && t.front() == '[' && t.back() == ']') names.push_back(trimmed(t.substr(1, t.size() - 2)));
    }
    return names;
}

std::string presetPath(int32_t p, const std::string& name) {
    char number[16];
    std::snprintf(number, sizeof number, "%02d", p + 1);
    return kFactory + "/Presets/Factory/" + number + " " + name + ".fwi";
}

intptr_t offlineHost(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
    return opcode == audioMasterGetCurrentProcessLevel ? kProcessLevelOffline : 0;
}

// A fresh stereo instance at 48 kHz that renders as offline, with a chunk
// (if any) applied.
std::unique_ptr<Plug> loaded(const std::string& chunk, bool preset, int32_t program = 0) {
    auto fx = std::make_unique<Plug>(&offlineHost);
    fx->setNumInputs(2);
    fx->setNumOutputs(2);
    fx->setChannelLayout(standardChannelLayout(2));
    fx->setSampleRate(48000.0f);
    fx->setProgram(program);
    std::string bytes = chunk;
    if (!bytes.empty()) fx->setChunk(bytes.data(), int32_t(bytes.size()), preset);
    return fx;
}

// Every file under a folder with its bytes, by path relative to it.
std::map<std::string, std::string> treeOf(const std::string& root) {
    std::map<std::string, std::string> files;
    for (const auto& e : fs::recursive_directory_iterator(root))
        if (e.is_regular_file()) files[fs::relative(e.path(), root).string()] = slurp(e.path().string());
    return files;
}

// Runs the built generator with args; env holds variables set for it alone.
RunResult runGenerator(const std::vector<std::string>& args,
                       const std::vector<std::pair<std::string, std::string>>& env = {}) {
    RunLimits limits;
    limits.environment = env;
    return runProgram(FW_BANKGEN_PATH, args, limits);
}

}  // namespace

TEST(FactoryBank, HoldsTheTwentyProgramsOfTheSourceInOrder) {
    const std::vector<std::string> names = sourceNames();
    ASSERT_EQ(names.size(), size_t(kPrograms));
    auto fx = loaded(slurp(kBankFile), false);
    EXPECT_EQ(fx->getProgram(), 0);
    for (int32_t p = 0; p < kPrograms; ++p) EXPECT_EQ(fx->programStore().program(p).name, names[size_t(p)]) << p;

    // The presets folder holds one file per program and nothing else.
    std::vector<std::string> files;
    for (const auto& e : fs::directory_iterator(kFactory + "/Presets/Factory")) files.push_back(e.path().string());
    std::sort(files.begin(), files.end());
    ASSERT_EQ(files.size(), size_t(kPrograms));
    for (int32_t p = 0; p < kPrograms; ++p) EXPECT_EQ(files[size_t(p)], presetPath(p, names[size_t(p)]));
}

TEST(FactoryBank, EveryProgramChangesTheDefaultsAndSwitchesABandOn) {
    auto fx = loaded(slurp(kBankFile), false);
    const ProgramRecord& defaults = fx->getDefaultProgram();
    for (int32_t p = 0; p < kPrograms; ++p) {
        const ProgramRecord& record = fx->programStore().program(p);
        EXPECT_NE(std::memcmp(record.values, defaults.values, sizeof record.values), 0) << record.name;
        int32_t bandsOn = 0;
        for (int32_t b = 0; b < kNumBands; ++b) {
            const int32_t i = bandParam(b, kFieldState);
            bandsOn += std::lround(curveToReal(*fx->getRow(i), record.values[i])) == kBandOn;
        }
        EXPECT_GE(bandsOn, 1) << record.name;
    }
}

TEST(FactoryBank, EachPresetFileSetsExactlyTheSettingsOfItsProgram) {
    const std::vector<std::string> names = sourceNames();
    ASSERT_EQ(names.size(), size_t(kPrograms));
    auto bank = loaded(slurp(kBankFile), false);
    for (int32_t p = 0; p < kPrograms; ++p) {
        const std::string preset = slurp(presetPath(p, names[size_t(p)]));
        ASSERT_FALSE(preset.empty()) << names[size_t(p)];
        // A preset lands in whichever program is current, here the last one.
        auto fx = loaded(preset, true, kPrograms - 1);
        const ProgramRecord& got = fx->programStore().program(kPrograms - 1);
        const ProgramRecord& want = bank->programStore().program(p);
        EXPECT_STREQ(got.name, want.name);
        for (int32_t i = 0; i < kNumParams; ++i) {
            EXPECT_EQ(got.values[i], want.values[i]) << want.name << ": " << fx->getRow(i)->name;
            EXPECT_EQ(fx->getParameter(i), want.values[i]) << want.name << ": " << fx->getRow(i)->name;
        }
        // The other programs of the fresh instance keep their defaults.
        EXPECT_EQ(std::memcmp(fx->programStore().program(0).values, fx->getDefaultProgram().values,
                              sizeof got.values),
                  0);
    }
}

TEST(FactoryBank, EveryProgramRendersNoiseAtASaneLevel) {
    constexpr int32_t kBlock = 512;
    constexpr int64_t kFrames = 96 * kBlock;
    std::vector<double> noise[2];
    std::mt19937 gen(17);
    std::uniform_real_distribution<double> d(-0.25, 0.25);
    for (auto& channel : noise) {
        channel.resize(size_t(kFrames));
        for (double& x : channel) x = d(gen);
    }
    const double inputRms = 0.25 / std::sqrt(3.0);

    const std::string chunk = slurp(kBankFile);
    for (int32_t p = 0; p < kPrograms; ++p) {
        auto fx = loaded(chunk, false);
        fx->setProgram(p);
        fx->resume();
        // Silence first, so the settings are fully in place before the noise.
        std::vector<double> quiet(kBlock, 0.0), scrap[2] = {std::vector<double>(kBlock), std::vector<double>(kBlock)};
        double* in[2] = {quiet.data(), quiet.data()};
        double* out[2] = {scrap[0].data(), scrap[1].data()};
        for (int k = 0; k < 4; ++k) fx->processDoubleReplacing(in, out, kBlock);
        const int64_t latency = fx->getAeffect()->initialDelay;
        ASSERT_LT(latency, kFrames / 2) << fx->programStore().program(p).name;

        std::vector<double> result[2] = {std::vector<double>(size_t(kFrames)), std::vector<double>(size_t(kFrames))};
        for (int64_t s = 0; s < kFrames; s += kBlock) {
            double* from[2] = {noise[0].data() + s, noise[1].data() + s};
            double* to[2] = {result[0].data() + s, result[1].data() + s};
            fx->processDoubleReplacing(from, to, kBlock);
        }
        // Levels past the latency and the filters' settling; the change is
        // measured against the input lined up with the output.
        const int64_t from = latency + 4800;
        for (int32_t c = 0; c < 2; ++c) {
            double power = 0.0, change = 0.0;
            bool finite = true;
            for (int64_t s = from; s < kFrames; ++s) {
                const double y = result[c][size_t(s)];
                finite = finite && std::isfinite(y);
                power += y * y;
                const double e = y - noise[c][size_t(s - latency)];
                change += e * e;
            }
            const double n = double(kFrames - from);
            const double levelDb = 20.0 * std::log10(std::sqrt(power / n) / inputRms);
            const double changeDb = 20.0 * std::log10(std::sqrt(change / n) / inputRms);
            const std::string what = std::string(fx->programStore().program(p).name) + ", channel " + std::to_string(c);
            EXPECT_TRUE(finite) << what;
            EXPECT_LT(levelDb, 6.0) << what;
            EXPECT_GT(levelDb, -6.0) << what;
            // Each program is heard: the output is not the input passed through.
            EXPECT_GT(changeDb, -50.0) << what;
        }
    }
}

TEST(FactoryBankGenerator, RepeatsItselfByteForByte) {
    ScratchDir dir;
    ASSERT_EQ(runGenerator({FW_FACTORY_SOURCE, dir / "a"}).status, 0);
    ASSERT_EQ(runGenerator({FW_FACTORY_SOURCE, dir / "b"}).status, 0);
    const auto a = treeOf(dir / "a");
    EXPECT_EQ(a.size(), size_t(kPrograms + 1));
    EXPECT_TRUE(a == treeOf(dir / "b"));
    // The build made the same bank from the same source.
    EXPECT_TRUE(a == treeOf(kFactory));
    ASSERT_TRUE(a.count("Factory Bank.fwi"));
    EXPECT_EQ(a.at("Factory Bank.fwi").substr(0, 4), "ZIP ");
}

TEST(FactoryBankGenerator, NeitherReadsNorWritesTheUsersSettings) {
    ScratchDir dir;
    const std::string config = dir / "config", data = dir / "data";
    const std::string folder = config + "/Kestrawn/Fenwoldrine";
    fs::create_directories(folder);
    fs::create_directories(data + "/Kestrawn/Fenwoldrine");
    // Settings that would change what a preset holds and how chunks are
    // stored, and a default bank whose first program is not the defaults.
    spill(folder + "/loadingFlags", "1");
    spill(folder + "/globals", R"({"Save Compression": 0})");
    {
        auto fx = loaded("", false);
        fx->setParameter(kGain, 0.25f);
        fx->setParameter(bandParam(4, kFieldState), 1.0f);
        void* chunk = nullptr;
        const int32_t size = fx->getChunk(&chunk, false);
        spill(data + "/Kestrawn/Fenwoldrine/Default Bank.fwi", std::string(static_cast<const char*>(chunk), size_t(size)));
    }
    const auto before = treeOf(dir.path());

    const RunResult r = runGenerator({FW_FACTORY_SOURCE, dir / "out"},
                                     {{"HOME", dir.path()}, {"XDG_CONFIG_HOME", config}, {"XDG_DATA_HOME", data}});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_TRUE(treeOf(dir / "out") == treeOf(kFactory));
    fs::remove_all(dir / "out");
    EXPECT_TRUE(treeOf(dir.path()) == before);
}

TEST(FactoryBankGenerator, ARunOverAnOlderBankRemovesPresetsOfRenamedPrograms) {
    ScratchDir dir;
    const std::string presets = dir / "out/Presets/Factory";
    fs::create_directories(presets);
    spill(presets + "/07 A program since renamed.fwi", "old");
    spill(presets + "/README", "kept");
    ASSERT_EQ(runGenerator({FW_FACTORY_SOURCE, dir / "out"}).status, 0);
    EXPECT_FALSE(fileExists(presets + "/07 A program since renamed.fwi"));
    EXPECT_EQ(slurp(presets + "/README"), "kept");
    fs::remove(presets + "/README");
    EXPECT_TRUE(treeOf(dir / "out") == treeOf(kFactory));
}

TEST(FactoryBankGenerator, ABadSourceStopsItWithStatus2NamingTheLineAndWritesNothing) {
    // The real source with its very last setting spoilt: every program before
    // it was fine, and still nothing may be written.
    std::string real = slurp(FW_FACTORY_SOURCE);
    const size_t lastLine = real.rfind('\n', real.size() - 2) + 1;
    const int32_t lastNumber = int32_t(std::count(real.begin(), real.begin() + std::ptrdiff_t(lastLine), '\n')) + 1;
    real = real.substr(0, lastLine) + "Band2 Slope=steep\n";

    const std::string longName(64, 'x');
    struct Case {
        std::string text;
        int32_t line;
        std::string says;
    };
    const std::vector<Case> cases = {
        {real, lastNumber, "'steep' is not a value of Band2 Slope"},
        {"[A]\nBand1 State=On\nBand1 Gian=2\n", 3, "unknown parameter 'Band1 Gian'"},
        {"[A]\nBand1 State=On\nBand1 Gain=24\n", 3, "outside the range"},
        {"[A]\nBand1 State=On\nBand1 Type=Shelf\n", 3, "not a value of Band1 Type"},
        {"# comment\nBand1 State=On\n[A]\n", 2, "before the first"},
        {"[A]\nBand1 State=On\nBand1 Gain 2\n", 3, "expected NAME=VALUE"},
        {"[A]\nBand1 State=On\n\n[ ]\nBand1 State=On\n", 4, "needs a name"},
        {"[A]\nBand1 State=On\n[" + longName + "]\nBand1 State=On\n", 3, "longer than 63 bytes"},
        {"[A]\nBand1 State=On\n[Mid/side]\nBand1 State=On\n", 3, "'/'"},
        {"[A]\nBand1 State=On\n[A]\nBand2 State=On\n", 3, "taken by the program on line 1"},
        {"[A]\nBand1 State=On\n[B]\nMS State=8\n", 3, "leaves every parameter at its default"},
    };
    ScratchDir dir;
    for (const Case& c : cases) {
        spill(dir / "bank.txt", c.text);
        const RunResult r = runGenerator({dir / "bank.txt", dir / "out"});
        EXPECT_EQ(r.status, 2) << c.says;
        const std::string where = dir / ("bank.txt:" + std::to_string(c.line) + ": ");
        EXPECT_NE(r.err.find(where), std::string::npos) << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_FALSE(fileExists(dir / "out")) << c.says;
    }

    // More programs than the effect holds: the first one too many is named.
    std::string many;
    for (int32_t p = 0; p <= kPrograms; ++p) many += "[P" + std::to_string(p) + "]\nBand1 State=On\n";
    spill(dir / "bank.txt", many);
    RunResult r = runGenerator({dir / "bank.txt", dir / "out"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("bank.txt:" + std::to_string(2 * kPrograms + 1) + ": "), std::string::npos) << r.err;

    // An earlier bank in the folder stays exactly as it was.
    ASSERT_EQ(runGenerator({FW_FACTORY_SOURCE, dir / "out"}).status, 0);
    const auto before = treeOf(dir / "out");
    spill(dir / "bank.txt", cases[0].text);
    EXPECT_EQ(runGenerator({dir / "bank.txt", dir / "out"}).status, 2);
    EXPECT_TRUE(treeOf(dir / "out") == before);

    // No source, or the wrong number of arguments.
    r = runGenerator({dir / "missing.txt", dir / "other"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("missing.txt"), std::string::npos) << r.err;
    EXPECT_EQ(runGenerator({FW_FACTORY_SOURCE}).status, 2);
    EXPECT_FALSE(fileExists(dir / "other"));
}
