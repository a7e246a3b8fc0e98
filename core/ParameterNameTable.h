#pragma once
// Names and values of the parameter enumeration, read once per process from
// its text. Parameter i is named by the i-th entry; editor tags follow.

#include <cstdint>
#include <string>
#include <vector>

class ParameterNameTable {
public:
    // The process-wide table, built from kParameterEnumText on first use.
    static const ParameterNameTable& instance();

    // Parses an enumeration text: items split at commas, "name=N" sets the
    // running value, otherwise it counts up from the previous item.
    explicit ParameterNameTable(const char* text);

    size_t size() const { return names.size(); }
    const std::string& nameAt(size_t position) const { return names[position]; }
    int32_t valueAt(size_t position) const { return values[position]; }
    // Position of the first entry with this value, or -1.
    int32_t positionOf(int32_t value) const;
    // Name of the entry with this value, or nullptr.
    const char* nameOf(int32_t value) const;
    // Value of the entry with this exact name, or -1.
    int32_t valueOf(const char* name) const;

private:
    std::vector<std::string> names;
    std::vector<int32_t> values;
};
