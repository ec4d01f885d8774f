#pragma once

#include "cpplanguage/deletable.h"
#include "metamodel/stream/metamodelevents.h"

namespace MetaModel {

// Plays a whole meta-model into one sink.
class IMetaModelReader : public virtual CppLanguage::IDeletable {
public:
    virtual bool HasEvents() const = 0;
    // Replaces the sink; the previous one is not touched. Not owned.
    virtual void SetEvents(IMetaModelEvents* events) = 0;
    virtual void Read() = 0;
};

// The frame both readers share: the sink and the protected read.
class CMetaModelReader : public IMetaModelReader {
public:
    void Release() override { delete this; }
    bool HasEvents() const override { return events_ != nullptr; }
    void SetEvents(IMetaModelEvents* events) override { events_ = events; }
    // Failures of the library pass through unchanged; the caller decides.
    void Read() override { UnsafeRead(); }
    ~CMetaModelReader() override = default;
    virtual void UnsafeRead() = 0;

protected:
    IMetaModelEvents* events() const { return events_; }

private:
    IMetaModelEvents* events_ = nullptr;
};

} // namespace MetaModel
