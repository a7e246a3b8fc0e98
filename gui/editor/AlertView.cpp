#include "gui/editor/AlertView.h"

#include <algorithm>
#include <cstring>

#include "gui/editor/LayoutDocument.h"
#include "gui/editor/LookPalette.h"
#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/CFontDesc.h"
#include "gui/toolkit/Switches.h"

using namespace VSTGUI;

namespace {

constexpr CCoord kPanelWidth = 420;
constexpr CCoord kLineHeight = 16;
constexpr CCoord kButtonWidth = 80;
constexpr CCoord kButtonHeight = 22;
constexpr CColor kShade{0, 0, 0, 0x99};

}  // namespace

AlertView::AlertView(const CRect& frameSize, std::string t, std::string text, std::function<void()> done)
    : CView(frameSize), title(std::move(t)), lines(splitText(text, "\n")), dismissed(std::move(done)) {}

CRect AlertView::panelRect() const {
    const CCoord height = 44 + kLineHeight * static_cast<CCoord>(lines.size()) + kButtonHeight + 20;
    const CCoord width = std::min(kPanelWidth, size.width() - 20);
    const CCoord left = std::floor((size.width() - width) / 2);
    const CCoord top = std::max<CCoord>(10, std::floor((size.height() - height) / 2));
    return CRect(left, top, left + width, top + height);
}

CRect AlertView::buttonRect() const {
    const CRect panel = panelRect();
    const CCoord left = panel.right - 14 - kButtonWidth;
    return CRect(left, panel.bottom - 12 - kButtonHeight, panel.right - 14, panel.bottom - 12);
}

void AlertView::draw(CDrawContext* context) {
    const CPoint origin = size.topLeft();
    context->setFillColor(kShade);
    context->fillRect(size);
    const CRect panel = panelRect().offset(origin.x, origin.y);
    context->setDrawMode(kAntiAliasing);
    context->setFillColor(look::kPanel);
    context->setFrameColor(look::kFrame);
    context->setLineWidth(1);
    ControlKit::drawRoundRect(context, CRect(panel).inset(0.5f, 0.5f), 5, kDrawFilledAndStroked);

    CFontDesc titleFont("FUTURAB", 15);
    context->setFont(&titleFont);
    context->setFontColor(look::kBright);
    context->drawString(title.c_str(), CRect(panel.left + 16, panel.top + 10, panel.right - 16, panel.top + 32),
                        kLeftText);
    context->setFont(kNormalFont, 12);
    context->setFontColor(look::kLabel);
    CCoord y = panel.top + 38;
    for (const std::string& line : lines) {
        context->drawString(line.c_str(), CRect(panel.left + 16, y, panel.right - 16, y + kLineHeight), kLeftText);
        y += kLineHeight;
    }
    const CRect button = buttonRect().offset(origin.x, origin.y);
    context->setFillColor(look::kAccent);
    context->setFrameColor(look::kAccent);
    ControlKit::drawRoundRect(context, CRect(button).inset(0.5f, 0.5f), 3, kDrawFilledAndStroked);
    context->setFont(&titleFont, 12);
    context->setFontColor(look::kOnText);
    context->drawString("OK", button, kCenterText);
    setDirty(false);
}

CMouseEventResult AlertView::onMouseDown(CPoint& where, const int32_t&) {
    if (buttonRect().offset(size.left, size.top).pointInside(where)) dismiss();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

int32_t AlertView::onKeyDown(uint32_t character, int32_t, int32_t) {
    if (character == '\r' || character == '\n' || character == 27) {
        dismiss();
        return 1;
    }
    return -1;
}

void AlertView::dismiss() {
    if (!dismissed) return;
    auto done = std::move(dismissed);
    dismissed = nullptr;
    done();
}

bool AlertView::isTypeOf(const char* className) const {
    return std::strcmp(className, "AlertView") == 0 || CView::isTypeOf(className);
}
