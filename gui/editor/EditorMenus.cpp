#include "gui/editor/EditorMenus.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "gui/editor/EditorControls.h"
#include "gui/editor/LookPalette.h"
#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/MenuPopup.h"
#include "gui/toolkit/Switches.h"
#include "gui/toolkit/TextEntry.h"
#include "session/EditorTags.h"
#include "state/PresetScan.h"

using namespace VSTGUI;

namespace {

constexpr int32_t kModifierKeys = kShift | kControl | kAlt | kApple;

// A small downward triangle, 6 px wide, centred on `at`.
void drawDropMark(CDrawContext* context, const CPoint& at, const CColor& colour) {
    const CPoint points[3] = {CPoint(at.x - 3, at.y - 1.5f), CPoint(at.x + 3, at.y - 1.5f), CPoint(at.x, at.y + 1.5f)};
    context->setDrawMode(kAntiAliasing);
    context->setFillColor(colour);
    context->drawPolygon(points, 3, kDrawFilled);
}

// A face drawn when the layout gives no image: a raised button.
void drawPlainFace(CDrawContext* context, const CRect& size, bool pressed) {
    CRect face = size;
    face.inset(1.5f, 3.5f);
    context->setDrawMode(kAntiAliasing);
    context->setFillColor(pressed ? look::kRaisedHigh : look::kRaised);
    context->setFrameColor(look::kFrame);
    context->setLineWidth(1);
    ControlKit::drawRoundRect(context, face, 3, kDrawFilledAndStroked);
}

// The layout's face image, else the plain face.
void drawFace(CDrawContext* context, const CRect& size, CBitmap* image, bool pressed) {
    if (image) {
        image->alphaDraw(context, size);
    } else {
        drawPlainFace(context, size, pressed);
    }
}

std::string entryTitle(const COptionMenu& menu, int32_t index) {
    const CMenuItem* item = menu.getEntry(index);
    return item ? item->getTitle() : std::string();
}

}  // namespace

// ---- EditorMenu ----

EditorMenu::EditorMenu(const CRect& r, CControlListener* listener, int32_t t, CBitmap* background, int32_t s)
    : COptionMenu(r, listener, t, background, nullptr, s) {}

void EditorMenu::setEntries(const std::vector<std::string>& titles) {
    const int32_t current = getCurrentIndex();
    removeAllEntry();
    // Added as text, then titled, so that a title "-" stays an entry.
    for (const std::string& title : titles) addEntry("")->setTitle(title.c_str());
    value = current >= 0 && current < getNbEntries() ? static_cast<float>(current) : 0.0f;
    invalid();
}

std::vector<std::string> EditorMenu::getEntryTitles() const {
    std::vector<std::string> titles;
    for (int32_t i = 0; i < getNbEntries(); ++i) titles.push_back(entryTitle(*this, i));
    return titles;
}

bool EditorMenu::runMenu(Choice& choice) {
    if (menuOpen || !frame || getNbEntries() == 0) return false;
    CCoord x = 0;
    CCoord y = 0;
    frame->getPosition(x, y);
    MenuPopup popup(this, frameRect().offset(x, y), (style & kPopupStyle) ? getCurrentIndex() : -1);
    menuOpen = true;
    invalid();
    const bool shown = frame->runPopup(&popup);
    menuOpen = false;
    invalid();
    if (!shown || !popup.chosenMenu()) return false;
    choice.menu = popup.chosenMenu();
    choice.index = popup.chosenIndex();
    choice.modifiers = frame->getCurrentMouseButtons() & kModifierKeys;
    return true;
}

void EditorMenu::report(const Choice& choice, int32_t reportTag) {
    ReportingAs as(*this, reportTag);
    beginEdit();
    choose(choice.menu, choice.index);
    endEdit();
}

bool EditorMenu::openAndReport() {
    Choice choice;
    if (!runMenu(choice)) return false;
    report(choice, tag);
    return true;
}

void EditorMenu::drawFittedText(CDrawContext* context, const std::string& text, const CRect& area,
                                CHoriTxtAlign align, CCoord smallest) const {
    if (text.empty() || area.isEmpty()) return;
    CFontDesc* f = font.get() ? font.get() : kNormalFont;
    const CCoord natural = f->getStringWidth(text.c_str());
    CCoord fontSize = f->getSize();
    if (natural > area.width() && natural > 0)
        fontSize = std::max(std::min(smallest, fontSize), std::floor(fontSize * area.width() / natural));
    context->setFont(f, fontSize);
    context->setFontColor(fontColor);
    context->drawString(shortened(*context, text, area.width()).c_str(), area, align);
}

std::string EditorMenu::shortened(const CDrawContext& context, const std::string& text, CCoord width) {
    if (context.getStringWidth(text.c_str()) <= width) return text;
    // Whole characters from the end give way to the ellipsis.
    std::string kept = text;
    while (!kept.empty()) {
        // One character: its continuation bytes, then the byte it starts with.
        unsigned char dropped = 0;
        do {
            dropped = static_cast<unsigned char>(kept.back());
            kept.pop_back();
        } while (!kept.empty() && (dropped & 0xC0) == 0x80);
        while (!kept.empty() && kept.back() == ' ') kept.pop_back();
        if (context.getStringWidth((kept + "...").c_str()) <= width) break;
    }
    return kept + "...";
}

bool EditorMenu::isTypeOf(const char* className) const {
    return std::strcmp(className, "EditorMenu") == 0 || COptionMenu::isTypeOf(className);
}

// ---- TOptionMenu and nTTMenu ----

TOptionMenu::TOptionMenu(const CRect& r, CControlListener* listener, int32_t t, const std::vector<std::string>& entries)
    : EditorMenu(r, listener, t, nullptr, kCheckStyle | kPopupStyle) {
    setFontColor(look::kBright);
    setHoriAlign(kLeftText);
    setEntries(entries);
}

void TOptionMenu::draw(CDrawContext* context) {
    setDirty(false);
    CRect field = size;
    field.inset(0.5f, 0.5f);
    context->setDrawMode(kAntiAliasing);
    context->setLineWidth(1);
    context->setFillColor(isMenuOpen() ? look::kStrip : look::kField);
    context->setFrameColor(isMenuOpen() ? look::kAccentDeep : look::kGrid);
    ControlKit::drawRoundRect(context, field, 2, kDrawFilledAndStroked);
    const CCoord markX = size.right - kMarkWidth / 2 - 1;
    drawDropMark(context, CPoint(markX, (size.top + size.bottom) / 2), isMenuOpen() ? look::kAccent : look::kLabel);
    // Centring the font's ascent and descent leaves capitals high in a low
    // field: a pixel lower they stand in its middle.
    drawFittedText(context, getDisplayText(),
                   CRect(size.left + 6, size.top + 1, size.right - kMarkWidth - 2, size.bottom + 1), kLeftText,
                   getFont()->getSize());
}

CMouseEventResult TOptionMenu::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if (!(buttons & (kLButton | kRButton))) return kMouseEventNotHandled;
    openAndReport();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

int32_t TOptionMenu::onKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) {
    (void)character;
    (void)modifiers;
    if (virtualKey != VKEY_RETURN && virtualKey != VKEY_ENTER && virtualKey != VKEY_SPACE) return -1;
    openAndReport();
    return 1;
}

bool TOptionMenu::isTypeOf(const char* className) const {
    return std::strcmp(className, "TOptionMenu") == 0 || EditorMenu::isTypeOf(className);
}

nTTMenu::nTTMenu(const CRect& r, CControlListener* listener, int32_t t, const std::vector<std::string>& entries)
    : TOptionMenu(r, listener, t, entries) {
    auto* display = new CFontDesc("FUTURAB", kFontSize);
    setFont(display);
    display->forget();  // the menu holds it
}

bool nTTMenu::isTypeOf(const char* className) const {
    return std::strcmp(className, "nTTMenu") == 0 || TOptionMenu::isTypeOf(className);
}

// ---- SOptionMenu ----

namespace {

// The header's faces are inset 1 px at the sides and 3 px above and below
// their view; their drop mark takes the lower right corner.
CRect headerFace(const CRect& size) { return CRect(size.left + 1, size.top + 3, size.right - 1, size.bottom - 3); }

// The header menus write in the display face: a slot's letter at 12 px,
// a group's name (a word on a narrow face) at 11.
void setHeaderFont(COptionMenu& menu, CCoord fontSize) {
    auto* display = new CFontDesc("FUTURAB", fontSize);
    menu.setFont(display);
    display->forget();  // the menu holds it
}

}  // namespace

SOptionMenu::SOptionMenu(const CRect& r, CControlListener* listener, int32_t t, int32_t alt, CBitmap* face,
                         const std::vector<std::string>& entries)
    : EditorMenu(r, listener, t, face, kCheckStyle), altTag(alt) {
    setHeaderFont(*this, 12);
    setFontColor(look::kBright);
    setEntries(entries);
}

void SOptionMenu::draw(CDrawContext* context) {
    setDirty(false);
    drawFace(context, size, getBackground(), isMenuOpen());
    // The letter stands in the face's middle, clear of the drop mark.
    const CRect face = headerFace(size);
    drawFittedText(context, getDisplayText(), CRect(face.left, face.top, face.right - 2, face.bottom - 1), kCenterText,
                   8);
}

CMouseEventResult SOptionMenu::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if (buttons & kRButton) {
        openAndReport();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    if (!(buttons & kLButton)) return kMouseEventNotHandled;
    ReportingAs as(*this, altTag);
    beginEdit();
    valueChanged();
    endEdit();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool SOptionMenu::isTypeOf(const char* className) const {
    return std::strcmp(className, "SOptionMenu") == 0 || EditorMenu::isTypeOf(className);
}

// ---- CopyToMenu ----

CopyToMenu::CopyToMenu(const CRect& r, CControlListener* listener, int32_t t, CBitmap* strip, CCoord heightOfOneImage,
                       const std::vector<std::string>& entries)
    : EditorMenu(r, listener, t, strip), frameHeight(heightOfOneImage > 0 ? heightOfOneImage : r.height()) {
    setStyle(kNoTextStyle);
    setEntries(entries);
}

void CopyToMenu::draw(CDrawContext* context) {
    setDirty(false);
    CBitmap* strip = getBackground();
    if (!strip) {
        drawPlainFace(context, size, isMenuOpen());
        return;
    }
    const CCoord frames = std::max<CCoord>(1, std::floor(strip->getHeight() / frameHeight));
    const CCoord frame = std::min<CCoord>(static_cast<CCoord>(frameShown()), frames - 1);
    const CRect area = CRect::fromSize(size.left, size.top, std::min(size.width(), strip->getWidth()),
                                       std::min(size.height(), frameHeight));
    strip->alphaDraw(context, area, CPoint(0, frame * frameHeight));
}

CMouseEventResult CopyToMenu::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if (!(buttons & (kLButton | kRButton))) return kMouseEventNotHandled;
    openAndReport();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool CopyToMenu::isTypeOf(const char* className) const {
    return std::strcmp(className, "CopyToMenu") == 0 || EditorMenu::isTypeOf(className);
}

// ---- SGroupMenu ----

SGroupMenu::SGroupMenu(const CRect& r, CControlListener* listener, int32_t t, int32_t alt, CBitmap* face)
    : EditorMenu(r, listener, t, face, kCheckStyle), altTag(alt) {
    setHeaderFont(*this, 11);
    setFontColor(look::kBright);
}

void SGroupMenu::setGroups(const std::vector<std::string>& names, int32_t channelCount) {
    channels = channelCount;
    groupCount = static_cast<int32_t>(names.size());
    std::vector<std::string> entries = names;
    if (channels == 2) {
        entries.emplace_back(kBoth);
        entries.emplace_back(kNone);
    }
    setEntries(entries);
}

int32_t SGroupMenu::bothValue() const { return channels == 2 ? groupCount : -1; }

int32_t SGroupMenu::noneValue() const { return channels == 2 ? groupCount + 1 : -1; }

void SGroupMenu::draw(CDrawContext* context) {
    setDirty(false);
    drawFace(context, size, getBackground(), isMenuOpen());
    // The name keeps above the drop mark's row and left of its column.
    const CRect face = headerFace(size);
    drawFittedText(context, getDisplayText(), CRect(face.left + 2, face.top, face.right - 7, face.bottom - 2),
                   kCenterText, 8);
}

CMouseEventResult SGroupMenu::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if (!(buttons & (kLButton | kRButton))) return kMouseEventNotHandled;
    Choice choice;
    if (runMenu(choice)) {
        const bool otherSide = (buttons & kRButton) || ((buttons | choice.modifiers) & kModifierKeys);
        report(choice, otherSide ? altTag : tag);
    }
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool SGroupMenu::isTypeOf(const char* className) const {
    return std::strcmp(className, "SGroupMenu") == 0 || EditorMenu::isTypeOf(className);
}

// ---- CPresetMenu ----

CPresetMenu::CPresetMenu(const CRect& r, CControlListener* listener, int32_t t, int32_t rename, CBitmap* face,
                         int32_t glyphs)
    : EditorMenu(r, listener, t, face),
      renameTag(rename),
      fontId(glyphs),
      pendingMenu(CControl::doubleClickTime(), [this] { openMenu(); }) {
    setFontColor(look::kBright);
    setHoriAlign(kLeftText);
}

void CPresetMenu::setName(std::string_view text) {
    if (text == name) return;
    name = text;
    invalid();
}

void CPresetMenu::setMenu(const PresetMenu& tree) {
    removeAllEntry();
    nested.clear();
    fill(this, tree, {});
    invalid();
}

void CPresetMenu::fill(COptionMenu* into, const PresetMenu& tree, const std::vector<int32_t>& path) {
    for (const PresetMenu::Entry& entry : tree.entries) {
        std::vector<int32_t> at = path;
        at.push_back(into->getNbEntries());
        switch (entry.kind) {
            case PresetMenu::Kind::kSeparator: into->addSeparator(); break;
            case PresetMenu::Kind::kItem: into->addEntry("")->setTitle(entry.name.c_str()); break;
            case PresetMenu::Kind::kSubmenu: {
                auto* submenu = new COptionMenu(CRect(), nullptr, 0);
                if (entry.submenu) fill(submenu, *entry.submenu, at);
                into->addEntry(submenu, entry.name.c_str());
                submenu->forget();  // the entry holds it
                nested.push_back({submenu, at});
                break;
            }
        }
    }
}

CRect CPresetMenu::nameRect() const {
    return CRect(size.left + 1, size.top + 1, size.right - kMarkColumn, size.bottom - 1);
}

bool CPresetMenu::openMenu() {
    pendingMenu.stop();
    Choice choice;
    if (!runMenu(choice)) return false;
    chosenPath.clear();
    if (choice.menu != this) {
        for (const Nested& n : nested) {
            if (n.menu == choice.menu) chosenPath = n.path;
        }
    }
    chosenPath.push_back(choice.index);
    chosenTitle = entryTitle(*choice.menu, choice.index);
    report(choice, tag);
    return true;
}

bool CPresetMenu::editName() {
    pendingMenu.stop();
    if (editing || !frame) return false;
    CCoord x = 0;
    CCoord y = 0;
    frame->getPosition(x, y);
    const CPoint toFrame = frameRect().topLeft() - size.topLeft();
    const CRect field = nameRect().offset(toFrame.x + x, toFrame.y + y);
    CFontDesc* f = font.get() ? font.get() : kNormalFont;
    TextEntryPopup entry(field, name, f);
    editing = true;
    invalid();
    const bool shown = frame->runPopup(&entry);
    editing = false;
    invalid();
    if (!shown || !entry.committed()) return false;
    rename(entry.model().text());
    return true;
}

void CPresetMenu::rename(const std::string& newName) {
    name = newName;
    invalid();
    ReportingAs as(*this, renameTag);
    beginEdit();
    valueChanged();
    endEdit();
}

void CPresetMenu::draw(CDrawContext* context) {
    setDirty(false);
    if (CBitmap* face = getBackground()) {
        face->alphaDraw(context, size);
    } else {
        context->setDrawMode(kAntiAliasing);
        context->setFillColor(look::kField);
        context->setFrameColor(look::kGrid);
        context->setLineWidth(1);
        CRect field = size;
        field.inset(0.5f, 0.5f);
        ControlKit::drawRoundRect(context, field, 2, kDrawFilledAndStroked);
        drawDropMark(context, CPoint(size.right - kMarkColumn / 2, std::round((size.top + size.bottom) / 2) + 0.5f),
                     look::kLabel);
    }
    if (editing) return;
    const CRect text = nameRect();
    drawFittedText(context, name, CRect(size.left + kTextInset, text.top, text.right - 4, text.bottom), kLeftText,
                   getFont()->getSize());
}

CMouseEventResult CPresetMenu::onMouseDown(CPoint& where, const int32_t& buttons) {
    if (!(buttons & (kLButton | kRButton))) return kMouseEventNotHandled;
    if ((buttons & kRButton) || where.x >= size.right - kMarkColumn) {
        lastNamePress = 0;
        openMenu();
        return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
    }
    const uint64_t now = toolkitMilliseconds();
    const uint32_t window = frame ? frame->getDoubleClickTime() : CControl::doubleClickTime();
    const bool second = (buttons & kDoubleClick) || (lastNamePress != 0 && now - lastNamePress <= window);
    if (second) {
        lastNamePress = 0;
        editName();
    } else {
        lastNamePress = now;
        pendingMenu.setInterval(window);
        pendingMenu.start();
    }
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

bool CPresetMenu::isTypeOf(const char* className) const {
    return std::strcmp(className, "CPresetMenu") == 0 || EditorMenu::isTypeOf(className);
}

// ---- Makers ----

namespace {

std::vector<std::string> entriesOf(const LayoutNode& node) { return splitMenuEntries(getText(node, "txt")); }

// The value of the tag named in `alttag`; -1 when there is none.
int32_t altTagOf(const LayoutNode& node) {
    const char* name = getAttribute(node, "alttag");
    return name && *name ? editorTagTable().valueOf(name) : -1;
}

}  // namespace

CView* makeTextMenu(const LayoutElementArgs& a) { return new TOptionMenu(a.rect, a.listener, a.tag, entriesOf(a.node)); }

CView* makeDisplayMenu(const LayoutElementArgs& a) { return new nTTMenu(a.rect, a.listener, a.tag, entriesOf(a.node)); }

CView* makeSlotMenu(const LayoutElementArgs& a) {
    return new SOptionMenu(a.rect, a.listener, a.tag, altTagOf(a.node), LayoutImage(a.node, "background"),
                           entriesOf(a.node));
}

CView* makeCopyToMenu(const LayoutElementArgs& a) {
    return new CopyToMenu(a.rect, a.listener, a.tag, LayoutImage(a.node, "background"),
                          getInt(a.node, "heightofoneimage"), entriesOf(a.node));
}

CView* makeGroupMenu(const LayoutElementArgs& a) {
    return new SGroupMenu(a.rect, a.listener, a.tag, altTagOf(a.node), LayoutImage(a.node, "background"));
}

CView* makePresetMenu(const LayoutElementArgs& a) {
    return new CPresetMenu(a.rect, a.listener, a.tag, kGUIPresetName, LayoutImage(a.node, "background"),
                           getInt(a.node, "font"));
}
