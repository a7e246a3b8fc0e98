#pragma once
// The meter section: the region at the window's right that shows levels.
// It is built by code from the layout word and the channel count, and
// built again when either changes:
//   - at its right end the master block, large (`masterMeters`, two meters
//     with their readouts, the gain fader, the clip light and the choice of
//     the metering tap) or small (`miniMasterMeters`, two meters, readouts
//     and the gain as text);
//   - from its left edge `groupMeters`, one block per channel: label,
//     level, phase, mute and solo switches, meter and readout, with a link
//     switch between the two blocks of each pair.
// The section's width follows layout::metersWidth, its right edge staying
// where it is; its height is what it is given, and the meters stretch
// with it.
//
// Threads: UI thread.

#include <cstdint>
#include <string>

#include "gui/editor/LayoutBuilder.h"
#include "gui/editor/LevelMeter.h"
#include "gui/editor/Pages.h"
#include "gui/toolkit/CFontDesc.h"
#include "gui/toolkit/CParamDisplay.h"
#include "gui/toolkit/CViewContainer.h"

// What the section is built from.
struct MeterSectionModel {
    uint32_t layoutFlags = 0;   // layout::kChannelMeters, kMasterMeters, kSmallMasterMeters
    int32_t channels = 2;       // 1..8
    std::string channelLabels[8];
    int32_t scale = 0;          // "Scale": 0 FS, 1 K-12, 2 K-14, 3 K-20
    int32_t hold = 0;           // "Meter Peak/Hold": 0 5Sec, 1 Clicked, 2 Off
    bool readoutPeaks = false;  // "Readouts": the held peaks rather than the levels
    bool peakYellow = false;    // "Peak Colour": yellow rather than red
    bool operator==(const MeterSectionModel&) const = default;
};

// The reading of one meter under the meter's own tag: 20 log10 |x| in
// tenths of a decibel, or "-inf", of the louder column's level or held
// peak, read from the meter when drawn. Peaks are written in the peak
// colour. A value given to the tag marks it to be drawn again.
class meterText : public VSTGUI::CControl {
public:
    meterText(const VSTGUI::CRect& size, nVU* meter, bool peaks, bool peakYellow);

    std::string getText() const;
    VSTGUI::CColor getTextColour() const;

    void setValue(float v) override;
    void draw(VSTGUI::CDrawContext* context) override;

    const char* getClassName() const override { return "meterText"; }
    bool isTypeOf(const char* className) const override;

protected:
    ~meterText() override;

private:
    nVU* meter;
    bool peaks;
    bool yellow;
    VSTGUI::CFontDesc* font;
};

// A parameter's value in decibels in a small field: a level row (linear,
// 1 at 0 dB) as its logarithm, a decibel row as it is. Dragging up raises
// it, kDragPixels for the whole range; a double click gives the row's
// default back.
class levelText : public VSTGUI::CParamDisplay {
public:
    static constexpr VSTGUI::CCoord kDragPixels = 200;

    levelText(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener, int32_t parameter);

    std::string getDisplayText() const override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseMoved(VSTGUI::CPoint& where, const int32_t& buttons) override;
    VSTGUI::CMouseEventResult onMouseUp(VSTGUI::CPoint& where, const int32_t& buttons) override;

    const char* getClassName() const override { return "levelText"; }
    bool isTypeOf(const char* className) const override;

private:
    VSTGUI::CCoord grabY = 0;
    float grabValue = 0;
};

// One block of the section: a page over its block image (repeated across
// every blockWidth pixels and down past the image's height), with a well
// drawn behind each meter. When its height changes, views that span its
// `foot` line stretch and views below it move with the bottom edge.
class meterTray : public nPage {
public:
    meterTray(const VSTGUI::CRect& size, int32_t tag, const char* className, int32_t imageId,
              VSTGUI::CCoord blockWidth, VSTGUI::CCoord foot);

    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;
    void drawBackgroundRect(VSTGUI::CDrawContext* context, const VSTGUI::CRect& rect) override;

    const char* getClassName() const override { return name; }
    bool isTypeOf(const char* className) const override;

private:
    const char* name;
    VSTGUI::SharedPointer<VSTGUI::CDIB> block;
    VSTGUI::SharedPointer<VSTGUI::CDIB> well;
    VSTGUI::CCoord blockWidth;
    VSTGUI::CCoord foot;
};

class meterSection : public VSTGUI::CViewContainer {
public:
    static constexpr VSTGUI::CCoord kBlockWidth = 66;    // a channel's block, the small master block
    static constexpr VSTGUI::CCoord kMasterWidth = 133;  // the large master block
    static constexpr VSTGUI::CCoord kTrayTop = 3;        // the top of all blocks but the large one

    meterSection(const VSTGUI::CRect& size, VSTGUI::CControlListener* listener);

    // Drops every view (and the frame's focus, when one of them has it) and
    // builds the blocks the model asks for.
    void rebuild(const MeterSectionModel& model);
    const MeterSectionModel& getModel() const { return model; }

    // The blocks follow: the master block to the right end, all to the height.
    void setViewSize(const VSTGUI::CRect& rect, bool invalidate = true) override;

    const char* getClassName() const override { return "meterSection"; }
    bool isTypeOf(const char* className) const override;

private:
    meterTray* buildChannels(VSTGUI::CCoord height);
    meterTray* buildMaster(VSTGUI::CCoord height);
    meterTray* buildMiniMaster(VSTGUI::CCoord height);
    // A meter and its readout under `tag`, the meter at `place`, the
    // readout in `readout`.
    void addMeter(meterTray* tray, const VSTGUI::CRect& place, const VSTGUI::CRect& readout, int32_t tag);
    void placeTrays();

    VSTGUI::CControlListener* listener;
    MeterSectionModel model;
};

// The layout's maker: an empty section, built once the editor knows its model.
VSTGUI::CView* makeMeterSection(const LayoutElementArgs& args);
