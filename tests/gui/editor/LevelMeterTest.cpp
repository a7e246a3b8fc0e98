// The level meter drawn headless: where a level's column ends under each
// scale, how peaks are held, and the readouts' text.

#include <gtest/gtest.h>

#include <cmath>
#include <algorithm>
#include <cstring>
#include <string>

#include "gui/editor/LevelMeter.h"
#include "gui/toolkit/HeadlessRender.h"

using namespace VSTGUI;

namespace {

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
