#include "gui/editor/StripControls.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "core/ParamTable.h"
#include "gui/editor/EditorControls.h"
#include "gui/editor/LayoutBuilder.h"
#include "gui/editor/PixelFont.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/COptionMenu.h"
#include "gui/toolkit/MenuPopup.h"
#include "gui/toolkit/TextEntry.h"

using namespace VSTGUI;

namespace {

const CColor kTextGrey{0xc0, 0xc0, 0xc0, 0xff};
const CColor kOffGrey{0x80, 0x80, 0x80, 0xff};
const CColor kFieldRim{0x3a, 0x3a, 0x3a, 0xff};
const CColor kFieldWell{0x14, 0x14, 0x16, 0xff};
constexpr int32_t kFilmFrame = 30;   // the knob film's frames are 30 x 30
constexpr int32_t kGlyphPitch = 58;  // the type glyphs lie 58 rows apart
constexpr int32_t kGlyphTop = 13;

// Where a view lies on the screen, for a popup over it.
CRect screenRectOf(const CView& view) {
    CRect r = view.frameRect();
    if (CFrame* frame = view.getFrame()) {
        CCoord x = 0, y = 0;
        frame->getPosition(x, y);
        r.offset(x, y);
    }
    return r;
}

// A copy of an image with its colour multiplied by `tint`, its alpha kept.
void tintInto(CDIB& target, const CDIB& source, int32_t sourceTop, const CColor& tint) {
    for (int32_t y = 0; y < target.height(); ++y) {
        if (sourceTop + y < 0 || sourceTop + y >= source.height()) continue;
        const uint8_t* s = source.row(sourceTop + y);
        uint8_t* d = target.row(y);
        for (int32_t x = 0; x < std::min(target.width(), source.width()); ++x) {
            const uint8_t* sp = s + x * 4;
            uint8_t* dp = d + x * 4;
            const uint32_t a = sp[3];
            if (a == 0) continue;
            const uint8_t b = uint8_t(sp[0] * tint.blue / 255), g = uint8_t(sp[1] * tint.green / 255),
                          r = uint8_t(sp[2] * tint.red / 255);
            CDrawContext::blendBGRA(dp, b, g, r, a * 255);
        }
    }
}

bool leftOnly(int32_t buttons) { return (buttons & kLButton) != 0; }

// The normalised value of a real value of a parameter row.
float normOfRow(int32_t tag, double real) {
    return isParamIndex(tag) ? float(curveToNorm(staticParamTable()[tag], real)) : 0.0f;
}

}  // namespace

CColor dimmedColour(const CColor& c) {
    const double mean = (c.red + c.green + c.blue) / 3.0;
    if (mean <= 0.0) return CColor{0, 0, 0, c.alpha};
    auto dim = [mean](uint8_t channel) {
        const double v = ((channel / mean - 1.0) * 0.7 + 1.0) * mean * 1.05;
        return uint8_t(std::clamp(std::lround(v), 0L, 255L));
    };
    return CColor{dim(c.red), dim(c.green), dim(c.blue), c.alpha};
}

// ---- FieldFace ----

FieldFace::FieldFace(CDIB* back, const CPoint& from) : background(back), offset(from) {
    if (background) background->remember();
}

FieldFace::~FieldFace() {
    if (background) background->forget();
    if (face) face->forget();
}

void FieldFace::draw(CDrawContext* context, const CRect& where, std::string_view shown, const CColor& c) {
    const int32_t w = std::max(1, int32_t(where.width())), h = std::max(1, int32_t(where.height()));
    const PixelFont& font = PixelFont::large();
    while (!shown.empty() && font.textWidth(shown) > w - 4) shown.remove_suffix(1);
    const bool resized = !face || face->width() != w || face->height() != h;
    if (resized || shown != text || !(c == colour)) {
        if (resized) {
            if (face) face->forget();
            face = new CDIB(w, h);
        }
        face->fill(CColor{0, 0, 0, 0});
        if (background) {
            face->copyFrom(*background, CRect(offset.x, offset.y, offset.x + w, offset.y + h), CPoint());
        } else {
            face->fill(kFieldRim);
            face->fill(CRect(1, 1, w - 1, h - 1), kFieldWell);
        }
        font.draw(*face, shown, (w - font.textWidth(shown)) / 2, (h - font.height()) / 2, c);
        text = std::string(shown);
        colour = c;
    }
    face->alphaDraw(context, where);
}

// ---- StripValueControl ----

StripValueControl::StripValueControl(const CRect& size, CControlListener* listener, int32_t tag, StripValueRow row)
    : CControl(size, listener, tag), valueRow(std::move(row)) {}

void StripValueControl::setRow(StripValueRow row) {
    valueRow = std::move(row);
    setDirty();
    invalid();
}

bool StripValueControl::isTypeOf(const char* className) const {
    return std::strcmp(className, "StripValueControl") == 0 || CControl::isTypeOf(className);
}

float StripValueControl::steppedValue(float v) const {
    v = std::clamp(v, 0.0f, 1.0f);
    if (valueRow.steps < 1) return v;
    return std::round(v * float(valueRow.steps)) / float(valueRow.steps);
}

void StripValueControl::setValue(float v) {
    const float next = steppedValue(std::isfinite(v) ? v : 0.0f);
    if (next != value) {
        setDirty();
        invalid();
    }
    CControl::setValue(next);
}

bool StripValueControl::doubleClicked(int32_t buttons) {
    if ((buttons & kLButton) == 0) return false;
    if ((buttons & kDoubleClick) != 0) {
        lastPress = 0;
        return true;
    }
    // A window system that does not mark double clicks: two presses in time.
    constexpr uint64_t kShortest = 250;
    const uint64_t now = toolkitMilliseconds();
    const uint64_t window =
        std::max<uint64_t>(getFrame() ? getFrame()->getDoubleClickTime() : doubleClickTime(), kShortest);
    const bool twice = lastPress != 0 && now - lastPress <= window;
    lastPress = twice ? 0 : now;
    return twice;
}

bool StripValueControl::lockGesture(int32_t buttons) {
    if ((buttons & kRButton) == 0 || (buttons & kControl) == 0) return false;
    if (valueRow.toggleLock) valueRow.toggleLock(tag);
    return true;
}

void StripValueControl::commit(float v) {
    beginEdit();
    setValue(v);
    valueChanged();
    endEdit();
    setDirty();
    invalid();
}

void StripValueControl::sendListen(float band) {
    if (valueRow.listenTag < 0 || !listener) return;
    const float keep = value;
    {
        ReportingAs as(*this, valueRow.listenTag);
        value = band;
        listener->valueChanged(this);
    }
    value = keep;
}

void StripValueControl::startDrag(const CPoint& where, double range, double fine, bool listen) {
    dragging = true;
    dragRange = range;
    dragFine = fine;
    lastY = where.y;
    pixels = 0;
    exactValue = value;
    listening = listen;
    beginEdit();
    if (listening) sendListen(float(valueRow.band));
}

CMouseEventResult StripValueControl::onMouseMoved(CPoint& where, const int32_t& buttons) {
    (void)buttons;
    if (!dragging) return kMouseEventNotHandled;
    const double moved = lastY - where.y;  // up raises the value
    lastY = where.y;
    if (moved == 0) return kMouseEventHandled;
    if (valueRow.steps > 0) {
        // A stepped row takes a step for every share of the range it collects.
        pixels += moved * dragFine;
        const double perStep = dragRange / valueRow.steps;
        const auto steps = int32_t(pixels / perStep);
        if (steps == 0) return kMouseEventHandled;
        pixels -= steps * perStep;
        exactValue = std::clamp(exactValue + float(steps) / float(valueRow.steps), 0.0f, 1.0f);
    } else {
        exactValue = float(std::clamp(exactValue + moved * dragFine / dragRange, 0.0, 1.0));
    }
    const float before = value;
    setValue(exactValue);
    if (value != before) valueChanged();
    return kMouseEventHandled;
}

CMouseEventResult StripValueControl::onMouseUp(CPoint& where, const int32_t& buttons) {
    (void)where;
    (void)buttons;
    if (!dragging) return kMouseEventNotHandled;
    dragging = false;
    if (listening) sendListen(-1.0f);
    listening = false;
    endEdit();
    return kMouseEventHandled;
}

double StripValueControl::wheelFactor(int32_t buttons) const { return (buttons & kShift) != 0 ? 0.1 : 1.0; }

bool StripValueControl::onWheel(const CPoint& where, const float& distance, const int32_t& buttons) {
    (void)where;
    if (isLocked() || distance == 0.0f) return isLocked();
    float next = value;
    if (valueRow.steps > 0) {
        // A notch is a step, the fine modifier or not.
        next = value + (distance > 0 ? 1.0f : -1.0f) / float(valueRow.steps);
    } else {
        next = value + float(distance * 0.01 * wheelFactor(buttons));
    }
    next = std::clamp(next, 0.0f, 1.0f);
    if (steppedValue(next) != value) commit(next);
    return true;
}

// ---- CEQKnob ----

CEQKnob::CEQKnob(const CRect& size, CControlListener* listener, int32_t tag, StripValueRow row)
    : StripValueControl(size, listener, tag, std::move(row)), film(CDIB::fromResource(700)) {}

CEQKnob::~CEQKnob() {
    if (film) film->forget();
}

bool CEQKnob::isTypeOf(const char* className) const {
    return std::strcmp(className, "CEQKnob") == 0 || StripValueControl::isTypeOf(className);
}

int32_t CEQKnob::frameOf(float value) {
    double degrees = (double(std::clamp(value, 0.0f, 1.0f)) - 0.5) * 270.0;
    if (degrees < 0) degrees += 360.0;
    return int32_t(std::lround(degrees)) % 360;
}

void CEQKnob::draw(CDrawContext* context) {
    if (film) {
        const CPoint from(0, double(frameOf(value) * kFilmFrame));
        film->alphaDraw(context, size, from, unused ? 0x60 : 0xff);
    }
    if (isLocked()) {
        // A locked knob lies under the lock colour.
        CColor lock = drawColour(kTextGrey);
        lock.alpha = 0x80;
        context->setFillColor(lock);
        context->drawEllipse(CRect(size).inset(2, 2), kDrawFilled);
    }
    setDirty(false);
}

CMouseEventResult CEQKnob::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (lockGesture(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    if (isLocked()) return kMouseEventHandled;  // taken, and nothing done
    if (leftOnly(buttons) && ((buttons & (kControl | kAlt)) != 0 || doubleClicked(buttons))) {
        commit(getDefaultValue());
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if ((buttons & kRButton) != 0) {
        // The right button drags finely and listens to the band meanwhile.
        startDrag(where, kDragRange, 0.25, true);
        return kMouseEventHandled;
    }
    if (!leftOnly(buttons)) return kMouseEventNotHandled;
    startDrag(where, kDragRange, (buttons & kShift) != 0 ? 0.25 : 1.0, false);
    return kMouseEventHandled;
}

// ---- CEQText ----

CEQText::CEQText(const CRect& size, CControlListener* listener, int32_t tag, StripValueRow row, CDIB* back,
                 const CPoint& offset)
    : StripValueControl(size, listener, tag, std::move(row)), face(back, offset) {
    refreshText();
}

CEQText::~CEQText() = default;

bool CEQText::isTypeOf(const char* className) const {
    return std::strcmp(className, "CEQText") == 0 || StripValueControl::isTypeOf(className);
}

void CEQText::setRow(StripValueRow row) {
    StripValueControl::setRow(std::move(row));
    refreshText();
}

void CEQText::setValue(float v) {
    const float before = value;
    StripValueControl::setValue(v);
    if (value != before || shown.empty()) refreshText();
}

void CEQText::refreshText() {
    std::string text = valueRow.format ? valueRow.format(tag, value, noteMode && valueRow.frequency) : std::string();
    // Too wide for the field: the end gives way.
    const PixelFont& font = PixelFont::large();
    const int32_t room = int32_t(size.width()) - 4;
    while (!text.empty() && font.textWidth(text) > room) text.pop_back();
    if (text != shown) {
        shown = std::move(text);
        setDirty();
        invalid();
    }
}

bool CEQText::enterText(std::string_view text) {
    if (!valueRow.read) return false;
    const std::optional<float> v = valueRow.read(tag, text, noteMode && valueRow.frequency);
    if (!v) return false;
    commit(*v);
    refreshText();
    return true;
}

void CEQText::openEntry() {
    CFrame* frame = getFrame();
    if (!frame) return;
    // The bare number, without its unit.
    const std::string number = shown.substr(0, shown.find(' '));
    TextEntryPopup entry(screenRectOf(*this), number, kNormalFont);
    if (frame->runPopup(&entry) && entry.committed()) enterText(entry.model().text());
}

void CEQText::draw(CDrawContext* context) {
    CColor colour = isLocked() ? drawColour(kTextGrey) : textColour(kTextGrey);
    if (isLocked()) colour.alpha = 0xff;
    if (unused) colour = CColor{0x60, 0x60, 0x60, 0xff};
    face.draw(context, size, shown, colour);
    setDirty(false);
}

CMouseEventResult CEQText::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (lockGesture(buttons)) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    if (isLocked()) return kMouseEventHandled;
    if (leftOnly(buttons) && (buttons & kControl) != 0 && (buttons & kShift) != 0) {
        // Frequencies as note names, and back.
        noteMode = !noteMode;
        refreshText();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if (leftOnly(buttons) && (buttons & (kControl | kAlt)) != 0) {
        commit(getDefaultValue());
        refreshText();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if (doubleClicked(buttons)) {
        openEntry();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if ((buttons & (kLButton | kRButton)) == 0) return kMouseEventNotHandled;
    const bool fine = (buttons & (kShift | kRButton)) != 0;
    // Stepped rows go at a quarter of the speed when fine, others at a tenth.
    startDrag(where, kDragRange, fine ? (valueRow.steps > 0 ? 0.25 : 0.1) : 1.0, false);
    return kMouseEventHandled;
}

// ---- nPFMenu ----

nPFMenu::nPFMenu(const CRect& size, CControlListener* listener, int32_t tag, std::vector<Entry> entries, CDIB* back,
                 const CPoint& offset)
    : CControl(size, listener, tag), list(std::move(entries)), face(back, offset) {}

nPFMenu::~nPFMenu() = default;

bool nPFMenu::isTypeOf(const char* className) const {
    return std::strcmp(className, "nPFMenu") == 0 || CControl::isTypeOf(className);
}

void nPFMenu::setValue(float v) {
    if (v != value) invalid();
    CControl::setValue(v);
}

int32_t nPFMenu::chosen() const {
    for (size_t i = 0; i < list.size(); ++i)
        if (std::fabs(list[i].value - value) < 1e-4f) return int32_t(i);
    return -1;
}

std::string nPFMenu::shownText() const {
    const int32_t i = chosen();
    return i >= 0 ? list[size_t(i)].name : otherText;
}

void nPFMenu::choose(int32_t index) {
    if (index < 0 || index >= int32_t(list.size())) return;
    beginEdit();
    setValue(list[size_t(index)].value);
    valueChanged();
    endEdit();
    setDirty();
    invalid();
}

void nPFMenu::draw(CDrawContext* context) {
    face.draw(context, size, shownText(), isLocked() ? drawColour(kTextGrey) : kTextGrey);
    setDirty(false);
}

CMouseEventResult nPFMenu::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if (isLocked()) return kMouseEventHandled;
    if ((buttons & (kLButton | kRButton)) == 0) return kMouseEventNotHandled;
    CFrame* frame = getFrame();
    if (!frame || list.empty()) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    auto* menu = new COptionMenu(CRect(0, 0, 1, 1));
    for (const Entry& e : list) menu->addEntry(e.name.c_str());
    const int32_t current = chosen();
    if (current >= 0) menu->checkEntry(current, true);
    MenuPopup popup(menu, screenRectOf(*this), current);
    if (frame->runPopup(&popup) && popup.chosenMenu() == menu) choose(popup.chosenIndex());
    menu->forget();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

// ---- CTypeButton ----

CTypeButton::CTypeButton(const CRect& size, CControlListener* listener, int32_t typeTag, int32_t stateTag,
                         int32_t subtypeTag, const CColor& c, bool withSubtypes)
    : CControl(size, listener, typeTag),
      stateRow(stateTag),
      subtypeRow(subtypeTag),
      colour(c),
      subtypeMenu(withSubtypes) {}

CTypeButton::~CTypeButton() {
    if (face) face->forget();
}

bool CTypeButton::isTypeOf(const char* className) const {
    return std::strcmp(className, "CTypeButton") == 0 || CControl::isTypeOf(className);
}

int32_t CTypeButton::glyphRow(float v) { return int32_t(std::floor(double(v) * 6.0 + 0.00001)) * kGlyphPitch + kGlyphTop; }

int32_t CTypeButton::type() const {
    return std::clamp(int32_t(std::lround(curveToReal(staticParamTable()[getTag()], value))), 1, 6);
}

void CTypeButton::setValue(float v) {
    if (v != value) {
        faceStale = true;
        invalid();
    }
    CControl::setValue(v);
}

void CTypeButton::setBandOn(bool on) {
    if (on == bandOn) return;
    bandOn = on;
    faceStale = true;
    setDirty();
    invalid();
}

void CTypeButton::setColour(const CColor& c) {
    if (c == colour) return;
    colour = c;
    faceStale = true;
    invalid();
}

void CTypeButton::toggleState() {
    const float keep = value;
    {
        ReportingAs as(*this, stateRow);
        // Off, bypassed, on: a click switches between the last two.
        value = normOfRow(stateRow, bandOn ? kBandBypassed : kBandOn);
        beginEdit();
        valueChanged();
        endEdit();
    }
    value = keep;
    setBandOn(!bandOn);
}

void CTypeButton::chooseType(int32_t t, int32_t subtype) {
    // A new type resets the subtype: the two are one step when both are chosen.
    if (undoGroup) undoGroup(true);
    beginEdit();
    setValue(normOfRow(getTag(), std::clamp(t, 1, 6)));
    valueChanged();
    endEdit();
    if (subtype > 0) {
        const float keep = value;
        {
            ReportingAs as(*this, subtypeRow);
            value = normOfRow(subtypeRow, subtype);
            beginEdit();
            valueChanged();
            endEdit();
        }
        value = keep;
    }
    if (undoGroup) undoGroup(false);
    faceStale = true;
    setDirty();
    invalid();
}

void CTypeButton::paintFace() {
    const auto w = int32_t(size.width()), h = int32_t(size.height());
    if (!face || face->width() != w || face->height() != h) {
        if (face) face->forget();
        face = new CDIB(w, h);
    }
    face->fill(CColor{0, 0, 0, 0});
    if (CDIB* body = CDIB::fromResource(401)) {
        tintInto(*face, *body, 0, bandOn ? colour : kOffGrey);
        body->forget();
    }
    if (CDIB* glyphs = CDIB::fromResource(402)) {
        tintInto(*face, *glyphs, glyphRow(value), bandOn ? kWhiteCColor : kOffGrey);
        glyphs->forget();
    }
    faceStale = false;
}

void CTypeButton::draw(CDrawContext* context) {
    if (faceStale || !face) paintFace();
    face->alphaDraw(context, size);
    if (isLocked()) {
        CColor lock = drawColour(kTextGrey);
        lock.alpha = 0x80;
        context->setFrameColor(lock);
        context->drawRect(CRect(size).inset(1, 1));
    }
    setDirty(false);
}

void CTypeButton::openMenu() {
    CFrame* frame = getFrame();
    if (!frame) return;
    auto* menu = new COptionMenu(CRect(0, 0, 1, 1));
    std::vector<COptionMenu*> lists;
    for (int32_t t = 1; t <= 6; ++t) {
        int32_t count = 0;
        const char* const* names = subtypeMenu && t < 6 ? subtypeNames(engineTypeOf(t), &count) : nullptr;
        if (names && count > 0) {
            auto* sub = new COptionMenu(CRect(0, 0, 1, 1));
            for (int32_t i = 0; i < count; ++i) sub->addEntry(names[i]);
            menu->addEntry(sub, kTypeNames[t - 1]);
            lists.push_back(sub);
            sub->forget();
        } else {
            menu->addEntry(kTypeNames[t - 1]);
            lists.push_back(nullptr);
        }
    }
    menu->checkEntry(type() - 1, true);
    MenuPopup popup(menu, screenRectOf(*this), type() - 1);
    if (frame->runPopup(&popup) && popup.chosenIndex() >= 0) {
        if (popup.chosenMenu() == menu) {
            chooseType(popup.chosenIndex() + 1);
        } else {
            for (size_t t = 0; t < lists.size(); ++t)
                if (lists[t] && popup.chosenMenu() == lists[t]) chooseType(int32_t(t) + 1, popup.chosenIndex() + 1);
        }
    }
    menu->forget();
}

CMouseEventResult CTypeButton::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if ((buttons & (kRButton | kControl | kApple)) != 0) {
        if (!isLocked()) openMenu();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if (!leftOnly(buttons)) return kMouseEventNotHandled;
    toggleState();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

// ---- nNameField ----

nNameField::nNameField(const CRect& size, CControlListener* listener, int32_t tag)
    : CControl(size, listener, tag), font(new CFontDesc("OpenSans-Regular", 12)) {}

nNameField::~nNameField() { font->forget(); }

bool nNameField::isTypeOf(const char* className) const {
    return std::strcmp(className, "nNameField") == 0 || CControl::isTypeOf(className);
}

void nNameField::setText(std::string_view t) {
    if (t.size() > kMaxLength) t = t.substr(0, kMaxLength);
    if (t == text) return;
    text = std::string(t);
    setDirty();
    invalid();
}

void nNameField::enterText(std::string_view typed) {
    setText(typed);
    beginEdit();
    valueChanged();
    endEdit();
}

void nNameField::draw(CDrawContext* context) {
    context->setFillColor(kFieldRim);
    context->fillRect(size);
    context->setFillColor(kFieldWell);
    context->fillRect(CRect(size).inset(1, 1));
    context->setFont(font);
    context->setFontColor(kTextGrey);
    context->drawString(text.c_str(), CRect(size).inset(4, 0), kLeftText);
    setDirty(false);
}

CMouseEventResult nNameField::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if ((buttons & kLButton) == 0) return kMouseEventNotHandled;
    CFrame* frame = getFrame();
    if (!frame) return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    TextEntryPopup entry(screenRectOf(*this), text, font);
    if (frame->runPopup(&entry) && entry.committed()) enterText(entry.model().text());
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

CView* makeValueText(const LayoutElementArgs& a) {
    if (getAttribute(a.node, "processText") && getInt(a.node, "processText") == 0)
        return new nNameField(a.rect, a.listener, a.tag);
    return new CEQText(a.rect, a.listener, a.tag, StripValueRow{}, nullptr);
}
