#pragma once
// The editor of an instance drawn without a window, as it stands, into a
// PNG: what the renderer's --snapshot writes.

#include <string>
#include <vector>

class Plug;
class UISettingsTree;

// Sets one editor setting from "CATEGORY/KEY=CHOICE", the choice by its
// word ("Layout/BandStrips=Knobs") or its number. An empty text when done,
// else what is wrong with the text (and nothing changes).
std::string applyUiChoice(UISettingsTree& settings, const std::string& assignment);
// The same, checked against the editor's own settings: what is wrong, or "".
std::string checkUiChoice(const std::string& assignment);

// A picture size written "WxH", from 300x200 to 4096x4096; false for any
// other text.
bool parseSnapshotSize(const std::string& text, int& width, int& height);

// Opens the editor headless over `effect`, lets it take in the effect's
// values and meters once, and writes the picture to `path`; at the stored
// UI size, or `width` x `height` when both are given. Throws a write error
// when the file cannot be written.
// `uiChoices` are applied to the editor's settings first (see applyUiChoice).
void writeEditorSnapshot(Plug& effect, const std::string& path, int width = 0, int height = 0,
                         const std::vector<std::string>& uiChoices = {});
