// The transfer writes the repository from a kept stream instead of a reading: a value that
// came back different, or an event lost at a block border, would land in the tables as is.
#include "metamodel/stream/eventlog.h"

#include "support/recordingevents.h"

#include <gtest/gtest.h>

#include <climits>
#include <functional>
#include <string>

namespace {

using MetaModel::CEventLog;
using MetaModel::IMetaModelEvents;
using MetaModel::String;
using TestSupport::RecordingEvents;

const IMetaModelEvents::ElementStatus active = IMetaModelEvents::EsActive;

// Every kind of event, with the values at the edges of what they carry.
void play(IMetaModelEvents& sink, const String& longText) {
    sink.Start();
    sink.SetSource("first.xml");
    sink.StartCategory("Base", false, "", 1003001, IMetaModelEvents::EsDeprecated);
    sink.Attribute("LIMIT", INT_MIN, active);
    sink.Attribute("CEILING", INT_MAX, IMetaModelEvents::EsObsolete);
    sink.Attribute("EMPTY", String(), active);
    sink.Attribute("ZERO", String("a\0b", 3), active);
    sink.StartProperty("size", "Size in bytes", "integer", 0, -1, "sum", 2000001,
                       IMetaModelEvents::EsInactive);
    sink.Attribute("TEXT", longText, active);
    sink.EndProperty();
    sink.InheritedCategory("Root", active);
    sink.EndCategory(false);
    sink.SetSource("second.xml");
    sink.StartType("Base", true, "", IMetaModelEvents::NoId,
                   static_cast<IMetaModelEvents::ElementStatus>(9));
    sink.Tree("Folder", "Containment", active);
    // Enough small events to fill blocks several times over.
    for (int index = 0; index < 120000; ++index)
        sink.Attribute("A" + std::to_string(index % 97), index - 60000, active);
    sink.EndType(true);
    // Events of one byte for more than a block: one of them is the last byte of a block.
    for (int index = 0; index <= 1 << 20; ++index)
        sink.End();
}

TEST(EventLog, AReplayTellsEveryEventAndMarkAsItWasKept) {
    const String longText(std::string(3 * 1024 * 1024 + 17, 'x'));
    RecordingEvents direct;
    play(direct, longText);

    CEventLog log;
    play(log, longText);
    EXPECT_EQ(log.GetSource(), "second.xml");
    RecordingEvents replayed;
    log.Replay(replayed);

    ASSERT_EQ(replayed.events.size(), direct.events.size());
    for (size_t index = 0; index < direct.events.size(); ++index)
        ASSERT_EQ(replayed.events[index], direct.events[index]) << "event " << index;
    EXPECT_EQ(replayed.GetSource(), "second.xml");

    // Told twice, the same again; cleared, nothing.
    RecordingEvents again;
    log.Replay(again);
    EXPECT_EQ(again.events, direct.events);
    log.Clear();
    RecordingEvents none;
    log.Replay(none);
    EXPECT_TRUE(none.events.empty());
}

TEST(EventLog, ASinkThatThrowsStopsTheReplayWhereItStands) {
    struct Refusing : RecordingEvents {
        void OnInheritedCategory(const String&, const ElementStatus&) override {
            throw std::runtime_error("refused");
        }
    };
    CEventLog log;
    log.Start();
    log.StartCategory("Base", false, "", 1, active);
    log.InheritedCategory("Root", active);
    log.Attribute("AFTER", 1, active);
    log.EndCategory(false);
    log.End();
    Refusing sink;
    EXPECT_THROW(log.Replay(sink), std::runtime_error);
    EXPECT_EQ(sink.events.back().rfind("StartCategory Base", 0), 0u) << sink.events.back();
}

} // namespace
