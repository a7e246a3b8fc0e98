#include "gui/editor/BandStrips.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "core/ParamTable.h"
#include "dsp/BandDesign.h"
#include "gui/editor/LayoutBuilder.h"
#include "gui/toolkit/CFontDesc.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/CParamDisplay.h"
#include "session/EditorGeometry.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

const CColor kLabelGrey{0x4b, 0x4b, 0x4b, 0xff};
const CColor kNumberGrey{0xa6, 0xa6, 0xa6, 0xff};
const CColor kTrack{0x3a, 0x3a, 0x3a, 0xff};
const CColor kThumb{0xa6, 0x85, 0x57, 0xff};
const CColor kSelectedWash{0xff, 0xff, 0xff, 0x20};
constexpr int32_t kBodySlab = 406;      // the card's body image is this tall
constexpr int32_t kTextBodySlab = 154;  // and the text-mode body this tall
constexpr CCoord kEdge = 4;             // the card's top and bottom pieces

// The rows of values in strip order: gain, frequency, Q, then the fourth.
constexpr int32_t kValueFields[4] = {kFieldGain, kFieldFrequency, kFieldQ, kFieldShift};
constexpr int32_t kValueControls[4] = {kControlGain, kControlFrequency, kControlQ, kControlShift};

CTextLabel* makeLabel(const CRect& r, const char* text, CCoord fontSize, const CColor& colour, CHoriTxtAlign align) {
    auto* label = new CTextLabel(r, text, nullptr, kNoFrame);
    auto* font = new CFontDesc("FUTURAB", fontSize);
    label->setFont(font);
    font->forget();
    label->setFontColor(colour);
    label->setHoriAlign(align);
    label->setTransparency(true);
    label->setMouseEnabled(false);
    label->setTag(-1);  // no parameter's: the registry must not take it for row 0
    return label;
}

// Steps of a stepped row: the slope moves in sixes, whole-number rows by one.
int32_t stepsOf(int32_t tag) {
    const ParamRow& row = staticParamTable()[tag];
    if (row.curve == kCurveSixes) return int32_t(std::lround((row.max - row.min) / 6.0f));
    if (row.curve == kCurveInt || row.curve == kCurveBool) return int32_t(std::lround(row.max - row.min));
    return 0;
}

CDIB* imageOrNull(int32_t id) { return CDIB::fromResource(id); }

}  // namespace

// ---- nStripBack ----

nStripBack::nStripBack(const CRect& r, CControlListener* l, int32_t b, bool text, CCoord top, CCoord bottom)
    : CControl(r, l, kGUISelectedBand + b), band(b), textMode(text), splitTop(top), splitBottom(bottom) {
    const int32_t ids[5] = {602, 601, 600, 603, 212};
    for (int32_t i = 0; i < 5; ++i) images[i] = imageOrNull(ids[i]);
}

nStripBack::~nStripBack() {
    for (CDIB* image : images)
        if (image) image->forget();
}

bool nStripBack::isTypeOf(const char* className) const {
    return std::strcmp(className, "nStripBack") == 0 || CControl::isTypeOf(className);
}

void nStripBack::setValue(float v) {
    if ((v != 0.0f) != (value != 0.0f)) {
        setDirty();
        invalid();
    }
    CControl::setValue(v);
    for (StripValueControl* control : tinted) {
        if (v != 0.0f) {
            control->setTint(tint);
        } else {
            control->clearTint();
        }
        control->setDirty();
        control->invalid();
    }
}

void nStripBack::drawSlabs(CDrawContext* context, CDIB* image, CCoord top, CCoord bottom, int32_t slab) {
    if (!image) return;
    for (CCoord y = top; y < bottom; y += slab) {
        const CCoord end = std::min(bottom, y + slab);
        image->alphaDraw(context, CRect(size.left, y, size.left + image->width(), end));
    }
}

void nStripBack::draw(CDrawContext* context) {
    const CCoord top = size.top + 2, bottom = size.bottom;
    if (images[0]) images[0]->alphaDraw(context, CRect(size.left, top, size.left + images[0]->width(), top + kEdge));
    if (textMode) {
        const CCoord a = std::clamp(size.top + splitTop, top + kEdge, bottom - kEdge);
        const CCoord b = std::clamp(size.top + splitBottom, a, bottom - kEdge);
        drawSlabs(context, images[1], top + kEdge, a, kBodySlab);
        drawSlabs(context, images[4], a, b, kTextBodySlab);
        drawSlabs(context, images[1], b, bottom - kEdge, kBodySlab);
        if (value != 0.0f) {
            // Chosen: a wash over the frame around the fields.
            context->setFillColor(kSelectedWash);
            context->fillRect(CRect(size.left, top, size.right, a));
            context->fillRect(CRect(size.left, b, size.right, bottom));
            context->fillRect(CRect(size.left, a, size.left + 3, b));
            context->fillRect(CRect(size.right - 3, a, size.right, b));
        }
    } else {
        drawSlabs(context, images[1], top + kEdge, bottom - kEdge, kBodySlab);
    }
    if (images[2])
        images[2]->alphaDraw(context, CRect(size.left, bottom - kEdge, size.left + images[2]->width(), bottom));
    if (!textMode && value != 0.0f) {
        context->setFillColor(kSelectedWash);
        context->fillRect(CRect(size.left, top, size.right, bottom));
    }
    if (images[3]) {
        for (const CRect& ring : rings) images[3]->alphaDraw(context, CRect(ring).offset(size.left, size.top));
    }
    setDirty(false);
}

CMouseEventResult nStripBack::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if ((buttons & (kLButton | kRButton)) == 0) return kMouseEventNotHandled;
    if (onClick) onClick(*this, buttons);
    if ((buttons & kLButton) == 0 || (buttons & (kDoubleClick | kControl | kAlt)) != 0)
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    pressedAt = where;
    return kMouseEventHandled;
}

CMouseEventResult nStripBack::onMouseMoved(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    // A drag from the strip becomes a rubber band over the strips.
    if (onDragStart && std::fabs(where.x - pressedAt.x) + std::fabs(where.y - pressedAt.y) > 2)
        onDragStart(*this, pressedAt);
    return kMouseEventHandled;
}

CMouseEventResult nStripBack::onMouseEntered(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    if (onHover) onHover(band);
    return kMouseEventHandled;
}

CMouseEventResult nStripBack::onMouseExited(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    if (onHover) onHover(-1);
    return kMouseEventHandled;
}

// ---- BandStrips ----

BandStrips::BandStrips(const CRect& r, CControlListener* l) : CViewContainer(r), listener(l) {
    reporter = new CControl(CRect(), l, 0);
    setBackgroundColor(CColor{0, 0, 0, 0});
}

BandStrips::~BandStrips() { reporter->forget(); }

bool BandStrips::isTypeOf(const char* className) const {
    return std::strcmp(className, "BandStrips") == 0 || CViewContainer::isTypeOf(className);
}

int32_t BandStrips::rowHeight(uint32_t flags) { return (flags & layout::kTextStrips) ? 22 : 63; }

void BandStrips::send(int32_t tag, float value) {
    if (!listener) return;
    reporter->setTag(tag);
    reporter->setValue(value);
    listener->valueChanged(reporter);
}

bool BandStrips::takeSortRequest() {
    const bool asked = sortOnce;
    sortOnce = false;
    return asked;
}

bool BandStrips::isBusy() const {
    if (scrollDragging || rubberBanding) return true;
    for (const auto& [view, rect] : placed) {
        (void)rect;
        if (view->isTypeOf("StripValueControl") && static_cast<StripValueControl*>(view)->isDragging()) return true;
        if (view->isTypeOf("CControl") && static_cast<CControl*>(view)->isEditing()) return true;
    }
    return false;
}

void BandStrips::setBandColour(int32_t band, const CColor& colour) {
    const CColor dimmed = dimmedColour(colour);
    for (const auto& [view, rect] : placed) {
        (void)rect;
        if (view->isTypeOf("CTypeButton") && static_cast<CTypeButton*>(view)->getTag() == bandParam(band, kFieldType))
            static_cast<CTypeButton*>(view)->setColour(dimmed);
    }
    if (nStripBack* back = stripOf(band)) {
        back->setTint(dimmed);
        back->setValue(back->getValue());  // the chosen values take the new tint
    }
}

nStripBack* BandStrips::stripOf(int32_t band) const {
    for (const auto& [view, rect] : placed) {
        (void)rect;
        if (view->isTypeOf("nStripBack") && static_cast<nStripBack*>(view)->getBand() == band)
            return static_cast<nStripBack*>(view);
    }
    return nullptr;
}

void BandStrips::buildLabels(const StripsModel& model, int32_t rowH) {
    const uint32_t f = model.flags;
    const bool text = (f & layout::kTextStrips) != 0;
    auto label = [&](const char* name, CCoord top) {
        // Right-aligned against the column's edge.
        CView* v = makeLabel(CRect(0, top, kLabelWidth - 4, top + 22), name, 14, kLabelGrey, kRightText);
        addView(v);
        placed.emplace_back(v, v->getViewSize());
    };
    const CCoord y0 = (f & layout::kNumber) ? 36 : 16;
    label("ON", y0);
    CCoord y = y0 + (text ? 30 : 27);
    if (f & layout::kSubtype) {
        label("SUBTYPE", y);
        y += 22;
    }
    if (f & layout::kGroups) {
        label("GROUP", y);
        y += 22;
    }
    y += text ? 1 : 14;
    label("GAIN", y);
    label("FREQ", y + rowH);
    label("Q", y + 2 * rowH);
}

void BandStrips::buildStrip(const StripBand& sb, const StripsModel& model, CCoord x, int32_t rowH) {
    const uint32_t f = model.flags;
    const bool text = (f & layout::kTextStrips) != 0;
    const int32_t b = sb.band;
    const CCoord height = size.height();
    const CColor colour = dimmedColour(sb.colour);
    auto add = [&](CView* v) {
        addView(v);
        placed.emplace_back(v, v->getViewSize());
    };
    auto lockUp = [&](nLockable& control, int32_t tag) {
        control.setLocked(model.isLocked(tag));
        control.setLockColour(model.lockColour);
    };
    CDIB* field = imageOrNull(text ? 212 : 604);
    const CPoint fieldOffset = text ? CPoint(3, 10) : CPoint();

    // Where the value rows start, for the back's text-mode body.
    CCoord y = (f & layout::kNumber) ? 22 : 2;
    const CCoord rowsTop = y + (text ? 42 : 39) + ((f & layout::kSubtype) ? 22 : 0) + ((f & layout::kGroups) ? 22 : 0);
    const int32_t rows = (f & layout::kExtra) ? 4 : 3;
    auto* back = new nStripBack(CRect(x, 0, x + kPitch - 1, height - 14), listener, b, text, rowsTop - 4,
                                rowsTop + rows * rowH + 4);
    back->setTint(colour);
    back->onClick = [this](nStripBack& s, int32_t buttons) { clickStrip(s, buttons); };
    back->onDragStart = [this](nStripBack& s, CPoint at) {
        (void)s;
        startRubberBand(at);
    };
    back->onHover = [this](int32_t band) {
        if (built.hoverBand) built.hoverBand(band);
    };
    add(back);

    if (f & layout::kNumber) {
        char number[16];
        std::snprintf(number, sizeof number, "%d", b + 1);
        add(makeLabel(CRect(x + 3, 2, x + 62, 22), number, 18, kNumberGrey, kCenterText));
    }

    const int32_t typeTag = bandParam(b, kFieldType);
    auto* type = new CTypeButton(CRect(x + 17, y + 3, x + 48, y + 35), listener, typeTag, bandParam(b, kFieldState),
                                 bandParam(b, kFieldSubtype), colour, (f & layout::kSubtypeMenu) != 0);
    type->setValue(sb.norm[kFieldType]);
    type->setBandOn(!sb.bypassed);
    type->setUndoGroup(model.undoGroup);
    lockUp(*type, typeTag);
    add(type);
    y += text ? 42 : 39;

    const int32_t bandType =
        std::clamp(int32_t(std::lround(curveToReal(staticParamTable()[typeTag], sb.norm[kFieldType]))), 1, 6);
    if (f & layout::kSubtype) {
        const int32_t tag = bandParam(b, kFieldSubtype);
        if (bandType != kTypeNotch) {
            // The subtype list of the band's type.
            int32_t count = 0;
            const char* const* names = subtypeNames(engineTypeOf(bandType), &count);
            std::vector<nPFMenu::Entry> entries;
            for (int32_t i = 0; i < count; ++i)
                entries.push_back({names[i], float(curveToNorm(staticParamTable()[tag], i + 1))});
            auto* menu = new nPFMenu(CRect(x + 3, y, x + 62, y + 17), listener, tag, std::move(entries), field,
                                     fieldOffset);
            menu->setValue(sb.norm[kFieldSubtype]);
            lockUp(*menu, tag);
            add(menu);
        }
        y += 22;
    }
    if (f & layout::kGroups) {
        // A group alone, or all of them.
        const int32_t tag = bandParam(b, kFieldGroups);
        const ParamRow& row = staticParamTable()[tag];
        std::vector<nPFMenu::Entry> entries;
        const auto groups = int32_t(std::min<size_t>(model.groupNames.size(), 8));
        for (int32_t g = 0; g < groups; ++g)
            entries.push_back({model.groupNames[size_t(g)], float(curveToNorm(row, 1 << (7 - g)))});
        entries.push_back({"All", float(curveToNorm(row, 255))});
        auto* menu = new nPFMenu(CRect(x + 3, y, x + 62, y + 17), listener, tag, std::move(entries), field, fieldOffset);
        menu->setOtherText("Mixed");
        menu->setValue(sb.norm[kFieldGroups]);
        lockUp(*menu, tag);
        add(menu);
        y += 22;
    }

    const bool slope = (sb.controls & kControlSlope) != 0;
    for (int32_t i = 0; i < rows; ++i) {
        const int32_t fieldIndex = i == 3 && slope ? kFieldSlope : kValueFields[i];
        const int32_t tag = bandParam(b, fieldIndex);
        const int32_t uses = i == 3 && slope ? kControlSlope : kValueControls[i];
        const CCoord row = y + rowH * i;
        StripValueRow valueRow;
        valueRow.format = model.format;
        valueRow.read = model.read;
        valueRow.steps = stepsOf(tag);
        valueRow.band = b;
        valueRow.listenTag = fieldIndex == kFieldQ ? kGUIAutoListenQ : kGUIAutoListen;
        valueRow.frequency = fieldIndex == kFieldFrequency;
        valueRow.toggleLock = model.toggleLock;
        const float defaultValue = model.defaultValue ? model.defaultValue(tag) : staticParamTable()[tag].norm;
        auto setUp = [&](StripValueControl* c) {
            c->setDefaultValue(defaultValue);
            c->setValue(sb.norm[fieldIndex]);
            c->setUnused((sb.controls & uses) == 0);
            lockUp(*c, tag);
            add(c);
        };
        if (!text) {
            setUp(new CEQKnob(CRect(x + 18, row + 4, x + 48, row + 34), listener, tag, valueRow));
            back->addRing(CRect(16, row, 50, row + 41));
        }
        const CCoord textTop = text ? row : row + 39;
        auto* value = new CEQText(CRect(x + 3, textTop, x + 62, textTop + 17), listener, tag, valueRow, field,
                                  fieldOffset);
        setUp(value);
        back->addTinted(value);
        if (i == 3 && (slope || !sb.shiftName.empty())) {
            // The fourth row says what it is.
            std::string name = slope ? "SLOPE" : sb.shiftName;
            const CCoord nameTop = text ? y + 4 * rowH + 7 - 10 : row + 57;
            add(makeLabel(CRect(x + 3, nameTop, x + 62, nameTop + (text ? 20 : 17)), name.c_str(), 12, kNumberGrey,
                          kCenterText));
        }
    }
    back->setValue(((model.selected >> b) & 1u) != 0 ? 1.0f : 0.0f);
    if (field) field->forget();
}

void BandStrips::rebuild(const StripsModel& model) {
    if (CFrame* frame = getFrame()) {
        CView* focus = frame->getFocusView();
        for (CView* v = focus; v; v = v->getParentView()) {
            if (v == this) {
                frame->setFocusView(nullptr);
                break;
            }
        }
    }
    scrollDragging = rubberBanding = false;
    removeAll();
    placed.clear();
    built = model;
    const int32_t rowH = rowHeight(model.flags);
    CCoord x = 0;
    if (model.flags & layout::kLabels) {
        buildLabels(model, rowH);
        x = kLabelWidth;
    }
    for (const StripBand& band : model.bands) {
        buildStrip(band, model, x, rowH);
        x += kPitch;
    }
    content = int32_t(x) + 20;
    offset = 0;
    scrollPos = 0;
    setScrollPos(0);
    invalid();
}

void BandStrips::setViewSize(const CRect& rect, bool invalidate) {
    CViewContainer::setViewSize(rect, invalidate);
    setScrollPos(scrollPos);
}

void BandStrips::setScrollPos(float pos) {
    const int32_t width = int32_t(size.width());
    scrollPos = content <= width ? 0.0f : std::clamp(std::isfinite(pos) ? pos : 0.0f, 0.0f, 1.0f);
    const auto shift = int32_t(std::lround(scrollPos * float(std::max(0, content - width))));
    offset = shift;
    for (auto& [view, rect] : placed) {
        CRect moved = rect;
        moved.offset(-shift, 0);
        view->setViewSize(moved, false);
        view->setMouseableArea(moved);
    }
    invalid();
}

CRect BandStrips::scrollBarRect() const { return CRect(0, size.height() - kScrollBarHeight, size.width(), size.height()); }

CRect BandStrips::thumbRect() const {
    const CRect bar = scrollBarRect();
    const CCoord left = bar.left + kScrollInset, right = bar.right - kScrollInset;
    const double share = content > 0 ? std::min(1.0, size.width() / double(content)) : 1.0;
    const CCoord w = (right - left) * share;
    const CCoord start = left + (right - left - w) * scrollPos;
    return CRect(start, bar.top + 3, start + w, bar.bottom - 3);
}

void BandStrips::drawBackgroundRect(CDrawContext* context, const CRect& rect) {
    (void)context;
    (void)rect;  // the panel shows through between the strips
}

void BandStrips::drawRect(CDrawContext* context, const CRect& updateRect) {
    CViewContainer::drawRect(context, updateRect);
    const CRect savedClip = context->getClipRect();
    context->setClipRect(CRect(savedClip).bound(size).bound(updateRect));
    // The scroll bar, over the strips' foot.
    const CPoint origin = size.topLeft();
    CRect bar = scrollBarRect();
    bar.offset(origin.x, origin.y);
    context->setFillColor(kTrack);
    context->fillRect(bar);
    CRect thumb = thumbRect();
    thumb.offset(origin.x, origin.y);
    context->setFillColor(kThumb);
    context->fillRect(thumb);
    if (rubberBanding && rubberMoved) {
        CRect band(std::min(rubberStart.x, rubberNow.x) - offset, std::min(rubberStart.y, rubberNow.y),
                   std::max(rubberStart.x, rubberNow.x) - offset, std::max(rubberStart.y, rubberNow.y));
        band.offset(origin.x, origin.y);
        context->setFrameColor(CColor{0xff, 0xff, 0xff, 0x80});
        context->drawRect(band);
    }
    context->setClipRect(savedClip);
}

void BandStrips::scrollTo(CCoord x) {
    const CRect bar = scrollBarRect();
    const CCoord left = bar.left + kScrollInset, right = bar.right - kScrollInset;
    if (right > left) setScrollPos(float((x - left) / (right - left)));
}

void BandStrips::clickStrip(nStripBack& strip, int32_t buttons) {
    const auto band = float(strip.getBand());
    const bool twice = (buttons & kDoubleClick) != 0;
    if ((buttons & kAlt) != 0 && ((buttons & kControl) != 0 || twice)) {
        send(kGUIDeleteBand, band);
    } else if ((buttons & kControl) != 0 || twice) {
        send(kGUIInsertBandAfter, band);
    } else if ((buttons & kShift) != 0) {
        send(kGUISelectToggle, band);
    } else {
        send(kGUISelectOnly, band);
    }
    refreshSelection();
}

void BandStrips::refreshSelection() {
    // The strips light as the choice stands after a click.
    if (!built.selection) return;
    const uint64_t chosen = built.selection();
    for (const auto& [view, rect] : placed) {
        (void)rect;
        if (!view->isTypeOf("nStripBack")) continue;
        auto* back = static_cast<nStripBack*>(view);
        back->setValue(((chosen >> back->getBand()) & 1u) != 0 ? 1.0f : 0.0f);
    }
}

void BandStrips::startRubberBand(const CPoint& where) {
    rubberBanding = true;
    rubberMoved = false;
    rubberStart = CPoint(where.x + offset, where.y);
    rubberNow = rubberStart;
}

void BandStrips::moveRubberBand(const CPoint& where) {
    // Near either end the row scrolls under the band.
    if (where.x < kEdgeZone) setScrollPos(scrollPos - 0.1f);
    if (where.x > size.width() - kEdgeZone) setScrollPos(scrollPos + 0.1f);
    rubberNow = CPoint(where.x + offset, where.y);
    rubberMoved = true;
    const CRect area(std::min(rubberStart.x, rubberNow.x), std::min(rubberStart.y, rubberNow.y),
                     std::max(rubberStart.x, rubberNow.x) + 1, std::max(rubberStart.y, rubberNow.y) + 1);
    send(kGUISelectOnly, -1.0f);  // nothing chosen, then each strip the band meets
    for (const auto& [view, rect] : placed) {
        if (view->isTypeOf("nStripBack") && rect.rectOverlap(area))
            send(kGUISelectToggle, float(static_cast<nStripBack*>(view)->getBand()));
    }
    refreshSelection();
    invalid();
}

CMouseEventResult BandStrips::onMouseDown(CPoint& where, const int32_t& buttons) {
    const CPoint local(where.x - size.left, where.y - size.top);
    if (scrollBarRect().pointInside(local) && (buttons & kLButton) != 0) {
        scrollDragging = true;
        scrollTo(local.x);
        return kMouseEventHandled;
    }
    const CMouseEventResult taken = CViewContainer::onMouseDown(where, buttons);
    if (taken != kMouseEventNotHandled) return taken;
    if ((buttons & kDoubleClick) != 0 && (buttons & kLButton) != 0) {
        if (built.createBand) built.createBand(kNewBandHz, std::sqrt(0.5));
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if ((buttons & (kRButton | kControl | kApple)) != 0) {
        sortOnce = true;
        send(kGUIPleaseRebuildStrips, 1.0f);
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if ((buttons & kLButton) == 0) return kMouseEventNotHandled;
    startRubberBand(local);
    return kMouseEventHandled;
}

CMouseEventResult BandStrips::onMouseMoved(CPoint& where, const int32_t& buttons) {
    const CPoint local(where.x - size.left, where.y - size.top);
    if (scrollDragging) {
        scrollTo(local.x);
        return kMouseEventHandled;
    }
    if (rubberBanding) {
        moveRubberBand(local);
        return kMouseEventHandled;
    }
    return CViewContainer::onMouseMoved(where, buttons);
}

CMouseEventResult BandStrips::onMouseUp(CPoint& where, const int32_t& buttons) {
    if (scrollDragging) {
        scrollDragging = false;
        return kMouseEventHandled;
    }
    if (rubberBanding) {
        rubberBanding = false;
        if (!rubberMoved) {
            // A click on the ground lets every strip go.
            send(kGUISelectOnly, -1.0f);
            refreshSelection();
        }
        mouseDownView = nullptr;
        invalid();
        return kMouseEventHandled;
    }
    return CViewContainer::onMouseUp(where, buttons);
}

bool BandStrips::onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                         const int32_t& buttons) {
    const CPoint local(where.x - size.left, where.y - size.top);
    if (axis == kMouseWheelAxisX || scrollBarRect().pointInside(local)) {
        setScrollPos(scrollPos + distance * 0.01f);
        return true;
    }
    return CViewContainer::onWheel(where, axis, distance, buttons);
}

CView* makeBandStrips(const LayoutElementArgs& a) { return new BandStrips(a.rect, a.listener); }
