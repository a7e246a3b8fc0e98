// Draws a sheet of text, lines and shapes to PNG files for a person to look
// at; runs only when FW_TOOLKIT_SCREENSHOT_DIR names a directory. Writes
// drawing-sheet.png, a few parts of it enlarged (zoom-*.png) and the save
// dialog over a folder of presets (file-dialog.png).

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "gui/toolkit/CDrawContext.h"
#include "gui/toolkit/CFileSelector.h"

using namespace VSTGUI;

namespace {

void drawTextColumn(CDrawContext& c, float x, float y, const CColor& ink) {
    const char* faces[] = {"OpenSans-Regular", "FUTURAB"};
    const float sizes[] = {8, 9, 10, 11, 12, 14, 18};
    c.setFontColor(ink);
    for (const char* name : faces) {
        for (float size : sizes) {
            auto* font = new CFontDesc(name, size);
            c.setFont(font);
            font->forget();
            char label[160];
            std::snprintf(label, sizeof(label), "%g px Gain -3.5 dB  1.20 kHz  Q 0.71  AVATAR Wavy", size);
            c.drawStringAt(label, CPoint(x, y + size));
            y += size + 7;
        }
        y += 6;
    }
}

}  // namespace

TEST(SampleSheet, WritesPicturesForInspection) {
    const char* dir = std::getenv("FW_TOOLKIT_SCREENSHOT_DIR");
    if (!dir || !*dir) GTEST_SKIP() << "set FW_TOOLKIT_SCREENSHOT_DIR to write the sample sheet";

    auto* sheet = new COffscreenContext(900, 760, CColor{232, 232, 228, 255});
    CDrawContext& c = *sheet;
    c.setFillColor(CColor{30, 33, 38, 255});
    c.fillRect(CRect(0, 0, 450, 400));
    drawTextColumn(c, 8, 6, CColor{225, 228, 232, 255});
    drawTextColumn(c, 458, 6, CColor{25, 25, 28, 255});

    // Aligned labels in boxes.
    c.setFrameColor(CColor{160, 160, 160, 255});
    c.setFont(kNormalFont);
    c.setFontColor(kBlackCColor);
    const CHoriTxtAlign aligns[] = {kLeftText, kCenterText, kRightText};
    for (int i = 0; i < 3; ++i) {
        const CRect box = CRect::fromSize(10 + 150.0f * i, 410, 140, 20);
        c.drawRect(box);
        c.drawString("Low Shelf", box, aligns[i]);
    }
    c.setFont(kSystemFont);
    const CRect box = CRect::fromSize(460, 410, 140, 20);
    c.drawRect(box);
    c.drawString("BAND 3", box);

    // A fan of lines at several widths, dark on light.
    c.setFrameColor(CColor{20, 20, 20, 255});
    const float widths[] = {1, 1.5f, 2, 3};
    for (int wi = 0; wi < 4; ++wi) {
        c.setLineWidth(widths[wi]);
        const CPoint centre(20 + 110.0f * wi, 540);
        for (int k = 0; k <= 8; ++k) {
            const float a = -static_cast<float>(k) * 3.14159265f / 16;
            c.drawLine(centre, CPoint(centre.x + 95 * std::cos(a), centre.y + 95 * std::sin(a)));
        }
    }
    // A translucent curve of many short segments, and a dashed one.
    CPoint curve[200];
    for (int i = 0; i < 200; ++i)
        curve[i] = CPoint(470 + 2.0f * i, 500 - 40 * std::sin(i * 0.05f) * std::exp(-i * 0.006f));
    c.setLineWidth(3);
    c.setFrameColor(CColor{0, 110, 220, 140});
    c.drawPolyline(curve, 200);
    for (auto& p : curve) p.y += 30;
    c.setLineWidth(1);
    c.setLineStyle(kLineOnOffDash);
    c.setFrameColor(CColor{200, 40, 40, 255});
    c.drawPolyline(curve, 200);
    c.setLineStyle(kLineSolid);

    // Shapes: a star (non-zero fill), ellipses, a framed rectangle.
    CPoint star[5];
    for (int i = 0; i < 5; ++i) {
        const float a = -1.5708f + i * 2 * 2 * 3.14159265f / 5;
        star[i] = CPoint(70 + 50 * std::cos(a), 650 + 50 * std::sin(a));
    }
    c.setFillColor(CColor{240, 170, 30, 255});
    c.setFrameColor(CColor{90, 50, 0, 255});
    c.setLineWidth(1);
    c.drawPolygon(star, 5, kDrawFilledAndStroked);
    c.setFillColor(CColor{40, 150, 90, 255});
    c.drawEllipse(CRect(140, 600, 240, 700), kDrawFilled);
    c.setLineWidth(2);
    c.drawEllipse(CRect(250, 600, 380, 700), kDrawStroked);
    c.setLineWidth(1);
    c.drawEllipse(CRect(260, 620, 290, 640), kDrawStroked);
    c.setLineStyle(kLineOnOffDash);
    c.drawEllipse(CRect(300, 620, 370, 690), kDrawStroked);
    c.drawRect(CRect(390, 600, 450, 700));
    c.setLineStyle(kLineSolid);

    // An alpha blit of a gradient bitmap over stripes.
    for (int i = 0; i < 10; ++i) {
        c.setFillColor(i % 2 ? kBlackCColor : kWhiteCColor);
        c.fillRect(CRect::fromSize(470 + 40.0f * i, 600, 40, 120));
    }
    auto* gradient = new CDIB(360, 80);
    for (int y = 0; y < 80; ++y)
        for (int x = 0; x < 360; ++x)
            gradient->setPixel(x, y, CColor{static_cast<uint8_t>(x * 255 / 359), 60, static_cast<uint8_t>(255 - x * 255 / 359),
                                            static_cast<uint8_t>(y * 255 / 79)});
    gradient->alphaDraw(&c, CRect::fromSize(490, 620, 360, 80), CPoint(), 220);
    gradient->forget();

    std::string error;
    std::string path(dir);
    path.append("/drawing-sheet.png");
    EXPECT_TRUE(sheet->getBitmap()->writePNG(path.c_str(), &error)) << error;

    // Parts of the sheet enlarged with whole pixels, to judge glyphs.
    CDIB* src = sheet->getBitmap();
    const auto zoomCrop = [&](const char* name, int x0, int y0, int factor = 6) {
        auto* zoom = new CDIB(900, 600);
        for (int y = 0; y < 600; ++y)
            for (int x = 0; x < 900; ++x) zoom->setPixel(x, y, src->getPixel(x0 + x / factor, y0 + y / factor));
        std::string zoomPath(dir);
        zoomPath.append("/").append(name);
        EXPECT_TRUE(zoom->writePNG(zoomPath.c_str(), &error)) << error;
        zoom->forget();
    };
    zoomCrop("zoom-text-dark.png", 0, 16);
    zoomCrop("zoom-text-light.png", 450, 16);
    zoomCrop("zoom-display-dark.png", 0, 152);
    zoomCrop("zoom-display-light.png", 450, 152);
    zoomCrop("zoom-lines.png", 0, 440);
    zoomCrop("zoom-shapes.png", 20, 595);
    zoomCrop("zoom-curve.png", 470, 455);
    zoomCrop("zoom-11px-dark.png", 20, 52, 12);
    zoomCrop("zoom-11px-light.png", 470, 52, 12);
    sheet->forget();

    // The save dialog over a folder of presets, one of them selected and a
    // replacement waiting for its second confirmation.
    const std::filesystem::path folder = std::filesystem::path(std::getenv("HOME")) / "Presets";
    std::filesystem::create_directories(folder / "Factory");
    std::filesystem::create_directories(folder / "Mastering");
    for (const char* name : {"Air shelf.fwb", "Bass trim.fwb", "De-harsh.fwb", "Vocal presence.fwb", "notes.txt"})
        std::ofstream(folder / name) << "x";
    FileSelectorModel model(FileSelectorStyle::kSave, folder.string(), "fwb");
    model.select(4);
    model.confirm();
    FileSelectorPopup dialog(model, "Choose destination filename", CRect(0, 0, FileSelectorPopup::kWidth,
                                                                         FileSelectorPopup::kHeight));
    auto* picture = new COffscreenContext(int32_t(FileSelectorPopup::kWidth), int32_t(FileSelectorPopup::kHeight),
                                          kBlackCColor);
    dialog.drawPopupWindow(0, picture);
    std::string dialogPath(dir);
    dialogPath.append("/file-dialog.png");
    EXPECT_TRUE(picture->getBitmap()->writePNG(dialogPath.c_str(), &error)) << error;
    picture->forget();
}
