#include "gui/editor/MeterSection.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "core/ParamTable.h"
#include "gui/editor/EditorButtons.h"
#include "gui/editor/LookPalette.h"
#include "gui/editor/StaticViews.h"
#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/Sliders.h"
#include "session/EditorGeometry.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

// Images of the section.
enum : int32_t {
    kSmallBlockImage = 605,
    kMasterBlockImage = 606,
    kFaderHandleImage = 607,
    kWellImage = 608,
    kPhaseImage = 610,  // mute and solo follow
    kLinkImage = 614,
};
constexpr CCoord kSwitchWidth = 20, kSwitchHeight = 16;  // one frame of the switches' strips
constexpr CColor kPeakRed{0xff, 0x00, 0x00, 0xff};
constexpr CColor kPeakYellow{0xff, 0xff, 0x00, 0xff};

SharedPointer<CDIB> image(int32_t id) { return SharedPointer<CDIB>::adopt(CDIB::fromResource(id)); }

CView* caption(const CRect& place, std::string_view text, CHoriTxtAlign align = kCenterText) {
    nTextDisplay::Style style = nTextDisplay::kCaption;
    style.align = align;
    return new nTextDisplay(place, -1, text, style);
}

CView* button(const CRect& place, CControlListener* listener, int32_t tag, int32_t imageId) {
    return new CMovieButton3(place, listener, tag, image(imageId).get(), kSwitchHeight);
}

CView* lightButton(const CRect& place, CControlListener* listener, int32_t tag, const char* title, const CColor& lit) {
    auto* light = new COnOffButton(place, listener, tag);
    light->setTitle(title);
    light->setLitColor(lit);
    return light;
}

// `source` over `dest`: its left and right halves at the two ends with its
// middle column repeated between them; below the image's height its rows
// from the second on repeat.
void drawStretched(CDrawContext* context, CDIB* source, const CRect& dest) {
    const CCoord width = source->getWidth(), height = source->getHeight();
    if (height < 2) return;
    const CCoord cap = std::min(std::floor(width / 2), std::floor(dest.width() / 2));
    auto strip = [&](CCoord x0, CCoord x1, CCoord sourceX) {
        for (CCoord y = 0, sourceY = 0; y < dest.height(); sourceY = 1) {
            const CCoord rows = std::min(dest.height() - y, height - sourceY);
            source->alphaDraw(context, CRect(dest.left + x0, dest.top + y, dest.left + x1, dest.top + y + rows),
                              CPoint(sourceX, sourceY));
            y += rows;
        }
    };
    strip(0, cap, 0);
    for (CCoord x = cap; x < dest.width() - cap; ++x) strip(x, x + 1, cap);
    strip(dest.width() - cap, dest.width(), width - cap);
}

}  // namespace

// ---- meterText ----

meterText::meterText(const CRect& r, nVU* m, bool p, bool y)
    : CControl(r, nullptr, m->getTag()), meter(m), peaks(p), yellow(y), font(new CFontDesc("FUTURAB", 11)) {
    meter->remember();
    setMouseEnabled(false);
}

meterText::~meterText() {
    meter->forget();
    font->forget();
}

std::string meterText::getText() const {
    const double x = peaks ? std::max(meter->getHeld(0), meter->getHeld(1))
                           : std::max(meter->getLevel(0), meter->getLevel(1));
    char text[16];
    nVU::readoutText(x, text, sizeof text);
    return text;
}

CColor meterText::getTextColour() const {
    if (!peaks) return look::kValue;
    return yellow ? kPeakYellow : kPeakRed;
}

void meterText::setValue(float v) {
    CControl::setValue(v);
    setDirty();
}

void meterText::draw(CDrawContext* context) {
    const std::string text = getText();
    // A reading too wide for its place is set smaller.
    const CCoord width = font->getStringWidth(text.c_str());
    const CCoord fontSize = width > size.width() ? std::floor(font->getSize() * size.width() / width) : 0;
    context->setFont(font, fontSize);
    context->setFontColor(getTextColour());
    context->drawString(text.c_str(), size, kCenterText);
    setDirty(false);
}

bool meterText::isTypeOf(const char* className) const {
    return std::strcmp(className, "meterText") == 0 || CControl::isTypeOf(className);
}

// ---- levelText ----

levelText::levelText(const CRect& r, CControlListener* l, int32_t parameter) : CParamDisplay(r) {
    setListener(l);
    setTag(parameter);
    if (isParamIndex(parameter)) setDefaultValue(staticParamTable()[parameter].norm);
    auto* face = new CFontDesc("FUTURAB", 11);
    setFont(face);
    face->forget();
    setFontColor(look::kValue);
    setBackColor(look::kField);
    setFrameColor(look::kFrame);
}

std::string levelText::getDisplayText() const {
    if (!isParamIndex(tag)) return {};
    const ParamRow& row = staticParamTable()[tag];
    const double real = curveToReal(row, value);
    char text[16];
    if (std::strcmp(row.unit, "dB") == 0) {
        std::snprintf(text, sizeof text, "%.1f", real);
    } else {
        nVU::readoutText(real, text, sizeof text);
    }
    return text;
}

CMouseEventResult levelText::onMouseDown(CPoint& where, const int32_t& buttons) {
    if ((buttons & kLButton) == 0) return kMouseEventNotHandled;
    if (checkDefaultValue(buttons)) {
        beginEdit();
        value = getDefaultValue();
        valueChanged();
        endEdit();
        invalid();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    grabY = where.y;
    grabValue = value;
    beginEdit();
    return kMouseEventHandled;
}

CMouseEventResult levelText::onMouseMoved(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    if (!isEditing()) return kMouseEventNotHandled;
    const float next = std::clamp(grabValue + float((grabY - where.y) / kDragPixels), 0.0f, 1.0f);
    if (next != value) {
        value = next;
        valueChanged();
        invalid();
    }
    return kMouseEventHandled;
}

CMouseEventResult levelText::onMouseUp(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    if (isEditing()) endEdit();
    return kMouseEventHandled;
}

bool levelText::isTypeOf(const char* className) const {
    return std::strcmp(className, "levelText") == 0 || CParamDisplay::isTypeOf(className);
}

// ---- meterTray ----

meterTray::meterTray(const CRect& r, int32_t t, const char* className, int32_t imageId, CCoord across, CCoord footLine)
    : nPage(r, t, 0), name(className), block(image(imageId)), well(image(kWellImage)), blockWidth(across),
      foot(footLine) {}

void meterTray::setViewSize(const CRect& rect, bool invalidate) {
    const CCoord grow = rect.height() - size.height();
    nPage::setViewSize(rect, invalidate);
    if (grow == 0) return;
    for (CView* child : children) {
        CRect place = child->getViewSize();
        if (place.top >= foot) {
            place.offset(0, grow);
        } else if (place.bottom > foot) {
            place.bottom = std::max(place.top + 1, place.bottom + grow);
        } else {
            continue;
        }
        child->setViewSize(place, invalidate);
        child->setMouseableArea(place);
    }
}

void meterTray::drawBackgroundRect(CDrawContext* context, const CRect& rect) {
    (void)rect;
    if (CDIB* ground = block.get()) {
        for (CCoord x = 0; x < size.width(); x += blockWidth)
            drawStretched(context, ground, CRect(x, 0, x + blockWidth, size.height()));
    }
    if (CDIB* recess = well.get()) {
        for (CView* child : children) {
            if (child->isTypeOf("nVU")) drawStretched(context, recess, CRect(child->getViewSize()).inset(-1, -1));
        }
    }
}

bool meterTray::isTypeOf(const char* className) const {
    return std::strcmp(className, name) == 0 || nPage::isTypeOf(className);
}

// ---- meterSection ----

meterSection::meterSection(const CRect& r, CControlListener* l) : CViewContainer(r), listener(l) {
    setBackgroundColor(look::kPanel);
}

void meterSection::rebuild(const MeterSectionModel& next) {
    if (CFrame* owner = getFrame()) {
        for (CView* v = owner->getFocusView(); v; v = v->getParentView()) {
            if (v == this) {
                owner->setFocusView(nullptr);
                break;
            }
        }
    }
    removeAll(true);
    model = next;
    model.channels = std::clamp(model.channels, 1, 8);

    CRect place = size;
    place.left = place.right - layout::metersWidth(model.layoutFlags, model.channels);
    CViewContainer::setViewSize(place);
    setMouseableArea(place);

    const uint32_t flags = model.layoutFlags;
    if (flags & layout::kChannelMeters) addView(buildChannels(size.height() - kTrayTop));
    if (flags & layout::kMasterMeters) {
        addView((flags & layout::kSmallMasterMeters) ? buildMiniMaster(size.height() - kTrayTop)
                                                     : buildMaster(size.height()));
    }
    placeTrays();
}

void meterSection::addMeter(meterTray* tray, const CRect& place, const CRect& readout, int32_t tag) {
    CRect column = place;
    column.bottom = std::max(column.bottom, column.top + 1);
    auto* meter = new nVU(column, listener, tag, 1);
    meter->setScale(model.scale);
    meter->setHoldMode(model.hold);
    meter->setPeakYellow(model.peakYellow);
    tray->addView(meter);
    tray->addView(new meterText(readout, meter, model.readoutPeaks, model.peakYellow));
}

// Per channel, from the block's top: the label (and, right of the first of
// a pair, the link switch across the two blocks' border), the level, the
// phase, mute and solo switches, the meter down to just above the readout.
meterTray* meterSection::buildChannels(CCoord height) {
    const int32_t n = model.channels;
    constexpr CCoord meterTop = 61;
    auto* tray = new meterTray(CRect(0, 0, n * kBlockWidth - 1, height), kGUIGroupMetersTray, "groupMeters",
                               kSmallBlockImage, kBlockWidth, meterTop + 1);
    for (int32_t c = 0; c < n; ++c) {
        const CCoord x = c * kBlockWidth;
        tray->addView(caption(CRect(x + 12, 3, x + 54, 19), model.channelLabels[c]));
        if (c % 2 == 0 && c + 1 < n) {
            tray->addView(button(CRect(x + 56, 3, x + 56 + kSwitchWidth, 3 + kSwitchHeight), listener,
                                 kGUIChannel12Link + c / 2, kLinkImage));
        }
        tray->addView(new levelText(CRect(x + 9, 22, x + 57, 36), listener, channelParam(c, kFieldLevel)));
        for (int32_t i = 0; i < 3; ++i) {
            const CCoord left = x + 3 + i * kSwitchWidth;
            tray->addView(button(CRect(left, 40, left + kSwitchWidth, 40 + kSwitchHeight), listener,
                                 channelParam(c, kFieldChannelPhase + i), kPhaseImage + i));
        }
        addMeter(tray, CRect(x + 9, meterTop, x + 57, height - 23), CRect(x + 4, height - 20, x + 62, height - 6),
                 kGUIChannel1Meter + c);
    }
    return tray;
}

// The large block, its left three pixels hidden when it stands alone: the
// title and the gain's caption, the two meters beside the gain fader,
// their readouts and the gain's value, then the tap and the clip light.
meterTray* meterSection::buildMaster(CCoord height) {
    constexpr CCoord meterTop = 26;
    auto* tray = new meterTray(CRect(0, 0, kMasterWidth, height), kGUIMasterMeterTray, "masterMeters",
                               kMasterBlockImage, kMasterWidth, meterTop + 1);
    const CCoord bottom = height - 46, readouts = height - 42, controls = height - 22;
    tray->addView(caption(CRect(6, 5, 96, 21), "VU METER"));
    tray->addView(caption(CRect(98, 5, 132, 21), "GAIN"));
    addMeter(tray, CRect(8, meterTop, 50, bottom), CRect(5, readouts, 52, readouts + 14), kGUIMasterMeter1);
    addMeter(tray, CRect(54, meterTop, 96, bottom), CRect(52, readouts, 99, readouts + 14), kGUIMasterMeter2);
    SharedPointer<CDIB> handle = image(kFaderHandleImage);
    auto* fader = new CVerticalSlider(CRect(101, meterTop, 129, bottom), listener, kGain, handle.get());
    fader->setDefaultValue(staticParamTable()[kGain].norm);
    fader->setValueColor(look::kTrack);
    tray->addView(fader);
    tray->addView(new levelText(CRect(100, readouts, 130, readouts + 14), listener, kGain));
    tray->addView(caption(CRect(5, controls, 55, controls + 16), "LISTEN :", kRightText));
    tray->addView(
        lightButton(CRect(58, controls, 92, controls + 16), listener, kGUIMeterPrePost, "PRE", look::kAccent));
    tray->addView(lightButton(CRect(98, controls, 130, controls + 16), listener, kGUIClip, "CLIP", look::kWarning));
    return tray;
}

// The small block: the gain's caption and value, the two meters side by
// side, their readouts.
meterTray* meterSection::buildMiniMaster(CCoord height) {
    constexpr CCoord meterTop = 41;
    auto* tray = new meterTray(CRect(0, 0, kBlockWidth, height), kGUIMiniMasterMeterTray, "miniMasterMeters",
                               kSmallBlockImage, kBlockWidth, meterTop + 1);
    tray->addView(caption(CRect(4, 3, 62, 19), "GAIN"));
    tray->addView(new levelText(CRect(9, 22, 57, 36), listener, kGain));
    addMeter(tray, CRect(4, meterTop, 33, height - 23), CRect(2, height - 20, 33, height - 6), kGUIMasterMeter1);
    addMeter(tray, CRect(34, meterTop, 63, height - 23), CRect(33, height - 20, 65, height - 6), kGUIMasterMeter2);
    return tray;
}

void meterSection::placeTrays() {
    const CCoord width = size.width(), height = size.height();
    for (CView* child : children) {
        const CCoord trayWidth = child->getViewSize().width();
        CRect place;
        if (child->isTypeOf("groupMeters")) {
            place = CRect(0, kTrayTop, trayWidth, height);
        } else if (child->isTypeOf("masterMeters")) {
            place = CRect(width - trayWidth, 0, width, height);
        } else {
            place = CRect(width - trayWidth, kTrayTop, width, height);
        }
        child->setViewSize(place);
        child->setMouseableArea(place);
    }
}

void meterSection::setViewSize(const CRect& rect, bool invalidate) {
    CViewContainer::setViewSize(rect, invalidate);
    placeTrays();
}

bool meterSection::isTypeOf(const char* className) const {
    return std::strcmp(className, "meterSection") == 0 || CViewContainer::isTypeOf(className);
}

CView* makeMeterSection(const LayoutElementArgs& args) { return new meterSection(args.rect, args.listener); }
