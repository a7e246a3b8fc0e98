#pragma once
// A control that shows its value as text: through a formatting callback
// when one is set, else as the value with two decimals. Text is drawn with
// the display's font, colours and alignment over its background (bitmap,
// else the back colour unless transparent), with an optional frame.
// CTextLabel shows fixed text instead of the value.

#include <cstdint>
#include <string>

#include "gui/toolkit/CControl.h"

namespace VSTGUI {

// Style bits of text displays and menus.
enum CParamDisplayStyle : int32_t {
    kShadowText = 1 << 2,
    k3DIn = 1 << 3,
    k3DOut = 1 << 4,
    kNoTextStyle = 1 << 11,
    kNoDrawStyle = 1 << 12,
    kNoFrame = 1 << 14,
};

class CParamDisplay : public CControl {
public:
    // Formats `value` into `text` (room for 256 bytes with the NUL).
    using StringConvert = void (*)(float value, char* text, void* userData);

    CParamDisplay(const CRect& size, CBitmap* background = nullptr, int32_t style = 0);

    void setFont(CFontDesc* font);
    CFontDesc* getFont() const { return font.get(); }
    void setFontColor(const CColor& c) { fontColor = c; setDirty(); }
    CColor getFontColor() const { return fontColor; }
    void setBackColor(const CColor& c) { backColor = c; setDirty(); }
    CColor getBackColor() const { return backColor; }
    void setFrameColor(const CColor& c) { frameColor = c; setDirty(); }
    CColor getFrameColor() const { return frameColor; }
    void setShadowColor(const CColor& c) { shadowColor = c; setDirty(); }
    void setHoriAlign(CHoriTxtAlign a) { horiAlign = a; setDirty(); }
    CHoriTxtAlign getHoriAlign() const { return horiAlign; }
    void setStyle(int32_t s) { style = s; setDirty(); }
    int32_t getStyle() const { return style; }
    void setTextInset(CCoord x) { textInset = x; }
    void setStringConvert(StringConvert convert, void* userData = nullptr);
    // The text the display shows now.
    virtual std::string getDisplayText() const;

    void draw(CDrawContext* context) override;

    const char* getClassName() const override { return "CParamDisplay"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CParamDisplay() override;
    // Background and frame, then `text`.
    void drawText(CDrawContext* context, const char* text);

    SharedPointer<CFontDesc> font;
    CColor fontColor = kWhiteCColor;
    CColor backColor = kBlackCColor;
    CColor frameColor = kBlackCColor;
    CColor shadowColor = kBlackCColor;
    CHoriTxtAlign horiAlign = kCenterText;
    int32_t style;
    CCoord textInset = 2;
    StringConvert stringConvert = nullptr;
    void* stringConvertData = nullptr;
};

class CTextLabel : public CParamDisplay {
public:
    CTextLabel(const CRect& size, const char* text = "", CBitmap* background = nullptr, int32_t style = 0);
    void setText(const char* text);
    const std::string& getText() const { return text; }
    // Final: draw() shows `text` itself, so the two must not differ.
    std::string getDisplayText() const final { return text; }
    void draw(CDrawContext* context) override;

    const char* getClassName() const override { return "CTextLabel"; }
    bool isTypeOf(const char* className) const override;

private:
    std::string text;
};

}  // namespace VSTGUI
