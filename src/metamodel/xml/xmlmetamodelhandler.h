#pragma once

#include "metamodel/stream/eventlog.h"
#include "metamodel/stream/metamodelevents.h"
#include "platform/messages.h"
#include "platform/xmlsaxparser.h"

#include <array>
#include <initializer_list>
#include <vector>

namespace MetaModel {

// Turns the parser callbacks of meta-model documents into events on one sink. It holds back
// the start of a category, type or property until its description has been read, and does
// every conversion of the format (ids, default cardinalities, statuses, list types). It
// judges only the shape of a document; what names and values mean is the sinks' business.
class CXMLMetaModelHandler : public ORLO::DefaultXmlHandler,
                             public CppLanguage::IDocumentPositionSource,
                             public IEventPosition {
public:
    using ElementStatus = IMetaModelEvents::ElementStatus;

    explicit CXMLMetaModelHandler(IMetaModelEvents* sink);

    void setDocumentLocator(ORLO::IXmlLocator* locator) override;
    void startDocument() override;
    void endDocument() override;
    void startElement(const String& nameSpace, const String& localName, const String& qualifiedName,
                      const ORLO::IXmlAttributes& attributes) override;
    void endElement(const String& nameSpace, const String& localName,
                    const String& qualifiedName) override;
    void characters(const String& text) override;
    void warning(const ORLO::XmlException& problem) override;
    void error(const ORLO::XmlException& problem) override;
    void fatalError(const ORLO::XmlException& problem) override;

    virtual bool invariant() const;
    virtual void StartStream();
    virtual void EndStream();

    // Set by the reader before each document.
    void SetRootPath(const String& rootPath) { rootPath_ = rootPath; }
    void SetSourceName(const String& sourceName) { sourceName_ = sourceName; }

    CppLanguage::DocumentPlace currentPlace() const override;
    int line() const override;
    int column() const override;

    // Not owned; the next events go there.
    void SetSink(IMetaModelEvents* sink) { sink_ = sink; }

    // What one document leaves behind for the next: a description still expected (an element
    // that ended without one), and statuses pushed by tags that never popped them.
    struct CarryOver {
        int descriptionState = 0;
        std::vector<ElementStatus> statuses;
    };
    // Whether the next document would start in a state a fresh handler does not have.
    bool CarriesOver() const { return descriptionState_ != NoDescription; }
    // Hands over what the documents so far leave behind and starts afresh.
    CarryOver TakeCarryOver();
    // Continues from what a handler that read the previous documents afresh left behind.
    void AddCarryOver(const CarryOver& carried);

private:
    enum Context {
        Top = 0,
        CategoryBody = 1,
        TypeBody = 2,
        CategoryProperty = 3,
        TypeProperty = 4
    };
    enum DescriptionState { NoDescription = 0, ExpectDescription = 1, InDescription = 2 };

    // The attributes the handler reads. Their indices are found in one pass over each start
    // tag: a lookup by name scanned the tag's attributes again for each name asked.
    enum class Known : unsigned char {
        Name,
        Type,
        Id,
        Rid,
        Status,
        Merge,
        MinimalCardinality,
        MaximalCardinality,
        StringValue,
        IntValue,
        Parent,
        Category,
        FileNo,
        FileLevel,
        Count
    };
    void findKnown(const ORLO::IXmlAttributes& attributes);
    // Known::Count for a name the handler does not read.
    static Known knownOf(std::string_view name);
    // The index of the attribute in the tag being handled, negative when it is absent.
    int indexOf(Known name) const { return known_[size_t(name)]; }

    [[noreturn]] void fail(const char* id, std::initializer_list<CppLanguage::MsgArg> args) const;
    [[noreturn]] void failParse(const ORLO::XmlException& problem) const;

    // The index of an attribute the tag must have.
    int requiredIndex(const String& tag, const ORLO::IXmlAttributes& attributes, Known name) const;
    void forbidAttribute(const String& tag, const ORLO::IXmlAttributes& attributes,
                         Known name) const;
    String stringAttribute(const ORLO::IXmlAttributes& attributes, Known name,
                           const char* defaultValue) const;
    static int intAttribute(const ORLO::IXmlAttributes& attributes, int index, int defaultValue);
    void pushStatus(const ORLO::IXmlAttributes& attributes);
    ElementStatus popStatus();
    int readId(const String& tag, const ORLO::IXmlAttributes& attributes) const;
    void readFileHeader(const String& tag, const ORLO::IXmlAttributes& attributes);
    void startTopElement(const String& tag, const ORLO::IXmlAttributes& attributes);
    void startBodyElement(const String& tag, const String& parent,
                          const ORLO::IXmlAttributes& attributes);
    void startPropertyElement(const String& tag, const ORLO::IXmlAttributes& attributes);
    void startPartial(const String& tag, const ORLO::IXmlAttributes& attributes, bool isType);
    void startProperty(const String& tag, const ORLO::IXmlAttributes& attributes);
    void attributeStep(const String& tag, const ORLO::IXmlAttributes& attributes);
    void announceDescribedElement();
    void endBodyElement(const String& localName);
    void resetDocumentPosition();
    static String renderTag(const String& localName, const ORLO::IXmlAttributes& attributes);

    IMetaModelEvents* sink_;
    Context context_ = Top;
    DescriptionState descriptionState_ = NoDescription;
    String currentName_;
    int currentId_ = IMetaModelEvents::NoId;
    bool partial_ = false;
    // The names of the open elements, innermost last, kept only to name a parent in
    // failures. Slots are reused, so that a name is copied into a buffer that has room.
    class ElementStack {
    public:
        void push(const String& name) {
            if (depth_ == names_.size())
                names_.emplace_back();
            names_[depth_++].assign(name);
        }
        void pop() {
            if (depth_ > 0)
                --depth_;
        }
        // The name `levels` below the innermost one, or the empty string; valid until the
        // next push.
        const String& below(size_t levels) const {
            return depth_ > levels ? names_[depth_ - 1 - levels] : String::nil();
        }

    private:
        std::vector<String> names_;
        size_t depth_ = 0;
    };

    ElementStack elementStack_;
    String propertyName_;
    int propertyId_ = IMetaModelEvents::NoId;
    String propertyType_;
    String propertyMerge_;
    int minimalCardinality_ = 0;
    int maximalCardinality_ = 0;
    String description_;
    int fileLevel_ = 0;
    int fileNumber_ = 0;
    String rootPath_;
    String sourceName_;
    std::vector<ElementStatus> statusStack_;
    ORLO::IXmlLocator* locator_ = nullptr;
    // Buffers for values handed straight to the sink; reused so that a long value is not a
    // fresh allocation on every element.
    String scratch_[2];
    bool keyClassSeen_ = false;
    std::array<int, size_t(Known::Count)> known_{};
};

} // namespace MetaModel
