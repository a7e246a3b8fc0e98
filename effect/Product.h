#pragma once
// Who makes the effect and which version it is, as hosts and the about
// page show them.

#include <cstdint>

inline constexpr const char* kVendorName = "Kestrawn";
inline constexpr const char* kProductName = "Fenwoldrine";
inline constexpr int32_t kVendorVersion = 159;  // 1.59
inline constexpr const char* kVersionText = "1.59";
