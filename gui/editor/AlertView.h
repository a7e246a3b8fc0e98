#pragma once
// A message for the user shown over the whole editor until it is
// dismissed: a dimmed window, a panel with the message's title and lines,
// and an "OK" button. While shown it is the frame's modal view, so nothing
// else takes the mouse; a click on "OK" (or Return or Escape) takes it away.

#include <functional>
#include <string>
#include <vector>

#include "gui/toolkit/CView.h"

class AlertView : public VSTGUI::CView {
public:
    // Covers `frameSize`; `dismissed` runs once the alert is gone.
    AlertView(const VSTGUI::CRect& frameSize, std::string title, std::string text, std::function<void()> dismissed);

    const std::string& getTitle() const { return title; }
    const std::vector<std::string>& getLines() const { return lines; }
    // The panel and its button, in the view's coordinates.
    VSTGUI::CRect panelRect() const;
    VSTGUI::CRect buttonRect() const;

    void draw(VSTGUI::CDrawContext* context) override;
    VSTGUI::CMouseEventResult onMouseDown(VSTGUI::CPoint& where, const int32_t& buttons) override;
    int32_t onKeyDown(uint32_t character, int32_t virtualKey, int32_t modifiers) override;

    const char* getClassName() const override { return "AlertView"; }
    bool isTypeOf(const char* className) const override;

private:
    void dismiss();

    std::string title;
    std::vector<std::string> lines;
    std::function<void()> dismissed;
};
