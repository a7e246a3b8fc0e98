#pragma once
// The editor object of an effect: what an editor needs without a window. It
// exists for the effect's whole life, owned by the effect through the
// effect's editor interface: the editor settings that the state document
// saves (A/B history, analyser sources, sizes, channel links, the graphs'
// own settings), the queue of tag updates toward the views, the presets
// menu, A/B choosing, linked edits and the loading flags. The UI settings
// tree it reads and saves is the effect's.
//
// Threads: `setParameter` and `parameterChanged` may come on any thread,
// the audio thread included, and only queue; every other operation runs on
// the editor's (the host's message) thread.

#include <atomic>
#include <bitset>
#include <cstdint>
#include <string>
#include <vector>

#include <memory>

#include "core/EditorLink.h"
#include "core/ParamTable.h"
#include "core/Plug.h"
#include "session/EditorTags.h"
#include "state/PresetScan.h"
#include "state/UISettingsTree.h"

struct cJSON;

class PlugEd : public iEditorLink {
public:
    static constexpr int32_t kNumTags = kEditorTagEnd;  // parameter indices, then editor tags
    static constexpr int32_t kDefaultFreeWidth = 750;

    explicit PlugEd(Plug* effect);
    ~PlugEd() override;

    // An effect that owns an editor object from its construction on, as
    // every adaptor makes it; and the editor object of an effect (nullptr
    // for one made without).
    static std::unique_ptr<Plug> createEffect(EffectHostCallback host);
    // Such an effect set up as a host sets one up before audio: `channels`
    // inputs and outputs in the standard layout, at `sampleRate`, resumed.
    static std::unique_ptr<Plug> createInstance(int32_t channels, float sampleRate = 48000.0f,
                                                EffectHostCallback host = nullptr);
    static PlugEd* of(const Plug& effect);

    // ---- What the effect tells its editor ----
    void parameterChanged(int32_t index, float norm) noexcept override { setParameter(index, norm); }
    void effectChanged(EffectNews news) override;
    void programChanged() override;
    void stateApplied() override;
    void writeEditorState(cJSON* root, bool presetOnly) override { writeState(root, presetOnly); }
    void applyEditorState(const cJSON* root, bool presetOnly) override { applyState(root, presetOnly); }
    PlugEd(const PlugEd&) = delete;
    PlugEd& operator=(const PlugEd&) = delete;

    // ---- UI settings ----
    // The integer value of a UI setting, 0 when the tree lacks it.
    int32_t getUiSetting(const char* category, const char* key) const;
    UISettingsTree& uiSettings() { return effect->uiSettings(); }
    const UISettingsTree& uiSettings() const { return effect->uiSettings(); }

    // ---- State document ----
    // Adds `settings` and `uiprefs` to a document; a preset leaves out the
    // current slot, the last slot and the current program.
    void writeState(cJSON* root, bool presetOnly);
    // Applies `settings` and `uiprefs` of a document; keys it lacks keep
    // their present values.
    void applyState(const cJSON* root, bool presetOnly);

    // ---- Tag updates (any thread) ----
    // Queues (tag, value) for the views; tags from kNumTags up are dropped.
    void setParameter(int32_t tag, float value) noexcept;
    // Takes a queued update of `tag`; false when none is queued.
    bool takeUpdate(int32_t tag, float* value);

    // ---- A/B slots ----
    // Chooses slot s from the slot menu: as automation of the slot parameter.
    void chooseABSlot(int32_t s);
    // The toggle button: to the last slot, the next visited one or the next
    // one that has a band on, by the "A/B Toggle" mode.
    void toggleABSlot();
    // "Copy to" slot s.
    void copyToABSlot(int32_t s);
    uint32_t getVisitedSlots() const { return visitedSlots; }
    // 0 "Last 2", 1 "Visited", 2 "Nonempty".
    void setToggleMode(int32_t mode) { toggleMode = mode; }

    // ---- Auto gain ----
    // The auto gain button: switches the current program's auto gain; from
    // its alternate (learn) state the gain in force is first baked into the
    // channel levels.
    void setAutoGain(bool on, bool learn);

    // ---- Edits of linked bands ----
    // Bands chosen in the graph (bit b for band b); with "Band Linking" on,
    // an edit of one selected band drives the others, and the whole gesture
    // is one undo step.
    void setSelectedBands(uint64_t bands) { selectedBands = bands; }
    uint64_t getSelectedBands() const { return selectedBands; }
    void setLinkingOn(bool on) { linkingOn = on; }
    // Brackets a gesture on a control; for band rows they also bracket the
    // selected bands' edits and an undo group.
    void beginLinkedEdit(int32_t tag);
    void endLinkedEdit(int32_t tag);
    // While the graph brackets a gesture in an undo group of its own (its
    // edits may overlap on several rows), the rows add no groups inside it:
    // the undo stack keeps one level of groups.
    void setGraphGesture(bool on) { graphDragging = on; }
    // A band row's value when the gesture began (Frequency, Q, Shift
    // normalised; Gain, Phase and State as shown).
    float getStartValue(int32_t band, int32_t field) const;
    // The bands that take part in linking (bit b for band b). A band follows
    // an edit of band h when linking is on, it is selected, it is not h, and
    // h takes part in linking.
    void setLinkedBands(uint64_t bands) { linkedBands = bands; }
    uint64_t getLinkedBands() const { return linkedBands; }
    bool isLinkingOn() const { return linkingOn; }
    // The bands that follow an edit of `band`.
    uint64_t bandsFollowing(int32_t band) const;
    // A band row set from a control (normalised `norm`), with the bands that
    // follow it: State switches them along (off, they leave the selection),
    // a new Type first
    // resets the Subtype, Subtype reaches followers of the same type, Gain
    // and Phase scale by the edited band's ratio (or shift by its change
    // from 0), Frequency, Q and Shift move by its normalised change. Only
    // while the edited band is on; rows that are not band rows are set as
    // they are.
    void editBandRow(int32_t tag, float norm);

    // The current program's band order made whole: bands that are off
    // leave it, bands that are on and missing join at the end in band
    // order. Writes up to kNumBands numbers and returns their count.
    int32_t reviewedBandOrder(int32_t* order) const;
    // The same, ordered by the bands' real frequencies, lowest first, when
    // `sort` is set; bands of equal frequency keep their places in the list.
    int32_t reviewedBandOrder(int32_t* order, bool sort) const;
    // Whether the reviewed order already runs from low to high frequency.
    bool bandOrderSorted() const;
    // A new band after band `band` in the band order: the first band that
    // is off takes all ten rows of `band`, as one undo step. The new band's
    // number, or -1 when every band is in use (nothing changes then).
    int32_t insertBandAfter(int32_t band);

    // ---- Selection ----
    // The select tags: a band chosen alone (with linking on it takes part
    // in linking too), a band's choice toggled, a band's selected tag set.
    void selectOnly(int32_t band);
    void selectToggle(int32_t band);
    void setBandSelected(int32_t band, bool on);

    // ---- Presets ----
    // The loading flags as the user's store holds them; each read refreshes the effect's.
    uint32_t getLoadingFlags();
    void setLoadingFlags(uint32_t flags);
    // The toggles kGUIPresetEQ, kGUIPresetDSP, kGUIPresetUI set or clear their bit.
    void setLoadingFlag(int32_t tag, bool on);
    // Refills the preset menu and its tree: the programs, a separator, then
    // the preset folder.
    void rebuildPresetMenu();
    const PresetMenu& getPresetMenu() const { return presetMenu; }
    const cJSON* getPresetRoot() const { return presetRoot; }
    // Loads item `index` of `tree` (the root, a folder or a bank's array).
    void applyMenuPreset(const cJSON* tree, int32_t index);
    // Loads the entry of the preset menu at `path`: one index per level from
    // the top, separators counted. A path that leads nowhere does nothing.
    void applyMenuPath(const std::vector<int32_t>& path);
    // The name the preset field shows: the current program's.
    std::string currentPresetName() const;
    // Whether the preset field and menu need drawing anew; reading clears it.
    bool takePresetDisplayStale();
    // The prev and next buttons; whether each is enabled.
    void presetPrev();
    void presetNext();
    bool canPresetPrev() const;
    bool canPresetNext() const;
    int32_t getPresetIndex() const { return presetIndex; }
    // Renames the current program from the name field.
    void setPresetName(const char* name);
    // Files, as the save and load dialogs give them. Each returns false when
    // the file could not be read or written; the user is told by an alert.
    bool saveBank(const std::string& path);
    bool savePreset(const std::string& path);
    bool loadBank(const std::string& path);
    bool loadPreset(const std::string& path);

    // ---- UI settings kept as defaults and shared ----
    // The default bank doubles as the store of UI defaults. `category` names
    // one category of the UI settings; null means all of them.
    bool saveUIDefaults(const char* category);
    bool restoreUIDefaults(const char* category);
    // "Save current state as default": the full state becomes the default bank.
    bool saveStateAsDefault();
    // Gives every other instance these UI settings.
    void propagateUISettings(const char* category);

    // Asks for the settings page to be drawn anew (another instance changed them).
    void markSettingsPageStale() { settingsPageStale = true; }
    bool isSettingsPageStale() const { return settingsPageStale; }

    // ---- Editor settings ----
    int32_t getLastABSlot() const { return lastABSlot; }
    void setLastABSlot(int32_t slot) { lastABSlot = slot; }
    bool isAnalyserOn() const { return analyserOn; }
    void setAnalyserOn(bool on) { analyserOn = on; }
    bool isPreEQ() const { return preEQ; }
    int32_t getAnalyserType() const { return analyserType; }
    int32_t getFreeWidth() const { return freeWidth; }
    void setFreeWidth(int32_t width) { freeWidth = width; }
    uint32_t getChannelLinks() const { return channelLinks; }
    void setChannelLinks(uint32_t links) { channelLinks = links; }
    void setPreEQ(bool pre) { preEQ = pre; }
    Plug& getEffect() const { return *effect; }
    // Source s (0 primary, 1 secondary): channel code, with the position of
    // another instance in bits 8 and up; the name of that instance or "".
    int32_t getAnalyserSource(int32_t s) const { return analyserSource[s & 1]; }
    // Chooses source s: a channel code of this instance, or of the other
    // instance at position k (from 1) with k in bits 8 and up; -1 none.
    // The other instance's name is kept with it.
    void setAnalyserSource(int32_t s, int32_t source);
    void setAnalyserType(int32_t type) { analyserType = type; }
    const std::string& getAnalyserSourceName(int32_t s) const { return analyserSourceName[s & 1]; }
    const cJSON* getSubgraphSettings() const { return subgraphs; }
    // Keeps a graph's shown range ("minf", "maxf") under its key.
    void setGraphRange(const char* graph, double minHz, double maxHz);

private:
    void applySource(const cJSON* settings, int32_t s);
    bool readPresetFile(const std::string& path, std::vector<uint8_t>& bytes);
    bool writeChunkFile(const std::string& path, bool preset);
    cJSON* openDefaultBank(std::string* path);
    // Merges the "value" numbers of `uiprefs` (one category, or all) into this tree.
    void mergeUISettings(const cJSON* uiprefs, const char* category);

    Plug* effect;
    int32_t lastABSlot = 0;
    bool analyserOn = false;
    bool preEQ = false;
    int32_t analyserType = 0;
    int32_t freeWidth = kDefaultFreeWidth;
    uint32_t channelLinks = 0;
    int32_t analyserSource[2] = {0, 1};
    std::string analyserSourceName[2];
    cJSON* subgraphs = nullptr;  // the graphs' own settings, as last stored

    static constexpr int32_t kNumStartFields = 10;
    uint64_t selectedBands = 0;
    uint64_t linkedBands = 0;
    bool linkingOn = true;
    bool graphDragging = false;  // the graph brackets its own drags
    float startValues[kNumStartFields][kNumBands] = {};
    // Rows whose gesture began with the selected bands and an undo group:
    // its end closes them, whatever the gesture did to the band's State.
    std::bitset<kNumParams> linkedGesture;
    uint32_t visitedSlots = 1;
    int32_t toggleMode = 1;
    bool settingsPageStale = false;
    PresetMenu presetMenu;
    cJSON* presetRoot = nullptr;
    const cJSON* presetTree = nullptr;  // where the last preset was chosen
    int32_t presetIndex = 0;
    bool presetDisplayStale = false;

    std::atomic<float> pendingValue[kNumTags] = {};
    std::atomic<uint32_t> pendingBits[(kNumTags + 31) / 32] = {};
};
