#pragma once
// The colours the toolkit-drawn popups share (menus, the file dialog), so
// they look like one family.

#include "gui/toolkit/Geometry.h"

namespace VSTGUI::PopupStyle {
constexpr CColor kBack{38, 40, 44, 255};
constexpr CColor kBorder{90, 94, 102, 255};
constexpr CColor kText{226, 228, 232, 255};
constexpr CColor kHighlight{62, 112, 178, 255};
}  // namespace VSTGUI::PopupStyle
