#include "metamodel/model/propertyclassifiers.h"

#include "metamodel/model/propertytype.h"

#include <utility>

namespace QEL {

const ORLO::String IntegerWord = "integer";
const ORLO::String StringWord = "string";
const ORLO::String DateTimeWord = "dateTime";
const ORLO::String BookmarkWord = "bookmark";
const ORLO::String ReferenceWord = "reference";
const ORLO::String IntegerListWord = IntegerWord + "List";
const ORLO::String StringListWord = StringWord + "List";
const ORLO::String DateTimeListWord = DateTimeWord + "List";
const ORLO::String BookmarkListWord = BookmarkWord + "List";
const ORLO::String ReferenceListWord = ReferenceWord + "List";

void IPropertyTypeBuilder::Classify(const ORLO::String& word) {
    using Word = ORLO::String (IPropertyTypeClassifier::*)() const;
    using Callback = void (IPropertyTypeBuilder::*)();
    static const std::pair<Word, Callback> order[] = {
        {&IPropertyTypeClassifier::GetIntegerWord, &IPropertyTypeBuilder::OnInteger},
        {&IPropertyTypeClassifier::GetStringWord, &IPropertyTypeBuilder::OnString},
        {&IPropertyTypeClassifier::GetDateTimeWord, &IPropertyTypeBuilder::OnDateTime},
        {&IPropertyTypeClassifier::GetBookmarkWord, &IPropertyTypeBuilder::OnBookmark},
        {&IPropertyTypeClassifier::GetReferenceWord, &IPropertyTypeBuilder::OnReference},
        {&IPropertyTypeClassifier::GetIntegerListWord, &IPropertyTypeBuilder::OnIntegerList},
        {&IPropertyTypeClassifier::GetStringListWord, &IPropertyTypeBuilder::OnStringList},
        {&IPropertyTypeClassifier::GetDateTimeListWord, &IPropertyTypeBuilder::OnDateTimeList},
        {&IPropertyTypeClassifier::GetBookmarkListWord, &IPropertyTypeBuilder::OnBookmarkList},
        {&IPropertyTypeClassifier::GetReferenceListWord, &IPropertyTypeBuilder::OnReferenceList},
    };
    for (const auto& [wordOf, callback] : order) {
        if (word == (this->*wordOf)()) {
            (this->*callback)();
            return;
        }
    }
    OnUnknown();
}

void IPropertyMergeBuilder::Classify(const ORLO::String& word) {
    using Word = ORLO::String (IPropertyMergeClassifier::*)() const;
    using Callback = void (IPropertyMergeBuilder::*)();
    static const std::pair<Word, Callback> order[] = {
        {&IPropertyMergeClassifier::GetNoWord, &IPropertyMergeBuilder::OnNo},
        {&IPropertyMergeClassifier::GetSumWord, &IPropertyMergeBuilder::OnSum},
        {&IPropertyMergeClassifier::GetDistinctWord, &IPropertyMergeBuilder::OnDistinct},
        {&IPropertyMergeClassifier::GetBitOrWord, &IPropertyMergeBuilder::OnBitOr},
    };
    for (const auto& [wordOf, callback] : order) {
        if (word == (this->*wordOf)()) {
            (this->*callback)();
            return;
        }
    }
    OnUnknown();
}

CPropertyTypeBuilder::CPropertyTypeBuilder() = default;
CPropertyTypeBuilder::~CPropertyTypeBuilder() = default;

void CPropertyTypeBuilder::OnInteger() {
    result_ = new CIntegerPropertyType;
}
void CPropertyTypeBuilder::OnString() {
    result_ = new CStringPropertyType;
}
void CPropertyTypeBuilder::OnDateTime() {
    result_ = new CDateTimePropertyType;
}
void CPropertyTypeBuilder::OnBookmark() {
    result_ = new CBookmarkPropertyType;
}
void CPropertyTypeBuilder::OnReference() {
    result_ = new CReferencePropertyType;
}
void CPropertyTypeBuilder::OnIntegerList() {
    result_ = new CIntegerListPropertyType;
}
void CPropertyTypeBuilder::OnStringList() {
    result_ = new CStringListPropertyType;
}
void CPropertyTypeBuilder::OnDateTimeList() {
    result_ = new CDateTimeListPropertyType;
}
void CPropertyTypeBuilder::OnBookmarkList() {
    result_ = new CBookmarkListPropertyType;
}
void CPropertyTypeBuilder::OnReferenceList() {
    result_ = new CReferenceListPropertyType;
}
void CPropertyTypeBuilder::OnUnknown() {
    result_ = nullptr;
}

} // namespace QEL
