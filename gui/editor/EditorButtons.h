#pragma once
// The editor's filmstrip buttons. Their strips stack the frames from the
// top, each heightOfOneImage high:
//   nKickButton2    0 normal, 1 pressed (also while its action is busy),
//                   2 disabled;
//   CMovieButton3   0 off, 1 on, with the host's highlight outline;
//   CMovieButton4   as CMovieButton3, with frame 2 for a third state the
//                   editor sets.

#include <cstdint>

#include "gui/toolkit/Buttons.h"
#include "gui/toolkit/ControlMixins.h"

// Sets how a control's strip divides into frames: by the frame height when
// given (with the count when given too), else as the control decides.
void setStripFrames(VSTGUI::IMultiBitmapControl& control, VSTGUI::CCoord heightOfOneImage, int32_t count = 0);

// A momentary button for actions that may take a while (loading a preset)
// or may not be possible (undo with nothing to undo). While busy it shows
// itself pressed; while disabled it shows the disabled frame and ignores
// the mouse.
class nKickButton2 : public VSTGUI::CKickButton {
public:
    enum Frame : int32_t { kNormal = 0, kPressed = 1, kDisabled = 2 };

    nKickButton2(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, VSTGUI::CBitmap* strip,
                 VSTGUI::CCoord heightOfOneImage);

    void setBusy(bool state);
    bool isBusy() const { return busy; }
    void setDisabled(bool state);
    bool isDisabled() const { return disabled; }
    // The frame the button shows now.
    int32_t frameShown() const;

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "nKickButton2"; }
    bool isTypeOf(const char* className) const override;

private:
    bool busy = false;
    bool disabled = false;
};

// A two-state toggle that carries the host's highlight around it.
class CMovieButton3 : public VSTGUI::CMovieButton, public VSTGUI::CHighlightControl {
public:
    CMovieButton3(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t tag, VSTGUI::CBitmap* strip,
                  VSTGUI::CCoord heightOfOneImage);

    // The frame the button shows now.
    virtual int32_t frameShown() const { return showsOn() ? 1 : 0; }

    void draw(VSTGUI::CDrawContext* context) override;

    const char* getClassName() const override { return "CMovieButton3"; }
    bool isTypeOf(const char* className) const override;
};

// A toggle with a third state of the editor's: while it is set the button
// shows frame 2 whatever its value.
class CMovieButton4 : public CMovieButton3 {
public:
    using CMovieButton3::CMovieButton3;

    void setThirdState(bool state);
    bool isThirdState() const { return third; }
    int32_t frameShown() const override { return third ? 2 : CMovieButton3::frameShown(); }

    const char* getClassName() const override { return "CMovieButton4"; }
    bool isTypeOf(const char* className) const override;

private:
    bool third = false;
};
