#pragma once
// Stands in for an element of the layout whose view is not built yet: an
// outlined box in a loud colour with the element's name in it, so a
// missing piece shows in the editor at its place and size. It keeps the
// element's tag and takes values given to it, so calls by tag find it as
// they will find the view to come; it takes no mouse.

#include <string>
#include <string_view>

#include "gui/toolkit/CControl.h"

class PlaceholderView : public VSTGUI::CControl {
public:
    // `standsFor` says in a few words what will be built here; it is shown
    // under the name when there is room.
    PlaceholderView(const VSTGUI::CRect& size, std::string_view elementName, std::string_view standsFor = {},
                    int32_t tag = -1);

    const std::string& getElementName() const { return elementName; }
    const std::string& getStandsFor() const { return standsFor; }

    void draw(VSTGUI::CDrawContext* context) override;

    const char* getClassName() const override { return "PlaceholderView"; }
    bool isTypeOf(const char* className) const override;

    static constexpr VSTGUI::CColor kOutline{255, 0, 255, 255};

private:
    std::string elementName;
    std::string standsFor;
};
