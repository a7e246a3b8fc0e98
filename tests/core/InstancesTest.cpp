// Instances that know each other: the registry, names, what one instance
// sends the others, and the alerts the user is shown.

#include <gtest/gtest.h>

#include <cstring>

#include "TestHost.h"
#include "core/InstanceRegistry.h"
#include "session/PlugEd.h"
#include "state/Alerts.h"

TEST(Instances, NamesCountFromZeroAndDeletingOneRenamesNoOther) {
    InstanceRegistry& registry = InstanceRegistry::instance();
    ASSERT_EQ(registry.count(), 0);
    auto a = makePlug(2);
    auto b = makePlug(2);
    EXPECT_STREQ(a->getInstanceName(), "EQ: 0");
    EXPECT_STREQ(b->getInstanceName(), "EQ: 1");
    EXPECT_EQ(registry.indexOf(b.get()), 1);
    EXPECT_TRUE(registry.instanceNames(a.get()) == std::vector<std::string>{"EQ: 1"});
    a.reset();
    EXPECT_STREQ(b->getInstanceName(), "EQ: 1");
    EXPECT_EQ(registry.count(), 1);
    EXPECT_TRUE(registry.instanceNames(b.get()).empty());
    auto c = makePlug(2);
    EXPECT_STREQ(c->getInstanceName(), "EQ: 1");  // the count at its birth
}

TEST(Instances, OthersAreCountedAroundTheAskingInstanceAndHandlesOutliveThem) {
    auto a = makePlug(2), b = makePlug(2), c = makePlug(2), d = makePlug(2);
    InstanceRegistry& registry = InstanceRegistry::instance();
    // The instance a handle reaches; nullptr for none.
    auto reached = [](const InstanceRegistry::Handle& handle) {
        Plug* fx = nullptr;
        handle.with([&](Plug& p) { fx = &p; });
        return fx;
    };
    const struct {
        const Plug* self;
        int32_t i;
        const Plug* other;
    } cases[] = {{b.get(), 0, a.get()}, {b.get(), 1, c.get()}, {b.get(), 3, nullptr},
                 {a.get(), 0, b.get()}, {a.get(), -1, nullptr}};
    for (const auto& k : cases) EXPECT_EQ(reached(registry.otherAt(k.self, k.i)), k.other) << k.i;
    // Every instance heard of the newcomers.
    float value = 0.0f;
    EXPECT_TRUE(PlugEd::of(*a)->takeUpdate(kGUIInstancesChanged, &value));

    const InstanceRegistry::Handle kept = registry.handleOf(c.get());
    c.reset();
    EXPECT_EQ(reached(kept), nullptr);
    EXPECT_EQ(reached(registry.otherAt(b.get(), 1)), d.get());
    // Destroyed from inside a call that reached it, the instance does not
    // wait for the pin its own thread holds.
    registry.handleOf(d.get()).with([&](Plug&) { d.reset(); });
    EXPECT_EQ(registry.count(), 2);
}

TEST(Instances, AUsersNameOutranksTheHostsUntilClearedAndLongNamesAreCutBeforeAWholeCharacter) {
    auto fx = makePlug(2);
    fx->setInstanceName("Bus 3", false);
    EXPECT_STREQ(fx->getInstanceName(), "Bus 3");
    fx->setInstanceName("Drums", true);
    EXPECT_TRUE(fx->isNamedByUser());
    fx->setInstanceName("Bus 4", false);  // the host renames its track
    EXPECT_STREQ(fx->getInstanceName(), "Drums");
    fx->setInstanceName("", true);
    EXPECT_STREQ(fx->getInstanceName(), "Bus 4");
    EXPECT_FALSE(fx->isNamedByUser());
    // 30 ASCII bytes, then a three-byte character crossing byte 32.
    const std::string name = std::string(30, 'a') + "\xE2\x82\xAC" + "tail";
    fx->setInstanceName(name.c_str(), true);
    EXPECT_EQ(std::string(fx->getInstanceName()), std::string(30, 'a'));
    // Exactly 32 bytes lose the last character.
    fx->setInstanceName(std::string(32, 'b').c_str(), true);
    EXPECT_EQ(std::strlen(fx->getInstanceName()), 31u);
}

TEST(Instances, DspAndRenderSettingsReachEveryOtherInstance) {
    auto source = makePlug(2), first = makePlug(2), second = makePlug(2);
    source->setParameter(kMode, 1.0f);
    source->setParameter(kIRLength, float(source->displayToNorm(kIRLength, 5)));
    source->setParameter(kIRPhase, float(source->displayToNorm(kIRPhase, 1)));
    source->setParameter(kGain, 0.9f);  // not a DSP setting
    source->setRenderSetting(0, 1.0f);
    source->setRenderSetting(8, 1.0f);
    source->propagateDSP();
    source->propagateRenderDSP();
    for (Plug* other : {first.get(), second.get()}) {
        for (const int32_t i : {kMode, kIRLength, kIRWindow, kIRWindowParam, kIRPhase, kIRPad, kDPlusLen, kDPlusPhase})
            EXPECT_EQ(other->getParameter(i), source->getParameter(i)) << i;
        EXPECT_EQ(other->getParameter(kGain), other->getDefaultNorm(kGain));
        EXPECT_TRUE(other->canUndo());  // as an edit of its own
        EXPECT_EQ(other->getRenderSetting(0), 1.0f);
        EXPECT_EQ(other->getRenderSetting(8), 1.0f);
        EXPECT_TRUE(PlugEd::of(*other)->isSettingsPageStale());
    }
    EXPECT_FALSE(source->canUndo());
    EXPECT_FALSE(PlugEd::of(*source)->isSettingsPageStale());
}

TEST(Alerts, FileAccessMessagesNameTheFileAndUnforcedOnesComeOnce) {
    Alerts::instance().takeAll();
    fileAccessAlert("/no/such/a.fwi", "rb", false);
    fileAccessAlert("/no/such/b.fwi", "rb", false);  // the once-only mark is set
    fileAccessAlert("/ro/bank.fwb", "wb", true);
    const std::vector<Alerts::Alert> shown = Alerts::instance().takeAll();
    ASSERT_EQ(shown.size(), 2u);
    EXPECT_NE(shown[0].text.find("read from file /no/such/a.fwi"), std::string::npos);
    EXPECT_NE(shown[1].text.find("write to file /ro/bank.fwb"), std::string::npos);
    EXPECT_TRUE(Alerts::instance().empty());
}

TEST(Instances, AnAnalyserSourceNamedInAStateIsFoundAmongTheOthers) {
    auto a = makePlug(2), b = makePlug(2), c = makePlug(2);
    c->setInstanceName("Drum bus", true);
    const std::string document = R"({"settings": {"analyserSourceChn1": 1, "analyserSourceInst1": "Drum bus",
                                     "analyserSourceChn2": 9, "analyserSourceInst2": "Nobody"}})";
    std::vector<char> text(document.begin(), document.end());
    text.push_back(0);
    a->setChunk(text.data(), int32_t(text.size()), false);
    PlugEd& ed = *PlugEd::of(*a);
    // "Drum bus" is the second of a's others: position 1, shifted into the second byte.
    EXPECT_EQ(ed.getAnalyserSource(0), 1 | (1 << 8));
    EXPECT_EQ(ed.getAnalyserSourceName(0), "Drum bus");
    // No such instance and a channel past the count: the fallback, no name.
    EXPECT_EQ(ed.getAnalyserSource(1), 1);
    EXPECT_EQ(ed.getAnalyserSourceName(1), "");
}
