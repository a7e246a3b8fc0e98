#pragma once
// The settings shared by every instance of the plug-in for this user, kept in
// the value store (state/ValueStore.h) under the name "globals" as the
// unformatted JSON text of a flat object, name -> integer.
//
// Two trees:
//   values   - what the store holds; null when the store has no usable
//              value (missing, unparsable, or not a JSON object).
//   defaults - the built-in table of settings ("defaults" json resource),
//              one row per setting in display order:
//                "<name>": {"value": <default>, "page": <0|1>, "values": [labels]}
//              Null until installDefaults() is given parsable text; never
//              replaced once installed, so strings taken from it stay valid
//              for the life of the object.
//
// The plug-in uses the one object instance() gives. All members lock an
// internal mutex around the trees only; the store is written with the lock
// released, in the order the changes were made.

#include <cstddef>
#include <cstdint>
#include <mutex>
#include <string>

struct cJSON;

class GlobalSettings {
public:
    // The process's settings, read from the store on first use.
    static GlobalSettings& instance();

    // A separate set of settings over the same store, read from it now.
    // Only tests and tools want one besides instance().
    GlobalSettings();
    ~GlobalSettings();
    GlobalSettings(const GlobalSettings&) = delete;
    GlobalSettings& operator=(const GlobalSettings&) = delete;

    // The setting's value: the stored number when values hold a number under
    // `name` (exact match; truncated toward zero). Otherwise: 0 without
    // defaults; with defaults, -2 when `name` is not a row, -3 when its row
    // has no numeric "value", else that default.
    int32_t getValue(const char* name) const;

    // Whether the store had (or has been given) a values object.
    bool hasValues() const;

    // -1 when there are no values at all, else getValue(name).
    int32_t valueOr(const char* name) const;

    // Sets the number under `name` (adding it if new) and writes the store.
    // Does nothing while there are no values.
    void setValue(const char* name, int32_t value);

    // Installs the defaults from `size` bytes of JSON text (need not be
    // NUL-terminated, e.g. findResource("defaults", "json")), unless defaults
    // are already installed; null or damaged text leaves them absent. Then,
    // if the store had no values, builds them from the defaults (each row's
    // "value", 0 when missing) and writes the store. Values already stored
    // are left as they are: a setting missing from them answers its default
    // through getValue() until it is first set.
    void installDefaults(const char* text, size_t size);

    // The rows of defaults, by position. Out-of-range positions, and any call
    // before defaults are installed, give nullptr / 0.
    int32_t settingCount() const;
    const char* settingName(int32_t setting) const;
    // The label of value `value` of a setting, or nullptr.
    const char* valueLabel(int32_t setting, int32_t value) const;
    // How many labels a setting has.
    int32_t valueCount(int32_t setting) const;
    // The preferences page a setting is shown on.
    int32_t pageOf(int32_t setting) const;

    // Drops the values and reads them from the store again, to pick up a
    // change made by another process. Defaults stay.
    void reload();

private:
    const cJSON* row(int32_t setting) const;
    // Writes `text` as the store's value unless a later change has already
    // been written.
    void persist(const std::string& text, uint64_t change);

    mutable std::mutex treesLock;
    cJSON* values = nullptr;
    cJSON* defaults = nullptr;
    uint64_t changes = 0;  // counts edits of values, under treesLock

    std::mutex storeLock;
    uint64_t changeWritten = 0;  // under storeLock
};
