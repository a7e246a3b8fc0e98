#include "tools/toolkitdemo/DemoPanel.h"

#include <cmath>
#include <cstdio>

#include "gui/toolkit/Animations.h"
#include "gui/toolkit/Buttons.h"
#include "gui/toolkit/CFileSelector.h"
#include "gui/toolkit/CGViewContainer.h"
#include "gui/toolkit/COptionMenu.h"
#include "gui/toolkit/CParamDisplay.h"
#include "gui/toolkit/CTextEdit.h"
#include "gui/toolkit/Knobs.h"
#include "gui/toolkit/Sliders.h"
#include "gui/toolkit/Switches.h"
#include "gui/toolkit/nControl.h"

using namespace VSTGUI;

namespace demo {

namespace {

enum Tag : int32_t {
    kTagGain = 1,
    kTagFrequency,
    kTagWidth,
    kTagBypass,
    kTagKick,
    kTagLevel,
    kTagBalance,
    kTagMode,
    kTagRocker,
    kTagShape,
    kTagName,
    kTagPage,
    kTagStrip,
    kTagSave,
};

constexpr CColor kPanelBack{30, 32, 36, 255};
constexpr CColor kLabelText{170, 176, 186, 255};
constexpr CColor kCurveColour{255, 178, 64, 255};
constexpr CColor kGridColour{58, 62, 70, 255};

}  // namespace

// A bell curve drawn from the gain, frequency and width knobs, for looking
// at anti-aliased lines and the two-buffer control.
class CurveView : public nControl {
public:
    explicit CurveView(const CRect& r) : nControl(r) { setMouseEnabled(false); }
    float gain = 0.5f;
    float frequency = 0.5f;
    float width = 0.3f;

protected:
    void paint(CDrawContext* context) override {
        const CCoord w = getWidth();
        const CCoord h = getHeight();
        context->setFillColor(CColor{22, 24, 28, 255});
        context->fillRect(CRect(0, 0, w, h));
        context->setDrawMode(kAliasing);
        context->setFrameColor(kGridColour);
        for (int i = 1; i < 8; ++i) {
            const CCoord x = std::floor(w * static_cast<CCoord>(i) / 8);
            context->drawLine(CPoint(x, 0), CPoint(x, h));
        }
        for (int i = 1; i < 4; ++i) {
            const CCoord y = std::floor(h * static_cast<CCoord>(i) / 4);
            context->drawLine(CPoint(0, y), CPoint(w, y));
        }
        context->setDrawMode(kAntiAliasing);
        constexpr int kPoints = 160;
        CPoint points[kPoints];
        const double spread = 0.03 + 0.3 * width;
        for (int i = 0; i < kPoints; ++i) {
            const double x = static_cast<double>(i) / (kPoints - 1);
            const double bump = (gain - 0.5) * std::exp(-std::pow((x - frequency) / spread, 2.0));
            points[i] = CPoint(static_cast<CCoord>(x * w), static_cast<CCoord>(h / 2 - bump * h * 0.85));
        }
        context->setFrameColor(kCurveColour);
        context->setLineWidth(2);
        context->drawPolyline(points, kPoints);
        context->setLineWidth(1);
        context->setFrameColor(CColor{255, 255, 255, 80});
        context->drawRect(CRect(0, 0, w, h), kDrawStroked);
    }
};

namespace {

// A film strip of `frames` ring segments, for the strip knob and the movie bitmap.
CDIB* makeRingStrip(int32_t side, int32_t frames) {
    auto* strip = new CDIB(side, side * frames);
    auto* context = new CDrawContext(strip);
    for (int32_t f = 0; f < frames; ++f) {
        const CCoord top = static_cast<CCoord>(f * side);
        const CRect cell(2, top + 2, static_cast<CCoord>(side - 2), top + static_cast<CCoord>(side - 2));
        context->setFillColor(CColor{44, 48, 54, 255});
        context->drawEllipse(cell, kDrawFilled);
        const double amount = static_cast<double>(f) / (frames - 1);
        const double start = 0.75 * M_PI;
        const double end = start + amount * 1.5 * M_PI;
        constexpr int kSteps = 48;
        CPoint arc[kSteps + 1];
        const CCoord cx = static_cast<CCoord>(side) / 2;
        const CCoord cy = top + static_cast<CCoord>(side) / 2;
        const CCoord radius = static_cast<CCoord>(side) / 2 - 5;
        for (int i = 0; i <= kSteps; ++i) {
            const double a = start + (end - start) * i / kSteps;
            arc[i] = CPoint(cx + radius * static_cast<CCoord>(std::cos(a)), cy + radius * static_cast<CCoord>(std::sin(a)));
        }
        context->setFrameColor(CColor{96, 200, 140, 255});
        context->setLineWidth(3);
        if (f > 0) context->drawPolyline(arc, kSteps + 1);
    }
    context->forget();
    return strip;
}

CTextLabel* label(const CRect& r, const char* text) {
    auto* l = new CTextLabel(r, text);
    l->setTransparency(true);
    l->setFontColor(kLabelText);
    l->setStyle(kNoFrame);
    return l;
}

}  // namespace

DemoPanel::DemoPanel(std::function<void(const std::string&)> r)
    : report(std::move(r)), root(new CFrame(CRect(0, 0, kWidth, kHeight), nullptr)),
      meterTimer(40, [this] {
          meterPhase += 0.12;
          meter->setValue(static_cast<float>(0.55 + 0.4 * std::sin(meterPhase)));
          meter->invalid();
      }) {
    root->setBackgroundColor(kPanelBack);
    build();
    meterTimer.start();
}

DemoPanel::~DemoPanel() {
    meterTimer.stop();
    root->forget();
}

template <class View>
View* DemoPanel::place(const char* name, View* view) {
    places.push_back({name, view->getViewSize()});
    root->addView(view);
    return view;
}

void DemoPanel::build() {
    curve = place("curve", new CurveView(CRect(20, 20, 400, 160)));

    root->addView(label(CRect(20, 170, 90, 186), "Gain"));
    auto* gain = place("gain", new CKnob(CRect(25, 188, 85, 248), this, kTagGain));
    gain->setValue(0.7f);
    gain->setDefaultValue(0.5f);
    curve->gain = 0.7f;
    root->addView(label(CRect(100, 170, 170, 186), "Freq"));
    auto* frequency = place("frequency", new CKnob(CRect(105, 188, 165, 248), this, kTagFrequency));
    frequency->setValue(0.5f);
    root->addView(label(CRect(180, 170, 250, 186), "Width"));
    CDIB* ring = makeRingStrip(60, 31);
    auto* width = place("width", new CAnimKnob(CRect(185, 188, 245, 248), this, kTagWidth, ring, 31, 60));
    width->setValue(0.3f);

    readout = place("readout", new CParamDisplay(CRect(25, 256, 85, 274)));
    readout->setValue(0.7f);
    readout->setBackColor(CColor{18, 20, 24, 255});
    readout->setFrameColor(CColor{70, 74, 82, 255});

    place("bypass", new COnOffButton(CRect(270, 190, 330, 212), this, kTagBypass))->setTitle("Bypass");
    place("kick", new CKickButton(CRect(270, 222, 330, 244), this, kTagKick))->setTitle("Kick");
    place("save", new CKickButton(CRect(270, 254, 330, 276), this, kTagSave))->setTitle("Save\xE2\x80\xA6");
    place("rocker", new CRockerSwitch(CRect(340, 188, 362, 248), this, kTagRocker));

    place("level", new CVerticalSlider(CRect(420, 20, 444, 160), this, kTagLevel));
    place("balance", new CHorizontalSlider(CRect(20, 290, 250, 310), this, kTagBalance));
    place("mode", new CVerticalSwitch(CRect(460, 20, 500, 110), this, kTagMode, 4));
    meter = place("meter", new CVuMeter(CRect(520, 20, 540, 160), nullptr, nullptr, 20));
    place("strip", new CMovieBitmap(CRect(555, 20, 615, 80), this, kTagStrip, ring, 31, 60))->setValue(0.6f);
    ring->forget();
    place("digits", new CSpecialDigit(CRect(555, 90, 615, 110), this, 0, 1234, 4));

    auto* shape = place("shape", new COptionMenu(CRect(270, 290, 400, 310), this, kTagShape));
    shape->setStyle(kCheckStyle);
    shape->addEntry("Bell");
    shape->addEntry("Low Shelf");
    shape->addEntry("High Shelf");
    shape->addEntry("-");
    auto* cuts = new COptionMenu(CRect(), this, kTagShape);
    cuts->addEntry("Low Cut");
    cuts->addEntry("High Cut");
    shape->addEntry(cuts, "Cuts");
    cuts->forget();
    shape->addEntry("Notch", -1, CMenuItem::kDisabled);
    shape->setCurrent(0);
    shape->setBackColor(CColor{18, 20, 24, 255});
    shape->setFrameColor(CColor{70, 74, 82, 255});

    auto* name = place("name", new CTextEdit(CRect(420, 290, 600, 310), this, kTagName, "Master Bus"));
    name->setBackColor(CColor{18, 20, 24, 255});
    name->setFrameColor(CColor{70, 74, 82, 255});
    name->setHoriAlign(kLeftText);

    root->addView(label(CRect(20, 330, 620, 350), "Fenwoldrine toolkit demo  \xE2\x80\x94  drag the knobs, open the menu, edit the name"));
    auto* page = place("page", new CHorizontalSwitch(CRect(420, 180, 600, 200), this, kTagPage, 2));
    page->setValue(0);
    const char* pageNames[2] = {"Page one", "Page two"};
    const CColor pageColours[2] = {CColor{40, 44, 52, 255}, CColor{52, 44, 40, 255}};
    for (int i = 0; i < 2; ++i) {
        pages[i] = new CGViewContainer(CRect(420, 210, 600, 280), i != 0);
        pages[i]->setBackgroundColor(pageColours[i]);
        pages[i]->addView(label(CRect(10, 10, 170, 30), pageNames[i]));
        root->addView(pages[i]);
    }
}

void DemoPanel::valueChanged(CControl* control) {
    char line[320];
    const int32_t tag = control->getTag();
    if (control->isTypeOf("COptionMenu")) {
        int32_t index = -1;
        COptionMenu* menu = static_cast<COptionMenu*>(control)->getLastItemMenu(index);
        const CMenuItem* item = menu ? menu->getEntry(index) : nullptr;
        std::snprintf(line, sizeof line, "menu %s", item ? item->getTitle().c_str() : "");
    } else if (control->isTypeOf("CTextEdit")) {
        std::snprintf(line, sizeof line, "text %s", static_cast<CTextEdit*>(control)->getText().c_str());
    } else {
        std::snprintf(line, sizeof line, "value %d %.4f", tag, static_cast<double>(control->getValue()));
    }
    report(line);

    switch (tag) {
        case kTagSave:
            // On the release, so the dialog's own loop does not run inside the press.
            if (control->getValue() == 0.0f) {
                CFileSelector dialog(root);
                std::string path;
                if (dialog.run(FileSelectorStyle::kSave, "Choose destination filename", "~/Desktop/Fenwoldrine bank.fwb",
                               "fwb", &path))
                    report("file " + path);
                else
                    report("file cancelled");
            }
            break;
        case kTagGain:
            curve->gain = control->getValue();
            readout->setValue(control->getValue());
            readout->invalid();
            break;
        case kTagFrequency: curve->frequency = control->getValue(); break;
        case kTagWidth: curve->width = control->getValue(); break;
        case kTagPage: {
            const auto shown = static_cast<int>(std::lround(control->getValue()));
            for (int i = 0; i < 2; ++i) pages[i]->setHidden(i != shown);
            return;
        }
        default: return;
    }
    curve->setDirty();
    curve->invalid();
}

}  // namespace demo
