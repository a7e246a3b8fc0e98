#include "tools/render/EditorSnapshot.h"

#include <cjson/cJSON.h>

#include <cstdlib>
#include <strings.h>

#include "core/Plug.h"
#include "resources/ResourceTable.h"
#include "state/UISettingsTree.h"
#include "gui/editor/VGEditor.h"
#include "session/PlugEd.h"
#include "tools/render/RenderError.h"

bool parseSnapshotSize(const std::string& text, int& width, int& height) {
    const size_t x = text.find('x');
    if (x == std::string::npos || x == 0 || x + 1 == text.size()) return false;
    int w = 0, h = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (i == x) continue;
        if (text[i] < '0' || text[i] > '9') return false;
        int& n = i < x ? w : h;
        if (n > 10000) return false;
        n = n * 10 + (text[i] - '0');
    }
    if (w < 300 || h < 200 || w > 4096 || h > 4096) return false;
    width = w;
    height = h;
    return true;
}

std::string applyUiChoice(UISettingsTree& settings, const std::string& assignment) {
    const size_t slash = assignment.find('/');
    const size_t equals = assignment.find('=', slash == std::string::npos ? 0 : slash);
    if (slash == std::string::npos || equals == std::string::npos || slash == 0 || equals == slash + 1)
        return "give CATEGORY/KEY=CHOICE, such as Layout/BandStrips=Knobs";
    const std::string category = assignment.substr(0, slash);
    const std::string key = assignment.substr(slash + 1, equals - slash - 1);
    const std::string choice = assignment.substr(equals + 1);
    const cJSON* entry = cJSON_GetObjectItemCaseSensitive(
        cJSON_GetObjectItemCaseSensitive(settings.root(), category.c_str()), key.c_str());
    if (!cJSON_IsObject(entry) || key == "open") return "no setting \"" + category + "/" + key + "\"";
    const cJSON* words = cJSON_GetObjectItemCaseSensitive(entry, "values");
    int index = -1;
    int count = 0;
    std::string offered;
    if (cJSON_IsArray(words)) {
        const cJSON* word = nullptr;
        cJSON_ArrayForEach(word, words) {
            if (cJSON_IsString(word) && strcasecmp(word->valuestring, choice.c_str()) == 0) index = count;
            offered += std::string(count ? ", " : "") + (cJSON_IsString(word) ? word->valuestring : "?");
            ++count;
        }
    }
    if (index < 0 && !choice.empty() && choice.find_first_not_of("0123456789") == std::string::npos &&
        choice.size() < 6) {
        index = std::atoi(choice.c_str());
        if (count > 0 && index >= count) index = -1;
    }
    if (index < 0)
        return "no choice \"" + choice + "\" for " + category + "/" + key + (count ? " (choose " + offered + ")" : "");
    if (!settings.setValue(category.c_str(), key.c_str(), index)) return "cannot set " + category + "/" + key;
    return "";
}

std::string checkUiChoice(const std::string& assignment) {
    const ResourceData text = findResource("uisettings", "json");
    UISettingsTree settings(reinterpret_cast<const char*>(text.data), text.size);
    return applyUiChoice(settings, assignment);
}

void writeEditorSnapshot(Plug& effect, const std::string& path, int width, int height,
                         const std::vector<std::string>& uiChoices) {
    PlugEd* object = PlugEd::of(effect);
    if (!object) throw writeError("no editor to draw for --snapshot");
    for (const std::string& choice : uiChoices) {
        const std::string wrong = applyUiChoice(object->uiSettings(), choice);
        if (!wrong.empty()) throw writeError("bad --ui '" + choice + "': " + wrong);
    }
    VGEditor editor(*object);
    if (width > 0 && height > 0) editor.setSizeOverride(width, height);
    // The picture shows the spectrum the audio left behind the curve.
    object->setAnalyserOn(true);
    editor.open(0);
    // One refresh: queued values, meters, the clip light and the analyser
    // reach the views.
    editor.idle();
    std::string error;
    if (!editor.writeSnapshot(path, &error)) throw writeError("cannot write the --snapshot file '" + path + "': " + error);
}
