#include "tools/bankgen/BankSource.h"

#include <cctype>
#include <cerrno>
#include <cstring>
#include <fstream>

#include "core/ParamTable.h"
#include "core/ProgramRecord.h"
#include "tools/render/RenderError.h"

namespace {

std::string_view trim(std::string_view s) {
    while (!s.empty() && std::isspace(uint8_t(s.front()))) s.remove_prefix(1);
    while (!s.empty() && std::isspace(uint8_t(s.back()))) s.remove_suffix(1);
    return s;
}

// A name fit for the program list and for a file name: no control
// characters (UTF-8 bytes above 127 are welcome) and no path separator.
const char* nameProblem(std::string_view name) {
    if (name.empty()) return "a program needs a name between the brackets";
    if (name.size() > size_t(kProgramNameLength - 1)) return "the name is longer than 63 bytes";
    for (const char c : name) {
        if (uint8_t(c) < 0x20 || c == 0x7f) return "the name holds a control character";
        if (c == '/') return "the name holds a '/', which a preset file name cannot";
    }
    return nullptr;
}

}  // namespace

BankSource parseBankSource(std::string_view text, const std::string& label) {
    BankSource source;
    source.label = label;
    auto fail = [&](int32_t line, const std::string& what) {
        return usageError(label + ":" + std::to_string(line) + ": " + what);
    };

    int32_t lineNumber = 0;
    while (!text.empty()) {
        ++lineNumber;
        const size_t end = text.find('\n');
        const std::string_view raw = text.substr(0, end);
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);

        const std::string_view line = trim(raw);
        if (line.empty() || line.front() == '#') continue;

        if (line.front() == '[') {
            if (line.back() != ']' || line.size() < 2)
                throw fail(lineNumber, "a program line is [name], with nothing after the closing bracket");
            const std::string_view name = trim(line.substr(1, line.size() - 2));
            if (const char* problem = nameProblem(name)) throw fail(lineNumber, problem);
            for (const SourceProgram& p : source.programs)
                if (p.name == name)
                    throw fail(lineNumber, "the name '" + std::string(name) + "' is taken by the program on line " +
                                               std::to_string(p.line));
            if (source.programs.size() == size_t(kNumPrograms))
                throw fail(lineNumber, "a bank holds at most " + std::to_string(kNumPrograms) + " programs");
            source.programs.push_back({lineNumber, std::string(name), {}});
            continue;
        }

        if (source.programs.empty())
            throw fail(lineNumber, "a setting before the first [program name]");
        const size_t eq = line.find('=');
        if (eq == std::string_view::npos || trim(line.substr(0, eq)).empty())
            throw fail(lineNumber, "expected NAME=VALUE or [program name], got '" + std::string(line) + "'");
        source.programs.back().settings.push_back({lineNumber, std::string(line)});
    }
    if (source.programs.empty()) throw usageError(label + ": no [program name] in the bank source");
    return source;
}

BankSource readBankSource(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in) throw usageError("cannot read bank source '" + path + "': " + std::strerror(errno));
    std::string text;
    char block[4096];
    while (in.read(block, sizeof block) || in.gcount() > 0) {
        text.append(block, size_t(in.gcount()));
        if (text.size() > kMaxBankSourceBytes)
            throw usageError("bank source '" + path + "' is too large to be a bank source");
    }
    if (in.bad()) throw usageError("cannot read bank source '" + path + "'");
    return parseBankSource(text, path);
}
