#pragma once
// The preset menu: the user's preset folder read into a menu model and a JSON
// tree of the same shape, so the editor can tell what a menu position means.
//
// Sub-folders become submenus, preset files (".fwi") items, and bank files
// (".fwb") submenus of their programs. The menu is a plain model; the GUI
// turns it into real menus.

#include <memory>
#include <string>
#include <vector>

struct cJSON;

// A menu as the preset menu shows it. Entries keep their order.
struct PresetMenu {
    enum class Kind { kItem, kSubmenu, kSeparator };
    struct Entry {
        Kind kind = Kind::kItem;
        std::string name;
        std::unique_ptr<PresetMenu> submenu;  // kSubmenu only
    };
    std::vector<Entry> entries;
};

// Reads `folder` (recursively) and appends what it holds to `menu` and to the
// JSON object `parent`.
//
// For each entry of a folder, names beginning with "." skipped:
//  - The shown name is the file name up to its last "." ("v1.2.final.fwi"
//    shows "v1.2.final", a folder "Old.Stuff" shows "Old"); what follows that
//    "." is the extension, matched case-sensitively.
//  - A folder (a symbolic link to one too) becomes a submenu and an object
//    holding what it contains. A folder already on the way down from
//    `folder` (a link loop) and folders more than 16 levels below `folder`
//    are left out. A folder that can't be read is an empty submenu.
//  - A ".fwi" file becomes an item; its node is the parsed preset document
//    (a "ZIP " chunk is inflated first). Files over 16 MiB count as
//    unreadable.
//  - A ".fwb" file becomes a submenu of its programs (the items of the
//    document's "presets" array, letter case of the key ignored), each named
//    by its own "name" string (empty when it has none), and an array holding
//    those programs, each keyed by that name. A bank that can't be read or
//    parsed is an empty submenu with an empty array.
//  - Anything else is ignored.
// The entries of a folder, and the programs of a bank, are sorted: items
// before submenus, then by the leading integer of the name as atoi reads it,
// then byte by byte; entries that tie keep the order of their file names.
// Each node is added to its parent object under the shown name, so several
// entries with the same shown name give several keys of that name.
//
// A preset file that can't be read or parsed is still an item of the menu
// but has NO node in the tree. From that item on, the n-th entry of a
// submenu is no longer the n-th child of its object: whoever maps a menu
// position to a node has to allow for this (e.g. by matching names).
//
// If `folder` can't be opened (missing, not a folder, no permission) nothing
// is added. With a null `parent` only the menu is built.
void scanPresetFolder(cJSON* parent, PresetMenu& menu, const std::string& folder);

// The menu as an indented outline, one line per entry, each ending in "\n":
// two spaces of indent per level, a submenu as its name followed by "/" with
// its entries below it one level deeper, a separator as "-". Control
// characters in names are printed as "?" so each entry stays on one line.
std::string menuText(const PresetMenu& menu);
