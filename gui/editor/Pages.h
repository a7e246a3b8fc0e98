#pragma once
// Pages: containers that show themselves only while their tag holds their
// page number. Several pages share one tag, each with its own number, so
// one value picks the page on show among them. A page answers to its tag
// through iControl; the control registry stands a wrapper for it among the
// controls.

#include <cstdint>

#include "gui/toolkit/CGViewContainer.h"
#include "gui/toolkit/iControl.h"

class nPage : public VSTGUI::CGViewContainer, public VSTGUI::iControl {
public:
    // The page starts at value 0, hence hidden unless its number is 0. It
    // is transparent unless image `backgroundId` (0 for none) could be loaded.
    nPage(const VSTGUI::CRect& size, int32_t tag, int32_t pageNumber, int32_t backgroundId = 0);

    int32_t getPageNumber() const { return pageNumber; }
    // The image number written in the layout; 0 for none. Kept even when no
    // image of that number could be loaded.
    int32_t getBackgroundId() const { return backgroundId; }

    int32_t getTag() const override { return tag; }
    float getValue() const override { return value; }
    // Stores the value and shows the page exactly when it equals the number.
    void setValue(float v) override;
    void invalidControl() override { invalid(); }
    void setControlSize(const VSTGUI::CRect& rect) override { setViewSize(rect); }
    VSTGUI::CRect getControlSize() const override { return size; }
    VSTGUI::CRect getControlMouseableArea() const override { return mouseableArea; }

    const char* getClassName() const override { return "nPage"; }
    bool isTypeOf(const char* className) const override;

private:
    int32_t tag;
    int32_t pageNumber;
    int32_t backgroundId;
    float value = 0.0f;
};

// A page that lets the mouse through wherever none of its own views is: a
// point is inside only when it lies on a visible, mouse-enabled child.
class nClickThruPage : public nPage {
public:
    using nPage::nPage;

    bool hitTest(const VSTGUI::CPoint& where, const int32_t& buttons = -1) override;

    const char* getClassName() const override { return "nClickThruPage"; }
    bool isTypeOf(const char* className) const override;
};

// Loads image `id` as the view's background; false (and no change) when
// `id` is 0 or names no image.
bool setBackgroundFromId(VSTGUI::CView* view, int32_t id);
