#pragma once
// The file dialog, drawn by the toolkit in a popup window over the frame:
// open a file of one extension, or choose a name to save under.
//
// FileSelectorModel is the dialog without pixels: the folder shown, its
// entries (".." first unless at the root, then folders, then files of the
// extension, each group sorted without regard to case; hidden names left
// out), the selection, the name field of a save dialog, and what confirming
// leads to. FileSelectorPopup draws the model and feeds it input.
// CFileSelector runs one dialog and gives the chosen path.
//
// Saving appends the extension when the name lacks it, refuses names with
// "/", and asks for a second confirmation before replacing a file. A folder
// that cannot be read shows as empty with a notice; a starting path whose
// folder does not exist starts in the nearest folder above it that does,
// or in the home folder.

#include <cstdint>
#include <string>
#include <vector>

#include "gui/toolkit/TextEntry.h"
#include "gui/toolkit/platform/Platform.h"

namespace VSTGUI {

class CFrame;

enum class FileSelectorStyle : int32_t { kOpen, kSave };

class FileSelectorModel {
public:
    struct Entry {
        std::string name;
        bool folder;
    };
    enum class Outcome : int32_t { kNothing, kEnteredFolder, kChosen };

    // `initialPath`: a folder, or a file path whose name becomes the save
    // name (or the selection when opening); "~" stands for $HOME.
    // `extension` without the dot; empty shows every file.
    FileSelectorModel(FileSelectorStyle style, const std::string& initialPath, const std::string& extension);

    FileSelectorStyle style() const { return kind; }
    const std::string& folder() const { return current; }
    const std::vector<Entry>& entries() const { return list; }
    int32_t selection() const { return selected; }
    // A line for the person: why the folder is empty, why a name was refused,
    // or that a second confirmation replaces a file. Empty when all is well.
    const std::string& notice() const { return message; }
    TextEntryModel& name() { return nameField; }
    const TextEntryModel& name() const { return nameField; }
    // The path confirmed, once confirm() or activate() said kChosen.
    const std::string& result() const { return chosen; }

    // Selects an entry (clamped; -1 clears). In a save dialog a file's name
    // goes into the name field.
    void select(int32_t index);
    void moveSelection(int32_t delta);
    // Opens a folder entry or chooses a file entry (double click).
    Outcome activate(int32_t index);
    void goUp();
    void enterFolder(const std::string& path);
    // Return or the dialog's button: the selection when opening, the name
    // field when saving.
    Outcome confirm();
    // The name field changed: a pending replacement is forgotten.
    void nameEdited();

private:
    void listFolder();
    Outcome choose(const std::string& path);
    Outcome confirmSave();

    FileSelectorStyle kind;
    std::string extension;
    std::string current;
    std::vector<Entry> list;
    int32_t selected = -1;
    std::string message;
    TextEntryModel nameField;
    std::string pendingReplace;
    std::string chosen;
};

class FileSelectorPopup : public IPopupClient {
public:
    static constexpr CCoord kWidth = 480;
    static constexpr CCoord kHeight = 360;
    static constexpr CCoord kRowHeight = 20;

    // Centred over `anchor`, a screen rectangle (the frame's).
    FileSelectorPopup(FileSelectorModel& model, const std::string& title, const CRect& anchor);

    bool chosen() const { return state == State::Chosen; }
    bool cancelled() const { return state == State::Cancelled; }
    int32_t firstVisibleRow() const { return scrollRow; }
    int32_t visibleRows() const;
    // Screen rectangles, for tests and the pointer.
    CRect rowRect(int32_t index) const;
    CRect confirmButtonRect() const;
    CRect cancelButtonRect() const;
    CRect nameFieldRect() const;

    int32_t popupWindowCount() const override { return 1; }
    CRect popupWindowRect(int32_t) const override { return rect; }
    void drawPopupWindow(int32_t index, CDrawContext* context) override;
    void popupMouse(PopupMouse kind, const CPoint& screenPoint, int32_t buttons) override;
    void popupWheel(const CPoint& screenPoint, float distance, int32_t buttons) override;
    void popupKey(uint32_t character, int32_t virtualKey, int32_t modifiers) override;
    void popupScreen(const CRect& area) override;
    void popupFocusLost() override;
    bool popupDone() const override { return state != State::Open; }

private:
    enum class State { Open, Chosen, Cancelled };
    enum class Button { None, Confirm, Cancel };

    CRect listRect() const;
    int32_t rowAt(const CPoint& p) const;
    void apply(FileSelectorModel::Outcome outcome);
    void keepSelectionVisible();

    FileSelectorModel& model;
    std::string title;
    CRect rect;
    State state = State::Open;
    int32_t scrollRow = 0;
    Button pressed = Button::None;
    int32_t lastClickRow = -1;
    uint64_t lastClickMs = 0;
};

// The dialog as the editor uses it.
class CFileSelector {
public:
    explicit CFileSelector(CFrame* frame) : frame(frame) {}

    // UI thread. Shows the dialog over the frame until the person confirms
    // or cancels; true with the chosen path in *path. False when cancelled
    // or when the frame has no window.
    bool run(FileSelectorStyle style, const char* title, const char* initialPath, const char* extension,
             std::string* path);

private:
    CFrame* frame;
};

}  // namespace VSTGUI
