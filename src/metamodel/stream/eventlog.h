#pragma once

#include "metamodel/stream/metamodelevents.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

namespace MetaModel {

// Where a reader stands while it tells an event.
class IEventPosition {
public:
    virtual int line() const = 0;
    virtual int column() const = 0;

protected:
    ~IEventPosition() = default;
};

// A stream kept to be told again: every call a reader makes, in order, with its values, and
// marks that the keeper adds between them (a reader's "now document n of m"). Kept as packed
// bytes in blocks that never move: a large set is hundreds of thousands of events, and a
// record with a string object per text would cost several times the texts themselves.
class CEventLog final : public IMetaModelEvents {
public:
    CEventLog();
    ~CEventLog() override;
    CEventLog(const CEventLog&) = delete;
    CEventLog& operator=(const CEventLog&) = delete;

    void Release() override { delete this; }

    void Start() override;
    void End() override;
    void StartCategory(const String& name, bool partial, const String& description, int id,
                       const ElementStatus& status) override;
    void EndCategory(bool partial) override;
    void StartType(const String& name, bool partial, const String& description, int id,
                   const ElementStatus& status) override;
    void EndType(bool partial) override;
    void StartProperty(const String& name, const String& description, const String& type,
                       const int& minimalCardinality, const int& maximalCardinality,
                       const String& merge, int id, const ElementStatus& status) override;
    void EndProperty() override;
    void Attribute(const String& name, int value, const ElementStatus& status) override;
    void Attribute(const String& name, const String& value, const ElementStatus& status) override;
    void InheritedCategory(const String& name, const ElementStatus& status) override;
    void Tree(const String& parentType, const String& treeCategory,
              const ElementStatus& status) override;
    void SetSource(const String& source) override;
    const String& GetSource() const override { return source_; }

    // From now on each event keeps where `source` stood when it was told (null: no more).
    void RecordPositions(const IEventPosition* source) { positions_ = source; }

    struct Position {
        int line = 0;
        int column = 0;
    };

    // Tells `sink` every event in order; an exception of the sink stops the replay where it
    // stands. `at`, when given, holds the kept position of each event while the sink hears it.
    void Replay(IMetaModelEvents& sink, Position* at = nullptr) const;
    // Forgets everything and gives back the memory.
    void Clear();
    // Forgets everything but keeps the first block, for a log filled again and again.
    void Reuse();

private:
    class Cursor;

    void put(const void* bytes, std::size_t size);
    void putKind(std::uint8_t kind);
    void putPosition();
    void putInt(std::int64_t value);
    void putText(const String& text);
    void putElement(std::uint8_t kind, const String& name, bool partial, const String& description,
                    int id, ElementStatus status);

    std::vector<std::unique_ptr<char[]>> blocks_;
    std::size_t used_ = 0; // in the last block
    String source_;
    const IEventPosition* positions_ = nullptr;
    Position lastPosition_;
};

} // namespace MetaModel
