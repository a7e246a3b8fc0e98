// The level meter drawn headless (where a level's column ends under each
// scale, how peaks are held, the readouts' text) and the meter section
// built from its model: which blocks stand where for each layout word,
// what the readouts and level fields say, rebuilding, and the meters as
// drawn.

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "core/ParamTable.h"
#include "gui/editor/ControlRegistry.h"
#include "gui/editor/LevelMeter.h"
#include "gui/editor/LookPalette.h"
#include "gui/editor/MeterSection.h"
#include "gui/editor/StaticViews.h"
#include "gui/toolkit/HeadlessRender.h"
#include "session/EditorGeometry.h"
#include "session/EditorTags.h"

using namespace VSTGUI;
using namespace layout;

namespace {

// A section whose right edge stands at x = 700, its controls collected as
// the editor collects them.
struct Section {
    Section(uint32_t flags, int32_t channels, CCoord height = 400)
        : view(new meterSection(CRect(0, 0, 700, height), nullptr)) {
        build(flags, channels);
    }
    ~Section() { view->forget(); }
    void build(uint32_t flags, int32_t channels) {
        model.layoutFlags = flags;
        model.channels = channels;
        view->rebuild(model);
        registry.collect(view);
    }
    std::vector<CControl*> all(const char* className) const {
        std::vector<CControl*> out;
        for (int32_t i = 0; i < registry.controlCount(); ++i)
            if (registry.controlByIndex(i)->isTypeOf(className)) out.push_back(registry.controlByIndex(i));
        return out;
    }
    template <class View>
    View* tagged(const char* className, int32_t tag) const {
        for (CControl* c : all(className))
            if (c->getTag() == tag) return static_cast<View*>(c);
        return nullptr;
    }
    CViewContainer* tray(const char* className) const {
        for (int32_t i = 0; i < view->getNbViews(); ++i)
            if (view->getView(i)->isTypeOf(className)) return static_cast<CViewContainer*>(view->getView(i));
        return nullptr;
    }
    CRect place(const char* className) const { return tray(className) ? tray(className)->getViewSize() : CRect(); }

    MeterSectionModel model;
    meterSection* view;
    ControlRegistry registry;
};

struct Meter {
    nVU* view = new nVU(CRect(0, 0, 40, 200), nullptr, 0);
    double seconds = 10.0;
    Meter() { view->setClock([this] { return seconds; }); }
    ~Meter() { view->forget(); }
    // The left column's pixel at a row, from a picture of the meter.
    CColor left(int32_t row) const {
        CDIB* picture = renderView(view);
        const CColor c = picture->getPixel(3, row);
        picture->forget();
        return c;
    }
    static bool lit(const CColor& c) { return std::max({c.red, c.green, c.blue}) > 0x60; }
};

}  // namespace

TEST(MeterSection, BlocksFollowTheLayoutWordAndChannelCount) {
    const struct Row {
        uint32_t flags;
        int32_t channels;
        CCoord width;
        CRect group, master, mini;
    } rows[] = {
        {kChannelMeters, 2, 132, {0, 3, 131, 400}, {}, {}},
        {kMasterMeters, 2, 130, {}, {-3, 0, 130, 400}, {}},
        {kMasterMeters | kSmallMasterMeters, 2, 66, {}, {}, {0, 3, 66, 400}},
        {kChannelMeters | kMasterMeters, 8, 658, {0, 3, 527, 400}, {525, 0, 658, 400}, {}},
        {kChannelMeters | kMasterMeters | kSmallMasterMeters, 3, 264, {0, 3, 197, 400}, {}, {198, 3, 264, 400}},
    };
    for (const Row& row : rows) {
        Section s(row.flags, row.channels);
        SCOPED_TRACE(testing::Message() << "flags " << row.flags << ", " << row.channels << " channels");
        EXPECT_EQ(s.view->getViewSize(), CRect(700 - row.width, 0, 700, 400));
        EXPECT_EQ(s.place("groupMeters"), row.group);
        EXPECT_EQ(s.place("masterMeters"), row.master);
        EXPECT_EQ(s.place("miniMasterMeters"), row.mini);
        const bool master = (row.flags & kMasterMeters) != 0;
        const auto texts = s.all("nTextDisplay");
        EXPECT_EQ(std::any_of(texts.begin(), texts.end(),
                              [](CControl* c) { return static_cast<nTextDisplay*>(c)->getText() == "GAIN"; }),
                  master);
        EXPECT_EQ(s.registry.findTag(kGain) >= 0, master);
        EXPECT_EQ(s.registry.findTag(kGUIMasterMeter2) >= 0, master);
        const int32_t blocks = (row.flags & kChannelMeters) ? row.channels : 0;
        for (int32_t c = 0; c < 8; ++c) {
            EXPECT_EQ(s.tagged<meterText>("meterText", kGUIChannel1Meter + c) != nullptr, c < blocks) << c;
            for (const int32_t tag : {kGUIChannel1Meter + c, channelParam(c, kFieldLevel), channelParam(c, kFieldMute),
                                      channelParam(c, kFieldChannelPhase), channelParam(c, kFieldSolo)})
                EXPECT_EQ(s.registry.findTag(tag) >= 0, c < blocks) << tag;
        }
        for (int32_t pair = 0; pair < 4; ++pair)
            EXPECT_EQ(s.registry.findTag(kGUIChannel12Link + pair) >= 0, 2 * pair + 1 < blocks) << pair;
        // The master block, on top, leaves every view of the channels' blocks free.
        if (CViewContainer* group = s.tray("groupMeters"); group && master) {
            for (int32_t i = 0; i < group->getNbViews(); ++i)
                EXPECT_LE(group->getView(i)->getViewSize().right, std::max(row.master.left, row.mini.left));
        }
    }
}

TEST(MeterSection, ReadoutsShowTheLevelOrTheHeldPeak) {
    const struct Row {
        bool peaks, yellow;
        float first, then;
        const char* text;
        CColor colour;
    } rows[] = {
        {false, false, 4.0f, 0.5f, "-6.0", look::kValue},
        {true, false, 4.0f, 0.5f, "12.0", {0xff, 0, 0, 0xff}},
        {true, true, 1.0f, 0.0f, "0.0", {0xff, 0xff, 0, 0xff}},
        {false, true, 1.0f, 0.0f, "-inf", look::kValue},
    };
    for (const Row& row : rows) {
        Section s(kChannelMeters | kMasterMeters, 2);
        s.model.readoutPeaks = row.peaks;
        s.model.peakYellow = row.yellow;
        s.model.hold = nVU::kHoldUntilClicked;
        s.build(kChannelMeters | kMasterMeters, 2);
        for (const int32_t tag : {int32_t(kGUIMasterMeter2), kGUIChannel1Meter + 1}) {
            s.registry.setValueOfTag(tag, row.first);
            s.registry.setValueOfTag(tag, row.then);
            const auto* text = s.tagged<meterText>("meterText", tag);
            ASSERT_NE(text, nullptr);
            EXPECT_EQ(text->getText(), row.text) << tag << " peaks " << row.peaks;
            EXPECT_EQ(text->getTextColour(), row.colour) << tag;
        }
    }
}

TEST(MeterSection, LevelFieldsShowDecibelsAndFollowADrag) {
    Section s(kChannelMeters | kMasterMeters, 2);
    auto* level = s.tagged<levelText>("levelText", channelParam(1, kFieldLevel));
    auto* gain = s.tagged<levelText>("levelText", kGain);
    ASSERT_TRUE(level && gain);
    const struct {
        levelText* view;
        float value;
        const char* text;
    } rows[] = {{level, 0.5f, "0.0"}, {level, 1.0f, "18.1"}, {level, 0.0f, "-inf"}, {gain, 0.75f, "18.0"}};
    for (const auto& row : rows) {
        row.view->setValue(row.value);
        EXPECT_EQ(row.view->getDisplayText(), row.text) << row.value;
    }
    gain->setValue(0.5f);
    CPoint at(0, 100);
    gain->onMouseDown(at, kLButton);
    at.y -= levelText::kDragPixels / 10;
    gain->onMouseMoved(at, kLButton);
    gain->onMouseUp(at, kLButton);
    EXPECT_FLOAT_EQ(gain->getValue(), 0.6f);
}

TEST(MeterSection, RebuildingLeavesOnlyTheNewBlocks) {
    Section s(kChannelMeters | kMasterMeters, 2);
    for (const int32_t n : {8, 2}) {
        s.build(kChannelMeters | kMasterMeters, n);
        EXPECT_EQ(s.view->getNbViews(), 2);
        EXPECT_EQ(s.all("nVU").size(), size_t(n + 2));
        EXPECT_EQ(s.all("meterText").size(), size_t(n + 2));
        EXPECT_EQ(s.all("levelText").size(), size_t(n + 1));
        EXPECT_EQ(s.view->getViewSize().left, 700 - metersWidth(kChannelMeters | kMasterMeters, n));
    }
}

TEST(MeterSection, MetersStretchWithTheSectionAndLightToTheirLevel) {
    Section s(kChannelMeters | kMasterMeters, 2, 300);
    s.view->setViewSize(CRect(300, 0, 700, 400));
    const CRect tray = s.place("groupMeters");
    EXPECT_EQ(tray, CRect(0, 3, 131, 400));
    EXPECT_EQ(s.place("masterMeters"), CRect(267, 0, 400, 400));
    auto* full = s.tagged<nVU>("nVU", kGUIChannel1Meter);
    auto* empty = s.tagged<nVU>("nVU", kGUIChannel1Meter + 1);
    // 100 rows longer, as far from the bottom as before; the readout below.
    EXPECT_EQ(full->getViewSize().bottom, 397 - 23);
    EXPECT_EQ(s.tagged<meterText>("meterText", kGUIChannel1Meter)->getViewSize().top, 397 - 20);
    s.registry.setValueOfTag(kGUIChannel1Meter, 8.0f);
    s.registry.setValueOfTag(kGUIChannel1Meter + 1, 0.0f);
    CDIB* picture = renderView(s.view);
    auto lit = [&](nVU* v, bool top) {
        const CRect m = v->getViewSize();
        const CCoord row = top ? m.top + 4 : m.bottom - 5;
        const CColor c = picture->getPixel(int32_t(tray.left + m.left + 3), int32_t(tray.top + row));
        return std::max({c.red, c.green, c.blue}) > 0x60;
    };
    EXPECT_TRUE(lit(full, true));
    EXPECT_TRUE(lit(full, false));
    EXPECT_FALSE(lit(empty, true));
    EXPECT_FALSE(lit(empty, false));
    picture->forget();
}

TEST(LevelMeter, AColumnEndsAtItsLevelsRowUnderEveryScale) {
    // The full scale reaches row 3, nothing is empty, and 0 dB sits where
    // the scale's exponent puts 1/8 of the top.
    for (int32_t scale = 0; scale < 4; ++scale) {
        for (const double v : {8.0, 1.0, 0.1}) {
            Meter m;
            m.view->setScale(scale);
            m.view->setHoldMode(nVU::kHoldOff);
            m.view->setLevels(v, v);
            const double row = m.view->rowOf(v);
            if (v == 8.0) {
                EXPECT_EQ(row, 3.0);
            }
            EXPECT_TRUE(Meter::lit(m.left(int32_t(std::ceil(row)) + 1))) << scale << " " << v;
            EXPECT_FALSE(Meter::lit(m.left(int32_t(std::floor(row)) - 2))) << scale << " " << v;
        }
    }
    Meter empty;
    empty.view->setLevels(0.0, 0.0);
    EXPECT_EQ(empty.view->rowOf(0.0), 200.0);
    EXPECT_FALSE(Meter::lit(empty.left(190)));
    // The K scales write their offset into the marks: the faces differ.
    Meter fs, k20;
    k20.view->setScale(3);
    EXPECT_EQ(k20.view->getScaleOffset(), 20);
    EXPECT_NE(std::memcmp(fs.view->darkFace()->pixels(), k20.view->darkFace()->pixels(), 40 * 200 * 4), 0);
    // With no room between the columns there are no marks to differ.
    nVU* narrow[2] = {new nVU(CRect(0, 0, 30, 200), nullptr, 0), new nVU(CRect(0, 0, 30, 200), nullptr, 0)};
    narrow[1]->setScale(3);
    EXPECT_EQ(std::memcmp(narrow[0]->darkFace()->pixels(), narrow[1]->darkFace()->pixels(), 30 * 200 * 4), 0);
    for (nVU* v : narrow) v->forget();
}

TEST(LevelMeter, PeaksHoldFiveSecondsOrUntilClicked) {
    struct Row {
        int32_t mode;
        double after;   // seconds later, at a low level
        bool click;
        double held;
    } rows[] = {{nVU::kHoldFiveSeconds, 4.0, false, 4.0}, {nVU::kHoldFiveSeconds, 6.0, false, 0.5},
                {nVU::kHoldUntilClicked, 60.0, false, 4.0}, {nVU::kHoldUntilClicked, 1.0, true, 0.5}};
    for (const Row& row : rows) {
        Meter m;
        m.view->setHoldMode(row.mode);
        m.view->setLevels(4.0, 4.0);
        m.seconds += row.after;
        if (row.click) {
            m.view->setLevels(0.5, 0.5);
            CPoint at(5, 5);
            m.view->onMouseDown(at, kLButton);
        }
        m.view->setLevels(0.5, 0.5);
        EXPECT_EQ(m.view->getHeld(0), row.held) << row.mode << " after " << row.after;
    }
}

TEST(LevelMeter, ReadoutsAreTenthsOfADecibelOrMinusInfinity) {
    const struct {
        double v;
        const char* text;
    } rows[] = {{1.0, "0.0"}, {0.5, "-6.0"}, {2.0, "6.0"}, {-0.5, "-6.0"}, {1e-7, "-inf"}, {0.0, "-inf"}};
    for (const auto& row : rows) {
        char text[16];
        nVU::readoutText(row.v, text, sizeof text);
        EXPECT_EQ(std::string(text), row.text) << row.v;
    }
}
