#include "support/recordingevents.h"

namespace TestSupport {

namespace {

const char* statusWord(MetaModel::IMetaModelEvents::ElementStatus status) {
    static const char* const words[] = {"active", "deprecated", "obsolete", "inactive"};
    return status >= 0 && status < 4 ? words[status] : "?";
}

} // namespace

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
        record("Source " + lastSource_);
    }
}

void RecordingEvents::record(std::string line) {
    events.push_back(std::move(line));
    if (afterEach)
        afterEach();
}

void RecordingEvents::OnStartCategory(const MetaModel::String& name, bool partial,
                                      const MetaModel::String& description, int id,
                                      const ElementStatus& status) {
    sourceChanged();
    record("StartCategory " + std::string(name) + (partial ? " partial '" : " full '") +
           std::string(description) + "' " + std::to_string(id) + " " + statusWord(status));
}

void RecordingEvents::OnStartType(const MetaModel::String& name, bool partial,
                                  const MetaModel::String& description, int id,
                                  const ElementStatus& status) {
    sourceChanged();
    record("StartType " + std::string(name) + (partial ? " partial '" : " full '") +
           std::string(description) + "' " + std::to_string(id) + " " + statusWord(status));
}

void RecordingEvents::OnStartProperty(const MetaModel::String& name,
                                      const MetaModel::String& description,
                                      const MetaModel::String& type, const int& minimalCardinality,
                                      const int& maximalCardinality, const MetaModel::String& merge,
                                      int id, const ElementStatus& status) {
    record("StartProperty " + std::string(name) + " '" + std::string(description) + "' " +
           std::string(type) + " " + std::to_string(minimalCardinality) + ".." +
           std::to_string(maximalCardinality) + " " + std::string(merge) + " " +
           std::to_string(id) + " " + statusWord(status));
}

void RecordingEvents::OnAttribute(const MetaModel::String& name, int value,
                                  const ElementStatus& status) {
    record("Attribute " + std::string(name) + " int " + std::to_string(value) + " " +
           statusWord(status));
}

void RecordingEvents::OnAttribute(const MetaModel::String& name, const MetaModel::String& value,
                                  const ElementStatus& status) {
    record("Attribute " + std::string(name) + " '" + std::string(value) + "' " +
           statusWord(status));
}

void RecordingEvents::OnInheritedCategory(const MetaModel::String& name,
                                          const ElementStatus& status) {
    record("InheritedCategory " + std::string(name) + " " + statusWord(status));
}

void RecordingEvents::OnTree(const MetaModel::String& parent, const MetaModel::String& category,
                             const ElementStatus& status) {
    record("Tree " + std::string(parent) + " " + std::string(category) + " " + statusWord(status));
}

} // namespace TestSupport
