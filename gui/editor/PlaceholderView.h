#pragma once
// Stands in for an element of the layout whose view is not built yet: an
// outlined box in a loud colour with the element's name in it, so a
// missing piece shows in the editor at its place and size.

#include <string>
#include <string_view>

#include "gui/toolkit/CView.h"

class PlaceholderView : public VSTGUI::CView {
public:
    PlaceholderView(const VSTGUI::CRect& size, std::string_view elementName);

    const std::string& getElementName() const { return elementName; }

    void draw(VSTGUI::CDrawContext* context) override;

    const char* getClassName() const override { return "PlaceholderView"; }
    bool isTypeOf(const char* className) const override;

    static constexpr VSTGUI::CColor kOutline{255, 0, 255, 255};

private:
    std::string elementName;
};
