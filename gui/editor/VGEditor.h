#pragma once
// The editor's window over an effect: it builds the views from the layout,
// places the regions for the UI settings, hands every control's value to
// the effect by its tag (the controller), brings the effect's values back
// to the views at the refresh rate, and shows alerts. It opens in a window
// of the host's or headless (no window at all), as the renderer's snapshot
// and the tests use it.
//
// Threads: everything here runs on the UI thread. The effect reaches the
// views only through PlugEd's tag queue, which idle() drains.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "gui/editor/BandStrips.h"
#include "gui/editor/ControlRegistry.h"
#include "gui/editor/EQGraph.h"
#include "gui/editor/Keyboard.h"
#include "gui/editor/LayoutBuilder.h"
#include "gui/toolkit/CControl.h"
#include "gui/toolkit/CFrame.h"
#include "session/AnalyserEngine.h"
#include "session/EditorGeometry.h"
#include "session/GraphScene.h"

class PlugEd;
class Plug;

class VGEditor : public VSTGUI::CControlListener, public VSTGUI::VSTGUIEditorInterface, public EQGraph::Host {
public:
    // Milliseconds of a steady clock; tests give their own.
    using Clock = std::function<uint64_t()>;
    // The refresh rates of "Refresh Rate", in Hz.
    static constexpr int32_t kRefreshRates[6] = {10, 20, 30, 50, 60, 120};
    // Pixels per refresh the trays slide: the preset box and the scale tray.
    static constexpr int32_t kPresetTrayStep = 10;
    static constexpr int32_t kScaleTrayStep = 20;

    explicit VGEditor(PlugEd& editor);
    ~VGEditor() override;
    VGEditor(const VGEditor&) = delete;
    VGEditor& operator=(const VGEditor&) = delete;

    // UI thread. Builds the window inside `parent` (a native window handle;
    // 0 opens headless). False only when a window was asked for and could
    // not be made; the views are built either way.
    bool open(uintptr_t parent);
    void close();
    bool isOpen() const { return frame != nullptr; }
    VSTGUI::CFrame* getFrame() const { return frame; }
    int32_t getWidth() const { return regions.width; }
    int32_t getHeight() const { return regions.height; }
    // UI thread. Shows the window enlarged by a whole factor (1 to 4) for a
    // dense screen; the editor keeps its own size and layout. Kept across
    // open and close; false when the factor is out of range or the open
    // window cannot take it.
    bool setScale(int32_t factor);
    int32_t getScale() const;
    // The window's size on the screen: the editor's size times the scale.
    int32_t getWindowWidth() const { return regions.width * getScale(); }
    int32_t getWindowHeight() const { return regions.height * getScale(); }
    const layout::Regions& getRegions() const { return regions; }
    uint32_t getLayoutFlags() const { return inputs.flags; }
    ControlRegistry& controls() { return registry; }
    PlugEd& editorObject() { return ed; }

    // UI thread: alerts, a pending resize, and the timer's work when a
    // refresh is due. Hosts call it from their UI idle; a window of our own
    // calls it from its loop.
    void idle();
    // The alert on show, if any.
    VSTGUI::CView* getAlert() const { return alertView; }
    void setClock(Clock clock);
    // Refreshes run so far (each does the timer's work once).
    int64_t refreshCount() const { return refreshes; }
    // Tells the editor the window changed size or layout (settings, size,
    // scale), with the window's size on the screen.
    void setSizeListener(std::function<void(int32_t width, int32_t height)> listener) {
        sizeListener = std::move(listener);
    }

    // What a host adaptor hears of the person's edits: a gesture's begin and
    // end on a tag, and every value a control gave (after the controller
    // acted on it). UI thread.
    enum class EditEvent { kBegin, kChange, kEnd };
    void setEditListener(std::function<void(int32_t tag, EditEvent event)> listener) {
        editListener = std::move(listener);
    }

    // ---- The controller ----
    // A control's new value, by its tag.
    void valueChanged(VSTGUI::CControl* control) override;
    // A tag's value to its views (and what follows from it).
    void updateControl(int32_t tag, float value);
    // Host gesture brackets of the controls.
    void beginEdit(int32_t tag) override;
    void endEdit(int32_t tag) override;

    // How the editor asks for a file to save to or load from: true with the
    // path, false when the person cancels. The default is the toolkit's file
    // dialog over the window (which a headless frame cannot show).
    using FileChooser = std::function<bool(bool save, const char* title, const char* initialPath,
                                           const char* extension, std::string* path)>;
    void setFileChooser(FileChooser chooser);

    // The groups the graph shows, on its first and second side (-1: none);
    // the stereo mode buttons choose them.
    int32_t getSelectedGroup(int32_t side) const { return selectedGroup[side & 1]; }

    // ---- Layout ----
    // Reads the UI settings into the layout word and the other options.
    void applyUiSettings();
    // Places every region for the current settings and size.
    void layoutEditor();
    bool isSetupOpen() const { return inputs.setupOpen; }
    bool isWizardOpen() const { return inputs.wizardOpen; }
    bool isPresetTrayOpen() const { return presetTrayOpen; }
    bool isScaleTrayOpen() const { return scaleTrayOpen; }

    // Lays the window out for a width of `width` ("Free") and makes it
    // exactly `width` x `height`, whatever the settings ask; 0 x 0 goes back
    // to the settings. For pictures of the editor at a chosen size.
    void setSizeOverride(int32_t width, int32_t height);

    // Draws the whole window as it stands into a PNG.
    bool writeSnapshot(const std::string& path, std::string* error);

    // What every element of the layout built, from the last open.
    const std::vector<CensusRow>& census() const;

    // The view that stands for an element without a tag of its own (the
    // band strips, the meter section); null before open.
    VSTGUI::CView* viewOfElement(const char* elementName) const;

    // The response graph (null before open or in a layout without one),
    // and one refresh of it: the bands, the settings, the shown groups,
    // the selection and, with the analyser on, one analyser frame. The
    // timer calls it at the "Refresh Rate"; a picture of the editor after
    // audio calls it once.
    EQGraph* getGraph() const;
    // The keyboard under the graph; null in a layout without one.
    nKeyboard* getKeyboard() const;
    // The band strips; null in a layout without them.
    BandStrips* getStrips() const;
    // Builds the strips again for the bands in use now, in the band order
    // (sorted by frequency when that is asked for), and keeps the order
    // with the program.
    void rebuildStrips();
    void refreshGraph();
    // What the graph asks for: a gesture's edits as one undo step, and its
    // shown range kept with the editor's state.
    void graphUndoGroup(bool begin) override;
    void graphZoomChanged(double minHz, double maxHz) override;

private:
    class Builder;

    void editorTimer();
    void slideTrays();
    void resizeFrame();
    void pushAllValues();
    void showNextAlert();
    void placeTagged(int32_t tag, const std::function<void(VSTGUI::CView*)>& place);
    VSTGUI::CView* viewOf(int32_t index) const;
    void updateUndoButtons();
    float widgetValue(int32_t tag, float value) const;
    void setSetupOpen(bool open);
    void setWizardOpen(bool open);

    void handleValue(VSTGUI::CControl* control);
    // A tray's next state after a control of it reported.
    bool trayState(VSTGUI::CControl* control, bool open) const;
    void chooseGroups(int32_t tag, float value);
    void chooseGroupFromMenu(VSTGUI::CControl* menu, int32_t tag, float value);
    void refreshPresetBox();
    void refreshGroupMenus();
    void refreshSliders();
    StripsModel stripsModel();
    // The text of a row's normalised value ("1.50 kHz"), and the value typed text asks for.
    std::function<std::string(int32_t tag, float norm, bool musical)> valueFormat();
    std::function<std::optional<float>(int32_t tag, std::string_view text, bool noteMode)> valueReader();
    // What a value field of the layout needs of its row, and every such field given it.
    StripValueRow valueTextRow(int32_t tag);
    void bindValueTexts();
    // Builds the meter section again when its settings or the channel count changed.
    void refreshMeterSection();
    bool compensate(int32_t tag, float value);
    void runFileAction(int32_t tag);
    void programChanged();
    void restoreGraphZoom();
    // The analyser button's menu: the sources of this and the other instances.
    void refreshAnalyserMenu();

    PlugEd& ed;
    Plug& effect;
    FileChooser fileChooser;
    int32_t selectedGroup[2] = {0, -1};
    bool bandOn[32] = {};  // each band's State as last shown
    VSTGUI::CFrame* frame = nullptr;
    std::unique_ptr<Builder> builder;
    ControlRegistry registry;
    layout::Inputs inputs;
    layout::Regions regions;
    int32_t refreshRate = 30;
    int32_t overrideWidth = 0;
    int32_t overrideHeight = 0;
    Clock clock;
    int64_t lastRefreshStep = -1;
    int64_t refreshes = 0;
    bool presetTrayOpen = false;
    bool scaleTrayOpen = false;
    bool resizePending = false;
    bool stripsRebuildPending = false;
    bool sortStripsOnce = false;
    bool meterSectionBuilt = false;  // since the last open  // the next rebuild orders the bands by frequency
    bool undoButtonsStale = false;
    // What the graph draws, kept between refreshes so unchanged bands are
    // not designed again; and the analyser behind it.
    GraphScene graphScene;
    AnalyserEngine analyser;
    struct {
        int32_t columns = -1;
        double low = 0, high = 0;
        int32_t source[2] = {-2, -2};
    } analyserSetup;
    VSTGUI::CView* alertView = nullptr;  // the alert on show, owned by the frame
    bool alertDismissed = false;
    std::function<void(int32_t, int32_t)> sizeListener;
    int32_t scaleFactor = 1;
    std::function<void(int32_t, EditEvent)> editListener;
};
