#include "support/recordingevents.h"

namespace TestSupport {

const char* statusWord(MetaModel::IMetaModelEvents::ElementStatus status) {
    switch (status) {
    case MetaModel::IMetaModelEvents::EsActive:
        return "active";
    case MetaModel::IMetaModelEvents::EsDeprecated:
        return "deprecated";
    case MetaModel::IMetaModelEvents::EsObsolete:
        return "obsolete";
    case MetaModel::IMetaModelEvents::EsInactive:
        return "inactive";
    }
    return "?";
}

std::vector<std::string> RecordingEvents::body() const {
    std::vector<std::string> lines;
    for (const std::string& line : events)
        if (line != "Start" && line != "End" && line.rfind("Source ", 0) != 0)
            lines.push_back(line);
    return lines;
}

// Sources are recorded when an event sees a new one, so the record shows where each
// document's events begin.
void RecordingEvents::sourceChanged() {
    if (GetSource() != lastSource_) {
        lastSource_ = GetSource();
        events.push_back("Source " + lastSource_);
    }
}

void RecordingEvents::OnStart() {
    events.push_back("Start");
}

void RecordingEvents::OnEnd() {
    events.push_back("End");
}

void RecordingEvents::OnStartCategory(const MetaModel::String& name, bool partial,
                                      const MetaModel::String& description, int id,
                                      const ElementStatus& status) {
    sourceChanged();
    events.push_back("StartCategory " + std::string(name) + (partial ? " partial '" : " full '") +
                     std::string(description) + "' " + std::to_string(id) + " " +
                     statusWord(status));
}

void RecordingEvents::OnEndCategory(bool partial) {
    events.push_back(partial ? "EndCategory partial" : "EndCategory full");
}

void RecordingEvents::OnStartType(const MetaModel::String& name, bool partial,
                                  const MetaModel::String& description, int id,
                                  const ElementStatus& status) {
    sourceChanged();
    events.push_back("StartType " + std::string(name) + (partial ? " partial '" : " full '") +
                     std::string(description) + "' " + std::to_string(id) + " " +
                     statusWord(status));
}

void RecordingEvents::OnEndType(bool partial) {
    events.push_back(partial ? "EndType partial" : "EndType full");
}

void RecordingEvents::OnStartProperty(const MetaModel::String& name,
                                      const MetaModel::String& description,
                                      const MetaModel::String& type, const int& minimalCardinality,
                                      const int& maximalCardinality, const MetaModel::String& merge,
                                      int id, const ElementStatus& status) {
    events.push_back("StartProperty " + std::string(name) + " '" + std::string(description) + "' " +
                     std::string(type) + " " + std::to_string(minimalCardinality) + ".." +
                     std::to_string(maximalCardinality) + " " + std::string(merge) + " " +
                     std::to_string(id) + " " + statusWord(status));
}

void RecordingEvents::OnEndProperty() {
    events.push_back("EndProperty");
}

void RecordingEvents::OnAttribute(const MetaModel::String& name, int value,
                                  const ElementStatus& status) {
    events.push_back("Attribute " + std::string(name) + " int " + std::to_string(value) + " " +
                     statusWord(status));
}

void RecordingEvents::OnAttribute(const MetaModel::String& name, const MetaModel::String& value,
                                  const ElementStatus& status) {
    events.push_back("Attribute " + std::string(name) + " '" + std::string(value) + "' " +
                     statusWord(status));
}

void RecordingEvents::OnInheritedCategory(const MetaModel::String& name,
                                          const ElementStatus& status) {
    events.push_back("InheritedCategory " + std::string(name) + " " + statusWord(status));
}

void RecordingEvents::OnTree(const MetaModel::String& parent, const MetaModel::String& category,
                             const ElementStatus& status) {
    events.push_back("Tree " + std::string(parent) + " " + std::string(category) + " " +
                     statusWord(status));
}

} // namespace TestSupport
