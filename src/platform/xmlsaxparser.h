#pragma once

#include "cpplanguage/orlostring.h"

#include <exception>
#include <string_view>

namespace ORLO {

// A problem the parser found, with where it found it.
class XmlException : public std::exception {
public:
    XmlException(String text, int line, int column)
        : text_(std::move(text)), line_(line), column_(column) {}
    const char* what() const noexcept override { return text_.c_str(); }
    int getLineNumber() const { return line_; }
    int getColumnNumber() const { return column_; }

private:
    String text_;
    int line_;
    int column_;
};

class IXmlLocator {
public:
    virtual ~IXmlLocator() = default;
    virtual String getPublicId() const = 0;
    virtual String getSystemId() const = 0;
    virtual int getLineNumber() const = 0;
    virtual int getColumnNumber() const = 0;
};

// The attributes of one start tag, valid only during the startElement call.
class IXmlAttributes {
public:
    virtual ~IXmlAttributes() = default;
    virtual int getLength() const = 0;
    virtual void getName(int index, String& name) const = 0;
    // The name without a copy, when it has no prefix; empty for a prefixed name, which is not
    // kept whole, and for an index out of range.
    virtual std::string_view getPlainName(int index) const = 0;
    // Empty for an absent attribute. Names are views so that a lookup by a literal name
    // costs no copy.
    virtual String getValue(std::string_view name) const = 0;
    virtual String getValue(int index) const = 0;
    // The same without a copy; valid as long as the attributes are.
    virtual std::string_view getValueView(int index) const = 0;
    // Negative for an absent attribute.
    virtual int getIndex(std::string_view name) const = 0;
};

class IXmlHandler {
public:
    virtual void setDocumentLocator(IXmlLocator* locator) = 0;
    virtual void startDTD(const String& name, const String& publicId, const String& systemId) = 0;
    virtual void endDTD() = 0;
    virtual void startDocument() = 0;
    virtual void endDocument() = 0;
    virtual void startXMLNamespace(const String& prefix, const String& uri) = 0;
    virtual void endXMLNamespace(const String& prefix) = 0;
    virtual void startElement(const String& nameSpace, const String& localName,
                              const String& qualifiedName, const IXmlAttributes& attributes) = 0;
    virtual void endElement(const String& nameSpace, const String& localName,
                            const String& qualifiedName) = 0;
    virtual void characters(const String& text) = 0;
    virtual void ignorableWhitespace(const String& text) = 0;
    virtual void processingInstruction(const String& target, const String& data) = 0;
    virtual void skippedEntity(const String& name) = 0;
    virtual void startEntity(const String& name) = 0;
    virtual void endEntity(const String& name) = 0;
    virtual void startCDATA() = 0;
    virtual void endCDATA() = 0;
    virtual void comment(const String& text) = 0;
    virtual void warning(const XmlException& problem) = 0;
    virtual void error(const XmlException& problem) = 0;
    virtual void fatalError(const XmlException& problem) = 0;
    virtual void notationDeclaration(const String& name, const String& publicId,
                                     const String& systemId) = 0;
    virtual void unparsedEntityDeclaration(const String& name, const String& publicId,
                                           const String& systemId, const String& notation) = 0;
    virtual void elementDeclaration(const String& name, const String& model) = 0;
    virtual void attributeDeclaration(const String& element, const String& attribute,
                                      const String& type, const String& mode,
                                      const String& value) = 0;
    virtual void internalEntityDeclaration(const String& name, const String& value) = 0;
    virtual void externalEntityDeclaration(const String& name, const String& publicId,
                                           const String& systemId) = 0;
    virtual ~IXmlHandler() = default;
    virtual IXmlLocator* getDocumentLocator() const = 0;
    virtual int getLineNumber() const = 0;
    virtual int getColumnNumber() const = 0;
};

// Empty bodies for everything; line and column come from the locator, 0 without one.
class DefaultXmlHandler : public IXmlHandler {
public:
    void setDocumentLocator(IXmlLocator* locator) override { locator_ = locator; }
    void startDTD(const String&, const String&, const String&) override {}
    void endDTD() override {}
    void startDocument() override {}
    void endDocument() override {}
    void startXMLNamespace(const String&, const String&) override {}
    void endXMLNamespace(const String&) override {}
    void startElement(const String&, const String&, const String&, const IXmlAttributes&) override {
    }
    void endElement(const String&, const String&, const String&) override {}
    void characters(const String&) override {}
    void ignorableWhitespace(const String&) override {}
    void processingInstruction(const String&, const String&) override {}
    void skippedEntity(const String&) override {}
    void startEntity(const String&) override {}
    void endEntity(const String&) override {}
    void startCDATA() override {}
    void endCDATA() override {}
    void comment(const String&) override {}
    void warning(const XmlException&) override {}
    void error(const XmlException&) override {}
    void fatalError(const XmlException&) override {}
    void notationDeclaration(const String&, const String&, const String&) override {}
    void unparsedEntityDeclaration(const String&, const String&, const String&,
                                   const String&) override {}
    void elementDeclaration(const String&, const String&) override {}
    void attributeDeclaration(const String&, const String&, const String&, const String&,
                              const String&) override {}
    void internalEntityDeclaration(const String&, const String&) override {}
    void externalEntityDeclaration(const String&, const String&, const String&) override {}
    IXmlLocator* getDocumentLocator() const override { return locator_; }
    int getLineNumber() const override { return locator_ ? locator_->getLineNumber() : 0; }
    int getColumnNumber() const override { return locator_ ? locator_->getColumnNumber() : 0; }

private:
    IXmlLocator* locator_ = nullptr;
};

enum ParserType { ParserDom = 1, ParserPull = 2, ParserSax = 3 };

class XmlParser {
public:
    virtual ~XmlParser() = default;
    // The two flags are accepted for the callers' sake and select nothing: every parse is
    // non-validating and never loads anything from outside the document.
    virtual bool parseFile(const String& path, const bool& validate, const bool& namespaces) = 0;
    virtual bool parseString(const String& text, const bool& validate, const bool& namespaces) = 0;
};

// A SAX parse over libxml2. One parser parses many documents in turn with one handler. An
// exception that a handler callback throws stops the parse and comes out of parseFile or
// parseString unchanged.
class XmlSAXParser : public XmlParser {
public:
    XmlSAXParser(IXmlHandler* handler, const ParserType& type, const bool& flag);
    // The type as its number, as callers that know only the value 3 pass it.
    XmlSAXParser(IXmlHandler* handler, int type, bool flag)
        : XmlSAXParser(handler, ParserType(type), flag) {}
    bool parseFile(const String& path, const bool& validate, const bool& namespaces) override;
    bool parseString(const String& text, const bool& validate, const bool& namespaces) override;

private:
    IXmlHandler* handler_;
};

} // namespace ORLO
