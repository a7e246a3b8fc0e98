#pragma once
// What a drag carries: files (as absolute paths) or text, one entry each.
// A drop from another program arrives as a CDragContainer; a CDropSource
// holds what this program offers when something is dragged out of it.

#include <cstdint>
#include <string>
#include <vector>

#include "gui/toolkit/CBaseObject.h"

namespace VSTGUI {

enum CDragType : int32_t { kDragFile = 0, kDragText, kDragUnknown = -1 };

class CDragContainer : public CBaseObject {
public:
    void addFile(std::string path) { entries.push_back({kDragFile, std::move(path)}); }
    void addText(std::string text) { entries.push_back({kDragText, std::move(text)}); }
    int32_t getCount() const { return static_cast<int32_t>(entries.size()); }
    // The entry's bytes and its type, or null (type kDragUnknown) past the end.
    const char* getItem(int32_t index, CDragType& type) const;
    // The first file path, or null when the drag holds no file.
    const char* firstFile() const;

private:
    struct Entry {
        CDragType type;
        std::string data;
    };
    std::vector<Entry> entries;
};

class CDropSource : public CBaseObject {
public:
    CDropSource(CDragType type, std::string data) : kind(type), bytes(std::move(data)) {}
    CDragType getType() const { return kind; }
    const std::string& getData() const { return bytes; }

private:
    CDragType kind;
    std::string bytes;
};

}  // namespace VSTGUI
