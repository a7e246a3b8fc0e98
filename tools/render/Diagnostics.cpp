#include "tools/render/Diagnostics.h"

void Diagnostics::warning(const std::string& text) {
    ++warnings;
    if (out) std::fprintf(out, "%s: warning: %s\n", kProgramName, text.c_str());
}

void Diagnostics::note(const std::string& text) {
    if (out && !silent) std::fprintf(out, "%s: %s\n", kProgramName, text.c_str());
}
