// The chunk framing of saved state: plain text with its NUL, or "ZIP " and a
// zlib stream; round trips across block borders, and what damaged, truncated
// or odd chunks give back.

#include <gtest/gtest.h>
#include <zlib.h>

#include <algorithm>
#include <cstring>
#include <string>

#include "state/ChunkCodec.h"

namespace {

using Bytes = std::vector<uint8_t>;

Bytes textOf(const std::string& s) {
    Bytes b(s.begin(), s.end());
    b.push_back(0);
    return b;
}

// About 100 kB of JSON-like text that does not repeat too plainly.
Bytes bigDocument() {
    std::string s = "{\"bands\":[";
    uint32_t seed = 12345;
    for (int i = 0; s.size() < 100000; ++i) {
        seed = seed * 1664525u + 1013904223u;
        s += "{\"index\":" + std::to_string(i) + ",\"gain\":" + std::to_string(int(seed >> 8) % 4801 - 2400) +
             ",\"name\":\"band " + std::to_string(seed % 977) + "\"},";
    }
    s += "{}]}";
    return textOf(s);
}

Bytes decode(const Bytes& chunk) {
    return decodeChunk(chunk.data(), int32_t(chunk.size()));
}

bool hasTag(const Bytes& chunk) {
    return chunk.size() >= 4 && std::memcmp(chunk.data(), "ZIP ", 4) == 0;
}

// What a chunk the decoder refuses comes back as.
Bytes raw(Bytes b) {
    return b.push_back(0), b;
}

}  // namespace

// Level 0 stores the plain text; any other level a "ZIP " tag and exactly
// one zlib stream of the text, across block borders; above 9 acts as 9.
TEST(ChunkCodec, PlainAndCompressedFormsRoundTrip) {
    const std::string json = "{\"a\":1,\"b\":[1,2,3]}";
    const Bytes plain = encodeChunk(textOf(json), 0);
    EXPECT_EQ(plain, textOf(json));
    EXPECT_EQ(decode(plain), textOf(json));
    EXPECT_EQ(encodeChunk(textOf(json), 42), encodeChunk(textOf(json), 9));

    for (const Bytes& text : {textOf(json), bigDocument()}) {
        for (int level : {1, 5, 9}) {
            SCOPED_TRACE(::testing::Message() << text.size() << " bytes at level " << level);
            bool bailed = true;
            const Bytes zipped = encodeChunk(text, level, &bailed);
            EXPECT_FALSE(bailed);
            ASSERT_TRUE(hasTag(zipped));
            EXPECT_EQ(decode(zipped), text);
            Bytes alone(text.size() + 16);
            uLongf length = uLongf(alone.size());
            ASSERT_EQ(uncompress(alone.data(), &length, zipped.data() + 4, uLong(zipped.size() - 4)), Z_OK);
            alone.resize(length);
            EXPECT_EQ(alone, text);
        }
    }
}

TEST(ChunkCodec, DamagedStreamsGiveBackTheRawBytesAndCutOnesAPrefix) {
    const Bytes text = bigDocument();
    const Bytes zipped = encodeChunk(text, 6);

    Bytes flipped = zipped, badHeader = zipped;
    for (size_t i = flipped.size() / 2; i < flipped.size() / 2 + 8; ++i) flipped[i] ^= 0xA5;
    badHeader[4] ^= 0x01;
    EXPECT_EQ(decode(flipped), raw(flipped));
    EXPECT_EQ(decode(badHeader), raw(badHeader));
    EXPECT_NE(decode(badHeader), text);

    const Bytes got = decode(Bytes(zipped.begin(), zipped.begin() + zipped.size() / 2));
    ASSERT_GT(got.size(), 1u);
    ASSERT_LT(got.size(), text.size());
    EXPECT_EQ(got.back(), 0);
    EXPECT_TRUE(std::equal(got.begin(), got.end() - 1, text.begin()));
}

TEST(ChunkCodec, OddChunksAlwaysEndInNul) {
    const Bytes noNul = {'{', '}'};
    EXPECT_EQ(decode(noNul), Bytes({'{', '}', 0}));
    EXPECT_EQ(decodeChunk(nullptr, 0), Bytes{0});
    EXPECT_EQ(decodeChunk(noNul.data(), -3), Bytes{0});
    EXPECT_EQ(decode(Bytes{'Z', 'I', 'P'}), Bytes({'Z', 'I', 'P', 0}));
    EXPECT_EQ(decode(Bytes{'Z', 'I', 'P', ' '}), Bytes{0});
}

TEST(ChunkCodec, OversizedOutputIsRefused) {
    // A small stream of just over 256 MiB of spaces.
    const Bytes spaces(1 << 20, ' ');
    z_stream strm{};
    ASSERT_EQ(deflateInit2(&strm, 9, Z_DEFLATED, 15, 8, Z_RLE), Z_OK);
    Bytes bomb = {'Z', 'I', 'P', ' '};
    Bytes block(1 << 16);
    for (int i = 0; i <= 257; ++i) {
        strm.next_in = const_cast<Bytef*>(spaces.data());
        strm.avail_in = uInt(spaces.size());
        const int flush = i == 257 ? Z_FINISH : Z_NO_FLUSH;
        do {
            strm.next_out = block.data();
            strm.avail_out = uInt(block.size());
            deflate(&strm, flush);
            bomb.insert(bomb.end(), block.data(), strm.next_out);
        } while (strm.avail_out == 0);
    }
    deflateEnd(&strm);
    ASSERT_LT(bomb.size(), 1u << 20);

    EXPECT_EQ(decode(bomb), raw(bomb));
}
