#include "gui/editor/EditorControls.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "gui/editor/LookPalette.h"
#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CDrawContext.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

CColor withAlpha(CColor c, uint8_t alpha) {
    c.alpha = alpha;
    return c;
}

int32_t wholePixels(CCoord length) { return std::max(1, static_cast<int32_t>(std::lround(length))); }

}  // namespace

// ---- ReportingAs ----

ReportingAs::ReportingAs(CControl& c, int32_t reportTag) : control(c), ownTag(c.getTag()) { control.setTag(reportTag); }

ReportingAs::~ReportingAs() { control.setTag(ownTag); }

// ---- SpecialArrows ----

SpecialArrows::SpecialArrows(const CRect& r, CControlListener* listener, int32_t t, CBitmap* strip, CCoord frameHeight)
    : CKickButton(r, listener, t, strip) {
    if (frameHeight > 0) setHeightOfOneImage(frameHeight);
}

void SpecialArrows::setTrayOpen(bool open) {
    if (trayOpen == open) return;
    trayOpen = open;
    invalid();
}

void SpecialArrows::draw(CDrawContext* context) {
    CBitmap* strip = getBackground();
    if (!strip) {
        CKickButton::draw(context);
        return;
    }
    const StripLayout layout = stripLayout(strip, size.height());
    CRect dest = size;
    dest.top += std::floor(std::max<CCoord>(0, size.height() - layout.imageHeight) / 2);
    drawStripImage(context, strip, layout, frameShown(), dest);
    setDirty(false);
}

bool SpecialArrows::isTypeOf(const char* className) const {
    return std::strcmp(className, "SpecialArrows") == 0 || CKickButton::isTypeOf(className);
}

// ---- nResizeBox ----

nResizeBox::nResizeBox(const CRect& r, CControlListener* listener, int32_t t) : CControl(r, listener, t) {
    // The value is a movement in pixels, either way.
    setMin(-1.0e6f);
    setMax(1.0e6f);
}

void nResizeBox::draw(CDrawContext* context) {
    setDirty(false);
    if (size.isEmpty()) return;
    // Three diagonals across the corner, each a light line over a dark one,
    // as if cut into the panel.
    context->setDrawMode(kAntiAliasing);
    context->setLineWidth(1);
    const CColor light = withAlpha(look::kLabel, dragging ? 255 : 170);
    for (int32_t i = 0; i < 3; ++i) {
        const CCoord reach = 4.0f + 4.0f * static_cast<CCoord>(i);
        if (reach > std::min(size.width(), size.height()) - 2) break;
        const CPoint from(size.right - 2 - reach, size.bottom - 2);
        const CPoint to(size.right - 2, size.bottom - 2 - reach);
        context->setFrameColor(look::kEdgeDark);
        context->drawLine(CPoint(from.x + 1, from.y), CPoint(to.x, to.y + 1));
        context->setFrameColor(light);
        context->drawLine(from, to);
    }
}

bool nResizeBox::hitTest(const CPoint& where, const int32_t& buttons) {
    return !size.isEmpty() && CControl::hitTest(where, buttons);
}

CMouseEventResult nResizeBox::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (size.isEmpty() || !(buttons & kLButton)) return kMouseEventNotHandled;
    dragging = true;
    lastX = where.x;
    beginEdit();
    invalid();
    return kMouseEventHandled;
}

CMouseEventResult nResizeBox::onMouseMoved(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    if (!dragging) return kMouseEventNotHandled;
    const CCoord moved = where.x - lastX;
    if (moved == 0) return kMouseEventHandled;
    lastX = where.x;
    value = moved;
    valueChanged();
    return kMouseEventHandled;
}

CMouseEventResult nResizeBox::onMouseUp(CPoint& where, const int32_t& buttons) {
    if (!dragging) return kMouseEventNotHandled;
    onMouseMoved(where, buttons);
    dragging = false;
    value = 0;
    endEdit();
    invalid();
    return kMouseEventHandled;
}

bool nResizeBox::isTypeOf(const char* className) const {
    return std::strcmp(className, "nResizeBox") == 0 || CControl::isTypeOf(className);
}

// ---- nHighlightSheet ----

nHighlightSheet::nHighlightSheet(const CRect& r, int32_t t, int32_t id, int32_t b, int32_t n)
    : nPage(r, t, 0), highlightId(id), band(b), number(n) {
    if (id != 0) {
        if (CDIB* image = CDIB::fromResource(id)) {
            highlight = SharedPointer<CBitmap>(image);
            image->forget();
        }
    }
    makeSheet();
}

void nHighlightSheet::makeSheet() {
    auto* sheet = new CDIB(wholePixels(size.width()), wholePixels(size.height()));
    setBackground(sheet);
    sheet->forget();  // the background holds it
}

CDIB* nHighlightSheet::getSheet() const {
    CBitmap* b = getBackground();
    return b ? b->asDIB() : nullptr;
}

bool nHighlightSheet::isHighlightShown() const { return highlight && value == static_cast<float>(number); }

void nHighlightSheet::setValue(float v) {
    // The sheet's tag picks the band to light, never whether it is on show.
    if (v == value) return;
    value = v;
    invalid();
}

void nHighlightSheet::setViewSize(const CRect& rect, bool invalidate) {
    const bool resized = wholePixels(rect.width()) != wholePixels(size.width()) ||
                         wholePixels(rect.height()) != wholePixels(size.height());
    nPage::setViewSize(rect, invalidate);
    if (resized) makeSheet();
}

void nHighlightSheet::drawBackgroundRect(CDrawContext* context, const CRect& rect) {
    nPage::drawBackgroundRect(context, rect);
    if (!isHighlightShown()) return;
    CBitmap* image = highlight.get();
    CRect area(0, 0, image->getWidth(), image->getHeight());
    area.bound(rect);
    if (!area.isEmpty()) image->alphaDraw(context, area, area.topLeft());
}

bool nHighlightSheet::isTypeOf(const char* className) const {
    return std::strcmp(className, "nHighlightSheet") == 0 || nPage::isTypeOf(className);
}

// ---- CEQSlider ----

namespace {

CRect withReadoutRoom(const CRect& column, int32_t style) {
    const CCoord room = CEQSlider::kReadoutRoom;
    if (style & kHorizontal) return CRect(column.left, column.top - room, column.right, column.bottom + room);
    return CRect(column.left - room, column.top, column.right + room, column.bottom);
}

}  // namespace

CEQSlider::CEQSlider(const CRect& column, CControlListener* listener, int32_t t, int32_t s, CBitmap* handleBitmap,
                     CBitmap* background)
    : CSlider(withReadoutRoom(column, s), listener, t, s, handleBitmap, background),
      font(new CFontDesc("FUTURAB", kReadoutFontSize)) {
    setMouseableArea(getColumn());
}

CEQSlider::~CEQSlider() { font->forget(); }

CRect CEQSlider::getColumn() const {
    CRect column = size;
    if (isHorizontal()) {
        column.inset(0, kReadoutRoom);
    } else {
        column.inset(kReadoutRoom, 0);
    }
    return column;
}

void CEQSlider::setViewSize(const CRect& rect, bool invalidate) {
    CSlider::setViewSize(rect, invalidate);
    setMouseableArea(getColumn());
}

void CEQSlider::setTravel(CCoord offset, CCoord range) {
    // The slider's positions are the travel's ends, top (left) first; its
    // style decides at which end the minimum lies.
    setMinPos(offset);
    setMaxPos(offset + std::max<CCoord>(0, range - getHandleLength()));
}

void CEQSlider::setDisplayText(std::string_view text) {
    if (text == displayText) return;
    const bool wasShown = isReadoutShown();
    displayText = text;
    if (wasShown || isReadoutShown()) invalid();
}

void CEQSlider::setReadout(Readout mode) {
    if (mode == readout) return;
    readout = mode;
    invalid();
}

bool CEQSlider::isReadoutShown() const {
    if (displayText.empty()) return false;
    switch (readout) {
        case Readout::kAlways: return true;
        case Readout::kWhileActive: return hovered || tracking;
        case Readout::kNever: break;
    }
    return false;
}

CRect CEQSlider::readoutRect() const {
    if (displayText.empty()) return CRect();
    const CCoord width = std::min(std::ceil(font->getStringWidth(displayText.c_str())) + 8, size.width());
    const CRect handleRect = getHandleRect();
    CRect box;
    if (isHorizontal()) {
        // Above the handle, centred on it and kept within the view.
        const CCoord centre = (handleRect.left + handleRect.right) / 2;
        const CCoord left = std::clamp(std::round(centre - width / 2), size.left, size.right - width);
        const CCoord bottom = handleRect.top - kReadoutGap;
        box = CRect(left, std::max(size.top, bottom - kReadoutHeight), left + width, bottom);
    } else {
        // Centred on the column, above the handle or, near the top, below it.
        const CCoord centre = (size.left + size.right) / 2;
        const CCoord left = std::round(centre - width / 2);
        CCoord top = handleRect.top - kReadoutGap - kReadoutHeight;
        if (top < size.top) top = handleRect.bottom + kReadoutGap;
        box = CRect(left, top, left + width, top + kReadoutHeight);
    }
    return box;
}

void CEQSlider::draw(CDrawContext* context) {
    const CRect column = getColumn();
    if (CBitmap* back = getBackground()) back->alphaDraw(context, column, backOffset);
    const CRect handleRect = getHandleRect();
    if (CBitmap* h = getHandle()) {
        h->alphaDraw(context, handleRect);
    } else {
        context->setDrawMode(kAntiAliasing);
        context->setFillColor(look::kUnit);
        context->setFrameColor(look::kEdgeDark);
        context->setLineWidth(1);
        CRect face = handleRect;
        face.inset(0.5f, 0.5f);
        ControlKit::drawRoundRect(context, face, 2, kDrawFilledAndStroked);
    }
    if (isReadoutShown()) drawReadout(context);
    setDirty(false);
}

void CEQSlider::drawReadout(CDrawContext* context) {
    const CRect box = readoutRect();
    if (box.isEmpty()) return;
    context->setDrawMode(kAntiAliasing);
    context->setFillColor(withAlpha(look::kWell, 235));
    context->setFrameColor(look::kFrame);
    context->setLineWidth(1);
    CRect edge = box;
    edge.inset(0.5f, 0.5f);
    ControlKit::drawRoundRect(context, edge, 2.5f, kDrawFilledAndStroked);
    // A text wider than the box (a narrow view) is set smaller to fit.
    const CCoord inner = box.width() - 6;
    const CCoord natural = font->getStringWidth(displayText.c_str());
    const CCoord fontSize =
        natural > inner && natural > 0 ? std::max<CCoord>(7, std::floor(kReadoutFontSize * inner / natural))
                                       : kReadoutFontSize;
    context->setFont(font, fontSize);
    context->setFontColor(look::kBright);
    context->drawString(displayText.c_str(), box, kCenterText);
}

CMouseEventResult CEQSlider::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (buttons & kLButton) compensating = (buttons & modifierRoles().second) != 0;
    const CMouseEventResult result = CSlider::onMouseDown(where, buttons);
    if (tracking && readout == Readout::kWhileActive) invalid();
    return result;
}

CMouseEventResult CEQSlider::onMouseUp(CPoint& where, const int32_t& buttons) {
    const bool wasShown = isReadoutShown();
    const CMouseEventResult result = CSlider::onMouseUp(where, buttons);
    // The pointer may have left the column during the drag.
    hovered = getColumn().pointInside(where);
    if (wasShown != isReadoutShown()) invalid();
    return result;
}

CMouseEventResult CEQSlider::onMouseEntered(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    const bool wasShown = isReadoutShown();
    hovered = true;
    if (wasShown != isReadoutShown()) invalid();
    return kMouseEventHandled;
}

CMouseEventResult CEQSlider::onMouseExited(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    const bool wasShown = isReadoutShown();
    hovered = false;
    if (wasShown != isReadoutShown()) invalid();
    return kMouseEventHandled;
}

bool CEQSlider::isTypeOf(const char* className) const {
    return std::strcmp(className, "CEQSlider") == 0 || CSlider::isTypeOf(className);
}

CEQVSlider::CEQVSlider(const CRect& column, CControlListener* listener, int32_t t, int32_t s, CBitmap* handleBitmap,
                       CBitmap* background)
    : CEQSlider(column, listener, t, (s & ~kHorizontal) | kVertical, handleBitmap, background) {}

bool CEQVSlider::isTypeOf(const char* className) const {
    return std::strcmp(className, "CEQVSlider") == 0 || CEQSlider::isTypeOf(className);
}

CEQHSlider::CEQHSlider(const CRect& column, CControlListener* listener, int32_t t, int32_t s, CBitmap* handleBitmap,
                       CBitmap* background)
    : CEQSlider(column, listener, t, (s & ~kVertical) | kHorizontal, handleBitmap, background) {}

bool CEQHSlider::isTypeOf(const char* className) const {
    return std::strcmp(className, "CEQHSlider") == 0 || CEQSlider::isTypeOf(className);
}

// ---- SetupWindow ----

SetupWindow::SetupWindow(const CRect& r, CControlListener* listener, int32_t t, int32_t wizard)
    : CControl(r, listener, t), wizardTag(wizard), font(new CFontDesc("FUTURAB", kFontSize)) {
    setMax(static_cast<float>(kPageCount - 1));
}

SetupWindow::~SetupWindow() { font->forget(); }

int32_t SetupWindow::currentPage() const {
    const auto page = static_cast<int32_t>(std::lround(value));
    return page >= 0 && page < kPageCount ? page : -1;
}

CRect SetupWindow::rowRect(int32_t row) const {
    if (row < 0 || row > kPageCount) return CRect();
    if (row == kPageCount) {
        // The wizard's row stands at the foot of the list.
        const CCoord top = std::max(size.top + kFirstRowTop + kPageCount * kRowHeight + 8,
                                    size.bottom - 8 - kRowHeight);
        return CRect(size.left, top, size.right, top + kRowHeight);
    }
    const CCoord top = size.top + kFirstRowTop + static_cast<CCoord>(row) * kRowHeight;
    return CRect(size.left, top, size.right, top + kRowHeight);
}

int32_t SetupWindow::rowAt(const CPoint& where) const {
    for (int32_t row = 0; row <= kPageCount; ++row) {
        if (rowRect(row).pointInside(where)) return row;
    }
    return -1;
}

void SetupWindow::setValue(float v) {
    if (v == value) return;
    value = v;
    invalid();
}

void SetupWindow::setViewSize(const CRect& rect, bool invalidate) {
    CControl::setViewSize(rect, invalidate);
    setMouseableArea(rect);
}

void SetupWindow::draw(CDrawContext* context) {
    setDirty(false);
    context->setDrawMode(kAliasing);
    context->setFont(font);
    const int32_t current = currentPage();
    for (int32_t row = 0; row <= kPageCount; ++row) {
        const CRect r = rowRect(row);
        if (r.bottom > size.bottom) break;
        const bool lit = row == current;
        if (lit) {
            context->setFillColor(look::kStrip);
            context->fillRect(CRect(r.left + 1, r.top, r.right - 1, r.bottom));
            context->setFillColor(look::kAccent);
            context->fillRect(CRect(r.left + 1, r.top, r.left + 4, r.bottom));
        } else if (row == hovered) {
            context->setFillColor(withAlpha(look::kRaisedHigh, 110));
            context->fillRect(CRect(r.left + 1, r.top, r.right - 1, r.bottom));
        }
        if (row == kPageCount) {
            // A rule sets the wizard apart from the pages.
            context->setFillColor(look::kGrid);
            context->fillRect(CRect(r.left + 8, r.top - 5, r.right - 8, r.top - 4));
        }
        const char* name = row == kPageCount ? kWizardName : kPageNames[row];
        context->setFontColor(lit ? look::kAccent : row == hovered ? look::kBright : look::kLabel);
        context->drawString(name, CRect(r.left + 14, r.top, r.right - 6, r.bottom), kLeftText);
    }
}

CMouseEventResult SetupWindow::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    const int32_t row = rowAt(where);
    if (row < 0) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    if (row == kPageCount) {
        const float own = value;
        {
            ReportingAs as(*this, wizardTag);
            beginEdit();
            value = 1;
            valueChanged();
            value = own;
            endEdit();
        }
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    beginEdit();
    value = static_cast<float>(row);
    invalid();
    valueChanged();
    endEdit();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

void SetupWindow::setHovered(int32_t row) {
    if (row == hovered) return;
    hovered = row;
    invalid();
}

CMouseEventResult SetupWindow::onMouseMoved(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    setHovered(rowAt(where));
    return kMouseEventHandled;
}

CMouseEventResult SetupWindow::onMouseExited(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    setHovered(-1);
    return kMouseEventHandled;
}

bool SetupWindow::isTypeOf(const char* className) const {
    return std::strcmp(className, "SetupWindow") == 0 || CControl::isTypeOf(className);
}

// ---- Makers ----

CView* makeSpecialArrows(const LayoutElementArgs& a) {
    return new SpecialArrows(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"),
                             getInt(a.node, "heightofoneimage"));
}

CView* makeResizeBox(const LayoutElementArgs& a) { return new nResizeBox(a.rect, a.listener, a.tag); }

CView* makeHighlightSheet(const LayoutElementArgs& a) {
    return new nHighlightSheet(a.rect, a.tag, getInt(a.node, "highlight"), getInt(a.node, "band"),
                               getInt(a.node, "num"));
}

namespace {

// The layout's "2" slider attributes: the travel starts `offsetx` or
// `offsety` into the column and runs `rangehandle` pixels along its axis.
void readTravel(CEQSlider& slider, const LayoutNode& node) {
    if (getAttribute(node, "rangehandle") == nullptr) return;
    const CCoord offset = slider.isHorizontal() ? getInt(node, "offsetx") : getInt(node, "offsety");
    slider.setTravel(offset, getInt(node, "rangehandle"));
}

}  // namespace

CView* makeEQVSlider(const LayoutElementArgs& a) {
    auto* slider = new CEQVSlider(a.rect, a.listener, a.tag, getInt(a.node, "style"), LayoutImage(a.node, "handle"),
                                  LayoutImage(a.node, "background"));
    readTravel(*slider, a.node);
    return slider;
}

CView* makeEQHSlider(const LayoutElementArgs& a) {
    auto* slider = new CEQHSlider(a.rect, a.listener, a.tag, getInt(a.node, "style"), LayoutImage(a.node, "handle"),
                                  LayoutImage(a.node, "background"));
    readTravel(*slider, a.node);
    return slider;
}

CView* makeSetupWindow(const LayoutElementArgs& a) {
    return new SetupWindow(a.rect, a.listener, a.tag, kGUIWizardOpen);
}
