#include "tools/render/RenderCommand.h"

#include <algorithm>
#include <new>

#include "tools/render/ChannelOrder.h"
#include "tools/render/Diagnostics.h"
#include "tools/render/EditorSnapshot.h"
#include "tools/render/EffectHost.h"
#include "tools/render/FileRoles.h"
#include "tools/render/ParamListing.h"
#include "tools/render/RenderError.h"
#include "tools/render/RenderOptions.h"
#include "tools/render/Renderer.h"
#include "tools/render/ResponseReport.h"

namespace {

constexpr double kListingRate = 48000.0;
constexpr int32_t kListingChannels = 2;

void listParameters(const RenderOptions& options, Diagnostics& diagnostics, std::FILE* out) {
    EffectHost host(kListingChannels, fileChannelLayout(kListingChannels), options.rate.value_or(kListingRate),
                    options.block);
    host.prepare(options, diagnostics);
    host.saveRequested(options);
    for (const std::string& line : parameterListing(host.effect())) std::fprintf(out, "%s\n", line.c_str());
    std::fflush(out);
}

void writeResponse(const RenderOptions& options, Diagnostics& diagnostics, std::FILE* out) {
    const double rate = options.rate.value_or(kListingRate);
    const int32_t channels = options.channels.value_or(std::max(kListingChannels, options.responseChannel));
    EffectHost host(channels, fileChannelLayout(channels), rate, options.block);
    host.prepare(options, diagnostics);
    host.start();
    host.saveRequested(options);
    const ResponseTable table = channelResponse(host.effect(), options.responseChannel - 1,
                                                options.responsePoints, rate / 2.0);
    writeResponseCsv(table, options.response, out);
}

// --save-state, --save-preset or --snapshot without audio: an instance of
// --channels at --rate.
void saveOnly(const RenderOptions& options, Diagnostics& diagnostics) {
    const int32_t channels = options.channels.value_or(kListingChannels);
    EffectHost host(channels, fileChannelLayout(channels), options.rate.value_or(kListingRate), options.block);
    host.prepare(options, diagnostics);
    host.start();
    host.saveRequested(options);
    if (!options.snapshot.empty())
        writeEditorSnapshot(host.effect(), options.snapshot, options.snapshotWidth, options.snapshotHeight,
                            options.snapshotUi);
}

void listPresets(const RenderOptions& options, std::FILE* out) {
    EffectHost host(kListingChannels, fileChannelLayout(kListingChannels), options.rate.value_or(kListingRate),
                    options.block);
    std::fputs(host.presetListing().c_str(), out);
    std::fflush(out);
}

}  // namespace

int runRenderCommand(const std::vector<std::string>& args, std::FILE* out, std::FILE* err) {
    // Failures are reported even under --quiet, through the same escaping as every other line.
    Diagnostics failures(err, false);
    try {
        const RenderOptions options = parseCommandLine(args);
        if (options.help) {
            std::fputs(usageText(), out);
            return int(ExitStatus::kSuccess);
        }
        checkFileRoles(options);
        Diagnostics diagnostics(err, options.quiet);
        if (options.listParams) {
            listParameters(options, diagnostics, out);
        } else if (options.listPresets) {
            listPresets(options, out);
        } else if (!options.response.empty()) {
            writeResponse(options, diagnostics, out);
        } else if (options.input.empty()) {
            saveOnly(options, diagnostics);
        } else {
            const RenderSummary summary = Renderer(options, diagnostics).run();
            if (options.meters) {
                std::fputs(summary.meters.c_str(), out);
                std::fflush(out);
            }
        }
        return int(ExitStatus::kSuccess);
    } catch (const RenderError& e) {
        failures.error(e.what());
        return int(e.status());
    } catch (const std::bad_alloc&) {
        failures.error("out of memory");
        return int(ExitStatus::kWriteFailure);
    } catch (const std::exception& e) {
        failures.error(e.what());
        return int(ExitStatus::kWriteFailure);
    }
}
