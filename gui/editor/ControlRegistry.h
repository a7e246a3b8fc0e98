#pragma once
// Every control of a built editor, addressed by tag. Collected from the
// view tree depth first, each view before the views inside it: a CControl
// is entered under its own tag; a view that answers through iControl (a
// page) is entered as an iControlWrapper, under the object's tag. Several
// entries may share a tag, and a call by tag reaches all of them.
//
// The registry owns the wrappers; the controls themselves belong to the
// view tree, which must outlive the registry's use of them.

#include <cstdint>
#include <functional>
#include <vector>

#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CView.h"

class ControlRegistry {
public:
    ControlRegistry() = default;
    ControlRegistry(const ControlRegistry&) = delete;
    ControlRegistry& operator=(const ControlRegistry&) = delete;
    ~ControlRegistry() { clear(); }

    // Replaces the entries with those of `root` and every view below it.
    void collect(VSTGUI::CView* root);
    void clear();

    int32_t controlCount() const { return static_cast<int32_t>(entries.size()); }
    // Null when the index is out of range.
    VSTGUI::CControl* controlByIndex(int32_t index) const;
    // The tag the entry was registered under; -1 when out of range.
    int32_t tagByIndex(int32_t index) const;
    // The first index after `afterIndex` with that tag, or -1.
    int32_t findTag(int32_t tag, int32_t afterIndex = -1) const;
    // The value of the first control with that tag, or -1 when none has it.
    float valueOfTag(int32_t tag) const;
    // Gives the value to every control with that tag.
    void setValueOfTag(int32_t tag, float value);
    // Gives every control with that tag the value `displayValue` returns
    // for the tag now (the effect's value as the control shows it) and
    // marks it to be drawn again.
    void setParameterOnControls(int32_t tag, const std::function<float(int32_t tag)>& displayValue);

private:
    struct Entry {
        VSTGUI::CControl* control;
        int32_t tag;
        bool owned;  // a wrapper made here
    };
    void visit(VSTGUI::CView* view);

    std::vector<Entry> entries;
};
