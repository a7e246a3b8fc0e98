#include "gui/toolkit/COptionMenu.h"

#include <cmath>
#include <cstring>

#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/MenuPopup.h"

namespace VSTGUI {

CMenuItem::CMenuItem(const char* t, int32_t f, COptionMenu* sub) : title(t ? t : ""), flags(f), submenu(sub) {
    if (submenu) submenu->remember();
}

CMenuItem::~CMenuItem() {
    if (submenu) submenu->forget();
}

COptionMenu* CMenuItem::getSubmenu() const { return submenu; }

COptionMenu::COptionMenu(const CRect& r, CControlListener* l, int32_t t, CBitmap* bg, CBitmap* bgClicked, int32_t s)
    : CParamDisplay(r, bg, s) {
    listener = l;
    tag = t;
    clickedBackground = SharedPointer<CBitmap>(bgClicked);
    setWantsFocus(false);
}

COptionMenu::~COptionMenu() { removeAllEntry(); }

CMenuItem* COptionMenu::addEntry(const char* title, int32_t index, int32_t flags) {
    if (title && std::strcmp(title, "-") == 0) return addSeparator(index);
    return insertItem(new CMenuItem(title, flags), index);
}

CMenuItem* COptionMenu::addEntry(COptionMenu* submenu, const char* title) {
    return insertItem(new CMenuItem(title, CMenuItem::kNoFlags, submenu), -1);
}

CMenuItem* COptionMenu::addSeparator(int32_t index) { return insertItem(new CMenuItem("", CMenuItem::kSeparator), index); }

CMenuItem* COptionMenu::insertItem(CMenuItem* item, int32_t index) {
    if (index < 0 || index > getNbEntries()) {
        items.push_back(item);
    } else {
        items.insert(items.begin() + index, item);
    }
    setMax(static_cast<float>(std::max(getNbEntries() - 1, 0)));
    return item;
}

bool COptionMenu::removeEntry(int32_t index) {
    if (index < 0 || index >= getNbEntries()) return false;
    items[static_cast<size_t>(index)]->forget();
    items.erase(items.begin() + index);
    setMax(static_cast<float>(std::max(getNbEntries() - 1, 0)));
    return true;
}

void COptionMenu::removeAllEntry() {
    for (CMenuItem* item : items) item->forget();
    items.clear();
    lastMenu = nullptr;
    lastIndex = -1;
    setMax(0);
}

CMenuItem* COptionMenu::getEntry(int32_t index) const {
    if (index < 0 || index >= getNbEntries()) return nullptr;
    return items[static_cast<size_t>(index)];
}

int32_t COptionMenu::indexOfTitle(const char* title) const {
    for (int32_t i = 0; i < getNbEntries(); ++i) {
        if (!items[static_cast<size_t>(i)]->isSeparator() && items[static_cast<size_t>(i)]->getTitle() == title) return i;
    }
    return -1;
}

bool COptionMenu::checkEntry(int32_t index, bool state) {
    CMenuItem* item = getEntry(index);
    if (!item || item->isSeparator()) return false;
    item->setChecked(state);
    return true;
}

bool COptionMenu::setEntryEnabled(int32_t index, bool state) {
    CMenuItem* item = getEntry(index);
    if (!item || item->isSeparator()) return false;
    item->setEnabled(state);
    return true;
}

bool COptionMenu::setCurrent(int32_t index) {
    if (index < 0 || index >= getNbEntries()) return false;
    value = static_cast<float>(index);
    invalid();
    return true;
}

int32_t COptionMenu::getCurrentIndex() const {
    const auto index = static_cast<int32_t>(std::lround(value));
    return (index >= 0 && index < getNbEntries()) ? index : -1;
}

COptionMenu* COptionMenu::getLastItemMenu(int32_t& index) const {
    index = lastIndex;
    return lastMenu;
}

void COptionMenu::choose(COptionMenu* menu, int32_t index) {
    lastMenu = menu;
    lastIndex = index;
    if (menu == this) {
        value = static_cast<float>(index);
        bounceValue();
    }
    invalid();
    valueChanged();
}

bool COptionMenu::popup() {
    if (open || !frame || getNbEntries() == 0) return false;
    lastMenu = nullptr;
    lastIndex = -1;
    CCoord x = 0;
    CCoord y = 0;
    frame->getPosition(x, y);
    const CRect anchor = frameRect().offset(x, y);
    MenuPopup menuPopup(this, anchor, (style & kPopupStyle) ? getCurrentIndex() : -1);
    open = true;
    invalid();
    beginEdit();
    const bool shown = frame->runPopup(&menuPopup);
    open = false;
    bool chosen = false;
    if (shown && menuPopup.chosenMenu()) {
        choose(menuPopup.chosenMenu(), menuPopup.chosenIndex());
        chosen = true;
    }
    endEdit();
    invalid();
    return chosen;
}

std::string COptionMenu::getDisplayText() const {
    if (stringConvert) return CParamDisplay::getDisplayText();
    const CMenuItem* item = getEntry(getCurrentIndex());
    return item ? item->getTitle() : std::string();
}

void COptionMenu::draw(CDrawContext* context) {
    if (open && clickedBackground) {
        clickedBackground->draw(context, size);
        if (!(style & kNoTextStyle)) {
            context->setFont(font.get());
            context->setFontColor(fontColor);
            context->drawString(getDisplayText().c_str(), CRect(size).inset(textInset, 0), horiAlign);
        }
        setDirty(false);
        return;
    }
    CParamDisplay::draw(context);
}

CMouseEventResult COptionMenu::onMouseDown(CPoint& where, const int32_t& buttons) {
    (void)where;
    if (!(buttons & (kLButton | kRButton))) return kMouseEventNotHandled;
    popup();
    return kMouseDownEventHandledButDontNeedMovedOrUpEvents;
}

int32_t COptionMenu::onKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) {
    (void)character;
    (void)modifiers;
    if (virtualKey == VKEY_RETURN || virtualKey == VKEY_ENTER || virtualKey == VKEY_SPACE) {
        popup();
        return 1;
    }
    return -1;
}

bool COptionMenu::isTypeOf(const char* className) const {
    return std::strcmp(className, "COptionMenu") == 0 || CParamDisplay::isTypeOf(className);
}

}  // namespace VSTGUI
