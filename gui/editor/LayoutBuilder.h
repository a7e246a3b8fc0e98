#pragma once
// Builds views from the layout document. For each child of an element, in
// document order, with its rectangle and tag from placeChildren():
//  1. its name (any case) is looked up in the list of toolkit elements,
//     then offered to createCustomView(); the first that builds wins;
//  2. the view joins the parent container (with no parent it is dropped
//     and "Something very odd happened" is logged);
//  3. when the element has children they are built into the view if it is
//     a container; otherwise they are dropped and the layout is reported
//     as wrong;
//  4. an element that builds nothing is skipped with everything inside it.
// Every element is entered in a census with what became of it.

#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "gui/editor/LayoutDocument.h"
#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CGViewContainer.h"
#include "gui/toolkit/CViewContainer.h"

namespace VSTGUI {
class CBitmap;
class CDIB;
class CFrame;
}

// Where the builder's messages go: one formatted message per call. The
// default writes to stderr; an empty sink restores it.
using LayoutLogSink = std::function<void(const std::string& message)>;
void setLayoutLogSink(LayoutLogSink sink);
void layoutLog(const char* format, ...) __attribute__((format(printf, 1, 2)));

// What an element became.
enum class BuiltAs {
    BuiltIn,      // a toolkit view from the builder's own list
    Page,         // a page: nPage and the views built on it
    Placeholder,  // a PlaceholderView standing in for a view still to come
    Custom,       // any other view from createCustomView()
    Skipped,      // nothing: unknown, ignored, or dropped with its parent
};
const char* builtAsName(BuiltAs what);  // "built-in", "page", ...

struct CensusRow {
    std::string name;  // as written
    int depth = 1;     // 1 for the children of the element built from
    int line = 0;
    BuiltAs built = BuiltAs::Skipped;
    std::string standsFor;  // what a placeholder stands for
};

// The toolkit's CGViewContainer as the layout writes it, keeping the
// number of its background image, loaded or not. Transparent unless the
// image could be loaded.
class LayoutGViewContainer : public VSTGUI::CGViewContainer {
public:
    LayoutGViewContainer(const VSTGUI::CRect& size, bool hidden, int32_t backgroundId);
    int32_t getBackgroundId() const { return backgroundId; }

private:
    int32_t backgroundId;
};

// An image of the layout by the number in attribute `key`, holding one
// reference until the holder goes (a view given it takes its own); null
// for 0, a missing attribute or an unknown number.
class LayoutImage {
public:
    LayoutImage(const LayoutNode& node, const char* key);
    ~LayoutImage();
    LayoutImage(const LayoutImage&) = delete;
    LayoutImage& operator=(const LayoutImage&) = delete;
    operator VSTGUI::CBitmap*() const;

private:
    VSTGUI::CDIB* image = nullptr;
};

// The arguments every element's maker gets.
struct LayoutElementArgs {
    const LayoutNode& node;
    VSTGUI::CRect rect;
    int32_t tag;
    VSTGUI::CControlListener* listener;
};

class LayoutBuilder {
public:
    LayoutBuilder();
    virtual ~LayoutBuilder() = default;

    // Builds the children of `node` into `parent` (see above). `frame` is
    // kept for the makers while building. Census rows are added to those
    // of earlier calls.
    void viewFromLayout(const LayoutNode& node, VSTGUI::CFrame* frame, VSTGUI::CViewContainer* parent,
                        VSTGUI::CControlListener* listener);

    // The editor's own elements: a new view (one reference, given to the
    // caller) or null when the name means nothing here. The default builds
    // the elements of createEditorElement(), and placeholders for the names
    // given to addPlaceholder() and for the pending elements; a derived
    // builder handles its own names and passes the rest on.
    virtual VSTGUI::CView* createCustomView(std::string_view elementName, const VSTGUI::CRect& rect,
                                            VSTGUI::CControlListener* listener, int32_t tag,
                                            const LayoutNode& node);

    // Elements built as placeholders by createCustomView() until they get
    // views of their own. Names compare without regard to case.
    void addPlaceholder(std::string_view elementName);

    const std::vector<CensusRow>& census() const { return rows; }
    void clearCensus() { rows.clear(); }

protected:
    VSTGUI::CFrame* currentFrame() const { return frame; }

private:
    void buildChildren(const LayoutNode& node, VSTGUI::CViewContainer* parent,
                       VSTGUI::CControlListener* listener, int depth);
    void skipAll(const LayoutNode& node, int depth);

    VSTGUI::CFrame* frame = nullptr;
    std::vector<std::string> placeholders;
    std::vector<CensusRow> rows;
};
