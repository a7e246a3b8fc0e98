// The factory bank as the build makes it from resources/factory-bank.txt:
// its programs and names, the preset files beside it, what each program does
// to a signal, and how fenwoldrine-bankgen fails and repeats itself.

#include <gtest/gtest.h>

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

intptr_t offlineHost(AEffect*, int32_t opcode, int32_t, intptr_t, void*, float) {
    return opcode == audioMasterGetCurrentProcessLevel ? kProcessLevelOffline : 0;
}

// A fresh stereo instance at 48 kHz with a chunk (if any) applied.
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

TEST(FactoryBank, HoldsTheProgramsOfTheSourceInOrderEachWithAPresetFileOfExactlyItsSettings) {
    // The program names of the source, in order, read straight from the text.
    std::istringstream source(slurp(FW_FACTORY_SOURCE));
    std::vector<std::string> names;
    for (std::string line; std::getline(source, line);) {
        line.erase(line.find_last_not_of(" \t\r") + 1);
        if (line.size() > 2 && line.front() == '[' && line.back() == ']') names.push_back(line.substr(1, line.size() - 2));
    }
    ASSERT_EQ(names.size(), size_t(kPrograms));
    // The presets folder holds one file per program and nothing else.
    std::vector<std::string> files;
    for (const auto& e : fs::directory_iterator(kFactory + "/Presets/Factory")) files.push_back(e.path().string());
    std::sort(files.begin(), files.end());
    ASSERT_EQ(files.size(), size_t(kPrograms));

    auto bank = loaded(slurp(kBankFile), false);
    EXPECT_EQ(bank->getProgram(), 0);
    for (int32_t p = 0; p < kPrograms; ++p) {
        const ProgramRecord& want = bank->programStore().program(p);
        EXPECT_EQ(want.name, names[size_t(p)]) << p;
        char number[16];
        std::snprintf(number, sizeof number, "%02d", int(p + 1));
        EXPECT_EQ(files[size_t(p)], kFactory + "/Presets/Factory/" + number + " " + names[size_t(p)] + ".fwi");
        // A preset lands in whichever program is current, here the last one,
        // and leaves the other programs of the fresh instance at their defaults.
        auto fx = loaded(slurp(files[size_t(p)]), true, kPrograms - 1);
        const ProgramRecord& got = fx->programStore().program(kPrograms - 1);
        EXPECT_STREQ(got.name, want.name);
        for (int32_t i = 0; i < kNumParams; ++i) {
            EXPECT_EQ(got.values[i], want.values[i]) << want.name << ": " << fx->getRow(i)->name;
            EXPECT_EQ(fx->getParameter(i), want.values[i]) << want.name << ": " << fx->getRow(i)->name;
        }
        EXPECT_EQ(std::memcmp(fx->programStore().program(0).values, fx->getDefaultProgram().values, sizeof got.values), 0);
    }
}

TEST(FactoryBank, EveryProgramIsHeardOnNoiseAtASaneLevel) {
    ScratchDir dir;
    Audio noise;
    noise.channels = 2;
    std::mt19937 gen(17);
    std::uniform_real_distribution<double> d(-0.25, 0.25);
    noise.samples.resize(2 * 48000);
    for (double& x : noise.samples) x = d(gen);
    writeFloatFile(dir / "in.wav", noise, SF_FORMAT_WAV | SF_FORMAT_DOUBLE);
    const double inputRms = 0.25 / std::sqrt(3.0);
    for (int32_t p = 1; p <= kPrograms; ++p) {
        SCOPED_TRACE("program " + std::to_string(p));
        const RunResult r = runRenderer({"-q", "--bank", kBankFile, "--program", std::to_string(p), dir / "in.wav",
                                         dir / "out.wav"});
        ASSERT_EQ(r.status, 0) << r.err;
        const Audio out = readFile(dir / "out.wav");
        ASSERT_EQ(out.samples.size(), noise.samples.size());
        // Levels past the filters' settling; the renderer lines the output up with the input.
        double power = 0.0, change = 0.0;
        for (size_t k = 2 * 4800; k < noise.samples.size(); ++k) {
            ASSERT_TRUE(std::isfinite(out.samples[k])) << k;
            power += out.samples[k] * out.samples[k];
            change += (out.samples[k] - noise.samples[k]) * (out.samples[k] - noise.samples[k]);
        }
        const double n = double(noise.samples.size() - 2 * 4800) / 2.0;
        const double levelDb = 20.0 * std::log10(std::sqrt(power / n) / inputRms) - 10.0 * std::log10(2.0);
        EXPECT_LT(std::fabs(levelDb), 6.0);
        // Each program is heard: the output is not the input passed through.
        EXPECT_GT(20.0 * std::log10(std::sqrt(change / n) / inputRms) - 10.0 * std::log10(2.0), -50.0);
    }
}

// The generator makes the same bank as the build did, byte for byte: over an
// older bank, whose presets of renamed programs go while other files stay,
// and whatever the user's settings, which it neither reads nor writes.
TEST(FactoryBankGenerator, RepeatsTheBuildsBankOverAnOlderOneWithoutTheUsersSettings) {
    ScratchDir dir;
    const std::string config = dir / "config", data = dir / "data", presets = dir / "out/Presets/Factory";
    fs::create_directories(config + "/Kestrawn/Fenwoldrine");
    fs::create_directories(data + "/Kestrawn/Fenwoldrine");
    // Settings that would change what a preset holds and how chunks are
    // stored, and a default bank whose first program is not the defaults.
    spill(config + "/Kestrawn/Fenwoldrine/loadingFlags", "1");
    spill(config + "/Kestrawn/Fenwoldrine/globals", R"({"Save Compression": 0})");
    {
        auto fx = loaded("", false);
        fx->setParameter(kGain, 0.25f);
        fx->setParameter(bandParam(4, kFieldState), 1.0f);
        void* chunk = nullptr;
        const int32_t size = fx->getChunk(&chunk, false);
        spill(data + "/Kestrawn/Fenwoldrine/Default Bank.fwi", std::string(static_cast<const char*>(chunk), size_t(size)));
    }
    const auto home = treeOf(dir.path());
    fs::create_directories(presets);
    spill(presets + "/07 A program since renamed.fwi", "old");
    spill(presets + "/README", "kept");

    const RunResult r = runGenerator({FW_FACTORY_SOURCE, dir / "out"},
                                     {{"HOME", dir.path()}, {"XDG_CONFIG_HOME", config}, {"XDG_DATA_HOME", data}});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_FALSE(fileExists(presets + "/07 A program since renamed.fwi"));
    EXPECT_EQ(slurp(presets + "/README"), "kept");
    fs::remove(presets + "/README");
    EXPECT_TRUE(treeOf(dir / "out") == treeOf(kFactory));
    fs::remove_all(dir / "out");
    EXPECT_TRUE(treeOf(dir.path()) == home);
}

TEST(FactoryBankGenerator, ABadSourceStopsItWithStatus2NamingTheLineAndWritesNothing) {
    // The real source with its very last setting spoilt: every program before
    // it was fine, and still nothing may be written.
    std::string real = slurp(FW_FACTORY_SOURCE);
    const size_t lastLine = real.rfind('\n', real.size() - 2) + 1;
    const int32_t lastNumber = int32_t(std::count(real.begin(), real.begin() + std::ptrdiff_t(lastLine), '\n')) + 1;
    real = real.substr(0, lastLine) + "Band2 Slope=steep\n";
    std::string tooMany;  // more programs than the effect holds: the first one too many is named
    for (int32_t p = 0; p <= kPrograms; ++p) tooMany += "[P" + std::to_string(p) + "]\nBand1 State=On\n";

    const struct {
        std::string text;
        int32_t line;
        std::string says;
    } cases[] = {
        {real, lastNumber, "'steep' is not a value of Band2 Slope"},
        {"[A]\nBand1 State=On\nBand1 Gian=2\n", 3, "unknown parameter 'Band1 Gian'"},
        {"[A]\nBand1 State=On\nBand1 Gain=24\n", 3, "outside the range"},
        {"[A]\nBand1 State=On\nBand1 Type=Shelf\n", 3, "not a value of Band1 Type"},
        {"# comment\nBand1 State=On\n[A]\n", 2, "before the first"},
        {"[A]\nBand1 State=On\nBand1 Gain 2\n", 3, "expected NAME=VALUE"},
        {"[A]\nBand1 State=On\n\n[ ]\nBand1 State=On\n", 4, "needs a name"},
        {"[A]\nBand1 State=On\n[" + std::string(64, 'x') + "]\nBand1 State=On\n", 3, "longer than 63 bytes"},
        {"[A]\nBand1 State=On\n[Mid/side]\nBand1 State=On\n", 3, "'/'"},
        {"[A]\nBand1 State=On\n[A]\nBand2 State=On\n", 3, "taken by the program on line 1"},
        {"[A]\nBand1 State=On\n[B]\nMS State=8\n", 3, "leaves every parameter at its default"},
        {tooMany, 2 * kPrograms + 1, ""},
    };
    ScratchDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.line);
        spill(dir / "bank.txt", c.text);
        const RunResult r = runGenerator({dir / "bank.txt", dir / "out"});
        EXPECT_EQ(r.status, 2);
        EXPECT_NE(r.err.find(dir / ("bank.txt:" + std::to_string(c.line) + ": ")), std::string::npos) << r.err;
        EXPECT_NE(r.err.find(c.says), std::string::npos) << r.err;
        EXPECT_EQ(std::count(r.err.begin(), r.err.end(), '\n'), 1) << r.err;
        EXPECT_FALSE(fileExists(dir / "out"));
    }

    // An earlier bank in the folder stays exactly as it was.
    ASSERT_EQ(runGenerator({FW_FACTORY_SOURCE, dir / "out"}).status, 0);
    spill(dir / "bank.txt", real);
    EXPECT_EQ(runGenerator({dir / "bank.txt", dir / "out"}).status, 2);
    EXPECT_TRUE(treeOf(dir / "out") == treeOf(kFactory));

    // No source, or the wrong number of arguments.
    const RunResult r = runGenerator({dir / "missing.txt", dir / "other"});
    EXPECT_EQ(r.status, 2);
    EXPECT_NE(r.err.find("missing.txt"), std::string::npos) << r.err;
    EXPECT_EQ(runGenerator({FW_FACTORY_SOURCE}).status, 2);
    EXPECT_FALSE(fileExists(dir / "other"));
}
