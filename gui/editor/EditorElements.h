#pragma once
// The editor's own elements of the layout, beyond the toolkit's: the ones
// built here, and the ones whose views are still to come, which the
// builder stands in for with placeholders.

#include <string_view>

#include "gui/editor/LayoutBuilder.h"

// Builds the element if it is one of the editor's that exist: pages and
// page switches, tiles, the dimming sheet, static texts, the filmstrip
// buttons, the editor's containers and labels, the menus (setup pages'
// text menus, slot, copy, group and preset buttons), the tray handle, the
// corner grip, the highlight sheet, the sliders with a readout and the
// setup page list. Null for any other name.
// Names compare without regard to case.
VSTGUI::CView* createEditorElement(std::string_view elementName, const LayoutElementArgs& args);

// For an element of the editor whose view is not built yet, a few words on
// what it will be; null for any other name (any case).
const char* pendingElement(std::string_view elementName);
