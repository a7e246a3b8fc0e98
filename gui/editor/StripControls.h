#pragma once
// The controls of a band strip: the band type button, the menus of the
// subtype and the groups, the knob and the value text. Each reports the
// normalised value of the parameter row under its tag, a gesture inside
// beginEdit/endEdit so that it is one undo step and one host gesture.
//
// Threads: UI thread.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CDIB.h"
#include "gui/toolkit/CFontDesc.h"
#include "gui/toolkit/ControlMixins.h"

// A band's colour made quieter for its strip: each channel drawn 70% of the
// way towards the mean, the whole raised by 5%; black stays black.
VSTGUI::CColor dimmedColour(const VSTGUI::CColor& colour);

// A field's picture: its ground (a cut of `background` from `offset`, or a
// dark well of its own) and a centred text in the large glyphs, cut at the
// end to fit. Composed again only when the text, its colour or the size
// change, so a field that stays the same costs a copy per frame.
class FieldFace {
public:
    FieldFace(VSTGUI::CDIB* background, const VSTGUI::CPoint& offset);
    ~FieldFace();
    FieldFace(const FieldFace&) = delete;
    FieldFace& operator=(const FieldFace&) = delete;
    void draw(VSTGUI::CDrawContext* context, const VSTGUI::CRect& where, std::string_view text,
              const VSTGUI::CColor& colour);

private:
    VSTGUI::CDIB* background;
    VSTGUI::CPoint offset;
    VSTGUI::CDIB* face = nullptr;
    std::string text;
    VSTGUI::CColor colour;
};

// What a strip's value control needs besides its tag: the text of a value,
// the value typed text asks for, and the row's stepping.
struct StripValueRow {
    // The text shown for a normalised value ("1.50 kHz"); `musical` asks a
    // frequency as a note name.
    std::function<std::string(int32_t tag, float norm, bool musical)> format;
    // The normalised value typed text sets; the default for text that asks
    // for it; nothing when the text is refused.
    std::function<std::optional<float>(int32_t tag, std::string_view text, bool noteMode)> read;
    int32_t steps = 0;          // 0 for a continuous row, else the number of steps
    int32_t band = -1;          // the band, sent with AutoListen
    int32_t listenTag = -1;     // the tag AutoListen is asked under; -1 none
    bool frequency = false;     // a frequency row: note names on offer
    // Switches the row's lock (Ctrl with the right button).
    std::function<void(int32_t tag)> toggleLock;
};

// Behaviour shared by the knob and the value text: stepping, the default,
// the lock and the tint, vertical drags and the wheel.
class StripValueControl : public VSTGUI::CControl, public VSTGUI::nLockable, public VSTGUI::nTintable {
public:
    StripValueControl(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, StripValueRow row);

    const StripValueRow& row() const { return valueRow; }
    // Gives the control what it needs of its row after it was built (a
    // field of the layout learns it from the editor).
    virtual void setRow(StripValueRow row);
    // The value rounded to the row's steps.
    float steppedValue(float v) const;
    // Dimmed: the band's type does not use the row.
    void setUnused(bool state) {
        unused = state;
        setDirty();
        invalid();
    }
    bool isUnused() const { return unused; }
    bool isDragging() const { return dragging; }

    void setValue(float v) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const int32_t& buttons) override;
    bool onWheel(const VSTGUI::CPoint& where, const float& distance, const int32_t& buttons) override;
    const char* getClassName() const override { return "StripValueControl"; }
    bool isTypeOf(const char* className) const override;

protected:
    // Ctrl with the right button switches the lock: true when it was that.
    bool lockGesture(int32_t buttons);
    // A left press that makes a double click, marked so or by its timing.
    bool doubleClicked(int32_t buttons);
    // One whole gesture setting the value (default, typed text, a step).
    void commit(float v);
    // Starts a vertical drag: `range` pixels for the whole travel, `fine`
    // the fraction of that speed; with `listen` AutoListen is asked for.
    void startDrag(const VSTGUI::CPoint& where, double range, double fine, bool listen);
    void sendListen(float band);
    double wheelFactor(int32_t buttons) const;

    StripValueRow valueRow;
    bool unused = false;
    bool dragging = false;
    bool listening = false;
    double dragRange = 200;
    double dragFine = 1;
    double lastY = 0;
    double pixels = 0;  // collected by a stepped drag
    float exactValue = 0;
    uint64_t lastPress = 0;  // milliseconds of the last left press
};

// The band's knob: a film of one 30-pixel frame a degree, the value turning
// it through 270 degrees about straight up.
class CEQKnob : public StripValueControl {
public:
    static constexpr double kDragRange = 200;
    CEQKnob(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, StripValueRow row);

    // The frame shown for a value: (value - 0.5) x 270 degrees, below zero
    // plus 360.
    static int32_t frameOf(float value);

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    const char* getClassName() const override { return "CEQKnob"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CEQKnob() override;

private:
    VSTGUI::CDIB* film = nullptr;
};

// A band's value as text in a small field; a double click types a value
// ("1k5", "a4"), a vertical drag moves it 400 pixels for the range.
class CEQText : public StripValueControl {
public:
    static constexpr double kDragRange = 400;
    // `background` is drawn under the text, from `backgroundOffset` of it.
    CEQText(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, StripValueRow row,
            VSTGUI::CDIB* background, const VSTGUI::CPoint& backgroundOffset = VSTGUI::CPoint());

    bool isNoteMode() const { return noteMode; }
    // The text as shown: the value's text, cut at the end to fit the field.
    const std::string& shownText() const { return shown; }
    // Applies typed text as the field's value: one gesture, or nothing when
    // the text is refused. True when a value was set.
    bool enterText(std::string_view text);

    void setRow(StripValueRow row) override;
    void setValue(float v) override;
    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    const char* getClassName() const override { return "CEQText"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CEQText() override;

private:
    void refreshText();
    void openEntry();

    FieldFace face;
    std::string shown;
    bool noteMode = false;
};

// A strip's menu: a field showing the chosen entry's name; a click opens the
// list, and the chosen entry's value (normalised) becomes the control's.
class nPFMenu : public VSTGUI::CControl, public VSTGUI::nLockable {
public:
    struct Entry {
        std::string name;
        float value;  // normalised
    };
    nPFMenu(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, std::vector<Entry> entries,
            VSTGUI::CDIB* background, const VSTGUI::CPoint& backgroundOffset = VSTGUI::CPoint());

    const std::vector<Entry>& entries() const { return list; }
    // The entry the value stands for; -1 for none.
    int32_t chosen() const;
    void setValue(float v) override;
    // The text shown: the entry's name, or `otherText` when none matches.
    std::string shownText() const;
    void setOtherText(std::string text) {
        otherText = std::move(text);
        setDirty();
        invalid();
    }
    // Sets the value of entry `index`: one gesture.
    void choose(int32_t index);

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    const char* getClassName() const override { return "nPFMenu"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~nPFMenu() override;

private:
    std::vector<Entry> list;
    std::string otherText = "-";
    FieldFace face;
};

// The band's type: its glyph over a button in the band's colour. A click
// switches the band on or off (its State row); a right or Ctrl click opens
// the list of types, with the subtypes under each when `subtypeMenu`.
class CTypeButton : public VSTGUI::CControl, public VSTGUI::nLockable {
public:
    static constexpr const char* kTypeNames[6] = {"Peak", "HPF", "Low Shelf", "High Shelf", "LPF", "Notch"};

    // Tags: the band's Type row (its own), State and Subtype.
    CTypeButton(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t typeTag, int32_t stateTag,
                int32_t subtypeTag, const VSTGUI::CColor& colour, bool subtypeMenu);

    void setBandOn(bool on);
    bool isBandOn() const { return bandOn; }
    void setColour(const VSTGUI::CColor& colour);
    const VSTGUI::CColor& getColour() const { return colour; }
    int32_t stateTag() const { return stateRow; }
    int32_t subtypeTag() const { return subtypeRow; }
    // The type (1 to 6) the value stands for.
    int32_t type() const;
    // Sets type `type` (1 to 6) and, when given, its subtype (1 up): one gesture.
    void chooseType(int32_t type, int32_t subtype = 0);
    // Switches the band between on and bypassed: one gesture on State.
    void toggleState();
    // The row of the glyph strip that shows a value.
    static int32_t glyphRow(float value);
    // Brackets a choice of type and subtype as one undo step.
    void setUndoGroup(std::function<void(bool begin)> group) { undoGroup = std::move(group); }

    void setValue(float v) override;
    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    const char* getClassName() const override { return "CTypeButton"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~CTypeButton() override;

private:
    void openMenu();
    void paintFace();

    int32_t stateRow;
    int32_t subtypeRow;
    VSTGUI::CColor colour;
    bool subtypeMenu;
    bool bandOn = true;
    VSTGUI::CDIB* face = nullptr;  // body and glyph, tinted
    bool faceStale = true;
    std::function<void(bool)> undoGroup;
};

// A name in a field: a double click types a new one, which the listener
// reads with getText() under the field's tag.
class nNameField : public VSTGUI::CControl {
public:
    static constexpr size_t kMaxLength = 63;
    nNameField(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag);

    void setText(std::string_view text);
    const std::string& getText() const { return text; }
    // Takes typed text as the name (cut to kMaxLength bytes): one edit.
    void enterText(std::string_view typed);

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    const char* getClassName() const override { return "nNameField"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~nNameField() override;

private:
    std::string text;
    VSTGUI::CFontDesc* font;
};

struct LayoutElementArgs;
// The layout's value fields: a parameter's value as text, or (without
// processing of the text) a name field.
VSTGUI::CView* makeValueText(const LayoutElementArgs& args);
