#pragma once

#include "metamodel/stream/metamodelevents.h"
#include "platform/orlofile.h"

#include <memory>

namespace MetaModel {

// Writes a stream as a meta-model document, one element per line, indented by tabs. What it
// writes is meant for reading by people and by the repository tools, not for reading back:
// ids are absolute, the root carries no file number, descriptions go raw into CDATA.
class CXMLMetaModelEvents : public CMetaModelEvents {
public:
    // Opens the file at once; a failure shows at the stream's start.
    explicit CXMLMetaModelEvents(const String& fileName);
    // A copy stands at the same position and goes on writing into the same open file.
    CXMLMetaModelEvents(const CXMLMetaModelEvents&) = default;
    CXMLMetaModelEvents& operator=(const CXMLMetaModelEvents&) = default;

protected:
    void OnStart() override;
    void OnEnd() override;
    void OnStartCategory(const String& name, bool partial, const String& description, int id,
                         const ElementStatus& status) override;
    void OnEndCategory(bool partial) override;
    void OnStartType(const String& name, bool partial, const String& description, int id,
                     const ElementStatus& status) override;
    void OnEndType(bool partial) override;
    void OnStartProperty(const String& name, const String& description, const String& type,
                         const int& minimalCardinality, const int& maximalCardinality,
                         const String& merge, int id, const ElementStatus& status) override;
    void OnEndProperty() override;
    void OnAttribute(const String& name, int value, const ElementStatus& status) override;
    void OnAttribute(const String& name, const String& value, const ElementStatus& status) override;
    void OnInheritedCategory(const String& name, const ElementStatus& status) override;
    void OnTree(const String& parentType, const String& treeCategory,
                const ElementStatus& status) override;

private:
    void startElement(const char* element, const char* partialElement, const String& name,
                      bool partial, const String& description, int id, const ElementStatus& status);
    void writeLine(const String& text);
    void OutputReference(const String& attribute, const String& value);

    String fileName_;
    std::shared_ptr<ORLO::IFileWriter> writer_;
    String line_;
};

} // namespace MetaModel
