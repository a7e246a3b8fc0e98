#include "gui/editor/LayoutBuilder.h"

#include <cstdarg>
#include <cstdio>
#include <strings.h>

#include "gui/editor/LayoutPlacing.h"
#include "gui/editor/Pages.h"
#include "gui/editor/PlaceholderView.h"
#include "gui/toolkit/CFrame.h"

using namespace VSTGUI;

namespace {

LayoutLogSink& logSink() {
    static LayoutLogSink sink;
    return sink;
}

bool sameName(std::string_view a, std::string_view b) {
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// ---- The toolkit's elements ----
// One row per element, compared in order. A row without a maker names an
// element that is recognised and deliberately builds nothing.

CView* makeGViewContainer(const LayoutElementArgs& a) {
    return new LayoutGViewContainer(a.rect, getBool(a.node, "hide"), getInt(a.node, "background"));
}

struct ToolkitElement {
    const char* name;
    CView* (*make)(const LayoutElementArgs&);
};

constexpr ToolkitElement kToolkitElements[] = {
    {"CViewContainer", nullptr},
    {"CGViewContainer", makeGViewContainer},
};

}  // namespace

void setLayoutLogSink(LayoutLogSink sink) { logSink() = std::move(sink); }

void layoutLog(const char* format, ...) {
    char buffer[1024];
    va_list args;
    va_start(args, format);
    std::vsnprintf(buffer, sizeof buffer, format, args);
    va_end(args);
    if (logSink()) {
        logSink()(buffer);
    } else {
        std::fputs(buffer, stderr);
    }
}

const char* builtAsName(BuiltAs what) {
    switch (what) {
        case BuiltAs::BuiltIn: return "built-in";
        case BuiltAs::Page: return "page";
        case BuiltAs::Placeholder: return "placeholder";
        case BuiltAs::Custom: return "custom";
        case BuiltAs::Skipped: break;
    }
    return "skipped";
}

LayoutGViewContainer::LayoutGViewContainer(const CRect& r, bool hide, int32_t id)
    : CGViewContainer(r, hide), backgroundId(id) {
    setTransparency(!setBackgroundFromId(this, id));
}

CView* createDefaultView(std::string_view name, const LayoutElementArgs& a) {
    const bool clickThrough = sameName(name, "nClickThruPage");
    if (!clickThrough && !sameName(name, "nPage")) return nullptr;
    const int32_t number = getInt(a.node, "pagenumber");
    const int32_t background = getInt(a.node, "background");
    if (clickThrough) return new nClickThruPage(a.rect, a.tag, number, background);
    return new nPage(a.rect, a.tag, number, background);
}

LayoutBuilder::LayoutBuilder() = default;

void LayoutBuilder::addPlaceholder(std::string_view name) { placeholders.emplace_back(name); }

CView* LayoutBuilder::createCustomView(std::string_view name, const CRect& rect, CControlListener* listener,
                                       int32_t tag, const LayoutNode& node) {
    if (CView* view = createDefaultView(name, {node, rect, tag, listener})) return view;
    for (const std::string& pending : placeholders) {
        if (sameName(pending, name)) return new PlaceholderView(rect, node.name);
    }
    return nullptr;
}

void LayoutBuilder::viewFromLayout(const LayoutNode& node, CFrame* f, CViewContainer* parent,
                                   CControlListener* listener) {
    CFrame* const outer = frame;
    frame = f;
    buildChildren(node, parent, listener, 1);
    frame = outer;
}

void LayoutBuilder::skipAll(const LayoutNode& node, int depth) {
    for (const LayoutNode& child : node.children) {
        rows.push_back({child.name, depth, child.line, BuiltAs::Skipped});
        skipAll(child, depth + 1);
    }
}

void LayoutBuilder::buildChildren(const LayoutNode& node, CViewContainer* parent, CControlListener* listener,
                                  int depth) {
    for (const LayoutPlacement& placed : placeChildren(node)) {
        const LayoutNode& element = *placed.node;
        const size_t row = rows.size();
        rows.push_back({element.name, depth, element.line, BuiltAs::Skipped});

        CView* view = nullptr;
        bool known = false;
        for (const ToolkitElement& entry : kToolkitElements) {
            if (!sameName(element.name, entry.name)) continue;
            known = true;
            if (entry.make) view = entry.make({element, placed.rect, placed.tag, listener});
            if (view) rows[row].built = BuiltAs::BuiltIn;
            break;
        }
        if (!known) {
            view = createCustomView(element.name, placed.rect, listener, placed.tag, element);
            if (view) {
                rows[row].built = view->isTypeOf("PlaceholderView") ? BuiltAs::Placeholder
                                  : view->isTypeOf("nPage")         ? BuiltAs::Page
                                                                    : BuiltAs::Custom;
            }
        }
        if (!view) {
            skipAll(element, depth + 1);
            continue;
        }

        if (!parent) {
            layoutLog("Something very odd happened. name=%s, tag=%d\n", element.name.c_str(), placed.tag);
            rows[row].built = BuiltAs::Skipped;
            view->forget();
            skipAll(element, depth + 1);
            continue;
        }
        parent->addView(view);

        if (element.children.empty()) continue;
        if (view->isTypeOf("CViewContainer")) {
            buildChildren(element, static_cast<CViewContainer*>(view), listener, depth + 1);
        } else {
            layoutLog("XML is wrong! Trying to add child controls to a non ViewContainer class. "
                      "Did you forget a /?\n");
            skipAll(element, depth + 1);
        }
    }
}
