#pragma once

#include "metamodel/model/propertyclassifiers.h"

namespace MetaModel {

// Answers whether a word is one of the ten property type words of documents; it builds
// nothing.
class CPropertyTypeValidator : public QEL::IPropertyTypeBuilder,
                               public QEL::CXmlPropertyTypeClassifier {
public:
    // Whether the last word classified was one of them.
    bool recognized = false;

    void OnInteger() override { recognized = true; }
    void OnString() override { recognized = true; }
    void OnDateTime() override { recognized = true; }
    void OnBookmark() override { recognized = true; }
    void OnReference() override { recognized = true; }
    void OnIntegerList() override { recognized = true; }
    void OnStringList() override { recognized = true; }
    void OnDateTimeList() override { recognized = true; }
    void OnBookmarkList() override { recognized = true; }
    void OnReferenceList() override { recognized = true; }
    void OnUnknown() override { recognized = false; }
};

// Answers whether a word is one of the four merge words of documents.
class CPropertyMergeValidator : public QEL::IPropertyMergeBuilder,
                                public QEL::CXmlPropertyMergeClassifier {
public:
    // Whether the last word classified was one of them.
    bool recognized = false;

    void OnNo() override { recognized = true; }
    void OnSum() override { recognized = true; }
    void OnDistinct() override { recognized = true; }
    void OnBitOr() override { recognized = true; }
    void OnUnknown() override { recognized = false; }
};

} // namespace MetaModel

// Beside the rest of their family.
namespace QEL {
using MetaModel::CPropertyMergeValidator;
using MetaModel::CPropertyTypeValidator;
} // namespace QEL
