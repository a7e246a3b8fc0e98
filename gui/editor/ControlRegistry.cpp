#include "gui/editor/ControlRegistry.h"

#include "gui/toolkit/CViewContainer.h"
#include "gui/toolkit/iControl.h"

using namespace VSTGUI;

void ControlRegistry::clear() {
    for (const Entry& entry : entries) {
        if (entry.owned) entry.control->forget();
    }
    entries.clear();
}

void ControlRegistry::collect(CView* root) {
    clear();
    if (root) visit(root);
}

void ControlRegistry::visit(CView* view) {
    if (view->isTypeOf("CControl")) {
        auto* control = static_cast<CControl*>(view);
        entries.push_back({control, control->getTag(), false});
    } else if (auto* object = dynamic_cast<iControl*>(view)) {
        entries.push_back({new iControlWrapper(object), object->getTag(), true});
    }
    if (view->isTypeOf("CViewContainer")) {
        auto* container = static_cast<CViewContainer*>(view);
        for (int32_t i = 0; i < container->getNbViews(); ++i) visit(container->getView(i));
    }
}

CControl* ControlRegistry::controlByIndex(int32_t index) const {
    if (index < 0 || index >= controlCount()) return nullptr;
    return entries[static_cast<size_t>(index)].control;
}

int32_t ControlRegistry::tagByIndex(int32_t index) const {
    if (index < 0 || index >= controlCount()) return -1;
    return entries[static_cast<size_t>(index)].tag;
}

int32_t ControlRegistry::findTag(int32_t tag, int32_t afterIndex) const {
    for (int32_t i = afterIndex < 0 ? 0 : afterIndex + 1; i < controlCount(); ++i) {
        if (entries[static_cast<size_t>(i)].tag == tag) return i;
    }
    return -1;
}

float ControlRegistry::valueOfTag(int32_t tag) const {
    const int32_t index = findTag(tag);
    if (index < 0) return -1.0f;
    const Entry& entry = entries[static_cast<size_t>(index)];
    if (entry.owned) return static_cast<iControlWrapper*>(entry.control)->readValue();
    return entry.control->getValue();
}

void ControlRegistry::setValueOfTag(int32_t tag, float value) {
    for (int32_t i = findTag(tag); i >= 0; i = findTag(tag, i)) {
        entries[static_cast<size_t>(i)].control->setValue(value);
    }
}

void ControlRegistry::setParameterOnControls(int32_t tag, const std::function<float(int32_t)>& displayValue) {
    if (findTag(tag) < 0) return;
    const float value = displayValue(tag);
    for (int32_t i = findTag(tag); i >= 0; i = findTag(tag, i)) {
        CControl* control = entries[static_cast<size_t>(i)].control;
        control->setValue(value);
        control->setDirty();
    }
}
