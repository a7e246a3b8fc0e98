#include "gui/toolkit/Animations.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <numbers>

#include "gui/toolkit/CFrame.h"

namespace VSTGUI {

// ---- CMovieBitmap ----

CMovieBitmap::CMovieBitmap(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip,
                           int32_t subPixmaps, CCoord heightOfOneImage)
    : CControl(size, listener, tag, strip) {
    setNumSubPixmaps(subPixmaps);
    setHeightOfOneImage(heightOfOneImage);
}

int32_t CMovieBitmap::getImageIndex() const {
    const int32_t count = stripLayout(getBackground(), size.height()).count;
    return static_cast<int32_t>(std::lround(ControlKit::normalizedValue(*this) * static_cast<float>(count - 1)));
}

void CMovieBitmap::draw(CDrawContext* context) {
    if (CBitmap* strip = getBackground()) {
        drawStripImage(context, strip, stripLayout(strip, size.height()), getImageIndex(), size);
    } else {
        context->setDrawMode(kAliasing);
        context->setFillColor(ControlKit::kTrack);
        context->fillRect(size);
        CRect bar = size;
        bar.top = bar.bottom - std::round(size.height() * ControlKit::normalizedValue(*this));
        context->setFillColor(ControlKit::kAccent);
        context->fillRect(bar);
    }
    setDirty(false);
}

CMouseEventResult CMovieBitmap::onMouseDown(CPoint&, const int32_t&) { return kMouseEventNotHandled; }
bool CMovieBitmap::onWheel(const CPoint&, const float&, const int32_t&) { return false; }

bool CMovieBitmap::isTypeOf(const char* className) const {
    return std::strcmp(className, "CMovieBitmap") == 0 || CControl::isTypeOf(className);
}

// ---- CAutoAnimation ----

namespace {
constexpr int32_t kDrawnAnimationSteps = 12;
}

CAutoAnimation::CAutoAnimation(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* strip,
                               int32_t subPixmaps, CCoord heightOfOneImage)
    : CControl(size, listener, tag, strip) {
    setNumSubPixmaps(subPixmaps);
    setHeightOfOneImage(heightOfOneImage);
}

int32_t CAutoAnimation::getImageCount() const {
    if (CBitmap* strip = getBackground()) return stripLayout(strip, size.height()).count;
    return kDrawnAnimationSteps;
}

void CAutoAnimation::setOpened(bool state) {
    opened = state;
    if (opened) imageIndex = 0;
    ControlKit::changeValue(*this, opened ? vmax : vmin);
    invalid();
}

void CAutoAnimation::openWindow() {
    if (!opened) setOpened(true);
}

void CAutoAnimation::closeWindow() {
    if (opened) setOpened(false);
}

void CAutoAnimation::nextPixmap() {
    if (!opened) return;
    imageIndex = (imageIndex + 1) % getImageCount();
    invalid();
}

void CAutoAnimation::previousPixmap() {
    if (!opened) return;
    const int32_t count = getImageCount();
    imageIndex = (imageIndex + count - 1) % count;
    invalid();
}

void CAutoAnimation::draw(CDrawContext* context) {
    if (opened) {
        if (CBitmap* strip = getBackground()) {
            drawStripImage(context, strip, stripLayout(strip, size.height()), imageIndex, size);
        } else {
            const CPoint centre((size.left + size.right) / 2, (size.top + size.bottom) / 2);
            const CCoord radius = std::min(size.width(), size.height()) / 2 - 2;
            if (radius > 1) {
                const double a = std::numbers::pi / 2 - 2 * std::numbers::pi * imageIndex / kDrawnAnimationSteps;
                context->setDrawMode(kAntiAliasing);
                context->setLineWidth(1);
                context->setFrameColor(ControlKit::kOutline);
                context->drawEllipse(CRect(centre.x - radius, centre.y - radius, centre.x + radius, centre.y + radius));
                context->setLineWidth(2);
                context->setFrameColor(ControlKit::kAccent);
                context->drawLine(centre, CPoint(centre.x + radius * static_cast<CCoord>(std::cos(a)),
                                                 centre.y - radius * static_cast<CCoord>(std::sin(a))));
            }
        }
    }
    setDirty(false);
}

CMouseEventResult CAutoAnimation::onMouseDown(CPoint&, const int32_t& buttons) {
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    setOpened(!opened);
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool CAutoAnimation::onWheel(const CPoint&, const float&, const int32_t&) { return false; }

bool CAutoAnimation::isTypeOf(const char* className) const {
    return std::strcmp(className, "CAutoAnimation") == 0 || CControl::isTypeOf(className);
}

// ---- CSplashScreen ----

// What a splash shows: part of a bitmap and/or the caller's view, in frame
// coordinates. It lives outside the view tree (the frame draws it on top
// and gives it the mouse as the modal view); any press hides it.
class CSplashHolder : public CViewContainer {
public:
    CSplashHolder(const CRect& size, CSplashScreen* owner) : CViewContainer(size), owner(owner) {
        setTransparency(true);
    }

    void setPicture(CBitmap* bitmap, const CPoint& offset) {
        picture = SharedPointer<CBitmap>(bitmap);
        pictureOffset = offset;
    }
    void disown() { owner = nullptr; }

    void drawBackgroundRect(CDrawContext* context, const CRect& rect) override {
        if (CBitmap* bitmap = picture.get()) bitmap->alphaDraw(context, rect, rect.topLeft() + pictureOffset);
    }
    CMouseEventResult onMouseDown(CPoint&, const int32_t&) override {
        if (owner) owner->unSplash();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }

private:
    CSplashScreen* owner;
    SharedPointer<CBitmap> picture;
    CPoint pictureOffset;
};

CSplashScreen::CSplashScreen(const CRect& size, CControlListener* listener, int32_t tag, CBitmap* splash,
                             const CRect& splashRect, const CPoint& offset)
    : CControl(size, listener, tag), holder(SharedPointer<CSplashHolder>::adopt(new CSplashHolder(splashRect, this))) {
    holder->setPicture(splash, offset);
}

CSplashScreen::CSplashScreen(const CRect& size, CControlListener* listener, int32_t tag, CView* splashView)
    : CControl(size, listener, tag) {
    const CRect area = splashView ? splashView->getViewSize() : CRect();
    holder = SharedPointer<CSplashHolder>::adopt(new CSplashHolder(area, this));
    if (splashView) {
        splashView->setViewSize(CRect(area).moveTo(0, 0), false);
        splashView->setMouseableArea(CRect(area).moveTo(0, 0));
        holder->addView(splashView);
    }
}

CSplashScreen::~CSplashScreen() {
    if (holder) holder->disown();
}

CView* CSplashScreen::getSplashView() const { return holder.get(); }

void CSplashScreen::showSplash() {
    CFrame* f = getFrame();
    if (shown || !f || !f->setModalView(holder.get())) return;
    f->setViewOnTop(holder.get());
    f->invalidRect(holder->getViewSize());
    shown = true;
    shownIn = f;
    ControlKit::changeValue(*this, vmax);
}

void CSplashScreen::unSplash() {
    if (!shown) return;
    shown = false;
    if (shownIn) {
        if (shownIn->getModalView() == holder.get()) shownIn->setModalView(nullptr);
        if (shownIn->getViewOnTop() == holder.get()) shownIn->setViewOnTop(nullptr);
        shownIn->invalidRect(holder->getViewSize());
        shownIn = nullptr;
    }
    ControlKit::changeValue(*this, vmin);
}

void CSplashScreen::draw(CDrawContext* context) {
    if (CBitmap* back = getBackground()) back->alphaDraw(context, size, backOffset);
    setDirty(false);
}

CMouseEventResult CSplashScreen::onMouseDown(CPoint&, const int32_t& buttons) {
    if (!(buttons & kLButton) || !getFrame()) return kMouseEventNotHandled;
    if (shown)
        unSplash();
    else
        showSplash();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool CSplashScreen::onWheel(const CPoint&, const float&, const int32_t&) { return false; }

bool CSplashScreen::removed(CView* parent) {
    // Leaving the tree (perhaps with the whole frame): take the splash down
    // without telling a listener that may be going too.
    if (shown && shownIn) {
        if (shownIn->getModalView() == holder.get()) shownIn->setModalView(nullptr);
        if (shownIn->getViewOnTop() == holder.get()) shownIn->setViewOnTop(nullptr);
    }
    shown = false;
    shownIn = nullptr;
    value = vmin;
    return CControl::removed(parent);
}

bool CSplashScreen::isTypeOf(const char* className) const {
    return std::strcmp(className, "CSplashScreen") == 0 || CControl::isTypeOf(className);
}

// ---- CVuMeter ----

CVuMeter::CVuMeter(const CRect& size, CBitmap* on, CBitmap* off, int32_t nbLed, int32_t style)
    : CControl(size), onBitmap(on), offBitmap(off), nbLed(std::max(0, nbLed)),
      style(style & kHorizontal ? kHorizontal : kVertical) {
    setMouseEnabled(false);
}

CVuMeter::~CVuMeter() = default;

void CVuMeter::setZoneColors(const CColor& low, const CColor& high, const CColor& top) {
    lowColor = low;
    highColor = high;
    topColor = top;
    setDirty();
}

bool CVuMeter::isDirty() const {
    return CControl::isDirty() || shownLevel > ControlKit::normalizedValue(*this);
}

void CVuMeter::splitAt(float fraction, CRect& lit, CRect& unlit) const {
    lit = size;
    unlit = size;
    if (style & kHorizontal) {
        const CCoord edge = size.left + std::round(size.width() * fraction);
        lit.right = edge;
        unlit.left = edge;
    } else {
        const CCoord edge = size.bottom - std::round(size.height() * fraction);
        lit.top = edge;
        unlit.bottom = edge;
    }
}

void CVuMeter::draw(CDrawContext* context) {
    // Rise at once, fall by at most one step per draw.
    shownLevel = std::max(ControlKit::normalizedValue(*this), shownLevel - decreaseStep);
    float level = shownLevel;
    int32_t litLeds = 0;
    if (nbLed > 0) {
        litLeds = static_cast<int32_t>(std::floor(level * static_cast<float>(nbLed) + 1e-4f));
        level = static_cast<float>(litLeds) / static_cast<float>(nbLed);
    }
    CRect lit, unlit;
    splitAt(level, lit, unlit);
    context->setDrawMode(kAliasing);

    if (onBitmap || offBitmap) {
        // Each bitmap covers the whole view; the split shows part of each.
        auto show = [&](CBitmap* bitmap, const CRect& part) {
            if (part.isEmpty()) return;
            if (bitmap) {
                bitmap->alphaDraw(context, part, part.topLeft() - size.topLeft());
            } else {
                context->setFillColor(offColor);
                context->fillRect(part);
            }
        };
        show(onBitmap.get(), lit);
        show(offBitmap.get(), unlit);
        setDirty(false);
        return;
    }

    const bool across = (style & kHorizontal) != 0;
    const CCoord length = across ? size.width() : size.height();
    auto zoneColor = [&](float at) { return at < 0.7f ? lowColor : at < 0.9f ? highColor : topColor; };
    // The part of the meter between two fractions, from the bottom (left).
    auto span = [&](float from, float to) {
        CRect r = size;
        if (across) {
            r.left = size.left + std::round(length * from);
            r.right = size.left + std::round(length * to);
        } else {
            r.bottom = size.bottom - std::round(length * from);
            r.top = size.bottom - std::round(length * to);
        }
        return r;
    };
    context->setFillColor(ControlKit::kTrack);
    context->fillRect(size);
    if (nbLed > 0) {
        const CCoord gap = length / static_cast<CCoord>(nbLed) >= 4 ? 1 : 0;
        for (int32_t i = 0; i < nbLed; ++i) {
            const float from = static_cast<float>(i) / static_cast<float>(nbLed);
            const float to = static_cast<float>(i + 1) / static_cast<float>(nbLed);
            CRect led = span(from, to);
            if (across)
                led.right -= gap;
            else
                led.top += gap;
            context->setFillColor(i < litLeds ? zoneColor((from + to) / 2) : offColor);
            context->fillRect(led);
        }
    } else {
        const float bounds[4] = {0.0f, 0.7f, 0.9f, 1.0f};
        for (int32_t zone = 0; zone < 3; ++zone) {
            const float from = std::min(bounds[zone], level);
            const float to = std::min(bounds[zone + 1], level);
            if (to <= from) continue;
            context->setFillColor(zoneColor(bounds[zone]));
            context->fillRect(span(from, to));
        }
        context->setFillColor(offColor);
        context->fillRect(unlit);
    }
    setDirty(false);
}

CMouseEventResult CVuMeter::onMouseDown(CPoint&, const int32_t&) { return kMouseEventNotHandled; }
bool CVuMeter::onWheel(const CPoint&, const float&, const int32_t&) { return false; }

bool CVuMeter::isTypeOf(const char* className) const {
    return std::strcmp(className, "CVuMeter") == 0 || CControl::isTypeOf(className);
}

// ---- CSpecialDigit ----

CSpecialDigit::CSpecialDigit(const CRect& size, CControlListener* listener, int32_t tag, int32_t number,
                             int32_t digitCount, CBitmap* digitStrip, CCoord width)
    : CControl(size, listener, tag, digitStrip), digits(std::clamp(digitCount, 1, 9)), digitWidth(width) {
    subPixmaps = 10;
    vmin = 0;
    vmax = static_cast<float>(std::pow(10.0, digits) - 1);
    value = static_cast<float>(number);
    bounceValue();
}

int32_t CSpecialDigit::getNumber() const {
    const long n = std::lround(std::clamp(value, vmin, vmax));
    return static_cast<int32_t>(n);
}

void CSpecialDigit::draw(CDrawContext* context) {
    char text[16];
    std::snprintf(text, sizeof(text), "%0*d", static_cast<int>(digits), static_cast<int>(getNumber()));
    if (CBitmap* strip = getBackground()) {
        const StripLayout layout = stripLayout(strip, size.height());
        const CCoord step = digitWidth > 0 ? digitWidth : strip->getWidth();
        for (int32_t i = 0; i < digits; ++i) {
            const CRect place = CRect::fromSize(size.left + step * static_cast<CCoord>(i), size.top, step,
                                                layout.imageHeight);
            drawStripImage(context, strip, layout, text[i] - '0', place);
        }
    } else if (kSystemFont) {
        context->setFont(kSystemFont, std::round(size.height() * 0.8f));
        context->setFontColor(fontColor);
        context->drawString(text, size, kCenterText);
    }
    setDirty(false);
}

CMouseEventResult CSpecialDigit::onMouseDown(CPoint&, const int32_t&) { return kMouseEventNotHandled; }
bool CSpecialDigit::onWheel(const CPoint&, const float&, const int32_t&) { return false; }

bool CSpecialDigit::isTypeOf(const char* className) const {
    return std::strcmp(className, "CSpecialDigit") == 0 || CControl::isTypeOf(className);
}

}  // namespace VSTGUI
