#include "tools/render/FileRoles.h"

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "tools/render/RenderError.h"
#include "tools/render/RenderOptions.h"

namespace {

namespace fs = std::filesystem;

struct Role {
    std::string what;  // how the message names it: "the input", "the --save-state file"
    std::string path;
};

// Whether two paths reach the same file. Existing files are compared by
// identity; a path not there yet by its resolved spelling, so two outputs
// that do not exist yet still collide.
bool sameFile(const std::string& a, const std::string& b) {
    if (a == b) return true;
    std::error_code ec;
    const bool aExists = fs::exists(a, ec);
    const bool bExists = fs::exists(b, ec);
    if (aExists && bExists) {
        const bool same = fs::equivalent(a, b, ec);
        return !ec && same;
    }
    if (aExists != bExists) return false;
    std::error_code ea, eb;
    const fs::path ca = fs::weakly_canonical(fs::absolute(a, ea), ea);
    const fs::path cb = fs::weakly_canonical(fs::absolute(b, eb), eb);
    return !ea && !eb && ca == cb;
}

std::string quoted(const std::string& s) {
    return "'" + s + "'";
}

}  // namespace

void checkFileRoles(const RenderOptions& o) {
    std::vector<Role> reads;
    auto read = [&](const char* what, const std::string& path) {
        if (!path.empty()) reads.push_back({what, path});
    };
    read("the input", o.input);
    read("the --state file", o.stateIn);
    read("the --bank file", o.bankIn);
    read("the --preset file", o.presetIn);
    read("the --midi file", o.midi);

    std::vector<Role> writes;
    auto write = [&](const char* what, const std::string& path, bool standardOutput) {
        if (!path.empty() && !(standardOutput && path == "-")) writes.push_back({what, path});
    };
    write("the output", o.output, false);
    write("the --save-state file", o.stateOut, false);
    write("the --save-preset file", o.presetOut, false);
    write("the --response file", o.response, true);
    write("the --spectrum file", o.spectrum, true);
    write("the --snapshot file", o.snapshot, false);

    auto refuse = [](const Role& written, const Role& other) {
        if (written.path == other.path)
            return usageError(written.what + " " + quoted(written.path) + " is " + other.what +
                              "; nothing was written, choose another name");
        return usageError(written.what + " " + quoted(written.path) + " is the same file as " + other.what + " " +
                          quoted(other.path) + "; nothing was written, choose another name");
    };
    for (size_t w = 0; w < writes.size(); ++w) {
        for (const Role& r : reads)
            if (sameFile(writes[w].path, r.path)) throw refuse(writes[w], r);
        for (size_t earlier = 0; earlier < w; ++earlier)
            if (sameFile(writes[w].path, writes[earlier].path)) throw refuse(writes[w], writes[earlier]);
    }
}
