#pragma once
// The layout's quiet views: tiled images, the dimming sheet behind the
// setup panel, static texts and the fading page.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "gui/editor/Pages.h"
#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CFontDesc.h"

// An image repeated along x (the header's ground) or along y. A tile takes
// the mouse and does nothing with it, so clicks never reach what lies
// below; one made to click through has no mouse area at all.
class nTiled : public VSTGUI::CControl {
public:
    enum class Axis { X, Y };

    // `backgroundId` 0 or unknown: the tile draws nothing.
    nTiled(const VSTGUI::CRect& size, int32_t tag, int32_t backgroundId, Axis axis, bool clickThrough);

    Axis getAxis() const { return axis; }
    bool isClickThrough() const { return clickThrough; }

    void draw(VSTGUI::CDrawContext* context) override;
    bool hitTest(const VSTGUI::CPoint& where, const int32_t& buttons = -1) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;

    const char* getClassName() const override { return "nTiled"; }
    bool isTypeOf(const char* className) const override;

private:
    Axis axis;
    bool clickThrough;
};

// The sheet that dims the editor while the setup panel is open. With a
// value other than 0 it darkens its area and takes every click; a click
// sets the value to 0 and tells the listener, which closes the panel.
// With value 0 it draws nothing and lets the mouse through.
class nDarken : public VSTGUI::CControl {
public:
    static constexpr VSTGUI::CColor kShade{0, 0, 0, 0x99};

    nDarken(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag);

    void draw(VSTGUI::CDrawContext* context) override;
    bool hitTest(const VSTGUI::CPoint& where, const int32_t& buttons = -1) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    void setValue(float v) override;

    const char* getClassName() const override { return "nDarken"; }
    bool isTypeOf(const char* className) const override;
};

// Static text in one font and colour, its lines (split at each backslash)
// one below the other from the top. A line too wide for the view is drawn
// smaller, down to kSmallestSize, so that it ends inside the view. The
// editor may replace the text (the channel count line does). It takes no
// mouse.
class nTextDisplay : public VSTGUI::CControl {
public:
    struct Style {
        VSTGUI::CCoord fontSize;
        VSTGUI::CColor colour;
        VSTGUI::CHoriTxtAlign align;
    };
    static constexpr Style kLabel{15, {0xff, 0xff, 0xff, 0xff}, VSTGUI::kLeftText};
    static constexpr Style kCaption{12, {0xa6, 0xa6, 0xa6, 0xff}, VSTGUI::kCenterText};
    // The display face every static text is drawn in.
    static constexpr const char* kFontName = "FUTURAB";
    static constexpr VSTGUI::CCoord kSmallestSize = 9;

    nTextDisplay(const VSTGUI::CRect& size, int32_t tag, std::string_view text, const Style& style);

    void setText(std::string_view text);
    const std::string& getText() const { return text; }
    const std::vector<std::string>& getLines() const { return lines; }
    const Style& getStyle() const { return style; }
    // Height of one line: the font's ascent, descent and gap, rounded up.
    VSTGUI::CCoord lineHeight() const;

    void draw(VSTGUI::CDrawContext* context) override;
    bool hitTest(const VSTGUI::CPoint& where, const int32_t& buttons = -1) override;

    const char* getClassName() const override { return "nTextDisplay"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~nTextDisplay() override;

private:
    std::string text;
    std::vector<std::string> lines;
    Style style;
    VSTGUI::CFontDesc* font;
};

// The about page's text: the product's name and version on the first line,
// then the lines of `credits`.
std::string aboutText(std::string_view credits);

// A page whose own ground fades from grey at the top to black at the
// bottom: row y of h has the level 58 * (h - y) / h in each colour.
class nFaded : public nPage {
public:
    static constexpr int kTopLevel = 58;

    nFaded(const VSTGUI::CRect& size, int32_t tag);

    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;

    const char* getClassName() const override { return "nFaded"; }
    bool isTypeOf(const char* className) const override;

private:
    void paintFade();
};
