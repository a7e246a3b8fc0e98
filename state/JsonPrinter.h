#pragma once
// Prints a JSON tree (cJSON) as text: formatted (tabs and newlines, the
// layout of cJSON's own formatted printer) or unformatted, with the
// project's rule for numbers, which keeps parameter values exact:
//   0 -> "0"; an integer within int32 -> "%d"; another whole number under
//   1e60 -> "%.0f"; magnitude under 1e-6 or over 1e9 -> "%e"; else "%.10f".

#include <string>

struct cJSON;

// The text of `item`; an empty string for a null item.
std::string printJson(const cJSON* item, bool formatted);

// The text one number prints as, by the rule above.
std::string printJsonNumber(double value);
