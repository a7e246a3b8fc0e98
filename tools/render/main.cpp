// fenwoldrine-render: the equaliser's offline renderer. See RenderOptions.cpp
// for the command line.

#include <cstdio>
#include <string>
#include <vector>

#include "tools/render/AudioFileIO.h"
#include "tools/render/RenderCommand.h"

int main(int argc, char** argv) {
    installInterruptCleanup();
    const std::vector<std::string> args(argv + 1, argv + argc);
    return runRenderCommand(args, stdout, stderr);
}
