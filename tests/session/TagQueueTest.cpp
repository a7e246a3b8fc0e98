// Updates for the views: every parameter and every editor tag gets through
// the queue once, and nothing outside the tags is taken in.

#include <gtest/gtest.h>

#include "TestHost.h"

TEST(TagQueue, EveryTagReachesTheViewsOnce) {
    auto fx = makePlug(2);
    PlugEd& ed = *PlugEd::of(*fx);
    for (const int32_t tag : {int32_t(kBypass), int32_t(kDPlusPhase), int32_t(kGUIEQGraph), int32_t(kGUISelectedBand),
                              int32_t(kGUIMasterMeterTray), int32_t(kGUIGroupMetersTray)}) {
        while (ed.takeUpdate(tag, nullptr)) {
        }
        ed.setParameter(tag, 0.25f);
        float value = 0.0f;
        EXPECT_TRUE(ed.takeUpdate(tag, &value)) << tag;
        EXPECT_EQ(value, 0.25f) << tag;
        EXPECT_FALSE(ed.takeUpdate(tag, &value)) << tag;
    }
    ed.setParameter(kEditorTagEnd, 1.0f);
    EXPECT_FALSE(ed.takeUpdate(kEditorTagEnd, nullptr));
    EXPECT_FALSE(ed.takeUpdate(-1, nullptr));
}
