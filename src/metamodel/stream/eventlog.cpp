#include "metamodel/stream/eventlog.h"

#include <algorithm>
#include <cstring>

namespace MetaModel {

namespace {

constexpr std::size_t blockSize = 1 << 20;

enum Kind : std::uint8_t {
    KindStart,
    KindEnd,
    KindStartCategory,
    KindEndCategory,
    KindStartType,
    KindEndType,
    KindStartProperty,
    KindEndProperty,
    KindIntegerAttribute,
    KindTextAttribute,
    KindInheritedCategory,
    KindTree,
    KindSource,
    KindPosition,
};

} // namespace

// Reads the bytes back in the order they were put, across the blocks.
class CEventLog::Cursor {
public:
    explicit Cursor(const CEventLog& log) : log_(log) {}

    bool atEnd() const {
        return block_ + 1 >= log_.blocks_.size() && (log_.blocks_.empty() || at_ >= endOf(block_));
    }
    std::uint8_t kind() { return byte(); }
    // Integers are stored zig-zag, seven bits to a byte: most are small.
    std::int64_t integer() {
        std::uint64_t bits = 0;
        for (int shift = 0;; shift += 7) {
            const std::uint8_t next = byte();
            bits |= std::uint64_t(next & 0x7F) << shift;
            if (!(next & 0x80))
                break;
        }
        return std::int64_t(bits >> 1) ^ -std::int64_t(bits & 1);
    }
    int number() { return int(integer()); }
    IMetaModelEvents::ElementStatus status() {
        return static_cast<IMetaModelEvents::ElementStatus>(integer());
    }
    // Into `text`, which keeps its capacity from one event to the next.
    const String& text(String& text) {
        text.resize(std::size_t(integer()));
        get(text.data(), text.size());
        return text;
    }

private:
    std::size_t endOf(std::size_t block) const {
        return block + 1 == log_.blocks_.size() ? log_.used_ : blockSize;
    }
    std::uint8_t byte() {
        if (at_ == endOf(block_)) {
            ++block_;
            at_ = 0;
        }
        return std::uint8_t(log_.blocks_[block_][at_++]);
    }
    void get(void* into, std::size_t size) {
        auto* out = static_cast<char*>(into);
        // Most reads lie within one block.
        if (endOf(block_) - at_ >= size) {
            std::memcpy(out, log_.blocks_[block_].get() + at_, size);
            at_ += size;
            return;
        }
        while (size > 0) {
            if (at_ == endOf(block_)) {
                ++block_;
                at_ = 0;
            }
            const std::size_t step = std::min(size, endOf(block_) - at_);
            std::memcpy(out, log_.blocks_[block_].get() + at_, step);
            out += step;
            at_ += step;
            size -= step;
        }
    }

    const CEventLog& log_;
    std::size_t block_ = 0;
    std::size_t at_ = 0;
};

CEventLog::CEventLog() = default;

CEventLog::~CEventLog() = default;

void CEventLog::put(const void* bytes, std::size_t size) {
    const auto* in = static_cast<const char*>(bytes);
    // Most writes fit in the block being filled.
    if (!blocks_.empty() && blockSize - used_ >= size) {
        std::memcpy(blocks_.back().get() + used_, in, size);
        used_ += size;
        return;
    }
    while (size > 0) {
        if (blocks_.empty() || used_ == blockSize) {
            blocks_.push_back(std::make_unique_for_overwrite<char[]>(blockSize));
            used_ = 0;
        }
        const std::size_t step = std::min(size, blockSize - used_);
        std::memcpy(blocks_.back().get() + used_, in, step);
        in += step;
        used_ += step;
        size -= step;
    }
}

void CEventLog::putKind(std::uint8_t kind) {
    if (positions_)
        putPosition();
    if (!blocks_.empty() && used_ < blockSize) {
        blocks_.back()[used_++] = char(kind);
        return;
    }
    put(&kind, 1);
}

// Only a change is kept: the events of one tag share its position.
void CEventLog::putPosition() {
    const Position now{positions_->line(), positions_->column()};
    if (now.line == lastPosition_.line && now.column == lastPosition_.column)
        return;
    lastPosition_ = now;
    const std::uint8_t kind = KindPosition;
    put(&kind, 1);
    putInt(now.line);
    putInt(now.column);
}

void CEventLog::putInt(std::int64_t value) {
    std::uint64_t bits = (std::uint64_t(value) << 1) ^ std::uint64_t(value >> 63);
    constexpr std::size_t longest = 10;
    std::uint8_t bytes[longest];
    // Straight into the block when the longest form fits: most integers are one byte, and a
    // copy of one byte through memcpy costs more than the byte.
    const bool direct = !blocks_.empty() && blockSize - used_ >= longest;
    auto* out = direct ? reinterpret_cast<std::uint8_t*>(blocks_.back().get() + used_) : bytes;
    std::size_t size = 0;
    do {
        out[size++] = std::uint8_t((bits & 0x7F) | (bits > 0x7F ? 0x80 : 0));
        bits >>= 7;
    } while (bits);
    if (direct)
        used_ += size;
    else
        put(bytes, size);
}

void CEventLog::putText(const String& text) {
    putInt(std::int64_t(text.size()));
    put(text.data(), text.size());
}

void CEventLog::Start() {
    putKind(KindStart);
}

void CEventLog::End() {
    putKind(KindEnd);
}

void CEventLog::putElement(std::uint8_t kind, const String& name, bool partial,
                           const String& description, int id, ElementStatus status) {
    putKind(kind);
    putText(name);
    putInt(partial);
    putText(description);
    putInt(id);
    putInt(status);
}

void CEventLog::StartCategory(const String& name, bool partial, const String& description, int id,
                              const ElementStatus& status) {
    putElement(KindStartCategory, name, partial, description, id, status);
}

void CEventLog::EndCategory(bool partial) {
    putKind(KindEndCategory);
    putInt(partial);
}

void CEventLog::StartType(const String& name, bool partial, const String& description, int id,
                          const ElementStatus& status) {
    putElement(KindStartType, name, partial, description, id, status);
}

void CEventLog::EndType(bool partial) {
    putKind(KindEndType);
    putInt(partial);
}

void CEventLog::StartProperty(const String& name, const String& description, const String& type,
                              const int& minimalCardinality, const int& maximalCardinality,
                              const String& merge, int id, const ElementStatus& status) {
    putKind(KindStartProperty);
    putText(name);
    putText(description);
    putText(type);
    putInt(minimalCardinality);
    putInt(maximalCardinality);
    putText(merge);
    putInt(id);
    putInt(status);
}

void CEventLog::EndProperty() {
    putKind(KindEndProperty);
}

void CEventLog::Attribute(const String& name, int value, const ElementStatus& status) {
    putKind(KindIntegerAttribute);
    putText(name);
    putInt(value);
    putInt(status);
}

void CEventLog::Attribute(const String& name, const String& value, const ElementStatus& status) {
    putKind(KindTextAttribute);
    putText(name);
    putText(value);
    putInt(status);
}

void CEventLog::InheritedCategory(const String& name, const ElementStatus& status) {
    putKind(KindInheritedCategory);
    putText(name);
    putInt(status);
}

void CEventLog::Tree(const String& parentType, const String& treeCategory,
                     const ElementStatus& status) {
    putKind(KindTree);
    putText(parentType);
    putText(treeCategory);
    putInt(status);
}

void CEventLog::SetSource(const String& source) {
    source_ = source;
    putKind(KindSource);
    putText(source);
}

void CEventLog::Replay(IMetaModelEvents& sink, Position* at) const {
    Cursor cursor(*this);
    // One string per text slot of an event, reused throughout.
    String first, second, third, fourth;
    while (!cursor.atEnd()) {
        const std::uint8_t kind = cursor.kind();
        switch (kind) {
        case KindStart:
            sink.Start();
            break;
        case KindEnd:
            sink.End();
            break;
        case KindStartCategory:
        case KindStartType: {
            const String& name = cursor.text(first);
            const bool partial = cursor.integer() != 0;
            const String& description = cursor.text(second);
            const int id = cursor.number();
            const ElementStatus status = cursor.status();
            if (kind == KindStartCategory)
                sink.StartCategory(name, partial, description, id, status);
            else
                sink.StartType(name, partial, description, id, status);
            break;
        }
        case KindEndCategory:
            sink.EndCategory(cursor.integer() != 0);
            break;
        case KindEndType:
            sink.EndType(cursor.integer() != 0);
            break;
        case KindStartProperty: {
            const String& name = cursor.text(first);
            const String& description = cursor.text(second);
            const String& type = cursor.text(third);
            const int minimalCardinality = cursor.number();
            const int maximalCardinality = cursor.number();
            const String& merge = cursor.text(fourth);
            const int id = cursor.number();
            const ElementStatus status = cursor.status();
            sink.StartProperty(name, description, type, minimalCardinality, maximalCardinality,
                               merge, id, status);
            break;
        }
        case KindEndProperty:
            sink.EndProperty();
            break;
        case KindIntegerAttribute: {
            const String& name = cursor.text(first);
            const int value = cursor.number();
            sink.Attribute(name, value, cursor.status());
            break;
        }
        case KindTextAttribute: {
            const String& name = cursor.text(first);
            const String& value = cursor.text(second);
            sink.Attribute(name, value, cursor.status());
            break;
        }
        case KindInheritedCategory: {
            const String& name = cursor.text(first);
            sink.InheritedCategory(name, cursor.status());
            break;
        }
        case KindTree: {
            const String& parentType = cursor.text(first);
            const String& treeCategory = cursor.text(second);
            sink.Tree(parentType, treeCategory, cursor.status());
            break;
        }
        case KindSource:
            sink.SetSource(cursor.text(first));
            break;
        case KindPosition: {
            const int line = cursor.number();
            const int column = cursor.number();
            if (at)
                *at = Position{line, column};
            break;
        }
        }
    }
}

void CEventLog::Reuse() {
    if (blocks_.size() > 1)
        blocks_.resize(1);
    used_ = 0;
    source_.clear();
    positions_ = nullptr;
    lastPosition_ = Position{};
}

void CEventLog::Clear() {
    blocks_.clear();
    used_ = 0;
    source_.clear();
    lastPosition_ = Position{};
}

} // namespace MetaModel
