// Working on the response graph with the mouse: handles dragged in the
// roles their band type gives them, bands made, switched and removed,
// the rubber band, the scroll bar, the wheel's zoom and edits, and the
// popup following the pointer. Every value leaves through the listener
// under its own tag, bracketed by begin and end edit, and a gesture's
// values are one undo step (through the host).

#include <algorithm>
#include <chrono>
#include <cmath>

#include "gui/editor/EQGraph.h"
#include "dsp/EQ.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/COptionMenu.h"
#include "gui/toolkit/MenuPopup.h"
#include "gui/toolkit/TextEntry.h"
#include "session/ValueText.h"
#include "session/EditorTags.h"

using namespace VSTGUI;

namespace {

constexpr int32_t kRightOrCommand = kRButton | kApple;
constexpr double kPopupFadeStep = 0.13;
constexpr double kPopupHoldSeconds = 1.0;

const ParamRow& rowOf(int32_t tag) { return staticParamTable()[std::clamp(tag, 0, kNumParams - 1)]; }

float normOf(int32_t tag, double real) { return float(std::clamp(curveToNorm(rowOf(tag), real), 0.0, 1.0)); }

double realOf(int32_t tag, double norm) { return curveToReal(rowOf(tag), norm); }

}  // namespace

// ---- Values out ----

void EQGraph::sendValue(int32_t tag, float value) {
    const int32_t own = getTag();
    const float ownValue = getValue();
    setTag(tag);
    setValue(value);
    if (listener) listener->valueChanged(this);
    setTag(own);
    setValue(ownValue);
}

void EQGraph::beginTag(int32_t tag) {
    if (tag < 0) return;
    if (CFrame* f = getFrame()) f->beginEdit(tag);
    const int32_t own = getTag();
    setTag(tag);
    if (listener) listener->controlBeginEdit(this);
    setTag(own);
}

void EQGraph::endTag(int32_t tag) {
    if (tag < 0) return;
    const int32_t own = getTag();
    setTag(tag);
    if (listener) listener->controlEndEdit(this);
    setTag(own);
    if (CFrame* f = getFrame()) f->endEdit(tag);
}

void EQGraph::setBandRow(int32_t band, int32_t field, float norm) {
    const int32_t tag = bandParam(band, field);
    beginTag(tag);
    sendValue(tag, norm);
    endTag(tag);
    scene.bands[size_t(band)].norm[field] = norm;
}

void EQGraph::changeBandRow(int32_t band, int32_t field, float norm) {
    // A change of its own: one undo step, whatever the row takes along
    // (a new type resets the subtype, a state reaches the linked bands).
    if (host) host->graphUndoGroup(true);
    setBandRow(band, field, norm);
    if (host) host->graphUndoGroup(false);
}

// The graph keeps its copy of the selection in step with what it sends,
// so that a gesture sees its own changes before the editor's next refresh.
void EQGraph::selectOnly(int32_t band) {
    selection = 1u << band;
    sendValue(kGUISelectOnly, float(band));
    changed(false);
}

void EQGraph::toggleSelected(int32_t band) {
    selection ^= 1u << band;
    sendValue(kGUISelectToggle, float(band));
    changed(false);
}

void EQGraph::clearSelection() {
    selection = 0;
    sendValue(kGUISelectOnly, 0.0f);
    sendValue(kGUISelectToggle, 0.0f);
    changed(false);
}

double EQGraph::now() const {
    if (clock) return clock();
    using namespace std::chrono;
    return duration<double>(steady_clock::now().time_since_epoch()).count();
}

int32_t EQGraph::autoListenMask() const { return options.swapAltRight ? modifierRoles().second : kRightOrCommand; }

int32_t EQGraph::qMask() const { return options.swapAltRight ? kRightOrCommand : modifierRoles().second; }

float EQGraph::rowNorm(int32_t band, int32_t field) const { return scene.bands[size_t(band)].norm[field]; }

void EQGraph::followLocally(int32_t b, int32_t field, float norm) {
    // The band as the values just sent make it, redesigned here, so the
    // curve and the handle move with the pointer before the editor's next
    // refresh brings the effect's own.
    GraphBand& band = scene.bands[size_t(b)];
    band.norm[field] = norm;
    const double real = realOf(bandParam(b, field), norm);
    BandShape& shape = band.shape;
    const bool pass = band.type == kTypeHPF || band.type == kTypeLPF;
    switch (field) {
        case kFieldFrequency:
            band.frequency = real * scene.frequencyFactor;
            band.rowFrequency = real;
            shape.frequency = float(band.frequency);
            break;
        case kFieldGain:
            band.gain = real;
            if (!pass) shape.gain = float(real * scene.scale);
            break;
        case kFieldQ: shape.q = float(real); break;
        case kFieldShift: shape.shift = float(real); break;
        case kFieldSlope:
            if (pass) shape.slope = int32_t(real / 6.0);
            break;
        default: return;
    }
    designBand(shape, true, &band.sections);
    changed(false);
}

// ---- Finding and making bands ----

int32_t EQGraph::hitTestHandles(const CPoint& where, bool noSelect, double limit) {
    if (options.handles == 0 || (options.hidesEq && analyserOn)) return -1;
    int32_t found = -1;
    double best = limit;
    for (int32_t b = 0; b < kNumBands; ++b) {
        if (scene.bands[size_t(b)].state == kBandOff || !isShown(b)) continue;
        const CPoint h = handlePosition(b);
        const double d2 = (h.x - where.x) * (h.x - where.x) + (h.y - where.y) * (h.y - where.y);
        if (d2 < best) {
            best = d2;
            found = b;
        }
    }
    if (found >= 0) hitOffset = handlePosition(found).x - where.x;
    if (!noSelect && found != hoverBand) setHoverBand(found);
    return found;
}

int32_t EQGraph::createBand(double hz, double dB) {
    const double f = std::clamp(hz, minF, maxF);
    int32_t type = kTypePeak;
    double q = 0.707;
    if (options.newBandTypes == 1 || options.newBandTypes == 3) {
        if (f < 20) type = kTypeHPF;
        else if (f < 100) type = kTypeLowShelf;
        else if (f > 10000) type = kTypeLPF;
        else if (f > 4000) type = kTypeHighShelf;
    }
    if (options.newBandTypes == 2 || options.newBandTypes == 3) {
        if (dB < -0.9 * range) type = kTypeNotch;
        else if (dB < -0.5 * range || dB > 0.5 * range) q = 1.2;
    }
    if (options.newBandQFollowsZoom && (type == kTypePeak || type == kTypeNotch)) {
        // Narrower where the view is zoomed in.
        q *= std::pow(20.0 / q, 1.0 - std::log((maxF / minF) / 2.0) / std::log(nyquist / 20.0));
    }
    int32_t band = -1;
    for (int32_t b = 0; b < kNumBands && band < 0; ++b) {
        if (scene.bands[size_t(b)].state == kBandOff) band = b;
    }
    if (band < 0) return -1;

    // It acts in the groups on show (all of them when none is).
    int32_t groups = 0;
    for (int32_t g : {groupA, groupB}) {
        if (g >= 0 && g < 8) groups |= 1 << (7 - g);
    }
    if (groups == 0) groups = 0xFF;
    const double scale = std::fabs(scene.scale) > 1e-9 ? scene.scale : 1.0;
    const double factor = scene.frequencyFactor;
    if (host) host->graphUndoGroup(true);
    setBandRow(band, kFieldGroups, normOf(bandParam(band, kFieldGroups), groups));
    setBandRow(band, kFieldType, normOf(bandParam(band, kFieldType), type));
    setBandRow(band, kFieldSubtype, 0.0f);
    setBandRow(band, kFieldGain, normOf(bandParam(band, kFieldGain), type == kTypeNotch ? 0.0 : dB / scale));
    setBandRow(band, kFieldFrequency, normOf(bandParam(band, kFieldFrequency), f / factor));
    setBandRow(band, kFieldQ, normOf(bandParam(band, kFieldQ), q));
    for (int32_t field : {kFieldShift, kFieldSlope}) {
        const int32_t tag = bandParam(band, field);
        setBandRow(band, field, normOf(tag, rowOf(tag).value));
    }
    setBandRow(band, kFieldPhase, 1.0f);
    sendValue(kGUIReloadFreqDefault, float(band));
    setBandRow(band, kFieldState, 1.0f);
    if (host) host->graphUndoGroup(false);

    // Shown at once, before the editor's next refresh brings the scene.
    GraphBand& made = scene.bands[size_t(band)];
    made.state = kBandOn;
    made.type = type;
    made.groups = groups;
    made.frequency = f;
    made.rowFrequency = f / factor;
    made.gain = type == kTypeNotch ? 0.0 : dB / scale;
    made.shape = BandShape{};
    made.shape.type = engineTypeOf(type);
    made.shape.frequency = float(f);
    made.shape.gain = (type == kTypeHPF || type == kTypeLPF || type == kTypeNotch) ? 0.0f : float(dB);
    made.shape.q = float(q);
    designBand(made.shape, true, &made.sections);
    for (int32_t field = 0; field < kNumBandFields; ++field) made.norm[field] = rowNorm(band, field);
    selectOnly(band);
    setHoverBand(band);
    hitOffset = 0;
    setPopupBand(band, 1.0);
    popupTime = now();
    return band;
}

void EQGraph::deleteBand(int32_t band) {
    if (band < 0 || band >= kNumBands) return;
    changeBandRow(band, kFieldState, 0.0f);
    scene.bands[size_t(band)].state = kBandOff;
    clearSelection();
    hoverBand = -1;
    popupBand = -1;
    changed(false);
}

// ---- Pressing ----

CMouseEventResult EQGraph::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (press != Press::None) return kMouseEventHandled;
    const CPoint at(where.x - size.left, where.y - size.top);
    qFlag = (buttons & qMask()) != 0;
    if (!qFlag && (buttons & kLButton) == 0 && (buttons & autoListenMask()) == 0) return kMouseEventNotHandled;
    moved = false;

    // The scroll bar: its ends stretch the zoom, its middle pans it; the
    // right button shows everything.
    if (options.scrollbar && at.y >= plotH) {
        if ((buttons & kRightOrCommand) != 0) {
            setFrequencyRange(kLowestFrequency, nyquist);
            zoomChanged();
            return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
        }
        auto p = [&](double f) { return scrollBarX(f) + 9.5; };
        const double x = at.x;
        if (std::fabs(x - p(minF)) <= 16.0) scrollMode = 1;
        else if (std::fabs(x - p(maxF)) <= 16.0) scrollMode = 2;
        else if (x > p(minF) && x < p(maxF)) scrollMode = 3;
        else scrollMode = 0;
        press = Press::Scroll;
        scrollTo(x);
        return kMouseEventHandled;
    }

    // The popup's boxes: the last one holding the point.
    layoutPopup();
    for (int32_t r = GraphPopupText::kRects - 1; r >= 0; --r) {
        if (!popupRects[r].isEmpty() && popupRects[r].pointInside(at)) {
            clickPopup(r);
            return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
        }
    }

    const int32_t band = hitTestHandles(at, false);
    if (band >= 0 && !options.tooltipsFollowMouse) setPopupBand(band, 1.0);
    if ((buttons & (kDoubleClick | kControl)) != 0) {
        if (band >= 0) {
            if ((buttons & kAlt) != 0) {
                deleteBand(band);
            } else {
                const int32_t state = scene.bands[size_t(band)].state == kBandOn ? kBandBypassed : kBandOn;
                changeBandRow(band, kFieldState, normOf(bandParam(band, kFieldState), state));
                scene.bands[size_t(band)].state = state;
                changed(false);
            }
        } else {
            createBand(frequencyAt(at.x), (1.0 - 2.0 * at.y / plotH) * range);
        }
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if (band < 0) {
        if ((buttons & kAlt) != 0) {
            analyserFrozen = !analyserFrozen;
            return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
        }
        press = Press::Rubber;
        startButtons = buttons;
        rubber = CRect(at.x, at.y, at.x, at.y);
        rubberOn = true;
        rubberTo(at, buttons);
        return kMouseEventHandled;
    }
    fine = (buttons & modifierRoles().fine) != 0;
    press = Press::Band;
    pressBand = band;
    startDrag(band, at, buttons);
    if (CFrame* f = getFrame()) f->showCursor(false);
    changed(false);
    return kMouseEventHandled;
}

void EQGraph::startDrag(int32_t b, const CPoint& at, int32_t buttons) {
    const GraphBand& band = scene.bands[size_t(b)];
    const bool listening = scene.listenBand >= 0;
    const bool gesture = (buttons & autoListenMask()) != 0 || listening;
    int32_t x = kFieldFrequency, y = kFieldGain;
    bool flag = qFlag;
    if (listening && b != scene.listenBand) {
        y = -1;
    } else if (!flag) {
        if (gesture && scene.listenFlatGain) y = -1;
    } else {
        x = y = kFieldQ;
    }
    const bool qFollows = gesture && scene.listenQFixed && !scene.listenIgnoresQ;
    const int32_t gainOrNone = scene.listenFlatGain ? -1 : kFieldGain;
    if (!(listening && b != scene.listenBand)) {
        switch (band.type) {
            case kTypePeak:
                if (qFollows && y == kFieldQ) y = gainOrNone;
                break;
            case kTypeHPF:
            case kTypeLPF:
                // "Filter Drags" says which of Q and slope the plain drag moves.
                if (options.filterDragsQ) flag = !flag;
                x = kFieldFrequency;
                y = flag ? kFieldQ : kFieldSlope;
                if (qFollows && flag) y = options.filterDragsQ ? -1 : kFieldSlope;
                break;
            case kTypeLowShelf:
            case kTypeHighShelf:
                if (qFlag && !gesture) x = kFieldShift;
                if (qFollows && y == kFieldQ) y = gainOrNone;
                break;
            case kTypeNotch:
                y = kFieldQ;
                if (qFollows || (!qFlag && gesture && scene.listenIgnoresQ)) y = -1;
                break;
            default: break;
        }
    }
    if (qFollows && x == kFieldQ) x = kFieldFrequency;
    dragTagX = bandParam(b, x);
    dragTagY = y >= 0 ? bandParam(b, y) : -1;
    dragNorm[0] = rowNorm(b, x);
    dragNorm[1] = y >= 0 ? rowNorm(b, y) : 0.0f;

    if (host) host->graphUndoGroup(true);
    beginTag(dragTagX);
    if (dragTagY >= 0 && dragTagY != dragTagX) beginTag(dragTagY);
    listenRequested = false;
    if ((buttons & autoListenMask()) != 0 && !listening && band.state == kBandOn) {
        sendValue(kGUIAutoListen, float(b));
        listenRequested = true;
    }

    // The gains of the other selected bands move in proportion; none of
    // them may cross 0 dB before this one does.
    gainAtStart = band.gain * scene.scale;
    gainRatio = 1.0;
    const bool noGain = band.type == kTypeHPF || band.type == kTypeLPF || band.type == kTypeNotch;
    if (gainAtStart != 0.0 && !noGain) {
        for (int32_t o = 0; o < kNumBands; ++o) {
            const GraphBand& other = scene.bands[size_t(o)];
            if (o == b || ((selection >> o) & 1) == 0 || other.state == kBandOff) continue;
            if (other.type == kTypeHPF || other.type == kTypeLPF || other.type == kTypeNotch) continue;
            const double g = other.gain * scene.scale;
            if (std::fabs(gainAtStart) < std::fabs(g * gainRatio)) gainRatio = std::fabs(gainAtStart / g);
        }
    }
    lastX = at.x + hitOffset;
    lastY = at.y;
    dragStartX = at.x + hitOffset;
    dragStartY = at.y;
    stepAccumulator = 0;
    popupFade = 1.0;
    startButtons = buttons;
}

void EQGraph::endDrag() {
    if (listenRequested) sendValue(kGUIAutoListen, -1.0f);
    listenRequested = false;
    endTag(dragTagX);
    if (dragTagY >= 0 && dragTagY != dragTagX) endTag(dragTagY);
    if (host) host->graphUndoGroup(false);
    dragTagX = dragTagY = -1;
}

// ---- Moving ----

CMouseEventResult EQGraph::onMouseMoved(CPoint& where, const int32_t& buttons) {
    const CPoint at(where.x - size.left, where.y - size.top);
    pointer = at;
    pointerInside = true;
    if (wheelActive && (buttons & (kLButton | kRButton | kMButton)) == 0) endWheel();
    switch (press) {
        case Press::Band:
            moved = true;
            dragTo(at, buttons);
            break;
        case Press::Rubber:
            moved = true;
            rubberTo(at, buttons);
            break;
        case Press::Scroll:
            moved = true;
            scrollTo(at.x);
            break;
        case Press::None:
            if (options.tooltipsFollowMouse) hover(at);
            break;
    }
    changed(false);
    return kMouseEventHandled;
}

CMouseEventResult EQGraph::onMouseExited(CPoint& where, const int32_t& buttons) {
    (void)where, (void)buttons;
    clearPointer();
    return kMouseEventHandled;
}

void EQGraph::dragTo(const CPoint& at, int32_t buttons) {
    const int32_t b = pressBand;
    // A modifier pressed or let go during the drag starts it again here.
    const int32_t kept = ~(kDoubleClick | kButton4 | kButton5);
    if ((buttons & kept) != (startButtons & kept) && (buttons & (kLButton | kRButton)) != 0) {
        endDrag();
        qFlag = (buttons & qMask()) != 0;
        fine = (buttons & modifierRoles().fine) != 0;
        startDrag(b, at, buttons);
        return;
    }
    double dx = at.x + hitOffset, dy = at.y;
    if (fine) {
        dx = (dx - dragStartX) * 0.1 + dragStartX;
        dy = (dy - dragStartY) * 0.1 + dragStartY;
    }
    auto apply = [&](int32_t slot, int32_t tag, bool horizontal) {
        const int32_t field = bandFieldOf(tag);
        float& norm = dragNorm[slot];
        if (horizontal) {
            if (field == kFieldFrequency) {
                const double f = std::clamp(frequencyAt(dx), minF, maxF);
                norm = normOf(tag, f / scene.frequencyFactor);
            } else {
                norm = float(std::clamp(norm + (dx - lastX) / plotW * 0.5, 0.0, 1.0));
            }
        } else if (field == kFieldGain) {
            const double dB = gainAtStart + (dy - dragStartY) * -2.0 / plotH * range * gainRatio;
            const double scale = std::fabs(scene.scale) > 1e-9 ? scene.scale : 1.0;
            norm = normOf(tag, dB / scale);
        } else if (field == kFieldQ) {
            const double direction = options.invertedQ ? 1.0 : -1.0;
            norm = float(std::clamp(norm + (dy - lastY) / plotH * 0.5 * direction, 0.0, 1.0));
        } else if (field == kFieldSlope) {
            // Whole steps, one per stretch of travel a step's share of the height.
            stepAccumulator += std::fabs(dy - lastY);
            const int32_t steps = std::max(1, curveStepCount(rowOf(tag).curve, rowOf(tag).min, rowOf(tag).max));
            const double share = 1.0 / steps;
            const auto n = int32_t(std::floor(stepAccumulator / plotH / share));
            if (n >= 1) {
                stepAccumulator = 0;
                const double real = realOf(tag, norm) + (dy > lastY ? 6.0 : -6.0) * n;  // down is steeper
                norm = normOf(tag, std::clamp(real, double(rowOf(tag).min), double(rowOf(tag).max)));
            }
        } else {
            norm = float(std::clamp(norm + (dy - lastY) / plotH, 0.0, 1.0));
        }
        sendValue(tag, norm);
        followLocally(b, field, norm);
    };
    apply(0, dragTagX, true);
    if (dragTagY >= 0) {
        if (dragTagY == dragTagX) dragNorm[1] = dragNorm[0];
        apply(1, dragTagY, false);
        if (dragTagY == dragTagX) dragNorm[0] = dragNorm[1];
    }
    lastX = dx;
    lastY = dy;
}

void EQGraph::rubberTo(const CPoint& at, int32_t buttons) {
    rubber.right = at.x;
    rubber.bottom = at.y;
    const bool adding = (buttons & kShift) != 0;
    if (!adding && selection != 0) clearSelection();
    const double left = std::min(rubber.left, rubber.right), right = std::max(rubber.left, rubber.right);
    const double top = std::min(rubber.top, rubber.bottom), bottom = std::max(rubber.top, rubber.bottom);
    for (int32_t b = 0; b < kNumBands; ++b) {
        if (scene.bands[size_t(b)].state == kBandOff || !isShown(b) || ((selection >> b) & 1) != 0) continue;
        const CPoint h = handlePosition(b);
        if (h.x >= left && h.x <= right && h.y >= top && h.y <= bottom) toggleSelected(b);
    }
    changed(false);
}

void EQGraph::scrollTo(double x) {
    if (scrollMode == 0) return;
    const double f = scrollBarFrequency(x);
    if (scrollMode == 1) {
        minF = std::min(f, maxF * 0.5);
    } else if (scrollMode == 2) {
        maxF = std::max(f, 2.0 * minF);
    } else {
        zoomTo(f, std::sqrt(maxF / minF));
        return;
    }
    checkRange();
    zoomChanged();
}

void EQGraph::zoomTo(double centre, double ratio) {
    if (centre * ratio > nyquist) centre = nyquist / ratio;
    if (centre < kLowestFrequency * ratio) centre = kLowestFrequency * ratio;
    minF = centre / ratio;
    maxF = centre * ratio;
    checkRange();
    zoomChanged();
}

void EQGraph::zoomChanged() {
    if (host) host->graphZoomChanged(minF, maxF);
}

void EQGraph::hover(const CPoint& at) {
    const double t = now();
    if (popupBand < 0) {
        const int32_t b = hitTestHandles(at, true);
        if (b >= 0 || t - popupTime > kPopupHoldSeconds || t < popupTime) {
            setHoverBand(b);
            if (b >= 0) {
                popupBand = b;
                popupTime = t;
                popupFade = 1.0;
            }
        }
        return;
    }
    // Near the popup or its handle it stays; away from them it fades over
    // a few moves and then closes.
    layoutPopup();
    CRect area;
    for (const CRect& r : popupRects) area.unite(r);
    const CPoint h = handlePosition(popupBand);
    area.unite(CRect(h.x - 10, h.y - 10, h.x + 10, h.y + 10));
    if (area.pointInside(at)) {
        popupTime = t;
        popupFade = 1.0;
        return;
    }
    popupFade -= kPopupFadeStep;
    if (popupFade <= 0.0) {
        popupFade = 0.0;
        popupTime = 0.0;
        popupBand = -1;
        setHoverBand(hitTestHandles(at, true));
    }
}

// ---- Letting go ----

CMouseEventResult EQGraph::onMouseUp(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    const CPoint at(where.x - size.left, where.y - size.top);
    if (wheelActive) endWheel();
    const Press was = press;
    press = Press::None;
    scrollMode = 0;
    if (was == Press::Rubber) {
        rubberOn = false;
    } else if (was == Press::Band) {
        const int32_t b = pressBand;
        endDrag();
        if (!moved) {
            if ((startButtons & autoListenMask()) == 0) {
                if (fine) {
                    toggleSelected(b);
                } else {
                    selectOnly(b);
                }
            } else if ((startButtons & (kDoubleClick | kControl)) == 0 && scene.listenBand < 0 && options.rightClick != 0) {
                // "Right-Click": the selected bands and this one are inverted or switched.
                if (host) host->graphUndoGroup(true);
                for (int32_t o = 0; o < kNumBands; ++o) {
                    if (o != b && ((selection >> o) & 1) == 0) continue;
                    if (scene.bands[size_t(o)].state == kBandOff) continue;
                    if (options.rightClick == 1) {
                        setBandRow(o, kFieldGain, 1.0f - rowNorm(o, kFieldGain));
                    } else {
                        const int32_t state = scene.bands[size_t(o)].state == kBandOn ? kBandBypassed : kBandOn;
                        setBandRow(o, kFieldState, normOf(bandParam(o, kFieldState), state));
                        scene.bands[size_t(o)].state = state;
                    }
                }
                if (host) host->graphUndoGroup(false);
            }
        }
        popupBand = b;
        popupTime = now();
        popupFade = 1.0;
        if (CFrame* f = getFrame()) {
            if (moved) {
                // The pointer comes back on the handle, wherever the handle went.
                const CPoint h = handlePosition(b);
                f->setCursorPosition(localToFrame(CPoint(size.left + h.x, size.top + h.y)));
            }
            f->showCursor(true);
        }
        pressBand = -1;
    }
    stepAccumulator = wheelAccumulator = 0;
    changed(false);
    return kMouseEventHandled;
}

// ---- The wheel ----

bool EQGraph::onWheel(const CPoint& where, const float& distance, const int32_t& buttons) {
    return onWheel(where, kMouseWheelAxisY, distance, buttons);
}

bool EQGraph::onWheel(const CPoint& where, const CMouseWheelAxis& axis, const float& distance,
                      const int32_t& buttons) {
    const CPoint at(where.x - size.left, where.y - size.top);
    const double d = distance;
    if (axis == kMouseWheelAxisX) {
        // Sideways always pans.
        zoomTo(std::sqrt(minF * maxF) * (1.0 - d * 0.1), std::sqrt(maxF / minF));
        return true;
    }
    int32_t b = hoverBand;
    for (int32_t o = 0; o < kNumBands && b < 0; ++o) {
        if (((selection >> o) & 1) != 0 && scene.bands[size_t(o)].state != kBandOff) b = o;
    }
    if (b < 0) b = hitTestHandles(at, true);
    if (b < 0) {
        if (!options.wheelZoom) return false;
        double ratio = std::sqrt(maxF / minF), centre = std::sqrt(minF * maxF);
        if ((buttons & kControl) != 0) {
            centre *= d * 0.1 + 1.0;
        } else {
            // Zoom about the pointer's place on the scroll bar's scale.
            const double p = scrollBarFrequency(at.x);
            centre = std::clamp(std::exp((std::log(p) - std::log(centre)) * std::fabs(d) * 0.1 + std::log(centre)),
                                kLowestFrequency, nyquist);
            ratio = std::pow(ratio, 1.0 - d * 0.1);
        }
        zoomTo(centre, std::max(ratio, std::sqrt(2.0)));
        return true;
    }

    const GraphBand& band = scene.bands[size_t(b)];
    int32_t field = kFieldQ;
    if ((band.type == kTypeHPF || band.type == kTypeLPF) && !options.filterDragsQ) field = kFieldSlope;
    if ((buttons & kControl) != 0) field = options.wheelCtrlGain ? kFieldGain : kFieldFrequency;
    const int32_t tag = bandParam(b, field);
    if (tag != wheelTag) {
        if (wheelTag >= 0) {
            endTag(wheelTag);
            if (host) host->graphUndoGroup(false);
        }
        if (host) host->graphUndoGroup(true);
        wheelTag = tag;
        wheelNorm = rowNorm(b, field);
        beginTag(tag);
        if ((buttons & qMask()) != 0 && band.state == kBandOn && !listenRequested) {
            sendValue(kGUIAutoListen, float(b));
            listenRequested = true;
        }
    }
    moved = true;
    popupFade = 1.0;
    const double direction = (field == kFieldQ && options.invertedQ) ? 1.0 : -1.0;
    const double k = (buttons & modifierRoles().fine) != 0 ? 0.1 : 1.0;
    static constexpr double kIncrement[] = {4.0, 1.0, 0.1};
    const double increment = kIncrement[std::clamp(options.wheelSensitivity, 0, 2)];
    const int32_t steps = curveStepCount(rowOf(tag).curve, rowOf(tag).min, rowOf(tag).max);
    if (steps > 0) {
        wheelAccumulator += std::fabs(d);
        if (k * wheelAccumulator * increment * 0.01 / (1.0 / steps) >= 1.0) {
            wheelAccumulator = 0;
            const double step = field == kFieldSlope ? 6.0 : 1.0;
            const double real = realOf(tag, wheelNorm) + (d > 0 ? step : -step);
            wheelNorm = normOf(tag, std::clamp(real, double(rowOf(tag).min), double(rowOf(tag).max)));
        }
    } else {
        wheelNorm = float(std::clamp(wheelNorm + d * direction * k * increment * 1.5 / plotH, 0.0, 1.0));
    }
    sendValue(tag, wheelNorm);
    scene.bands[size_t(b)].norm[field] = wheelNorm;
    wheelActive = true;
    changed(false);
    return true;
}

void EQGraph::endWheel() {
    wheelActive = false;
    if (listenRequested) sendValue(kGUIAutoListen, -1.0f);
    listenRequested = false;
    if (wheelTag >= 0) {
        endTag(wheelTag);
        if (host) host->graphUndoGroup(false);
    }
    wheelTag = -1;
}

// ---- The popup's boxes ----

void EQGraph::clickPopup(int32_t rect) {
    const int32_t b = popupBand;
    if (b < 0) return;
    popupTime = now();
    popupFade = 1.0;
    switch (rect) {
        case 0: {
            const int32_t state = scene.bands[size_t(b)].state == kBandOn ? kBandBypassed : kBandOn;
            changeBandRow(b, kFieldState, normOf(bandParam(b, kFieldState), state));
            scene.bands[size_t(b)].state = state;
            changed(false);
            break;
        }
        case 3: deleteBand(b); break;
        default: openPopupChild(rect); break;
    }
}

void EQGraph::openPopupChild(int32_t rect) {
    CFrame* f = getFrame();
    const int32_t b = popupBand;
    if (!f || b < 0 || scene.popup.band != b) return;
    CCoord screenX = 0, screenY = 0;
    f->getPosition(screenX, screenY);
    const CPoint origin = frameRect().topLeft();
    CRect screen = popupRects[rect];
    screen.offset(origin.x + screenX, origin.y + screenY);
    const GraphBand& band = scene.bands[size_t(b)];

    if (rect == 1 || rect == 2 || rect == 8) {
        // A menu over the box; the chosen entry becomes the row's value.
        auto* menu = new COptionMenu(CRect(0, 0, 1, 1));
        int32_t field = kFieldType, current = band.type - 1;
        std::vector<double> values;
        if (rect == 2) {
            for (const char* name : {"Peak", "HPF", "Low Shelf", "High Shelf", "LPF", "Notch"}) {
                menu->addEntry(name);
                values.push_back(double(values.size() + 1));
            }
        } else if (rect == 8) {
            field = kFieldSubtype;
            int32_t count = 0;
            const char* const* names = EQ::subtypeNames(engineTypeOf(band.type), &count);
            for (int32_t i = 0; i < count; ++i) {
                menu->addEntry(names[i]);
                values.push_back(double(i + 1));
            }
            current = int32_t(std::lround(realOf(bandParam(b, kFieldSubtype), rowNorm(b, kFieldSubtype)))) - 1;
        } else {
            field = kFieldGroups;
            current = -1;
            for (int32_t g = 0; g < scene.popup.groupCount; ++g) {
                menu->addEntry(scene.popup.groupNames[g]);
                values.push_back(double(1 << (7 - g)));
                if (band.groups == (1 << (7 - g))) current = g;
            }
            menu->addEntry("All");
            values.push_back(255.0);
            if (band.groups == 255) current = int32_t(values.size()) - 1;
        }
        if (current >= 0 && current < menu->getNbEntries()) menu->checkEntry(current, true);
        MenuPopup popup(menu, screen, current);
        const bool shown = f->runPopup(&popup);
        if (shown && popup.chosenMenu() == menu && popup.chosenIndex() >= 0 &&
            popup.chosenIndex() < int32_t(values.size())) {
            const int32_t tag = bandParam(b, field);
            changeBandRow(b, field, normOf(tag, values[size_t(popup.chosenIndex())]));
        }
        menu->forget();
        changed(false);
        return;
    }

    // A value typed over its box: read as the editor reads values ("1k5",
    // "a4"), in the unit shown, and given to the row in its own.
    const int32_t field = rect == 4   ? kFieldFrequency
                          : rect == 5 ? ((band.type == kTypeHPF || band.type == kTypeLPF) ? kFieldSlope : kFieldGain)
                          : rect == 6 ? kFieldQ
                                      : kFieldShift;
    const std::string_view shown = scene.popup.text[rect];
    const std::string number(shown.substr(0, shown.find(' ')));
    TextEntryPopup entry(screen, number, kNormalFont);
    if (!f->runPopup(&entry) || !entry.committed()) return;
    const std::optional<ValueReading> reading = readValueText(entry.model().text(), field == kFieldFrequency);
    if (!reading) return;
    double real = reading->value;
    if (field == kFieldFrequency) real /= scene.frequencyFactor;
    if (field == kFieldGain) real /= std::fabs(scene.scale) > 1e-9 ? scene.scale : 1.0;
    const int32_t tag = bandParam(b, field);
    changeBandRow(b, field, normOf(tag, std::clamp(real, double(rowOf(tag).min), double(rowOf(tag).max))));
    changed(false);
}
