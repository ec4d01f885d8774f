#pragma once

#include "metamodel/stream/metamodelevents.h"

#include <functional>
#include <string>
#include <vector>

namespace TestSupport {

// A sink that writes every event down as one readable line, e.g.
// "StartCategory Base full 'Root' 1003001 active"; SetSource is recorded as "Source <name>".
class RecordingEvents : public MetaModel::CMetaModelEvents {
public:
    std::vector<std::string> events;
    // Called after every line is written down, for tests that note what held at that moment.
    std::function<void()> afterEach;

    // The lines between Start and End without the Source lines, for documents whose stream
    // is all that matters.
    std::vector<std::string> body() const;

protected:
    void OnStart() override { record("Start"); }
    void OnEnd() override { record("End"); }
    void OnStartCategory(const MetaModel::String& name, bool partial,
                         const MetaModel::String& description, int id,
                         const ElementStatus& status) override;
    void OnEndCategory(bool partial) override {
        record(partial ? "EndCategory partial" : "EndCategory full");
    }
    void OnStartType(const MetaModel::String& name, bool partial,
                     const MetaModel::String& description, int id,
                     const ElementStatus& status) override;
    void OnEndType(bool partial) override { record(partial ? "EndType partial" : "EndType full"); }
    void OnStartProperty(const MetaModel::String& name, const MetaModel::String& description,
                         const MetaModel::String& type, const int& minimalCardinality,
                         const int& maximalCardinality, const MetaModel::String& merge, int id,
                         const ElementStatus& status) override;
    void OnEndProperty() override { record("EndProperty"); }
    void OnAttribute(const MetaModel::String& name, int value,
                     const ElementStatus& status) override;
    void OnAttribute(const MetaModel::String& name, const MetaModel::String& value,
                     const ElementStatus& status) override;
    void OnInheritedCategory(const MetaModel::String& name, const ElementStatus& status) override;
    void OnTree(const MetaModel::String& parent, const MetaModel::String& category,
                const ElementStatus& status) override;

private:
    void record(std::string line);
    void sourceChanged();
    std::string lastSource_;
};

} // namespace TestSupport
