// The whole state is one portable chunk property. Saving a preset from the
// editor in between session saves leaves every program and slot in the chunk.
// (A damaged chunk: CarelessHostTest; a round trip through a host's files:
// Lv2AudioTest.)

#include <gtest/gtest.h>

#include <lv2/state/state.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "Lv2TestHost.h"
#include "session/PlugEd.h"

TEST(Lv2State, APresetSavedByTheEditorLeavesTheSessionWhole) {
    const HostSetup setup{2, 48000.0, true, true};
    Lv2TestHost first(setup);
    first.activate();
    Plug& fx = first.effect();
    fx.setProgram(7);
    fx.setParameter(bandParam(1, kFieldGain), 0.8f);
    fx.copyToABSlot(5);
    fx.setProgram(0);
    fx.setParameter(bandParam(4, kFieldQ), 0.3f);
    StoredProperty earlier;  // the host's last session save, cached by the effect
    ASSERT_EQ(saveState(first, earlier), LV2_STATE_SUCCESS);

    const std::string preset = std::string(std::getenv("HOME")) + "/editor preset.fwi";
    ASSERT_TRUE(PlugEd::of(fx)->savePreset(preset));
    StoredProperty session;
    ASSERT_EQ(saveState(first, session), LV2_STATE_SUCCESS);
    EXPECT_EQ(session.key, first.urids.map(fwlv2::kChunkKeyUri));
    EXPECT_EQ(session.type, first.urids.map(LV2_ATOM__Chunk));
    EXPECT_EQ(session.flags, uint32_t(LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE));

    Lv2TestHost fresh(setup);
    ASSERT_EQ(restoreState(fresh, session), LV2_STATE_SUCCESS);
    auto same = [](const ProgramRecord& a, const ProgramRecord& b) {
        return std::strcmp(a.name, b.name) == 0 && std::memcmp(a.values, b.values, sizeof a.values) == 0;
    };
    for (int32_t p = 0; p < kNumPrograms; ++p)
        EXPECT_TRUE(same(fresh.effect().programStore().program(p), fx.programStore().program(p))) << "program " << p;
    for (int32_t s = 0; s < kNumABSlots; ++s)
        EXPECT_TRUE(same(fresh.effect().programStore().slot(s), fx.programStore().slot(s))) << "slot " << s;
}
