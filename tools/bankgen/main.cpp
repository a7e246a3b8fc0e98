// fenwoldrine-bankgen SOURCE OUTDIR: makes the factory bank from its readable
// source (see BankSource.h) and writes OUTDIR/Factory Bank.fwi and
// OUTDIR/Presets/Factory/NN Name.fwi.
//
// Exit status: 0 done; 2 bad command line or a bad line in the source, with
// nothing written; 1 a file could not be written.

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>

#include "tools/bankgen/FactoryBank.h"
#include "tools/render/RenderError.h"

namespace {

constexpr const char* kUsage =
    "usage: fenwoldrine-bankgen SOURCE OUTDIR\n"
    "Makes the factory bank from SOURCE and writes OUTDIR/Factory Bank.fwi and one preset\n"
    "per program in OUTDIR/Presets/Factory/.\n";

int run(const std::string& sourcePath, const std::string& outDir) {
    // Before the first instance exists: it must see neither the user's
    // settings nor the user's default bank.
    ScratchSettingsHome home;
    const BankSource source = readBankSource(sourcePath);
    const BankChunks chunks = buildBank(source);
    writeBank(chunks, outDir);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc == 2 && (std::strcmp(argv[1], "--help") == 0 || std::strcmp(argv[1], "-h") == 0)) {
        std::fputs(kUsage, stdout);
        return 0;
    }
    if (argc != 3 || argv[1][0] == '\0' || argv[2][0] == '\0') {
        std::fputs(kUsage, stderr);
        return int(ExitStatus::kUsage);
    }
    try {
        return run(argv[1], argv[2]);
    } catch (const RenderError& e) {
        std::fprintf(stderr, "fenwoldrine-bankgen: %s\n", e.what());
        return int(e.status());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "fenwoldrine-bankgen: %s\n", e.what());
        return int(ExitStatus::kWriteFailure);
    }
}
