#pragma once
// The state layer of the effect: the default program, the chunk a host
// stores for a session or a preset, and the reading and writing of program
// parameters in the state document.
//
// A chunk is the document's JSON text with its terminating NUL, either plain
// or "ZIP " + one zlib stream of it. The last chunk made is cached and handed
// out again while nothing changed; every parameter write and every applied
// chunk marks it stale.
//
// Threads: the chunk and document operations run on the host's message
// thread (or whichever thread asks for the chunk); the audio thread never
// touches them. `dirty` alone is written from other threads.

#include <atomic>
#include <cstdint>
#include <vector>

#include "core/PlugBase.h"

struct cJSON;

// Bits of the loading flags: which parts of a preset are taken when one is
// applied, and which are written when one is saved.
constexpr uint32_t kLoadEQ = 1u << 0;
constexpr uint32_t kLoadDSP = 1u << 1;
constexpr uint32_t kLoadUI = 1u << 2;

// The rows that a preset carries as its DSP part: the processing mode and
// the FIR and Digital+ settings. Every other row belongs to the EQ part.
constexpr bool isDspParameter(int32_t index) {
    return index == kMode || (index >= kIRLength && index <= kDPlusLen) || index == kDPlusPhase;
}

class PlugBaseJSON : public PlugBase {
public:
    static constexpr int32_t kDefaultCompressionLevel = 9;

    explicit PlugBaseJSON(EffectHostCallback host);
    ~PlugBaseJSON() override;

    // ---- Chunks (message thread) ----
    // The full state, or with isPreset the current program's preset state.
    // The buffer belongs to the effect and stays valid until the next
    // request of the same kind or destruction. While nothing changed a full
    // request returns the cached chunk without building anything; a preset
    // request never replaces it.
    int32_t getChunk(void** data, bool isPreset) override;
    // Applies a chunk of either framing; returns byteSize (0 for null data).
    // A chunk that does not parse leaves the state as it was.
    int32_t setChunk(void* data, int32_t byteSize, bool isPreset) override;
    // zlib level of the chunks made from now on; 0 gives plain text.
    virtual void setCompressionLevel(int32_t level);
    int32_t getCompressionLevel() const { return compressionLevel; }
    // The cached chunk is dropped; the next request builds a new one.
    void markChunkStale() { dirty.store(true, std::memory_order_relaxed); }
    bool isChunkStale() const { return dirty.load(std::memory_order_relaxed); }

    // Every parameter write marks the cached chunk stale.
    void setParameter(int32_t index, float norm) override;

    // ---- The state document ----
    // A new JSON tree, owned by the caller.
    virtual cJSON* buildStateDocument(bool presetOnly) = 0;
    // Parses `text` and applies it; returns the parsed tree (owned by the
    // caller) or null when the text does not parse.
    virtual cJSON* applyStateDocument(const char* text, bool presetOnly) = 0;
    // Adds `parameters` of a program, in difference form against the
    // default program: the string "default" when nothing differs.
    virtual void writeProgramParameters(cJSON* object, int32_t program);
    // Reads `parameters` of a program: defaults first, then each key found.
    virtual void readProgramParameters(const cJSON* object, int32_t program);
    // Hooks for derived effects; nothing here overrides them.
    virtual void writeProgramExtras(cJSON* object, int32_t program) { (void)object, (void)program; }
    virtual void writeABExtras(cJSON* object, int32_t slot) { (void)object, (void)slot; }
    virtual void readProgramExtras(const cJSON* object, int32_t program) { (void)object, (void)program; }
    virtual void readABExtras(const cJSON* object, int32_t slot) { (void)object, (void)slot; }
    virtual void inspectDocument(const cJSON* root) { (void)root; }
    // Applied to each value as it is read.
    virtual float mapLoadedValue(int32_t index, float value) { (void)index; return value; }

    // Whether a chunk holds a state document (a JSON object with at least
    // one of the sections a document of ours carries) that applying it would
    // read; checks without touching any effect.
    static bool holdsStateDocument(const void* data, int32_t byteSize);
    // Where a document's text starts: control characters and blanks in
    // front of it are skipped.
    static const char* documentStart(const char* text);

    const ProgramRecord& getDefaultProgram() const { return defaultProgram; }
    uint32_t getLoadingFlags() const { return loadingFlags; }
    void setLoadingFlags(uint32_t flags) { loadingFlags = flags; }

    // The parameter index of a document key: exact, case-sensitive names
    // of the parameter enumeration, -1 for an unknown key or one that names
    // no parameter. `cursor` makes keys in index order cost one comparison.
    static int32_t resolveParameterKey(const char* key, int32_t* cursor);

protected:
    // Writes the object `parameters` of values in place of `record`, or
    // "default" when the record equals the default program.
    void writeParameters(cJSON* object, const ProgramRecord& record);
    // For each part (kLoadEQ or kLoadDSP) in `parts`: resets its rows of
    // `record` from the default program, then takes its keys of
    // `parameters`. The rows of a part not in `parts` stay as they are.
    void readParameters(const cJSON* object, ProgramRecord& record, uint32_t parts);

    ProgramRecord defaultProgram;
    uint32_t loadingFlags = 0xFFFFFFFFu;

private:
    std::vector<uint8_t> chunk;        // the last full chunk, handed out again while nothing changed
    std::vector<uint8_t> presetChunk;  // the last preset chunk
    int32_t compressionLevel = kDefaultCompressionLevel;
    std::atomic<bool> dirty{true};
    bool clearDirty = true;
};
