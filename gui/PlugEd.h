#pragma once
// The editor object of an effect. It exists for the effect's whole life,
// with or without a window: it owns the instance's UI settings tree, the
// editor settings that the state document saves (A/B history, analyser
// sources, sizes, channel links, the graphs' own settings), and the queue
// of tag updates that the effect sends toward the views.
//
// Threads: `setParameter` may come on any thread and only queues; every
// other operation runs on the editor's (the host's message) thread.

#include <atomic>
#include <cstdint>
#include <string>

#include "state/UISettingsTree.h"

struct cJSON;
class Plug;

class PlugEd {
public:
    static constexpr int32_t kNumTags = 750;  // parameter indices, then editor tags
    static constexpr int32_t kDefaultFreeWidth = 750;

    explicit PlugEd(Plug* effect);
    ~PlugEd();
    PlugEd(const PlugEd&) = delete;
    PlugEd& operator=(const PlugEd&) = delete;

    // ---- UI settings ----
    // The integer value of a UI setting, 0 when the tree lacks it.
    int32_t getUiSetting(const char* category, const char* key) const;
    UISettingsTree& uiSettings() { return settingsTree; }
    const UISettingsTree& uiSettings() const { return settingsTree; }

    // ---- State document ----
    // Adds `settings` and `uiprefs` to a document; a preset leaves out the
    // current slot, the last slot and the current program.
    void writeState(cJSON* root, bool presetOnly);
    // Applies `settings` and `uiprefs` of a document; keys it lacks keep
    // their present values.
    void applyState(const cJSON* root, bool presetOnly);
    // The effect moved to another program.
    void programChanged();

    // ---- Tag updates (any thread) ----
    // Queues (tag, value) for the views; tags from kNumTags up are dropped.
    void setParameter(int32_t tag, float value);
    // Takes a queued update of `tag`; false when none is queued.
    bool takeUpdate(int32_t tag, float* value);

    // ---- Editor settings ----
    int32_t getLastABSlot() const { return lastABSlot; }
    void setLastABSlot(int32_t slot) { lastABSlot = slot; }
    bool isAnalyserOn() const { return analyserOn; }
    void setAnalyserOn(bool on) { analyserOn = on; }
    bool isPreEQ() const { return preEQ; }
    int32_t getAnalyserType() const { return analyserType; }
    int32_t getFreeWidth() const { return freeWidth; }
    uint32_t getChannelLinks() const { return channelLinks; }
    // Source s (0 primary, 1 secondary): channel code, with the position of
    // another instance in bits 8 and up; the name of that instance or "".
    int32_t getAnalyserSource(int32_t s) const { return analyserSource[s & 1]; }
    const std::string& getAnalyserSourceName(int32_t s) const { return analyserSourceName[s & 1]; }
    const cJSON* getSubgraphSettings() const { return subgraphs; }

private:
    void applySource(const cJSON* settings, int32_t s);

    Plug* effect;
    UISettingsTree settingsTree;
    int32_t lastABSlot = 0;
    bool analyserOn = false;
    bool preEQ = false;
    int32_t analyserType = 0;
    int32_t freeWidth = kDefaultFreeWidth;
    uint32_t channelLinks = 0;
    int32_t analyserSource[2] = {0, 1};
    std::string analyserSourceName[2];
    cJSON* subgraphs = nullptr;  // the graphs' own settings, as last stored

    std::atomic<float> pendingValue[kNumTags] = {};
    std::atomic<uint32_t> pendingBits[(kNumTags + 31) / 32] = {};
};
