#include "metamodel/xml/xmlmetamodelevents.h"

#include "metamodel/metamodelexceptions.h"
#include "platform/messages.h"

namespace MetaModel {

namespace {

const String lineEnd = "\r\n";

// The apostrophe and control characters stay as they are: values are always quoted with
// double quotes.
String attributePair(const char* attribute, const String& value) {
    String escaped(value);
    escaped.replace("&", "&amp;").replace("<", "&lt;").replace(">", "&gt;").replace("\"", "&quot;");
    String pair(attribute);
    pair += "=\"";
    pair += escaped;
    pair += '"';
    return pair;
}

String statusPair(IMetaModelEvents::ElementStatus status) {
    static const char* const words[] = {"active", "deprecated", "obsolete", "inactive"};
    const int value = int(status);
    return attributePair("status", value >= 0 && value <= 3 ? words[value] : "");
}

String endTag(const char* element) {
    return String("</") + element + ">";
}

} // namespace

CXMLMetaModelEvents::CXMLMetaModelEvents(const String& fileName)
    : fileName_(fileName), writer_(ORLO::FileIOHelper::getWriter(fileName)) {
    writer_->open();
}

void CXMLMetaModelEvents::writeLine(const String& text) {
    writer_->write(text);
    writer_->write(lineEnd);
}

void CXMLMetaModelEvents::OutputReference(const String& attribute, const String& value) {
    if (value.empty())
        return;
    writer_->write(" " + attributePair(attribute.c_str(), value));
}

void CXMLMetaModelEvents::OnStart() {
    if (!writer_->isOpen())
        CppLanguage::raise<CMetaModelEventsException>(ORLO_HERE, "QEL_MM_XML_OUTPUT_FILE_ERR",
                                                      {{"FILE", fileName_}});
    writeLine("<?xml version=\"1.0\" encoding=\"utf-8\" ?>");
    writeLine("");
    writer_->write("<metaModel");
    writer_->write(">");
    writer_->write(lineEnd);
}

void CXMLMetaModelEvents::OnEnd() {
    writeLine("</metaModel>");
}

void CXMLMetaModelEvents::startElement(const char* element, const char* partialElement,
                                       const String& name, bool partial, const String& description,
                                       int id, const ElementStatus& status) {
    if (partial) {
        line_.Format("\t%s %s %s>", (String("<") + partialElement).c_str(),
                     attributePair("name", name).c_str(), statusPair(status).c_str());
        writeLine(line_);
        return;
    }
    line_.Format("\t%s %s %s=\"%d\" %s>", (String("<") + element).c_str(),
                 attributePair("name", name).c_str(), "id", id, statusPair(status).c_str());
    writeLine(line_);
    line_.Format("\t\t%s><![CDATA[%s]]>%s", "<description", description.c_str(),
                 endTag("description").c_str());
    writeLine(line_);
}

void CXMLMetaModelEvents::OnStartCategory(const String& name, bool partial,
                                          const String& description, int id,
                                          const ElementStatus& status) {
    startElement("category", "partial_category", name, partial, description, id, status);
}

void CXMLMetaModelEvents::OnEndCategory(bool partial) {
    writeLine("\t" + endTag(partial ? "partial_category" : "category"));
}

void CXMLMetaModelEvents::OnStartType(const String& name, bool partial, const String& description,
                                      int id, const ElementStatus& status) {
    startElement("type", "partial_type", name, partial, description, id, status);
}

void CXMLMetaModelEvents::OnEndType(bool partial) {
    writeLine("\t" + endTag(partial ? "partial_type" : "type"));
}

void CXMLMetaModelEvents::OnStartProperty(const String& name, const String& description,
                                          const String& type, const int& minimalCardinality,
                                          const int& maximalCardinality, const String& merge,
                                          int id, const ElementStatus& status) {
    String minimal;
    minimal.Format("%i", minimalCardinality);
    // Anything below one is unbounded in the written form, zero included.
    String maximal("*");
    if (maximalCardinality >= 1)
        maximal.Format("%i", maximalCardinality);
    line_.Format("\t\t%s %s %s %s %s %s %s %s=\"%d\">", "<property",
                 attributePair("name", name).c_str(), attributePair("type", type).c_str(),
                 attributePair("minimalCardinality", minimal).c_str(),
                 attributePair("maximalCardinality", maximal).c_str(),
                 attributePair("merge", merge).c_str(), statusPair(status).c_str(), "id", id);
    writeLine(line_);
    line_.Format("\t\t\t%s><![CDATA[%s]]>%s", "<description", description.c_str(),
                 endTag("description").c_str());
    writeLine(line_);
}

void CXMLMetaModelEvents::OnEndProperty() {
    writeLine("\t\t" + endTag("property"));
}

void CXMLMetaModelEvents::OnAttribute(const String& name, int value, const ElementStatus& status) {
    if (IsInProperty())
        writer_->write("\t");
    line_.Format("\t\t%s %s %s=\"%d\" %s/>", "<attribute", attributePair("name", name).c_str(),
                 "intValue", value, statusPair(status).c_str());
    writeLine(line_);
}

void CXMLMetaModelEvents::OnAttribute(const String& name, const String& value,
                                      const ElementStatus& status) {
    if (IsInProperty())
        writer_->write("\t");
    line_.Format("\t\t%s %s %s %s/>", "<attribute", attributePair("name", name).c_str(),
                 attributePair("stringValue", value).c_str(), statusPair(status).c_str());
    writeLine(line_);
}

void CXMLMetaModelEvents::OnInheritedCategory(const String& name, const ElementStatus& status) {
    writer_->write("\t\t<inheritedCategory");
    OutputReference("name", name);
    line_.Format(" %s/>", statusPair(status).c_str());
    writeLine(line_);
}

void CXMLMetaModelEvents::OnTree(const String& parentType, const String& treeCategory,
                                 const ElementStatus& status) {
    writer_->write("\t\t<tree");
    OutputReference("parent", parentType);
    OutputReference("category", treeCategory);
    line_.Format(" %s/>", statusPair(status).c_str());
    writeLine(line_);
}

} // namespace MetaModel
