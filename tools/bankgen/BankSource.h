#pragma once
// The readable source of a bank: program sections, each a name in brackets
// followed by settings written as the renderer's --set takes them.
//
//     # a comment
//     [Air shelf +2 dB at 12 kHz]
//     Band1 State=On
//     Band1 Type=HSh
//
// Blank lines and lines whose first non-blank character is '#' are skipped.
// A name is 1..63 bytes of printable text without '/', unique in the bank.
// Only the form of each line is checked here; whether a setting names a
// parameter and a value of it is for the effect to say (see FactoryBank).

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct SourceSetting {
    int32_t line = 0;  // 1-based line in the source
    std::string text;  // "NAME=VALUE", trimmed
};

struct SourceProgram {
    int32_t line = 0;  // line of the [name]
    std::string name;
    std::vector<SourceSetting> settings;
};

struct BankSource {
    std::string label;  // the file name, for messages
    std::vector<SourceProgram> programs;
};

// Parses source text; `label` names it in messages. Throws a usage error
// "label:line: what is wrong" for the first bad line, or for a bank with no
// program or with more programs than the effect has.
BankSource parseBankSource(std::string_view text, const std::string& label);

// Reads and parses a source file. A file that cannot be read is a usage error.
BankSource readBankSource(const std::string& path);

// The longest source taken; a bank source is a few kilobytes.
constexpr size_t kMaxBankSourceBytes = size_t(1) << 20;
