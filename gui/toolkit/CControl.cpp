#include "gui/toolkit/CControl.h"

#include <algorithm>
#include <chrono>
#include <cstring>

#include "gui/toolkit/CFrame.h"

namespace VSTGUI {

namespace {

constexpr uint32_t kMinimumDoubleClickMs = 250;
uint32_t gDoubleClickMs = 400;

}  // namespace

uint64_t toolkitMilliseconds() {
    using namespace std::chrono;
    return static_cast<uint64_t>(duration_cast<milliseconds>(steady_clock::now().time_since_epoch()).count());
}

uint32_t CControl::doubleClickTime() { return gDoubleClickMs; }

void CControl::setDoubleClickTime(uint32_t milliseconds) {
    gDoubleClickMs = std::max(milliseconds, kMinimumDoubleClickMs);
}

CControl::CControl(const CRect& r, CControlListener* l, int32_t t, CBitmap* bitmap)
    : CView(r), listener(l), tag(t), delta(doubleClickTime()) {
    if (bitmap) setBackground(bitmap);
}

CControl::~CControl() = default;

void CControl::bounceValue() { value = std::clamp(value, std::min(vmin, vmax), std::max(vmin, vmax)); }

void CControl::valueChanged() {
    if (listener) listener->valueChanged(this);
}

void CControl::beginEdit() {
    if (editDepth++ > 0) return;
    if (listener) listener->controlBeginEdit(this);
    if (frame) frame->beginEdit(tag);
}

void CControl::endEdit() {
    if (editDepth == 0) return;
    if (--editDepth > 0) return;
    if (frame) frame->endEdit(tag);
    if (listener) listener->controlEndEdit(this);
}

bool CControl::checkDefaultValue(int32_t buttons) {
    if ((buttons & kLButton) == 0) return false;
    const uint64_t now = toolkitMilliseconds();
    const uint32_t window = frame ? frame->getDoubleClickTime() : doubleClickTime();
    const bool isDouble = (buttons & kDoubleClick) != 0 ||
                          (lastMouseDownMs != 0 && now - lastMouseDownMs <= std::max(window, kMinimumDoubleClickMs));
    lastMouseDownMs = isDouble ? 0 : now;
    if (!isDouble) return false;
    beginEdit();
    value = defaultValue;
    bounceValue();
    invalid();
    valueChanged();
    endEdit();
    return true;
}

bool CControl::isDirty() const { return dirty || value != oldValue; }

void CControl::setDirty(bool state) {
    dirty = state;
    if (state) {
        oldValue = (value == -1.0f) ? 0.0f : -1.0f;
    } else {
        oldValue = value;
    }
}

bool CControl::onWheel(const CPoint& where, const float& distance, const int32_t& buttons) {
    (void)where;
    if (!mouseEnabled) return false;
    const float step = (buttons & modifierRoles().fine) ? wheelInc * 0.1f : wheelInc;
    const float before = value;
    value += distance * step;
    bounceValue();
    if (value != before) {
        beginEdit();
        invalid();
        valueChanged();
        endEdit();
    }
    return true;
}

bool CControl::isTypeOf(const char* className) const {
    return std::strcmp(className, "CControl") == 0 || CView::isTypeOf(className);
}

}  // namespace VSTGUI
