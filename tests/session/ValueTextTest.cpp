// Values typed into the editor's fields: what each text asks for.

#include <gtest/gtest.h>

#include "session/ValueText.h"

TEST(ValueText, TypedTextGivesAValueTheDefaultOrNothing) {
    const struct {
        const char* text;
        bool frequency, noteMode;
        TypedValue::Kind kind;
        double value;
    } rows[] = {
        {"1k5", true, false, TypedValue::kValue, 1500.0},
        {"a4", true, false, TypedValue::kValue, 440.0},
        {"1.5 kHz", true, false, TypedValue::kValue, 1500.0},
        {"250 Hz", true, false, TypedValue::kValue, 250.0},
        {"2,5", false, false, TypedValue::kValue, 2.5},
        {"-3 dB", false, false, TypedValue::kValue, -3.0},
        {"1.5 k", false, false, TypedValue::kValue, 1.5},  // thousands only in a frequency field
        {"hello", true, false, TypedValue::kDefault, 0.0},
        {"", false, false, TypedValue::kDefault, 0.0},
        {"x0", true, false, TypedValue::kIgnored, 0.0},
        {"c4", true, true, TypedValue::kValue, 261.6256},
        {"a#3-50", true, true, TypedValue::kValue, 226.4465},
        {"100", true, true, TypedValue::kIgnored, 0.0},
    };
    for (const auto& row : rows) {
        const TypedValue typed = readTypedValue(row.text, row.frequency, row.noteMode);
        EXPECT_EQ(typed.kind, row.kind) << row.text;
        if (row.kind == TypedValue::kValue) {
            EXPECT_NEAR(typed.value, row.value, 1e-3) << row.text;
        }
    }
}
