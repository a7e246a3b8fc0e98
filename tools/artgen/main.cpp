// fenwoldrine-artgen OUTDIR: draws every image of the editor (the table in
// ArtCatalogue.h) and writes OUTDIR/<number>.png. The drawing depends on
// nothing but this program and the fonts compiled into it, so the files
// come out the same on every run; one whose bytes would not change is left
// untouched, so what embeds it is not rebuilt.
//
// Exit status: 0 done; 2 bad command line; 1 an image could not be drawn
// or written.

#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include "tools/artgen/ArtCatalogue.h"
#include "tools/artgen/Images.h"

namespace {

using Painter = void (*)(art::Canvas&);

struct Entry {
    int32_t id;
    Painter paint;
};

constexpr Entry kPainters[] = {
    {900, art::headerBar},       {901, art::logo},           {213, art::headerShadow},
    {807, art::meterFade},       {903, art::wizardPanel},    {210, art::setupPanel},
    {215, art::setupListHeading}, {211, art::presetBox},     {220, art::scaleTray},
    {400, art::sliderHandle},    {221, art::trayHandle},     {231, art::includeEQ},
    {230, art::includeDSP},      {232, art::includeUI},      {233, art::presetBankSwitch},
    {502, art::loadButton},      {501, art::saveButton},     {504, art::undoButton},
    {503, art::redoButton},      {505, art::previousPreset}, {507, art::nextPreset},
    {506, art::presetMenuFace},  {800, art::analyserButton}, {801, art::clipLight},
    {802, art::slotMenuFace},    {803, art::copyButton},     {804, art::bypassButton},
    {806, art::groupMenuFace},   {808, art::setupButton},    {810, art::presetsButton},
    {811, art::fullScreenButton}, {602, art::stripTop},      {601, art::stripBody},
    {600, art::stripBottom},     {212, art::textStripBody},  {604, art::valueField},
    {603, art::knobRing},        {700, art::knobFilm},       {401, art::bandTypeButton},
    {402, art::bandTypeGlyphs},  {605, art::meterBlock},     {606, art::masterBlock},
    {608, art::meterWell},       {607, art::faderHandle},    {610, art::phaseToggle},
    {611, art::muteToggle},      {612, art::soloToggle},     {614, art::linkToggle},
    {101, art::smallGlyphs},     {102, art::largeGlyphs},
};

Painter painterFor(int32_t id) {
    for (const Entry& e : kPainters) {
        if (e.id == id) return e.paint;
    }
    return nullptr;
}

std::string readAll(const std::filesystem::path& path) {
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

// Writes the image beside its file and replaces the file only when the
// bytes differ.
bool store(art::Canvas& canvas, const std::filesystem::path& path) {
    const std::filesystem::path next = path.string() + ".next";
    std::string error;
    if (!canvas.dib().writePNG(next.c_str(), &error)) {
        std::fprintf(stderr, "fenwoldrine-artgen: %s: %s\n", next.c_str(), error.c_str());
        return false;
    }
    std::error_code ec;
    if (std::filesystem::exists(path, ec) && readAll(path) == readAll(next)) {
        std::filesystem::remove(next, ec);
        return true;
    }
    std::filesystem::rename(next, path, ec);
    if (ec) {
        std::fprintf(stderr, "fenwoldrine-artgen: %s: %s\n", path.c_str(), ec.message().c_str());
        return false;
    }
    return true;
}

int run(const std::filesystem::path& outDir) {
    std::error_code ec;
    std::filesystem::create_directories(outDir, ec);
    if (ec) {
        std::fprintf(stderr, "fenwoldrine-artgen: %s: %s\n", outDir.c_str(), ec.message().c_str());
        return 1;
    }
    int status = 0;
    for (const art::ImageFacts& facts : art::kImages) {
        const Painter paint = painterFor(facts.id);
        if (!paint || facts.height % facts.frameHeight != 0) {
            std::fprintf(stderr, "fenwoldrine-artgen: image %d has no painter or a partial frame\n", facts.id);
            status = 1;
            continue;
        }
        art::Canvas canvas(facts);
        paint(canvas);
        if (!store(canvas, outDir / (std::to_string(facts.id) + ".png"))) status = 1;
    }
    return status;
}

}  // namespace

int main(int argc, char** argv) {
    constexpr const char* kUsage =
        "usage: fenwoldrine-artgen OUTDIR\n"
        "Draws every image of the editor and writes OUTDIR/<number>.png.\n";
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (argc != 2 || argv[1][0] == '\0') {
        std::fputs(kUsage, stderr);
        return 2;
    }
    return run(argv[1]);
}
