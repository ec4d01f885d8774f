#include "metamodel/xml/xmlmetamodelhandler.h"

#include "metamodel/metamodelexceptions.h"

#include <climits>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace MetaModel {

using namespace std::string_view_literals;

namespace {

constexpr IMetaModelEvents::ElementStatus activeStatus = IMetaModelEvents::EsActive;

struct FileLevel {
    const char* name;
    int level;
    int idBase;
};

constexpr FileLevel fileLevels[] = {
    {"core", 1, 0},
    {"builtin", 2, 1000000},
    {"prepackaged", 3, 1500000},
    {"client", 4, 2000000},
};

int clampToInt(long long value) {
    if (value > INT_MAX)
        return INT_MAX;
    if (value < INT_MIN)
        return INT_MIN;
    return int(value);
}

// Ids and values are mostly plain decimal numbers: those are read from the attribute's text
// as it lies. Anything else (a sign, a blank, a leading zero, a base prefix, a character that
// ends the number, more digits than an int surely holds) goes through strtoll, which needs a
// terminated copy.
bool plainDecimal(std::string_view text, int& value) {
    if (text.empty() || text.size() > 9 || text[0] < '1' || text[0] > '9')
        return false;
    int sum = 0;
    for (const char c : text) {
        if (c < '0' || c > '9')
            return false;
        sum = sum * 10 + (c - '0');
    }
    value = sum;
    return true;
}

// Reading stops at the first character that does not fit and never fails. Base 0 detects the
// base from the prefix, as strtoll does.
int toInt(std::string_view text, int base) {
    int value = 0;
    if (plainDecimal(text, value))
        return value;
    return clampToInt(std::strtoll(String(text).c_str(), nullptr, base));
}

int toIntDetectingBase(std::string_view text) {
    return toInt(text, 0);
}

int toDecimalInt(std::string_view text) {
    return toInt(text, 10);
}

bool isOneOf(std::string_view name, std::initializer_list<std::string_view> names) {
    for (std::string_view candidate : names)
        if (name == candidate)
            return true;
    return false;
}

// The list forms of the primitive types carry their list nature in the maximal cardinality.
bool isListForm(const String& type) {
    // Most types are not lists: the common suffix settles those without five comparisons.
    return type.ends_with("List") && isOneOf(type, {"integerList", "stringList", "dateTimeList",
                                                    "bookmarkList", "referenceList"});
}

IMetaModelEvents::ElementStatus statusFromText(std::string_view text) {
    if (text == "deprecated"sv)
        return IMetaModelEvents::EsDeprecated;
    if (text == "obsolete"sv)
        return IMetaModelEvents::EsObsolete;
    if (text == "inactive"sv)
        return IMetaModelEvents::EsInactive;
    return IMetaModelEvents::EsActive;
}

// The names of `CXMLMetaModelHandler::Known`, in its order.
constexpr std::string_view knownNames[] = {"name",
                                           "type",
                                           "id",
                                           "rid",
                                           "status",
                                           "merge",
                                           "minimalCardinality",
                                           "maximalCardinality",
                                           "stringValue",
                                           "intValue",
                                           "parent",
                                           "category",
                                           "file_no",
                                           "file_level"};

} // namespace

CXMLMetaModelHandler::CXMLMetaModelHandler(IMetaModelEvents* sink) : sink_(sink) {}

void CXMLMetaModelHandler::setDocumentLocator(ORLO::IXmlLocator* locator) {
    DefaultXmlHandler::setDocumentLocator(locator);
    locator_ = locator;
}

CppLanguage::DocumentPlace CXMLMetaModelHandler::currentPlace() const {
    CppLanguage::DocumentPlace place;
    place.document = sourceName_;
    if (locator_) {
        place.line = locator_->getLineNumber();
        place.column = locator_->getColumnNumber();
    }
    return place;
}

int CXMLMetaModelHandler::line() const {
    return locator_ ? locator_->getLineNumber() : 0;
}

int CXMLMetaModelHandler::column() const {
    return locator_ ? locator_->getColumnNumber() : 0;
}

CXMLMetaModelHandler::CarryOver CXMLMetaModelHandler::TakeCarryOver() {
    CarryOver carried{descriptionState_, std::move(statusStack_)};
    descriptionState_ = NoDescription;
    statusStack_.clear();
    return carried;
}

void CXMLMetaModelHandler::AddCarryOver(const CarryOver& carried) {
    descriptionState_ = DescriptionState(carried.descriptionState);
    statusStack_.insert(statusStack_.end(), carried.statuses.begin(), carried.statuses.end());
}

void CXMLMetaModelHandler::fail(const char* id,
                                std::initializer_list<CppLanguage::MsgArg> args) const {
    CppLanguage::raiseAt<CXMLMetaModelException>(ORLO_HERE, CppLanguage::positionOf(currentPlace()),
                                                 id, args);
}

void CXMLMetaModelHandler::failParse(const ORLO::XmlException& problem) const {
    const CppLanguage::DocumentPosition where{sourceName_, problem.getLineNumber(),
                                              problem.getColumnNumber()};
    CppLanguage::raiseAt<CXMLMetaModelException>(ORLO_HERE, where, "QEL_MM_SAX_PARSE_EXCEPTION",
                                                 {{"CAUSE", problem.what()}});
}

// A parser warning stops the read just as a fatal error does: a document that needs a
// warning is not one to load.
void CXMLMetaModelHandler::warning(const ORLO::XmlException& problem) {
    failParse(problem);
}

void CXMLMetaModelHandler::error(const ORLO::XmlException& problem) {
    failParse(problem);
}

void CXMLMetaModelHandler::fatalError(const ORLO::XmlException& problem) {
    failParse(problem);
}

bool CXMLMetaModelHandler::invariant() const {
    return context_ <= TypeProperty && descriptionState_ <= InDescription;
}

void CXMLMetaModelHandler::StartStream() {
    sink_->Start();
}

void CXMLMetaModelHandler::EndStream() {
    sink_->End();
}

void CXMLMetaModelHandler::resetDocumentPosition() {
    context_ = Top;
    fileLevel_ = 0;
    fileNumber_ = 0;
    currentId_ = IMetaModelEvents::NoId;
    propertyId_ = IMetaModelEvents::NoId;
    partial_ = false;
    currentName_.clear();
    propertyName_.clear();
}

// The description state survives on purpose: a full element that lacked its description
// still expects one, even in the next document.
void CXMLMetaModelHandler::startDocument() {
    resetDocumentPosition();
    elementStack_.push("<root>");
}

void CXMLMetaModelHandler::endDocument() {
    resetDocumentPosition();
    elementStack_.pop();
}

String CXMLMetaModelHandler::renderTag(const String& localName,
                                       const ORLO::IXmlAttributes& attributes) {
    String tag("<");
    tag += localName;
    String name;
    for (int i = 0, count = attributes.getLength(); i < count; ++i) {
        attributes.getName(i, name);
        tag += ' ';
        tag += name;
        tag += "=\"";
        tag += attributes.getValue(i);
        tag += '"';
    }
    tag += '>';
    return tag;
}

void CXMLMetaModelHandler::findKnown(const ORLO::IXmlAttributes& attributes) {
    static_assert(std::size(knownNames) == size_t(Known::Count));
    known_.fill(-1);
    for (int i = 0, count = attributes.getLength(); i < count; ++i) {
        // A prefixed name is none of the known ones.
        const size_t name = size_t(knownOf(attributes.getPlainName(i)));
        if (name < known_.size() && known_[name] < 0)
            known_[name] = i;
    }
}

// The length, and a byte where two names are as long, leave one candidate; one comparison
// settles it.
CXMLMetaModelHandler::Known CXMLMetaModelHandler::knownOf(std::string_view name) {
    Known candidate;
    switch (name.size()) {
    case 2:
        candidate = Known::Id;
        break;
    case 3:
        candidate = Known::Rid;
        break;
    case 4:
        candidate = name[0] == 'n' ? Known::Name : Known::Type;
        break;
    case 5:
        candidate = Known::Merge;
        break;
    case 6:
        candidate = name[0] == 's' ? Known::Status : Known::Parent;
        break;
    case 7:
        candidate = Known::FileNo;
        break;
    case 8:
        candidate = name[0] == 'c' ? Known::Category : Known::IntValue;
        break;
    case 10:
        candidate = Known::FileLevel;
        break;
    case 11:
        candidate = Known::StringValue;
        break;
    case 18:
        candidate = name[1] == 'i' ? Known::MinimalCardinality : Known::MaximalCardinality;
        break;
    default:
        return Known::Count;
    }
    return name == knownNames[size_t(candidate)] ? candidate : Known::Count;
}

void CXMLMetaModelHandler::forbidAttribute(const String& tag,
                                           const ORLO::IXmlAttributes& attributes,
                                           Known name) const {
    if (indexOf(name) >= 0)
        fail("QEL_MM_UNEXPECTED_ATTR",
             {{"TAG", renderTag(tag, attributes)}, {"ATTR", knownNames[size_t(name)]}});
}

int CXMLMetaModelHandler::requiredIndex(const String& tag, const ORLO::IXmlAttributes& attributes,
                                        Known name) const {
    const int index = indexOf(name);
    if (index < 0)
        fail("QEL_MM_MISSING_ATTR",
             {{"TAG", renderTag(tag, attributes)}, {"ATTR", knownNames[size_t(name)]}});
    return index;
}

String CXMLMetaModelHandler::stringAttribute(const ORLO::IXmlAttributes& attributes, Known name,
                                             const char* defaultValue) const {
    const int index = indexOf(name);
    return index < 0 ? String(defaultValue) : attributes.getValue(index);
}

int CXMLMetaModelHandler::intAttribute(const ORLO::IXmlAttributes& attributes, int index,
                                       int defaultValue) {
    const std::string_view value = attributes.getValueView(index);
    return value.empty() ? defaultValue : toIntDetectingBase(value);
}

void CXMLMetaModelHandler::pushStatus(const ORLO::IXmlAttributes& attributes) {
    const int index = indexOf(Known::Status);
    statusStack_.push_back(index >= 0 ? statusFromText(attributes.getValueView(index))
                                      : IMetaModelEvents::EsActive);
}

CXMLMetaModelHandler::ElementStatus CXMLMetaModelHandler::popStatus() {
    if (statusStack_.empty())
        return IMetaModelEvents::EsActive;
    const ElementStatus status = statusStack_.back();
    statusStack_.pop_back();
    return status;
}

int CXMLMetaModelHandler::readId(const String& tag, const ORLO::IXmlAttributes& attributes) const {
    const int idIndex = indexOf(Known::Id);
    const int ridIndex = indexOf(Known::Rid);
    if (idIndex < 0 && ridIndex < 0)
        fail("QEL_MM_MISSING_BOTH_ATTR",
             {{"TAG", renderTag(tag, attributes)}, {"ATTR2", "rid"}, {"ATTR1", "id"}});
    if (idIndex >= 0 && ridIndex >= 0)
        fail("QEL_MM_EXCLUSIVE_ATTR",
             {{"TAG", renderTag(tag, attributes)}, {"ATTR2", "rid"}, {"ATTR1", "id"}});
    const bool absolute = idIndex >= 0;
    const std::string_view value = attributes.getValueView(absolute ? idIndex : ridIndex);
    if (value.empty())
        fail("QEL_MM_EMPTY_ID", {});
    if (absolute)
        return toIntDetectingBase(value);
    if (fileLevel_ == 0)
        return -1;
    // The blocks are a convention among documents: no range check, so a large rid or file
    // number runs into the next block and the validator finds the clash.
    const long long id = (long long)fileLevels[fileLevel_ - 1].idBase + 1000LL * fileNumber_ +
                         toIntDetectingBase(value);
    return int(id);
}

void CXMLMetaModelHandler::readFileHeader(const String& tag,
                                          const ORLO::IXmlAttributes& attributes) {
    fileNumber_ = intAttribute(attributes, requiredIndex(tag, attributes, Known::FileNo), 0);
    const String level = stringAttribute(attributes, Known::FileLevel, "client");
    for (const FileLevel& candidate : fileLevels)
        if (level == candidate.name) {
            fileLevel_ = candidate.level;
            return;
        }
    fail("QEL_MM_INVALID_FILE_LEVEL", {{"LEVEL", level}});
}

void CXMLMetaModelHandler::startPartial(const String& tag, const ORLO::IXmlAttributes& attributes,
                                        bool isType) {
    context_ = isType ? TypeBody : CategoryBody;
    descriptionState_ = NoDescription;
    currentName_.assign(attributes.getValueView(requiredIndex(tag, attributes, Known::Name)));
    partial_ = true;
    forbidAttribute(tag, attributes, Known::Id);
    forbidAttribute(tag, attributes, Known::Rid);
    pushStatus(attributes);
    const ElementStatus status = popStatus();
    if (isType)
        sink_->StartType(currentName_, true, String::nil(), IMetaModelEvents::NoId, status);
    else
        sink_->StartCategory(currentName_, true, String::nil(), IMetaModelEvents::NoId, status);
}

void CXMLMetaModelHandler::startTopElement(const String& tag,
                                           const ORLO::IXmlAttributes& attributes) {
    if (tag == "metaModel"sv) {
        readFileHeader(tag, attributes);
    } else if (tag == "category"sv || tag == "primitiveType"sv) {
        context_ = CategoryBody;
        descriptionState_ = ExpectDescription;
        const int nameIndex = requiredIndex(tag, attributes, Known::Name);
        pushStatus(attributes);
        currentName_.assign(attributes.getValueView(nameIndex));
        currentId_ = readId(tag, attributes);
    } else if (tag == "type"sv) {
        context_ = TypeBody;
        descriptionState_ = ExpectDescription;
        keyClassSeen_ = false;
        currentName_.assign(attributes.getValueView(requiredIndex(tag, attributes, Known::Name)));
        currentId_ = readId(tag, attributes);
        pushStatus(attributes);
    } else if (tag == "partial_category"sv || tag == "partialCategory"sv) {
        startPartial(tag, attributes, false);
    } else if (tag == "partial_type"sv || tag == "partialType"sv) {
        startPartial(tag, attributes, true);
    }
    // Anything else is a wrapper: its children are judged at top in turn.
}

void CXMLMetaModelHandler::startProperty(const String& tag,
                                         const ORLO::IXmlAttributes& attributes) {
    context_ = context_ == CategoryBody ? CategoryProperty : TypeProperty;
    descriptionState_ = ExpectDescription;
    const int nameIndex = requiredIndex(tag, attributes, Known::Name);
    propertyType_.assign(attributes.getValueView(requiredIndex(tag, attributes, Known::Type)));
    propertyName_.assign(attributes.getValueView(nameIndex));

    const std::string_view minimal = attributes.getValueView(indexOf(Known::MinimalCardinality));
    minimalCardinality_ = minimal.empty() ? 0 : toDecimalInt(minimal);
    if (const int maximalIndex = indexOf(Known::MaximalCardinality); maximalIndex >= 0) {
        const std::string_view maximal = attributes.getValueView(maximalIndex);
        maximalCardinality_ = maximal == "*"sv ? -1 : toDecimalInt(maximal);
    } else if (isListForm(propertyType_) || minimalCardinality_ > 1) {
        maximalCardinality_ = -1;
    } else {
        maximalCardinality_ = 1;
    }
    if (isListForm(propertyType_))
        propertyType_.resize(propertyType_.size() - 4);

    propertyId_ = readId(tag, attributes);
    propertyMerge_ = stringAttribute(attributes, Known::Merge, "no");
    pushStatus(attributes);
}

void CXMLMetaModelHandler::attributeStep(const String& tag,
                                         const ORLO::IXmlAttributes& attributes) {
    const int nameIndex = requiredIndex(tag, attributes, Known::Name);
    const int stringIndex = indexOf(Known::StringValue);
    const int intIndex = indexOf(Known::IntValue);
    if (stringIndex < 0 && intIndex < 0)
        fail(
            "QEL_MM_MISSING_BOTH_ATTR",
            {{"TAG", renderTag(tag, attributes)}, {"ATTR2", "intValue"}, {"ATTR1", "stringValue"}});
    String& name = scratch_[0];
    name.assign(attributes.getValueView(nameIndex));
    if (fileLevel_ != 1 && name == "KEY_CLASS"sv)
        keyClassSeen_ = true;
    const ElementStatus status = popStatus();
    if (intIndex >= 0) {
        sink_->Attribute(name, intAttribute(attributes, intIndex, 0), status);
    } else {
        scratch_[1].assign(attributes.getValueView(stringIndex));
        sink_->Attribute(name, scratch_[1], status);
    }
}

void CXMLMetaModelHandler::startBodyElement(const String& tag, const String& parent,
                                            const ORLO::IXmlAttributes& attributes) {
    if (tag == "property"sv) {
        startProperty(tag, attributes);
    } else if (tag == "attribute"sv) {
        pushStatus(attributes);
        // Attributes of a category or type belong to its full declaration.
        if (partial_)
            fail("QEL_MM_UNEXPECTED_TAG",
                 {{"PARENT", parent}, {"TAG", renderTag(tag, attributes)}});
        attributeStep(tag, attributes);
    } else if (tag == "tree"sv) {
        const int parentIndex = requiredIndex(tag, attributes, Known::Parent);
        const int categoryIndex = requiredIndex(tag, attributes, Known::Category);
        pushStatus(attributes);
        scratch_[0].assign(attributes.getValueView(parentIndex));
        scratch_[1].assign(attributes.getValueView(categoryIndex));
        sink_->Tree(scratch_[0], scratch_[1], popStatus());
    } else if (tag == "inheritedCategory"sv) {
        const int nameIndex = requiredIndex(tag, attributes, Known::Name);
        pushStatus(attributes);
        scratch_[0].assign(attributes.getValueView(nameIndex));
        sink_->InheritedCategory(scratch_[0], popStatus());
    } else if (tag != "comment"sv && tag != "classifying"sv) {
        fail("QEL_MM_UNEXPECTED_TAG", {{"PARENT", parent}, {"TAG", renderTag(tag, attributes)}});
    }
}

void CXMLMetaModelHandler::startPropertyElement(const String& tag,
                                                const ORLO::IXmlAttributes& attributes) {
    // Pushed for every child; what a comment leaves behind is never read, since each event
    // reads the status its own start tag has just pushed.
    pushStatus(attributes);
    if (tag == "attribute"sv)
        attributeStep(tag, attributes);
    else if (tag != "comment"sv && tag != "classifying"sv)
        fail("QEL_MM_UNEXPECTED_TAG",
             {{"PARENT", "property"}, {"TAG", renderTag(tag, attributes)}});
}

void CXMLMetaModelHandler::startElement(const String&, const String& localName, const String&,
                                        const ORLO::IXmlAttributes& attributes) {
    elementStack_.push(localName);
    const String& parent = elementStack_.below(1);

    if (descriptionState_ == InDescription)
        fail("QEL_MM_DESC_TAG_HAS_CHILD", {});
    if (descriptionState_ == ExpectDescription) {
        if (localName != "description"sv)
            fail("QEL_MM_DESC_TAG_NOT_FIRST", {{"TAG", parent}});
        descriptionState_ = InDescription;
        return;
    }

    findKnown(attributes);
    switch (context_) {
    case Top:
        startTopElement(localName, attributes);
        break;
    case CategoryBody:
    case TypeBody:
        startBodyElement(localName, parent, attributes);
        break;
    case CategoryProperty:
    case TypeProperty:
        startPropertyElement(localName, attributes);
        break;
    }
}

void CXMLMetaModelHandler::characters(const String& text) {
    // The last run wins: the parser hands plain text and each CDATA section as runs of
    // their own.
    if (descriptionState_ == InDescription)
        description_ = text;
}

void CXMLMetaModelHandler::announceDescribedElement() {
    switch (context_) {
    case CategoryBody:
        sink_->StartCategory(currentName_, false, description_, currentId_, popStatus());
        break;
    case TypeBody:
        sink_->StartType(currentName_, false, description_, currentId_, popStatus());
        break;
    case CategoryProperty:
    case TypeProperty:
        sink_->StartProperty(propertyName_, description_, propertyType_, minimalCardinality_,
                             maximalCardinality_, propertyMerge_, propertyId_, popStatus());
        break;
    case Top:
        break;
    }
}

void CXMLMetaModelHandler::endBodyElement(const String& localName) {
    switch (context_) {
    case CategoryBody: {
        const bool full = localName == "category"sv || localName == "primitiveType"sv;
        const bool partial = localName == "partial_category"sv || localName == "partialCategory"sv;
        if (full)
            sink_->Attribute("ROOT_PATH", rootPath_, activeStatus);
        if (full || partial) {
            sink_->EndCategory(partial);
            currentId_ = IMetaModelEvents::NoId;
            currentName_.clear();
            partial_ = false;
            context_ = Top;
        }
        break;
    }
    case TypeBody: {
        const bool full = localName == "type"sv;
        const bool partial = localName == "partial_type"sv || localName == "partialType"sv;
        if (full) {
            if (fileLevel_ != 1 && !keyClassSeen_)
                sink_->Attribute("KEY_CLASS", currentId_, activeStatus);
            sink_->Attribute("ROOT_PATH", rootPath_, activeStatus);
        }
        if (full || partial) {
            sink_->EndType(partial);
            currentId_ = IMetaModelEvents::NoId;
            currentName_.clear();
            partial_ = false;
            context_ = Top;
        }
        break;
    }
    case CategoryProperty:
    case TypeProperty:
        if (localName == "property"sv) {
            sink_->EndProperty();
            propertyId_ = IMetaModelEvents::NoId;
            propertyName_.clear();
            propertyType_.clear();
            propertyMerge_.clear();
            context_ = context_ == CategoryProperty ? CategoryBody : TypeBody;
        }
        break;
    case Top:
        break;
    }
}

void CXMLMetaModelHandler::endElement(const String&, const String& localName, const String&) {
    elementStack_.pop();
    if (descriptionState_ == InDescription) {
        // No child can open inside a description, so this is its end.
        announceDescribedElement();
        descriptionState_ = NoDescription;
        description_.clear();
        return;
    }
    endBodyElement(localName);
}

} // namespace MetaModel
