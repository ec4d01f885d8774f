#pragma once

#include "metamodel/stream/metamodelevents.h"
#include "platform/orlofile.h"

#include <memory>

// A flat index of a stream: one tab-separated line per category, type and property with its
// id, in stream order.
class CDumpMetaModelEvents : public MetaModel::CMetaModelEvents {
public:
    // Touches nothing on disk before the stream starts.
    explicit CDumpMetaModelEvents(const ORLO::String& fileName);
    // A copy stands at the same position and goes on writing into the same open file.
    CDumpMetaModelEvents(const CDumpMetaModelEvents&) = default;
    CDumpMetaModelEvents& operator=(const CDumpMetaModelEvents&) = default;

protected:
    void OnStart() override;
    void OnEnd() override;
    void OnStartCategory(const ORLO::String& name, bool partial, const ORLO::String& description,
                         int id, const ElementStatus& status) override;
    void OnEndCategory(bool partial) override;
    void OnStartType(const ORLO::String& name, bool partial, const ORLO::String& description,
                     int id, const ElementStatus& status) override;
    void OnEndType(bool partial) override;
    void OnStartProperty(const ORLO::String& name, const ORLO::String& description,
                         const ORLO::String& type, const int& minimalCardinality,
                         const int& maximalCardinality, const ORLO::String& merge, int id,
                         const ElementStatus& status) override;

private:
    void PrintLine(const ORLO::String& label, const ORLO::String& name, int id);

    ORLO::String currentOwner_;
    ORLO::String fileName_;
    std::shared_ptr<ORLO::IFileWriter> writer_;
    ORLO::String line_;
    ORLO::String qualifiedName_;
};
