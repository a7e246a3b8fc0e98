#pragma once
// The layout document compiled into the program, and building it.

#include "gui/editor/LayoutBuilder.h"
#include "gui/editor/LayoutDocument.h"

// The embedded layout document read; not ok, with the reason, when it is
// missing or does not read.
LayoutReadResult readEmbeddedLayout();

// Builds the embedded layout into `frame` (the frame is also the parent).
// A document that is missing or does not read leaves the frame empty and
// returns false; the reason goes to the layout log.
bool buildEmbeddedLayout(LayoutBuilder& builder, VSTGUI::CFrame* frame, VSTGUI::CControlListener* listener);
