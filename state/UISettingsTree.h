#pragma once
// One editor's UI settings: a JSON tree of categories, each an object of keys,
// each key {"value": <number>, "values": [labels]}, built from the
// "uisettings" json resource. Each category also has a key "open" (just
// {"value": 0|1}) telling whether the category is unfolded on the
// preferences page; it is kept in the tree but is not a setting, so
// mergeFrom() leaves it alone.
//
// Lookups by category and key match names exactly. The tree is never null:
// damaged or missing text gives an empty object.

#include <cstddef>
#include <cstdint>

struct cJSON;

class UISettingsTree {
public:
    // Builds the tree from `size` bytes of JSON text (need not be
    // NUL-terminated). Null, damaged or non-object text gives an empty tree.
    explicit UISettingsTree(const char* text, size_t size);
    ~UISettingsTree();
    // Copies are deep.
    UISettingsTree(const UISettingsTree& other);
    UISettingsTree& operator=(const UISettingsTree& other);

    // The key's "value", truncated toward zero; 0 when the key or its
    // numeric value is missing.
    int32_t value(const char* category, const char* key) const;

    // Whether the category has the key.
    bool has(const char* category, const char* key) const;

    // Sets an existing key's numeric "value"; false (and no change) when the
    // key doesn't exist or has no numeric value.
    bool setValue(const char* category, const char* key, int32_t value);

    // Takes the values of a saved UI settings document of the same shape:
    // for each key of this tree except "open", when `uiprefs` has the same
    // category and key (letter case ignored) and both have a numeric
    // "value", the number is copied. Anything else in the document (unknown
    // categories or keys, values of the wrong type) is ignored, and keys the
    // document lacks keep their values. A null or non-object `uiprefs` changes
    // nothing. A number is taken as a whole choice, kept within the key's
    // labels when it has any.
    void mergeFrom(const cJSON* uiprefs);

    // The tree itself, for writing it into a saved document (e.g. added by
    // reference); it stays owned by this object.
    cJSON* root() { return tree; }
    const cJSON* root() const { return tree; }

private:
    cJSON* tree;
};
