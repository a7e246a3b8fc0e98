#pragma once
// One function per image of the catalogue, grouped by where the image
// shows. Each draws into a canvas of the catalogue's size, every frame.

#include "tools/artgen/Paint.h"

namespace art {

// Chrome.cpp: the header, the panels and trays.
void headerBar(Canvas& c);        // 900
void logo(Canvas& c);             // 901
void headerShadow(Canvas& c);     // 213
void meterFade(Canvas& c);        // 807
void wizardPanel(Canvas& c);      // 903
void setupPanel(Canvas& c);       // 210
void setupListHeading(Canvas& c); // 215
void presetBox(Canvas& c);        // 211
void scaleTray(Canvas& c);        // 220
void sliderHandle(Canvas& c);     // 400

// Buttons.cpp: buttons, toggles and menu faces.
void trayHandle(Canvas& c);       // 221
void includeEQ(Canvas& c);        // 231
void includeDSP(Canvas& c);       // 230
void includeUI(Canvas& c);        // 232
void presetBankSwitch(Canvas& c); // 233
void loadButton(Canvas& c);       // 502
void saveButton(Canvas& c);       // 501
void undoButton(Canvas& c);       // 504
void redoButton(Canvas& c);       // 503
void previousPreset(Canvas& c);   // 505
void nextPreset(Canvas& c);       // 507
void presetMenuFace(Canvas& c);   // 506
void analyserButton(Canvas& c);   // 800
void clipLight(Canvas& c);        // 801
void slotMenuFace(Canvas& c);     // 802
void copyButton(Canvas& c);       // 803
void bypassButton(Canvas& c);     // 804
void groupMenuFace(Canvas& c);    // 806
void setupButton(Canvas& c);      // 808
void presetsButton(Canvas& c);    // 810
void fullScreenButton(Canvas& c); // 811

// Strips.cpp: the band strips and what sits on them.
void stripTop(Canvas& c);         // 602
void stripBody(Canvas& c);        // 601
void stripBottom(Canvas& c);      // 600
void textStripBody(Canvas& c);    // 212
void valueField(Canvas& c);       // 604
void knobRing(Canvas& c);         // 603
void knobFilm(Canvas& c);         // 700
void bandTypeButton(Canvas& c);   // 401
void bandTypeGlyphs(Canvas& c);   // 402

// Meters.cpp: the meter section.
void meterBlock(Canvas& c);       // 605
void masterBlock(Canvas& c);      // 606
void meterWell(Canvas& c);        // 608
void faderHandle(Canvas& c);      // 607
void phaseToggle(Canvas& c);      // 610
void muteToggle(Canvas& c);       // 611
void soloToggle(Canvas& c);       // 612
void linkToggle(Canvas& c);       // 614

// Glyphs.cpp: the pixel fonts of values and labels.
void smallGlyphs(Canvas& c);      // 101
void largeGlyphs(Canvas& c);      // 102

}  // namespace art
