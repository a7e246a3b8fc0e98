#include "gui/toolkit/MenuPopup.h"

#include <algorithm>
#include <cmath>

#include "gui/toolkit/PopupStyle.h"

namespace VSTGUI {

namespace {

constexpr CColor kMenuBack = PopupStyle::kBack;
constexpr CColor kMenuBorder = PopupStyle::kBorder;
constexpr CColor kMenuText = PopupStyle::kText;
constexpr CColor kMenuTextDisabled{120, 124, 130, 255};
constexpr CColor kMenuHighlight = PopupStyle::kHighlight;
constexpr CColor kMenuSeparator{70, 74, 80, 255};
// Pixels the pointer must travel before a release counts as a choice.
constexpr CCoord kTravelThreshold = 4;

CCoord entryHeight(const CMenuItem* item) {
    return item->isSeparator() ? MenuPopup::kSeparatorHeight : MenuPopup::kItemHeight;
}

bool selectable(const CMenuItem* item) { return item->isEnabled(); }

}  // namespace

MenuPopup::MenuPopup(COptionMenu* menu, const CRect& anchor, int32_t current) : anchorRect(anchor) {
    CPoint origin(anchor.left, anchor.bottom);
    if (current >= 0 && current < menu->getNbEntries()) {
        CCoord above = 0;
        for (int32_t i = 0; i < current; ++i) above += entryHeight(menu->getEntry(i));
        origin = CPoint(anchor.left, anchor.top + (anchor.height() - kItemHeight) / 2 - above - kBorder);
    }
    openLevel(menu, layout(menu, origin, anchor.width()));
    if (current >= 0 && current < menu->getNbEntries()) levels[0].highlight = current;
}

CRect MenuPopup::layout(COptionMenu* menu, CPoint origin, CCoord minWidth) const {
    CCoord width = 0;
    CCoord height = 2 * kBorder;
    CFontDesc* font = kNormalFont;
    for (int32_t i = 0; i < menu->getNbEntries(); ++i) {
        const CMenuItem* item = menu->getEntry(i);
        height += entryHeight(item);
        if (!item->isSeparator()) width = std::max(width, font->getStringWidth(item->getTitle().c_str()));
    }
    width = std::ceil(width + kCheckColumn + kArrowColumn + kTextPad + 2 * kBorder);
    return CRect::fromSize(std::round(origin.x), std::round(origin.y), std::max(width, minWidth), height);
}

void MenuPopup::openLevel(COptionMenu* menu, const CRect& rect) { levels.push_back({menu, rect, -1}); }

void MenuPopup::popupScreen(const CRect& area) {
    screen = area;
    screenKnown = true;
    levels.resize(1);
    levels[0].rect = fitted(levels[0].rect, anchorRect, nullptr);
}

CRect MenuPopup::fitted(CRect r, const CRect& anchor, const CRect* beside) const {
    if (!screenKnown) return r;
    const CCoord width = r.width(), height = r.height();
    if (beside && r.right > screen.right && beside->left - width + 2 >= screen.left) {
        r.left = beside->left - width + 2;
    } else if (!beside && r.bottom > screen.bottom && r.top >= anchor.bottom &&
               anchor.top - screen.top > screen.bottom - anchor.bottom) {
        r.top = anchor.top - height;  // above the control
    }
    r.left = std::max(screen.left, std::min(r.left, screen.right - width));
    r.top = std::max(screen.top, std::min(r.top, screen.bottom - height));
    return CRect::fromSize(r.left, r.top, width, height);
}

CRect MenuPopup::itemRect(int32_t level, int32_t index) const {
    const Level& l = levels[static_cast<size_t>(level)];
    CCoord y = l.rect.top + kBorder;
    for (int32_t i = 0; i < index; ++i) y += entryHeight(l.menu->getEntry(i));
    return CRect(l.rect.left + kBorder, y, l.rect.right - kBorder, y + entryHeight(l.menu->getEntry(index)));
}

void MenuPopup::find(const CPoint& p, int32_t& level, int32_t& index) const {
    level = -1;
    index = -1;
    for (int32_t l = levelCount() - 1; l >= 0; --l) {
        if (!levels[static_cast<size_t>(l)].rect.pointInside(p)) continue;
        level = l;
        COptionMenu* menu = levels[static_cast<size_t>(l)].menu;
        for (int32_t i = 0; i < menu->getNbEntries(); ++i) {
            if (itemRect(l, i).pointInside(p)) {
                index = i;
                break;
            }
        }
        return;
    }
}

void MenuPopup::highlightAt(int32_t level, int32_t index) {
    levels.resize(static_cast<size_t>(level) + 1);
    Level& l = levels[static_cast<size_t>(level)];
    const CMenuItem* item = l.menu->getEntry(index);
    l.highlight = (item && selectable(item)) ? index : -1;
    if (l.highlight >= 0 && item->getSubmenu() && item->getSubmenu()->getNbEntries() > 0) {
        const CRect row = itemRect(level, index);
        const CRect parent = l.rect;
        openLevel(item->getSubmenu(), fitted(layout(item->getSubmenu(), CPoint(parent.right - 2, row.top - kBorder), 0),
                                             row, &parent));
    }
}

void MenuPopup::activate(int32_t level, int32_t index) {
    COptionMenu* menu = levels[static_cast<size_t>(level)].menu;
    const CMenuItem* item = menu->getEntry(index);
    if (!item || !selectable(item) || item->getSubmenu()) return;
    chosen = menu;
    chosenItem = index;
    done = true;
}

void MenuPopup::popupMouse(PopupMouse kind, const CPoint& p, int32_t buttons) {
    (void)buttons;
    if (!havePointer) {
        havePointer = true;
        openPoint = p;
    } else if (std::fabs(p.x - openPoint.x) > kTravelThreshold || std::fabs(p.y - openPoint.y) > kTravelThreshold) {
        travelled = true;
    }
    int32_t level = -1;
    int32_t index = -1;
    find(p, level, index);
    switch (kind) {
        case PopupMouse::Down:
            if (level < 0) {
                done = true;  // a press outside closes the menu
                return;
            }
            pressedInside = true;
            if (index >= 0) highlightAt(level, index);
            return;
        case PopupMouse::Moved:
            if (level >= 0 && index >= 0) {
                // Staying on the entry whose nested menu is open keeps it open.
                const Level& l = levels[static_cast<size_t>(level)];
                const COptionMenu* sub = l.menu->getEntry(index)->getSubmenu();
                const bool unchanged = l.highlight == index &&
                                       (level + 1 == levelCount() || levels[static_cast<size_t>(level) + 1].menu == sub);
                if (!unchanged) highlightAt(level, index);
            }
            return;
        case PopupMouse::Up:
            if (level >= 0 && index >= 0 && (pressedInside || travelled)) activate(level, index);
            return;
    }
}

void MenuPopup::step(int32_t direction) {
    Level& l = levels.back();
    const int32_t count = l.menu->getNbEntries();
    int32_t i = l.highlight;
    for (int32_t tries = 0; tries < count; ++tries) {
        i = (i < 0) ? (direction > 0 ? 0 : count - 1) : (i + direction + count) % count;
        if (selectable(l.menu->getEntry(i))) {
            l.highlight = i;
            return;
        }
    }
}

void MenuPopup::popupKey(uint32_t character, int32_t virtualKey, int32_t modifiers) {
    (void)character;
    (void)modifiers;
    const int32_t level = levelCount() - 1;
    switch (virtualKey) {
        case VKEY_ESCAPE:
            done = true;
            break;
        case VKEY_DOWN:
            step(1);
            break;
        case VKEY_UP:
            step(-1);
            break;
        case VKEY_LEFT:
            if (level > 0) levels.pop_back();
            break;
        case VKEY_RIGHT: {
            const Level& l = levels.back();
            if (l.highlight >= 0 && l.menu->getEntry(l.highlight)->getSubmenu()) {
                highlightAt(level, l.highlight);
                levels.back().highlight = -1;
                step(1);
            }
            break;
        }
        case VKEY_RETURN:
        case VKEY_ENTER:
        case VKEY_SPACE: {
            const Level& l = levels.back();
            if (l.highlight >= 0) activate(level, l.highlight);
            break;
        }
        default:
            break;
    }
}

void MenuPopup::drawPopupWindow(int32_t index, CDrawContext* context) {
    const Level& l = levels[static_cast<size_t>(index)];
    const CRect whole(0, 0, l.rect.width(), l.rect.height());
    context->setDrawMode(kAntiAliasing);
    context->setFillColor(kMenuBack);
    context->fillRect(whole);
    context->setFrameColor(kMenuBorder);
    context->setLineWidth(1);
    context->drawRect(whole, kDrawStroked);
    context->setFont(kNormalFont);
    const bool checkCurrent = (l.menu->getStyle() & kCheckStyle) != 0;
    for (int32_t i = 0; i < l.menu->getNbEntries(); ++i) {
        const CMenuItem* item = l.menu->getEntry(i);
        const CRect row = itemRect(index, i).offset(-l.rect.left, -l.rect.top);
        if (item->isSeparator()) {
            const CCoord y = std::floor((row.top + row.bottom) / 2);  // lines run through pixel centres
            context->setFrameColor(kMenuSeparator);
            context->drawLine(CPoint(row.left + 6, y), CPoint(row.right - 6, y));
            continue;
        }
        const bool lit = i == l.highlight;
        if (lit) {
            context->setFillColor(kMenuHighlight);
            context->fillRect(row);
        }
        const CColor text = item->isEnabled() || item->isTitle() ? kMenuText : kMenuTextDisabled;
        context->setFontColor(text);
        context->drawString(item->getTitle().c_str(),
                            CRect(row.left + kCheckColumn, row.top, row.right - kArrowColumn, row.bottom), kLeftText);
        const bool checked = item->isChecked() || (checkCurrent && i == l.menu->getCurrentIndex());
        if (checked) {
            const CPoint tick[3] = {{row.left + 6, row.top + 10}, {row.left + 9, row.top + 13}, {row.left + 14, row.top + 6}};
            context->setFrameColor(text);
            context->setLineWidth(1.6f);
            context->drawPolyline(tick, 3);
            context->setLineWidth(1);
        }
        if (item->getSubmenu()) {
            const CCoord cx = row.right - 10;
            const CCoord cy = (row.top + row.bottom) / 2;
            const CPoint arrow[3] = {{cx - 3, cy - 4}, {cx + 2, cy}, {cx - 3, cy + 4}};
            context->setFillColor(text);
            context->drawPolygon(arrow, 3, kDrawFilled);
        }
    }
}

}  // namespace VSTGUI
