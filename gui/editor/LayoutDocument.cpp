#include "gui/editor/LayoutDocument.h"

#include <cctype>
#include <charconv>
#include <optional>
#include <system_error>
#include <utility>

#include "session/EditorTags.h"

namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; }

// Ends an element or attribute name.
bool endsName(char c) { return isBlank(c) || c == '=' || c == '/' || c == '>'; }

char lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

bool sameText(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (lower(a[i]) != lower(b[i])) return false;
    return true;
}

// A cursor over the document that knows its line.
class Reader {
public:
    explicit Reader(std::string_view text) : text(text) {}

    LayoutReadResult read() {
        LayoutReadResult result;
        if (!readAll(result.root)) {
            result.error = std::move(error);
            result.errorLine = errorLine;
            result.root = {};
            return result;
        }
        result.ok = true;
        return result;
    }

private:
    std::string_view text;
    size_t pos = 0;
    int line = 1;
    std::string error;
    int errorLine = 0;

    bool atEnd() const { return pos >= text.size(); }
    char peek() const { return text[pos]; }
    bool startsWith(std::string_view s) const { return text.substr(pos).starts_with(s); }
    void advance() {
        if (text[pos] == '\n') ++line;
        ++pos;
    }
    void advance(size_t n) {
        while (n-- > 0 && !atEnd()) advance();
    }

    bool fail(std::string message, int at = 0) {
        if (error.empty()) {
            error = std::move(message);
            errorLine = at > 0 ? at : line;
        }
        return false;
    }

    // Moves past `close`; fails when the text ends first.
    bool skipPast(std::string_view close, const char* what) {
        const int start = line;
        const size_t found = text.find(close, pos);
        if (found == std::string_view::npos) {
            advance(text.size() - pos);
            return fail(std::string("the text ends inside ") + what, start);
        }
        advance(found + close.size() - pos);
        return true;
    }

    std::string_view readName() {
        const size_t start = pos;
        while (!atEnd() && !endsName(peek()) && peek() != '<') advance();
        return text.substr(start, pos - start);
    }

    // The pairs of a start tag, up to and including its '>' or "/>".
    bool readAttributes(LayoutNode& node, bool& selfClosing) {
        for (;;) {
            while (!atEnd() && (isBlank(peek()) || peek() == '=')) advance();
            if (atEnd()) return fail("the text ends inside the start tag of <" + node.name + ">", node.line);
            const char c = peek();
            if (c == '>') {
                advance();
                selfClosing = false;
                return true;
            }
            if (c == '/') {
                advance();
                if (!atEnd() && peek() == '>') {
                    advance();
                    selfClosing = true;
                    return true;
                }
                return fail("'/' inside the start tag of <" + node.name + "> does not close it");
            }
            if (c == '<') return fail("'<' inside the start tag of <" + node.name + ">");

            LayoutAttribute pair;
            pair.name = readName();
            while (!atEnd() && (isBlank(peek()) || peek() == '=')) advance();
            if (!atEnd() && (peek() == '"' || peek() == '\'')) {
                const char quote = peek();
                const int start = line;
                advance();
                const size_t close = text.find(quote, pos);
                if (close == std::string_view::npos) {
                    advance(text.size() - pos);
                    return fail("the text ends inside the quoted value of " + pair.name, start);
                }
                pair.value = text.substr(pos, close - pos);
                advance(close + 1 - pos);
            }
            node.attributes.push_back(std::move(pair));
        }
    }

    // Elements open on `open`, the root at the bottom; a finished root is
    // moved to `root`.
    bool readAll(LayoutNode& root) {
        if (startsWith("\xEF\xBB\xBF")) advance(3);
        std::vector<LayoutNode> open;
        bool haveRoot = false;
        while (!atEnd()) {
            if (peek() != '<') {  // text between elements means nothing
                advance();
                continue;
            }
            const int tagLine = line;
            if (startsWith("<!--")) {
                advance(4);
                if (!skipPast("-->", "a comment")) return false;
                continue;
            }
            if (startsWith("<?")) {
                if (haveRoot || !open.empty())
                    return fail("a declaration \"<?\" may only come before the root element");
                advance(2);
                if (!skipPast("?>", "a declaration")) return false;
                continue;
            }
            if (startsWith("<!")) return fail("only comments may start with \"<!\"");

            if (startsWith("</")) {
                advance(2);
                const std::string_view name = readName();
                while (!atEnd() && isBlank(peek())) advance();
                if (atEnd()) return fail("the text ends inside an end tag", tagLine);
                if (peek() != '>') return fail("an end tag holds more than a name", tagLine);
                advance();
                if (open.empty()) return fail("</" + std::string(name) + "> closes nothing", tagLine);
                if (!sameText(name, open.back().name))
                    return fail("</" + std::string(name) + "> closes <" + open.back().name + "> (line " +
                                    std::to_string(open.back().line) + ")",
                                tagLine);
                LayoutNode done = std::move(open.back());
                open.pop_back();
                if (open.empty()) {
                    root = std::move(done);
                    haveRoot = true;
                } else {
                    open.back().children.push_back(std::move(done));
                }
                continue;
            }

            advance();
            LayoutNode node;
            node.line = tagLine;
            node.name = readName();
            if (node.name.empty()) return fail("'<' starts no element", tagLine);
            if (haveRoot) return fail("a second element <" + node.name + "> after the root", tagLine);
            if (open.empty() && !sameText(node.name, "ui"))
                return fail("the root element is <" + node.name + ">, not <ui>", tagLine);
            if (static_cast<int>(open.size()) >= kMaxLayoutDepth)
                return fail("elements nest deeper than " + std::to_string(kMaxLayoutDepth), tagLine);
            bool selfClosing = false;
            if (!readAttributes(node, selfClosing)) return false;
            if (!selfClosing) {
                open.push_back(std::move(node));
            } else if (open.empty()) {
                root = std::move(node);
                haveRoot = true;
            } else {
                open.back().children.push_back(std::move(node));
            }
        }
        if (!open.empty())
            return fail("<" + open.back().name + "> is never closed", open.back().line);
        if (!haveRoot) return fail("the document holds no <ui> element");
        return true;
    }
};

// "%d"-style: blanks, a sign, the digits that follow; nullopt without digits.
std::optional<int64_t> scanInteger(std::string_view s, int base) {
    size_t i = 0;
    while (i < s.size() && (isBlank(s[i]) || s[i] == '\v' || s[i] == '\f')) ++i;
    bool negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) negative = s[i++] == '-';
    if (base == 16 && i + 2 < s.size() && s[i] == '0' && lower(s[i + 1]) == 'x' &&
        std::isxdigit(static_cast<unsigned char>(s[i + 2])))
        i += 2;
    uint64_t magnitude = 0;
    const char* first = s.data() + i;
    const auto [end, ec] = std::from_chars(first, s.data() + s.size(), magnitude, base);
    if (end == first) return std::nullopt;
    if (ec == std::errc::result_out_of_range || magnitude > (uint64_t{1} << 32)) magnitude = uint64_t{1} << 32;
    const int64_t value = static_cast<int64_t>(magnitude);
    return negative ? -value : value;
}

}  // namespace

LayoutReadResult readLayoutDocument(std::string_view text) { return Reader(text).read(); }

bool isElement(const LayoutNode& node, std::string_view name) { return sameText(node.name, name); }

bool sameLayoutName(std::string_view a, std::string_view b) { return sameText(a, b); }

std::string getText(const LayoutNode& node, std::string_view key) {
    const char* text = getAttribute(node, key);
    return text ? text : "";
}

const char* getAttribute(const LayoutNode& node, std::string_view key) {
    const std::vector<LayoutAttribute>& pairs = node.attributes;
    size_t i = 0;
    while (i < pairs.size()) {
        const bool bare = pairs[i].value.empty();
        const bool nextBare = i + 1 < pairs.size() && pairs[i + 1].value.empty();
        if (sameText(pairs[i].name, key)) {
            if (!bare) return pairs[i].value.c_str();
            if (nextBare) return pairs[i + 1].name.c_str();
            return pairs[i].value.c_str();  // "", whether a quoted pair follows or nothing does
        }
        i += (bare && nextBare) ? 2 : 1;
    }
    return nullptr;
}

int32_t getInt(const LayoutNode& node, std::string_view key) {
    const char* text = getAttribute(node, key);
    if (text == nullptr) return 0;
    const std::optional<int64_t> value = scanInteger(text, 10);
    if (!value) return 0;
    // Out of range reads as the nearest end of the range.
    if (*value > INT32_MAX) return INT32_MAX;
    if (*value < INT32_MIN) return INT32_MIN;
    return static_cast<int32_t>(*value);
}

uint32_t getHex(const LayoutNode& node, std::string_view key) {
    const char* text = getAttribute(node, key);
    if (text == nullptr) return 0;
    const std::optional<int64_t> value = scanInteger(text, 16);
    if (!value) return 0;
    if (*value > int64_t{UINT32_MAX}) return UINT32_MAX;
    return static_cast<uint32_t>(*value);  // a negative number wraps, as an unsigned reading does
}

bool getBool(const LayoutNode& node, std::string_view key) {
    const char* text = getAttribute(node, key);
    if (text == nullptr) return false;
    if (sameText(text, "true")) return true;
    if (sameText(text, "false")) return false;
    return getInt(node, key) == 0;
}

int32_t getTag(const LayoutNode& node) {
    const char* text = getAttribute(node, "tag");
    if (text == nullptr || *text == '\0') return -1;
    return editorTagTable().valueOf(text);
}

std::vector<std::string> splitText(std::string_view text, std::string_view separator) {
    std::vector<std::string> parts;
    size_t start = 0;
    for (size_t found = text.find(separator); found != std::string_view::npos;
         found = text.find(separator, start)) {
        parts.emplace_back(text.substr(start, found - start));
        start = found + separator.size();
    }
    parts.emplace_back(text.substr(start));
    return parts;
}

std::vector<std::string> splitMenuEntries(std::string_view text) { return splitText(text, "\\n"); }

std::vector<std::string> splitTextLines(std::string_view text) { return splitText(text, "\\"); }
