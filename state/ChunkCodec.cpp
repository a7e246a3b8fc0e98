#include "state/ChunkCodec.h"

#include <zlib.h>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

constexpr size_t kBlock = 8192;
constexpr uint8_t kTag[4] = {'Z', 'I', 'P', ' '};
// State documents are a few kB; anything that inflates past this is not one.
constexpr size_t kMaxInflated = size_t(256) << 20;

// The bytes as they are, with a NUL after them unless they already end in one.
std::vector<uint8_t> terminated(const uint8_t* data, size_t size) {
    std::vector<uint8_t> out;
    out.reserve(size + 1);
    if (data != nullptr && size > 0) out.assign(data, data + size);
    if (out.empty() || out.back() != 0) out.push_back(0);
    return out;
}

// Makes room for more output when the current block is full, and points the
// stream at it. `used` counts the bytes already written into `out`.
void ensureRoom(std::vector<uint8_t>& out, size_t used, Bytef*& nextOut, uInt& availOut) {
    if (availOut != 0) return;
    // Double the capacity as a vector would, but never far past the largest
    // output we accept, so a hostile stream cannot make us hold twice that.
    if (out.capacity() < out.size() + kBlock)
        out.reserve(std::max(out.size() + kBlock, std::min(out.capacity() * 2, kMaxInflated + 2 * kBlock)));
    out.resize(out.size() + kBlock);
    nextOut = out.data() + used;
    availOut = uInt(out.size() - used);
}

}  // namespace

std::vector<uint8_t> encodeChunk(const std::vector<uint8_t>& text, int32_t level, bool* bailed) {
    if (bailed != nullptr) *bailed = false;
    if (level <= 0) return text;
    level = std::min<int32_t>(level, 9);

    z_stream strm{};
    if (deflateInit(&strm, level) != Z_OK) return text;

    std::vector<uint8_t> out(std::begin(kTag), std::end(kTag));
    out.resize(sizeof(kTag) + kBlock);
    strm.next_out = out.data() + sizeof(kTag);
    strm.avail_out = uInt(kBlock);

    const size_t size = text.size();
    size_t pos = 0;
    bool ok = true;
    do {
        const size_t n = std::min(kBlock, size - pos);
        const int flush = (pos + n == size) ? Z_FINISH : Z_NO_FLUSH;
        // deflate never writes through next_in; the cast is zlib's old API.
        strm.next_in = const_cast<Bytef*>(text.data() + pos);
        strm.avail_in = uInt(n);
        pos += n;
        for (;;) {
            ensureRoom(out, out.size() - strm.avail_out, strm.next_out, strm.avail_out);
            const int ret = deflate(&strm, flush);
            if (ret == Z_STREAM_ERROR) {
                std::fputs("bailing!\n", stderr);
                if (bailed != nullptr) *bailed = true;
                ok = false;
                break;
            }
            if (ret == Z_STREAM_END) break;
            if (ret != Z_OK && ret != Z_BUF_ERROR) {
                ok = false;
                break;
            }
            // Without Z_FINISH a block is done once its input is taken and
            // nothing is left waiting for room.
            if (flush != Z_FINISH && strm.avail_in == 0 && strm.avail_out != 0) break;
        }
    } while (ok && pos < size);

    const size_t used = out.size() - strm.avail_out;
    deflateEnd(&strm);
    if (!ok) return text;
    out.resize(used);
    return out;
}

std::vector<uint8_t> decodeChunk(const uint8_t* data, int32_t size) {
    if (data == nullptr || size <= 0) return terminated(nullptr, 0);
    const size_t total = size_t(size);
    if (total < sizeof(kTag) || std::memcmp(data, kTag, sizeof(kTag)) != 0) return terminated(data, total);

    z_stream strm{};
    if (inflateInit(&strm) != Z_OK) return terminated(data, total);

    std::vector<uint8_t> out(kBlock);
    strm.next_out = out.data();
    strm.avail_out = uInt(kBlock);

    size_t pos = sizeof(kTag);
    bool failed = false;
    bool done = false;
    while (!done && !failed && pos < total) {
        const size_t n = std::min(kBlock, total - pos);
        strm.next_in = const_cast<Bytef*>(data + pos);
        strm.avail_in = uInt(n);
        pos += n;
        for (;;) {
            ensureRoom(out, out.size() - strm.avail_out, strm.next_out, strm.avail_out);
            const int ret = inflate(&strm, Z_NO_FLUSH);
            if (ret == Z_NEED_DICT || ret == Z_DATA_ERROR || ret == Z_MEM_ERROR || ret == Z_STREAM_ERROR ||
                out.size() - strm.avail_out > kMaxInflated) {
                failed = true;
                break;
            }
            if (ret == Z_STREAM_END) {
                done = true;
                break;
            }
            // Z_BUF_ERROR means no progress was possible: the input is spent
            // (a truncated stream) and inflate wants more.
            if (ret == Z_BUF_ERROR || (strm.avail_in == 0 && strm.avail_out != 0)) break;
        }
    }

    const size_t used = out.size() - strm.avail_out;
    inflateEnd(&strm);
    if (failed) return terminated(data, total);
    out.resize(used);
    if (out.empty() || out.back() != 0) out.push_back(0);
    return out;
}
