#include "gui/toolkit/CFileSelector.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/CFrame.h"
#include "gui/toolkit/PopupStyle.h"

namespace VSTGUI {

namespace fs = std::filesystem;

namespace {

constexpr CColor kDialogBack = PopupStyle::kBack;
constexpr CColor kDialogBorder = PopupStyle::kBorder;
constexpr CColor kListBack{28, 30, 34, 255};
constexpr CColor kText = PopupStyle::kText;
constexpr CColor kDimText{150, 154, 162, 255};
constexpr CColor kNoticeText{240, 190, 110, 255};
constexpr CColor kSelection = PopupStyle::kHighlight;
constexpr CColor kButtonFace{58, 62, 70, 255};
constexpr CColor kButtonPressed{82, 88, 100, 255};

constexpr CCoord kMargin = 12;
constexpr CCoord kLineHeight = 20;
constexpr CCoord kButtonWidth = 84;
constexpr CCoord kButtonHeight = 24;
constexpr CCoord kScrollBarWidth = 6;
constexpr int32_t kWheelRows = 3;
constexpr uint64_t kDoubleClickMs = 400;

std::string lowered(const std::string& s) {
    std::string out = s;
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    return out;
}

bool hasExtension(const std::string& name, const std::string& extension) {
    if (extension.empty()) return true;
    std::string tail(1, '.');
    tail.append(lowered(extension));
    return name.size() > tail.size() && lowered(name).compare(name.size() - tail.size(), tail.size(), tail) == 0;
}

// "~" and "~/..." from $HOME.
std::string expandHome(const std::string& path) {
    if (path.empty() || path[0] != '~' || (path.size() > 1 && path[1] != '/')) return path;
    const char* home = std::getenv("HOME");
    std::string expanded(home && *home ? home : "/");
    expanded.append(path, 1, std::string::npos);
    return expanded;
}

bool isFolder(const fs::path& p) {
    std::error_code error;
    return fs::is_directory(p, error);
}

// The nearest existing folder at or above `p`, else the home folder, else "/".
fs::path existingFolder(fs::path p) {
    while (!p.empty()) {
        if (isFolder(p)) return p;
        if (p == p.parent_path()) break;
        p = p.parent_path();
    }
    const fs::path home = expandHome("~");
    return isFolder(home) ? home : fs::path("/");
}

std::string displayPath(const std::string& path, CFontDesc* font, CCoord width) {
    // Long paths keep their end, which names the folder shown.
    if (font->getStringWidth(path.c_str()) <= width) return path;
    const std::string ellipsis = "\xE2\x80\xA6";
    std::string shown;
    size_t start = 0;
    while (start < path.size()) {
        ++start;
        while (start < path.size() && (static_cast<unsigned char>(path[start]) & 0xC0) == 0x80) ++start;
        shown.assign(ellipsis).append(path, start, std::string::npos);
        if (font->getStringWidth(shown.c_str()) <= width) break;
    }
    return shown;
}

uint64_t nowMs() {
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

}  // namespace

// ---- FileSelectorModel ----

FileSelectorModel::FileSelectorModel(FileSelectorStyle style, const std::string& initialPath,
                                     const std::string& ext)
    : kind(style), extension(ext), nameField({}, 255) {
    fs::path start = fs::path(expandHome(initialPath.empty() ? "~" : initialPath)).lexically_normal();
    std::string startName;
    if (!isFolder(start)) {
        startName = start.filename().string();
        start = start.parent_path();
    }
    // A folder that is not there gives way to the nearest one above it; the
    // name is still offered.
    enterFolder(existingFolder(start).string());
    if (kind == FileSelectorStyle::kSave) {
        nameField = TextEntryModel(startName, 255);
        nameField.selectAll();
    } else {
        for (size_t i = 0; i < list.size(); ++i)
            if (!list[i].folder && list[i].name == startName) selected = static_cast<int32_t>(i);
    }
}

void FileSelectorModel::listFolder() {
    list.clear();
    selected = -1;
    message.clear();
    const fs::path here(current);
    if (here.has_relative_path()) list.push_back({"..", true});
    std::vector<Entry> folders, files;
    std::error_code error;
    fs::directory_iterator it(here, fs::directory_options::skip_permission_denied, error);
    if (error) {
        message = "This folder cannot be read.";
        return;
    }
    for (const fs::directory_iterator end; it != end; it.increment(error)) {
        if (error) {
            message = "Part of this folder cannot be read.";
            break;
        }
        const std::string name = it->path().filename().string();
        if (name.empty() || name[0] == '.') continue;
        std::error_code kindError;
        if (it->is_directory(kindError)) {
            folders.push_back({name, true});
        } else if (it->is_regular_file(kindError) && hasExtension(name, extension)) {
            files.push_back({name, false});
        }
    }
    auto byName = [](const Entry& a, const Entry& b) {
        const std::string la = lowered(a.name), lb = lowered(b.name);
        return la != lb ? la < lb : a.name < b.name;
    };
    std::sort(folders.begin(), folders.end(), byName);
    std::sort(files.begin(), files.end(), byName);
    list.insert(list.end(), folders.begin(), folders.end());
    list.insert(list.end(), files.begin(), files.end());
}

void FileSelectorModel::enterFolder(const std::string& path) {
    current = fs::path(path).lexically_normal().string();
    if (current.size() > 1 && current.back() == '/') current.pop_back();
    pendingReplace.clear();
    listFolder();
}

void FileSelectorModel::goUp() {
    const fs::path here(current);
    if (!here.has_relative_path()) return;
    const std::string left = here.filename().string();
    enterFolder(here.parent_path().string());
    for (size_t i = 0; i < list.size(); ++i)
        if (list[i].folder && list[i].name == left) selected = static_cast<int32_t>(i);
}

void FileSelectorModel::select(int32_t index) {
    if (list.empty() || index < 0) {
        selected = -1;
        return;
    }
    selected = std::min(index, static_cast<int32_t>(list.size()) - 1);
    const Entry& e = list[static_cast<size_t>(selected)];
    if (kind == FileSelectorStyle::kSave && !e.folder) {
        nameField = TextEntryModel(e.name, 255);
        nameField.selectAll();
        nameEdited();
    }
}

void FileSelectorModel::moveSelection(int32_t delta) {
    if (list.empty()) return;
    select(std::clamp(selected < 0 ? (delta > 0 ? 0 : static_cast<int32_t>(list.size()) - 1) : selected + delta, 0,
                      static_cast<int32_t>(list.size()) - 1));
}

FileSelectorModel::Outcome FileSelectorModel::activate(int32_t index) {
    if (index < 0 || index >= static_cast<int32_t>(list.size())) return Outcome::kNothing;
    const Entry e = list[static_cast<size_t>(index)];
    if (e.name == "..") {
        goUp();
        return Outcome::kEnteredFolder;
    }
    const std::string path = (fs::path(current) / e.name).string();
    if (e.folder) {
        enterFolder(path);
        return Outcome::kEnteredFolder;
    }
    select(index);
    return kind == FileSelectorStyle::kSave ? confirmSave() : choose(path);
}

FileSelectorModel::Outcome FileSelectorModel::confirm() {
    if (kind == FileSelectorStyle::kSave) return confirmSave();
    if (selected < 0) {
        message = "Choose a file.";
        return Outcome::kNothing;
    }
    return activate(selected);
}

void FileSelectorModel::nameEdited() {
    pendingReplace.clear();
    if (!message.empty() && message.rfind("This folder", 0) != 0 && message.rfind("Part of", 0) != 0) message.clear();
}

FileSelectorModel::Outcome FileSelectorModel::choose(const std::string& path) {
    chosen = path;
    return Outcome::kChosen;
}

FileSelectorModel::Outcome FileSelectorModel::confirmSave() {
    std::string name = nameField.text();
    while (!name.empty() && name.back() == ' ') name.pop_back();
    while (!name.empty() && name.front() == ' ') name.erase(0, 1);
    if (name.empty() || name == "." || name == "..") {
        message = "Type a file name.";
        return Outcome::kNothing;
    }
    if (name.find('/') != std::string::npos) {
        message = "A file name cannot contain \"/\".";
        return Outcome::kNothing;
    }
    // The name of a folder here opens it, as a double click would.
    if (isFolder(fs::path(current) / name)) {
        enterFolder((fs::path(current) / name).string());
        nameField = TextEntryModel({}, 255);
        return Outcome::kEnteredFolder;
    }
    if (!hasExtension(name, extension)) name.append(1, '.').append(extension);
    const fs::path target = fs::path(current) / name;
    std::error_code error;
    if (fs::exists(target, error) && pendingReplace != target.string()) {
        pendingReplace = target.string();
        message.assign(1, '"').append(name).append("\" exists. Save again to replace it.");
        return Outcome::kNothing;
    }
    return choose(target.string());
}

// ---- FileSelectorPopup ----

FileSelectorPopup::FileSelectorPopup(FileSelectorModel& m, const std::string& t, const CRect& anchor)
    : model(m), title(t) {
    const CCoord left = std::round(anchor.left + (anchor.width() - kWidth) / 2);
    const CCoord top = std::round(anchor.top + std::max<CCoord>(0, (anchor.height() - kHeight) / 2));
    rect = CRect::fromSize(left, top, kWidth, kHeight);
    keepSelectionVisible();
}

CRect FileSelectorPopup::listRect() const {
    const CCoord top = rect.top + kMargin + 2 * kLineHeight + 4;
    const CCoord bottom = rect.bottom - kMargin - kButtonHeight - kLineHeight - 8 -
                          (model.style() == FileSelectorStyle::kSave ? kLineHeight + 8 : 0);
    return CRect(rect.left + kMargin, top, rect.right - kMargin, bottom);
}

int32_t FileSelectorPopup::visibleRows() const {
    return std::max<int32_t>(1, static_cast<int32_t>((listRect().height() - 2) / kRowHeight));
}

CRect FileSelectorPopup::rowRect(int32_t index) const {
    const CRect list = listRect();
    const CCoord top = list.top + 1 + (index - scrollRow) * kRowHeight;
    return CRect(list.left + 1, top, list.right - 1 - kScrollBarWidth, top + kRowHeight);
}

CRect FileSelectorPopup::confirmButtonRect() const {
    const CCoord top = rect.bottom - kMargin - kButtonHeight;
    return CRect(rect.right - kMargin - kButtonWidth, top, rect.right - kMargin, top + kButtonHeight);
}

CRect FileSelectorPopup::cancelButtonRect() const {
    const CRect confirm = confirmButtonRect();
    return CRect(confirm.left - 8 - kButtonWidth, confirm.top, confirm.left - 8, confirm.bottom);
}

CRect FileSelectorPopup::nameFieldRect() const {
    const CRect list = listRect();
    const CCoord top = list.bottom + 8;
    return CRect(rect.left + kMargin + 48, top, rect.right - kMargin, top + kLineHeight + 2);
}

int32_t FileSelectorPopup::rowAt(const CPoint& p) const {
    const CRect list = listRect();
    if (!list.pointInside(p) || p.x >= list.right - 1 - kScrollBarWidth) return -1;
    const int32_t row = scrollRow + static_cast<int32_t>((p.y - list.top - 1) / kRowHeight);
    return row < static_cast<int32_t>(model.entries().size()) ? row : -1;
}

void FileSelectorPopup::keepSelectionVisible() {
    const int32_t count = static_cast<int32_t>(model.entries().size());
    const int32_t rows = visibleRows();
    const int32_t sel = model.selection();
    if (sel >= 0) {
        if (sel < scrollRow) scrollRow = sel;
        if (sel >= scrollRow + rows) scrollRow = sel - rows + 1;
    }
    scrollRow = std::clamp(scrollRow, 0, std::max(0, count - rows));
}

void FileSelectorPopup::apply(FileSelectorModel::Outcome outcome) {
    if (outcome == FileSelectorModel::Outcome::kChosen) state = State::Chosen;
    if (outcome == FileSelectorModel::Outcome::kEnteredFolder) {
        scrollRow = 0;
        lastClickRow = -1;
    }
    keepSelectionVisible();
}

void FileSelectorPopup::drawPopupWindow(int32_t, CDrawContext* context) {
    // Drawn in window coordinates: everything is shifted by the window's origin.
    const CPoint origin(rect.left, rect.top);
    auto local = [&origin](CRect r) { return r.offset(-origin.x, -origin.y); };
    const CRect whole(0, 0, rect.width(), rect.height());
    context->setFillColor(kDialogBack);
    context->fillRect(whole);
    context->setFrameColor(kDialogBorder);
    context->setLineWidth(1);
    context->drawRect(whole, kDrawStroked);

    context->setFont(kSystemFont);
    context->setFontColor(kText);
    context->drawString(title.c_str(), CRect(kMargin, kMargin, whole.right - kMargin, kMargin + kLineHeight),
                        kLeftText);
    context->setFont(kNormalFont);
    context->setFontColor(kDimText);
    const CRect pathRow(kMargin, kMargin + kLineHeight, whole.right - kMargin, kMargin + 2 * kLineHeight);
    context->drawString(displayPath(model.folder(), kNormalFont, pathRow.width()).c_str(), pathRow, kLeftText);

    const CRect list = local(listRect());
    context->setFillColor(kListBack);
    context->fillRect(list);
    context->setFrameColor(kDialogBorder);
    context->drawRect(list, kDrawStroked);
    const CRect outerClip = context->getClipRect();
    CRect inside(list.left + 1, list.top + 1, list.right - 1, list.bottom - 1);
    context->setClipRect(inside.bound(outerClip));
    const auto& entries = model.entries();
    const int32_t rows = visibleRows();
    for (int32_t i = scrollRow; i < std::min<int32_t>(scrollRow + rows + 1, static_cast<int32_t>(entries.size()));
         ++i) {
        const CRect row = local(rowRect(i));
        if (i == model.selection()) {
            context->setFillColor(kSelection);
            context->fillRect(row);
        }
        const auto& e = entries[static_cast<size_t>(i)];
        context->setFontColor(kText);
        const std::string shown = e.folder && e.name != ".." ? e.name + "/" : e.name;
        context->drawString(shown.c_str(), CRect(row.left + 6, row.top, row.right - 4, row.bottom), kLeftText);
    }
    // Where the visible rows lie in the whole list.
    const int32_t count = static_cast<int32_t>(entries.size());
    if (count > rows) {
        const CCoord track = inside.height();
        const CCoord thumb = std::max<CCoord>(12, track * rows / count);
        const CCoord top = inside.top + (track - thumb) * scrollRow / std::max(1, count - rows);
        context->setFillColor(kButtonPressed);
        context->fillRect(CRect(inside.right - kScrollBarWidth, top, inside.right, top + thumb));
    }
    context->setClipRect(outerClip);

    CCoord noticeTop = list.bottom + 8;
    if (model.style() == FileSelectorStyle::kSave) {
        const CRect field = local(nameFieldRect());
        context->setFontColor(kText);
        context->drawString("Name", CRect(kMargin, field.top, field.left - 6, field.bottom), kLeftText);
        drawTextField(context, field, model.name(), kNormalFont, true);
        noticeTop = field.bottom + 6;
    }
    if (!model.notice().empty()) {
        context->setFontColor(kNoticeText);
        context->drawString(model.notice().c_str(),
                            CRect(kMargin, noticeTop, whole.right - kMargin, noticeTop + kLineHeight), kLeftText);
    }

    const char* confirmLabel = model.style() == FileSelectorStyle::kSave ? "Save" : "Open";
    const struct {
        CRect rect;
        const char* label;
        Button button;
    } buttons[] = {{local(cancelButtonRect()), "Cancel", Button::Cancel},
                   {local(confirmButtonRect()), confirmLabel, Button::Confirm}};
    for (const auto& b : buttons) {
        context->setFillColor(pressed == b.button ? kButtonPressed : kButtonFace);
        context->fillRect(b.rect);
        context->setFrameColor(kDialogBorder);
        context->drawRect(b.rect, kDrawStroked);
        context->setFontColor(kText);
        context->drawString(b.label, b.rect, kCenterText);
    }
}

void FileSelectorPopup::popupMouse(PopupMouse kind, const CPoint& p, int32_t buttons) {
    switch (kind) {
        case PopupMouse::Down: {
            if (!(buttons & kLButton)) return;
            if (confirmButtonRect().pointInside(p)) {
                pressed = Button::Confirm;
                return;
            }
            if (cancelButtonRect().pointInside(p)) {
                pressed = Button::Cancel;
                return;
            }
            if (model.style() == FileSelectorStyle::kSave && nameFieldRect().pointInside(p)) {
                const CRect field = nameFieldRect();
                const CCoord x = p.x - field.left - kTextFieldInset +
                                 textFieldScroll(model.name(), kNormalFont, field.width());
                model.name().placeCaret(kNormalFont, x, (buttons & kShift) != 0);
                return;
            }
            const int32_t row = rowAt(p);
            if (row < 0) return;  // outside the list, or outside the dialog: it stays open
            const uint64_t now = nowMs();
            const bool twice = (buttons & kDoubleClick) || (row == lastClickRow && now - lastClickMs <= kDoubleClickMs);
            lastClickRow = row;
            lastClickMs = now;
            if (twice) {
                lastClickRow = -1;
                apply(model.activate(row));
            } else {
                model.select(row);
                keepSelectionVisible();
            }
            return;
        }
        case PopupMouse::Up: {
            const Button was = pressed;
            pressed = Button::None;
            if (was == Button::Confirm && confirmButtonRect().pointInside(p)) apply(model.confirm());
            if (was == Button::Cancel && cancelButtonRect().pointInside(p)) state = State::Cancelled;
            return;
        }
        case PopupMouse::Moved:
            return;
    }
}

void FileSelectorPopup::popupWheel(const CPoint& p, float distance, int32_t) {
    if (!rect.pointInside(p)) return;
    const int32_t count = static_cast<int32_t>(model.entries().size());
    scrollRow -= static_cast<int32_t>(std::lround(distance)) * kWheelRows;
    scrollRow = std::clamp(scrollRow, 0, std::max(0, count - visibleRows()));
}

void FileSelectorPopup::popupKey(uint32_t character, int32_t virtualKey, int32_t modifiers) {
    switch (virtualKey) {
        case VKEY_ESCAPE: state = State::Cancelled; return;
        case VKEY_RETURN:
        case VKEY_ENTER: apply(model.confirm()); return;
        case VKEY_UP: model.moveSelection(-1); keepSelectionVisible(); return;
        case VKEY_DOWN: model.moveSelection(1); keepSelectionVisible(); return;
        case VKEY_PAGEUP: model.moveSelection(-visibleRows()); keepSelectionVisible(); return;
        case VKEY_PAGEDOWN: model.moveSelection(visibleRows()); keepSelectionVisible(); return;
        default: break;
    }
    if (model.style() == FileSelectorStyle::kOpen) {
        // Backspace leaves the folder; Home and End go to the ends of the list.
        if (virtualKey == VKEY_BACK) {
            model.goUp();
            apply(FileSelectorModel::Outcome::kEnteredFolder);
        }
        if (virtualKey == VKEY_HOME) model.select(0);
        if (virtualKey == VKEY_END) model.select(static_cast<int32_t>(model.entries().size()) - 1);
        keepSelectionVisible();
        return;
    }
    const std::string before = model.name().text();
    if (model.name().key(character, virtualKey, modifiers) && model.name().text() != before) model.nameEdited();
}

void FileSelectorPopup::popupScreen(const CRect& area) {
    // The whole dialog on the screen, its top-left corner first.
    const CCoord left = std::max(area.left, std::min(rect.left, area.right - kWidth));
    const CCoord top = std::max(area.top, std::min(rect.top, area.bottom - kHeight));
    rect = CRect::fromSize(left, top, kWidth, kHeight);
}

void FileSelectorPopup::popupFocusLost() { state = State::Cancelled; }

// ---- CFileSelector ----

bool CFileSelector::run(FileSelectorStyle style, const char* title, const char* initialPath, const char* extension,
                        std::string* path) {
    if (!frame || !frame->isOpen()) return false;
    FileSelectorModel model(style, initialPath ? initialPath : "", extension ? extension : "");
    CCoord x = 0;
    CCoord y = 0;
    frame->getPosition(x, y);
    CRect anchor = frame->getViewSize();
    anchor.offset(x, y);
    FileSelectorPopup popup(model, title ? title : "", anchor);
    if (!frame->runPopup(&popup) || !popup.chosen()) return false;
    if (path) *path = model.result();
    return true;
}

}  // namespace VSTGUI
