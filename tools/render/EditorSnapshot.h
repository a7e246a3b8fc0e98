#pragma once
// The editor of an instance drawn without a window, as it stands, into a
// PNG: what the renderer's --snapshot writes.

#include <string>

class Plug;

// A picture size written "WxH", from 300x200 to 4096x4096; false for any
// other text.
bool parseSnapshotSize(const std::string& text, int& width, int& height);

// Opens the editor headless over `effect`, lets it take in the effect's
// values and meters once, and writes the picture to `path`; at the stored
// UI size, or `width` x `height` when both are given. Throws a write error
// when the file cannot be written.
void writeEditorSnapshot(Plug& effect, const std::string& path, int width = 0, int height = 0);
