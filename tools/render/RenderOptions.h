#pragma once
// The command line of fenwoldrine-render, parsed and checked.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tools/render/SoundFormat.h"

struct RenderOptions {
    static constexpr int32_t kDefaultBlock = 512;
    static constexpr int32_t kMaxBlock = 8192;
    static constexpr double kMaxTailSeconds = 3600.0;
    static constexpr int32_t kDefaultResponsePoints = 512;
    static constexpr int32_t kMaxResponsePoints = 1000000;

    std::string input;
    std::string output;
    std::vector<std::string> assignments;  // "NAME=VALUE", in the order given
    std::optional<Container> format;
    std::optional<WordLength> bits;
    std::optional<double> rate;  // only for work without an input file
    int32_t block = kDefaultBlock;
    double tailSeconds = 0.0;
    bool dither = true;
    bool quiet = false;
    bool listParams = false;
    std::string response;                 // --response FILE ("-" for standard output)
    int32_t responsePoints = kDefaultResponsePoints;
    int32_t responseChannel = 1;          // 1-based channel slot
    std::optional<int32_t> channels;      // instance size for work without an input file
    std::string stateIn;                  // --state FILE: a saved state applied before the --set list
    std::string stateOut;                 // --save-state FILE: the full state after the --set list
    std::string bankIn;                   // --bank FILE.fwb
    std::optional<int32_t> program;       // --program N, 1..20
    std::string presetIn;                 // --preset FILE.fwi
    std::string presetOut;                // --save-preset FILE.fwi
    bool listPresets = false;             // --list-presets
    std::string midi;                     // --midi FILE.mid
    std::string spectrum;                 // --spectrum FILE.csv
    bool spectrumPre = false;             // --spectrum-source pre
    bool meters = false;                  // --meters
    bool strict = false;                  // --strict: refuse input samples that are not finite
    std::string snapshot;                 // --snapshot FILE.png: the editor drawn at the end
    int32_t snapshotWidth = 0;            // --snapshot-size WxH; 0: the stored UI size
    int32_t snapshotHeight = 0;
    std::vector<std::string> snapshotUi;  // --ui CATEGORY/KEY=CHOICE: the editor's settings for it
    bool help = false;
};

// Parses the arguments after the program name. Options may come anywhere,
// as "--opt VALUE" or "--opt=VALUE"; "--" ends them. Throws a usage error
// (one line, no program name) for anything wrong.
RenderOptions parseCommandLine(const std::vector<std::string>& args);

// The text --help prints.
const char* usageText();
