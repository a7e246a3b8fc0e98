#pragma once
// The layout document: the text resource that describes the editor's fixed
// structure, a tree of elements under the root element "ui" whose start
// tags carry the attributes. Text between elements means nothing and is
// dropped; a first line "<?xml ...?>" and comments "<!-- -->" are skipped.
//
// A start tag is read into a flat list of name/value pairs. Only quoted
// text ('...' or "...") is taken as a value; the layout writes numbers, tag
// names and booleans unquoted, so "x=0" reads as the pair ("x", "") followed
// by the pair ("0", ""). getAttribute() puts such a name back together with
// its unquoted value. Quoted text is kept as written: no entities are
// decoded and backslashes stay (see splitMenuEntries and splitTextLines).

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

struct LayoutAttribute {
    std::string name;
    std::string value;
    bool operator==(const LayoutAttribute&) const = default;
};

struct LayoutNode {
    std::string name;
    std::vector<LayoutAttribute> attributes;
    std::vector<LayoutNode> children;
    int line = 0;  // where the start tag begins, from 1
};

// Elements nest at most this deep, the root counting as 1.
inline constexpr int kMaxLayoutDepth = 64;

struct LayoutReadResult {
    bool ok = false;
    LayoutNode root;     // the "ui" element when ok
    std::string error;   // what stopped the reading when not ok
    int errorLine = 0;   // line of the fault, from 1

    explicit operator bool() const { return ok; }
};

// Reads a whole document. Never throws on bad text: an unclosed or
// mismatched element, a '<' that starts no tag, text that ends inside a tag,
// comment or quoted value, nesting beyond kMaxLayoutDepth, a root other than
// "ui" or a second root all give a result that is not ok.
LayoutReadResult readLayoutDocument(std::string_view text);

// Element names compare without regard to case.
bool isElement(const LayoutNode& node, std::string_view name);
// Names of the layout (elements, attributes) compared as the layout does,
// without regard to case.
bool sameLayoutName(std::string_view a, std::string_view b);

// The text of attribute `key` (compared without regard to case) or nullptr
// when the element has none. The pairs are walked from the first:
//  - a pair whose name differs is stepped over, together with the pair
//    after it when both values are empty: that pair is the unquoted value of
//    the one before and never counts as a name, so "tag=x x=4" finds x = 4;
//  - a matching pair with a quoted value gives that value;
//  - a matching pair with no value gives the name of the next pair when that
//    pair has no value either (its unquoted value), and "" when the next pair
//    is quoted or when the list ends there: a bare attribute is present, with
//    empty text.
// The pointer stays valid while the node lives unchanged.
const char* getAttribute(const LayoutNode& node, std::string_view key);

// The attribute's text; "" when the element has none.
std::string getText(const LayoutNode& node, std::string_view key);

// The attribute read as a decimal integer, leading blanks and a sign
// allowed, reading up to the first character that is not a digit; 0 when
// the attribute is missing or holds no number.
int32_t getInt(const LayoutNode& node, std::string_view key);

// As getInt, in hexadecimal with an optional "0x".
uint32_t getHex(const LayoutNode& node, std::string_view key);

// A switch of the layout: missing is false, "true" and "false" (any case)
// mean what they say. Any other text is read as getInt reads it and the
// switch is on when that number is 0 and off otherwise. That is how the
// layout language defines a numeric switch, so "clickthru=1" turns click
// through off; documents are written to it and it stays.
bool getBool(const LayoutNode& node, std::string_view key);

// The value, among the parameters and the editor's tags, of the name in the
// "tag" attribute (exact case); -1 when there is none or it is unknown.
int32_t getTag(const LayoutNode& node);

// The text split at every `separator`: N separators give N + 1 parts,
// empty ones included.
std::vector<std::string> splitText(std::string_view text, std::string_view separator);

// A menu's entries: the text split at each two-character "\n" (backslash,
// n). N separators give N + 1 entries, empty ones included.
std::vector<std::string> splitMenuEntries(std::string_view text);

// A text's lines: the text split at each backslash, whatever follows it;
// the character after the backslash begins the next line.
std::vector<std::string> splitTextLines(std::string_view text);
