#pragma once
// The files compiled into the binary (see cmake/EmbedResources.cmake), found
// by name and type, e.g. ("defaults", "json") or ("OpenSans-Regular", "font").

#include <cstddef>

// A resource's bytes. `data[size]` is always a NUL byte that is not part of
// the resource, so a text resource can be read as a C string; binary
// resources may hold NULs of their own, so go by `size`.
struct ResourceData {
    const unsigned char* data;
    size_t size;
};

// The resource compiled in under (name, type), matched exactly; {nullptr, 0}
// when there is none or either argument is null.
ResourceData findResource(const char* name, const char* type);
