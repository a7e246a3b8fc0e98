#pragma once
// The framing of a state chunk: the document text with its terminating NUL,
// either as it is, or as "ZIP " followed by one zlib stream of it.

#include <cstdint>
#include <vector>

// The chunk for `text` (which must hold the terminating NUL as its last
// byte). level 0 gives the plain form; 1..9 the "ZIP " form at that zlib
// level. If compression fails the plain form is returned, and `bailed` (if
// given) tells whether the compressor reported a stream error.
std::vector<uint8_t> encodeChunk(const std::vector<uint8_t>& text, int32_t level, bool* bailed = nullptr);

// The text inside a chunk: a "ZIP " chunk is inflated (a truncated stream
// gives what was inflated, NUL-terminated); a damaged stream, or any chunk
// without the tag, gives the bytes as they are. The result always ends in a
// NUL byte, so it can be parsed safely.
std::vector<uint8_t> decodeChunk(const uint8_t* data, int32_t size);
